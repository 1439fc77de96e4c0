// SPDX-License-Identifier: Apache-2.0
// The report of one or more runs: what is known of each module, merged from their journals.
#ifndef KVN_ENGINE_REPORT_REPORT_H
#define KVN_ENGINE_REPORT_REPORT_H

#include "module/record.h"
#include "report/json.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kvn
{

/// What a journal says. Nothing in it is trusted: a member of another type than the journal's format gives it
/// is as good as missing.
struct RunLog {
    std::string name;             ///< the journal's file, for people
    Json header = Json::object(); ///< the first line
    std::vector<Json> events;     ///< the lines after it, in their order; unknown ones are ignored
    std::vector<std::string> doubts =
        {}; ///< why the journal is not to be trusted: a changed line, a torn end
};

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
    Json planned; ///< the module in the last plan that has it; null: in none
    Json record;  ///< its last record; null: it was never tried, or its last load never ended
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
    std::string host;
    Json header;
    std::vector<std::string> tools;     ///< versions that wrote header and records: "kvn 1.0.0"
    std::vector<std::string> providers; ///< "virtual", "libmwapi.so 2.1 (/usr/lib/libmwapi.so)"
    std::vector<ReportBus> buses;       ///< those with a load whose times are known
    std::optional<int> status; ///< exit status by the last line; null: the run goes on, or was killed
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

inline constexpr std::size_t VERDICTS = 6;

struct Report {
    std::vector<ReportRun> runs;          ///< by begin
    std::vector<ReportRow> rows;          ///< one for each host and module, by host, bus, board and slot
    std::vector<ReportFile> files;        ///< by name
    std::vector<std::size_t> file_of_row; ///< index into `files` for each row; files.size(): none is known

    /// Rows with each verdict, in the order of Verdict.
    [[nodiscard]] std::array<std::size_t, VERDICTS> counts() const;
    /// Rows of simulated boards.
    [[nodiscard]] std::size_t simulated() const;
    /// The hosts of the rows, in their order.
    [[nodiscard]] std::vector<std::string> hosts() const;
};

/// Merges runs, of one host or several, resumed ones too.
///
/// The runs are put in the order of their begin. For each host and module the last record counts, and the
/// attempts of all runs are added up. A module that is only planned is `not tried`, and never takes the place
/// of a record. A module whose last load has no end has the verdict `failed` and the state `interrupted`.
/// A journal that is given twice, or of which an older copy is given, counts once.
/// @return a report that depends on the runs only, not on the time or the order of the arguments
/// @throws std::bad_alloc
[[nodiscard]] Report merge_runs(std::vector<RunLog> runs);

} // namespace kvn

#endif
