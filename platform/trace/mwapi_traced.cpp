// The sixteen platform functions, handed on to where the library leads and recorded on the way.
#pragma GCC visibility push(default)
#include "mwapi.h"
#pragma GCC visibility pop

#include "front.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace mwtrace
{
namespace
{

/// What every function answers when there is nothing to hand the call on to.
constexpr std::uint32_t NO_PROVIDER = 0xE2000001;

/// Makes a call and records it.
/// @param call makes it and returns its result
/// @param in gives its arguments; asked before the call, which may change what they lead to
/// @param got gives what it wrote, or null; asked with its result
template <class Call, class In, class Got>
std::uint32_t forward(std::string_view function, Call call, In in, Got got)
{
    Front& leads = front();
    if (!leads.problem.empty())
        return NO_PROVIDER;
    if (leads.recorder == nullptr)
        return call(leads.functions);
    Recorder& recorder = *leads.recorder;
    Json arguments;
    try {
        arguments = in(recorder);
    } catch (const std::exception& error) {
        recorder.give_up(error.what());
    }
    const Time begin = recorder.now();
    const std::uint32_t result = call(leads.functions);
    const Time end = recorder.now();
    try {
        recorder.add(function, {begin, end}, arguments, result, got(recorder, result));
    } catch (const std::exception& error) {
        recorder.give_up(error.what());
    }
    return result;
}

constexpr auto nothing = [](Recorder&, std::uint32_t) { return Json{}; };

Json text_or_null(const char* text)
{
    return text == nullptr ? Json{} : text_to_json(text);
}

/// The text in a buffer that need not hold a zero byte.
Json text_in(const char* buffer, std::size_t size)
{
    return text_to_json({buffer, strnlen(buffer, size)});
}

Json sent_data(const void* data, std::uint32_t length)
{
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    return bytes == nullptr ? Json{} : bytes_to_json({bytes, length});
}

/// What a receiving call wrote. A platform that claims more than the buffer holds is not believed.
template <class Type>
Json received_data(const Type* type, const void* data, std::uint32_t size, const std::uint32_t* received)
{
    Json got = Json::object();
    if (type != nullptr)
        got["type"] = *type;
    if (received != nullptr)
        got["received"] = *received;
    if (data != nullptr && received != nullptr)
        got["data"] = sent_data(data, std::min(size, *received));
    return got;
}

} // namespace
} // namespace mwtrace

using namespace mwtrace; // NOLINT(google-build-using-namespace): the functions below belong to it

