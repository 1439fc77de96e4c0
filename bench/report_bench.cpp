// SPDX-License-Identifier: Apache-2.0
// Times the HTML report of many modules against a floor: writing the same records as JSON, which is what a
// journal costs.
//   kvn_report_bench [MODULES [ROUNDS]]
#include "example_runs.h"
#include "report/html_report.h"
#include "report/report_json.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <vector>

namespace
{

constexpr double MOST_SECONDS = 2.0;
constexpr double MOST_BYTES_OF_MODULE = 1000;

template <class Action>
double seconds_of(Action action)
{
    const auto begin = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

/// @param distinct whether each module has a file of its own: the largest page
void measure(std::size_t modules, unsigned rounds, bool distinct)
{
    const kvn::JournalContent journal = example::large(modules, distinct).content;
    std::vector<double> times;
    std::vector<double> ratios;
    std::size_t bytes = 0;
    for (unsigned round = 0; round < rounds; ++round) {
        std::size_t floor_bytes = 0;
        const double floor = seconds_of([&] {
            for (const kvn::Json& event : journal.events)
                floor_bytes += event.dump().size();
        });
        times.push_back(seconds_of([&] { bytes = kvn::html_report(kvn::merge_journals({journal})).size(); }));
        ratios.push_back(times.back() / floor);
    }
    std::printf("{\"modules\": %zu, \"distinct_files\": %s, \"seconds\": %.3f, \"most_seconds\": %.1f, "
                "\"against_json\": %.2f, \"bytes\": %zu, \"most_bytes\": %.0f}\n",
                modules, distinct ? "true" : "false", median(times), MOST_SECONDS, median(ratios), bytes,
                MOST_BYTES_OF_MODULE * static_cast<double>(modules));
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const std::size_t modules = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 10'000;
        const auto rounds = static_cast<unsigned>(argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 9);
        for (const bool distinct : {false, true})
            measure(std::max<std::size_t>(modules, 1), std::max(rounds, 1U), distinct);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "kvn_report_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
