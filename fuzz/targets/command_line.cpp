// SPDX-License-Identifier: Apache-2.0
// Command lines: an argument for each line of the input.
#include "target.h"
#include "watched_platform.h"
#include "workplace.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t most_arguments = 64;
    const InWorkplace here;
    Choices input{data, size};
    const bool with_handle = input.yes();
    std::vector<std::string> words{"KVN_FPGA"};
    while (!input.empty() && words.size() < most_arguments)
        words.push_back(input.line());

    WatchedPlatform platform;
    kvn_fpga object;
    answer_simply(object);
    MW_HANDLE* handle = with_handle ? platform.callers_handle() : nullptr;
    CommandLine arguments{std::move(words)};
    const int result = object.kvn_fpga_main(handle, arguments.argc(), arguments.argv());
    check_result(result, object.kvn_fpga_getlasterr());
    platform.require_closed();

    CommandLine good{"KVN_FPGA", "-u", "-fgood", "-dmwc4a", "-b0", "-s1"};
    const int good_result = object.kvn_fpga_main(good.argc(), good.argv());
    check_result(good_result, object.kvn_fpga_getlasterr());
    require(good_result == 0, "the next good run succeeds");
    return 0;
}
