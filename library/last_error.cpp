// SPDX-License-Identifier: Apache-2.0
// What the last call left: of a thread, and of a session.
#include "last_error.h"

#include "texts.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace kvn::c_interface
{
namespace
{

constexpr const char* NO_MEMORY = "there is no memory";

/// Copies as many whole characters of a UTF-8 text as there is room for.
void copy(const char* text, ThreadError::Text& target) noexcept
{
    constexpr auto is_continuation = [](char byte) { return (byte & '\xC0') == '\x80'; };
    std::size_t size = std::strlen(text);
    if (size > ThreadError::LONGEST) {
        size = ThreadError::LONGEST;
        while (size > 0 && is_continuation(text[size]))
            --size;
    }
    std::copy_n(text, size, target.begin());
    target[size] = '\0';
}

} // namespace

void LastError::clear() noexcept
{
    no_memory_ = false;
    failure_.number = 0;
    failure_.what.clear();
    failure_.why.clear();
    failure_.remedy.clear();
}

void LastError::set(const Failure& failure) noexcept
{
    clear();
    try {
        failure_ = {failure.status, failure.number, utf8(failure.what), utf8(failure.why),
                    utf8(failure.remedy)};
    } catch (const std::bad_alloc&) {
        set_no_memory();
    }
}

void LastError::set_no_memory() noexcept
{
    clear();
    no_memory_ = true;
}

const char* LastError::what() const noexcept
{
    return no_memory_ ? NO_MEMORY : failure_.what.c_str();
}

void ThreadError::clear() noexcept
{
    set(0, "", "", "");
}

void ThreadError::set(int number_, const char* what_, const char* why_, const char* remedy_) noexcept
{
    number = number_;
    copy(what_, what);
    copy(why_, why);
    copy(remedy_, remedy);
}

ThreadError& thread_error() noexcept
{
    thread_local ThreadError error{};
    return error;
}

} // namespace kvn::c_interface
