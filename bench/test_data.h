// SPDX-License-Identifier: Apache-2.0
// Makes configuration data of several kinds, and the bitstream files that hold it.
#ifndef KVN_FPGA_BENCH_TEST_DATA_H
#define KVN_FPGA_BENCH_TEST_DATA_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// Configuration bytes in transmission order, always the same for the same kind and size.
/// @param kind mix: 70 % zeros in long runs, and random stretches between; flip: each byte equals the
///             one before with probability 1/2; zero; random
/// @throws std::invalid_argument for another kind
Bytes make_data(std::string_view kind, std::size_t size);

/// The data as the lines of an RBT file, without its header.
std::string rbt_lines(const Bytes& data);

/// Bytes with the bits of each in reverse order.
Bytes reversed_bits(const Bytes& data);

/// The data as pairs of a count and a value.
Bytes run_coded(const Bytes& data);

/// The names of the files in a folder; all hold the same data.
struct BitstreamFiles {
    explicit BitstreamFiles(const std::string& folder)
        : rbt{folder + "/text.rbt"}, bit{folder + "/binary.bit"}, mcb{folder + "/runs.mcb"}
    {
    }
    std::string rbt;
    std::string bit;
    std::string mcb;
};

/// Whole files, header and data.
std::string rbt_file(const Bytes& data);
std::string bit_file(const Bytes& data);
std::string mcb_file(const Bytes& data);

/// @throws std::runtime_error when a file cannot be written
void write_files(const BitstreamFiles& files, const Bytes& data);

#endif