extern "C" {

uint32_t MwOpenS(const char* board_type, uint16_t board_number, const char* device, MW_HANDLE** handle,
                 uint32_t* reserved)
{
    return forward(
        "MwOpenS",
        [&](const Functions& to) { return to.MwOpenS(board_type, board_number, device, handle, reserved); },
        [&](Recorder&) -> Json {
            return {{"board_type", text_or_null(board_type)},
                    {"board", board_number},
                    {"device", text_or_null(device)}};
        },
        [&](Recorder& recorder, std::uint32_t result) -> Json {
            if (result != 0 || handle == nullptr)
                return {};
            return {{"handle", recorder.opened(*handle)}};
        });
}

uint32_t MwClose(MW_HANDLE** handle)
{
    const MW_HANDLE* closing = handle == nullptr ? nullptr : *handle;
    return forward(
        "MwClose", [&](const Functions& to) { return to.MwClose(handle); },
        [&](Recorder& recorder) -> Json {
            return {{"handle", recorder.number_of(closing)}};
        },
        [&](Recorder& recorder, std::uint32_t result) -> Json {
            if (result == 0)
                recorder.closed(closing);
            const bool cleared = closing != nullptr && *handle == nullptr;
            return cleared ? Json{{"handle", 0}} : Json{};
        });
}

uint32_t MwErr2Text(uint32_t code, char* text)
{
    if (!front().problem.empty()) {
        copy_error_text(front().problem, text);
        return 0;
    }
    return forward(
        "MwErr2Text", [&](const Functions& to) { return to.MwErr2Text(code, text); },
        [&](Recorder&) -> Json {
            return {{"code", code}};
        },
        // Its result is ignored by callers, who take what stands in the buffer.
        [&](Recorder&, std::uint32_t) -> Json {
            return text == nullptr ? Json{} : Json{{"text", text_in(text, ERROR_TEXT_SIZE)}};
        });
}

uint32_t MwGetBoardInfo(const char* board_type, uint16_t board_number, uint32_t* record)
{
    return forward(
        "MwGetBoardInfo",
        [&](const Functions& to) { return to.MwGetBoardInfo(board_type, board_number, record); },
        [&](Recorder&) -> Json {
            return {{"board_type", text_or_null(board_type)}, {"board", board_number}};
        },
        [&](Recorder&, std::uint32_t result) -> Json {
            if (result != 0 || record == nullptr)
                return {};
            return {{"record", std::vector<std::uint32_t>(record, record + BOARD_INFO_WORDS)}};
        });
}

uint32_t MwGetDeviceInfo(MW_HANDLE* handle, char* board_type, uint16_t* board_number, uint32_t* kind)
{
    return forward(
        "MwGetDeviceInfo",
        [&](const Functions& to) { return to.MwGetDeviceInfo(handle, board_type, board_number, kind); },
        [&](Recorder& recorder) -> Json {
            return {{"handle", recorder.number_of(handle)}};
        },
        [&](Recorder&, std::uint32_t result) -> Json {
            if (result != 0)
                return {};
            Json got = Json::object();
            if (board_type != nullptr)
                got["board_type"] = text_in(board_type, BOARD_TYPE_SIZE);
            if (board_number != nullptr)
                got["board"] = *board_number;
            if (kind != nullptr)
                got["kind"] = *kind;
            return got;
        });
}

uint32_t MwInitIoStatus(MW_HANDLE* handle, uint32_t* io_status)
{
    return forward(
        "MwInitIoStatus", [&](const Functions& to) { return to.MwInitIoStatus(handle, io_status); },
        [&](Recorder& recorder) -> Json {
            return {{"handle", recorder.number_of(handle)}};
        },
        [&](Recorder&, std::uint32_t result) -> Json {
            return result != 0 || io_status == nullptr ? Json{} : Json{{"io_status", *io_status}};
        });
}

uint32_t MwKSBSendMessage(MW_HANDLE* handle, uint32_t type, uint32_t slot, const void* data, uint32_t length,
                          uint32_t timeout)
{
    return forward(
        "MwKSBSendMessage",
        [&](const Functions& to) { return to.MwKSBSendMessage(handle, type, slot, data, length, timeout); },
        [&](Recorder& recorder) -> Json {
            return {{"handle", recorder.number_of(handle)}, {"type", type},     {"slot", slot},
                    {"data", sent_data(data, length)},      {"length", length}, {"timeout", timeout}};
        },
        nothing);
}

uint32_t MwKSBReceiveMessage(MW_HANDLE* handle, uint8_t* type, uint32_t slot, void* data, uint32_t size,
                             uint32_t* received, uint32_t timeout)
{
    return forward(
        "MwKSBReceiveMessage",
        [&](const Functions& to) {
            return to.MwKSBReceiveMessage(handle, type, slot, data, size, received, timeout);
        },
        [&](Recorder& recorder) -> Json {
            return {
                {"handle", recorder.number_of(handle)}, {"slot", slot}, {"size", size}, {"timeout", timeout}};
        },
        [&](Recorder&, std::uint32_t result) -> Json {
            return result != 0 ? Json{} : received_data(type, data, size, received);
        });
}

uint32_t MwKSBSendMessageEx(MW_HANDLE* handle, uint32_t type, uint32_t board, uint32_t slot, const void* data,
                            uint32_t length, uint32_t timeout)
{
    return forward(
        "MwKSBSendMessageEx",
        [&](const Functions& to) {
            return to.MwKSBSendMessageEx(handle, type, board, slot, data, length, timeout);
        },
        [&](Recorder& recorder) -> Json {
            return {{"handle", recorder.number_of(handle)},
                    {"type", type},
                    {"board", board},
                    {"slot", slot},
                    {"data", sent_data(data, length)},
                    {"length", length},
                    {"timeout", timeout}};
        },
        nothing);
}

uint32_t MwKSBReceiveMessageEx(MW_HANDLE* handle, uint8_t* type, uint32_t board, uint32_t slot, void* data,
                               uint32_t size, uint32_t* received, uint32_t timeout)
{
    return forward(
        "MwKSBReceiveMessageEx",
        [&](const Functions& to) {
            return to.MwKSBReceiveMessageEx(handle, type, board, slot, data, size, received, timeout);
        },
        [&](Recorder& recorder) -> Json {
            return {{"handle", recorder.number_of(handle)},
                    {"board", board},
                    {"slot", slot},
                    {"size", size},
                    {"timeout", timeout}};
        },
        [&](Recorder&, std::uint32_t result) -> Json {
            return result != 0 ? Json{} : received_data(type, data, size, received);
        });
}

uint32_t MwKSBStartSendMessageEx(MW_HANDLE* handle, uint32_t board, uint32_t slot, uint32_t timeout)
{
    return forward(
        "MwKSBStartSendMessageEx",
        [&](const Functions& to) { return to.MwKSBStartSendMessageEx(handle, board, slot, timeout); },
        [&](Recorder& recorder) -> Json {
            return {{"handle", recorder.number_of(handle)},
                    {"board", board},
                    {"slot", slot},
                    {"timeout", timeout}};
        },
        nothing);
}

// Half a million of these make one large load, so they go to the recorder without a detour over JSON.
uint32_t MwKSBSendMessageDataEx(MW_HANDLE* handle, const void* data, uint32_t length, uint32_t timeout)
{
    Front& leads = front();
    if (!leads.problem.empty())
        return NO_PROVIDER;
    if (leads.recorder == nullptr)
        return leads.functions.MwKSBSendMessageDataEx(handle, data, length, timeout);
    Recorder& recorder = *leads.recorder;
    const Time begin = recorder.now();
    const std::uint32_t result = leads.functions.MwKSBSendMessageDataEx(handle, data, length, timeout);
    try {
        recorder.add_data({recorder.number_of(handle), data, length, timeout}, {begin, recorder.now()},
                          result);
    } catch (const std::exception& error) {
        recorder.give_up(error.what());
    }
    return result;
}

uint32_t MwKSBEndOfSendMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return forward(
        "MwKSBEndOfSendMessageEx",
        [&](const Functions& to) { return to.MwKSBEndOfSendMessageEx(handle, timeout); },
        [&](Recorder& recorder) -> Json {
            return {{"handle", recorder.number_of(handle)}, {"timeout", timeout}};
        },
        nothing);
}

