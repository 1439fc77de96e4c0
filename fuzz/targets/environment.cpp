// SPDX-License-Identifier: Apache-2.0
// Values of MWAPIKSB and MWAPIJTAG: the first two lines of the input; a variable without a line is not set.
#include "target.h"
#include "watched_platform.h"
#include "workplace.h"

#include <cstdlib>

namespace
{
void set(const char* name, Choices& input)
{
    if (input.empty())
        unsetenv(name);
    else
        setenv(name, input.line().c_str(), 1);
}

void run(kvn_fpga& object, WatchedPlatform& platform, std::vector<std::string> words)
{
    CommandLine arguments{std::move(words)};
    const int result = object.kvn_fpga_main(arguments.argc(), arguments.argv());
    check_result(result, object.kvn_fpga_getlasterr());
    platform.require_closed();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    Choices input{data, size};
    set("MWAPIKSB", input);
    set("MWAPIJTAG", input);
    WatchedPlatform platform;
    kvn_fpga object;
    answer_simply(object);
    run(object, platform, {"KVN_FPGA", "-fgood.rbt", "-v", "-u", "-s1"});
    run(object, platform, {"KVN_FPGA", "-fgood.mcb", "-v", "-dmwc4a", "-s1"});
    run(object, platform, {"KVN_FPGA", "-fgood.bit", "-b0", "-t0", "-s1"});
    run(object, platform, {"KVN_FPGA", "-fgood.bit", "-v"});
    return 0;
}
