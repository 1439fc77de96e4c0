// What a run of the reference model touches: the platform's sixteen functions, the user and the environment.
#ifndef REFERENCE_WORLD_H
#define REFERENCE_WORLD_H

#include "mwapi.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace reference
{

/// The board-access API. One object of this kind answers the model, and the functions of the same names that
/// a test program defines for the library can forward to it.
class Platform
{
public:
    Platform() = default;
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;
    virtual ~Platform() = default;

    virtual uint32_t OpenS(const char* board_type, uint16_t board_number, const char* device,
                           MW_HANDLE** handle, uint32_t* reserved) = 0;
    virtual uint32_t Close(MW_HANDLE** handle) = 0;
    virtual uint32_t Err2Text(uint32_t code, char* text) = 0;
    virtual uint32_t GetBoardInfo(const char* board_type, uint16_t board_number, uint32_t* record) = 0;
    virtual uint32_t GetDeviceInfo(MW_HANDLE* handle, char* board_type, uint16_t* board_number,
                                   uint32_t* kind) = 0;
    virtual uint32_t InitIoStatus(MW_HANDLE* handle, uint32_t* io_status) = 0;
    virtual uint32_t SendMessage(MW_HANDLE* handle, uint32_t type, uint32_t slot, const void* data,
                                 uint32_t length, uint32_t timeout) = 0;
    virtual uint32_t ReceiveMessage(MW_HANDLE* handle, uint8_t* type, uint32_t slot, void* data,
                                    uint32_t size, uint32_t* received, uint32_t timeout) = 0;
    virtual uint32_t SendMessageEx(MW_HANDLE* handle, uint32_t type, uint32_t board, uint32_t slot,
                                   const void* data, uint32_t length, uint32_t timeout) = 0;
    virtual uint32_t ReceiveMessageEx(MW_HANDLE* handle, uint8_t* type, uint32_t board, uint32_t slot,
                                      void* data, uint32_t size, uint32_t* received, uint32_t timeout) = 0;
    virtual uint32_t StartSendMessageEx(MW_HANDLE* handle, uint32_t board, uint32_t slot,
                                        uint32_t timeout) = 0;
    virtual uint32_t SendMessageDataEx(MW_HANDLE* handle, const void* data, uint32_t length,
                                       uint32_t timeout) = 0;
    virtual uint32_t EndOfSendMessageEx(MW_HANDLE* handle, uint32_t timeout) = 0;
    virtual uint32_t StartReceiveMessageEx(MW_HANDLE* handle, uint32_t* type, uint32_t timeout) = 0;
    virtual uint32_t ReceiveMessageDataEx(MW_HANDLE* handle, void* data, uint32_t size, uint32_t* received,
                                          uint32_t timeout) = 0;
    virtual uint32_t EndOfReceiveMessageEx(MW_HANDLE* handle, uint32_t timeout) = 0;
};

/// Standard output and input of a run without callbacks.
struct Terminal {
    std::string output;
    std::string input;
    std::size_t next = 0; ///< the first character of input that is not read yet
};

/// The functions that a caller may install; an empty one means the terminal.
struct Callbacks {
    std::function<void(const char*)> print;
    std::function<int(const char*)> prompt;
    std::function<int(const char*, std::string&)> ask_string;
    std::function<int(const char*)> ask_yn;
};

struct Environment {
    std::optional<std::string> mwapiksb;
    std::optional<std::string> mwapijtag;
};

} // namespace reference

#endif
