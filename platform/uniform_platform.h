// SPDX-License-Identifier: Apache-2.0
// A platform that answers all functions in one way.
#ifndef MWAPI_UNIFORM_PLATFORM_H
#define MWAPI_UNIFORM_PLATFORM_H

#include "calls.h"

namespace mwapi
{

/// Hands each operation, with its function and its arguments, to Derived::call<function>(arguments...). A
/// derived class overrides the operations that it treats in another way.
template <class Derived>
class UniformPlatform : public Platform
{
public:
    std::uint32_t open(const char* board_type, std::uint16_t board_number, const char* device,
                       MW_HANDLE** handle, std::uint32_t* reserved) override
    {
        return hand<Function::MwOpenS>(board_type, board_number, device, handle, reserved);
    }
    std::uint32_t close(MW_HANDLE** handle) override { return hand<Function::MwClose>(handle); }
    std::uint32_t error_text(std::uint32_t code, char* text) override
    {
        return hand<Function::MwErr2Text>(code, text);
    }
    std::uint32_t board_info(const char* board_type, std::uint16_t board_number,
                             std::uint32_t* record) override
    {
        return hand<Function::MwGetBoardInfo>(board_type, board_number, record);
    }
    std::uint32_t device_info(MW_HANDLE* handle, char* board_type, std::uint16_t* board_number,
                              std::uint32_t* kind) override
    {
        return hand<Function::MwGetDeviceInfo>(handle, board_type, board_number, kind);
    }
    std::uint32_t init_io_status(MW_HANDLE* handle, std::uint32_t* io_status) override
    {
        return hand<Function::MwInitIoStatus>(handle, io_status);
    }
    std::uint32_t send(MW_HANDLE* handle, std::uint32_t type, std::uint32_t slot, const void* data,
                       std::uint32_t length, std::uint32_t timeout) override
    {
        return hand<Function::MwKSBSendMessage>(handle, type, slot, data, length, timeout);
    }
    std::uint32_t receive(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t slot, void* data,
                          std::uint32_t size, std::uint32_t* received, std::uint32_t timeout) override
    {
        return hand<Function::MwKSBReceiveMessage>(handle, type, slot, data, size, received, timeout);
    }
    std::uint32_t send_ex(MW_HANDLE* handle, std::uint32_t type, std::uint32_t board, std::uint32_t slot,
                          const void* data, std::uint32_t length, std::uint32_t timeout) override
    {
        return hand<Function::MwKSBSendMessageEx>(handle, type, board, slot, data, length, timeout);
    }
    std::uint32_t receive_ex(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t board, std::uint32_t slot,
                             void* data, std::uint32_t size, std::uint32_t* received,
                             std::uint32_t timeout) override
    {
        return hand<Function::MwKSBReceiveMessageEx>(handle, type, board, slot, data, size, received,
                                                     timeout);
    }
    std::uint32_t start_send(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                             std::uint32_t timeout) override
    {
        return hand<Function::MwKSBStartSendMessageEx>(handle, board, slot, timeout);
    }
    std::uint32_t send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                            std::uint32_t timeout) override
    {
        return hand<Function::MwKSBSendMessageDataEx>(handle, data, length, timeout);
    }
    std::uint32_t end_send(MW_HANDLE* handle, std::uint32_t timeout) override
    {
        return hand<Function::MwKSBEndOfSendMessageEx>(handle, timeout);
    }
    std::uint32_t start_receive(MW_HANDLE* handle, std::uint32_t* type, std::uint32_t timeout) override
    {
        return hand<Function::MwKSBStartReceiveMessageEx>(handle, type, timeout);
    }
    std::uint32_t receive_data(MW_HANDLE* handle, void* data, std::uint32_t size, std::uint32_t* received,
                               std::uint32_t timeout) override
    {
        return hand<Function::MwKSBReceiveMessageDataEx>(handle, data, size, received, timeout);
    }
    std::uint32_t end_receive(MW_HANDLE* handle, std::uint32_t timeout) override
    {
        return hand<Function::MwKSBEndOfReceiveMessageEx>(handle, timeout);
    }

private:
    template <Function function, class... Arguments>
    std::uint32_t hand(Arguments... arguments)
    {
        return static_cast<Derived&>(*this).template call<function>(arguments...);
    }
};

} // namespace mwapi

#endif
