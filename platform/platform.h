// SPDX-License-Identifier: Apache-2.0
// Whoever answers the sixteen functions of the board-access API.
#ifndef MWAPI_PLATFORM_H
#define MWAPI_PLATFORM_H

#include "mwapi.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mwapi
{

struct Functions;

/// The words of a board information record: a leading one, and five for each of four slots.
inline constexpr std::size_t BOARD_INFO_WORDS = 21;
/// The sizes of the buffers that error_text() and device_info() write into.
inline constexpr std::size_t ERROR_TEXT_SIZE = 256;
inline constexpr std::size_t BOARD_TYPE_SIZE = 32;

/// The board-access API as an object. Its operations are the C functions of mwapi.h, in their order: the same
/// arguments, 0 or an error code of 32 bits as the result. Time-outs are in the API's own unit, boards are
/// numbered 0 to 15, slots 1 to 4.
///
/// The C functions call the platform that install() (mwapi_forward.h) has put in place. They may do so on
/// several threads at once. An exception that leaves an operation reaches the caller as an error code.
class Platform
{
public:
    Platform() = default;
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;
    virtual ~Platform() = default;

    /// MwOpenS: opens a device ("ksb": the serial bus) of a board.
    /// @param handle receives the handle
    /// @param reserved a word set to 0, which callers do not read
    virtual std::uint32_t open(const char* board_type, std::uint16_t board_number, const char* device,
                               MW_HANDLE** handle, std::uint32_t* reserved) = 0;
    /// MwClose: closes a device. It may clear the handle.
    virtual std::uint32_t close(MW_HANDLE** handle) = 0;
    /// MwErr2Text: words for an error code. Callers take what is in the buffer, whatever the result.
    /// @param text ERROR_TEXT_SIZE bytes, ended by a zero byte
    virtual std::uint32_t error_text(std::uint32_t code, char* text) = 0;
    /// MwGetBoardInfo: the modules in a board's slots.
    /// @param record at least BOARD_INFO_WORDS, the first of them 0
    virtual std::uint32_t board_info(const char* board_type, std::uint16_t board_number,
                                     std::uint32_t* record) = 0;
    /// MwGetDeviceInfo: the board that a handle was opened on, and the kind of device.
    /// @param board_type BOARD_TYPE_SIZE bytes
    /// @param kind a word set to 0, of which 16 or 32 bits are written
    virtual std::uint32_t device_info(MW_HANDLE* handle, char* board_type, std::uint16_t* board_number,
                                      std::uint32_t* kind) = 0;
    /// MwInitIoStatus: prepares an I/O status object.
    virtual std::uint32_t init_io_status(MW_HANDLE* handle, std::uint32_t* io_status) = 0;

    /// MwKSBSendMessage and MwKSBReceiveMessage: one whole message to or from a slot of the opened board.
    /// @param data may be null when length is 0
    virtual std::uint32_t send(MW_HANDLE* handle, std::uint32_t type, std::uint32_t slot, const void* data,
                               std::uint32_t length, std::uint32_t timeout) = 0;
    /// @param size of the buffer; what does not fit is lost
    /// @param received bytes that the message had
    virtual std::uint32_t receive(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t slot, void* data,
                                  std::uint32_t size, std::uint32_t* received, std::uint32_t timeout) = 0;
    /// MwKSBSendMessageEx and MwKSBReceiveMessageEx: the same with any board that the opened one's bus
    /// reaches.
    virtual std::uint32_t send_ex(MW_HANDLE* handle, std::uint32_t type, std::uint32_t board,
                                  std::uint32_t slot, const void* data, std::uint32_t length,
                                  std::uint32_t timeout) = 0;
    virtual std::uint32_t receive_ex(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t board,
                                     std::uint32_t slot, void* data, std::uint32_t size,
                                     std::uint32_t* received, std::uint32_t timeout) = 0;

    /// MwKSBStartSendMessageEx and the next two: a message in pieces. start_send, any number of send_data,
    /// end_send.
    virtual std::uint32_t start_send(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                                     std::uint32_t timeout) = 0;
    virtual std::uint32_t send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                                    std::uint32_t timeout) = 0;
    virtual std::uint32_t end_send(MW_HANDLE* handle, std::uint32_t timeout) = 0;

    /// MwKSBStartReceiveMessageEx and the next two: a reply in pieces.
    /// @param type a word set to 0
    virtual std::uint32_t start_receive(MW_HANDLE* handle, std::uint32_t* type, std::uint32_t timeout) = 0;
    virtual std::uint32_t receive_data(MW_HANDLE* handle, void* data, std::uint32_t size,
                                       std::uint32_t* received, std::uint32_t timeout) = 0;
    virtual std::uint32_t end_receive(MW_HANDLE* handle, std::uint32_t timeout) = 0;

    /// What users must be told before the first call, such as "the boards are simulated, no hardware is
    /// reached."; empty for hardware.
    [[nodiscard]] virtual std::string_view announcement() const { return {}; }
    /// Its version, such as "2.7.0"; empty if it does not say.
    [[nodiscard]] virtual std::string_view version() const { return {}; }
    /// The operations as C functions that need no object, or null. Calls then go to them directly. They must
    /// stay valid as long as the platform is installed.
    [[nodiscard]] virtual const Functions* functions() const { return nullptr; }
};

/// A platform's own type of handle as the opaque one, and back. Only the platform that gave out a handle may
/// follow it.
template <class Own>
[[nodiscard]] MW_HANDLE* to_handle(Own* own)
{
    return reinterpret_cast<MW_HANDLE*>(own);
}
template <class Own>
[[nodiscard]] Own* from_handle(MW_HANDLE* handle)
{
    return reinterpret_cast<Own*>(handle);
}

/// Writes an error text, cut to fit. A null buffer is left alone.
inline void write_error_text(std::string_view text, char* buffer)
{
    if (buffer != nullptr)
        buffer[text.copy(buffer, ERROR_TEXT_SIZE - 1)] = '\0';
}

} // namespace mwapi

#endif
