// SPDX-License-Identifier: Apache-2.0
// Times what journals cost: a line with its flush, and the history of 100,000 records.
//
//   kvn_journal_bench FOLDER [RECORDS]
//
// FOLDER is made for the journals; it needs about 300 MB. Times are compared with the same bytes written and
// flushed, or read, by bare calls.
#include "run/history.h"
#include "run/journal_line.h"
#include "run/journal_reader.h"
#include "support/files.h"
#include "support/journals.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;

constexpr unsigned MODULES = 64;

template <class Action>
double seconds_of(Action action)
{
    const Clock::time_point begin = Clock::now();
    action();
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// The least of some rounds: what disturbs a round makes it longer.
template <class Action>
double least_seconds_of(Action action)
{
    constexpr int ROUNDS = 5;
    double least = seconds_of(action);
    for (int round = 1; round < ROUNDS; ++round)
        least = std::min(least, seconds_of(action));
    return least;
}

/// A journal of 64 modules, without a flush for each line.
std::string journal_text(int number)
{
    const kvn::JournalHeader header = journals::header();
    kvn::Json first{{"kvn", "journal"}, {"version", "1.0"}, {"tool", header.tool}};
    first.update({{"at", "2026-11-22T03:44:37.125Z"}, {"host", "line-" + std::to_string(number % 4)}});
    first.update({{"boot_id", *header.boot_id}, {"operator_name", nullptr}, {"station", nullptr}});
    first.update({{"plan", header.plan}, {"plan_sha256", header.plan_sha256}, {"provider", header.provider}});
    first["continues"] = nullptr;
    kvn::SealedLine line = kvn::seal_line(first, std::nullopt);
    std::string text = line.text;
    const auto add = [&](const kvn::Json& event) {
        line = kvn::seal_line(event, line.sha256);
        text += line.text;
    };
    add(journals::planned(MODULES));
    for (unsigned place = 0; place < MODULES; ++place) {
        add(journals::begun(place, number * 100 + static_cast<int>(place)));
        add(journals::finished(place));
    }
    add(journals::result(MODULES));
    return text;
}

void make_journals(const std::filesystem::path& folder, int records)
{
    std::filesystem::create_directory(folder);
    for (int number = 0; number * static_cast<int>(MODULES) < records; ++number)
        write_whole_file(folder / ("run" + std::to_string(number) + ".journal"), journal_text(number));
}

std::size_t read_bytes(const std::filesystem::path& folder)
{
    static std::array<char, 256 << 10> block;
    std::size_t all = 0;
    for (const auto& file : std::filesystem::directory_iterator{folder}) {
        const int descriptor = ::open(file.path().c_str(), O_RDONLY | O_CLOEXEC);
        for (ssize_t size = 1; size > 0; all += static_cast<std::size_t>(std::max<ssize_t>(size, 0)))
            size = ::read(descriptor, block.data(), block.size());
        (void)::close(descriptor);
    }
    return all;
}

void time_history(const std::filesystem::path& folder, int records)
{
    make_journals(folder, records);
    std::size_t bytes = 0;
    const double floor = least_seconds_of([&] { bytes = read_bytes(folder); });
    kvn::History history;
    const double all = least_seconds_of([&] { history = kvn::read_history(folder.string()); });
    const double one = least_seconds_of([&] { history = kvn::read_history(folder.string(), "mwc4a:0/1"); });
    std::printf(
        "history: %zu records in %zu journals, %zu bytes: read %.3f s, history %.3f s (%.1f x), of one module "
        "%.3f s\n",
        history.records, history.journals, bytes, floor, all, all / floor, one);
}

double milliseconds_at(std::vector<double> seconds, double part)
{
    std::ranges::sort(seconds);
    return 1000 * seconds[static_cast<std::size_t>(part * static_cast<double>(seconds.size() - 1))];
}

void time_lines(const std::filesystem::path& folder)
{
    constexpr int LINES = 500;
    kvn::Journal journal{(folder / "written.journal").string(), journals::header(),
                         journals::planned(MODULES)};
    const kvn::Json event = journals::finished(0);
    const std::string line = kvn::seal_line(event, std::string(64, '0')).text;
    const int descriptor = ::open((folder / "bare").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    std::vector<double> appended;
    std::vector<double> bare;
    for (int i = 0; i < LINES; ++i) {
        appended.push_back(seconds_of([&] { journal.append(event); }));
        bare.push_back(seconds_of([&] {
            if (::write(descriptor, line.data(), line.size()) < 0 || ::fdatasync(descriptor) != 0)
                std::abort();
        }));
    }
    (void)::close(descriptor);
    std::printf(
        "journal: a record of %zu bytes with its flush: median %.2f ms, 95 %% %.2f ms, most %.2f ms; bare write "
        "and flush: median %.2f ms (%.2f x)\n",
        line.size(), milliseconds_at(appended, 0.5), milliseconds_at(appended, 0.95),
        milliseconds_at(appended, 1), milliseconds_at(bare, 0.5),
        milliseconds_at(appended, 0.5) / milliseconds_at(bare, 0.5));
}
} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        (void)std::fprintf(stderr, "usage: %s FOLDER [RECORDS]\n", argv[0]);
        return 2;
    }
    constexpr int RECORDS = 100'000;
    const std::filesystem::path folder = argv[1];
    std::filesystem::create_directories(folder);
    time_history(folder / "journals", argc > 2 ? std::atoi(argv[2]) : RECORDS);
    time_lines(folder);
    return 0;
}
