// What the sixteen platform functions of the virtual carriers do; MWVIRTUAL_TRACE has the calls recorded.
#include "front.h"
#include "rack.h"

namespace mwvirtual
{
namespace
{

uint32_t MwOpenS(const char* board_type, uint16_t board_number, const char* device, MW_HANDLE** handle,
                 uint32_t* /*reserved*/)
{
    return current_rack()->open(board_type, board_number, device, handle);
}

uint32_t MwClose(MW_HANDLE** handle)
{
    return current_rack()->close(handle);
}

uint32_t MwErr2Text(uint32_t code, char* text)
{
    return current_rack()->error_text(code, text);
}

uint32_t MwGetBoardInfo(const char* board_type, uint16_t board_number, uint32_t* record)
{
    return current_rack()->board_info(board_type, board_number, record);
}

uint32_t MwGetDeviceInfo(MW_HANDLE* handle, char* board_type, uint16_t* board_number, uint32_t* kind)
{
    return current_rack()->device_info(handle, board_type, board_number, kind);
}

uint32_t MwInitIoStatus(MW_HANDLE* handle, uint32_t* io_status)
{
    return current_rack()->init_io_status(handle, io_status);
}

uint32_t MwKSBSendMessage(MW_HANDLE* handle, uint32_t type, uint32_t slot, const void* data, uint32_t length,
                          uint32_t timeout)
{
    return current_rack()->send(Function::MwKSBSendMessage, handle, type, std::nullopt, slot, data, length,
                                timeout);
}

uint32_t MwKSBReceiveMessage(MW_HANDLE* handle, uint8_t* type, uint32_t slot, void* data, uint32_t size,
                             uint32_t* received, uint32_t timeout)
{
    return current_rack()->receive(Function::MwKSBReceiveMessage, handle, type, std::nullopt, slot, data,
                                   size, received, timeout);
}

uint32_t MwKSBSendMessageEx(MW_HANDLE* handle, uint32_t type, uint32_t board, uint32_t slot, const void* data,
                            uint32_t length, uint32_t timeout)
{
    return current_rack()->send(Function::MwKSBSendMessageEx, handle, type, board, slot, data, length,
                                timeout);
}

uint32_t MwKSBReceiveMessageEx(MW_HANDLE* handle, uint8_t* type, uint32_t board, uint32_t slot, void* data,
                               uint32_t size, uint32_t* received, uint32_t timeout)
{
    return current_rack()->receive(Function::MwKSBReceiveMessageEx, handle, type, board, slot, data, size,
                                   received, timeout);
}

uint32_t MwKSBStartSendMessageEx(MW_HANDLE* handle, uint32_t board, uint32_t slot, uint32_t timeout)
{
    return current_rack()->start_send(handle, board, slot, timeout);
}

uint32_t MwKSBSendMessageDataEx(MW_HANDLE* handle, const void* data, uint32_t length, uint32_t timeout)
{
    return current_rack()->send_data(handle, data, length, timeout);
}

uint32_t MwKSBEndOfSendMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return current_rack()->end_send(handle, timeout);
}

uint32_t MwKSBStartReceiveMessageEx(MW_HANDLE* handle, uint32_t* type, uint32_t timeout)
{
    return current_rack()->start_receive(handle, type, timeout);
}

uint32_t MwKSBReceiveMessageDataEx(MW_HANDLE* handle, void* data, uint32_t size, uint32_t* received,
                                   uint32_t timeout)
{
    return current_rack()->receive_data(handle, data, size, received, timeout);
}

uint32_t MwKSBEndOfReceiveMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return current_rack()->end_receive(handle, timeout);
}

mwtrace::Front* make_front()
{
    auto made = std::make_unique<mwtrace::Front>();
    made->functions = {MwOpenS,
                       MwClose,
                       MwErr2Text,
                       MwGetBoardInfo,
                       MwGetDeviceInfo,
                       MwInitIoStatus,
                       MwKSBSendMessage,
                       MwKSBReceiveMessage,
                       MwKSBSendMessageEx,
                       MwKSBReceiveMessageEx,
                       MwKSBStartSendMessageEx,
                       MwKSBSendMessageDataEx,
                       MwKSBEndOfSendMessageEx,
                       MwKSBStartReceiveMessageEx,
                       MwKSBReceiveMessageDataEx,
                       MwKSBEndOfReceiveMessageEx};
    made->recorder = mwtrace::recorder_from_environment("MWVIRTUAL_TRACE", "libmwvirtual.so");
    return made.release();
}

} // namespace
} // namespace mwvirtual

/// The exported functions lead here.
mwtrace::Front& mwtrace::front()
{
    static Front* const made = mwvirtual::make_front();
    return *made;
}
