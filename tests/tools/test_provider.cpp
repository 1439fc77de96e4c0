// SPDX-License-Identifier: Apache-2.0
// A platform with one module, in slot 2 of any board, that keeps a journal of its calls in a file.
//
// KVN_TEST_JOURNAL  the file
// KVN_TEST_FAIL     "function code": that function fails with the code; "*" is every function
// KVN_TEST_HOLD     a named pipe that the 400th piece of data waits for, until somebody has opened it for
//                   writing and closed it
// KVN_TEST_HOLD_REPLY  the same for the reply to a load
// KVN_TEST_STATUS   the module's verdict on a load, if not 5
#include "mwapi.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

struct MW_HANDLE {
    int number;
};

namespace
{
MW_HANDLE device{1};

std::string variable(const char* name)
{
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// Opening waits for the other side, reading until it has closed the pipe.
void wait_for(const std::string& pipe)
{
    std::ifstream{pipe}.get();
}

std::uint32_t planned_result(const std::string& function)
{
    std::istringstream plan{variable("KVN_TEST_FAIL")};
    std::string name;
    std::string code;
    plan >> name >> code;
    return name == function || name == "*" ? static_cast<std::uint32_t>(std::stoul(code, nullptr, 0)) : 0;
}

std::string bytes(const void* data, std::uint32_t length)
{
    std::string text;
    const auto* byte = static_cast<const unsigned char*>(data);
    for (std::uint32_t i = 0; i < length; ++i) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02X", byte[i]);
        if (i > 0)
            text += ' ';
        text += digits;
    }
    return text;
}

template <class First, class... Rest>
std::string joined(const First& first, const Rest&... rest)
{
    std::ostringstream text;
    text << first;
    ((text << ", " << rest), ...);
    return text.str();
}

/// Notes the call with its arguments.
/// @return the function's result
template <class... Arguments>
std::uint32_t called(const char* function, const Arguments&... arguments)
{
    std::ofstream{variable("KVN_TEST_JOURNAL"), std::ios::app | std::ios::binary}
        << function << "(" << joined(arguments...) << ")\n";
    return planned_result(function);
}

const char* name_of(const MW_HANDLE* handle)
{
    return handle == nullptr ? "null" : handle == &device ? "device" : "unknown";
}

/// The module's answer to the last message.
std::uint32_t answer(std::uint8_t* type, void* data, std::uint32_t size, std::uint32_t* received)
{
    static bool identified = false;
    unsigned char record[30] = {2, 4, 1};
    std::strcpy(reinterpret_cast<char*>(record) + 3, "2v40cs144-4");
    const unsigned char compression[30] = {1};
    *type = identified ? 12 : 2;
    std::memcpy(data, identified ? compression : record, std::min<std::size_t>(size, sizeof record));
    *received = size;
    identified = !identified;
    return 0;
}
} // namespace

std::uint32_t MwOpenS(const char* board_type, std::uint16_t board_number, const char* kind,
                      MW_HANDLE** handle, std::uint32_t* reserved)
{
    const std::uint32_t result =
        called("MwOpenS", board_type, board_number, kind, name_of(*handle), *reserved);
    if (result == 0)
        *handle = &device;
    return result;
}

std::uint32_t MwClose(MW_HANDLE** handle)
{
    return called("MwClose", name_of(*handle));
}

std::uint32_t MwErr2Text(std::uint32_t code, char* text)
{
    const std::uint32_t result = called("MwErr2Text", code);
    std::snprintf(text, 256, "code 0x%x", code);
    return result;
}

std::uint32_t MwGetBoardInfo(const char* board_type, std::uint16_t board_number, std::uint32_t* record)
{
    const std::uint32_t result = called("MwGetBoardInfo", board_type, board_number, record[0]);
    record[6] = 1; // slot 2: present, no processor, on the serial bus
    record[7] = 0;
    record[8] = 1;
    return result;
}

