// SPDX-License-Identifier: Apache-2.0
// The lines of a file that is said to be a journal, as far as each fits the one before it.
#include "run/journal_file.h"

#include "run/event.h"
#include "run/journal_line.h"
#include "system/file.h"
#include "system/writing_lock.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace kvn
{
namespace
{

constexpr std::size_t BLOCK = std::size_t{256} << 10;
constexpr std::string_view BEGINNING = R"({"kvn":"journal")";

[[noreturn]] void fail_to_read(const std::string& path, const std::string& why)
{
    throw FailureError{{ExitStatus::file, 0, path + ": " + why, "", ""}};
}

std::string words_of(int error)
{
    return std::generic_category().message(error);
}

} // namespace

JournalFile::JournalFile(const std::string& path) : path_{path}, descriptor_{system::open_to_read(path)}
{
    if (descriptor_ < 0)
        fail_to_read(path, words_of(errno));
    if (system::kind_of(descriptor_) == system::FileKind::regular)
        return;
    (void)system::close_file(descriptor_);
    fail_to_read(path, "is no regular file");
}

JournalFile::~JournalFile()
{
    (void)system::close_file(descriptor_);
}

bool JournalFile::looks_like_journal()
{
    while (end_ < BEGINNING.size() && read_more()) {
    }
    return std::string_view{buffer_.get(), end_}.starts_with(BEGINNING);
}

bool JournalFile::is_being_written() const
{
    return system::is_being_written(descriptor_);
}

bool JournalFile::next()
{
    if (damage_ || torn_bytes_ != 0)
        return false;
    const bool is_first = number_ == 0;
    const std::string before = std::exchange(seal_.sha256, {});
    offset_ = read_offset_ - (end_ - begin_);
    if (!find_line())
        return false;
    ++number_;
    std::optional<LineSeal> seal = check_seal(line_);
    if (!seal)
        return damaged("its bytes do not have the sum that it ends with");
    if (!is_first && seal->previous != before)
        return damaged("it does not follow the line before it: lines were removed, added or moved here");
    seal_ = *std::move(seal);
    return true;
}

bool JournalFile::read_at(std::uint64_t offset)
{
    begin_ = 0;
    end_ = 0;
    read_offset_ = offset;
    offset_ = offset;
    damage_.reset();
    torn_bytes_ = 0;
    if (!find_line())
        return false;
    std::optional<LineSeal> seal = check_seal(line_);
    if (!seal)
        return false;
    seal_ = *std::move(seal);
    return true;
}

/// Sets line_ to what ends at the next line feed.
bool JournalFile::find_line()
{
    std::size_t searched = 0;
    for (;;) {
        const char* const begin = buffer_.get() + begin_;
        const std::size_t size = end_ - begin_;
        const void* const feed =
            size == searched ? nullptr : std::memchr(begin + searched, '\n', size - searched);
        if (feed != nullptr) {
            const auto length = static_cast<std::size_t>(static_cast<const char*>(feed) - begin);
            line_ = {begin, length};
            begin_ += length + 1;
            return true;
        }
        searched = size;
        if (size >= LONGEST_EVENT_LINE) {
            ++number_;
            return damaged("it is longer than 16 MiB");
        }
        if (!read_more()) {
            end_at_rest();
            return false;
        }
    }
}

/// Adds bytes of the file to the buffer. @return false at its end
bool JournalFile::read_more()
{
    if (begin_ != 0 && begin_ == end_)
        begin_ = end_ = 0;
    if (begin_ != 0 && end_ == capacity_) {
        std::memmove(buffer_.get(), buffer_.get() + begin_, end_ - begin_);
        end_ -= std::exchange(begin_, 0);
    }
    if (end_ == capacity_) {
        const std::size_t larger = std::max(BLOCK, 2 * capacity_);
        auto buffer = std::make_unique_for_overwrite<char[]>(larger); // NOLINT(modernize-avoid-c-arrays)
        if (end_ != 0)
            std::memcpy(buffer.get(), buffer_.get(), end_);
        buffer_ = std::move(buffer);
        capacity_ = larger;
    }
    for (;;) {
        const auto size =
            system::read_at(descriptor_, {buffer_.get() + end_, capacity_ - end_}, read_offset_);
        if (!size && errno == EINTR)
            continue;
        if (!size)
            fail_to_read(path_, words_of(errno));
        end_ += *size;
        read_offset_ += *size;
        return *size != 0;
    }
}

bool JournalFile::damaged(std::string what)
{
    damage_ = JournalDamage{number_, std::move(what)};
    return false;
}

/// What follows the last line feed was cut off while it was written, or is damage.
void JournalFile::end_at_rest()
{
    const std::string_view rest{buffer_.get() + begin_, end_ - begin_};
    if (goes_on_after_seal(rest)) {
        ++number_;
        damage_ = JournalDamage{number_, "bytes follow its end"};
    } else {
        torn_bytes_ = rest.size();
    }
}

} // namespace kvn
