// SPDX-License-Identifier: Apache-2.0
// The reference model: headers, converters and loaders.
#include "reference_model.h"

#include "mwapi.h"
#include "support/run_fixture.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <utility>

namespace reference
{

namespace
{
const char* const TITLE = "Xilinx ASCII Bitstream\n";
const char* const RBT_HEADER = "Failed to read header section of RBT file %s.";
constexpr std::uint32_t FIRST_MAGIC = 0x00441278;
constexpr std::uint32_t SECOND_MAGIC = 0x00760188;
constexpr std::size_t FIELD_SIZE = 255;

std::string formatted(const char* format, std::va_list values)
{
    std::va_list measured;
    va_copy(measured, values);
    std::string text(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, measured)), '\0');
    va_end(measured);
    std::vsnprintf(text.data(), text.size() + 1, format, values);
    return text.c_str(); // a zero byte among the values ends it
}

std::string integer(std::uint32_t value)
{
    std::string text;
    for (int byte = 0; byte < 4; ++byte)
        text += static_cast<char>(value >> (8 * byte) & 0xFF);
    return text;
}

/// A text, its zero byte, and zero bytes behind it.
std::string field(const std::string& text)
{
    std::string padded = text.substr(0, FIELD_SIZE - 1);
    padded.resize(FIELD_SIZE, '\0');
    return padded;
}

bool is_blank(char character)
{
    return character == ' ' || character == '\t';
}

constexpr std::uint32_t TIMEOUT = 5000;
constexpr std::uint8_t CONFIGURED = 5;
const char* const BOARD_TYPE = "mwc4a";

std::string words_for(std::uint32_t status)
{
    std::array<char, 256> text{};
    MwErr2Text(status, text.data());
    return text.data();
}

/// Configuration bytes of a word's 32 characters.
Bytes word_of(const std::string& characters)
{
    Bytes word(4, 0);
    for (std::size_t bit = 0; bit < 32; ++bit) {
        if (characters[bit] == '1')
            word[bit / 8] = static_cast<std::uint8_t>(word[bit / 8] + (1 << bit % 8));
    }
    return word;
}

/// The device that a part line names, or "".
std::string device_field(const std::string& part_line)
{
    auto place = std::find_if(part_line.begin(), part_line.end(), is_blank);
    place = std::find_if_not(place, part_line.end(), is_blank);
    return {place, std::find(place, part_line.end(), '\n')};
}

/// Where a word, in either case, begins in a line.
std::optional<std::size_t> find_word(const std::string& line, const std::string& word)
{
    for (std::size_t start = 0; start + word.size() <= line.size(); ++start) {
        std::size_t same = 0;
        while (same < word.size() &&
               std::tolower(static_cast<unsigned char>(line[start + same])) == word[same])
            ++same;
        if (same == word.size())
            return start;
    }
    return {};
}

std::uint32_t big_endian(const Bytes& bytes)
{
    std::uint32_t value = 0;
    for (const std::uint8_t byte : bytes)
        value = value * 256 + byte;
    return value;
}

std::uint32_t little_endian(const Bytes& bytes)
{
    return big_endian({bytes.rbegin(), bytes.rend()});
}

std::string text_of(const Bytes& bytes)
{
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), 0)};
}

Bytes reversed(Bytes bytes)
{
    for (std::uint8_t& byte : bytes) {
        int mirrored = 0;
        for (int bit = 0; bit < 8; ++bit)
            mirrored = mirrored * 2 + (byte >> bit & 1);
        byte = static_cast<std::uint8_t>(mirrored);
    }
    return bytes;
}

/// A number in a text, as far as it goes, held to 32 bits.
std::int32_t decimal(const std::string& text)
{
    constexpr std::int64_t beyond = std::int64_t{1} << 40;
    auto place =
        std::find_if_not(text.begin(), text.end(), [](unsigned char c) { return std::isspace(c) != 0; });
    const bool negative = place != text.end() && *place == '-';
    if (place != text.end() && (*place == '-' || *place == '+'))
        ++place;
    std::int64_t value = 0;
    for (; place != text.end() && *place >= '0' && *place <= '9'; ++place)
        value = std::min(beyond, value * 10 + (*place - '0'));
    value = negative ? -value : value;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, std::numeric_limits<std::int32_t>::min(),
                                                              std::numeric_limits<std::int32_t>::max()));
}

