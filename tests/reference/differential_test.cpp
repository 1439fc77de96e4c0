// The library and the reference model behave alike: in every event, text, number and byte of a file.
#include "both_worlds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{

using scenario::Scenario;

uint64_t from_environment(const char* name, uint64_t otherwise)
{
    const char* value = std::getenv(name);
    return value == nullptr ? otherwise : std::strtoull(value, nullptr, 0);
}

class Differential : public testing::Test
{
protected:
    /// Plays the scenario both ways; false, with a report, when they differ.
    bool same(const Scenario& scenario, const std::string& name)
    {
        worlds::announce_seed(name);
        const worlds::Account library = worlds_.with_library(scenario);
        const worlds::Account model = worlds_.with_model(scenario);
        const std::string found = worlds::difference(library, model);
        if (found.empty())
            return true;
        ADD_FAILURE() << name << "\n" << scenario::described(scenario) << found;
        return false;
    }

    std::size_t platform_calls(const Scenario& scenario)
    {
        const worlds::Account model = worlds_.with_model(scenario);
        return static_cast<std::size_t>(
            std::count_if(model.log.begin(), model.log.end(),
                          [](const std::string& line) { return line.find('(') < line.find(' '); }));
    }

    worlds::Worlds worlds_;
};

const char* const device = "2v3000fg676-4";
const char* const older_device = "v1000fg680-6";

/// A run that loads slot 2 of board 0 from one file.
Scenario load(const std::string& file, const std::string& content, const fake::Module& module, int flags)
{
    Scenario scenario;
    scenario.files[file].content = content;
    scenario.platform.boards[0][2] = module;
    scenario::Call call;
    call.devstr = "mwc4a";
    call.rbtfile = file;
    call.kavrinid = 2;
    call.flags = flags;
    scenario.calls.push_back(call);
    return scenario;
}

Scenario convert(const std::string& file, const std::string& content, int flags)
{
    Scenario scenario = load(file, content, {}, flags);
    scenario.calls[0].action = file.ends_with(".mcb") ? 2 : 1;
    return scenario;
}

struct Format {
    const char* file;
    std::string (*build)(const std::string&, const fake::Bytes&);
};
const Format formats[] = {{"design.rbt", scenario::rbt_file},
                          {"design.bit", scenario::bit_file},
                          {"design.mcb", scenario::mcb_file}};

/// Loads with every mode and family, and the conversion, of one file.
std::vector<Scenario> uses(const char* file, const std::string& content)
{
    return {load(file, content, scenario::good_module(2, 4, device, true), 1),
            load(file, content, scenario::good_module(2, 3, device, false), 1),
            load(file, content, scenario::good_module(4, 5, older_device, true), 0),
            load(file, content, scenario::good_module(4, 4, older_device, true), 4),
            convert(file, content, 1)};
}

TEST_F(Differential, RandomRunsAreTheSame)
{
    const uint64_t first = from_environment("KVN_DIFFERENTIAL_SEED", 1);
    const uint64_t cases = from_environment("KVN_DIFFERENTIAL_CASES", 6000);
    int differences = 0;
    for (uint64_t seed = first; seed < first + cases && differences < 10; ++seed) {
        if (!same(scenario::generate(seed), "KVN_DIFFERENTIAL_SEED=" + std::to_string(seed)))
            ++differences;
    }
}

TEST_F(Differential, FilesCutAtEveryByteAreTheSame)
{
    for (const Format& format : formats) {
        for (const char* name : {device, older_device}) {
            const std::string whole = format.build(std::string(name, std::string(name).find('-')),
                                                   scenario::sample_configuration(24, 8));
            for (std::size_t length = 0; length <= whole.size(); ++length) {
                for (const Scenario& scenario : uses(format.file, whole.substr(0, length)))
                    ASSERT_TRUE(same(scenario,
                                     std::string(format.file) + " of " + std::to_string(length) + " bytes"));
            }
        }
    }
}

TEST_F(Differential, FilesWithAnyByteChangedAreTheSame)
{
    for (const Format& format : formats) {
        const std::string whole = format.build("2v3000fg676", scenario::sample_configuration(24, 5));
        for (std::size_t place = 0; place < whole.size(); ++place) {
            if (place > 300 && place < 510)
                continue; // the padding of a text field in an MCB file, or data lines like others
            for (const char change : {'\0', '\n', '1'}) {
                std::string content = whole;
                content[place] = change;
                for (const Scenario& scenario : uses(format.file, content))
                    ASSERT_TRUE(same(scenario, std::string(format.file) + ", byte " + std::to_string(place)));
            }
        }
    }
}

