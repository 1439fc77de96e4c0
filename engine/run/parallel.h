// SPDX-License-Identifier: Apache-2.0
// Independent pieces of work in several threads.
#ifndef KVN_ENGINE_RUN_PARALLEL_H
#define KVN_ENGINE_RUN_PARALLEL_H

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace kvn
{

/// Calls work(0) to work(count - 1), each once, in any order. After an exception no further call is begun.
/// @param threads at the most, this one included; 0: as many as the machine runs at once. With fewer threads
///        than wanted, or none besides this one, the work takes longer.
/// @throws the first exception that a call has thrown, when all calls have ended
template <class Work>
void in_parallel(std::size_t count, unsigned threads, Work work)
{
    std::atomic<std::size_t> next{0};
    std::exception_ptr failure;
    std::mutex lock;
    const auto take = [&] {
        try {
            for (std::size_t index = next++; index < count; index = next++)
                work(index);
        } catch (...) {
            next = count;
            const std::scoped_lock locked{lock};
            if (!failure)
                failure = std::current_exception();
        }
    };
    const std::size_t wanted = threads != 0 ? threads : std::max(1U, std::thread::hardware_concurrency());
    std::vector<std::thread> others;
    others.reserve(std::min(wanted, count));
    try {
        while (others.size() + 1 < std::min(wanted, count))
            others.emplace_back(take);
    } catch (const std::system_error&) { // the threads that there are do it
    }
    take();
    for (std::thread& other : others)
        other.join();
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace kvn

#endif
