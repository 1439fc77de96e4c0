// SPDX-License-Identifier: Apache-2.0
// Runs for the library and the reference model, made of seeds: mostly near to a working one, with damage of
// every kind.
#include "reference_model.h"

#include "support/bitstreams.h"

#include <algorithm>
#include <random>

namespace
{

using reference::Format;
using reference::Scenario;

struct Device {
    const char* name;
    bool virtex2;
};
const Device devices[] = {{"2v3000fg676-4", true},
                          {"2vp30ff896-6", true},
                          {"v1000efg680-6", false},
                          {"s40xlpq208-4", false},
                          {"2s200fg456-5", false},
                          {"2v", true},
                          {"", false},
                          {"2v3000fg676-4-5", true}};

const char* const odd_bits[] = {
    "0",          "-32",         "-1",         "99999999999", "-99999999999",
    "2147483647", "-2147483648", "4294967328", "abc",         "",
    "  12x",      "+64",         "0x40",       "+-3",         "1",
    "33",         "128",         "129",        "2147483520",  "18446744073709551648"};
const std::uint32_t odd_counts[] = {0,          1,          2,          4,          5,          0x0FFFFFFF,
                                    0x10000004, 0x1FFFFFFF, 0x20000001, 0x20000100, 0x7FFFFFFF, 0x80000000,
                                    0xE0000010, 0xFFFFFFFF, 300,        0x20000004};
const int steps[] = {-160, -128, -64, -32, -8, -5, -4, -3, -1, 1, 2, 3, 4, 8, 32, 64, 128, 255, 1000};
const char* const functions[] = {"StartSendMessageEx",    "SendMessageDataEx",    "EndOfSendMessageEx",
                                 "StartReceiveMessageEx", "ReceiveMessageDataEx", "EndOfReceiveMessageEx"};

/// All that is left to chance.
class Dice
{
public:
    explicit Dice(std::uint64_t seed) : engine_{seed} {}
    /// 0 to count - 1
    std::size_t below(std::size_t count) { return static_cast<std::size_t>(engine_() % count); }
    bool percent(std::size_t chance) { return below(100) < chance; }
    template <class T, std::size_t N>
    const T& pick(const T (&choices)[N])
    {
        return choices[below(N)];
    }
    std::uint8_t byte() { return static_cast<std::uint8_t>(engine_()); }
    char character() { return static_cast<char>(byte()); }
    std::uint64_t seed() { return engine_(); }

private:
    std::mt19937_64 engine_;
};

class Generator
{
public:
    explicit Generator(std::uint64_t seed) : dice_{seed} {}

    Scenario make()
    {
        const Device& device = dice_.pick(devices);
        scenario_.device = device.name;
        scenario_.virtex2 = device.virtex2;
        scenario_.converts = dice_.percent(30);
        scenario_.verbose = dice_.percent(50);
        scenario_.prompts = dice_.percent(20);
        scenario_.never_compresses = dice_.percent(20);
        scenario_.accepts_compressed = dice_.percent(50);
        scenario_.board = static_cast<unsigned>(dice_.percent(70) ? 0 : dice_.below(16));
        scenario_.address = static_cast<unsigned>(
            (dice_.percent(80) ? scenario_.board : dice_.below(16)) * 16 + 1 + dice_.below(4));
        if (dice_.percent(12))
            scenario_.verdict = dice_.byte();
        if (dice_.percent(15)) {
            scenario_.failing_function = dice_.pick(functions);
            if (scenario_.failing_function == "SendMessageDataEx")
                scenario_.failing_call = static_cast<int>(1 + dice_.below(dice_.percent(50) ? 6 : 60));
        }
        const Format formats[] = {Format::rbt, Format::bit, Format::mcb};
        scenario_.format = dice_.pick(formats);
        scenario_.content = damaged(scenario_.format == Format::rbt   ? rbt()
                                    : scenario_.format == Format::bit ? bit()
                                                                      : mcb());
        return scenario_;
    }

private:
    /// The module's device as a bitstream names it.
    std::string file_device()
    {
        std::string name = dice_.percent(95) ? scenario_.device : dice_.pick(devices).name;
        if (dice_.percent(70))
            name = name.substr(0, name.find('-'));
        if (dice_.percent(2) && !name.empty())
            name.pop_back();
        if (dice_.percent(1))
            name += std::string(200 + dice_.below(60), 'd');
        return name;
    }

