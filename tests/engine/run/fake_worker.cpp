// SPDX-License-Identifier: Apache-2.0
// A worker that dies, hangs or babbles on command: "fake_worker BOARD=FAULT...". Boards without a fault work.
#include "module/record.h"
#include "report/module_json.h"
#include "run/inventory.h"
#include "run/worker_protocol.h"
#include "support/sudden_end.h"
#include "system/terminal.h"

#include <future>
#include <iostream>
#include <map>
#include <string>

namespace
{
using kvn::Json;

std::map<unsigned, std::string> faults;

const std::string& fault_of(unsigned board)
{
    return faults[board];
}

void say(const Json& event)
{
    std::cout << kvn::event_line(event) << std::flush;
}

void say_text(const std::string& text)
{
    std::cout << text << std::flush;
}

[[noreturn]] void hang()
{
    for (;;)
        std::promise<void>{}.get_future().wait();
}

kvn::Record record_of(const kvn::LoadJob& job)
{
    kvn::Record record;
    record.module = {job.module, kvn::Source::given};
    record.file = kvn::Fact<std::string>{"design.bit", kvn::Source::given};
    record.attempts = 1;
    record.serial_number = kvn::Fact<std::string>{job.serial_number.value_or(""), kvn::Source::given};
    return record;
}

void finish(kvn::Record record, kvn::Verdict verdict, kvn::ModuleState state, kvn::ExitStatus status)
{
    record.verdict = verdict;
    record.state = state;
    if (status != kvn::ExitStatus::done)
        record.failure = kvn::Failure{.status = status, .what = "as the fake worker was told"};
    say(kvn::finished_event(to_json(record)));
}

void babble_during_load(const std::string& fault, const kvn::LoadJob& job)
{
    if (fault == "babbles")
        say_text("{\"event\":\n");
    if (fault == "says-long-line")
        say_text(std::string(std::size_t{3} << 20, 'x'));
    if (fault == "floods") {
        for (int i = 0; i < 2000; ++i)
            say_text("a banner\n");
    }
    if (fault == "ends-first")
        say(kvn::step_event(job.module, kvn::LoadStep::end));
    if (fault == "says-verdict-first")
        finish(record_of(job), kvn::Verdict::configured, kvn::ModuleState::configured, kvn::ExitStatus::done);
    if (fault == "names-other-module") {
        kvn::ModuleName other = job.module;
        other.slot = 4;
        say(kvn::step_event(other, kvn::LoadStep::begin));
    }
}

void load(const kvn::LoadJob& job)
{
    static std::map<std::string, unsigned> loads;
    const unsigned nth = ++loads[to_text(job.module)];
    const std::string& fault = fault_of(job.module.board.number);
    if (fault == "dies-before-load")
        end_suddenly();
    if (fault == "hangs-before-load")
        hang();
    babble_during_load(fault, job);
    if (fault == "prints") {
        say_text("text without an end");
    }
    say(kvn::step_event(job.module, kvn::LoadStep::begin));
    if (fault == "dies-at-begin")
        end_suddenly();
    say(kvn::progress_event(job.module, {.bytes = 10, .total = 100}));
    if (fault == "dies-in-load")
        end_suddenly();
    if (fault == "hangs-in-load")
        hang();
    if (fault == "heeds-cancel") {
        for (std::string line; std::getline(std::cin, line);)
            if (kvn::read_job(line).kind == kvn::JobKind::cancel)
                return finish(record_of(job), kvn::Verdict::cancelled, kvn::ModuleState::interrupted,
                              kvn::ExitStatus::cancelled);
        end_suddenly();
    }
    if (fault == "stands-still")
        say(kvn::progress_event(job.module, {.bytes = 10, .total = 100}));
    if (fault == "goes-back")
        say(kvn::progress_event(job.module, {.bytes = 5, .total = 100}));
    if (fault == "fails-by-bus-once" && nth == 1)
        return finish(record_of(job), kvn::Verdict::failed, kvn::ModuleState::interrupted,
                      kvn::ExitStatus::bus);
    if (fault == "fails-by-bus")
        return finish(record_of(job), kvn::Verdict::failed, kvn::ModuleState::interrupted,
                      kvn::ExitStatus::bus);
    say(kvn::step_event(job.module, kvn::LoadStep::end));
    if (fault == "dies-after-end")
        end_suddenly();
    if (fault == "finishes-with-nonsense")
        return say({{"event", "finished"},
                    {"module", to_text(job.module)},
                    {"record",
                     {{"module", to_text(job.module)},
                      {"verdict", "configured"},
                      {"state", "configured"},
                      {"attempts", 1},
                      {"failure", nullptr}}}});
    if (fault == "refuses")
        return finish(record_of(job), kvn::Verdict::refused, kvn::ModuleState::refused,
                      kvn::ExitStatus::refused);
    finish(record_of(job), kvn::Verdict::configured, kvn::ModuleState::configured, kvn::ExitStatus::done);
}

kvn::SlotRow row_of(const kvn::ModuleName& module, const std::string& fault)
{
    if (fault == "has-empty-slots")
        return {.name = module, .kind = kvn::SlotKind::empty};
    return {.name = module,
            .kind = kvn::SlotKind::module,
            .module = kvn::ModuleIdentity{.type = 2,
                                          .model = 4,
                                          .version = 2,
                                          .device = "2v40cs144-4",
                                          .compression = kvn::Compression::yes}};
}

void ask(const kvn::InventoryJob& job)
{
    const std::string& fault = fault_of(job.bus.number);
    if (fault == "hangs-when-asked")
        hang();
    if (fault == "dies-when-asked")
        end_suddenly();
    if (fault == "answers-for-another-bus")
        return say(kvn::inventory_event(to_json(kvn::BusInventory{.bus = {"mwc4a", 15}})));
    if (fault == "answers-nonsense")
        return say(kvn::inventory_event(Json::object()));
    kvn::BusInventory inventory{.bus = job.bus};
    for (const kvn::ModuleName& module : job.modules)
        inventory.slots.push_back(row_of(module, fault));
    say(kvn::inventory_event(to_json(inventory)));
}

void skip_content(std::uint64_t size)
{
    std::string content(size, '\0');
    std::cin.read(content.data(), static_cast<std::streamsize>(size));
}

} // namespace

