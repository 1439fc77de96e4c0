// SPDX-License-Identifier: Apache-2.0
// Journals of runs that never were, always the same. Programs that use it link kvn_engine.
#ifndef KVN_FPGA_TESTS_SUPPORT_JOURNALS_H
#define KVN_FPGA_TESTS_SUPPORT_JOURNALS_H

#include "report/module_json.h"
#include "run/event.h"
#include "run/journal.h"

#include <chrono>
#include <string>
#include <vector>

namespace journals
{

using Moment = std::chrono::system_clock::time_point;

/// 2026-11-22T03:44:37.125Z, and so many seconds.
inline Moment moment(int seconds = 0)
{
    constexpr std::chrono::milliseconds begin{1795319077125};
    return Moment{begin + std::chrono::seconds{seconds}};
}

inline const std::string BOOT = "6c0a8f9e-5f0d-4a64-9b1c-0d8f3f1b2a77";

inline kvn::ProviderIdentity provider()
{
    return {.name = "virtual",
            .file = "libmwvirtual.so",
            .version = "2.7.0",
            .announcement = "the boards are simulated, no hardware is reached.",
            .simulated = true};
}

inline kvn::JournalHeader header()
{
    return {.at = moment(),
            .tool = "kvn 1.0.0",
            .host = "line-3",
            .boot_id = BOOT,
            .operator_name = "operator 7",
            .station = "station 2",
            .plan = "rack.con",
            .plan_sha256 = std::string(64, 'b'),
            .provider = to_json(provider())};
}

/// Slot 1 to 4 of boards 0 to 15, and on.
inline kvn::ModuleName module(unsigned place)
{
    return kvn::parse_module_name("mwc4a:" + std::to_string(place / 4 % 16) + '/' +
                                  std::to_string(place % 4 + 1));
}

inline kvn::PlannedLoad planned_load(unsigned place)
{
    return {.module = module(place),
            .file = "design.bit",
            .file_sha256 = std::string(64, 'f'),
            .digest = std::string(64, 'd'),
            .device = "2v3000fg676-4",
            .mode = kvn::LoadKind::compressed,
            .wire_bytes = 50000,
            .seconds = 0.25};
}

inline kvn::Json planned(unsigned modules)
{
    std::vector<kvn::PlannedLoad> loads;
    for (unsigned place = 0; place < modules; ++place)
        loads.push_back(planned_load(place));
    return kvn::planned_event(loads);
}

inline kvn::Json begun(unsigned place, int seconds = 0, unsigned attempt = 1)
{
    return kvn::begun_event(module(place), attempt, moment(seconds));
}

inline kvn::Record record(unsigned place, kvn::Verdict verdict = kvn::Verdict::configured,
                          kvn::ModuleState state = kvn::ModuleState::configured, int seconds = 0)
{
    using kvn::Source;
    const kvn::PlannedLoad load = planned_load(place);
    kvn::Record record;
    record.module = {load.module, Source::given};
    record.file = {load.file, Source::given};
    record.file_size = {1300000, Source::observed};
    record.file_sha256 = {*load.file_sha256, Source::observed};
    record.digest = {*load.digest, Source::observed};
    record.format = {"BIT", Source::observed};
    record.design = {"example.ncd", Source::observed};
    record.part = {"2v3000fg676", Source::observed};
    record.device = {*load.device, Source::observed};
    record.mode = {*load.mode, Source::observed};
    record.wire_bytes = {*load.wire_bytes, Source::observed};
    record.begin = moment(seconds);
    record.end = moment(seconds + 1);
    record.seconds_on_wire = 0.25;
    record.attempts = 1;
    record.verdict = verdict;
    record.state = state;
    if (verdict == kvn::Verdict::configured)
        record.answer = 5;
    else
        record.failure = kvn::Failure{kvn::ExitStatus::bus, 9106, "the bus failed", "", "check the cable"};
    record.operator_name = {"operator 7", Source::given};
    record.station = {"station 2", Source::given};
    record.host = {"line-3", Source::observed};
    record.tool_version = "kvn 1.0.0";
    record.provider = provider();
    return record;
}

inline kvn::Json finished(unsigned place, kvn::Verdict verdict = kvn::Verdict::configured,
                          kvn::ModuleState state = kvn::ModuleState::configured, int seconds = 0)
{
    return kvn::finished_event(to_json(record(place, verdict, state, seconds)));
}

inline kvn::Json result(std::size_t configured)
{
    kvn::VerdictCounts counts;
    for (std::size_t i = 0; i < configured; ++i)
        counts.add(kvn::Verdict::configured);
    return kvn::result_event(kvn::ExitStatus::done, counts);
}

/// A run of two modules, both configured: seven lines.
inline void write_good(const std::string& path, const kvn::JournalHeader& head = header())
{
    kvn::Journal journal{path, head, planned(2)};
    for (const kvn::Json& event : {begun(0, 1), finished(0), begun(1, 2), finished(1), result(2)})
        journal.append(event);
}

} // namespace journals

#endif
