// Makes scenarios out of seeds: mostly near to working ones, with damage of every kind.
#include "scenario.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace scenario
{

namespace
{

using fake::Bytes;

const char* const devices[] = {"2v3000fg676-4", "2v1000fg456-5", "2vp30ff896-6", "v1000efg680-6",
                               "v300pq240-4",   "s40xlpq208-4",  "2s200fg456-5", "2s200efg456-6",
                               "2s150pq208-5",  "v812eufg900-6", "2vp7ff672-6",  "s10pq208-3",
                               "v50bg256-4"};
const char* const odd_devices[] = {"",
                                   "-",
                                   "-4",
                                   "2",
                                   "2v",
                                   "2vp",
                                   "p",
                                   "v",
                                   "x",
                                   "abc",
                                   "v-4",
                                   "2-",
                                   "abc-def",
                                   "90x-2",
                                   "s0xl",
                                   "2v3000",
                                   "v9",
                                   "2v3000fg676-4-5",
                                   "sx",
                                   "s5x",
                                   "2s",
                                   "vpe5",
                                   "9999",
                                   "2vp0e",
                                   "0123456789abcdefghijklmnopqrstuv"};

std::string little(uint32_t value)
{
    std::string text;
    for (int i = 0; i < 4; ++i)
        text += static_cast<char>(value >> (8 * i) & 0xFF);
    return text;
}

std::string big(uint32_t value, int width)
{
    std::string text;
    for (int i = width - 1; i >= 0; --i)
        text += static_cast<char>(value >> (8 * i) & 0xFF);
    return text;
}

unsigned char mirrored(unsigned char byte)
{
    int result = 0;
    for (int bit = 0; bit < 8; ++bit)
        result = result * 2 + (byte >> bit & 1);
    return static_cast<unsigned char>(result);
}

std::string data_lines(const Bytes& configuration)
{
    std::string text;
    for (std::size_t i = 0; i < configuration.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit)
            text += (configuration[i] >> bit & 1) != 0 ? '1' : '0';
        if (i % 4 == 3)
            text += '\n';
    }
    return text;
}

std::string padded_field(const std::string& text)
{
    std::string field = text;
    field.resize(255, '\0');
    return field;
}

std::string runs(const Bytes& configuration)
{
    std::string text;
    for (std::size_t i = 0; i < configuration.size();) {
        std::size_t end = i;
        while (end < configuration.size() && configuration[end] == configuration[i] && end - i < 255)
            ++end;
        text += static_cast<char>(end - i);
        text += static_cast<char>(configuration[i]);
        i = end;
    }
    return text;
}

/// All that is left to chance, in one place.
class Dice
{
public:
    explicit Dice(uint64_t seed) : engine_{seed} {}
    /// 0 to count - 1
    std::size_t below(std::size_t count) { return static_cast<std::size_t>(engine_() % count); }
    int between(int low, int high)
    {
        return low + static_cast<int>(below(static_cast<std::size_t>(high - low) + 1));
    }
    bool percent(int chance) { return below(100) < static_cast<std::size_t>(chance); }
    template <class T, std::size_t N>
    T pick(const T (&choices)[N])
    {
        return choices[below(N)];
    }
    char character() { return static_cast<char>(engine_() & 0xFF); }
    uint32_t word() { return static_cast<uint32_t>(engine_()); }
    uint64_t seed() { return engine_(); }

private:
    std::mt19937_64 engine_;
};

class Generator
{
public:
    explicit Generator(uint64_t seed) : dice_{seed} {}
    Scenario make();

private:
    std::string device();
    std::string file_device();
    Bytes configuration();
    std::string bits_text(std::size_t bits);
    std::string rbt();
    std::string bit();
    std::string mcb();
    std::string con();
    std::string long_line();
    std::string damaged(std::string content);
    std::string damaged_lines(const std::string& content);
    std::string name();
    void add_files();
    void add_platform();
    void add_module(fake::Module& module);
    void add_failures();
    void add_user();
    void add_environment();
    std::string environment_value();
    Call call();
    std::vector<std::string> arguments();
    std::string odd_argument();

    Dice dice_;
    Scenario made_;
    std::string device_;
    int board_ = 0;
    int target_ = 0;
    int slot_ = 1;
};

std::string Generator::device()
{
    return dice_.percent(8) ? dice_.pick(odd_devices) : dice_.pick(devices);
}

/// The device as a bitstream names it.
std::string Generator::file_device()
{
    std::string name = dice_.percent(94) ? device_ : device();
    if (dice_.percent(70))
        name = name.substr(0, name.find('-'));
    if (dice_.percent(2))
        name = "xc" + name;
    if (dice_.percent(2))
        std::transform(name.begin(), name.end(), name.begin(),
                       [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    if (dice_.percent(2) && !name.empty())
        name.pop_back();
    return name;
}

Bytes Generator::configuration()
{
    const std::size_t lengths[] = {1, 2, 3, 4, 5, 6, 8, 30, 100, 200};
    std::size_t words = dice_.pick(lengths);
    if (dice_.percent(12))
        words = dice_.below(700);
    if (dice_.percent(4))
        words = 624 + dice_.below(3);
    if (dice_.percent(3))
        words = dice_.below(3000);
    if (dice_.percent(2))
        words = 0;
    return sample_configuration(4 * words, dice_.seed());
}

std::string Generator::bits_text(std::size_t bits)
{
    static const char* const odd[] = {"0",
                                      "-32",
                                      "-1",
                                      "99999999999",
                                      "-99999999999",
                                      "2147483647",
                                      "-2147483648",
                                      "2147483648",
                                      "4294967296",
                                      "4294967328",
                                      "abc",
                                      "",
                                      "  12x",
                                      "+64",
                                      "0x40",
                                      "-",
                                      "+-3",
                                      "1",
                                      "31",
                                      "33",
                                      "127",
                                      "128",
                                      "129",
                                      "2147483520",
                                      "18446744073709551648"};
    if (dice_.percent(82))
        return std::to_string(bits);
    if (dice_.percent(40))
        return dice_.pick(odd);
    const int steps[] = {-160, -128, -64, -32, -8, -1, 1, 8, 32, 64, 128, 3200};
    return std::to_string(static_cast<long>(bits) + dice_.pick(steps));
}

std::string Generator::rbt()
{
    const Bytes data = configuration();
    static const char* const titles[] = {"Xilinx ASCII bitstream\n", "Xilinx ASCII Bitstream\r\n",
                                         "Xilinx ASCII Bitstream \n", "Xilinx ASCII Bitstream", "\n"};
    static const char* const labels[] = {"Part:  ", "Part: \t",  "Part:",   "",
                                         " Part: ", "\tPart:\t", "Device ", "Part:  \t "};
    static const char* const dates[] = {"Date:   Fri Feb 17 12:00:00 2006\n", "Date:\n", "\n",
                                        "Date: bit s: 5\n"};
    static const char* const words[] = {
        "Bits:   ", "bits:", "BITS:\t", "Number of bits: ", "bIts: \t ", "Bits :", "bits"};
    std::string text = dice_.percent(97) ? "Xilinx ASCII Bitstream\n" : dice_.pick(titles);
    for (int line = 2; line <= 4; ++line)
        text += dice_.percent(4) ? std::string(dice_.below(600), 'x') + "\n"
                                 : "Created by a tool, line " + std::to_string(line) + "\n";
    text += dice_.percent(90) ? "Part:  " : dice_.pick(labels);
    text += dice_.percent(1) ? std::string(200 + dice_.below(60), 'd') : file_device();
    text += dice_.percent(96) ? "\n" : (dice_.percent(50) ? " \r\n" : "");
    if (dice_.percent(75))
        text += dice_.percent(88) ? dates[0] : dice_.pick(dates);
    if (dice_.percent(2))
        text += "Another line\n";
    if (dice_.percent(2))
        text += std::string(235 + dice_.below(30), 'b');
    text += dice_.percent(85) ? "Bits:   " : dice_.pick(words);
    text += bits_text(8 * data.size());
    text += dice_.percent(97) ? "\n" : " bits: 7\r\n";
    text += data_lines(data);
    return damaged_lines(text);
}

/// Changes single lines as an editor or a bad transfer would.
std::string Generator::damaged_lines(const std::string& content)
{
    if (dice_.percent(75))
        return damaged(content);
    std::string text = content;
    const int changes = dice_.between(1, 2);
    for (int i = 0; i < changes && !text.empty(); ++i) {
        std::size_t place = dice_.below(text.size());
        const std::size_t end = text.find('\n', place);
        switch (dice_.below(9)) {
        case 0: // a carriage return before one line feed
            if (end != std::string::npos)
                text.insert(end, "\r");
            break;
        case 1: // a line is joined with the next
            if (end != std::string::npos)
                text.erase(end, 1);
            break;
        case 2: // a line of another length
            text.insert(place, std::string(1 + dice_.below(80), '1'));
            break;
        case 3:
            text[place] = '\0';
            break;
        case 4:
            text.insert(place, 1, '\n');
            break;
        case 5: // the last line feed is missing
            if (text.back() == '\n')
                text.pop_back();
            break;
        case 6: // 33 characters and no line feed, or a zero byte behind 33
            if (text.back() == '\n')
                text.pop_back();
            text += dice_.percent(50) ? "1" : std::string("0\0rest\n", 7);
            break;
        case 7: // one more or one less character
            if (dice_.percent(50))
                text.insert(place, "0");
            else
                text.erase(place, 1);
            break;
        default:
            text[place] = dice_.character();
            break;
        }
    }
    return damaged(text);
}

std::string Generator::damaged(std::string content)
{
    if (dice_.percent(1)) {
        content.resize(dice_.below(300));
        std::generate(content.begin(), content.end(), [this] { return dice_.character(); });
    }
    if (dice_.percent(80) || content.empty())
        return content;
    switch (dice_.below(7)) {
    case 0:
        return content.substr(0, dice_.below(content.size() + 1));
    case 1:
        return content.substr(0, dice_.below(std::min<std::size_t>(content.size(), 600) + 1));
    case 2:
        content[dice_.below(std::min<std::size_t>(content.size(), 600))] = dice_.character();
        return content;
    case 3:
        content[dice_.below(content.size())] = dice_.character();
        return content;
    case 4:
        content.erase(dice_.below(content.size()), 1 + dice_.below(4));
        return content;
    case 5:
        content.insert(dice_.below(content.size()), 1 + dice_.below(4), dice_.character());
        return content;
    default: {
        const std::size_t lengths[] = {1, 2, 3, 4, 5, 32, 33, 66, 1023, 1024, 1025, 2000};
        const char fill[] = {'\0', '1', '\n', 'x'};
        return content + std::string(dice_.pick(lengths), dice_.pick(fill));
    }
    }
}

std::string Generator::bit()
{
    const Bytes data = configuration();
    const auto field = [this](const std::string& usual) {
        const std::size_t lengths[] = {0, 1, 100, 253, 254, 255, 256, 300, 5000, 65535};
        std::string text = dice_.percent(97) ? usual : std::string(dice_.pick(lengths), 'q');
        if (dice_.percent(90))
            text += '\0';
        std::size_t length = text.size();
        if (dice_.percent(1))
            length += dice_.below(3) - 1;
        return big(static_cast<uint32_t>(std::min<std::size_t>(length, 65535)), 2) + text.substr(0, 65535);
    };
    const auto key = [this](char usual) { return dice_.percent(99) ? usual : dice_.character(); };
    std::string text = big(dice_.percent(99) ? 9 : dice_.word() & 0xFFFF, 2);
    text += "\x0F\xF0\x0F\xF0\x0F\xF0\x0F\xF0";
    text += dice_.percent(90) ? '\0' : dice_.character();
    text += big(dice_.percent(99) ? 1 : dice_.word() & 0xFFFF, 2);
    text += key('a') + field("design.ncd");
    text += key('b') + field(file_device());
    text += key('c') + field("2006/02/17");
    text += key('d') + field("12:00:00");
    text += key('e');
    uint32_t count = static_cast<uint32_t>(data.size());
    if (dice_.percent(18)) {
        const uint32_t odd[] = {0,          1,          2,          3,          4,          0x10000000,
                                0x10000004, 0x1FFFFFFF, 0x20000000, 0x20000001, 0x20000004, 0x20000100,
                                0x7FFFFFFF, 0x80000000, 0x0FFFFFFF, 0xFFFFFFFF, 0xE0000010};
        const uint32_t steps[] = {1, 2, 3, 4, 8, 16, 400, ~0U, ~1U, ~3U, ~7U, ~15U};
        count = dice_.percent(40) ? dice_.pick(odd) : count + dice_.pick(steps);
    }
    text += big(count, 4);
    for (const unsigned char byte : data)
        text += static_cast<char>(mirrored(byte));
    if (dice_.percent(12)) {
        const std::size_t lengths[] = {1, 2, 3, 4, 5, 100, 1020, 1023, 1024, 1025, 1028, 2000};
        text += std::string(dice_.pick(lengths), '\0');
    }
    return damaged(text);
}

std::string Generator::mcb()
{
    const Bytes data = configuration();
    std::string text = little(0x00441278) + little(0x00760188);
    if (dice_.percent(2))
        text[dice_.below(8)] = dice_.character();
    std::string name = padded_field(file_device());
    if (dice_.percent(2))
        std::replace(name.begin(), name.end(), '\0', 'z');
    text += name;
    static const char* const stamps[] = {"Date:   Fri Feb 17 12:00:00 2006\n", "\n", "2006/02/17 12:00:00",
                                         "", "bits: 5\n"};
    std::string stamp = padded_field(dice_.pick(stamps));
    if (dice_.percent(2))
        std::replace(stamp.begin(), stamp.end(), '\0', 'y');
    text += stamp;
    uint32_t count = static_cast<uint32_t>(data.size());
    if (dice_.percent(20)) {
        const uint32_t odd[] = {0,          1,          2,          3,          4,   5,         6,
                                0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x10000000, 300, 0x20000004};
        const uint32_t steps[] = {1, 2, 3, 4, 5, 8, 255, 1000, ~0U, ~1U, ~2U, ~3U, ~4U, ~7U, ~200U};
        count = dice_.percent(35) ? dice_.pick(odd) : count + dice_.pick(steps);
    }
    text += little(count);
    std::string pairs = runs(data);
    if (dice_.percent(25) && !pairs.empty()) {
        const int changes = dice_.between(1, 5);
        for (int i = 0; i < changes; ++i) {
            const std::size_t place = dice_.below(pairs.size() / 2) * 2;
            if (dice_.percent(60))
                pairs.insert(place, std::string(1, '\0') + dice_.character());
            else
                pairs[place] = dice_.character();
        }
    }
    if (dice_.percent(10)) {
        const char more[] = {1, 4, 100, '\xFF'};
        pairs += dice_.pick(more);
        pairs += dice_.character();
    }
    return damaged(text + pairs);
}

std::string Generator::con()
{
    static const char* const names[] = {"design",      "design.rbt",  "design.mcb", "other",
                                        "other.rbt",   "other.mcb",   "design.bit", "missing",
                                        "missing.rbt", "missing.mcb", "design.txt", "a"};
    static const char* const blanks[] = {" ", "\t", "   ", " \t ", "     "};
    static const char* const odd_lines[] = {
        "\n",       " skipped\n",     "\"comment\n",      "\tmwc4a 0 1\n",     "\r\n",
        "design\n", "design mwc4a\n", "design mwc4a 0\n", "design mwc4a 0 \n", "design\tmwc4a\t0\t1\tmore\n",
        "\"\n"};
    static const char* const odd_numbers[] = {"16", "-1",          "65536",        "65537", "abc", "",
                                              "+2", "99999999999", "-99999999999", "15",    "0x1"};
    static const char* const odd_slots[] = {"0",           "5",          "0x10", "0x",   "0x5", "259",
                                            "-253",        "0x121",      "0X1",  "0x2g", "x",   "1x",
                                            "99999999999", "0x00000001", "0xFF", "0x4",  "33",  "+1"};
    std::string text;
    const int lines = dice_.between(0, 5);
    for (int i = 0; i < lines; ++i) {
        if (dice_.percent(25)) {
            text += dice_.percent(80) ? dice_.pick(odd_lines) : long_line();
            continue;
        }
        text += dice_.percent(70) ? names[dice_.below(6)] : dice_.pick(names);
        if (dice_.percent(1))
            text += std::string(200 + dice_.below(100), 'l');
        text += dice_.pick(blanks);
        text += dice_.percent(97) ? "mwc4a" : std::string(25 + dice_.below(20), 'm');
        text += dice_.pick(blanks);
        text += dice_.percent(90) ? std::to_string(board_) : dice_.pick(odd_numbers);
        text += dice_.pick(blanks);
        if (dice_.percent(12)) {
            text += dice_.pick(odd_slots);
        } else if (dice_.percent(70)) {
            char slot[8] = "";
            std::snprintf(slot, sizeof slot, "0x%x",
                          static_cast<unsigned>(target_ * 16 + dice_.between(1, 4)));
            text += slot;
        } else {
            text += std::to_string(dice_.between(1, 4));
        }
        text += dice_.percent(90) ? "\n" : (dice_.percent(50) ? " \r\n" : "\t\n");
    }
    if (dice_.percent(10) && !text.empty())
        text.pop_back();
    return dice_.percent(95) ? text : damaged(text);
}

/// A comment near the length at which lines are read in pieces, with something that may begin a piece behind
/// it.
std::string Generator::long_line()
{
    static const char* const pieces[] = {
        "design mwc4a 0 1\n", "other.rbt mwc4a 0 2\n", "\"x\n", " x\n", "missing 0\n", "\n"};
    if (dice_.percent(15))
        return std::string(1, '\0') + dice_.pick(pieces);
    return std::string(252 + dice_.below(6), '"') + dice_.pick(pieces);
}

std::string Generator::name()
{
    static const char* const usual[] = {"design", "design.rbt", "design.mcb", "design.bit"};
    static const char* const odd[] = {"",
                                      "a",
                                      ".rbt",
                                      "design.txt",
                                      "design.RBT",
                                      "missing",
                                      "missing.rbt",
                                      "missing.mcb",
                                      "missing.bit",
                                      "design.ab",
                                      "other",
                                      "other.rbt",
                                      "./design",
                                      "nowhere/design.rbt",
                                      "%n%s.rbt",
                                      "de%sign",
                                      "other.mcb",
                                      "other.bit",
                                      "design.",
                                      "abc.",
                                      "b.rb",
                                      "percent%d.bit"};
    if (dice_.percent(88))
        return dice_.pick(usual);
    if (dice_.percent(85))
        return dice_.pick(odd);
    static const char* const ends[] = {"", ".rbt", ".mcb", ".bit", ".txt"};
    return std::string(240 + dice_.below(30), 'n') + dice_.pick(ends);
}

void Generator::add_files()
{
    static const char* const stems[] = {"design", "other", "a", "", "de%sign", "design.ab"};
    for (const char* stem : stems) {
        const std::string base = stem;
        const int chance = base == "design" ? 60 : base == "other" ? 20 : 3;
        if (dice_.percent(chance + 15))
            made_.files[base + ".rbt"].content = rbt();
        if (dice_.percent(chance))
            made_.files[base + ".mcb"].content = mcb();
        if (dice_.percent(chance))
            made_.files[base + ".bit"].content = bit();
    }
    if (dice_.percent(3)) {
        static const char* const names[] = {"design.rbt", "design.mcb", "design.bit", "list.con"};
        made_.files[dice_.pick(names)] = {Kind::directory, "", {}, {}};
    }
}

void Generator::add_module(fake::Module& module)
{
    const unsigned char kinds[] = {2, 2, 2, 4, 4, 4, 2, 4, 3, 0};
    const unsigned char models[] = {0, 1, 2, 3, 3, 4, 4, 5, 5, 6, 200};
    const std::string name = dice_.percent(80) ? device_ : device();
    module = good_module(dice_.pick(kinds), dice_.pick(models), name, dice_.percent(50));
    if (dice_.percent(8))
        module.record[29] = static_cast<unsigned char>(dice_.character());
    if (dice_.percent(5))
        module.compression_answer[0] = static_cast<unsigned char>(dice_.character());
    if (dice_.percent(3))
        module.record.resize(3 + dice_.below(10));
    if (dice_.percent(2))
        std::fill(module.record.begin() + 3, module.record.end(), static_cast<unsigned char>('k'));
    const uint32_t odd[] = {0, 1, 2, 7, 0xFFFFFFFF};
    if (dice_.percent(6))
        module.present = dice_.pick(odd);
    if (dice_.percent(6))
        module.processor = dice_.pick(odd);
    if (dice_.percent(6))
        module.serial_bus = dice_.pick(odd);
    if (dice_.percent(3))
        module.type_reply = static_cast<unsigned char>(dice_.character());
    if (dice_.percent(4))
        module.compression_reply = static_cast<unsigned char>(dice_.character());
    if (dice_.percent(12))
        module.verdict = {static_cast<unsigned char>(dice_.character()), 5};
}

void Generator::add_platform()
{
    for (auto& board : made_.platform.boards) {
        for (std::size_t slot = 1; slot <= 4; ++slot)
            add_module(board[slot]);
    }
    static const char* const types[] = {"mwc4a", "MWC4A", "mwc3a", "mwc", "", "mwc4ab"};
    made_.platform.handle_type = dice_.percent(75) ? "mwc4a" : dice_.pick(types);
    made_.platform.handle_number = static_cast<uint16_t>(dice_.percent(80) ? board_ : dice_.between(0, 20));
    const uint32_t kinds[] = {3, 3, 3, 3, 0, 1, 2, 4, 0x10003, 0xFFFFFFFF};
    made_.platform.handle_kind = dice_.pick(kinds);
    made_.platform.close_clears_handle = dice_.percent(70);
    made_.platform.failed_open_stores_handle = dice_.percent(30);
    static const char* const words[] = {"words of 0x", "", "100% %s %n ", "two\nlines "};
    made_.platform.error_words = dice_.percent(80) ? words[0] : dice_.pick(words);
    if (dice_.percent(3))
        made_.platform.error_words = std::string(240, 'w');
    if (dice_.percent(25))
        add_failures();
}

void Generator::add_failures()
{
    static const char* const functions[] = {"OpenS",
                                            "GetBoardInfo",
                                            "GetDeviceInfo",
                                            "InitIoStatus",
                                            "SendMessage",
                                            "ReceiveMessage",
                                            "SendMessageEx",
                                            "ReceiveMessageEx",
                                            "StartSendMessageEx",
                                            "SendMessageDataEx",
                                            "EndOfSendMessageEx",
                                            "StartReceiveMessageEx",
                                            "ReceiveMessageDataEx",
                                            "EndOfReceiveMessageEx",
                                            "Close"};
    const uint32_t codes[] = {1, 2, 0x77, 0x80000001, 0xFFFFFFFF, 0x80000000, 5};
    fake::Failure failure;
    failure.code = dice_.pick(codes);
    failure.which = dice_.between(1, 3);
    if (dice_.percent(50)) {
        failure.function = dice_.pick(functions);
        if (failure.function == "SendMessageDataEx")
            failure.which = dice_.between(1, dice_.percent(50) ? 6 : 60);
    } else {
        failure.which = dice_.between(1, 30);
    }
    made_.platform.failures.push_back(failure);
    if (dice_.percent(10))
        add_failures();
}

void Generator::add_user()
{
    static const char* const names[] = {"design",     "design.rbt", "design.mcb", "design.bit",  "",
                                        "design.txt", "missing",    "x",          "missing.rbt", "y.RBT"};
    static const char* const types[] = {"mwc4a", "mwc3a", "",
                                        "a board type that is longer than thirty-one characters", "m c"};
    static const char* const numbers[] = {"0",     "1", "15", "16",          "-1", "",
                                          "65536", "x", " 2", "99999999999", "3 4"};
    const int decisions[] = {'y', 'Y', 'n', 'y', 'y', 'N', 0, 0x179, 0x159, 0x17A, -135, 'j', 0x10000};
    for (int i = dice_.between(0, 6); i > 0; --i)
        made_.user.decisions.push_back(dice_.pick(decisions));
    for (int i = dice_.between(0, 3); i > 0; --i) {
        made_.user.names.emplace_back(dice_.percent(97) ? dice_.pick(names)
                                                        : std::string(230 + dice_.below(25), 'a'));
        made_.user.board_types.emplace_back(dice_.pick(types));
        made_.user.board_numbers.emplace_back(dice_.percent(50) ? std::to_string(board_)
                                                                : dice_.pick(numbers));
        made_.user.keys.push_back(dice_.between(-1, 300));
    }
    if (dice_.percent(70))
        return;
    if (dice_.percent(60)) {
        made_.prints = made_.prompts = made_.asks_strings = made_.asks_yn = false;
    } else {
        made_.prints = dice_.percent(50);
        made_.prompts = dice_.percent(50);
        made_.asks_strings = dice_.percent(50);
        made_.asks_yn = dice_.percent(50);
    }
    static const char* const typed[] = {"y",     "n", "",  "yes",   "design", "design.rbt", "design.mcb",
                                        "mwc4a", "0", "1", "x.txt", "Y",      "missing.rbt"};
    for (int i = dice_.between(0, 9); i > 0; --i) {
        made_.typed += dice_.percent(97) ? dice_.pick(typed) : std::string(20 + dice_.below(400), 't');
        made_.typed += dice_.percent(98) ? "\n" : std::string("\0rest\r\n", 7);
    }
    if (dice_.percent(20) && !made_.typed.empty())
        made_.typed.pop_back();
}

std::string Generator::environment_value()
{
    static const char* const odd[] = {"",
                                      " ",
                                      "\t ",
                                      "mwc4a",
                                      "mwc4a ",
                                      " mwc4a\t",
                                      "mwc4a 16",
                                      "mwc4a -1",
                                      "mwc4a x",
                                      "MWC4A 2",
                                      "mwc3a 1",
                                      "m 3",
                                      "mwc4a\n2",
                                      "mwc4a 65536",
                                      "mwc4a 99999999999",
                                      "mwc4a 2 3",
                                      "  mwc4a\t3",
                                      "mwc4a +4",
                                      "aboardtypethatislongerthanthirtyonecharacters 1",
                                      "mwc4a 0000000000000000000000000000000000002"};
    return dice_.percent(60) ? "mwc4a " + std::to_string(board_) : dice_.pick(odd);
}

void Generator::add_environment()
{
    if (dice_.percent(55))
        made_.mwapiksb = environment_value();
    if (dice_.percent(45))
        made_.mwapijtag = environment_value();
}

std::string Generator::odd_argument()
{
    static const char* const odd[] = {"-",
                                      "-vv",
                                      "-x",
                                      "-h",
                                      "-f",
                                      "-s5",
                                      "-s0",
                                      "-s259",
                                      "-s-1",
                                      "-sx",
                                      "-t16",
                                      "-t-1",
                                      "-t0",
                                      "-tx",
                                      "-b16",
                                      "-b-1",
                                      "-b65536",
                                      "-b65537",
                                      "-bx",
                                      "-b 3",
                                      "-s+2",
                                      "-t 1",
                                      "--help",
                                      "-d",
                                      "-dmwc",
                                      "-dMWC4A",
                                      "-s99999999999",
                                      "-b99999999999",
                                      "-t99999999999",
                                      "-B0",
                                      "-S1",
                                      "-V",
                                      "-U",
                                      "-C",
                                      "-N",
                                      "-R",
                                      "-Fdesign",
                                      "boards.txt",
                                      "list.con",
                                      "list",
                                      "LIST.CON",
                                      "",
                                      "a.con",
                                      "-daboardtypethatislongerthanthirtyonecharacters",
                                      "-s1x",
                                      "-vu",
                                      "-c1",
                                      "-s\t3",
                                      "missing.con"};
    if (dice_.percent(90))
        return dice_.pick(odd);
    static const char* const begins[] = {"-f", "", "-z", "-d"};
    return dice_.pick(begins) + std::string(240 + dice_.below(900), 'o');
}

std::vector<std::string> Generator::arguments()
{
    std::vector<std::string> words;
    if (dice_.percent(20)) {
        words.emplace_back(dice_.percent(50) ? "list.con" : "list");
        made_.files["list.con"].content = con();
    }
    if (dice_.percent(90))
        words.push_back((dice_.percent(90) ? "-f" : "-F") + (dice_.percent(92) ? name() : ""));
    if (dice_.percent(60))
        words.push_back("-s" + std::to_string(slot_));
    if (dice_.percent(60))
        words.emplace_back("-dmwc4a");
    if (dice_.percent(60))
        words.push_back("-b" + std::to_string(board_));
    if (dice_.percent(25))
        words.push_back("-t" + std::to_string(target_));
    if (dice_.percent(60))
        words.emplace_back("-v");
    if (dice_.percent(45))
        words.emplace_back("-u");
    if (dice_.percent(25))
        words.emplace_back("-n");
    if (dice_.percent(20))
        words.emplace_back("-c");
    if (dice_.percent(12))
        words.emplace_back("-r");
    for (std::size_t i = words.size(); i > 1; --i)
        std::swap(words[i - 1], words[dice_.below(i)]);
    while (dice_.percent(12))
        words.insert(words.begin() + static_cast<std::ptrdiff_t>(dice_.below(words.size() + 1)),
                     odd_argument());
    words.insert(words.begin(), "KVN_FPGA");
    return words;
}

Call Generator::call()
{
    Call made;
    const std::size_t which = dice_.below(100);
    made.entry = which < 30   ? Entry::board
                 : which < 42 ? Entry::handle
                 : which < 84 ? Entry::main_plain
                 : which < 98 ? Entry::main_with_handle
                              : Entry::help;
    made.devstr = dice_.percent(95) ? "mwc4a" : std::string(25 + dice_.below(20), 'b');
    if (dice_.percent(2))
        made.devstr.reset();
    made.rbtfile = name();
    if (dice_.percent(2))
        made.rbtfile.reset();
    const int boards[] = {16, -1, 65536, 65537, 15, 100};
    made.board_number = dice_.percent(93) ? board_ : dice_.pick(boards);
    made.kavrinid = target_ * 16 + slot_;
    const int addresses[] = {0, 5, 0x15, 0x101, -1, 0x14, 0x13, 15, 8};
    if (dice_.percent(8))
        made.kavrinid = dice_.pick(addresses);
    const int actions[] = {0, 1, 2, 0, 1, 2, 0, 1, 2, 3, -1, 0x101};
    made.action = dice_.percent(60) ? 0 : dice_.pick(actions);
    made.flags = dice_.percent(85) ? dice_.between(0, 7) : dice_.between(-20, 300);
    made.null_handle = dice_.percent(5);
    if (made.entry == Entry::main_plain || made.entry == Entry::main_with_handle)
        made.arguments = arguments();
    return made;
}

Scenario Generator::make()
{
    device_ = device();
    board_ = dice_.percent(70) ? dice_.between(0, 3) : dice_.between(0, 15);
    target_ = dice_.percent(65) ? board_ : dice_.between(0, 15);
    slot_ = dice_.between(1, 4);
    add_files();
    add_platform();
    add_user();
    add_environment();
    do
        made_.calls.push_back(call());
    while (dice_.percent(15));
    for (auto& [name, file] : made_.files) {
        if (dice_.percent(2))
            file.readable = dice_.below(file.content.size() + 2);
    }
    static const char* const outputs[] = {"design.mcb", "design.rbt"};
    if (dice_.percent(3))
        made_.files[dice_.pick(outputs)].writable = dice_.below(dice_.percent(60) ? 1000 : 150000);
    if (dice_.percent(2)) {
        const std::string output = dice_.pick(outputs);
        for (auto& [name, file] : made_.files)
            file.content = file.content.substr(0, 1500); // small enough to wait in any buffer until the end
        const bool full = output == "design.mcb" && dice_.percent(70);
        made_.files[output] = {full ? Kind::full_device : Kind::directory, "", {}, {}};
    }
    return made_;
}

std::string quoted(const std::optional<std::string>& text)
{
    return text ? "\"" + fake::escaped(*text) + "\"" : "none";
}

std::string described_call(const Call& call)
{
    const std::string values = ", kavrinid " + std::to_string(call.kavrinid) + ", rbtfile " +
                               quoted(call.rbtfile) + ", action " + std::to_string(call.action) + ", flags " +
                               std::to_string(call.flags);
    std::string line;
    switch (call.entry) {
    case Entry::board:
        return "kvn_fpga_board: devstr " + quoted(call.devstr) + ", board " +
               std::to_string(call.board_number) + values;
    case Entry::handle:
        return std::string("kvn_fpga_handle: ") + (call.null_handle ? "null" : "handle") + values;
    case Entry::help:
        return "kvn_fpga_help";
    default:
        line = call.entry == Entry::main_plain ? "kvn_fpga_main:"
               : call.null_handle              ? "kvn_fpga_main with null:"
                                               : "kvn_fpga_main with a handle:";
        for (const std::string& argument : call.arguments)
            line += " [" + fake::escaped(argument) + "]";
        return line;
    }
}

} // namespace

std::string described(const Scenario& scenario)
{
    std::string text =
        "MWAPIKSB " + quoted(scenario.mwapiksb) + ", MWAPIJTAG " + quoted(scenario.mwapijtag) + "\n";
    text += std::string("callbacks:") + (scenario.prints ? " print" : "") +
            (scenario.prompts ? " prompt" : "") + (scenario.asks_strings ? " ask_string" : "") +
            (scenario.asks_yn ? " ask_yn" : "") + ", typed \"" + fake::escaped(scenario.typed) + "\"\n";
    for (const auto& [name, file] : scenario.files) {
        static const char* const kinds[] = {"file", "directory", "link to a full device"};
        text += fake::escaped(name) + ": " + kinds[static_cast<int>(file.kind)] + ", " +
                std::to_string(file.content.size()) + " bytes" +
                (file.readable ? ", read error at byte " + std::to_string(*file.readable) : "") +
                (file.writable ? ", full at byte " + std::to_string(*file.writable) : "") + ", begins \"" +
                fake::escaped(file.content.substr(0, 300)) + "\"\n";
    }
    for (const fake::Failure& failure : scenario.platform.failures)
        text += "call " + std::to_string(failure.which) + " of " +
                (failure.function.empty() ? "all" : failure.function) + " fails with " +
                std::to_string(failure.code) + "\n";
    for (const Call& call : scenario.calls)
        text += described_call(call) + "\n";
    return text;
}

Scenario generate(uint64_t seed)
{
    return Generator{seed}.make();
}

std::string rbt_file(const std::string& device, const Bytes& configuration)
{
    return "Xilinx ASCII Bitstream\nCreated by a tool\nDesign name: design.ncd\nArchitecture: virtex\nPart:  " +
           device +
           "\nDate:   Fri Feb 17 12:00:00 2006\nBits:   " + std::to_string(8 * configuration.size()) + "\n" +
           data_lines(configuration);
}

std::string bit_file(const std::string& device, const Bytes& configuration)
{
    const auto field = [](const std::string& text) {
        return big(static_cast<uint32_t>(text.size()), 2) + text;
    };
    std::string text = big(9, 2) + "\x0F\xF0\x0F\xF0\x0F\xF0\x0F\xF0" + big(0, 1) + big(1, 2);
    text += "a" + field("design.ncd") + "b" + field(device) + "c" + field("2006/02/17") + "d" +
            field("12:00:00") + "e" + big(static_cast<uint32_t>(configuration.size()), 4);
    for (const unsigned char byte : configuration)
        text += static_cast<char>(mirrored(byte));
    return text;
}

std::string mcb_file(const std::string& device, const Bytes& configuration)
{
    return little(0x00441278) + little(0x00760188) + padded_field(device) +
           padded_field("Fri Feb 17 2006\n") + little(static_cast<uint32_t>(configuration.size())) +
           runs(configuration);
}

Bytes sample_configuration(std::size_t length, uint64_t seed)
{
    Dice dice{seed};
    Bytes bytes;
    const int style = dice.between(0, 3); // runs, random bytes, all the same, short runs
    const std::size_t longest = style == 0 ? 600 : 4;
    while (bytes.size() < length) {
        const std::size_t run = style == 1 ? 1 : style == 2 ? length : 1 + dice.below(longest);
        const auto value = static_cast<unsigned char>(style == 2 || dice.percent(30) ? 0 : dice.character());
        bytes.insert(bytes.end(), std::min(run, length - bytes.size()), value);
    }
    return bytes;
}

fake::Module good_module(unsigned char kind, unsigned char model, const std::string& device, bool compressed)
{
    fake::Module module;
    module.present = 1;
    module.serial_bus = 1;
    module.record.assign(30, 0);
    module.record[0] = kind;
    module.record[1] = model;
    module.record[2] = 7;
    std::copy_n(device.begin(), std::min<std::size_t>(device.size(), 26), module.record.begin() + 3);
    module.record[29] = compressed ? 1 : 0;
    module.compression_answer = {static_cast<unsigned char>(compressed ? 1 : 0)};
    module.verdict = {5, 0};
    return module;
}

} // namespace scenario
