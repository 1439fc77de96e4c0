// SPDX-License-Identifier: Apache-2.0
// kvn worker: does the jobs of one bus for kvn run.
#include "commands.h"
#include "descriptor.h"
#include "errors/failure.h"
#include "provider_options.h"
#include "run/policy.h"
#include "run/worker.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <system_error>

namespace kvn
{
namespace
{

/// Standard output for the events only: what a provider prints goes to standard error from now on.
mwapi::Descriptor take_standard_output()
{
    mwapi::Descriptor events{::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)};
    if (!events.is_open() || ::dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        throw std::system_error{errno, std::generic_category(), "standard output"};
    return events;
}

struct Request {
    ProviderOptions provider;
    bool approved = false;
};

ExitStatus work(const Request& request)
{
    const mwapi::Descriptor events = take_standard_output();
    return run_worker({.jobs = STDIN_FILENO, .events = events.number(), .open = [&request] {
                           if (!request.approved)
                               require_no_demanding_policy("kvn worker");
                           return open_provider_silently(request.provider);
                       }});
}

} // namespace

Action add_worker(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command = program.add_subcommand(
        "worker", "Works on one bus for kvn run: jobs on standard input, events on standard output");
    command->add_flag("--approved", request->approved,
                      "The loads are those of a run that was rehearsed under the policy of this host");
    add_provider_options(*command, request->provider);
    add_examples(*command, {"kvn worker --provider virtual", "kvn worker --provider replay:run.jsonl"});
    return [request] { return work(*request); };
}

} // namespace kvn
