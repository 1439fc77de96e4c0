// SPDX-License-Identifier: Apache-2.0
// The library and the reference model load and convert alike: the same prints, platform calls, errors and
// bytes.
#include "reference_model.h"

#include "kvn_fpga.h"
#include "support/bitstreams.h"
#include "support/fake_platform.h"
#include "support/run_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace
{

using reference::Format;
using reference::Outcome;
using reference::Scenario;
using Log = std::vector<std::string>;

std::uint64_t from_environment(const char* name, std::uint64_t otherwise)
{
    const char* value = std::getenv(name);
    return value == nullptr ? otherwise : std::strtoull(value, nullptr, 0);
}

/// All that a run shows.
struct Account {
    Outcome outcome;
    Log log;
    std::vector<Bytes> loads; ///< what the module was sent
};

/// Where two logs part.
std::string first_difference(const Log& library, const Log& model)
{
    const auto shown = [](const Log& log, std::size_t at) {
        return at < log.size() ? log[at].substr(0, 400) : "nothing more";
    };
    const auto both = std::min(library.size(), model.size());
    const auto length = static_cast<std::ptrdiff_t>(both);
    const auto at = static_cast<std::size_t>(
        std::mismatch(library.begin(), library.begin() + length, model.begin()).first - library.begin());
    return "event " + std::to_string(at) + "\n  library  " + shown(library, at) + "\n  model    " +
           shown(model, at) + '\n';
}

class Differential : public testing::Test
{
protected:
    /// Plays the scenario both ways; false, with a report, when they differ.
    static bool same(const Scenario& scenario, const std::string& name)
    {
        std::filesystem::remove(scenario.output_name());
        write_whole_file(scenario.file_name(), scenario.content);
        const Account library = with_library(scenario);
        const Account model = with_model(scenario);
        std::string found;
        if (library.log != model.log)
            found += first_difference(library.log, model.log);
        if (library.outcome.number != model.outcome.number || library.outcome.text != model.outcome.text)
            found += "  library  \"" + escaped(library.outcome.text) + "\"\n  model    \"" +
                     escaped(model.outcome.text) + "\"\n";
        if (library.outcome.output != model.outcome.output)
            found += "the outputs differ\n";
        if (library.loads != model.loads)
            found += "the module was sent different bytes\n";
        if (!found.empty())
            ADD_FAILURE() << name << ", " << scenario.file_name() << " for a \"" << scenario.device << "\"\n"
                          << found;
        return found.empty();
    }

private:
    /// What the scenario meets in a new platform.
    static Module& prepare(FakePlatform& platform, const Scenario& scenario)
    {
        platform.board("mwc4a", static_cast<std::uint16_t>(scenario.board));
        Module module = fpga_module(scenario.board % 2 == 0 ? 3 : 4);
        module.device(scenario.device).accepts_compressed(scenario.accepts_compressed);
        module.verdict[0] = scenario.verdict;
        if (!scenario.failing_function.empty())
            platform.fail(scenario.failing_function, scenario.failing_call);
        platform.logs_data = scenario.content.size() < 1'000'000;
        log = &platform.log;
        return platform.board("mwc4a", static_cast<std::uint16_t>(scenario.address / 16))
            .slot(scenario.address % 16, module);
    }

    static Account with_library(const Scenario& scenario)
    {
        FakePlatform platform;
        const Module& module = prepare(platform, scenario);
        const std::size_t descriptors = count_descriptors();
        kvn_fpga library;
        library.kvn_fpga_set_userprint([](char* text) { log->push_back(printed(text)); });
        library.kvn_fpga_set_userfie(
            [](char* text, void*) {
                log->push_back(asked_key(text));
                return 0;
            },
            0);
        const int action = !scenario.converts ? 0 : scenario.format == Format::mcb ? 2 : 1;
        const int flags =
            (scenario.verbose ? 1 : 0) + (scenario.prompts ? 2 : 0) + (scenario.never_compresses ? 4 : 0);
        Account account;
        account.outcome.number = library.kvn_fpga_board(Chars{"mwc4a"}, static_cast<int>(scenario.board),
                                                        static_cast<int>(scenario.address),
                                                        Chars{scenario.file_name()}, action, flags);
        account.outcome.text = library.kvn_fpga_getlasterr();
        account.outcome.output = output_of(scenario);
        account.log = without_the_way_there(platform.log);
        account.loads = module.loads;
        EXPECT_EQ(count_descriptors(), descriptors) << "descriptors left open";
        EXPECT_EQ(platform.open_handles(), 0) << "handles left open";
        return account;
    }

    static Account with_model(const Scenario& scenario)
    {
        FakePlatform platform;
        const Module& module = prepare(platform, scenario);
        MW_HANDLE* const bus = platform.opened_bus("mwc4a", static_cast<std::uint16_t>(scenario.board));
        const Outcome outcome = reference::play(scenario, bus, platform.log);
        return {outcome, platform.log, module.loads};
    }

    /// The events from the first look at the file on, without the opening, the search and the closing of the
    /// bus.
    static Log without_the_way_there(const Log& events)
    {
        const auto first = std::find_if(events.begin(), events.end(), [](const std::string& line) {
            return line.starts_with("| Checking header") || line.starts_with("| \\nGenerating");
        });
        Log rest{first, events.end()};
        std::erase(rest, "* Close");
        return rest;
    }

    /// The content of the file that a conversion made.
    static std::optional<std::string> output_of(const Scenario& scenario)
    {
        std::ifstream file{scenario.output_name(), std::ios::binary};
        if (!file)
            return {};
        return std::string{std::istreambuf_iterator<char>{file}, {}};
    }

    inline static Log* log = nullptr;
    TemporaryFolder folder_;
    CurrentFolder in_folder_{folder_.path()};
};

/// Each format's conversion, and its loads with and without compression into a device of each kind of family.
std::vector<Scenario> all_uses()
{
    std::vector<Scenario> all;
    for (const Format format : {Format::rbt, Format::bit, Format::mcb}) {
        Scenario conversion;
        conversion.format = format;
        conversion.converts = conversion.verbose = true;
        conversion.device = "2v3000fg676-4";
        all.push_back(conversion);
        for (const bool virtex2 : {false, true})
            for (const bool compressed : {false, true}) {
                Scenario& load = all.emplace_back(conversion);
                load.converts = false;
                if (!virtex2)
                    load.device = "2s200fg456-5";
                load.virtex2 = virtex2;
                load.accepts_compressed = compressed;
            }
    }
    return all;
}

/// A good file of these bytes for the device.
std::string good_content(const Scenario& scenario, const Bytes& configuration)
{
    return file_content(scenario.format, scenario.device.substr(0, scenario.device.find('-')), configuration);
}

TEST_F(Differential, RandomRunsAreTheSame)
{
    const std::uint64_t first = from_environment("KVN_DIFFERENTIAL_SEED", 1);
    const std::uint64_t cases = from_environment("KVN_DIFFERENTIAL_CASES", 6000);
    int differences = 0;
    for (std::uint64_t seed = first; seed < first + cases && differences < 10; ++seed) {
        if (!same(random_scenario(seed), "KVN_DIFFERENTIAL_SEED=" + std::to_string(seed)))
            ++differences;
    }
}

TEST_F(Differential, FilesCutAtEveryByteAreTheSame)
{
    for (Scenario scenario : all_uses()) {
        const std::string whole = good_content(scenario, configuration_of(24, 8));
        for (std::size_t length = 0; length <= whole.size(); ++length) {
            scenario.content = whole.substr(0, length);
            ASSERT_TRUE(same(scenario, std::to_string(length) + " bytes"));
        }
    }
}

TEST_F(Differential, FilesWithAnyByteChangedAreTheSame)
{
    for (Scenario scenario : all_uses()) {
        const std::string whole = good_content(scenario, configuration_of(24, 5));
        for (std::size_t place = 0; place < whole.size(); ++place)
            for (const char change : {'\0', '\n', '1'}) {
                scenario.content = whole;
                scenario.content[place] = change;
                ASSERT_TRUE(same(scenario, "byte " + std::to_string(place)));
            }
    }
}

TEST_F(Differential, TrailingBytesOfManyNumbersAreTheSame)
{
    for (Scenario scenario : all_uses())
        for (const std::size_t more : {1U, 2U, 3U, 4U, 5U, 32U, 33U, 34U, 66U, 1020U, 1023U, 1024U, 1025U,
                                       1028U, 2048U, 4096U, 70000U})
            for (const char fill : {'0', '\n'}) {
                scenario.content = good_content(scenario, configuration_of(40, 3)) + std::string(more, fill);
                ASSERT_TRUE(same(scenario, std::to_string(more) + " bytes more"));
            }
}

TEST_F(Differential, EveryFailingCallOfALoadIsTheSame)
{
    for (Scenario scenario : all_uses()) {
        scenario.content = good_content(scenario, configuration_of(64, 9));
        scenario.prompts = true;
        for (const char* function :
             {"StartSendMessageEx", "SendMessageDataEx", "EndOfSendMessageEx", "StartReceiveMessageEx",
              "ReceiveMessageDataEx", "EndOfReceiveMessageEx"})
            for (int call = 1; call <= (function == std::string{"SendMessageDataEx"} ? 20 : 1); ++call) {
                scenario.failing_function = function;
                scenario.failing_call = call;
                ASSERT_TRUE(same(scenario, function + std::string{", call "} + std::to_string(call)));
            }
    }
}

TEST_F(Differential, FilesLongEnoughForProgressAreTheSame)
{
    for (Scenario scenario : all_uses())
        for (const std::size_t length : {2496U, 2500U, 2504U, 5000U, 5004U, 10004U, 40000U})
            for (std::uint64_t seed = 0; seed < 4; ++seed) {
                scenario.content = good_content(scenario, configuration_of(length, seed));
                ASSERT_TRUE(same(scenario, std::to_string(length) + " bytes"));
            }
}

/// Loaders compute a hundredfold of the bits or bytes done, which wraps at 32 bits; the converter does not
/// wrap. RBT files count as BIT files do and are eight times as long.
TEST_F(Differential, PercentagesOfLargeFilesAreTheSame)
{
    Scenario scenario;
    scenario.device = "2v3000fg676-4";
    scenario.virtex2 = scenario.accepts_compressed = true; // runs of 255 bytes take few platform calls
    scenario.format = Format::bit;
    scenario.content = file_content(Format::bit, "2v3000fg676", Bytes(2'690'000, 0x55));
    ASSERT_TRUE(same(scenario, "a load of 21520000 bits"));
    scenario.converts = true;
    ASSERT_TRUE(same(scenario, "a conversion of 21520000 bits"));
    scenario.converts = false;
    scenario.format = Format::mcb;
    scenario.content = file_content(Format::mcb, "2v3000fg676", Bytes(21'480'000, 0x55));
    ASSERT_TRUE(same(scenario, "a load of 21480000 bytes"));
}

} // namespace
