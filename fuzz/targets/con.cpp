// SPDX-License-Identifier: Apache-2.0
// Configuration description files.
#include "sessions.h"
#include "target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    write_file("input.con", {reinterpret_cast<const char*>(data), size});
    WatchedPlatform platform;
    kvn_fpga object;
    answer_simply(object);
    const int result = run_line(object, platform, {"input.con", "-v"});
    require(result != 0 || platform.complete_loads > 0, "a description that succeeds has loaded modules");
    require(platform.loads().size() <= static_cast<std::size_t>(platform.opens), "each module has its bus");

    const int loads_before = platform.complete_loads;
    require(run_line(object, platform, {"good.con"}) == 0 && platform.complete_loads == loads_before + 2,
            "the next good run succeeds");
    return 0;
}
