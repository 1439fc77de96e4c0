// SPDX-License-Identifier: Apache-2.0
// MCB files: loads in every way, and the conversion to RBT and back.
#include "sessions.h"
#include "target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    const Bytes file{data, data + size};
    (void)load_in_every_way(&kvn_fpga_imp::Load_Bitstream_mcb, file, "input.mcb");

    remove_file("input.rbt");
    const int number = convert(&kvn_fpga_imp::Make_rbt_file, file, "input.mcb", true);
    if (number != 0)
        return 0;
    const std::string made = read_file("input.rbt");
    const Bytes rbt{made.begin(), made.end()};
    (void)load(&kvn_fpga_imp::Load_Bitstream_rbt, rbt, {"input.rbt", false, true, false, ""});
    (void)convert(&kvn_fpga_imp::Make_mcb_file_rbt, rbt, "input.rbt", false);
    return 0;
}
