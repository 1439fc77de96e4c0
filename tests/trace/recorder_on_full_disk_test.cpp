// SPDX-License-Identifier: Apache-2.0
// A recorder whose file grows no further.
#include "recorder.h"

#include "trace_support.h"

#include <sys/resource.h>

#include <csignal>

using mwtrace::Recorder;

namespace
{
using RecorderOnFullDisk = FolderTest;

TEST_F(RecorderOnFullDisk, TellsItOnceAndGoesOn)
{
    // A limit on the size of files stands for the end of the disk.
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    const rlimit small{4096, usual.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    testing::internal::CaptureStderr();
    {
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
        Recorder recorder{path("trace"), "test"};
        recorder.add("MwErr2Text", {0, 0}, {{"code", 1}}, 0, {{"text", std::string(5000, 'x')}});
        recorder.add("MwClose", {0, 0}, {{"handle", 1}}, 0, nullptr);
    }
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
    (void)std::signal(SIGXFSZ, handler);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "mwtrace: cannot write " + path("trace") + ": File too large; the run goes on unrecorded\n");
}
} // namespace
