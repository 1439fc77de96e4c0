// SPDX-License-Identifier: Apache-2.0
// The options that kvn run and kvn station share.
#ifndef KVN_TOOLS_KVN_RUN_OPTIONS_H
#define KVN_TOOLS_KVN_RUN_OPTIONS_H

#include "provider_options.h"
#include "run/plan_run.h"

#include <CLI/CLI.hpp>

#include <string>

namespace kvn
{

struct RunOptions {
    PlanRunRequest run;
    ProviderOptions provider;
    bool keep_going = false;
    std::string progress = "auto";
    bool json = false;
};

/// The plan, the one argument.
void add_plan(CLI::App& command, RunOptions& options);
/// --jobs, --keep-going, --stop-on-failure, --module-timeout, --retries.
void add_load_options(CLI::App& command, RunOptions& options);
/// --manifest, --signature, --signers.
void add_approval_options(CLI::App& command, RunOptions& options);
/// --operator, --station.
void add_people_options(CLI::App& command, RunOptions& options);
/// --progress, --provider, --rack, --json.
void add_common_options(CLI::App& command, RunOptions& options);

/// What the options say, as the engine takes it.
[[nodiscard]] PlanRunRequest run_request(const RunOptions& options);

/// "Serial number of mwc4a:0/2 (left): "
[[nodiscard]] std::string serial_question(const ModuleName& module, const std::string& label);

} // namespace kvn

#endif
