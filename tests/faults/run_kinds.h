// SPDX-License-Identifier: Apache-2.0
// The kinds of runs for the fault matrix.
#ifndef KVN_FPGA_TESTS_FAULTS_RUN_KINDS_H
#define KVN_FPGA_TESTS_FAULTS_RUN_KINDS_H

#include "support/bytes.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

enum class Action { load_rbt, load_bit, load_mcb, rbt_to_mcb, bit_to_mcb, mcb_to_rbt, con };

/// How a run finds its module.
enum class Way {
    named_slot,    ///< the command line names it
    search,        ///< the user accepts it
    board,         ///< kvn_fpga_board
    handle,        ///< kvn_fpga_handle, on the caller's bus
    line_on_handle ///< a command line on the caller's bus
};

struct RunKind {
    const char* name;
    Action action;
    Way way = Way::named_slot;
    bool compressed = false;
    /// Above 3 an FPGA module, and above 4 an IO module, is asked whether it accepts compressed data.
    std::uint8_t model = 3;
    bool is_io = false;
    bool verbose = false;
    const char* device = "2v3000fg676-4";
    /// Whether the data fills its last piece, so that nothing is left to flush.
    bool full_pieces = false;
    /// A BIT file's device name this long is printed from allocated memory.
    std::size_t long_device = 0;

    [[nodiscard]] bool loads() const;
    /// The files that the run reads and writes; "" for none.
    [[nodiscard]] std::string input() const;
    [[nodiscard]] std::string output() const;
};

void PrintTo(const RunKind& kind, std::ostream* out);
std::vector<RunKind> run_kinds();

/// Configuration bytes of runs of up to four, or without any.
Bytes configuration(std::size_t size, bool with_runs = true);

/// The configuration bytes of a kind's small file.
Bytes small_configuration(const RunKind& kind);

#endif
