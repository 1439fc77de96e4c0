// SPDX-License-Identifier: Apache-2.0
// The reference model's loaders: RBT, BIT and MCB files to a module.
#include "reference_model.h"

#include <array>
#include <utility>

namespace reference
{

namespace
{

constexpr std::uint32_t TIMEOUT = 5000;
constexpr std::uint8_t CONFIGURED = 5;
const char* const BOARD_TYPE = "mwc4a";

std::string words_for(std::uint32_t status)
{
    std::array<char, 256> text{};
    MwErr2Text(status, text.data());
    return text.data();
}

} // namespace

/// The numbers of the errors of a load, which differ from format to format.
struct Model::LoadNumbers {
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

void Model::check(int number, const char* what, std::uint32_t status)
{
    if (status != 0)
        fail(number, "Cannot %s, slot 0x%x (via '%s %u') (%s).", what, scenario_.address, BOARD_TYPE,
             scenario_.board, words_for(status).c_str());
}

void Model::check_reply(int number, const char* what, std::uint32_t status)
{
    if (status != 0)
        fail(number, "Cannot %s (via '%s %u') (%s).", what, BOARD_TYPE, scenario_.board,
             words_for(status).c_str());
}

void Model::start_load(const LoadNumbers& numbers)
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
void Model::send(int number, int byte)
{
    unsent_.push_back(static_cast<std::uint8_t>(byte));
    if (unsent_.size() == 8)
        flush(number);
}

void Model::flush(int number)
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

void Model::load_word(const LoadNumbers& numbers, const Bytes& word)
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
void Model::report_load(const char* end)
{
    if (stated_ == 0)
        return;
    const auto hundredfold = static_cast<std::int32_t>(static_cast<std::uint32_t>(done_) * 100);
    print("\r%% Done: %d%s", static_cast<int>(std::int64_t{hundredfold} / stated_), end);
}

void Model::end_words(const LoadNumbers& numbers)
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
        print("Incorrect number of bits in %s file (%d found, %d stated).\n", numbers.format, done_, stated_);
}

std::uint8_t Model::finish_load(const LoadNumbers& numbers)
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

void Model::judge_words(const LoadNumbers& numbers, std::uint8_t verdict)
{
    const bool bits_match = done_ == stated_;
    if (verdict == CONFIGURED && bits_match)
        succeed();
    else if (verdict == CONFIGURED)
        fail(numbers.bits_found,
             "Configuration successfull, but found incorrect number of bits (%d, %d) in %s file %s.", stated_,
             done_, numbers.format, scenario_.file_name());
    else if (bits_match)
        fail(numbers.unsuccessful, "Configuration was unsuccessful (%d).", verdict);
    else
        fail(numbers.both, "Configuration unsuccessfull. Incorrect number of bits (%d, %d) in %s file %s.",
             stated_, done_, numbers.format, scenario_.file_name());
}

void Model::succeed()
{
    print("Configuration was successful.\n");
    wait_for_key("Press return to continue.");
}

void Model::load_rbt()
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
            fail(compressed() ? 9107 : 9112, "Incorrect line length (%d), bit_count = %d, in RBT file %s.",
                 static_cast<int>(line.size()), done_, name);
        load_word(numbers, word_of(line));
    }
    end_words(numbers);
    judge_words(numbers, finish_load(numbers));
}

void Model::load_bit()
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
            fail(compressed() ? 9352 : 9358, "Failed to read BIT file %s (after %d bits read, expected %d).",
                 scenario_.file_name(), done_, stated_);
        load_word(numbers, reversed(word));
    } while (done_ < stated_);
    const std::size_t probe = compressed() ? 1024 : 1;
    Bytes more;
    if (file_.read(probe, more))
        done_ += static_cast<std::int32_t>(probe);
    end_words(numbers);
    judge_words(numbers, finish_load(numbers));
}

void Model::load_mcb()
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

} // namespace reference
