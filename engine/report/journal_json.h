// SPDX-License-Identifier: Apache-2.0
// The JSON documents about journals.
#ifndef KVN_ENGINE_REPORT_JOURNAL_JSON_H
#define KVN_ENGINE_REPORT_JOURNAL_JSON_H

#include "report/json.h"
#include "run/history.h"
#include "run/journal_reader.h"

#include <optional>
#include <string>

namespace kvn
{

/// What the check of a journal found. What is worse counts.
enum class JournalVerdict {
    unchanged,
    torn,    ///< the last line was cut off while it was written; never of a journal that is being written
    changed, ///< it does not fit its chain, or has no line with the SHA-256 that was asked for
};
/// "unchanged", "torn", "changed"
[[nodiscard]] const char* name_of(JournalVerdict verdict);

/// @param asked_head with which the journal was read; empty: none
[[nodiscard]] JournalVerdict verdict_on(const JournalContent& journal, const std::string& asked_head);
/// What to tell of a journal that is not unchanged: ExitStatus::damaged.
[[nodiscard]] std::optional<Failure> verification_failure(const JournalContent& journal,
                                                          const std::string& asked_head);

/// The document "verification".
[[nodiscard]] Json verification_document(const JournalContent& journal, const std::string& asked_head);
/// The document "records": what the journal knows of each module.
[[nodiscard]] Json records_document(const JournalContent& journal);
/// The document "history".
[[nodiscard]] Json history_document(const std::string& folder, const History& history,
                                    const std::optional<Failure>& failure);

} // namespace kvn

#endif
