// SPDX-License-Identifier: Apache-2.0
// The digest of configuration data that come piece by piece.
#ifndef HASHING_CONFIGURATION_DIGEST_H
#define HASHING_CONFIGURATION_DIGEST_H

#include "hashing/sha256.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace hashing
{

/// SHA-256 of the plain configuration bytes, the first configuration bit in bit 0 of byte 0, without the
/// bytes FF at their end: files of one design differ in those, and the configuration ports pass over them.
/// The operations do not fail.
class ConfigurationDigest
{
public:
    /// Takes the next bytes, the first configuration bit in bit 0.
    void take(std::span<const std::uint8_t> bytes);
    /// Ends the data and begins others.
    /// @param bits of all bytes that were taken; the rest of the last byte is filled up with ones
    /// @return 64 lower-case hexadecimal digits
    [[nodiscard]] std::string finish(std::uint64_t bits);
    /// The same for whole bytes.
    [[nodiscard]] std::string finish() { return finish(0); }

private:
    void hash(std::span<const std::uint8_t> bytes);
    void hash_ones();

    Sha256 sum_;
    std::uint64_t ones_ = 0;           ///< bytes FF that are hashed if another byte follows
    std::optional<std::uint8_t> last_; ///< of what was taken; it may have to be filled up
};

[[nodiscard]] std::string digest_of(std::span<const std::uint8_t> configuration);

} // namespace hashing

#endif
