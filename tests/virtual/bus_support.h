// SPDX-License-Identifier: Apache-2.0
// What the tests of the virtual carriers share: a bus opened through the C functions, and loads over it.
#ifndef KVN_TESTS_BUS_SUPPORT_H
#define KVN_TESTS_BUS_SUPPORT_H

#include "mwapi.h"
#include "stream.h"
#include "virtual_carrier.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <vector>

namespace mwvirtual
{

inline void PrintTo(Verdict verdict, std::ostream* out)
{
    *out << verdict_name(verdict);
}

} // namespace mwvirtual

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::uint32_t TIMEOUT = 5000;

inline std::string error_text(std::uint32_t code)
{
    std::array<char, 256> text{};
    MwErr2Text(code, text.data());
    return text.data();
}

/// A received reply.
struct Received {
    std::uint32_t result = 0;
    std::uint32_t type = 0;
    Bytes data;
};

/// An open device of a board.
class Bus
{
public:
    explicit Bus(const char* type = "mwc4a", std::uint16_t number = 0, const char* device = "ksb")
    {
        std::uint32_t reserved = 0;
        opened = MwOpenS(type, number, device, &handle, &reserved);
    }
    ~Bus()
    {
        if (handle != nullptr)
            MwClose(&handle);
    }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    std::uint32_t ask(std::uint32_t type, std::uint32_t board, std::uint32_t slot)
    {
        return MwKSBSendMessageEx(handle, type, board, slot, nullptr, 0, TIMEOUT);
    }
    Received answer(std::uint32_t board, std::uint32_t slot, std::uint32_t size = 30)
    {
        std::array<std::uint8_t, 64> buffer{};
        std::uint8_t type = 0;
        std::uint32_t length = 0;
        Received reply;
        reply.result =
            MwKSBReceiveMessageEx(handle, &type, board, slot, buffer.data(), size, &length, TIMEOUT);
        reply.type = type;
        reply.data.assign(buffer.begin(), buffer.begin() + length);
        return reply;
    }
    Received query(std::uint32_t type, std::uint32_t board, std::uint32_t slot)
    {
        if (const std::uint32_t code = ask(type, board, slot))
            return {code, 0, {}};
        return answer(board, slot);
    }

    std::uint32_t start(std::uint32_t board, std::uint32_t slot)
    {
        return MwKSBStartSendMessageEx(handle, board, slot, TIMEOUT);
    }
    std::uint32_t data(std::span<const std::uint8_t> bytes)
    {
        return MwKSBSendMessageDataEx(handle, bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                                      TIMEOUT);
    }
    std::uint32_t end() { return MwKSBEndOfSendMessageEx(handle, TIMEOUT); }
    Received reply()
    {
        Received reply;
        reply.result = MwKSBStartReceiveMessageEx(handle, &reply.type, TIMEOUT);
        if (reply.result != 0)
            return reply;
        std::array<std::uint8_t, 2> buffer{};
        std::uint32_t length = 0;
        reply.result = MwKSBReceiveMessageDataEx(handle, buffer.data(), 2, &length, TIMEOUT);
        reply.data.assign(buffer.begin(), buffer.begin() + length);
        if (reply.result == 0)
            reply.result = MwKSBEndOfReceiveMessageEx(handle, TIMEOUT);
        return reply;
    }

    /// A load as sent by hosts: header, pieces of eight bytes, end.
    std::uint32_t send_load(std::uint32_t board, std::uint32_t slot, std::array<std::uint8_t, 2> header,
                            std::span<const std::uint8_t> bytes)
    {
        if (const std::uint32_t code = start(board, slot))
            return code;
        if (const std::uint32_t code = data(header))
            return code;
        for (std::size_t at = 0; at < bytes.size(); at += 8) {
            if (const std::uint32_t code =
                    data(bytes.subspan(at, std::min<std::size_t>(8, bytes.size() - at))))
                return code;
        }
        return end();
    }
    Received load(std::uint32_t board, std::uint32_t slot, std::array<std::uint8_t, 2> header,
                  std::span<const std::uint8_t> bytes)
    {
        if (const std::uint32_t code = send_load(board, slot, header, bytes))
            return {code, 0, {}};
        return reply();
    }

    MW_HANDLE* handle = nullptr;
    std::uint32_t opened = 0;
};

/// The verdict number in a load's reply.
inline int status_of(const Received& reply)
{
    return reply.result == 0 && !reply.data.empty() ? reply.data[0] : -1;
}

/// A standard stream in bus order.
inline Bytes bus_stream(const char* device, fpga::StreamOptions options = {})
{
    return fpga::reverse_each(fpga::make_stream(*fpga::find_device(device), options));
}

inline constexpr std::array<std::uint8_t, 2> PLAIN{0x03, 0x05};
inline constexpr std::array<std::uint8_t, 2> COMPRESSED{0x0D, 0x05};

#endif
