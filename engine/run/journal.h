// SPDX-License-Identifier: Apache-2.0
// Writes the journal of a run: what was planned, and a line on the disk before and after each load.
//
// A journal is a file of JSON Lines (docs/journal.md). The first line is the header, the second `planned`,
// then come the events of the run (run/event.h): `problem`, `begun`, `finished`, `result`; `kept` is the
// journal's own. Each line ends with the SHA-256 of the line before it, and with a sum of its own.
// journal_reader.h reads it.
#ifndef KVN_ENGINE_RUN_JOURNAL_H
#define KVN_ENGINE_RUN_JOURNAL_H

#include "report/json.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace kvn
{

inline constexpr const char* JOURNAL_VERSION = "1.0";

/// The journal that another one continues.
struct ContinuedJournal {
    std::string file; ///< its name, as the user gave it
    std::string head; ///< the SHA-256 of its last whole line: 64 lower-case hexadecimal digits

    friend bool operator==(const ContinuedJournal&, const ContinuedJournal&) = default;
};

/// What a journal says of the run as a whole. What is unknown is null.
struct JournalHeader {
    std::chrono::system_clock::time_point at = {}; ///< when the run began; kept to the millisecond
    std::string tool = {};                         ///< "kvn 1.0.0"
    std::optional<std::string> host = {};
    std::optional<std::string> boot_id = {}; ///< system::boot_id() of the host
    std::optional<std::string> operator_name = {};
    std::optional<std::string> station = {};
    std::string plan = {};        ///< its name, as the user gave it
    std::string plan_sha256 = {}; ///< of its bytes
    Json provider = {};           ///< to_json(const ProviderIdentity&)
    std::optional<ContinuedJournal> continues = {};

    friend bool operator==(const JournalHeader&, const JournalHeader&) = default;
};

/// The members of the header but `continues`, of which journal and documents say different things.
[[nodiscard]] Json header_facts(const JournalHeader& header);

/// {"event":"kept","module","record"}: the module was configured by the run that this one continues, and is
/// left out.
/// @param record of the journal that is continued
[[nodiscard]] Json kept_event(const Json& record);

/// "rack.con.2026-11-22T03-44-37Z.journal": the name of a journal beside its plan.
/// @param n from 1; further names for the same second have "-2", "-3" after the "Z"
[[nodiscard]] std::string journal_name(const std::string& plan, std::chrono::system_clock::time_point at,
                                       unsigned n = 1);

/// A journal while it is written. One object is for one thread at a time.
///
/// The file is locked as long as the object lives, so that readers can tell that the run goes on; the system
/// frees the lock with the process. Nobody can write a second time into a journal: it is always a new file.
class Journal
{
public:
    /// Makes the file, with the rights 0644 as far as the umask leaves them, with its first lines: header,
    /// plan and the modules that are kept. It has its name only when they are on the disk, so that a journal
    /// never lacks one of them, whenever the process is killed. The name is on the disk when the constructor
    /// returns.
    /// @param path that nothing has yet
    /// @param planned planned_event(): the whole plan, also of a run that continues another one
    /// @param kept kept_event() of each module that is left out
    /// @throws FailureError (ExitStatus::file); a file that was made is removed then
    Journal(const std::string& path, const JournalHeader& header, const Json& planned,
            std::span<const Json> kept = {});

    /// The same under the first name of journal_name() for header.plan and header.at that is free.
    /// @param folder in place of the plan's; empty: beside the plan
    [[nodiscard]] static Journal beside_plan(const JournalHeader& header, const Json& planned,
                                             std::span<const Json> kept = {}, const std::string& folder = {});

    ~Journal();
    Journal(Journal&& other) noexcept;
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;
    Journal& operator=(Journal&&) = delete;

    /// Writes a line; it is on the disk when the call returns.
    /// @param event begun, finished, problem or result; an object without "previous" and "sum"
    /// @throws FailureError (ExitStatus::file) when it cannot be written (a full disk) or is longer than
    /// LONGEST_EVENT_LINE. Then the file ends with the line before, as far as the file system lets it be cut,
    /// and every further call throws the same.
    void append(const Json& event);

    /// As it was given; never changes.
    [[nodiscard]] const std::string& path() const { return path_; }
    /// The SHA-256 of the last line that is on the disk: 64 lower-case hexadecimal digits. Noted elsewhere,
    /// it proves later that nothing up to this line was changed (kvn journal verify --head).
    [[nodiscard]] const std::string& head() const { return head_; }

private:
    /// Makes the file under a temporary name. @param path for messages
    explicit Journal(std::string path);
    void write_first_lines(const JournalHeader& header, const Json& planned, std::span<const Json> kept);
    /// @return whether the name was free
    bool take_name(const std::string& path);
    void write_lines(std::span<const Json> lines, std::optional<std::string> previous);
    [[noreturn]] void fail(std::string why);

    std::string path_;
    std::string temporary_; ///< the file's name until it has its own
    std::string head_;
    std::uint64_t size_ = 0; ///< bytes of whole lines on the disk
    int descriptor_ = -1;
    std::string failure_; ///< of the first line that could not be written; empty: none
};

} // namespace kvn

#endif