/// A text that is read as the C library reads a file.
class Input
{
public:
    explicit Input(const std::string& content) : content_{content} {}
    /// False when the file ends before so many bytes; `bytes` then holds what there was.
    bool read(std::size_t count, Bytes& bytes)
    {
        bytes.clear();
        while (bytes.size() < count && next_ < content_.size())
            bytes.push_back(static_cast<std::uint8_t>(content_[next_++]));
        return bytes.size() == count;
    }

    /// Reads up to and with a line feed, and less than `limit` characters. The text ends at its first zero
    /// byte.
    bool line(std::size_t limit, std::string& text)
    {
        text.clear();
        while (text.size() < limit - 1 && next_ < content_.size()) {
            text += content_[next_++];
            if (text.back() == '\n')
                break;
        }
        const bool anything = !text.empty();
        text = text.substr(0, text.find('\0'));
        return anything;
    }

private:
    const std::string& content_;
    std::size_t next_ = 0;
};

/// Equal bytes in a row.
struct RunOfBytes {
    int count = 0;
    int value = -1;  ///< -1 before the first byte
    int written = 0; ///< runs before this one
};

/// The numbers of the errors of a load, which differ from format to format.
struct LoadNumbers {
    const char* format;
    int start;
    int header;
    int count; ///< of a pair; its value has the next number, and so have those of the last pair
    int plain;
    int flush;
    int end;
    int start_reply;
    int read_reply;
    int end_reply;
    const char* end_reply_words;
    int last_count = 0;
    int bits_found = 0; ///< configured, but another number of bits than stated
    int unsuccessful = 0;
    int both = 0;
};

class Model
{
public:
    Model(const Scenario& scenario, MW_HANDLE* bus, std::vector<std::string>& log)
        : scenario_{scenario}, bus_{bus}, log_{log}, file_{scenario.content}
    {
    }

    Outcome play()
    {
        try {
            switch (scenario_.format) {
            case Format::rbt:
                scenario_.converts ? make_mcb_from_rbt() : load_rbt();
                break;
            case Format::bit:
                scenario_.converts ? make_mcb_from_bit() : load_bit();
                break;
            case Format::mcb:
                scenario_.converts ? make_rbt_from_mcb() : load_mcb();
                break;
            }
        } catch (const Stop&) {
            // The outcome tells what stopped it.
        }
        return outcome_;
    }

private:
    /// Thrown by the first error.
    struct Stop {
    };

    [[noreturn]] __attribute__((format(printf, 3, 4))) void fail(int number, const char* format, ...)
    {
        std::va_list values;
        va_start(values, format);
        outcome_.number = number;
        outcome_.text = "Error " + std::to_string(number) + ". " + formatted(format, values);
        va_end(values);
        throw Stop{};
    }

    __attribute__((format(printf, 2, 3))) void print(const char* format, ...)
    {
        std::va_list values;
        va_start(values, format);
        log_.push_back(printed(formatted(format, values)));
        va_end(values);
    }

    void wait_for_key(const char* text)
    {
        if (scenario_.prompts)
            log_.push_back(asked_key(text));
    }

    // Headers

    std::string header_line(int number)
    {
        std::string line;
        if (!file_.line(255, line))
            fail(number, RBT_HEADER, scenario_.file_name());
        return line;
    }

    Bytes header_bytes(int number, std::size_t count, const char* what)
    {
        Bytes bytes;
        if (!file_.read(count, bytes))
            fail(number, "Failed to read header section of BIT file %s (%s).", scenario_.file_name(), what);
        return bytes;
    }

    /// The module's device before its first '-' begins the file's. Conversions know of no module.
    [[nodiscard]] bool suits_the_module(const std::string& device) const
    {
        return scenario_.converts ||
               device.starts_with(scenario_.device.substr(0, scenario_.device.find('-')));
    }

