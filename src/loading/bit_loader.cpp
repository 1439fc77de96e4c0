// SPDX-License-Identifier: Apache-2.0
// Loads a module's FPGA from a BIT file.
#include "formats/bit_data.h"
#include "formats/run_coding.h"
#include "kvnfpgai.h"
#include "loading/bit_count.h"
#include "loading/load_exchange.h"

namespace
{
constexpr ExchangeMessages exchange_messages{
    .start = "Error 9350. Cannot start KSB message, slot 0x%x (via '%s %d') (%s).",
    .header = "Error 9351. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
    .flush = "Error 9368. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
    .end = "Error 9361. Cannot end KSB message, slot 0x%x (via '%s %d') (%s).",
    .start_reply = "Error 9362. Cannot start receive KSB message (via '%s %d') (%s).",
    .read_reply = "Error 9363. Cannot receive KSB message data (via '%s %d') (%s).",
    .end_reply = "Error 9364. Cannot end KSB message (via '%s %d') (%s).",
};
constexpr PairMessages run_messages{
    .count = "Error 9354. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
    .value = "Error 9355. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
};
constexpr PairMessages last_run_messages{
    .count = "Error 9356. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
    .value = "Error 9357. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
};
constexpr VerdictMessages verdict_messages{
    .mismatch_line = "Incorrect number of bits in BIT file (%d found, %d stated).\n",
    .mismatch = "Error 9360. Incorrect number of bits (%d, %d) in BIT file %s.",
    .started =
        "Error 9365. Configuration successfull, but found incorrect number of bits (%d, %d) in BIT file %s.",
    .refused_mismatch =
        "Error 9367. Configuration unsuccessfull. Incorrect number of bits (%d, %d) in BIT file %s.",
    .refused = "Error 9366. Configuration was unsuccessful (%d).",
};

// Required: a single byte after the stated end is noticed in plain mode, only a whole block in compressed
// mode.
constexpr std::size_t TRAILING_BYTE = 1;
constexpr std::size_t TRAILING_BLOCK = 1024;

/// Messages for a failed read of a word.
struct WordMessages {
    Message<const char*, int, int> end_or_error; // file, bits read, bits stated
    Message<int, int, const char*> short_word;   // its length, bits read, file
};
constexpr WordMessages plain_messages{
    .end_or_error = "Error 9358. Failed to read BIT file %s (after %d bits read, expected %d).",
    .short_word = "Error 9359. Incorrect word length (%d), bit_count = %d, in BIT file %s.",
};
constexpr WordMessages compressed_messages{
    .end_or_error = "Error 9352. Failed to read BIT file %s (after %d bits read, expected %d).",
    .short_word = "Error 9353. Incorrect word length (%d), bit_count = %d, in BIT file %s.",
};

int check_stop(kvn_fpga_imp& session, const BitDataReader& data, const BitTally& bits,
               const WordMessages& messages)
{
    switch (data.stop()) {
    case BitStop::end_or_error:
        return session.fail(messages.end_or_error, session.bitstream_file, bits.found, bits.stated);
    case BitStop::short_word:
        return session.fail(messages.short_word, data.rest(), bits.found, session.bitstream_file);
    case BitStop::none:
        break;
    }
    return 0;
}

int send_plain(kvn_fpga_imp& session, FILE* fp, BitTally& bits)
{
    BitDataReader data{fp};
    do {
        const auto bytes = data.next_words(bits);
        const std::size_t words = bytes.size() / WORD_SIZE;
        const std::size_t to_send = words_before_tail(words, bits, session);
        if (const int error = session.transmit_bit_bytes(bytes.first(to_send * WORD_SIZE)))
            return error;
        count_words(session, bits, words);
        if (const int error = check_stop(session, data, bits, plain_messages))
            return error;
    } while (bits.found < bits.stated);
    // Counted as if it were a bit, so that the counts differ.
    if (data.has_more(TRAILING_BYTE))
        bits.found = wrapping_add(bits.found, TRAILING_BYTE);
    return 0;
}

int send_compressed(kvn_fpga_imp& session, LoadExchange& load, FILE* fp, BitTally& bits)
{
    BitDataReader data{fp};
    RunEncoder runs;
    std::uint8_t bytes[BYTES_PER_REPORT];
    std::uint8_t pairs[PAIR_SIZE * BYTES_PER_REPORT];
    do {
        const std::size_t words = data.read(bytes, bits);
        const std::size_t size = runs.encode({bytes, words * WORD_SIZE}, pairs);
        if (const int error = load.send_pairs({pairs, size}, run_messages))
            return error;
        count_words(session, bits, words);
        if (const int error = check_stop(session, data, bits, compressed_messages))
            return error;
    } while (bits.found < bits.stated);
    if (data.has_more(TRAILING_BLOCK))
        bits.found = wrapping_add(bits.found, TRAILING_BLOCK);
    runs.finish(pairs);
    return load.send_pairs({pairs, PAIR_SIZE}, last_run_messages);
}
} // namespace

/// The device name is ignored: the header's reader checks the session's.
int kvn_fpga_imp::Load_Bitstream_bit(const char* given_type, int given_number, int given_address, FILE* fp,
                                     const char* /*given_device*/)
{
    announce_load(*this, given_type, given_number, given_address);
    BitHeader header;
    const Finally release_header{[&header] { free_header(&header); }};
    last_error = Read_Bitstream_Hdr_bit(fp, &header);
    if (last_error != 0)
        return last_error; // the header's reader has closed the file
    File file = take_over(fp);

    BitTally bits{.stated = stated_bits(header)};
    if (verbose)
        print("The bitstream contains %d configuration bits.\n", bits.stated);
    LoadExchange load{*this, exchange_messages, given_number, given_address};
    if (const int error = load.start())
        return error;
    if (const int error =
            load.compressed() ? send_compressed(*this, load, fp, bits) : send_plain(*this, fp, bits))
        return error;
    return finish_counted_load(*this, load, std::move(file), bits, verdict_messages);
}