TEST_F(Differential, TrailingBytesOfManyNumbersAreTheSame)
{
    for (const Format& format : formats) {
        const std::string whole = format.build("2v3000fg676", scenario::sample_configuration(40, 3));
        std::vector<std::size_t> numbers = {1,  2,  3,   4,    5,    31,   32,   33,
                                            34, 66, 400, 1500, 2000, 2048, 4096, 70000};
        for (std::size_t number = 1018; number < 1030; ++number)
            numbers.push_back(number);
        for (const std::size_t more : numbers) {
            for (const char fill : {'0', '\n'}) {
                for (const Scenario& scenario : uses(format.file, whole + std::string(more, fill)))
                    ASSERT_TRUE(
                        same(scenario, std::string(format.file) + " and " + std::to_string(more) + " bytes"));
            }
        }
    }
}

TEST_F(Differential, EveryFailingCallOfALoadIsTheSame)
{
    for (const Format& format : formats) {
        for (const char* name : {device, older_device}) {
            const std::string content = format.build(std::string(name, std::string(name).find('-')),
                                                     scenario::sample_configuration(64, 9));
            for (const bool compressed : {false, true}) {
                Scenario scenario =
                    load(format.file, content, scenario::good_module(2, 4, name, compressed), 3);
                const auto calls = static_cast<int>(platform_calls(scenario));
                for (int failing = 1; failing <= calls; ++failing) {
                    scenario.platform.failures = {{"", failing, 0x80000001}};
                    ASSERT_TRUE(
                        same(scenario, std::string(format.file) + ", call " + std::to_string(failing)));
                }
            }
        }
    }
}

TEST_F(Differential, EveryFailingCallOfASearchIsTheSame)
{
    for (const unsigned char kind : {static_cast<unsigned char>(2), static_cast<unsigned char>(4)}) {
        Scenario scenario =
            load("design.rbt", scenario::rbt_file("2v3000fg676", scenario::sample_configuration(24, 4)),
                 scenario::good_module(kind, 9, device, true), 0);
        scenario.platform.boards[0][4] = scenario.platform.boards[0][2];
        scenario.user.decisions = {'n', 'Y'};
        scenario.calls[0].entry = scenario::Entry::main_plain;
        scenario.calls[0].arguments = {"KVN_FPGA", "-fdesign", "-dmwc4a", "-b0", "-v", "-u"};
        const auto calls = static_cast<int>(platform_calls(scenario));
        for (int failing = 1; failing <= calls; ++failing) {
            scenario.platform.failures = {{"", failing, 0x1234}};
            ASSERT_TRUE(same(scenario, "a search, call " + std::to_string(failing)));
        }
        scenario.platform.failures.clear();
        for (int type = 0; type < 256; ++type) {
            scenario.platform.boards[0][4].compression_reply = static_cast<unsigned char>(type);
            ASSERT_TRUE(same(scenario, "a search, reply " + std::to_string(type)));
        }
    }
}

TEST_F(Differential, EveryAddressIsTheSame)
{
    for (int address = -2; address <= 0x102; ++address) {
        for (const int board : {0, 3, 15, 16}) {
            Scenario scenario =
                load("design.rbt", scenario::rbt_file("2v3000fg676", scenario::sample_configuration(24, 4)),
                     {}, 1);
            for (auto& slots : scenario.platform.boards)
                slots.fill(scenario::good_module(4, 5, device, true));
            scenario.calls[0].board_number = board;
            scenario.calls[0].kavrinid = address;
            ASSERT_TRUE(
                same(scenario, "address " + std::to_string(address) + " of board " + std::to_string(board)));
        }
    }
}

/// Every combination of what is there, what is asked for and what is answered.
TEST_F(Differential, EveryChoiceOfAFileIsTheSame)
{
    static const char* const names[] = {"design",     "design.rbt", "design.mcb",
                                        "design.bit", "design.RBT", "des"};
    const fake::Bytes data = scenario::sample_configuration(24, 4);
    for (const char* name : names) {
        for (unsigned there = 0; there < 8; ++there) {
            for (const int action : {0, 1, 2}) {
                for (const int flags : {0, 2}) {
                    for (const int decision : {0x79, 0x6E}) { // y and n
                        Scenario scenario = load(name, "", scenario::good_module(2, 4, device, true), flags);
                        scenario.files.clear();
                        for (unsigned kind = 0; kind < 3; ++kind) {
                            if ((there >> kind & 1) != 0)
                                scenario.files[formats[kind].file].content =
                                    formats[kind].build("2v3000fg676", data);
                        }
                        scenario.calls[0].action = action;
                        scenario.user.decisions = {decision};
                        ASSERT_TRUE(same(scenario, name));
                    }
                }
            }
        }
    }
}

