// SPDX-License-Identifier: Apache-2.0
// RBT files: loads in every way, and the conversion to MCB and back.
#include "sessions.h"
#include "target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    const Bytes file{data, data + size};
    const LoadResult loaded = load_in_every_way(&kvn_fpga_imp::Load_Bitstream_rbt, file, "input.rbt");
    check_conversion(&kvn_fpga_imp::Make_mcb_file_rbt, file, "input.rbt", loaded);
    return 0;
}
