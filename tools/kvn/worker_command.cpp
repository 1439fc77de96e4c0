// SPDX-License-Identifier: Apache-2.0
// kvn worker: does the jobs of one bus for kvn run.
#include "commands.h"
#include "errors/failure.h"
#include "provider_options.h"
#include "run/worker.h"
#include "system/standard_output.h"
#include "system/terminal.h"

#include <memory>

namespace kvn
{
namespace
{

ExitStatus work(const ProviderOptions& provider)
{
    // For the events only: what a provider prints goes to standard error.
    const system::Descriptor events = system::take_standard_output();
    return run_worker({.jobs = system::STANDARD_INPUT, .events = events.number(), .open = [&provider] {
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
