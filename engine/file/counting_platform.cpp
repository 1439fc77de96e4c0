// SPDX-License-Identifier: Apache-2.0
// A platform with one module that takes any load and counts its bytes.
#include "file/counting_platform.h"

#include "bus/module_protocol.h"
#include "file/bench.h"
#include "loading/load_exchange.h"

#include <algorithm>
#include <array>
#include <span>

namespace kvn
{
namespace
{

constexpr std::uint64_t LOAD_HEADER_SIZE = 2;
constexpr std::uint8_t COMPRESSED_LOAD = 13;
constexpr std::uint8_t MODEL_WITH_QUERY = 4;

} // namespace

std::uint32_t CountingPlatform::open(const char* /*board_type*/, std::uint16_t /*board_number*/,
                                     const char* /*device*/, MW_HANDLE** handle, std::uint32_t* /*reserved*/)
{
    *handle = reinterpret_cast<MW_HANDLE*>(this); // NOLINT: never followed, only not null
    return 0;
}

std::uint32_t CountingPlatform::board_info(const char* /*board_type*/, std::uint16_t /*board_number*/,
                                           std::uint32_t* record)
{
    record[1] = 1; // slot 1 holds a module,
    record[2] = 0; // which is no processor
    record[3] = 1; // and has a serial bus
    return 0;
}

std::uint32_t CountingPlatform::send_ex(MW_HANDLE* /*handle*/, std::uint32_t type, std::uint32_t /*board*/,
                                        std::uint32_t /*slot*/, const void* /*data*/,
                                        std::uint32_t /*length*/, std::uint32_t /*timeout*/)
{
    query_ = type;
    return 0;
}

std::uint32_t CountingPlatform::receive_ex(MW_HANDLE* /*handle*/, std::uint8_t* type, std::uint32_t /*board*/,
                                           std::uint32_t /*slot*/, void* data, std::uint32_t size,
                                           std::uint32_t* received, std::uint32_t /*timeout*/)
{
    std::array<std::uint8_t, RECORD_SIZE> reply{};
    if (query_ == KSB_MSG_MODULE_TYPE_QUERY) {
        reply[0] = KAVRIN_FPGA;
        reply[RECORD_MODEL] = MODEL_WITH_QUERY;
        (void)device_.copy(reinterpret_cast<char*>(&reply[RECORD_DEVICE]),
                           RECORD_DEVICE_SIZE); // NOLINT: text
    } else {
        reply[0] = 1; // takes compressed loads
    }
    *type = static_cast<std::uint8_t>(query_ + 1);
    *received = std::min<std::uint32_t>(size, reply.size());
    std::copy_n(reply.begin(), *received, static_cast<std::uint8_t*>(data));
    return 0;
}

void CountingPlatform::count(std::uint8_t byte)
{
    if (wire_bytes_ == 0)
        is_compressed_ = byte == COMPRESSED_LOAD;
    else if (wire_bytes_ >= LOAD_HEADER_SIZE && !is_compressed_)
        ++configuration_bytes_;
    else if (wire_bytes_ >= LOAD_HEADER_SIZE && wire_bytes_ % 2 == 0) // the count of a pair
        configuration_bytes_ += byte;
    ++wire_bytes_;
}

std::uint32_t CountingPlatform::send_data(MW_HANDLE* /*handle*/, const void* data, std::uint32_t length,
                                          std::uint32_t /*timeout*/)
{
    for (const std::uint8_t byte : std::span{static_cast<const std::uint8_t*>(data), length})
        count(byte);
    return 0;
}

std::uint32_t CountingPlatform::receive_data(MW_HANDLE* /*handle*/, void* data, std::uint32_t /*size*/,
                                             std::uint32_t* received, std::uint32_t /*timeout*/)
{
    *static_cast<std::uint8_t*>(data) = CONFIGURED;
    *received = 1;
    return 0;
}

} // namespace kvn