uint32_t MwKSBStartReceiveMessageEx(MW_HANDLE* handle, uint32_t* type, uint32_t timeout)
{
    return forward(
        "MwKSBStartReceiveMessageEx",
        [&](const Functions& to) { return to.MwKSBStartReceiveMessageEx(handle, type, timeout); },
        [&](Recorder& recorder) -> Json {
            return {{"handle", recorder.number_of(handle)}, {"timeout", timeout}};
        },
        [&](Recorder&, std::uint32_t result) -> Json {
            return result != 0 || type == nullptr ? Json{} : Json{{"type", *type}};
        });
}

uint32_t MwKSBReceiveMessageDataEx(MW_HANDLE* handle, void* data, uint32_t size, uint32_t* received,
                                   uint32_t timeout)
{
    return forward(
        "MwKSBReceiveMessageDataEx",
        [&](const Functions& to) {
            return to.MwKSBReceiveMessageDataEx(handle, data, size, received, timeout);
        },
        [&](Recorder& recorder) -> Json {
            return {{"handle", recorder.number_of(handle)}, {"size", size}, {"timeout", timeout}};
        },
        [&](Recorder&, std::uint32_t result) -> Json {
            return result != 0 ? Json{} : received_data<std::uint8_t>(nullptr, data, size, received);
        });
}

uint32_t MwKSBEndOfReceiveMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return forward(
        "MwKSBEndOfReceiveMessageEx",
        [&](const Functions& to) { return to.MwKSBEndOfReceiveMessageEx(handle, timeout); },
        [&](Recorder& recorder) -> Json {
            return {{"handle", recorder.number_of(handle)}, {"timeout", timeout}};
        },
        nothing);
}

} // extern "C"
