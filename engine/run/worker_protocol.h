// SPDX-License-Identifier: Apache-2.0
// What a controller and its workers say to each other: jobs in, events out.
//
// Jobs are JSON Lines on the worker's standard input; the bytes of a file follow their line. Events are JSON
// Lines on its standard output: those of run/event.h, and `ready`, `received`, `inventory`, `step` and
// `failed`.
#ifndef KVN_ENGINE_RUN_WORKER_PROTOCOL_H
#define KVN_ENGINE_RUN_WORKER_PROTOCOL_H

#include "file/input.h"
#include "module/load.h"
#include "report/json.h"
#include "run/event.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kvn
{

// Jobs.

/// The bytes of a file come next.
struct FileJob {
    std::string name;
    bool name_states_format = false;
    std::uint64_t size = 0; ///< of the content, which follows
    std::string sha256;     ///< of the content
    Input::Stored stored;
};

/// The modules of the bus are asked what they are.
struct InventoryJob {
    BoardName bus;
    std::vector<ModuleName> modules;
};

/// A module is loaded.
struct LoadJob {
    ModuleName module;
    std::string file; ///< file_key() of one that the worker was sent
    JudgedFile judged = {};
    /// That is expected; empty: none.
    std::string device = {};
    std::optional<std::string> serial_number = {};
    std::optional<std::string> operator_name = {};
    std::optional<std::string> station = {};
    std::optional<std::string> approved_by = {};
    std::optional<std::string> approval_key = {};
};

enum class JobKind {
    file,
    inventory,
    load,
    cancel, ///< the load that is under way is cut off
    end     ///< no further job comes
};

struct Job {
    JobKind kind = JobKind::end;
    FileJob file = {};
    InventoryJob inventory = {};
    LoadJob load = {};
};

/// The longest line of a job: that of an inventory.
inline constexpr std::size_t LONGEST_JOB_LINE = std::size_t{1} << 20;

/// The SHA-256 of an input's content. It is read for that if it was packed.
[[nodiscard]] std::string content_sha256(const Input& input);

/// What a load names a file by: a plan may have one content under two names, or packed and not.
/// @param sha256 of the file as stored
[[nodiscard]] std::string file_key(const std::string& name, const std::string& sha256);

[[nodiscard]] Json file_job(const Input& input, const std::string& sha256);
[[nodiscard]] Json inventory_job(const BoardName& bus, std::span<const ModuleName> modules);
[[nodiscard]] Json load_job(const LoadJob& job);
[[nodiscard]] Json cancel_job();
[[nodiscard]] Json end_job();

/// Reads the line of a job.
/// @throws EventError for anything else; std::bad_alloc
[[nodiscard]] Job read_job(std::string_view line);

// Events of a worker.

enum class WorkerEventKind {
    head,      ///< the stream's
    ready,     ///< the provider is open: {"provider": {...}}
    failed,    ///< the worker ends, without a load: {"failure": {...}}
    received,  ///< a file: {"sha256"}
    inventory, ///< {"inventory": {...}}
    step,      ///< {"module", "step": "begin" or "end"}: see LoadStep
    progress,
    finished,
    unknown ///< of another version
};

struct WorkerEvent {
    WorkerEventKind kind = WorkerEventKind::unknown;
    Json json = {};
};

[[nodiscard]] Json ready_event(const ProviderIdentity& provider);
[[nodiscard]] Json failed_event(const Failure& failure);
[[nodiscard]] Json received_event(const std::string& sha256);
[[nodiscard]] Json inventory_event(Json inventory);
[[nodiscard]] Json step_event(const ModuleName& module, LoadStep step);

/// Reads a line of a worker.
/// @throws EventError for what is no event; std::bad_alloc
[[nodiscard]] WorkerEvent read_worker_event(std::string_view line);

/// The opposites of to_json(), for what comes from a worker.
/// @throws EventError for other JSON; std::bad_alloc
[[nodiscard]] ProviderIdentity read_provider(const Json& json);
[[nodiscard]] Failure read_failure(const Json& json);
[[nodiscard]] Record read_record(const Json& json);

} // namespace kvn

#endif
