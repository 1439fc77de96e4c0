// SPDX-License-Identifier: Apache-2.0
// What the RBT and the BIT loader share: they count bits and judge by the count and the module's verdict.
#ifndef KVN_FPGA_LOADING_BIT_COUNT_H
#define KVN_FPGA_LOADING_BIT_COUNT_H

#include "formats/progress.h"
#include "kvnfpgai.h"
#include "loading/load_exchange.h"

#include <span>

/// Returns how many of the next words are sent in plain mode.
std::size_t words_before_tail(std::size_t words, const BitTally& bits, const kvn_fpga_imp& session);

/// Counts words and shows progress when a report is due.
void count_words(kvn_fpga_imp& session, BitTally& bits, std::size_t words);

/// The texts for differing counts and for the module's verdict. Messages give the stated count first.
struct VerdictMessages {
    const char* mismatch_line;               ///< found, stated
    Message<int, int, const char*> mismatch; ///< recorded while the load goes on
    Message<int, int, const char*> started;  ///< in spite of a mismatch
    Message<int, int, const char*> refused_mismatch;
    Message<int> refused;
};

/// Flushes the buffer, closes the file, and reads and judges the module's verdict.
int finish_counted_load(kvn_fpga_imp& session, LoadExchange& load, File file, const BitTally& bits,
                        const VerdictMessages& messages);

#endif
