// SPDX-License-Identifier: Apache-2.0
// A worker in the process of the test: jobs through one pipe, events through another.
#include "run/worker.h"

#include "../module/load_support.h"
#include "errors/failure.h"
#include "file/inspection.h"
#include "rack.h"
#include "run/event.h"
#include "run/line_splitter.h"
#include "run/worker_protocol.h"
#include "support/descriptors.h"
#include "system/descriptor.h"
#include "system/file.h"
#include "system/interrupts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <future>
#include <optional>
#include <string>
#include <vector>

namespace kvn
{
namespace
{
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Not;

struct Pipe {
    Pipe()
    {
        const std::array<int, 2> ends = make_pipe();
        from = kvn::system::Descriptor{ends[0]};
        to = kvn::system::Descriptor{ends[1]};
    }

    kvn::system::Descriptor from;
    kvn::system::Descriptor to;
};

class WorkerTest : public testing::Test
{
protected:
    WorkerTest()
    {
        system::ignore_broken_pipes();
        rack.keep_journal(false);
        const mwvirtual::Module fpga = mwvirtual::fpga_module(4).device("2v40cs144-4");
        rack.put_module(rack.add_board({"mwc4a", 0}), 1, &fpga);
    }

    void start()
    {
        status = std::async(std::launch::async, [this] {
            const ExitStatus ended =
                run_worker({.jobs = jobs.from.number(), .events = events.to.number(), .open = open});
            events.to = kvn::system::Descriptor{};
            return ended;
        });
    }
    void send(const std::string& text) const { ASSERT_EQ(system::write_all(jobs.to.number(), text), 0); }
    void send_job(const Json& job) const { send(event_line(job)); }
    /// The controller has gone.
    void hang_up() { jobs.to = kvn::system::Descriptor{}; }

    /// The next event; null at the end of all.
    std::optional<WorkerEvent> next()
    {
        for (;;) {
            if (const auto line = lines.next())
                return read_worker_event(*line);
            std::array<char, 4096> block{};
            const auto size = system::read_some(events.from.number(), block);
            if (!size || *size == 0)
                return std::nullopt;
            lines.take({block.data(), *size});
        }
    }
    std::vector<WorkerEventKind> rest_but_progress()
    {
        std::vector<WorkerEventKind> kinds;
        while (const auto event = next()) {
            if (event->kind == WorkerEventKind::finished)
                record = event->json["record"];
            if (event->kind == WorkerEventKind::failed)
                failure = event->json["failure"];
            if (event->kind != WorkerEventKind::progress)
                kinds.push_back(event->kind);
        }
        return kinds;
    }
    void wait_for_step()
    {
        while (const auto event = next())
            if (event->kind == WorkerEventKind::step)
                return;
        FAIL() << "no load was begun";
    }

    void send_file() const
    {
        send_job(file_job(file, content_sha256(file)));
        std::string content(file.size(), '\0');
        ASSERT_EQ(std::fread(content.data(), 1, content.size(), file.open().get()), content.size());
        send(content);
    }
    void send_load() const
    {
        const Inspection inspection = inspect(file);
        send_job(load_job({.module = module,
                           .file = file_key(file.name(), file.stored().sha256),
                           .judged = {.file_sha256 = file.stored().sha256,
                                      .device = "2v40cs144-4",
                                      .format = Format::bit,
                                      .part = inspection.part,
                                      .digest = inspection.digest},
                           .serial_number = "4711"}));
    }

