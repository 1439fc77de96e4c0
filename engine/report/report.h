// SPDX-License-Identifier: Apache-2.0
// The report of one or more runs: what is known of each module, merged from their journals.
#ifndef KVN_ENGINE_REPORT_REPORT_H
#define KVN_ENGINE_REPORT_REPORT_H

#include "module/record.h"
#include "report/json.h"
#include "run/event.h"
#include "run/journal_reader.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kvn
{

/// A module that was loaded, or should have been, on one host.
struct ReportRow {
    std::string host;   ///< empty when the journal does not say
    std::string module; ///< as it is written: "mwc4a:0/1.2"
    std::string label;  ///< the user's own name for it; may be empty
    std::string bus;    ///< the opened board: "mwc4a:0"; empty when it is not known
    std::string
        board; ///< the board that carries the module: "mwc4a:1"; empty if `module` is no module's name
    unsigned slot = 0;   ///< on that board, 1 to 4; 0 if `module` is no module's name
    std::size_t run = 0; ///< index into Report::runs: the last run that says something about the module
    std::uint64_t attempts = 0; ///< loads that were begun, of all runs
    Verdict verdict = Verdict::not_tried;
    ModuleState state = ModuleState::untouched;
    std::string what;   ///< what went wrong; empty for a module that was configured without a complaint
    std::string why;    ///< causes; may be empty
    std::string remedy; ///< what to do; may be empty
    bool simulated = false;
    Json planned = Json::value_t::null; ///< the module in the last plan that has it; null: in none
    Json record =
        Json::value_t::null; ///< its last record; null: it was never tried, or its last load never ended
};

/// A load on a bus, for the time line.
struct ReportSpan {
    std::string module;
    std::int64_t begin = 0; ///< milliseconds since 1970
    std::int64_t end = 0;   ///< not before `begin`
    Verdict verdict = Verdict::not_tried;
};

struct ReportBus {
    std::string name;              ///< "mwc4a:0"
    std::vector<ReportSpan> spans; ///< by begin
};

/// A run, as its journal has it.
struct ReportRun {
    std::string journal; ///< name of the file
    JournalHeader header;
    std::vector<std::string> tools;     ///< that wrote journal and records: "kvn 1.0.0"
    std::vector<std::string> providers; ///< "virtual", "libmwapi.so 2.1 (/usr/lib/libmwapi.so)"
    std::vector<ReportBus> buses;       ///< those with a load whose times are known
    std::size_t modules = 0;            ///< of its plan
    std::optional<int> status;          ///< how it ended; null: it goes on, or was killed
    bool goes_on = false;               ///< the journal is being written
    bool is_damaged = false;            ///< a part of the journal does not fit, and is left out
    /// Why not to trust the journal, or not all of it: a changed line, a torn end. Sentences.
    std::vector<std::string> doubts;
};

/// A bitstream that some module was to be loaded with.
struct ReportFile {
    std::string name;
    std::string sha256; ///< empty when it is not known, as the next ones
    std::string digest;
    std::string format;
    std::string design;
    std::string part;
    std::size_t modules = 0;
};

struct Report {
    std::vector<ReportRun> runs;          ///< by begin
    std::vector<ReportRow> rows;          ///< one for each host and module, by host, bus, board and slot
    std::vector<ReportFile> files;        ///< by name
    std::vector<std::size_t> file_of_row; ///< index into `files` for each row; files.size(): none is known

    /// Rows with each verdict, in the order of Verdict.
    [[nodiscard]] VerdictCounts counts() const;
    /// Rows of simulated boards.
    [[nodiscard]] std::size_t simulated() const;
    /// The hosts of the rows, in their order.
    [[nodiscard]] std::vector<std::string> hosts() const;
};

/// Merges the journals of runs, of one host or several, of resumed runs too. Nothing that a record says is
/// trusted to have the type that it should have.
///
/// The runs are put in the order of their begin. For each host and module the last record counts, and the
/// attempts of all runs are added up. A module that is only planned is `not tried`, and never takes the place
/// of a record. A module whose last load has no end has the verdict `failed` and the state `interrupted`. A
/// journal that is given twice, or also as an older copy, counts once.
/// @return a report that depends on the journals only, not on the time or their order
/// @throws std::bad_alloc
[[nodiscard]] Report merge_journals(std::vector<JournalContent> journals);

/// Reads and merges the journals of these files. One that is damaged counts up to the first line that does
/// not fit; the report says so.
/// @throws FailureError as inspect_journal(), std::bad_alloc
[[nodiscard]] Report read_report(std::span<const std::string> journals);

/// A fact about the module: a member of its record, or of the plan for what was never tried; null when it is
/// unknown. Valid as long as the row.
[[nodiscard]] const Json& fact_of(const ReportRow& row, const char* name);

/// A fact that is a text; empty for any other.
[[nodiscard]] std::string text_fact(const ReportRow& row, const char* name);

} // namespace kvn

#endif
