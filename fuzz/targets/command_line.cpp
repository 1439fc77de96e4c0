// SPDX-License-Identifier: Apache-2.0
// Command lines: an argument for each line of the input.
#include "sessions.h"
#include "target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t most_arguments = 64;
    const InWorkplace here;
    Choices input{data, size};
    const bool with_handle = input.yes();
    std::vector<std::string> words;
    while (!input.empty() && words.size() < most_arguments)
        words.push_back(input.line());

    WatchedPlatform platform;
    kvn_fpga object;
    answer_simply(object);
    MW_HANDLE* handle = with_handle ? platform.callers_handle() : nullptr;
    (void)run_line(object, platform, std::move(words), handle);
    require(run_line(object, platform, {"-u", "-fgood", "-dmwc4a", "-b0", "-s1"}) == 0,
            "the next good run succeeds");
    return 0;
}
