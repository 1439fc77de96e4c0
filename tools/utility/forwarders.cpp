// The platform functions that the library finds in this program: each hands its arguments to the provider.
#include "provider.h"

// The library resolves these names from the program, so they alone are exported.
#pragma GCC visibility push(default)
#include "mwapi.h"
#pragma GCC visibility pop

#include <algorithm>

namespace
{
/// What every function answers when there is no provider to ask.
constexpr std::uint32_t NO_PROVIDER = 0x4B564E01;

/// What MwErr2Text may write, the zero byte included.
constexpr std::size_t TEXT_SIZE = 256;

/// The provider, chosen at the first call: a conversion makes none and needs none.
const Provider& provider()
{
    static const Provider chosen = choose_provider();
    return chosen;
}

/// Calls the function at that place. The forwarders' parameters are those of the header, hence its type.
template <class... Parameters>
std::uint32_t forward(std::size_t place, Parameters... arguments)
{
    if (!provider().problem.empty())
        return NO_PROVIDER;
    using Function = std::uint32_t (*)(Parameters...);
    return reinterpret_cast<Function>(provider().functions[place])(arguments...);
}
} // namespace

std::uint32_t MwOpenS(const char* board_type, std::uint16_t board_number, const char* device,
                      MW_HANDLE** handle, std::uint32_t* reserved)
{
    return forward(place_of(__func__), board_type, board_number, device, handle, reserved);
}

std::uint32_t MwClose(MW_HANDLE** handle)
{
    return forward(place_of(__func__), handle);
}

std::uint32_t MwErr2Text(std::uint32_t code, char* text)
{
    if (!provider().problem.empty()) {
        text[provider().problem.copy(text, TEXT_SIZE - 1)] = '\0';
        return 0;
    }
    return forward(place_of(__func__), code, text);
}

std::uint32_t MwGetBoardInfo(const char* board_type, std::uint16_t board_number, std::uint32_t* record)
{
    return forward(place_of(__func__), board_type, board_number, record);
}

std::uint32_t MwGetDeviceInfo(MW_HANDLE* handle, char* board_type, std::uint16_t* board_number,
                              std::uint32_t* kind)
{
    return forward(place_of(__func__), handle, board_type, board_number, kind);
}

std::uint32_t MwInitIoStatus(MW_HANDLE* handle, std::uint32_t* io_status)
{
    return forward(place_of(__func__), handle, io_status);
}

std::uint32_t MwKSBSendMessage(MW_HANDLE* handle, std::uint32_t type, std::uint32_t slot, const void* data,
                               std::uint32_t length, std::uint32_t timeout)
{
    return forward(place_of(__func__), handle, type, slot, data, length, timeout);
}

std::uint32_t MwKSBReceiveMessage(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t slot, void* data,
                                  std::uint32_t size, std::uint32_t* received, std::uint32_t timeout)
{
    return forward(place_of(__func__), handle, type, slot, data, size, received, timeout);
}

std::uint32_t MwKSBSendMessageEx(MW_HANDLE* handle, std::uint32_t type, std::uint32_t board,
                                 std::uint32_t slot, const void* data, std::uint32_t length,
                                 std::uint32_t timeout)
{
    return forward(place_of(__func__), handle, type, board, slot, data, length, timeout);
}

std::uint32_t MwKSBReceiveMessageEx(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t board,
                                    std::uint32_t slot, void* data, std::uint32_t size,
                                    std::uint32_t* received, std::uint32_t timeout)
{
    return forward(place_of(__func__), handle, type, board, slot, data, size, received, timeout);
}

std::uint32_t MwKSBStartSendMessageEx(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                                      std::uint32_t timeout)
{
    return forward(place_of(__func__), handle, board, slot, timeout);
}

std::uint32_t MwKSBSendMessageDataEx(MW_HANDLE* handle, const void* data, std::uint32_t length,
                                     std::uint32_t timeout)
{
    return forward(place_of(__func__), handle, data, length, timeout);
}

std::uint32_t MwKSBEndOfSendMessageEx(MW_HANDLE* handle, std::uint32_t timeout)
{
    return forward(place_of(__func__), handle, timeout);
}

std::uint32_t MwKSBStartReceiveMessageEx(MW_HANDLE* handle, std::uint32_t* type, std::uint32_t timeout)
{
    return forward(place_of(__func__), handle, type, timeout);
}

std::uint32_t MwKSBReceiveMessageDataEx(MW_HANDLE* handle, void* data, std::uint32_t size,
                                        std::uint32_t* received, std::uint32_t timeout)
{
    return forward(place_of(__func__), handle, data, size, received, timeout);
}

std::uint32_t MwKSBEndOfReceiveMessageEx(MW_HANDLE* handle, std::uint32_t timeout)
{
    return forward(place_of(__func__), handle, timeout);
}
