// SPDX-License-Identifier: Apache-2.0
// Runs that never took place, for tests of what reports make of them.
#include "example_runs.h"

#include "report/module_json.h"
#include "run/event.h"
#include "run/journal.h"

#include <array>

namespace example
{
namespace
{

constexpr const char* SHA256 = "5b4c3a29e1d0f7c6b5a493827160f5e4d3c2b1a09f8e7d6c5b4a392817061504";
constexpr const char* DIGEST = "1739bca92e53d63c582e8e6af040561c04ece7cb83ae2931a47f33fd60954c43";

kvn::ProviderIdentity virtual_provider()
{
    kvn::ProviderIdentity provider;
    provider.name = "virtual";
    provider.announcement = "the boards are simulated, no hardware is reached.";
    provider.simulated = true;
    return provider;
}

kvn::Failure bus_failure(const std::string& module)
{
    return {
        kvn::ExitStatus::bus, 9114,
        module +
            ": design.bit: Error 9114. Cannot send KSB message data, slot 0x2 (via 'mwc4a 3') (time-out).",
        "the module or its board stopped answering",
        "see that the board is powered and seated, and load it again"};
}

} // namespace

std::chrono::system_clock::time_point moment(std::int64_t milliseconds)
{
    using namespace std::chrono;
    return sys_days{year{2026} / 11 / 22} + hours{3} + minutes{44} + seconds{37} +
           std::chrono::milliseconds{milliseconds};
}

kvn::Record configured(const std::string& module, std::int64_t begin, std::int64_t end)
{
    kvn::Record record;
    record.module = {kvn::parse_module_name(module), kvn::Source::given};
    record.file = {{"design.bit", kvn::Source::given}};
    record.file_size = {{1311870, kvn::Source::observed}};
    record.file_sha256 = {{SHA256, kvn::Source::observed}};
    record.digest = {{DIGEST, kvn::Source::observed}};
    record.format = {{"BIT", kvn::Source::observed}};
    record.design = {{"example.ncd", kvn::Source::observed}};
    record.part = {{"2v3000fg676", kvn::Source::observed}};
    kvn::ModuleIdentity identity;
    identity.type = 2;
    identity.model = 4;
    identity.version = 2;
    identity.device = "2v3000fg676-4";
    record.identity = {{identity, kvn::Source::observed}};
    record.device = {{"2v3000fg676-4", kvn::Source::observed}};
    record.mode = {{kvn::LoadKind::compressed, kvn::Source::observed}};
    record.wire_bytes = {{21386, kvn::Source::observed}};
    record.begin = moment(begin);
    record.end = moment(end);
    record.seconds_on_wire = static_cast<double>(end - begin) / 1000;
    record.attempts = 1;
    record.verdict = kvn::Verdict::configured;
    record.state = kvn::ModuleState::configured;
    record.answer = 5;
    record.operator_name = {{"Kim", kvn::Source::given}};
    record.host = {{"bench-7", kvn::Source::observed}};
    record.tool_version = "1.0.0";
    record.provider = virtual_provider();
    return record;
}

kvn::Record failing(const std::string& module, std::int64_t begin, std::int64_t end, kvn::Verdict verdict,
                    kvn::ModuleState state, kvn::Failure failure)
{
    kvn::Record record = configured(module, begin, end);
    record.verdict = verdict;
    record.state = state;
    record.answer.reset();
    record.failure = std::move(failure);
    return record;
}

ExampleRun::ExampleRun(const std::string& file, std::int64_t at)
{
    content.file = file;
    content.header.at = moment(at);
    content.header.tool = "kvn 1.0.0";
    content.header.host = "bench-7";
    content.header.boot_id = "2f1c6a0e-8f0b-4b51-9f0e-0f6f2f1f8c11";
    content.header.operator_name = "Kim";
    content.header.plan = "rack.con";
    content.header.plan_sha256 = SHA256;
    content.header.provider = kvn::to_json(virtual_provider());
    content.lines = 2;
}

ExampleRun& ExampleRun::plan(const std::string& module, const std::string& label, const std::string& file)
{
    kvn::PlannedLoad load;
    load.module = kvn::parse_module_name(module);
    load.label = label;
    load.file = file;
    load.file_sha256 = SHA256;
    load.digest = DIGEST;
    load.device = "2v3000fg676-4";
    load.mode = kvn::LoadKind::compressed;
    load.wire_bytes = 21386;
    load.seconds = 0.1;
    content.planned.push_back(kvn::planned_event(std::array{load})["modules"][0]);
    return *this;
}

ExampleRun& ExampleRun::begin(const std::string& module, std::int64_t at, unsigned attempt)
{
    content.events.push_back(kvn::begun_event(kvn::parse_module_name(module), attempt, moment(at)));
    ++content.lines;
    return *this;
}

ExampleRun& ExampleRun::finish(const kvn::Record& record)
{
    content.events.push_back(kvn::finished_event(kvn::to_json(record)));
    ++content.lines;
    return *this;
}

ExampleRun& ExampleRun::load(const kvn::Record& record, const std::string& label)
{
    const std::string module = kvn::to_text(record.module.value);
    plan(module, label, record.file ? record.file->value : "");
    if (record.attempts != 0 && record.begin)
        content.events.push_back(kvn::begun_event(record.module.value, 1, *record.begin));
    return finish(record);
}

ExampleRun& ExampleRun::end(kvn::ExitStatus status)
{
    kvn::VerdictCounts counts;
    content.events.push_back(kvn::result_event(status, counts));
    content.has_result = true;
    ++content.lines;
    return *this;
}

void ExampleRun::write(const std::string& path) const
{
    write_journal(content, path);
}

void write_journal(const kvn::JournalContent& content, const std::string& path)
{
    kvn::Json planned = kvn::planned_event({});
    planned["modules"] = content.planned;
    kvn::Journal journal{path, content.header, planned};
    for (const kvn::Json& event : content.events)
        journal.append(event);
}

std::vector<kvn::JournalContent> rack()
{
    using kvn::ModuleState;
    using kvn::Verdict;
    constexpr std::array<const char*, 4> labels{"beam former", "channeliser", "", "recorder"};
    constexpr std::int64_t load_time = 2430;
    ExampleRun first{"rack.con.2026-11-22T03-44-37Z.journal"};
    ExampleRun second{"rack.con.2026-11-22T03-52-10Z.journal", 453'000};
    for (std::int64_t board = 0; board < 16; ++board)
        for (std::int64_t slot = 1; slot <= 4; ++slot) {
            if ((board == 9 && slot == 4) || (board == 15 && slot > 2))
                continue;
            const std::string module = "mwc4a:" + std::to_string(board) + "/" + std::to_string(slot);
            const std::string label = labels[static_cast<std::size_t>((board + slot) % 4)];
            const std::int64_t begin = 120 + board * 9 + (slot - 1) * load_time;
            const std::int64_t end = begin + load_time - 14 + board % 5 * 3;
            if (board == 3 && slot >= 2) {
                kvn::Record record = failing(module, begin, begin + 900, Verdict::failed,
                                             ModuleState::interrupted, bus_failure(module));
                record.attempts = 3;
                first.plan(module, label).begin(module, begin);
                first.begin(module, begin + 300, 2).begin(module, begin + 600, 3).finish(record);
                record.begin = moment(453'100 + slot * load_time);
                record.end = moment(454'000 + slot * load_time);
                second.load(slot == 2 ? record
                                      : configured(module, 453'100 + slot * load_time,
                                                   453'080 + (slot + 1) * load_time),
                            label);
            } else if (board == 6 && slot == 1) {
                kvn::Record record = failing(
                    module, begin, end, Verdict::refused, ModuleState::refused,
                    {kvn::ExitStatus::refused, 9107,
                     module + ": design.bit: Error 9107. Module refused the data (status 4).",
                     "the FPGA found a wrong CRC in the data", "check the file: kvn check design.bit"});
                record.answer = 4;
                first.load(record, label);
            } else if (board == 11 && slot == 3) {
                kvn::Record record = failing(
                    module, begin, begin + 20, Verdict::not_tried, ModuleState::untouched,
                    {kvn::ExitStatus::wrong_device, 9103,
                     module + ": old.bit is for a v300pq240 (by its header); the module has a 2v3000fg676-4",
                     "", "use the bitstream that was made for the module's device"});
                record.file->value = "old.bit";
                record.file_sha256->value[0] = 'a';
                record.digest->value[0] = 'b';
                record.wire_bytes.reset();
                record.attempts = 0;
                first.load(record, label);
            } else if (board == 13 && slot == 4) {
                first.load(failing(module, begin, begin + 4000, Verdict::timed_out, ModuleState::unknown,
                                   {kvn::ExitStatus::timed_out, 0, module + ": no byte was moved for 60 s",
                                    "", "switch the board off and on, then load it again"}),
                           label);
            } else if (board == 14 && slot == 4) {
                first.plan(module, label).begin(module, begin);
            } else {
                first.load(configured(module, begin, end), label);
            }
        }
    second.plan("mwc4a:9/4", "spare").end(kvn::ExitStatus::several);
    ExampleRun third{"hil.toml.2026-11-22T04-01-00Z.journal", 983'000};
    third.content.header.host = "bench-8";
    third.content.header.plan = "hil.toml";
    third.content.header.station = "HIL 2";
    for (std::int64_t slot = 1; slot <= 4; ++slot) {
        kvn::Record record =
            configured("mwpci:0/1." + std::to_string(slot), 983'200 + slot * 700, 983'800 + slot * 700);
        record.host = {{"bench-8", kvn::Source::observed}};
        record.serial_number = {{"SN-00" + std::to_string(41 + slot), kvn::Source::given}};
        if (slot == 4)
            record =
                failing("mwpci:0/1.4", 985'900, 986'100, Verdict::cancelled, ModuleState::interrupted,
                        {kvn::ExitStatus::cancelled, 0, "mwpci:0/1.4: design.bit: the load was cancelled", "",
                         "load it again; a run that continues this journal does"});
        record.provider = {.name = "libmwapi.so",
                           .file = "/usr/lib/libmwapi.so",
                           .version = "2.1",
                           .announcement = "",
                           .simulated = false};
        third.load(record);
    }
    third.content.header.provider = kvn::to_json(kvn::ProviderIdentity{.name = "libmwapi.so",
                                                                       .file = "/usr/lib/libmwapi.so",
                                                                       .version = "2.1",
                                                                       .announcement = "",
                                                                       .simulated = false});
    third.end(kvn::ExitStatus::cancelled);
    return {first.content, second.content, third.content};
}

ExampleRun large(std::size_t modules, bool distinct_files)
{
    constexpr std::size_t boards_of_type = 16;
    ExampleRun run{"large.journal"};
    for (std::size_t i = 0; i < modules; ++i) {
        const std::size_t board = i / 4;
        const std::string module = "rack" + std::to_string(board / boards_of_type) + ":" +
                                   std::to_string(board % boards_of_type) + "/" + std::to_string(i % 4 + 1);
        const auto begin = static_cast<std::int64_t>(100 + i % 4 * 2400);
        kvn::Record record = i % 50 == 7 ? failing(module, begin, begin + 900, kvn::Verdict::failed,
                                                   kvn::ModuleState::interrupted, bus_failure(module))
                                         : configured(module, begin, begin + 2390);
        if (distinct_files) {
            const std::string number = std::to_string(i);
            record.file->value = "designs/design-" + number + ".bit";
            record.file_sha256->value.replace(0, number.size(), number);
            record.digest->value.replace(0, number.size(), number);
        }
        run.load(record, "module " + std::to_string(i));
    }
    return std::move(run.end(kvn::ExitStatus::several));
}

} // namespace example
