// What the RBT and the BIT loader share about counting bits.
#ifndef KVN_FPGA_LOADING_BIT_COUNT_H
#define KVN_FPGA_LOADING_BIT_COUNT_H

#include "formats/progress.h"
#include "kvnfpgai.h"

#include <span>

// Required: older families are not sent the last four words in plain mode.
inline constexpr std::int32_t TAIL_BITS = 128;

/// The part of the next words that is sent in plain mode.
inline std::span<const std::uint8_t> without_tail(std::span<const std::uint8_t> bytes, const BitTally& bits,
                                                  const kvn_fpga_imp& session)
{
    if (session.virtex2_family)
        return bytes;
    const std::int64_t room = std::int64_t{bits.stated} - TAIL_BITS - bits.found;
    if (room <= 0)
        return {};
    const auto words = static_cast<std::size_t>((room + BITS_PER_WORD - 1) / BITS_PER_WORD);
    return bytes.first(std::min(bytes.size(), words * WORD_SIZE));
}

/// Counts words, and shows the progress when a report is due.
inline void count_words(kvn_fpga_imp& session, BitTally& bits, std::size_t words)
{
    bits.add_words(words);
    // Choice: with a stated size of 0 no percentage is shown.
    if (bits.report_is_due() && bits.stated != 0)
        session.print("\r%% Done: %d", load_percent(bits.found, bits.stated));
}

inline void show_final_progress(kvn_fpga_imp& session, const BitTally& bits)
{
    if (bits.stated != 0)
        session.print("\r%% Done: %d\n", load_percent(bits.found, bits.stated));
}

#endif