    void read_bit_header()
    {
        const auto expect_length = [this](int number, std::uint32_t length, const char* what) {
            const auto found = static_cast<int>(big_endian(header_bytes(number, 2, what)));
            if (found != static_cast<int>(length))
                fail(number + 1, "Expected length of %u in header section of BIT file %s (found %d).", length,
                     scenario_.file_name(), found);
        };
        const auto expect_key = [this](int number, char key) {
            const std::string what = std::string{"'"} + key + "' character";
            const Bytes found = header_bytes(number, 1, what.c_str());
            if (found[0] != key)
                fail(number + 1, "Expected to find '%c' in header of BIT file %s, but found %c.", key,
                     scenario_.file_name(), found[0]);
        };
        expect_length(9320, 9, "magic header length");
        const Bytes magic = header_bytes(9322, 9, "magic string");
        if (Bytes{magic.begin(), magic.end() - 1} != bytes("0F F0 0F F0 0F F0 0F F0"))
            fail(9323, "Header of file %s indicates it is not a BIT file.", scenario_.file_name());
        expect_length(9324, 1, "'a' char length");
        struct Text {
            int number;
            char key;
            const char* name;
        };
        std::vector<std::string> texts;
        for (const Text& text :
             {Text{9326, 'a', "ncd"}, {9331, 'b', "device"}, {9337, 'c', "date"}, {9342, 'd', "time"}}) {
            expect_key(text.number, text.key);
            const std::string words = text.name + std::string{" string"};
            const Bytes length = header_bytes(text.number + 2, 2, (words + " length").c_str());
            texts.push_back(text_of(header_bytes(text.number + 4, big_endian(length), words.c_str())));
            if (text.key != 'b')
                continue;
            if (!suits_the_module(texts[1]))
                fail(9336, "Bitstream %s is not for a %s device.", scenario_.file_name(),
                     scenario_.device.c_str());
            if (scenario_.verbose)
                print("The bitstream is for a %s device.\n", texts[1].c_str());
        }
        expect_key(9347, 'e');
        device_ = texts[1];
        date_ = texts[2];
        time_ = texts[3];
        byte_count_ = big_endian(header_bytes(9349, 4, "number of bits"));
        stated_ = static_cast<std::int32_t>(byte_count_ * 8);
    }

    // Converters

    void code_word(const Bytes& word)
    {
        for (const std::uint8_t byte : word) {
            if (run_.value == -1)
                run_.value = byte;
            if (byte != run_.value || run_.count == 255) {
                *outcome_.output += static_cast<char>(run_.count);
                *outcome_.output += static_cast<char>(run_.value);
                run_ = {0, byte, run_.written + 1};
            }
            ++run_.count;
        }
        done_ += 32;
        if (done_ % 20000 == 0 && stated_ != 0)
            report_conversion("");
    }

    void report_conversion(const char* end)
    {
        const std::int64_t percent = stated_ == 0 ? 100 : std::int64_t{done_} * 100 / stated_;
        print("\r%% Done: %d%s", static_cast<int>(percent), end);
    }

    void end_mcb(int error, const char* format)
    {
        *outcome_.output += static_cast<char>(run_.count);
        *outcome_.output += static_cast<char>(std::max(run_.value, 0));
        report_conversion((", stored " + std::to_string(run_.written + 2) + " bytes representing " +
                           std::to_string(stated_) + " bits\n")
                              .c_str());
        if (done_ != stated_)
            fail(error, "Incorrect number of bits in %s file %s.", format, scenario_.file_name());
        print("The bitstream has been compressed.\n");
    }

