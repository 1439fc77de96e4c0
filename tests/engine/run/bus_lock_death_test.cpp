// SPDX-License-Identifier: Apache-2.0
// The lock of a process that is killed.
#include "run/bus_lock.h"

#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>

namespace kvn
{
namespace
{
TEST(BusLockOfAProcess, IsFreedByItsDeath)
{
    const TemporaryFolder folder;
    const auto take = [&] { return BusLock::take(folder.path().string(), "", {"mwc4a", 0}, "kvn run"); };
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        const auto held = take();
        (void)!write(ready[1], "x", 1);
        for (;;)
            pause();
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    const auto meanwhile = take();
    ASSERT_TRUE(std::holds_alternative<BusHolder>(meanwhile));
    EXPECT_EQ(std::get<BusHolder>(meanwhile).process, std::to_string(child));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(std::holds_alternative<BusLock>(take()));
    close(ready[0]);
    close(ready[1]);
}
} // namespace
} // namespace kvn
