// SPDX-License-Identifier: Apache-2.0
// kvn worker: does the jobs of one bus for kvn run.
#include "commands.h"
#include "errors/failure.h"
#include "provider_options.h"
#include "run/worker.h"
#include "system/descriptor.h"

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
kvn::system::Descriptor take_standard_output()
{
    kvn::system::Descriptor events{::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)};
    if (!events.is_open() || ::dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        throw std::system_error{errno, std::generic_category(), "standard output"};
    return events;
}

ExitStatus work(const ProviderOptions& provider)
{
    const kvn::system::Descriptor events = take_standard_output();
    return run_worker({.jobs = STDIN_FILENO, .events = events.number(), .open = [&provider] {
                           return open_provider_silently(provider);
                       }});
}

} // namespace

Action add_worker(CLI::App& program)
{
    auto provider = std::make_shared<ProviderOptions>();
    CLI::App* command = program.add_subcommand(
        "worker", "Works on one bus for kvn run: jobs on standard input, events on standard output");
    add_provider_options(*command, *provider);
    add_examples(*command, {"kvn worker --provider virtual", "kvn worker --provider replay:run.jsonl"});
    return [provider] { return work(*provider); };
}

} // namespace kvn
