// SPDX-License-Identifier: Apache-2.0
// The sixteen functions of the board-access API: each goes on to the installed platform.
//
// Choice: they jump through a table of C functions instead of calling virtual operations
// (docs/decisions/0020-bound-table.md).

// Other libraries find these names, and nothing else of ours.
#pragma GCC visibility push(default)
#include "mwapi.h"
#pragma GCC visibility pop

#include "mwapi_forward.h"

#include "calls.h"

#include <cxxabi.h>

#include <atomic>
#include <exception>
#include <mutex>

namespace mwapi
{
namespace
{

/// What went wrong in the last call of this thread that returned PLATFORM_THREW.
thread_local char exception_text[ERROR_TEXT_SIZE];

std::uint32_t threw(const char* what)
{
    write_error_text(what, exception_text);
    return PLATFORM_THREW;
}

/// The result of a call, or PLATFORM_THREW. Only the end of a thread from outside passes through.
template <class Answer>
std::uint32_t without_exceptions(Answer answer)
{
    try {
        return answer();
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (const std::exception& error) {
        return threw(error.what());
    } catch (...) {
        return threw("the platform threw what is no standard exception");
    }
}

/// The words for an exception are ours, all others the platform's.
template <class Way>
std::uint32_t error_text(std::uint32_t code, char* text)
{
    const std::uint32_t result =
        code == PLATFORM_THREW ? code : Way::template answer<Function::MwErr2Text>(code, text);
    if (result != PLATFORM_THREW)
        return result;
    write_error_text(exception_text, text);
    return 0;
}

template <class Way>
consteval Functions functions_with_error_text()
{
    Functions made = functions_by<Way>();
    made.MwErr2Text = &error_text<Way>;
    return made;
}

std::atomic<Platform*> installed{nullptr};

/// Calls the operations of the installed platform.
struct Operations {
    template <Function function, class... Parameters>
    static std::uint32_t answer(Parameters... arguments)
    {
        return without_exceptions([&] {
            return (installed.load(std::memory_order_acquire)->*CALL<function>.operation)(arguments...);
        });
    }
};

constexpr Functions OPERATIONS = functions_with_error_text<Operations>();

/// Asks the program for its platform, then makes the call.
struct FirstCall {
    template <Function function, class... Parameters>
    static std::uint32_t answer(Parameters... arguments);
};

constexpr Functions FIRST_CALLS = functions_with_error_text<FirstCall>();

constinit std::atomic<const Functions*> bound{&FIRST_CALLS};

/// Made at its first use, as not every system makes it while compiling, and never destroyed: calls may come
/// to the end of the process.
std::mutex& binding()
{
    static auto* const made = new std::mutex;
    return *made;
}

/// @pre binding() is locked
void bind(Platform& platform)
{
    const Functions* own = platform.functions();
    installed.store(&platform, std::memory_order_release);
    bound.store(own != nullptr ? own : &OPERATIONS, std::memory_order_release);
}

inline const Functions& to()
{
    return *bound.load(std::memory_order_acquire);
}

template <Function function, class... Parameters>
std::uint32_t FirstCall::answer(Parameters... arguments)
{
    return without_exceptions([&] {
        Platform& platform = program_platform();
        {
            const std::lock_guard lock{binding()};
            if (bound.load(std::memory_order_acquire) == &FIRST_CALLS)
                bind(platform);
        }
        return (to().*CALL<function>.function)(arguments...);
    });
}

} // namespace

void install(Platform& platform)
{
    const std::lock_guard lock{binding()};
    bind(platform);
}

void uninstall()
{
    const std::lock_guard lock{binding()};
    bound.store(&FIRST_CALLS, std::memory_order_release);
}

} // namespace mwapi

using mwapi::to;

uint32_t MwOpenS(const char* board_type, uint16_t board_number, const char* device, MW_HANDLE** handle,
                 uint32_t* reserved)
{
    return to().MwOpenS(board_type, board_number, device, handle, reserved);
}

uint32_t MwClose(MW_HANDLE** handle)
{
    return to().MwClose(handle);
}

uint32_t MwErr2Text(uint32_t code, char* text)
{
    return to().MwErr2Text(code, text);
}

uint32_t MwGetBoardInfo(const char* board_type, uint16_t board_number, uint32_t* record)
{
    return to().MwGetBoardInfo(board_type, board_number, record);
}

uint32_t MwGetDeviceInfo(MW_HANDLE* handle, char* board_type, uint16_t* board_number, uint32_t* kind)
{
    return to().MwGetDeviceInfo(handle, board_type, board_number, kind);
}

uint32_t MwInitIoStatus(MW_HANDLE* handle, uint32_t* io_status)
{
    return to().MwInitIoStatus(handle, io_status);
}

uint32_t MwKSBSendMessage(MW_HANDLE* handle, uint32_t type, uint32_t slot, const void* data, uint32_t length,
                          uint32_t timeout)
{
    return to().MwKSBSendMessage(handle, type, slot, data, length, timeout);
}

uint32_t MwKSBReceiveMessage(MW_HANDLE* handle, uint8_t* type, uint32_t slot, void* data, uint32_t size,
                             uint32_t* received, uint32_t timeout)
{
    return to().MwKSBReceiveMessage(handle, type, slot, data, size, received, timeout);
}

uint32_t MwKSBSendMessageEx(MW_HANDLE* handle, uint32_t type, uint32_t board, uint32_t slot, const void* data,
                            uint32_t length, uint32_t timeout)
{
    return to().MwKSBSendMessageEx(handle, type, board, slot, data, length, timeout);
}

uint32_t MwKSBReceiveMessageEx(MW_HANDLE* handle, uint8_t* type, uint32_t board, uint32_t slot, void* data,
                               uint32_t size, uint32_t* received, uint32_t timeout)
{
    return to().MwKSBReceiveMessageEx(handle, type, board, slot, data, size, received, timeout);
}

uint32_t MwKSBStartSendMessageEx(MW_HANDLE* handle, uint32_t board, uint32_t slot, uint32_t timeout)
{
    return to().MwKSBStartSendMessageEx(handle, board, slot, timeout);
}

uint32_t MwKSBSendMessageDataEx(MW_HANDLE* handle, const void* data, uint32_t length, uint32_t timeout)
{
    return to().MwKSBSendMessageDataEx(handle, data, length, timeout);
}

uint32_t MwKSBEndOfSendMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return to().MwKSBEndOfSendMessageEx(handle, timeout);
}

uint32_t MwKSBStartReceiveMessageEx(MW_HANDLE* handle, uint32_t* type, uint32_t timeout)
{
    return to().MwKSBStartReceiveMessageEx(handle, type, timeout);
}

uint32_t MwKSBReceiveMessageDataEx(MW_HANDLE* handle, void* data, uint32_t size, uint32_t* received,
                                   uint32_t timeout)
{
    return to().MwKSBReceiveMessageDataEx(handle, data, size, received, timeout);
}

uint32_t MwKSBEndOfReceiveMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return to().MwKSBEndOfReceiveMessageEx(handle, timeout);
}
