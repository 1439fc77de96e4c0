// SPDX-License-Identifier: Apache-2.0
// A platform that only counts: one board with one module, which accepts everything and does nothing with it.
#include "counting_platform.h"

#include "mwapi_forward.h"
#include "uniform_platform.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace
{
constexpr std::uint32_t USUAL_SIZE = 8;
constexpr std::uint8_t DESCRIPTION_REPLY = 2;
constexpr std::uint8_t FPGA_MODULE = 2;
constexpr std::uint8_t CONFIGURED = 5;
constexpr std::size_t DEVICE_OFFSET = 3;
constexpr std::size_t COMPRESSION_OFFSET = 29;
constexpr char DEVICE[] = "2vp100ff1704-6";
constexpr std::size_t LONGEST_DEVICE = COMPRESSION_OFFSET - DEVICE_OFFSET;

SentData sent;
bool takes_compressed = std::getenv(COUNTING_COMPRESSED) != nullptr; // NOLINT(concurrency-mt-unsafe)

std::uint32_t describe_module(std::uint8_t* type, void* data, std::uint32_t* received)
{
    std::uint8_t record[COMPRESSION_OFFSET + 1] = {FPGA_MODULE, 3, 1};
    const char* wanted = std::getenv(COUNTING_DEVICE); // NOLINT(concurrency-mt-unsafe)
    const std::string_view device = wanted == nullptr ? DEVICE : wanted;
    device.copy(reinterpret_cast<char*>(record) + DEVICE_OFFSET, LONGEST_DEVICE);
    record[COMPRESSION_OFFSET] = takes_compressed ? 1 : 0;
    std::memcpy(data, record, sizeof record);
    *type = DESCRIPTION_REPLY;
    *received = sizeof record;
    return 0;
}

std::uint32_t count(MW_HANDLE* /*handle*/, const void* /*data*/, std::uint32_t length,
                    std::uint32_t /*timeout*/)
{
    ++sent.calls;
    sent.bytes += length;
    if (length != USUAL_SIZE)
        ++sent.odd_calls;
    return 0;
}

/// What is not overridden succeeds and does nothing.
class CountingPlatform final : public mwapi::UniformPlatform<CountingPlatform>
{
public:
    template <mwapi::Function function, class... Arguments>
    std::uint32_t call(Arguments... /*arguments*/)
    {
        return 0;
    }
    /// Data is counted by a function of its own: what is measured is the library, not the way here.
    [[nodiscard]] const mwapi::Functions* functions() const override;

    std::uint32_t open(const char* /*board_type*/, std::uint16_t /*board_number*/, const char* /*device*/,
                       MW_HANDLE** handle, std::uint32_t* /*reserved*/) override
    {
        *handle = mwapi::to_handle(&sent);
        return 0;
    }
    std::uint32_t error_text(std::uint32_t /*code*/, char* text) override
    {
        text[0] = '\0';
        return 0;
    }
    std::uint32_t board_info(const char* /*board_type*/, std::uint16_t /*board_number*/,
                             std::uint32_t* record) override
    {
        const std::uint32_t slots[] = {1, 0, 1, 0, 0};
        std::memcpy(record + 1, slots, sizeof slots);
        return 0;
    }
    std::uint32_t receive(MW_HANDLE* /*handle*/, std::uint8_t* type, std::uint32_t /*slot*/, void* data,
                          std::uint32_t /*size*/, std::uint32_t* received, std::uint32_t /*timeout*/) override
    {
        return describe_module(type, data, received);
    }
    std::uint32_t receive_ex(MW_HANDLE* /*handle*/, std::uint8_t* type, std::uint32_t /*board*/,
                             std::uint32_t /*slot*/, void* data, std::uint32_t /*size*/,
                             std::uint32_t* received, std::uint32_t /*timeout*/) override
    {
        return describe_module(type, data, received);
    }
    std::uint32_t start_send(MW_HANDLE* /*handle*/, std::uint32_t /*board*/, std::uint32_t /*slot*/,
                             std::uint32_t /*timeout*/) override
    {
        sent = {};
        return 0;
    }
    std::uint32_t send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                            std::uint32_t timeout) override
    {
        return count(handle, data, length, timeout);
    }
    std::uint32_t receive_data(MW_HANDLE* /*handle*/, void* data, std::uint32_t size, std::uint32_t* received,
                               std::uint32_t /*timeout*/) override
    {
        std::memset(data, CONFIGURED, size);
        *received = size;
        return 0;
    }
};

CountingPlatform counting;

struct Operations {
    template <mwapi::Function function, class... Parameters>
    static std::uint32_t answer(Parameters... arguments)
    {
        return (counting.*mwapi::CALL<function>.operation)(arguments...);
    }
};

consteval mwapi::Functions counting_functions()
{
    mwapi::Functions made = mwapi::functions_by<Operations>();
    made.MwKSBSendMessageDataEx = &count;
    return made;
}

const mwapi::Functions* CountingPlatform::functions() const
{
    static constexpr mwapi::Functions bound = counting_functions();
    return &bound;
}
} // namespace

const SentData& sent_data()
{
    return sent;
}

void accept_compressed(bool yes)
{
    takes_compressed = yes;
}

mwapi::Platform& mwapi::program_platform()
{
    return counting;
}
