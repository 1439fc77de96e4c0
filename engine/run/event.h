// SPDX-License-Identifier: Apache-2.0
// The stream of events of a run: what each line says, how it is written, and how one is read that may be
// anything.
//
// JSON Lines. The first line states the stream, every further one is an object with a member "event". Readers
// ignore events and members that they do not know: what is added raises the minor number of the version, what
// changes the major one. The same lines come from workers, go to standard output (kvn run --json) and into
// the journal. schema/events.schema.json describes them.
#ifndef KVN_ENGINE_RUN_EVENT_H
#define KVN_ENGINE_RUN_EVENT_H

#include "file/trial.h"
#include "module/load.h"
#include "module/record.h"
#include "plan/plan.h"
#include "report/json.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kvn
{

inline constexpr const char* EVENTS_VERSION = "1.1";

/// The longest line that is read, line feed included: `planned` for 10,000 modules is about half of it.
inline constexpr std::size_t LONGEST_EVENT_LINE = std::size_t{16} << 20;

/// What the rehearsal found out about one load of a plan. What is unknown is null.
struct PlannedLoad {
    ModuleName module;
    std::string label = {}; ///< the user's own name for it; may be empty
    std::string file;       ///< as the plan names it, as a path from the working directory
    std::optional<std::string> file_sha256 = {};
    std::optional<std::string> digest = {}; ///< of the plain configuration data
    std::optional<std::string> device = {}; ///< of the module
    std::optional<LoadKind> mode = {};
    std::optional<std::uint64_t> wire_bytes = {}; ///< that the load will send
    std::optional<double> seconds = {};           ///< that it will take, where the bus' rate is known

    friend bool operator==(const PlannedLoad&, const PlannedLoad&) = default;
};

/// Number of modules with each verdict, indexed by Verdict.
class VerdictCounts
{
public:
    static constexpr std::size_t VERDICTS = 6;

    void add(Verdict verdict) { ++counts_[static_cast<std::size_t>(verdict)]; }
    void add(const VerdictCounts& others);
    [[nodiscard]] std::size_t of(Verdict verdict) const { return counts_[static_cast<std::size_t>(verdict)]; }
    [[nodiscard]] std::size_t all() const;

private:
    std::array<std::size_t, VERDICTS> counts_{};
};

// The lines. Texts may hold bytes that are no UTF-8; event_line() replaces them.

/// {"kvn":"events","version":"1.1","tool":"kvn 1.0.0"}: always the first line.
[[nodiscard]] Json stream_head();

/// {"event":"planned","modules":[{"module","label","file","file_sha256","digest","device","mode","wire_bytes",
/// "seconds","bus"}]}: every module of the plan in the order of the plan. An empty label is null. "bus" is
/// the opened board, "mwc4a:0".
[[nodiscard]] Json planned_event(std::span<const PlannedLoad> loads);

/// {"event":"problem","severity":"problem" or "note","where","what","remedy"}: a finding. "remedy" may be
/// null.
/// @param where a place in a plan ("rack.con:3"), a module, a bus or a file; may be empty: then null
[[nodiscard]] Json problem_event(Severity severity, const std::string& where, const std::string& what,
                                 const std::string& remedy);

/// {"event":"begun","module","attempt","at"}: an attempt to load the module begins now.
/// @param attempt from 1
[[nodiscard]] Json begun_event(const ModuleName& module, unsigned attempt,
                               std::chrono::system_clock::time_point at);

/// {"event":"progress","module","bytes","total","seconds_left","run_seconds_left"}: how far a load is, and
/// how long the whole run still takes; at most ten a second and module. "total" and the seconds may be null,
/// the last may be missing.
[[nodiscard]] Json progress_event(const ModuleName& module, const Progress& progress);

/// {"event":"finished","module","record":{...}}: the module's record, as to_json(const Record&) makes it.
/// Exactly one for each planned module, whatever happens to it.
[[nodiscard]] Json finished_event(const Json& record);

/// {"event":"result","status":N,"class","counts":{"configured":n,"refused":n,"failed":n,"cancelled":n,
/// "timed out":n,"not tried":n},"failure"}: always the last line.
/// @param failure why the run as a whole came to nothing; null when the records say all
[[nodiscard]] Json result_event(ExitStatus status, const VerdictCounts& counts,
                                const std::optional<Failure>& failure = {});

/// One line of JSON with its line feed. Bytes that are no UTF-8 become U+FFFD.
[[nodiscard]] std::string event_line(const Json& event);

/// The opposites of name_of(); null for any other word.
[[nodiscard]] std::optional<Verdict> verdict_named(std::string_view name);
[[nodiscard]] std::optional<ModuleState> state_named(std::string_view name);

// Reading.

enum class EventKind {
    head,
    planned,
    problem,
    begun,
    progress,
    finished,
    result,
    other ///< an object with a member "event" that this version does not know
};

/// A line that was read. The members that are documented above are there and have their types; the others are
/// as they came.
struct Event {
    EventKind kind = EventKind::other;
    Json json = {};

    /// Of begun, progress and finished: the member "module"; else empty.
    [[nodiscard]] std::string module() const;
};

/// A line that is no event: it is no JSON, or lacks what its event must have.
class EventError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The head of a stream whose version this one does not read.
class EventVersionError : public EventError
{
public:
    /// @param tool that writes the stream; may be empty
    explicit EventVersionError(std::string version, std::string tool)
        : EventError{"the stream's head: version is none that can be read, which is 1"},
          version_{std::move(version)},
          tool_{std::move(tool)}
    {
    }
    [[nodiscard]] const std::string& version() const { return version_; }
    [[nodiscard]] const std::string& tool() const { return tool_; }

private:
    std::string version_;
    std::string tool_;
};

/// Whether it is a number from 0 without a fraction. What is read and what is made in this process differ in
/// their types.
[[nodiscard]] bool is_whole_number(const Json& value);

/// A JSON object, read from any bytes. It has at most 16 levels, and no object of it has more than 256
/// members or the same member twice.
/// @param line with or without its line feed
/// @throws EventError, std::bad_alloc
[[nodiscard]] Json read_json_line(std::string_view line);

/// Reads a line of the stream. A head of another major version is an EventVersionError. Members that are
/// added for a purpose (a journal's "previous") do no harm.
/// @param line with or without its line feed; any bytes
/// @throws EventError with what is wrong in words for a user; std::bad_alloc
[[nodiscard]] Event read_event(std::string_view line);

/// Sorts an object that was read into its kind, with the same checks.
/// @throws EventError
[[nodiscard]] Event as_event(Json json);

} // namespace kvn

#endif
