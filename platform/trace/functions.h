// The sixteen platform functions of a provider, as pointers.
#ifndef MWTRACE_FUNCTIONS_H
#define MWTRACE_FUNCTIONS_H

#include "mwapi.h"

#include <array>
#include <string>
#include <string_view>

namespace mwtrace
{

struct Functions {
    decltype(&::MwOpenS) MwOpenS = nullptr;
    decltype(&::MwClose) MwClose = nullptr;
    decltype(&::MwErr2Text) MwErr2Text = nullptr;
    decltype(&::MwGetBoardInfo) MwGetBoardInfo = nullptr;
    decltype(&::MwGetDeviceInfo) MwGetDeviceInfo = nullptr;
    decltype(&::MwInitIoStatus) MwInitIoStatus = nullptr;
    decltype(&::MwKSBSendMessage) MwKSBSendMessage = nullptr;
    decltype(&::MwKSBReceiveMessage) MwKSBReceiveMessage = nullptr;
    decltype(&::MwKSBSendMessageEx) MwKSBSendMessageEx = nullptr;
    decltype(&::MwKSBReceiveMessageEx) MwKSBReceiveMessageEx = nullptr;
    decltype(&::MwKSBStartSendMessageEx) MwKSBStartSendMessageEx = nullptr;
    decltype(&::MwKSBSendMessageDataEx) MwKSBSendMessageDataEx = nullptr;
    decltype(&::MwKSBEndOfSendMessageEx) MwKSBEndOfSendMessageEx = nullptr;
    decltype(&::MwKSBStartReceiveMessageEx) MwKSBStartReceiveMessageEx = nullptr;
    decltype(&::MwKSBReceiveMessageDataEx) MwKSBReceiveMessageDataEx = nullptr;
    decltype(&::MwKSBEndOfReceiveMessageEx) MwKSBEndOfReceiveMessageEx = nullptr;
};

inline constexpr std::array<std::string_view, 16> FUNCTION_NAMES = {
    "MwOpenS",
    "MwClose",
    "MwErr2Text",
    "MwGetBoardInfo",
    "MwGetDeviceInfo",
    "MwInitIoStatus",
    "MwKSBSendMessage",
    "MwKSBReceiveMessage",
    "MwKSBSendMessageEx",
    "MwKSBReceiveMessageEx",
    "MwKSBStartSendMessageEx",
    "MwKSBSendMessageDataEx",
    "MwKSBEndOfSendMessageEx",
    "MwKSBStartReceiveMessageEx",
    "MwKSBReceiveMessageDataEx",
    "MwKSBEndOfReceiveMessageEx",
};

/// What a host may rely on in a board information record: a leading word and five for each of four slots.
inline constexpr std::size_t BOARD_INFO_WORDS = 21;
/// The sizes of the buffers that MwErr2Text and MwGetDeviceInfo write into.
inline constexpr std::size_t ERROR_TEXT_SIZE = 256;
inline constexpr std::size_t BOARD_TYPE_SIZE = 32;

/// Takes the functions from a library (path or soname), which stays loaded.
/// @return what is wrong; empty when all functions were found
[[nodiscard]] std::string load_functions(const std::string& library, Functions& functions);

/// Copies a text into a buffer of ERROR_TEXT_SIZE, cut to fit.
void copy_error_text(std::string_view text, char* buffer);

} // namespace mwtrace

#endif
