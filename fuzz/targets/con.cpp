// SPDX-License-Identifier: Apache-2.0
// Configuration description files.
#include "target.h"
#include "watched_platform.h"
#include "workplace.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    write_file("input.con", {reinterpret_cast<const char*>(data), size});
    WatchedPlatform platform;
    kvn_fpga object;
    answer_simply(object);
    CommandLine arguments{"KVN_FPGA", "input.con", "-v"};
    const int result = object.kvn_fpga_main(arguments.argc(), arguments.argv());
    check_result(result, object.kvn_fpga_getlasterr());
    platform.require_closed();
    require(result != 0 || platform.complete_loads > 0, "a description that succeeds has loaded modules");
    require(platform.loads().size() <= static_cast<std::size_t>(platform.opens), "each module has its bus");

    CommandLine good{"KVN_FPGA", "good.con"};
    const int loads_before = platform.complete_loads;
    const int good_result = object.kvn_fpga_main(good.argc(), good.argv());
    check_result(good_result, object.kvn_fpga_getlasterr());
    require(good_result == 0 && platform.complete_loads == loads_before + 2, "the next good run succeeds");
    return 0;
}