    Bytes configuration()
    {
        const std::size_t lengths[] = {0, 1, 2, 3, 4, 5, 6, 8, 30, 100, 200, 624, 625, 626};
        std::size_t words = dice_.pick(lengths);
        if (dice_.percent(15))
            words = dice_.below(700);
        if (dice_.percent(3))
            words = dice_.below(3000);
        return configuration_of(4 * words, dice_.seed());
    }

    /// A number that a header states, sometimes another than the right one.
    template <class Count>
    Count count(Count right)
    {
        if (dice_.percent(82))
            return right;
        return dice_.percent(40) ? static_cast<Count>(dice_.pick(odd_counts))
                                 : right + static_cast<Count>(dice_.pick(steps));
    }

    std::string rbt()
    {
        const char* const titles[] = {"Xilinx ASCII bitstream\n", "Xilinx ASCII Bitstream\r\n",
                                      "Xilinx ASCII Bitstream"};
        const char* const labels[] = {"Part:", "", " Part: ", "\tPart:\t", "Device ", "Part:  \t "};
        const char* const dates[] = {"Date:\n", "\n", "Date: bit s: 5\n"};
        const char* const words[] = {"bits:", "BITS:\t", "Number of bits: ", "bIts: \t ", "Bits :", "bits"};
        RbtFile file{configuration()};
        if (dice_.percent(3))
            file.header[RbtFile::TITLE] = dice_.pick(titles);
        if (dice_.percent(5))
            file.header[2] = std::string(dice_.below(600), 'x') + '\n';
        file.header[RbtFile::PART] = (dice_.percent(90) ? "Part:  \t" : dice_.pick(labels)) + file_device() +
                                     (dice_.percent(96) ? "\n" : " \r\n");
        const long right = 32 * static_cast<long>(file.data.size());
        const std::string bits = dice_.percent(94) ? std::to_string(count(right)) : dice_.pick(odd_bits);
        file.header[RbtFile::BITS] = (dice_.percent(85) ? "Bits:   " : dice_.pick(words)) + bits +
                                     (dice_.percent(97) ? "\n" : " bits: 7\r\n");
        if (dice_.percent(2))
            file.header[RbtFile::BITS].insert(0, 235 + dice_.below(30), 'b');
        if (dice_.percent(10))
            file.header[RbtFile::DATE] = dice_.pick(dates);
        if (dice_.percent(25))
            file.without_date();
        std::string text = file.text();
        while (dice_.percent(20))
            damage_line(text);
        return text;
    }

    /// Changes a line as an editor or a bad transfer would.
    void damage_line(std::string& text)
    {
        const std::size_t place = dice_.below(text.size() + 1);
        const std::size_t end = text.find('\n', place);
        const std::size_t choice = dice_.below(6);
        if (choice == 0 && end != std::string::npos)
            text.insert(end, "\r");
        else if (choice == 1 && end != std::string::npos)
            text.erase(end, 1);
        else if (choice == 2)
            text.insert(place, 1 + dice_.below(80), '1');
        else if (choice == 3)
            text.insert(place, 1, '\0');
        else if (choice == 4)
            text.insert(place, 1, '\n');
        else if (!text.empty() &&
                 text.back() == '\n') // 33 characters without a line feed, or a zero byte behind them
            text.replace(text.size() - 1, 1, dice_.percent(50) ? "1" : std::string("0\0rest\n", 7));
    }

