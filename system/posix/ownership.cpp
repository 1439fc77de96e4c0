// SPDX-License-Identifier: Apache-2.0
// Whether a file can have been written by anybody but its owner.
#include "system/ownership.h"

#include <sys/stat.h>
#include <unistd.h>

#include <type_traits>

namespace kvn::system
{

static_assert(std::is_same_v<UserId, uid_t>);

UserId own_user() noexcept
{
    return ::geteuid();
}

std::optional<std::string> fault_of_ownership(int descriptor, UserId owner)
{
    struct stat status {
    };
    if (::fstat(descriptor, &status) != 0)
        return "its owner cannot be read";
    if (status.st_uid != owner)
        return "it belongs to user " + std::to_string(status.st_uid) + ", not to user " +
               std::to_string(owner);
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return "others than its owner can write it";
    return std::nullopt;
}

std::optional<std::string> fault_of_folder(const std::string& /*file*/, UserId /*owner*/)
{
    return std::nullopt; // /etc is root's
}

} // namespace kvn::system
