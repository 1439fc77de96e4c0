// SPDX-License-Identifier: Apache-2.0
// Loads a module's FPGA from an RBT file.
#include "bus/buffered_sending.h"
#include "formats/device_match.h"
#include "formats/rbt_format.h"
#include "formats/run_coding.h"
#include "kvnfpgai.h"
#include "loading/bit_count.h"
#include "loading/load_exchange.h"

namespace
{
constexpr ExchangeMessages exchange_messages{
    .start = "Error 9105. Cannot start KSB message, slot 0x%x (via '%s %d') (%s).",
    .header = "Error 9106. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
    .flush = "Error 9122. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
    .end = "Error 9114. Cannot end KSB message, slot 0x%x (via '%s %d') (%s).",
    .start_reply = "Error 9115. Cannot start receive KSB message (via '%s %d') (%s).",
    .read_reply = "Error 9116. Cannot receive KSB message data (via '%s %d') (%s).",
    .end_reply = "Error 9117. Cannot end KSB message (via '%s %d') (%s).",
};
constexpr PairMessages run_messages{
    .count = "Error 9108. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
    .value = "Error 9109. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
};
constexpr PairMessages last_run_messages{
    .count = "Error 9110. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
    .value = "Error 9111. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
};
constexpr VerdictMessages verdict_messages{
    .mismatch_line = "Incorrect number of bits in RBT file (%d found, %d stated).\n",
    .mismatch = "Error 9113. Incorrect number of bits (%d, %d) in RBT file %s.",
    .started =
        "Error 9113. Configuration successfull, but found incorrect number of bits (%d, %d) in RBT file %s.",
    .refused_mismatch =
        "Error 9119. Configuration unsuccessfull. Incorrect number of bits (%d, %d) in RBT file %s.",
    .refused = "Error 9118. Configuration was unsuccessful (%d).",
};

int check_device(kvn_fpga_imp& session, const RbtLine& part_line, const char* device_name)
{
    char device[sizeof part_line.text];
    part_line.copy_device(device);
    if (!suits_device(device_name, device))
        return session.fail("Error 9103. Bitstream %s is not for a %s device.", session.bitstream_file,
                            device_name);
    if (session.verbose)
        session.print("The bitstream is for a %s device.\n", device);
    return 0;
}

int read_header(kvn_fpga_imp& session, FILE* fp, const char* device_name, BitTally& bits)
{
    const char* file = session.bitstream_file;
    RbtLine line;
    if (!line.read(fp))
        return session.fail("Error 9100. Failed to read header section of RBT file %s.", file);
    if (!line.is_title())
        return session.fail("Error 9101. Invalid first line in RBT file %s.", file);
    if (!read_part_line(fp, line))
        return session.fail("Error 9102. Failed to read header section of RBT file %s.", file);
    if (const int error = check_device(session, line, device_name))
        return error;
    if (!line.read(fp))
        return session.fail("Error 9104. Failed to read header section of RBT file %s.", file);
    if (!isinline(line.text, "bits:") && !line.read(fp))
        return session.fail("Error 9120. Failed to read header section of RBT file %s.", file);
    // Required: the text says 9121 and the number is 9120.
    if (!line.find_bit_count(bits.stated))
        return session.fail(Message<const char*>{9120, "Error 9121. Failed to find bit size of RBT %s."},
                            file);
    if (session.verbose)
        session.print("The bitstream contains %d configuration bits.\n", bits.stated);
    return 0;
}

int send_plain(kvn_fpga_imp& session, FILE* fp, BitTally& bits)
{
    RbtDataReader lines{fp};
    std::uint32_t status = 0;
    const auto send = [&](std::span<const std::uint8_t> bytes) {
        status = send_buffered(session, session.handle, bytes.data(), bytes.size()).status;
        return status == 0;
    };
    const auto hold_back = [](std::span<const std::uint8_t> /*bytes*/) { return true; };
    for (;;) {
        const std::size_t wanted = bits.words_to_report();
        const std::size_t to_send = words_before_tail(wanted, bits, session);
        std::size_t words = lines.read(to_send, send);
        if (const int error = session.check_rbt_send(status))
            return error;
        if (words == to_send)
            words += lines.read(wanted - to_send, hold_back);
        count_words(session, bits, words);
        if (words == wanted)
            continue;
        if (lines.found_wrong_line())
            return session.fail("Error 9112. Incorrect line length (%d), bit_count = %d, in RBT file %s.",
                                lines.wrong_length(), bits.found, session.bitstream_file);
        return 0;
    }
}

int send_compressed(kvn_fpga_imp& session, LoadExchange& load, FILE* fp, BitTally& bits)
{
    RbtDataReader lines{fp};
    RunEncoder runs;
    std::uint8_t bytes[BYTES_PER_REPORT];
    std::uint8_t pairs[PAIR_SIZE * BYTES_PER_REPORT];
    for (;;) {
        const std::size_t wanted = bits.words_to_report();
        const std::size_t words = lines.read(bytes, wanted);
        const std::size_t size = runs.encode({bytes, words * WORD_SIZE}, pairs);
        if (const int error = load.send_pairs({pairs, size}, run_messages))
            return error;
        count_words(session, bits, words);
        if (words == wanted)
            continue;
        if (lines.found_wrong_line())
            return session.fail("Error 9107. Incorrect line length (%d), bit_count = %d, in RBT file %s.",
                                lines.wrong_length(), bits.found, session.bitstream_file);
        runs.finish(pairs);
        return load.send_pairs({pairs, PAIR_SIZE}, last_run_messages);
    }
}
} // namespace

int kvn_fpga_imp::Load_Bitstream_rbt(const char* given_type, int given_number, int given_address, FILE* fp,
                                     const char* given_device)
{
    File file = take_over(fp);
    announce_load(*this, given_type, given_number, given_address);
    BitTally bits;
    if (const int error = read_header(*this, fp, given_device, bits))
        return error;
    LoadExchange load{*this, exchange_messages, given_number, given_address};
    if (const int error = load.start())
        return error;
    if (const int error =
            load.compressed() ? send_compressed(*this, load, fp, bits) : send_plain(*this, fp, bits))
        return error;
    return finish_counted_load(*this, load, std::move(file), bits, verdict_messages);
}
