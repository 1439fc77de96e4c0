// SPDX-License-Identifier: Apache-2.0
// Standard output of the utility: what is written when, and whether a line is open.
#include "output.h"

#include "control_characters.h"
#include "system/terminal.h"

#include <cerrno>
#include <cstring>

namespace utility
{

void Output::print(std::string_view text)
{
    if (text.empty())
        return;
    asked_ = false;
    if (is_terminal_) {
        // Choice: only a leading carriage return is the library's
        // (docs/decisions/0029-control-characters.md).
        if (text.front() == '\r') {
            gather("\r");
            text.remove_prefix(1);
        }
        escape_controls(text, "\n\t", [this](std::string_view part) { gather(part); });
        flush();
        return;
    }
    gather(text);
    // Choice: docs/decisions/0028-what-is-written-when.md
    if (text.find('\n') != std::string_view::npos || now_() - written_at_ >= PROGRESS_INTERVAL)
        flush();
}

void Output::ask(std::string_view question)
{
    gather(question);
    flush();
    asked_ = true;
}

void Output::flush()
{
    const auto size = static_cast<std::size_t>(size_);
    write_all(gathered_.data(), size);
    size_ = 0;
}

void Output::rescue()
{
    if (writing_ == 0 && size_ > 0 && kvn::system::is_writable(descriptor_))
        (void)kvn::system::write_some(descriptor_, {gathered_.data(), static_cast<std::size_t>(size_)});
}

void Output::gather(std::string_view part)
{
    if (part.empty())
        return;
    last_ = static_cast<unsigned char>(part.back());
    if (part.size() > gathered_.size() - static_cast<std::size_t>(size_))
        flush();
    if (part.size() > gathered_.size()) {
        write_all(part.data(), part.size());
        return;
    }
    const auto size = static_cast<std::size_t>(size_);
    std::memcpy(gathered_.data() + size, part.data(), part.size());
    // The bytes are in place before a signal may find them.
    std::atomic_signal_fence(std::memory_order_release);
    size_ = static_cast<std::sig_atomic_t>(size + part.size());
}

void Output::write_all(const char* data, std::size_t size)
{
    if (size == 0)
        return;
    writing_ = 1;
    while (size > 0) {
        const std::optional<std::size_t> written = kvn::system::write_some(descriptor_, {data, size});
        if (!written || *written == 0) {
            problem_ = errno;
            break;
        }
        data += *written;
        size -= *written;
    }
    size_ = 0;
    writing_ = 0;
    written_at_ = now_();
}

} // namespace utility
