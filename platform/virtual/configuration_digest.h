// SPDX-License-Identifier: Apache-2.0
// The digest of configuration data that come piece by piece.
#ifndef MWVIRTUAL_CONFIGURATION_DIGEST_H
#define MWVIRTUAL_CONFIGURATION_DIGEST_H

#include <nettle/sha2.h>

#include <cstdint>
#include <span>
#include <string>

namespace mwvirtual
{

/// SHA-256 of the plain configuration bytes, first configuration bit in bit 0 of byte 0, without the bytes FF
/// at their end: files of one design differ in those, and the configuration ports pass over them. The
/// operations do not fail.
class ConfigurationDigest
{
public:
    ConfigurationDigest();
    void take(std::span<const std::uint8_t> bytes);
    /// Ends the data and begins others.
    /// @return 64 lower-case hexadecimal digits
    [[nodiscard]] std::string finish();

private:
    void take_ones();

    sha256_ctx context_;
    std::uint64_t ones_ = 0; ///< bytes FF, hashed only when another byte follows them
};

[[nodiscard]] std::string digest_of(std::span<const std::uint8_t> configuration);

} // namespace mwvirtual

#endif
