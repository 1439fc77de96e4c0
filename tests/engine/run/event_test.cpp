// SPDX-License-Identifier: Apache-2.0
// Lines of the stream of events: written, read back, and refused.
#include "run/event.h"

#include "report/module_json.h"
#include "report/utc.h"
#include "run/line_splitter.h"
#include "run/worker_protocol.h"

#include <gtest/gtest.h>

#include <string>

namespace kvn
{
namespace
{

const ModuleName MODULE{.board = {"mwc4a", 0}, .slot = 2};
constexpr std::chrono::system_clock::time_point MOMENT{std::chrono::milliseconds{1'795'319'077'125}};

template <typename Read>
std::string problem_of(const std::string& line, Read read)
{
    try {
        (void)read(line);
        return "";
    } catch (const EventError& error) {
        return error.what();
    }
}

std::string problem_of(const std::string& line)
{
    return problem_of(line, read_event);
}

Record record()
{
    Record made;
    made.module = {MODULE, Source::given};
    return made;
}

TEST(Event, TheHeadStatesTheStream)
{
    EXPECT_EQ(event_line(stream_head()), R"({"kvn":"events","version":"1.1","tool":"kvn 1.0.0"})"
                                         "\n");
    EXPECT_EQ(read_event(event_line(stream_head())).kind, EventKind::head);
}

TEST(Event, BegunNamesModuleAttemptAndTime)
{
    const std::string line = event_line(begun_event(MODULE, 2, MOMENT));
    EXPECT_EQ(line,
              R"({"event":"begun","module":"mwc4a:0/2","attempt":2,"at":")" + utc_text(MOMENT) + "\"}\n");
    const Event event = read_event(line);
    EXPECT_EQ(event.kind, EventKind::begun);
    EXPECT_EQ(event.module(), "mwc4a:0/2");
}

TEST(Event, PlannedSaysWhatIsNotKnownByNull)
{
    const PlannedLoad load{.module = MODULE, .file = "a.bit"};
    const std::string line = event_line(planned_event(std::vector{load}));
    EXPECT_EQ(line, R"({"event":"planned","modules":[{"module":"mwc4a:0/2","label":null,"file":"a.bit",)"
                    R"("file_sha256":null,"digest":null,"device":null,"mode":null,"wire_bytes":null,)"
                    R"("seconds":null,"bus":"mwc4a:0"}]})"
                    "\n");
    EXPECT_EQ(read_event(line).kind, EventKind::planned);
}

TEST(Event, ProblemSaysWhereWhatAndRemedy)
{
    EXPECT_EQ(
        event_line(problem_event(Severity::problem, "rack.con:3", "no file", "")),
        R"({"event":"problem","severity":"problem","where":"rack.con:3","what":"no file","remedy":null})"
        "\n");
}

TEST(Event, ResultCountsEveryVerdict)
{
    VerdictCounts counts;
    counts.add(Verdict::configured);
    counts.add(Verdict::timed_out);
    EXPECT_EQ(event_line(result_event(ExitStatus::several, counts)),
              R"({"event":"result","status":9,"class":"several modules, several outcomes: see the records",)"
              R"("counts":{"configured":1,"refused":0,"failed":0,"cancelled":0,"timed out":1,"not tried":0},)"
              R"("failure":null})"
              "\n");
}

TEST(Event, BytesThatAreNoTextAreReplaced)
{
    const std::string line = event_line(problem_event(Severity::note, "", "\xFF", ""));
    EXPECT_NE(line.find("\xEF\xBF\xBD"), std::string::npos);
    EXPECT_EQ(read_event(line).kind, EventKind::problem);
}

TEST(Event, FinishedIsReadBack)
{
    const Event event = read_event(event_line(finished_event(to_json(record()))));
    EXPECT_EQ(event.kind, EventKind::finished);
    EXPECT_EQ(event.module(), "mwc4a:0/2");
}

TEST(Event, UnknownEventsAreNoMistake)
{
    EXPECT_EQ(read_event(R"({"event":"weather","warm":true})").kind, EventKind::other);
}

TEST(Event, LinesThatAreNoEventsAreRefused)
{
    EXPECT_EQ(problem_of(""), "it is no JSON");
    EXPECT_EQ(problem_of("[]"), "it is no JSON object");
    EXPECT_EQ(problem_of("{}"), "the line has no member event");
    EXPECT_EQ(problem_of(R"({"event":7})"), "the line: event is no text");
    EXPECT_EQ(problem_of(R"({"event":"begun")"), "it is no JSON");
    EXPECT_EQ(problem_of(R"({"event":"a","event":"b"})"), "it has the member event twice");
    for (const char* version : {"2.0", "0.9", "10.0", "1"})
        EXPECT_EQ(problem_of(R"({"kvn":"events","version":")" + std::string{version} + R"(","tool":"x"})"),
                  "the stream's head: version is none that can be read, which is 1");
}

TEST(Event, MembersOfOtherTypesAreRefused)
{
    EXPECT_EQ(problem_of(R"({"event":"begun","module":"mwc4a:0/9","attempt":1,"at":"x"})"),
              "begun: module is no module");
    EXPECT_EQ(problem_of(R"({"event":"begun","module":"mwc4a:0/2","attempt":-1,"at":"x"})"),
              "begun: attempt is no whole number");
    EXPECT_EQ(
        problem_of(R"({"event":"begun","module":"mwc4a:0/2","attempt":1,"at":"2026-13-01T00:00:00.000Z"})"),
        "begun: at is no time");
    EXPECT_EQ(
        problem_of(R"({"event":"progress","module":"mwc4a:0/2","bytes":1,"total":2,"seconds_left":-1})"),
        "progress: seconds_left is no number of seconds");
    EXPECT_EQ(problem_of(R"({"event":"finished","module":"mwc4a:0/2","record":{"module":"mwc4a:0/1"}})"),
              "record: module is not that of the event");
    const auto finished_with = [](const std::string& members) {
        return R"({"event":"finished","module":"mwc4a:0/2","record":{"module":"mwc4a:0/2",)" + members + "}}";
    };
    EXPECT_EQ(problem_of(finished_with(R"("verdict":"burnt")")), "record: verdict is no verdict");
    EXPECT_EQ(problem_of(finished_with(R"("verdict":"failed","state":"burnt")")),
              "record: state is no state of a module");
    EXPECT_EQ(problem_of(finished_with(R"("verdict":"failed","state":"unknown","attempts":1,"failure":7)")),
              "record: failure is no object");
    EXPECT_EQ(problem_of(R"({"event":"result","status":13,"class":"x","counts":{}})"),
              "result: status is no exit status");
}

TEST(Event, DepthAndMembersAreBounded)
{
    EXPECT_EQ(problem_of(R"({"event":)" + std::string(100'000, '[')), "it has more than 16 levels");
    std::string many = "{";
    for (int i = 0; i < 300; ++i)
        many += "\"m" + std::to_string(i) + "\":0,";
    EXPECT_EQ(problem_of(many + "\"event\":0}"), "an object has more than 256 members");
    EXPECT_EQ(problem_of(std::string(LONGEST_EVENT_LINE + 1, ' ')), "it is longer than 16 MiB");
}

TEST(Event, EachCutOfALineIsRefused)
{
    const std::string line = event_line(finished_event(to_json(record())));
    for (std::size_t size = 0; size + 2 < line.size(); ++size)
        EXPECT_THROW((void)read_event(line.substr(0, size)), EventError) << size;
}

TEST(Event, TimesAreReadBack)
{
    EXPECT_EQ(utc_time(utc_text(MOMENT)), MOMENT);
    EXPECT_EQ(utc_time("2026-02-29T00:00:00.000Z"), std::nullopt);
    EXPECT_EQ(utc_time("2026-02-28T24:00:00.000Z"), std::nullopt);
    EXPECT_EQ(utc_time("2026-02-28T00:00:00.000"), std::nullopt);
    // Beyond these years the clock, or a difference of two moments, would overflow.
    for (const char* moment : {"1970-01-01T00:00:00.000Z", "2261-12-31T23:59:59.999Z"})
        EXPECT_EQ(utc_text(utc_time(moment).value()), moment);
    EXPECT_EQ(utc_time("1969-12-31T23:59:59.999Z"), std::nullopt);
    EXPECT_EQ(utc_time("2262-01-01T00:00:00.000Z"), std::nullopt);
}

TEST(LineSplitter, CutsLinesWhereverTheBytesWereCut)
{
    LineSplitter lines{100};
    lines.take("on");
    EXPECT_EQ(lines.next(), std::nullopt);
    lines.take("e\ntwo\nthr");
    EXPECT_EQ(lines.next(), "one");
    EXPECT_EQ(lines.next(), "two");
    EXPECT_EQ(lines.next(), std::nullopt);
    EXPECT_EQ(lines.rest(), "thr");
}

TEST(LineSplitter, HandsOutBytesThatFollowALine)
{
    LineSplitter lines{100};
    lines.take("head\nabcdef\n");
    EXPECT_EQ(lines.next(), "head");
    std::string raw(4, ' ');
    EXPECT_EQ(lines.take_raw(raw), 4U);
    EXPECT_EQ(raw, "abcd");
    EXPECT_EQ(lines.next(), "ef");
}

TEST(LineSplitter, NoticesALineThatIsTooLong)
{
    LineSplitter lines{4};
    lines.take("abcd");
    EXPECT_EQ(lines.next(), std::nullopt);
    EXPECT_TRUE(lines.is_too_long());
}

TEST(Jobs, AreReadBack)
{
    const LoadJob load{.module = MODULE,
                       .file = std::string(64, 'a'),
                       .judged = {.file_sha256 = std::string(64, 'b'),
                                  .device = "2v40cs144-4",
                                  .format = Format::bit,
                                  .part = "2v40cs144",
                                  .digest = std::string(64, 'c'),
                                  .design = "top",
                                  .problems = {{.what = "odd", .remedy = "none", .stops = Stops::nothing}},
                                  .mode = LoadKind::compressed,
                                  .wire_bytes = 4711},
                       .device = "2v40cs144-4",
                       .serial_number = "0815"};
    const Job job = read_job(event_line(load_job(load)));
    EXPECT_EQ(job.kind, JobKind::load);
    EXPECT_EQ(job.load.module, MODULE);
    EXPECT_EQ(job.load.judged, load.judged);
    EXPECT_EQ(job.load.serial_number, "0815");
    EXPECT_EQ(job.load.station, std::nullopt);
    EXPECT_EQ(read_job(event_line(cancel_job())).kind, JobKind::cancel);
    EXPECT_EQ(read_job(event_line(end_job())).kind, JobKind::end);
    const Job ask = read_job(event_line(inventory_job({"mwc4a", 0}, std::vector{MODULE})));
    EXPECT_EQ(ask.inventory.modules, std::vector{MODULE});
}

TEST(Jobs, OthersAreRefused)
{
    EXPECT_THROW((void)read_job("ls"), EventError);
    EXPECT_EQ(problem_of(R"({"job":"dance"})", read_job), "there is no job dance");
    EXPECT_THROW((void)read_job(R"({"job":"load","module":"mwc4a:0/2"})"), EventError);
    EXPECT_THROW((void)read_job(R"({"job":"inventory","bus":"mwc4a:0","modules":[7]})"), EventError);
    EXPECT_EQ(problem_of(R"({"job":"file","name":"a","name_states_format":true,"size":99999999999,)"
                         R"("sha256":"a","stored":{"size":1,"sha256":"a","packing":"none"}})",
                         read_job),
              "the file is larger than a gigabyte");
}

TEST(WorkerEvents, AreReadBack)
{
    const Failure failure{.status = ExitStatus::bus, .number = 9114, .what = "w", .why = "y", .remedy = "r"};
    EXPECT_EQ(read_failure(to_json(failure)), failure);
    const ProviderIdentity provider{
        .name = "virtual", .file = "/lib/x.so", .announcement = "a", .simulated = true};
    EXPECT_EQ(read_provider(to_json(provider)), provider);
    EXPECT_EQ(read_worker_event(event_line(step_event(MODULE, LoadStep::end))).kind, WorkerEventKind::step);
    EXPECT_EQ(read_worker_event(event_line(received_event("a"))).kind, WorkerEventKind::received);
    EXPECT_THROW((void)read_worker_event(event_line(begun_event(MODULE, 1, MOMENT))), EventError);
    EXPECT_THROW((void)read_worker_event(R"({"event":"ready","provider":{}})"), EventError);
}

} // namespace
} // namespace kvn
