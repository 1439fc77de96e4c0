// SPDX-License-Identifier: Apache-2.0
// Reads the configuration data of a BIT file.
#ifndef KVN_FPGA_FORMATS_BIT_DATA_H
#define KVN_FPGA_FORMATS_BIT_DATA_H

#include "formats/bit_order.h"
#include "formats/block_file.h"
#include "formats/progress.h"

#include <cstddef>
#include <cstdint>
#include <span>

/// Why fewer words were read than requested.
enum class BitStop { none, end_or_error, short_word };

class BitDataReader
{
public:
    explicit BitDataReader(FILE* stream) : input_{stream} {}

    /// Returns the next words, up to the next report or the stated end; at least one is requested.
    /// @return their bytes as in the file, valid until the next call; fewer if reading stopped
    std::span<const std::uint8_t> next_words(const BitTally& bits)
    {
        const std::size_t due = words_due(bits);
        const auto at_hand = input_.peek(due * WORD_SIZE);
        const std::size_t words = std::min(due, at_hand.size() / WORD_SIZE);
        input_.skip(words * WORD_SIZE);
        if (words < due) {
            rest_ = at_hand.size() - words * WORD_SIZE;
            stop_ = input_.failed() || input_.ended() ? BitStop::end_or_error : BitStop::short_word;
        }
        return at_hand.first(words * WORD_SIZE);
    }

    /// Reads the next words in transmission order.
    /// @param bytes receives the words, with the bits of each byte reversed
    /// @return how many were read
    std::size_t read(std::uint8_t (&bytes)[BYTES_PER_REPORT], const BitTally& bits)
    {
        const auto words = next_words(bits);
        reverse_bytes(bytes, words.data(), words.size());
        return words.size() / WORD_SIZE;
    }

    [[nodiscard]] BitStop stop() const { return stop_; }

    /// The bytes of the short word that stopped the reading.
    [[nodiscard]] int rest() const { return static_cast<int>(rest_); }

    /// Whether `count` more bytes follow (1024 at the most).
    bool has_more(std::size_t count) { return input_.peek(count).size() >= count; }

private:
    static std::size_t words_due(const BitTally& bits)
    {
        const std::int64_t missing = std::int64_t{bits.stated} - bits.found;
        const auto to_end =
            missing > 0 ? static_cast<std::size_t>((missing + BITS_PER_WORD - 1) / BITS_PER_WORD) : 1;
        return std::min(bits.words_to_report(), to_end);
    }

    BlockReader input_;
    BitStop stop_ = BitStop::none;
    std::size_t rest_ = 0;
};

#endif
