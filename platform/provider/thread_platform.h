// SPDX-License-Identifier: Apache-2.0
// The functions of the API lead each thread to a platform of its own.
//
// A program or library that is linked with the target mwapi_threads contains the functions; on a thread
// without a platform they fail with NO_PLATFORM.
#ifndef MWAPI_THREAD_PLATFORM_H
#define MWAPI_THREAD_PLATFORM_H

#include "platform.h"

namespace mwapi
{

/// What every function returns on a thread that uses no platform.
inline constexpr std::uint32_t NO_PLATFORM = 0xE3000003;

/// While it lives, the functions that its thread calls lead to a platform. Several nest: the last one counts.
class UsePlatform
{
public:
    /// @param platform must outlive this
    explicit UsePlatform(Platform& platform);
    ~UsePlatform();
    UsePlatform(const UsePlatform&) = delete;
    UsePlatform& operator=(const UsePlatform&) = delete;

private:
    Platform* before_;
};

} // namespace mwapi

#endif
