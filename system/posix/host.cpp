// SPDX-License-Identifier: Apache-2.0
// What is known of the machine and of who uses it.
#include "system/host.h"

#include "system/descriptor.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>

namespace kvn::system
{

std::optional<std::string> host_name()
{
    std::array<char, HOST_NAME_MAX + 1> name{};
    if (::gethostname(name.data(), name.size() - 1) != 0 || name.front() == '\0')
        return std::nullopt;
    return name.data();
}

std::string user_name()
{
    std::array<char, 4096> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr)
        return found->pw_name;
    return std::to_string(::getuid());
}

std::optional<std::string> boot_id(const std::string& file)
{
    const char* const name = file.empty() ? "/proc/sys/kernel/random/boot_id" : file.c_str();
    const Descriptor descriptor{::open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC)};
    if (!descriptor.is_open())
        return std::nullopt;
    std::array<char, 64> text{};
    const ssize_t size = ::read(descriptor.number(), text.data(), text.size());
    std::string id{text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    id.erase(id.find_last_not_of(" \n") + 1);
    return id.empty() ? std::nullopt : std::optional{std::move(id)};
}

} // namespace kvn::system
