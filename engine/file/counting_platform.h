// SPDX-License-Identifier: Apache-2.0
// A platform with one module that takes any load and counts its bytes.
#ifndef KVN_ENGINE_FILE_COUNTING_PLATFORM_H
#define KVN_ENGINE_FILE_COUNTING_PLATFORM_H

#include "uniform_platform.h"

#include <optional>
#include <string>

namespace kvn
{

/// Its module is where bench::load looks for it. Every call succeeds.
class CountingPlatform final : public mwapi::UniformPlatform<CountingPlatform>
{
public:
    /// @param device of the module
    explicit CountingPlatform(std::string device) : device_{std::move(device)} {}

    /// Bytes of the load's message, with its header.
    [[nodiscard]] std::uint64_t wire_bytes() const { return wire_bytes_; }
    /// Configuration bytes that they stand for.
    [[nodiscard]] std::uint64_t configuration_bytes() const { return configuration_bytes_; }

    template <mwapi::Function function, class... Arguments>
    std::uint32_t call(Arguments... /*arguments*/)
    {
        return 0;
    }
    std::uint32_t open(const char* board_type, std::uint16_t board_number, const char* device,
                       MW_HANDLE** handle, std::uint32_t* reserved) override;
    std::uint32_t board_info(const char* board_type, std::uint16_t board_number,
                             std::uint32_t* record) override;
    std::uint32_t send_ex(MW_HANDLE* handle, std::uint32_t type, std::uint32_t board, std::uint32_t slot,
                          const void* data, std::uint32_t length, std::uint32_t timeout) override;
    std::uint32_t receive_ex(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t board, std::uint32_t slot,
                             void* data, std::uint32_t size, std::uint32_t* received,
                             std::uint32_t timeout) override;
    std::uint32_t send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                            std::uint32_t timeout) override;
    std::uint32_t receive_data(MW_HANDLE* handle, void* data, std::uint32_t size, std::uint32_t* received,
                               std::uint32_t timeout) override;

private:
    void count(std::uint8_t byte);

    std::string device_;
    std::uint32_t query_ = 0; ///< the type of the last message
    bool is_compressed_ = false;
    std::uint64_t wire_bytes_ = 0;
    std::uint64_t configuration_bytes_ = 0;
};

} // namespace kvn

#endif