std::uint32_t MwGetDeviceInfo(MW_HANDLE* handle, char* board_type, std::uint16_t* board_number,
                              std::uint32_t* kind)
{
    const std::uint32_t result = called("MwGetDeviceInfo", name_of(handle), *kind);
    std::strcpy(board_type, "mwc4a");
    *board_number = 7;
    *kind = MW_DEVICE_KIND_KSB;
    return result;
}

std::uint32_t MwInitIoStatus(MW_HANDLE* handle, std::uint32_t* io_status)
{
    return called("MwInitIoStatus", name_of(handle), *io_status);
}

std::uint32_t MwKSBSendMessage(MW_HANDLE* handle, std::uint32_t type, std::uint32_t slot, const void* data,
                               std::uint32_t length, std::uint32_t timeout)
{
    return called("MwKSBSendMessage", name_of(handle), type, slot, bytes(data, length), timeout);
}

std::uint32_t MwKSBReceiveMessage(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t slot, void* data,
                                  std::uint32_t size, std::uint32_t* received, std::uint32_t timeout)
{
    const std::uint32_t result = called("MwKSBReceiveMessage", name_of(handle), slot, size, timeout);
    return result != 0 ? result : answer(type, data, size, received);
}

std::uint32_t MwKSBSendMessageEx(MW_HANDLE* handle, std::uint32_t type, std::uint32_t board,
                                 std::uint32_t slot, const void* data, std::uint32_t length,
                                 std::uint32_t timeout)
{
    return called("MwKSBSendMessageEx", name_of(handle), type, board, slot, bytes(data, length), timeout);
}

std::uint32_t MwKSBReceiveMessageEx(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t board,
                                    std::uint32_t slot, void* data, std::uint32_t size,
                                    std::uint32_t* received, std::uint32_t timeout)
{
    const std::uint32_t result = called("MwKSBReceiveMessageEx", name_of(handle), board, slot, size, timeout);
    return result != 0 ? result : answer(type, data, size, received);
}

std::uint32_t MwKSBStartSendMessageEx(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                                      std::uint32_t timeout)
{
    return called("MwKSBStartSendMessageEx", name_of(handle), board, slot, timeout);
}

std::uint32_t MwKSBSendMessageDataEx(MW_HANDLE* handle, const void* data, std::uint32_t length,
                                     std::uint32_t timeout)
{
    static int pieces = 0;
    if (const std::string pipe = variable("KVN_TEST_HOLD"); ++pieces == 400 && !pipe.empty())
        wait_for(pipe);
    return called("MwKSBSendMessageDataEx", name_of(handle), bytes(data, length), timeout);
}

std::uint32_t MwKSBEndOfSendMessageEx(MW_HANDLE* handle, std::uint32_t timeout)
{
    return called("MwKSBEndOfSendMessageEx", name_of(handle), timeout);
}

std::uint32_t MwKSBStartReceiveMessageEx(MW_HANDLE* handle, std::uint32_t* type, std::uint32_t timeout)
{
    if (const std::string pipe = variable("KVN_TEST_HOLD_REPLY"); !pipe.empty())
        wait_for(pipe);
    return called("MwKSBStartReceiveMessageEx", name_of(handle), *type, timeout);
}

std::uint32_t MwKSBReceiveMessageDataEx(MW_HANDLE* handle, void* data, std::uint32_t size,
                                        std::uint32_t* received, std::uint32_t timeout)
{
    const std::uint32_t result =
        called("MwKSBReceiveMessageDataEx", name_of(handle), size, *received, timeout);
    const std::string status = variable("KVN_TEST_STATUS");
    const unsigned char reply[2] = {static_cast<unsigned char>(status.empty() ? 5 : std::stoi(status)), 0};
    std::memcpy(data, reply, std::min<std::size_t>(size, sizeof reply));
    *received = sizeof reply;
    return result;
}

#ifndef LACKS_LAST_FUNCTION
std::uint32_t MwKSBEndOfReceiveMessageEx(MW_HANDLE* handle, std::uint32_t timeout)
{
    return called("MwKSBEndOfReceiveMessageEx", name_of(handle), timeout);
}
#endif
