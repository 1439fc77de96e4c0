// SPDX-License-Identifier: Apache-2.0
// kvn worker: does the jobs of one bus for kvn run.
#include "commands.h"
#include "errors/failure.h"
#include "provider_options.h"
#include "run/policy.h"
#include "run/worker.h"
#include "system/standard_output.h"
#include "system/terminal.h"

#include <memory>

namespace kvn
{
namespace
{

struct Request {
    ProviderOptions provider;
    bool approved = false;
};

ExitStatus work(const Request& request)
{
    // For the events only: what a provider prints goes to standard error.
    const system::Descriptor events = system::take_standard_output();
    return run_worker({.jobs = system::STANDARD_INPUT, .events = events.number(), .open = [&request] {
                           if (!request.approved)
                               require_no_demanding_policy("kvn worker");
                           return open_provider_silently(request.provider);
                       }});
}

} // namespace

Action add_worker(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command = add_command(
        program, "worker", "Works on one bus for kvn run: jobs on standard input, events on standard output");
    add_flag(*command, "--approved", request->approved,
             "The loads are those of a run that was rehearsed under the policy of this host");
    add_provider_options(*command, request->provider);
    add_examples(*command, {"kvn worker --provider virtual", "kvn worker --provider replay:run.jsonl"});
    return [request] { return work(*request); };
}

} // namespace kvn
