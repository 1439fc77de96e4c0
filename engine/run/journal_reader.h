// SPDX-License-Identifier: Apache-2.0
// Reads journals, which may be any bytes, and finds what was changed in them.
//
// The chain of a journal shows every change of a byte and every line that was removed, added or moved, in a
// file that somebody changed without calculating it again. Who calculates the whole rest again leaves a
// journal that fits: only the SHA-256 of a line (JournalContent::head) that was noted elsewhere before shows
// that.
#ifndef KVN_ENGINE_RUN_JOURNAL_READER_H
#define KVN_ENGINE_RUN_JOURNAL_READER_H

#include "errors/failure.h"
#include "module/load.h"
#include "run/journal.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvn
{

/// Where a journal does not fit its chain, or is none from there on.
struct JournalDamage {
    std::size_t line = 0; ///< from 1
    std::string what;     ///< in words

    friend bool operator==(const JournalDamage&, const JournalDamage&) = default;
};

/// A journal up to the first line that does not fit.
struct JournalContent {
    std::string file; ///< as it was named
    JournalHeader header;
    Json planned = Json::array(); ///< the modules of `planned`, in the order of the plan
    /// The events after `planned`, without "previous" and "sum"; those that this version does not know are
    /// left out.
    std::vector<Json> events;
    std::size_t lines = 0;         ///< whole lines that fit
    std::string head;              ///< the SHA-256 of the last of them
    std::uint64_t torn_bytes = 0;  ///< of a last line without an end, as a crash leaves it: it is not read
    bool is_being_written = false; ///< the run goes on in another process
    bool has_result = false;       ///< the last line says how the run ended
    bool has_asked_head = false;   ///< one of the lines has the SHA-256 that was asked for
    std::optional<JournalDamage> damage; ///< null: none was found
};

/// Reads a journal as far as it fits.
/// @param asked_head the SHA-256 of a line to look for; empty: none
/// @throws FailureError of ExitStatus::file when the file cannot be read or is no regular file; of
/// ExitStatus::damaged when its first line is no header of a journal
[[nodiscard]] JournalContent inspect_journal(const std::string& path, const std::string& asked_head = {});

/// Reads a journal that must be whole; a torn last line is allowed.
/// @throws FailureError as above, and of ExitStatus::damaged when it does not fit its chain
[[nodiscard]] JournalContent read_journal(const std::string& path);

/// What to tell of a journal that does not fit its chain: ExitStatus::damaged.
[[nodiscard]] Failure journal_failure(const std::string& path, const JournalDamage& damage);

/// What a journal knows of one module.
struct JournalModule {
    std::string module; ///< "mwc4a:0/2"
    Json planned = {};  ///< its member of `planned`; null when the plan does not name it
    Json record = {};   ///< its last record; null without one, and when a load was begun after it
    Verdict verdict = Verdict::not_tried; ///< of the record; failed when a load was begun and not finished
    ModuleState state =
        ModuleState::untouched; ///< of the record; interrupted when a load was begun and not finished
    std::optional<std::string> begun_at = {}; ///< of the last attempt: "2026-11-22T03:44:37.125Z"
    unsigned attempts = 0;                    ///< lines `begun`
    bool is_kept = false;                     ///< the record is that of the run that this one continues
};

/// All modules: those of the plan in its order, then others that have events.
[[nodiscard]] std::vector<JournalModule> modules_of(const JournalContent& journal);

} // namespace kvn

#endif
