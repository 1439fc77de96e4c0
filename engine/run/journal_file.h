// SPDX-License-Identifier: Apache-2.0
// The lines of a file that is said to be a journal, as far as each fits the one before it.
#ifndef KVN_ENGINE_RUN_JOURNAL_FILE_H
#define KVN_ENGINE_RUN_JOURNAL_FILE_H

#include "run/journal_line.h"
#include "run/journal_reader.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kvn
{

/// Reads a file line by line and holds only one line at a time. One object is for one thread at a time.
class JournalFile
{
public:
    /// Opens a regular file; anything else, named pipes included, is refused without waiting.
    /// @throws FailureError (ExitStatus::file)
    explicit JournalFile(const std::string& path);
    ~JournalFile();
    JournalFile(const JournalFile&) = delete;
    JournalFile& operator=(const JournalFile&) = delete;

    /// Whether the file begins as every journal does.
    [[nodiscard]] bool looks_like_journal();
    /// Whether a journal is being written to the file now, by any process.
    [[nodiscard]] bool is_being_written() const;

    /// Goes on to the next line.
    /// @return false at the end, before a torn line, and at a line that does not fit: damage() then says so
    /// @throws FailureError (ExitStatus::file)
    bool next();
    /// Reads the one line at a place where next() found one; what next() goes on with is undefined then.
    /// @return false when there is no whole line with a right sum any more
    bool read_at(std::uint64_t offset);

    /// The line, without its line feed. Valid until the next call.
    [[nodiscard]] std::string_view line() const { return line_; }
    /// From 1.
    [[nodiscard]] std::size_t number() const { return number_; }
    /// Of the line's first byte in the file.
    [[nodiscard]] std::uint64_t offset() const { return offset_; }
    [[nodiscard]] const LineSeal& seal() const { return seal_; }

    [[nodiscard]] const std::optional<JournalDamage>& damage() const { return damage_; }
    /// Bytes after the last line feed.
    [[nodiscard]] std::uint64_t torn_bytes() const { return torn_bytes_; }

private:
    bool find_line();
    bool read_more();
    bool damaged(std::string what);
    void end_at_rest();

    std::string path_;
    int descriptor_ = -1;
    std::unique_ptr<char[]> buffer_; // NOLINT(modernize-avoid-c-arrays): without a value for each byte
    std::size_t capacity_ = 0;
    std::size_t begin_ = 0; ///< of what is not handed out yet, in the buffer
    std::size_t end_ = 0;
    std::uint64_t read_offset_ = 0; ///< of the file, behind the buffer's content
    std::string_view line_;
    std::size_t number_ = 0;
    std::uint64_t offset_ = 0;
    LineSeal seal_;
    std::optional<JournalDamage> damage_;
    std::uint64_t torn_bytes_ = 0;
};

/// The header in the line that was read last.
/// @throws EventError with what is wrong
[[nodiscard]] JournalHeader journal_header(const JournalFile& file);

} // namespace kvn

#endif
