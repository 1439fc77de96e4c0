// SPDX-License-Identifier: Apache-2.0
// Recordings of platform calls: read, walked through as recorded, and as the platform of a run.
#include "mwapi_forward.h"
#include "replaying_platform.h"
#include "require.h"
#include "target.h"
#include "workplace.h"

#include <string>

namespace
{
constexpr const char* TRACE = "trace.jsonl";

/// Makes every recorded call.
void walk()
{
    try {
        const mwtrace::Recording recording{TRACE};
        mwtrace::Replay replayed{TRACE};
        for (std::size_t i = 0; i < recording.size(); ++i) {
            const mwtrace::Record record = recording.record(i);
            const bool done = replayed.answer(record.function, record.in).has_value();
            require(done || replayed.status() != 0, "a call that is not answered has a reason");
        }
        require(replayed.status() == 0 || !replayed.words().empty(), "a departure is told in words");
        (void)replayed.rest();
    } catch (const mwtrace::TraceError& error) {
        require(std::string_view{error.what()}.starts_with(TRACE), "a mistake is told with its place");
        mwtrace::Replay refused{TRACE};
        require(refused.status() == mwtrace::BAD_TRACE, "a trace with a mistake is not used");
    }
}

void run(const char* file_name, int flags)
{
    char board_type[] = "mwc4a";
    std::string file{file_name};
    mwtrace::ReplayingPlatform platform{TRACE};
    mwapi::install(platform);
    kvn_fpga object;
    answer_simply(object);
    const int result = object.kvn_fpga_board(board_type, 0, 1, file.data(), 0, flags);
    check_result(result, object.kvn_fpga_getlasterr());
    (void)platform.rest();
    mwapi::uninstall();
}
} // namespace

mwapi::Platform& mwapi::program_platform()
{
    broken("nothing is called without a platform");
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    write_file(TRACE, {reinterpret_cast<const char*>(data), size});
    walk();
    run("good.rbt", 0);
    run("good.mcb", 4);
    return 0;
}