    void make_mcb_from_rbt()
    {
        print("\nGenerating an MCB file from %s.\n", scenario_.file_name());
        print("Checking header section of file <%s>.\n", scenario_.file_name());
        if (header_line(9240) != TITLE)
            fail(9241, "Invalid first line in RBT file %s.", scenario_.file_name());
        outcome_.output = integer(FIRST_MAGIC) + integer(SECOND_MAGIC);
        std::string line;
        for (int number = 2; number <= 5; ++number)
            line = header_line(9245);
        device_ = device_field(line);
        if (scenario_.verbose)
            print("The bitstream is for a %s device.\n", device_.c_str());
        *outcome_.output += field(device_);
        line = header_line(9247);
        std::optional<std::size_t> bits = find_word(line, "bits:");
        const bool has_date_line = !bits;
        const std::string date = line.substr(0, bits.value_or(line.size()));
        if (scenario_.verbose)
            print("Time and date string is:\n%s\n", date.c_str());
        *outcome_.output += field(has_date_line ? date : date + '\n');
        if (has_date_line) {
            line = header_line(9249);
            bits = find_word(line, "bits:");
        }
        if (!bits)
            fail(9257, "Failed to find bit size of RBT file %s.", scenario_.file_name());
        stated_ = decimal(line.substr(*bits + 5));
        if (scenario_.verbose)
            print("The bitstream contains %d configuration bits.\n", stated_);
        *outcome_.output += integer(static_cast<std::uint32_t>(stated_ / 8));

        while (file_.line(40, line)) {
            if (line.size() != 33)
                fail(9251, "Incorrect line length. Bit_count = %d. In RBT file %s.", done_,
                     scenario_.file_name());
            code_word(word_of(line));
        }
        end_mcb(9256, "RBT");
    }

    void make_mcb_from_bit()
    {
        print("\nGenerating an MCB file from %s.\n", scenario_.file_name());
        print("Checking header section of file <%s>.\n", scenario_.file_name());
        read_bit_header();
        outcome_.output = integer(FIRST_MAGIC) + integer(SECOND_MAGIC) + field(device_);
        if (scenario_.verbose)
            print("Time and date string is:\n%s %s\n", date_.c_str(), time_.c_str());
        *outcome_.output += field(date_ + ' ' + time_);
        if (scenario_.verbose)
            print("The bitstream contains %d configuration bits.\n", stated_);
        *outcome_.output += integer(byte_count_);

        Bytes word;
        do {
            if (!file_.read(4, word))
                fail(9416, "Failed to read BIT file %s (after %d bits read, expected %d).",
                     scenario_.file_name(), done_, stated_);
            code_word(reversed(word));
        } while (done_ < stated_);
        Bytes more;
        if (file_.read(1024, more))
            done_ += 1024;
        end_mcb(9422, "BIT");
    }

    void write_line(const Bytes& line)
    {
        for (const std::uint8_t byte : line) {
            for (int bit = 0; bit < 8; ++bit)
                *outcome_.output += (byte >> bit & 1) != 0 ? '1' : '0';
        }
        *outcome_.output += '\n';
    }

    void make_rbt_from_mcb()
    {
        const char* const name = scenario_.file_name();
        print("\nGenerating an RBT file from %s.\n", name);
        print("Checking header section of the file <%s>.\n", name);
        Bytes bytes;
        if (!file_.read(8, bytes))
            fail(9270, "Failed to read header section of MCB file %s.", name);
        if (std::string{bytes.begin(), bytes.end()} != integer(FIRST_MAGIC) + integer(SECOND_MAGIC))
            fail(9271, "Invalid magic numbers in MCB file %s.", name);
        if (!file_.read(FIELD_SIZE, bytes))
            fail(9272, "Failed to read device type from MCB file %s.", name);
        outcome_.output = TITLE;
        for (int line = 2; line <= 4; ++line)
            *outcome_.output += "Generated by MARROWAY.\n";
        *outcome_.output += "Part:  " + text_of(bytes) + '\n';
        if (!file_.read(FIELD_SIZE, bytes))
            fail(9277, "Failed to read MCB file %s.", name);
        const std::string timestamp = text_of(bytes);
        if (!file_.read(4, bytes))
            fail(9278, "Failed to read MCB file %s.", name);
        stated_ = static_cast<std::int32_t>(little_endian(bytes));
        const auto bits = static_cast<std::int32_t>(little_endian(bytes) * 8);
        *outcome_.output += timestamp + "bits:   " + std::to_string(bits) + '\n';

        Bytes line(4, 0); // what a short last line does not replace stays in it
        std::size_t filled = 0;
        std::int32_t reported = 0;
        while (done_ < stated_) {
            Bytes count;
            Bytes value;
            if (!file_.read(1, count))
                fail(9281, "End of MCB file %s reached unexpectedly.", name);
            if (!file_.read(1, value))
                fail(9283, "End of mcb file %s reached unexpectedly.", name);
            for (int copy = 0; copy < count[0]; ++copy) {
                if (filled == 4) {
                    write_line(line);
                    filled = 0;
                }
                line[filled++] = value[0];
            }
            done_ += count[0];
            if (done_ - reported > 1000) {
                report_conversion("");
                reported = done_;
            }
        }
        if (filled > 0)
            write_line(line);
        report_conversion("\n");
        if (done_ != stated_)
            fail(9284, "Incorrect number of bytes in MCB file %s.", name);
        print("The bitstream has been un-compressed.\n");
    }

