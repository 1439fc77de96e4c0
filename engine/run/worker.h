// SPDX-License-Identifier: Apache-2.0
// A worker: does the jobs of one bus, and tells what happens.
#ifndef KVN_ENGINE_RUN_WORKER_H
#define KVN_ENGINE_RUN_WORKER_H

#include "errors/catalogue.h"
#include "module/provider.h"

#include <chrono>
#include <functional>
#include <memory>

namespace kvn
{

struct WorkerSettings {
    int jobs = -1;   ///< descriptor that jobs are read from
    int events = -1; ///< descriptor that events are written to
    /// Opens the provider. Called once, on the calling thread, before the first job is done.
    std::function<std::shared_ptr<Provider>()> open;
    /// How long a call of the provider may take after the controller has gone, before the process ends in it.
    std::chrono::milliseconds patience{5'000};
};

/// Does jobs (run/worker_protocol.h) one after the other until `end`, or until no more can be read: then the
/// controller has gone, and a load that is under way is cut off, so that the bus is closed. A thread reads
/// the jobs, so that a load can be cancelled, and tells ten times a second how far the load is. Whatever is
/// no job ends the worker.
///
/// The process must ignore SIGPIPE.
/// @return done after `end`, or when the controller has gone between loads; cancelled when it has gone in
///         one; usage for what is no job; the status of the failure for a provider that cannot be opened
[[nodiscard]] ExitStatus run_worker(const WorkerSettings& settings);

} // namespace kvn

#endif
