// SPDX-License-Identifier: Apache-2.0
// Values of MWAPIKSB and MWAPIJTAG: the first two lines of the input; a variable without a line is not set.
#include "sessions.h"
#include "target.h"

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
    (void)run_line(object, platform, {"-fgood.rbt", "-v", "-u", "-s1"});
    (void)run_line(object, platform, {"-fgood.mcb", "-v", "-dmwc4a", "-s1"});
    (void)run_line(object, platform, {"-fgood.bit", "-b0", "-t0", "-s1"});
    (void)run_line(object, platform, {"-fgood.bit", "-v"});
    return 0;
}