    // Loaders

    [[nodiscard]] bool compressed() const
    {
        return scenario_.accepts_compressed && !scenario_.never_compresses;
    }

    void check(int number, const char* what, std::uint32_t status)
    {
        if (status != 0)
            fail(number, "Cannot %s, slot 0x%x (via '%s %u') (%s).", what, scenario_.address, BOARD_TYPE,
                 scenario_.board, words_for(status).c_str());
    }

    void check_reply(int number, const char* what, std::uint32_t status)
    {
        if (status != 0)
            fail(number, "Cannot %s (via '%s %u') (%s).", what, BOARD_TYPE, scenario_.board,
                 words_for(status).c_str());
    }

    void start_load(const LoadNumbers& numbers)
    {
        wait_for_key("Press return to send configuration bitstream.");
        check(numbers.start, "start KSB message",
              MwKSBStartSendMessageEx(bus_, scenario_.address / 16, scenario_.address % 16, TIMEOUT));
        if (compressed())
            print("Sending in compressed format.\n");
        const std::uint8_t header[] = {static_cast<std::uint8_t>(compressed() ? 13 : 3),
                                       static_cast<std::uint8_t>(scenario_.board * 8 + 5)};
        check(numbers.header, "send KSB message data", MwKSBSendMessageDataEx(bus_, header, 2, TIMEOUT));
    }

    /// Bytes go out in pieces of eight.
    void send(int number, int byte)
    {
        unsent_.push_back(static_cast<std::uint8_t>(byte));
        if (unsent_.size() == 8)
            flush(number);
    }

    void flush(int number)
    {
        if (unsent_.empty())
            return;
        const Bytes piece = std::exchange(unsent_, {});
        const std::uint32_t status =
            MwKSBSendMessageDataEx(bus_, piece.data(), static_cast<std::uint32_t>(piece.size()), TIMEOUT);
        if (status != 0 && (number == 9140 || number == 9390))
            fail(number, "Cannot send KSB message data, board \"%s %u\" (%s).", BOARD_TYPE, scenario_.board,
                 words_for(status).c_str());
        check(number, "send KSB message data", status);
    }

    void load_word(const LoadNumbers& numbers, const Bytes& word)
    {
        // Older families do without the last 128 of the stated bits, unless the data are compressed.
        const bool in_time = scenario_.virtex2 || done_ < std::int64_t{stated_} - 128;
        for (const std::uint8_t byte : word) {
            if (!compressed()) {
                if (in_time)
                    send(numbers.plain, byte);
                continue;
            }
            if (run_.value == -1)
                run_.value = byte;
            if (byte != run_.value || run_.count == 255) {
                send(numbers.count, run_.count);
                send(numbers.count + 1, run_.value);
                run_ = {0, byte, 0};
            }
            ++run_.count;
        }
        done_ += 32;
        if (done_ % 20000 == 0)
            report_load("");
    }

    /// A hundredfold of what is done wraps at 32 bits.
    void report_load(const char* end)
    {
        if (stated_ == 0)
            return;
        const auto hundredfold = static_cast<std::int32_t>(static_cast<std::uint32_t>(done_) * 100);
        print("\r%% Done: %d%s", static_cast<int>(std::int64_t{hundredfold} / stated_), end);
    }

