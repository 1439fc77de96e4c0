// SPDX-License-Identifier: Apache-2.0
// SHA-256 of bytes that come piece by piece.
#include "hashing/sha256.h"

#include <array>
#include <string_view>

namespace hashing
{

Sha256::Sha256() // NOLINT(cppcoreguidelines-pro-type-member-init): by the call
{
    sha256_init(&context_);
}

void Sha256::take(std::span<const std::uint8_t> bytes)
{
    sha256_update(&context_, bytes.size(), bytes.data());
}

std::string Sha256::finish()
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::array<std::uint8_t, SHA256_DIGEST_SIZE> sum{};
    sha256_digest(&context_, sum.size(), sum.data());
    std::string text;
    for (const std::uint8_t byte : sum)
        text += {digits[byte >> 4U], digits[byte & 0xFU]};
    return text;
}

} // namespace hashing
