// SPDX-License-Identifier: Apache-2.0
// BIT files: loads in every way, and the conversion to MCB.
#include "sessions.h"
#include "target.h"
#include "watched_platform.h"
#include "workplace.h"

namespace
{
/// Counts of bits have 32 bits: if a file states more, only the low ones are compared.
bool states_too_many_bits(const Bytes& mcb)
{
    constexpr std::size_t highest_byte_of_count = 521;
    constexpr unsigned least_byte = 0x10;
    return mcb.at(highest_byte_of_count) >= least_byte;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    const Bytes file{data, data + size};
    const LoadResult loaded = load_in_every_way(&kvn_fpga_imp::Load_Bitstream_bit, file, "input.bit");

    remove_file("input.mcb");
    const int number = convert(&kvn_fpga_imp::Make_mcb_file_bit, file, "input.bit", true);
    if (number != 0)
        return 0;
    const std::string made = read_file("input.mcb");
    const Bytes mcb{made.begin(), made.end()};
    if (states_too_many_bits(mcb))
        return 0;
    const LoadResult loaded_mcb =
        load(&kvn_fpga_imp::Load_Bitstream_mcb, mcb, {"input.mcb", false, true, false, ""});
    require(loaded_mcb.number == 0, "an MCB file that was made can be loaded");
    // One trailing byte is an error only in a plain load.
    require(loaded.number == 0 || loaded.number == 9365, "what can be converted can be loaded");
    require(loaded_mcb.data == loaded.data, "a conversion keeps the data");
    (void)convert(&kvn_fpga_imp::Make_rbt_file, mcb, "input.mcb", false);
    return 0;
}
