// SPDX-License-Identifier: Apache-2.0
// Where threads of a test wait for each other.
#ifndef KVN_FPGA_TESTS_SUPPORT_MEETING_H
#define KVN_FPGA_TESTS_SUPPORT_MEETING_H

#include <condition_variable>
#include <cstddef>
#include <mutex>

/// Lets a number of threads go on when all have arrived, time and again. A thread that waits in std::barrier
/// or std::latch can sleep for ever where the C++ library has no system call for it, as on Windows: it does
/// not look again, under the lock, before it sleeps.
class Meeting
{
public:
    explicit Meeting(std::size_t threads) : threads_{threads} {}

    void arrive_and_wait()
    {
        std::unique_lock lock{mutex_};
        const std::size_t met = met_;
        if (++arrived_ == threads_) {
            arrived_ = 0;
            ++met_;
            all_are_here_.notify_all();
        }
        all_are_here_.wait(lock, [&] { return met_ != met; });
    }

private:
    const std::size_t threads_;
    std::mutex mutex_;
    std::condition_variable all_are_here_;
    std::size_t arrived_ = 0;
    std::size_t met_ = 0; ///< how often
};

#endif