    const ModuleName module{.board = {"mwc4a", 0}, .slot = 1};
    const Input file = bitstream("design.bit", "2v40cs144", configuration("2v40cs144-4"));
    mwvirtual::Rack rack;
    std::function<std::shared_ptr<Provider>()> open = [this] {
        return std::make_shared<Provider>(rack, "rack");
    };
    Pipe jobs;
    Pipe events;
    LineSplitter lines{LONGEST_EVENT_LINE};
    Json record;
    Json failure;
    std::future<ExitStatus> status;
};

TEST_F(WorkerTest, LoadsTheFileThatItWasSent)
{
    start();
    send_file();
    send_load();
    send_job(end_job());
    EXPECT_THAT(rest_but_progress(),
                ElementsAre(WorkerEventKind::head, WorkerEventKind::ready, WorkerEventKind::received,
                            WorkerEventKind::step, WorkerEventKind::step, WorkerEventKind::finished));
    EXPECT_EQ(status.get(), ExitStatus::done);
    EXPECT_EQ(record["verdict"], "configured") << record;
    EXPECT_EQ(record["serial_number"], "4711");
    EXPECT_TRUE(rack.contents({"mwc4a", 0}, 1).done);
}

TEST_F(WorkerTest, AnswersWhatTheModulesAre)
{
    start();
    send_job(inventory_job(module.board, std::vector{module}));
    send_job(end_job());
    EXPECT_THAT(rest_but_progress(),
                ElementsAre(WorkerEventKind::head, WorkerEventKind::ready, WorkerEventKind::inventory));
    EXPECT_EQ(status.get(), ExitStatus::done);
    EXPECT_EQ(rack.contents({"mwc4a", 0}, 1).loads, 0U);
}

TEST_F(WorkerTest, CutsALoadOffOnDemandAndGoesOn)
{
    rack.change_board(0, [](mwvirtual::BoardSettings& board) { board.bytes_per_second = 2'000; });
    start();
    send_file();
    send_load();
    wait_for_step();
    send_job(cancel_job());
    send_job(inventory_job(module.board, std::vector{module}));
    send_job(end_job());
    EXPECT_THAT(rest_but_progress(), ElementsAre(WorkerEventKind::finished, WorkerEventKind::inventory));
    EXPECT_EQ(status.get(), ExitStatus::done);
    EXPECT_EQ(record["verdict"], "cancelled") << record;
    EXPECT_FALSE(rack.contents({"mwc4a", 0}, 1).finished);
}

TEST_F(WorkerTest, CutsALoadOffWhenTheControllerHasGone)
{
    rack.change_board(0, [](mwvirtual::BoardSettings& board) { board.bytes_per_second = 2'000; });
    start();
    send_file();
    send_load();
    wait_for_step();
    hang_up();
    EXPECT_THAT(rest_but_progress(), ElementsAre(WorkerEventKind::finished));
    EXPECT_EQ(status.get(), ExitStatus::cancelled);
    EXPECT_EQ(record["verdict"], "cancelled") << record;
}

TEST_F(WorkerTest, IsDoneWhenTheControllerGoesBetweenLoads)
{
    start();
    hang_up();
    EXPECT_THAT(rest_but_progress(), ElementsAre(WorkerEventKind::head, WorkerEventKind::ready));
    EXPECT_EQ(status.get(), ExitStatus::done);
}

TEST_F(WorkerTest, EndsAtWhatIsNoJob)
{
    start();
    send("ls\n");
    EXPECT_THAT(rest_but_progress(), Contains(WorkerEventKind::failed));
    EXPECT_EQ(status.get(), ExitStatus::usage);
    EXPECT_EQ(failure["what"], "the worker has read what is no job: it is no JSON");
}

TEST_F(WorkerTest, RefusesALoadOfAFileThatItWasNotSent)
{
    start();
    send_load();
    send_job(end_job());
    EXPECT_THAT(rest_but_progress(), Not(Contains(WorkerEventKind::step)));
    EXPECT_EQ(status.get(), ExitStatus::usage);
    EXPECT_THAT(failure["what"].get<std::string>(), EndsWith("/design.bit"));
}

TEST_F(WorkerTest, EndsWithTheFailureOfAProviderThatCannotBeOpened)
{
    open = []() -> std::shared_ptr<Provider> {
        throw FailureError{{.status = ExitStatus::no_module, .what = "there is no provider"}};
    };
    start();
    EXPECT_THAT(rest_but_progress(), ElementsAre(WorkerEventKind::head, WorkerEventKind::failed));
    EXPECT_EQ(status.get(), ExitStatus::no_module);
    EXPECT_EQ(failure["what"], "there is no provider");
}
} // namespace
} // namespace kvn