int main(int argc, char** argv)
{
    kvn::system::set_up_standard_streams();
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        faults[static_cast<unsigned>(std::stoul(word))] = word.substr(word.find('=') + 1);
    }
    if (fault_of(99) == "prints-banner")
        say_text("Welcome to the boards\nversion 7 ");
    if (fault_of(99) == "exits")
        return 3;
    if (fault_of(99) == "babbles") {
        std::cerr << "line 1\nline 2\nline 3\nline 4\nline 5\n";
        return 1;
    }
    if (fault_of(99) == "is-refused") {
        std::cerr << "ssh: connect to host bench3 port 22: Connection refused\r\n";
        return 255;
    }
    if (fault_of(99) == "says-nothing")
        hang();
    Json head = kvn::stream_head();
    if (fault_of(99) == "is-of-version-1.7")
        head["version"] = "1.7";
    if (fault_of(99) == "is-of-version-2") {
        head["version"] = "2.0";
        head["tool"] = "kvn 2.0.0";
    }
    say(head);
    if (fault_of(99) == "has-no-provider") {
        say(kvn::failed_event({.status = kvn::ExitStatus::no_module, .what = "no provider"}));
        return 6;
    }
    std::cerr << "noise\n";
    say(kvn::ready_event({.name = "fake"}));
    for (std::string line; std::getline(std::cin, line);) {
        const kvn::Job job = kvn::read_job(line);
        if (job.kind == kvn::JobKind::file) {
            skip_content(job.file.size);
            say(kvn::received_event(job.file.sha256));
        }
        if (job.kind == kvn::JobKind::inventory)
            ask(job.inventory);
        if (job.kind == kvn::JobKind::load)
            load(job.load);
        if (job.kind == kvn::JobKind::end)
            return 0;
    }
    return 0;
}