    void end_words(const LoadNumbers& numbers)
    {
        if (compressed()) {
            send(numbers.last_count, run_.count);
            send(numbers.last_count + 1, run_.value == -1 ? 0 : run_.value);
        }
        flush(numbers.flush);
        report_load("\n");
        if (done_ == stated_)
            print("The bitstream has been downloaded.\n");
        else
            print("Incorrect number of bits in %s file (%d found, %d stated).\n", numbers.format, done_,
                  stated_);
    }

    std::uint8_t finish_load(const LoadNumbers& numbers)
    {
        check(numbers.end, "end KSB message", MwKSBEndOfSendMessageEx(bus_, TIMEOUT));
        std::uint32_t type = 0;
        check_reply(numbers.start_reply, "start receive KSB message",
                    MwKSBStartReceiveMessageEx(bus_, &type, TIMEOUT));
        std::array<std::uint8_t, 2> reply{};
        std::uint32_t received = 0;
        check_reply(numbers.read_reply, "receive KSB message data",
                    MwKSBReceiveMessageDataEx(bus_, reply.data(), 2, &received, TIMEOUT));
        check_reply(numbers.end_reply, numbers.end_reply_words, MwKSBEndOfReceiveMessageEx(bus_, TIMEOUT));
        return reply[0];
    }

    void judge_words(const LoadNumbers& numbers, std::uint8_t verdict)
    {
        const bool bits_match = done_ == stated_;
        if (verdict == CONFIGURED && bits_match)
            succeed();
        else if (verdict == CONFIGURED)
            fail(numbers.bits_found,
                 "Configuration successfull, but found incorrect number of bits (%d, %d) in %s file %s.",
                 stated_, done_, numbers.format, scenario_.file_name());
        else if (bits_match)
            fail(numbers.unsuccessful, "Configuration was unsuccessful (%d).", verdict);
        else
            fail(numbers.both,
                 "Configuration unsuccessfull. Incorrect number of bits (%d, %d) in %s file %s.", stated_,
                 done_, numbers.format, scenario_.file_name());
    }

    void succeed()
    {
        print("Configuration was successful.\n");
        wait_for_key("Press return to continue.");
    }

    void load_rbt()
    {
        static const LoadNumbers numbers{
            "RBT", 9105, 9106, 9108, 9140, 9122, 9114, 9115, 9116, 9117, "end KSB message",
            9110,  9113, 9118, 9119};
        const char* const name = scenario_.file_name();
        print("Checking header section of the file <%s>.\n", name);
        if (header_line(9100) != "Xilinx ASCII Bitstream\n")
            fail(9101, "Invalid first line in RBT file %s.", name);
        std::string line;
        for (int number = 2; number <= 5; ++number)
            line = header_line(9102);
        device_ = device_field(line);
        if (!suits_the_module(device_))
            fail(9103, "Bitstream %s is not for a %s device.", name, scenario_.device.c_str());
        if (scenario_.verbose)
            print("The bitstream is for a %s device.\n", device_.c_str());
        line = header_line(9104);
        if (!find_word(line, "bits:"))
            line = header_line(9120);
        const std::optional<std::size_t> bits = find_word(line, "bits:");
        if (!bits) {
            // The text states another number than the one that is returned.
            outcome_ = {9120, std::string{"Error 9121. Failed to find bit size of RBT "} + name + '.', {}};
            throw Stop{};
        }
        stated_ = decimal(line.substr(*bits + 5));
        if (scenario_.verbose)
            print("The bitstream contains %d configuration bits.\n", stated_);
        start_load(numbers);
        while (file_.line(40, line)) {
            if (line.size() != 33)
                fail(compressed() ? 9107 : 9112,
                     "Incorrect line length (%d), bit_count = %d, in RBT file %s.",
                     static_cast<int>(line.size()), done_, name);
            load_word(numbers, word_of(line));
        }
        end_words(numbers);
        judge_words(numbers, finish_load(numbers));
    }