TEST_F(Differential, FilesLongEnoughForProgressAreTheSame)
{
    for (const Format& format : formats) {
        for (const std::size_t length : {2496U, 2500U, 2504U, 5000U, 5004U, 10004U, 40000U}) {
            for (uint64_t seed = 0; seed < 4; ++seed) {
                const std::string content =
                    format.build("v1000fg680", scenario::sample_configuration(length, seed));
                for (const Scenario& scenario : uses(format.file, content))
                    ASSERT_TRUE(same(scenario, std::string(format.file) + " of " + std::to_string(length)));
                ASSERT_TRUE(
                    same(load(format.file, content, scenario::good_module(2, 3, older_device, false), 1),
                         format.file));
                ASSERT_TRUE(
                    same(load(format.file, content, scenario::good_module(2, 9, older_device, true), 1),
                         format.file));
            }
        }
    }
}

/// More bits than a hundredfold of which fits 32 bits: the loaders' percentages wrap, the converters' do not.
TEST_F(Differential, PercentagesOfLargeFilesAreTheSame)
{
    const std::size_t length = 2'700'000;
    for (const Format& format : formats) {
        const std::string content = format.build("2v3000fg676", fake::Bytes(length, 0x55));
        for (Scenario scenario : uses(format.file, content)) {
            scenario.platform.log_data = false;
            ASSERT_TRUE(same(scenario, format.file));
        }
    }
}

/// Outputs longer than their buffer: the number names the byte for which there was no room.
TEST_F(Differential, DisksFullBehindTheBufferAreTheSame)
{
    static const char* const outputs[] = {"design.mcb", "design.mcb", "design.rbt"};
    for (std::size_t i = 0; i < 3; ++i) {
        for (uint64_t seed = 0; seed < 5; ++seed) {
            const std::size_t length = 40000 + 4 * static_cast<std::size_t>(seed);
            const std::string content =
                formats[i].build("2v3000fg676", scenario::sample_configuration(length, seed));
            for (const std::size_t place :
                 {0U, 600U, 65535U, 65536U, 65537U, 70000U, 131071U, 131072U, 131073U, 262144U}) {
                Scenario scenario = convert(formats[i].file, content, 1);
                scenario.files[outputs[i]].writable = place;
                ASSERT_TRUE(same(scenario, std::string(outputs[i]) + " full at " + std::to_string(place)));
            }
        }
    }
}

/// Outputs that cannot be written: a full device, and a folder of that name.
TEST_F(Differential, OutputsThatFailAreTheSame)
{
    static const char* const outputs[] = {"design.mcb", "design.mcb", "design.rbt"};
    for (std::size_t i = 0; i < 3; ++i) {
        for (const std::size_t length : {4U, 8U, 64U}) {
            for (const scenario::Kind kind : {scenario::Kind::full_device, scenario::Kind::directory}) {
                Scenario scenario =
                    convert(formats[i].file,
                            formats[i].build("2v3000fg676", scenario::sample_configuration(length, 1)), 1);
                scenario.files[outputs[i]] = {kind, "", {}, {}};
                ASSERT_TRUE(same(scenario, outputs[i]));
            }
        }
    }
}

TEST_F(Differential, ReadErrorsAtEveryByteAreTheSame)
{
    for (const Format& format : formats) {
        const std::string whole = format.build("2v3000fg676", scenario::sample_configuration(24, 5)) + "more";
        for (std::size_t place = 0; place <= whole.size(); ++place) {
            for (Scenario scenario : uses(format.file, whole)) {
                scenario.files[format.file].readable = place;
                ASSERT_TRUE(
                    same(scenario, std::string(format.file) + ", read error at " + std::to_string(place)));
            }
        }
    }
}

/// Small outputs, which wait in any buffer until the end.
TEST_F(Differential, DisksFullAtEveryByteAreTheSame)
{
    static const char* const outputs[] = {"design.mcb", "design.mcb", "design.rbt"};
    for (std::size_t i = 0; i < 3; ++i) {
        for (const std::size_t length : {4U, 20U}) {
            const std::string content =
                formats[i].build("2v3000fg676", scenario::sample_configuration(length, 1));
            for (const std::string& input :
                 {content, content.substr(0, content.size() - 1), content + std::string(1024, '1')}) {
                for (std::size_t place = 0; place < 600; place += place % 100 < 16 ? 1 : 7) {
                    Scenario scenario = convert(formats[i].file, input, 1);
                    scenario.files[outputs[i]].writable = place;
                    ASSERT_TRUE(
                        same(scenario, std::string(outputs[i]) + " full at " + std::to_string(place)));
                }
            }
        }
    }
}

TEST_F(Differential, TheHelpIsTheSame)
{
    Scenario scenario;
    scenario::Call call;
    call.entry = scenario::Entry::help;
    scenario.calls.push_back(call);
    scenario.user.keys = {1, 2, 300};
    EXPECT_TRUE(same(scenario, "help with callbacks"));
    scenario.prints = scenario.prompts = false;
    scenario.typed = "ab";
    EXPECT_TRUE(same(scenario, "help on a terminal"));
}

} // namespace
