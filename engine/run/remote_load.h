// SPDX-License-Identifier: Apache-2.0
// Loads one module that another host reaches, by a worker there.
#ifndef KVN_ENGINE_RUN_REMOTE_LOAD_H
#define KVN_ENGINE_RUN_REMOTE_LOAD_H

#include "module/load.h"
#include "run/controller.h"
#include "run/worker_process.h"

#include <chrono>
#include <span>
#include <string>

namespace kvn
{

/// A worker behind words that lead to another host, such as "ssh bench3". Where one of them is the program
/// ssh, which gives its words to a shell there, the words of the worker are quoted for that shell.
/// @param via split as split_words() does
/// @param arguments of the program kvn there
/// @throws FailureError (ExitStatus::usage) when there is no word, or a quote is not closed
[[nodiscard]] WorkerProgram worker_behind(const std::string& via, std::span<const std::string> arguments);

struct RemoteLoadRequest {
    WorkerProgram worker; ///< worker_behind()
    /// Of which `judged` is null: the file is judged here, for what the module says of itself there.
    LoadRequest load;
    /// Without an answer or a byte moved, after which the worker is given up.
    std::chrono::milliseconds timeout{60'000};
};

/// Hears how a load goes, on the thread of the load.
class RemoteLoadWatcher
{
public:
    virtual ~RemoteLoadWatcher() = default;
    /// The worker has opened this provider.
    virtual void on_provider(const ProviderIdentity& provider) = 0;
    /// The load is that far; first with 0 bytes, when nothing is in its way any more.
    virtual void on_progress(const Progress& progress) = 0;
    /// A line of what leads to the other host, or of the provider there.
    virtual void on_text(const std::string& line) = 0;
};

/// As load(), by a worker elsewhere. The worker asks the module what it is; then the file is judged as load()
/// does, and only one that is loaded is sent. Waits in poll(2) only. The process must ignore SIGPIPE.
///
/// After the first signal nothing is begun; the second cuts off a load that is under way. A worker that is
/// lost in a load leaves the verdict and the state that it leaves in a run (lost() of run/outcome.h). What
/// the worker has not said of its host is null.
/// @param watcher and signals must outlive the call
/// @throws FailureError when there is no worker: ExitStatus::usage for words that cannot be started,
///         ExitStatus::no_module when no worker of this major version answers or its provider cannot be
///         opened, ExitStatus::timed_out, ExitStatus::cancelled
[[nodiscard]] Record load_remotely(const RemoteLoadRequest& request, RemoteLoadWatcher& watcher,
                                   const StopSignals& signals);

} // namespace kvn

#endif
