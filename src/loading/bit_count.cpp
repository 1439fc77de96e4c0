// SPDX-License-Identifier: Apache-2.0
// What the RBT and the BIT loader share.
#include "loading/bit_count.h"

namespace
{
// Required: older families are not sent the last four words in plain mode.
constexpr std::int32_t TAIL_BITS = 128;

/// Records a wrong count and lets the load go on: the data has been sent, and the module decides.
void report_bit_count(kvn_fpga_imp& session, const BitTally& bits, const VerdictMessages& messages)
{
    if (bits.matches()) {
        session.print("The bitstream has been downloaded.\n");
        return;
    }
    // Required: the line and the message give the two numbers in opposite orders.
    session.print(messages.mismatch_line, bits.found, bits.stated);
    session.record(messages.mismatch, bits.stated, bits.found, session.bitstream_file);
}

int judge(kvn_fpga_imp& session, LoadExchange& load, const BitTally& bits, int status,
          const VerdictMessages& messages)
{
    const char* file = session.bitstream_file;
    if (status == CONFIGURED && bits.matches()) {
        load.report_success();
        return 0;
    }
    if (status == CONFIGURED)
        return session.fail(messages.started, bits.stated, bits.found, file);
    if (!bits.matches())
        return session.fail(messages.refused_mismatch, bits.stated, bits.found, file);
    return session.fail(messages.refused, status);
}
} // namespace

std::size_t words_before_tail(std::size_t words, const BitTally& bits, const kvn_fpga_imp& session)
{
    if (session.virtex2_family)
        return words;
    const std::int64_t room = std::int64_t{bits.stated} - TAIL_BITS - bits.found;
    if (room <= 0)
        return 0;
    return std::min(words, static_cast<std::size_t>((room + BITS_PER_WORD - 1) / BITS_PER_WORD));
}

void count_words(kvn_fpga_imp& session, BitTally& bits, std::size_t words)
{
    if (words == 0)
        return;
    bits.add_words(words);
    // Choice: with a stated size of 0 no percentage is shown (docs/decisions/0006-percentages.md).
    if (bits.report_is_due() && bits.stated != 0)
        session.show_progress(load_percent(bits.found, bits.stated));
}

int finish_counted_load(kvn_fpga_imp& session, LoadExchange& load, File file, const BitTally& bits,
                        const VerdictMessages& messages)
{
    if (const int error = load.flush())
        return error;
    if (bits.stated != 0)
        session.print("\r%% Done: %d\n", load_percent(bits.found, bits.stated));
    file.reset();

    report_bit_count(session, bits, messages);
    int status = 0;
    if (const int error = load.finish(status))
        return error;
    return judge(session, load, bits, status, messages);
}
