// SPDX-License-Identifier: Apache-2.0
// RBT files: loads in every way, and the conversion to MCB and back.
#include "sessions.h"
#include "target.h"
#include "watched_platform.h"
#include "workplace.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    const Bytes file{data, data + size};
    const LoadResult loaded = load_in_every_way(&kvn_fpga_imp::Load_Bitstream_rbt, file, "input.rbt");

    remove_file("input.mcb");
    const int number = convert(&kvn_fpga_imp::Make_mcb_file_rbt, file, "input.rbt", true);
    if (number != 0)
        return 0;
    const std::string made = read_file("input.mcb");
    const Bytes mcb{made.begin(), made.end()};
    const LoadResult loaded_mcb =
        load(&kvn_fpga_imp::Load_Bitstream_mcb, mcb, {"input.mcb", false, true, false, ""});
    require(loaded_mcb.number == 0, "an MCB file that was made can be loaded");
    require(loaded.number == 0 && loaded_mcb.data == loaded.data, "a conversion keeps the data");
    (void)convert(&kvn_fpga_imp::Make_rbt_file, mcb, "input.mcb", false);
    return 0;
}
