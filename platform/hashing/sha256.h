// SPDX-License-Identifier: Apache-2.0
// SHA-256 of bytes that come piece by piece.
#ifndef HASHING_SHA256_H
#define HASHING_SHA256_H

#include <nettle/sha2.h>

#include <cstdint>
#include <span>
#include <string>

namespace hashing
{

/// Its operations do not fail. One object is for one thread at a time.
class Sha256
{
public:
    Sha256();
    /// Takes the next bytes.
    void take(std::span<const std::uint8_t> bytes);
    /// Ends the message and begins another one.
    /// @return 64 lower-case hexadecimal digits
    [[nodiscard]] std::string finish();

private:
    sha256_ctx context_;
};

} // namespace hashing

#endif
