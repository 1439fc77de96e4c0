// SPDX-License-Identifier: Apache-2.0
// The digest of configuration data that come piece by piece; digest.h says what is hashed.
#ifndef KVN_ENGINE_FILE_CONFIGURATION_DIGEST_H
#define KVN_ENGINE_FILE_CONFIGURATION_DIGEST_H

#include "file/sha256.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace kvn
{

class ConfigurationDigest
{
public:
    /// Takes the next bytes, the first configuration bit in bit 0.
    void take(std::span<const std::uint8_t> bytes);
    /// Ends the data.
    /// @param bits of all bytes that were taken; the rest of the last byte is filled up with ones
    /// @return 64 lower-case hexadecimal digits
    [[nodiscard]] std::string finish(std::uint64_t bits);

private:
    void hash(std::span<const std::uint8_t> bytes);
    void hash_ones();

    Sha256 sum_;
    std::uint64_t ones_ = 0;           ///< bytes FF that are hashed if another byte follows
    std::optional<std::uint8_t> last_; ///< of what was taken; it may have to be filled up
};

} // namespace kvn

#endif