    std::string bit()
    {
        const std::size_t lengths[] = {0, 1, 253, 254, 255, 256, 300, 5000, 65534};
        const std::size_t tails[] = {1, 3, 4, 5, 1020, 1023, 1024, 1025, 2000};
        BitFile file{configuration()};
        file.device = file_device() + '\0';
        for (std::string* text : {&file.design, &file.device, &file.date, &file.time}) {
            if (dice_.percent(2))
                *text = std::string(dice_.pick(lengths), 'q');
            if (dice_.percent(2) && !text->empty())
                text->back() = 'x';
        }
        for (char* key : {&file.a_key, &file.b_key, &file.c_key, &file.d_key, &file.e_key}) {
            if (dice_.percent(1))
                *key = dice_.character();
        }
        for (std::uint16_t* length : {&file.magic_length, &file.key_length}) {
            if (dice_.percent(1))
                *length = dice_.byte();
        }
        if (dice_.percent(1))
            file.time_length = static_cast<std::uint16_t>(file.time.size() + dice_.below(3) - 1);
        if (dice_.percent(3))
            file.magic[dice_.below(9)] = dice_.byte();
        file.byte_count = count(static_cast<std::uint32_t>(file.data.size()));
        if (dice_.percent(12))
            file.tail = std::string(dice_.pick(tails), '\0');
        return file.content();
    }

    std::string mcb()
    {
        const char* const stamps[] = {"\n", "2006/02/17 12:00:00", "", "bits: 5\n"};
        McbFile file{configuration()};
        if (dice_.percent(2))
            file.first_magic ^= dice_.byte();
        if (dice_.percent(2))
            file.second_magic ^= dice_.byte();
        file.device = file_device();
        if (dice_.percent(20))
            file.timestamp = dice_.pick(stamps);
        if (dice_.percent(2))
            file.timestamp = std::string(255, 'y');
        file.byte_count = count(file.byte_count);
        for (std::size_t changes = dice_.percent(25) ? 1 + dice_.below(5) : 0;
             changes > 0 && !file.runs.empty(); --changes) {
            const auto place =
                file.runs.begin() + static_cast<std::ptrdiff_t>(2 * dice_.below(file.runs.size() / 2));
            if (dice_.percent(40))
                *place = dice_.byte();
            else // a pair of no bytes
                file.runs.insert(place, {0, dice_.byte()});
        }
        if (dice_.percent(10))
            file.tail = {dice_.character(), dice_.character()};
        return file.content();
    }

    std::string damaged(std::string content)
    {
        if (dice_.percent(80) || content.empty())
            return content;
        const std::size_t place =
            dice_.below(dice_.percent(50) ? content.size() : std::min<std::size_t>(content.size(), 600));
        switch (dice_.below(5)) {
        case 0:
            content.resize(place);
            break;
        case 1:
            content[place] = dice_.character();
            break;
        case 2:
            content.erase(place, 1 + dice_.below(4));
            break;
        case 3:
            content.insert(place, 1 + dice_.below(4), dice_.character());
            break;
        default:
            content += std::string(1 + dice_.below(70), dice_.character());
        }
        return content;
    }

    Dice dice_;
    Scenario scenario_;
};

} // namespace

Scenario random_scenario(std::uint64_t seed)
{
    return Generator{seed}.make();
}

Bytes configuration_of(std::size_t size, std::uint64_t seed)
{
    Dice dice{seed};
    const std::size_t longest_runs[] = {600, 1, size, 4};
    const std::size_t longest = dice.pick(longest_runs);
    Bytes all;
    while (all.size() < size) {
        const std::size_t run = longest == size ? size : 1 + dice.below(longest);
        const std::uint8_t value = longest == size || dice.percent(30) ? 0 : dice.byte();
        all.insert(all.end(), std::min(run, size - all.size()), value);
    }
    return all;
}

std::string file_content(Format format, const std::string& device, const Bytes& configuration)
{
    if (format == Format::rbt)
        return RbtFile{configuration}.device(device).text();
    if (format == Format::bit) {
        BitFile file{configuration};
        file.device = device + '\0';
        return file.content();
    }
    McbFile file{configuration};
    file.device = device;
    return file.content();
}
