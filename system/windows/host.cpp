// SPDX-License-Identifier: Apache-2.0
// What is known of the machine and of who uses it.
#include "system/host.h"

#include "system/windows/api.h"

#include <array>
#include <cstdint>

namespace kvn::system
{

std::optional<std::string> host_name()
{
    DWORD size = 0;
    (void)::GetComputerNameExW(ComputerNameDnsHostname, nullptr, &size);
    std::wstring name(size, L'\0');
    if (::GetComputerNameExW(ComputerNameDnsHostname, name.data(), &size) == FALSE || size == 0)
        return std::nullopt;
    return narrow({name.data(), size});
}

std::string user_name()
{
    constexpr std::size_t LONGEST = 256;
    std::array<wchar_t, LONGEST + 1> name{};
    DWORD size = name.size();
    return ::GetUserNameW(name.data(), &size) != FALSE ? narrow(name.data()) : std::string{};
}

std::optional<std::string> boot_id(const std::string& /*file*/)
{
    // The page that the kernel shares with all processes; the loader counts every start there.
    constexpr std::uintptr_t SHARED_PAGE = 0x7FFE0000;
    constexpr std::uintptr_t BOOT_ID = 0x2C4;
    const auto count = *reinterpret_cast<const volatile std::uint32_t*>(SHARED_PAGE + BOOT_ID);
    return count == 0 ? std::nullopt : std::optional{"boot " + std::to_string(count)};
}

} // namespace kvn::system
