// SPDX-License-Identifier: Apache-2.0
// The digest of configuration data that come piece by piece.
#include "configuration_digest.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace mwvirtual
{
namespace
{

constexpr std::uint8_t ONES = 0xFF;

} // namespace

ConfigurationDigest::ConfigurationDigest() // NOLINT(cppcoreguidelines-pro-type-member-init): by the call
{
    sha256_init(&context_);
}

void ConfigurationDigest::take(std::span<const std::uint8_t> bytes)
{
    const auto last =
        std::find_if(bytes.rbegin(), bytes.rend(), [](std::uint8_t each) { return each != ONES; });
    const auto at_end = static_cast<std::size_t>(last - bytes.rbegin());
    if (last != bytes.rend()) {
        take_ones();
        sha256_update(&context_, bytes.size() - at_end, bytes.data());
    }
    ones_ += at_end;
}

void ConfigurationDigest::take_ones()
{
    std::array<std::uint8_t, 4096> some;
    some.fill(ONES);
    while (ones_ != 0) {
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(ones_, some.size()));
        sha256_update(&context_, count, some.data());
        ones_ -= count;
    }
}

std::string ConfigurationDigest::finish()
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::array<std::uint8_t, SHA256_DIGEST_SIZE> sum{};
    sha256_digest(&context_, sum.size(), sum.data());
    ones_ = 0;
    std::string text;
    for (const std::uint8_t each : sum)
        text += {digits[each >> 4U], digits[each & 0xFU]};
    return text;
}

std::string digest_of(std::span<const std::uint8_t> configuration)
{
    ConfigurationDigest digest;
    digest.take(configuration);
    return digest.finish();
}

} // namespace mwvirtual
