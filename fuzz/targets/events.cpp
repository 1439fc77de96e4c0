// SPDX-License-Identifier: Apache-2.0
// Lines between a controller and its workers, of any bytes: events, jobs, words of workers.
#include "errors/failure.h"
#include "report/module_json.h"
#include "require.h"
#include "run/command_words.h"
#include "run/event.h"
#include "run/line_splitter.h"
#include "run/worker_protocol.h"
#include "system/command_words.h"
#include "target.h"

#include <string>
#include <string_view>
#include <vector>

namespace
{

void check_event(std::string_view line)
{
    try {
        const kvn::Event event = kvn::read_event(line);
        const kvn::Event again = kvn::read_event(kvn::event_line(event.json));
        require(again.kind == event.kind && again.json == event.json, "an event is written as it was read");
        (void)event.module();
    } catch (const kvn::EventError&) {
        return;
    }
}

void check_worker_event(std::string_view line)
{
    try {
        const kvn::WorkerEvent event = kvn::read_worker_event(line);
        require(event.json.is_object(), "an event is an object");
        if (event.kind != kvn::WorkerEventKind::finished)
            return;
        const kvn::Json record = to_json(kvn::read_record(event.json.at("record")));
        require(to_json(kvn::read_record(record)) == record, "a record is read as it was written");
    } catch (const kvn::EventError&) {
        return;
    }
}

void check_job(std::string_view line)
{
    try {
        const kvn::Job job = kvn::read_job(line);
        if (job.kind == kvn::JobKind::load)
            require(kvn::read_job(kvn::event_line(kvn::load_job(job.load))).load.judged == job.load.judged,
                    "a job is read as it was written");
    } catch (const kvn::EventError&) {
        return;
    }
}

void check_words(std::string_view line)
{
    try {
        const std::vector<std::string> words = kvn::split_words(line);
        std::string quoted;
        for (const std::string& word : words)
            quoted += kvn::system::shell_word(word) + " ";
        require(kvn::split_words(quoted) == words, "words are split as they were quoted");
    } catch (const kvn::FailureError&) {
        return;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t longest = 4096;
    kvn::LineSplitter lines{longest};
    lines.take({reinterpret_cast<const char*>(data), size});
    while (const auto line = lines.next()) {
        check_event(*line);
        check_worker_event(*line);
        check_job(*line);
        check_words(*line);
    }
    check_event(lines.rest());
    return 0;
}