    void load_bit()
    {
        static const LoadNumbers numbers{
            "BIT", 9350, 9351, 9354, 9390, 9368, 9361, 9362, 9363, 9364, "end KSB message",
            9356,  9365, 9366, 9367};
        print("Checking header section of the file <%s>.\n", scenario_.file_name());
        read_bit_header();
        if (scenario_.verbose)
            print("The bitstream contains %d configuration bits.\n", stated_);
        start_load(numbers);
        Bytes word;
        do {
            if (!file_.read(4, word))
                fail(compressed() ? 9352 : 9358,
                     "Failed to read BIT file %s (after %d bits read, expected %d).", scenario_.file_name(),
                     done_, stated_);
            load_word(numbers, reversed(word));
        } while (done_ < stated_);
        const std::size_t probe = compressed() ? 1024 : 1;
        Bytes more;
        if (file_.read(probe, more))
            done_ += static_cast<std::int32_t>(probe);
        end_words(numbers);
        judge_words(numbers, finish_load(numbers));
    }

    void load_mcb()
    {
        static const LoadNumbers numbers{
            "MCB", 9156, 9157, 9162, 9164, 9173, 9168, 9169, 9170, 9171, "end receive KSB message", 9165};
        const char* const name = scenario_.file_name();
        print("Checking header section of the file <%s>.\n", name);
        Bytes bytes;
        if (!file_.read(8, bytes))
            fail(9150, "Failed to read header section of MCB file %s.", name);
        if (bytes != ::bytes("78 12 44 00 88 01 76 00"))
            fail(9151, "Invalid magic numbers in MCB file %s.", name);
        if (!file_.read(255, bytes))
            fail(9152, "Failed to read device type from MCB file %s.", name);
        if (!suits_the_module(text_of(bytes)))
            fail(9153, "Bitstream %s is not for a %s device.", name, scenario_.device.c_str());
        if (scenario_.verbose)
            print("The bitstream is for a %s device.\n", scenario_.device.c_str());
        if (!file_.read(255, bytes))
            fail(9154, "Failed to read timestamp from MCB file %s.", name);
        if (!file_.read(4, bytes))
            fail(9155, "Failed to read number of bytes from MCB file %s.", name);
        stated_ = static_cast<std::int32_t>(little_endian(bytes));
        if (scenario_.verbose)
            print("The compressed file contains %d configuration bytes.\n", stated_);
        start_load(numbers);

        std::int32_t reported = 0;
        while (done_ < stated_) {
            Bytes count;
            Bytes value;
            if (!file_.read(1, count))
                fail(9159, "End of MCB file %s reached unexpectedly.", name);
            if (!file_.read(1, value))
                fail(9161, "End of MCB file %s reached unexpectedly.", name);
            // Older families do without the last four of the stated bytes and whatever follows.
            const bool last = !scenario_.virtex2 && done_ + count[0] >= stated_ - 4;
            const int sent = last ? stated_ - done_ - 4 : count[0];
            if (compressed()) {
                send(last ? 9165 : 9162, sent & 0xFF);
                send(last ? 9166 : 9163, value[0]);
            } else {
                for (int copy = 0; copy < sent; ++copy)
                    send(last ? 9167 : 9164, value[0]);
            }
            done_ = last ? stated_ : done_ + count[0];
            if (done_ > reported + 5000) {
                report_load("");
                reported = done_;
            }
        }
        flush(numbers.flush);
        report_load(" \n");
        print("The bitstream has been downloaded.\n");
        const std::uint8_t verdict = finish_load(numbers);
        if (verdict != CONFIGURED)
            fail(9172, "Configuration was unsuccessful %d.", verdict);
        succeed();
    }

    const Scenario& scenario_;
    MW_HANDLE* bus_;
    std::vector<std::string>& log_;
    Input file_;
    Outcome outcome_;
    Bytes unsent_;
    RunOfBytes run_;
    std::string device_;
    std::string date_;
    std::string time_;
    std::uint32_t byte_count_ = 0;
    std::int32_t stated_ = 0; ///< bits, or bytes of an MCB file
    std::int32_t done_ = 0;
};
} // namespace

const char* Scenario::file_name() const
{
    return format == Format::rbt ? "design.rbt" : format == Format::bit ? "design.bit" : "design.mcb";
}

const char* Scenario::output_name() const
{
    return format == Format::mcb ? "design.rbt" : "design.mcb";
}

Outcome play(const Scenario& scenario, MW_HANDLE* bus, std::vector<std::string>& log)
{
    return Model{scenario, bus, log}.play();
}

} // namespace reference
