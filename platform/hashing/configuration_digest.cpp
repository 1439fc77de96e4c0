// SPDX-License-Identifier: Apache-2.0
// The digest of configuration data that come piece by piece.
#include "hashing/configuration_digest.h"

#include <algorithm>
#include <array>

namespace hashing
{
namespace
{

constexpr std::uint8_t ONES = 0xFF;

} // namespace

/// Hashes bytes, except for those FF that no other byte follows yet.
void ConfigurationDigest::hash(std::span<const std::uint8_t> bytes)
{
    const auto last =
        std::find_if(bytes.rbegin(), bytes.rend(), [](std::uint8_t byte) { return byte != ONES; });
    const auto ones = static_cast<std::size_t>(last - bytes.rbegin());
    if (ones != bytes.size()) {
        hash_ones();
        sum_.take(bytes.first(bytes.size() - ones));
    }
    ones_ += ones;
}

void ConfigurationDigest::hash_ones()
{
    std::array<std::uint8_t, 256> block; // NOLINT(cppcoreguidelines-pro-type-member-init)
    block.fill(ONES);
    while (ones_ != 0) {
        const auto size = std::min<std::uint64_t>(ones_, block.size());
        sum_.take(std::span{block}.first(size));
        ones_ -= size;
    }
}

void ConfigurationDigest::take(std::span<const std::uint8_t> bytes)
{
    if (bytes.empty())
        return;
    if (last_)
        hash({&*last_, 1});
    hash(bytes.first(bytes.size() - 1));
    last_ = bytes.back();
}

std::string ConfigurationDigest::finish(std::uint64_t bits)
{
    const auto used = static_cast<unsigned>(bits % 8);
    if (last_ && used != 0)
        last_ = static_cast<std::uint8_t>(*last_ | ONES << used);
    if (last_)
        hash({&*last_, 1});
    last_.reset();
    ones_ = 0;
    return sum_.finish();
}

std::string digest_of(std::span<const std::uint8_t> configuration)
{
    ConfigurationDigest digest;
    digest.take(configuration);
    return digest.finish();
}

} // namespace hashing
