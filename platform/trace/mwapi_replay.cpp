// libmwreplay: the sixteen platform functions, answered from the recording that MWREPLAY_FILE names.
#pragma GCC visibility push(default)
#include "mwapi.h"
#pragma GCC visibility pop

#include "functions.h"
#include "replay.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace mwtrace
{
namespace
{

Replay& replay();

/// Tells at the end of the process when the run has left out calls of the recording.
class TellRest
{
public:
    ~TellRest()
    {
        const std::string rest = replay().rest();
        if (!rest.empty())
            (void)std::fprintf(stderr, "mwreplay: %s\n", rest.c_str());
    }
};

Replay* make_replay()
{
    static const TellRest at_exit;
    const char* path = std::getenv("MWREPLAY_FILE");                       // NOLINT(concurrency-mt-unsafe)
    return new Replay{path == nullptr ? "MWREPLAY_FILE (not set)" : path}; // lives as long as the process
}

Replay& replay()
{
    static Replay* const made = make_replay();
    return *made;
}

Json text_or_null(const char* text)
{
    return text == nullptr ? Json{} : text_to_json(text);
}

Json sent_data(const void* data, std::uint32_t length)
{
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    return bytes == nullptr ? Json{} : bytes_to_json({bytes, length});
}

const Json* output(const Record& record, const char* name)
{
    if (!record.got.is_object())
        return nullptr;
    const auto found = record.got.find(name);
    return found == record.got.end() ? nullptr : &*found;
}

/// Writes a recorded number to where the caller wants it, if anywhere.
template <class Number>
void give(const Record& record, const char* name, Number* to)
{
    if (const Json* value = output(record, name); value != nullptr && to != nullptr)
        *to = static_cast<Number>(*number_from_json(*value));
}

void give_text(const Record& record, const char* name, char* to, std::size_t size)
{
    const Json* value = output(record, name);
    if (value == nullptr || to == nullptr)
        return;
    to[text_from_json(*value)->copy(to, size - 1)] = '\0';
}

void give_data(const Record& record, void* to, std::uint32_t size)
{
    const Json* value = output(record, "data");
    if (value == nullptr || to == nullptr)
        return;
    const Bytes bytes = *bytes_from_json(*value);
    std::copy_n(bytes.begin(), std::min<std::size_t>(bytes.size(), size), static_cast<std::uint8_t*>(to));
}

/// Answers a call.
/// @param give writes what the recorded call wrote
template <class Give>
std::uint32_t answer(std::string_view function, const Json& in, Give give)
{
    const auto record = replay().answer(function, in);
    if (!record)
        return replay().status();
    give(*record);
    return record->result;
}

constexpr auto nothing = [](const Record&) {};

Json on_handle(const MW_HANDLE* handle, std::uint32_t timeout)
{
    return {{"handle", replay().number_of(handle)}, {"timeout", timeout}};
}

} // namespace
} // namespace mwtrace

using namespace mwtrace; // NOLINT(google-build-using-namespace): the functions below belong to it

extern "C" {

uint32_t MwOpenS(const char* board_type, uint16_t board_number, const char* device, MW_HANDLE** handle,
                 uint32_t* /*reserved*/)
{
    const Json in = {
        {"board_type", text_or_null(board_type)}, {"board", board_number}, {"device", text_or_null(device)}};
    return answer("MwOpenS", in, [&](const Record& record) {
        if (const Json* number = output(record, "handle"); number != nullptr && handle != nullptr)
            *handle = replay().open(*number_from_json(*number));
    });
}

uint32_t MwClose(MW_HANDLE** handle)
{
    const MW_HANDLE* closing = handle == nullptr ? nullptr : *handle;
    return answer("MwClose", {{"handle", replay().number_of(closing)}}, [&](const Record& record) {
        if (record.result == 0)
            replay().close(closing);
        if (output(record, "handle") != nullptr && handle != nullptr)
            *handle = nullptr;
    });
}

uint32_t MwErr2Text(uint32_t code, char* text)
{
    if (replay().status() == 0) {
        const std::uint32_t result = answer("MwErr2Text", {{"code", code}}, [&](const Record& record) {
            give_text(record, "text", text, ERROR_TEXT_SIZE);
        });
        if (replay().status() == 0)
            return result;
    }
    copy_error_text(replay().words(), text);
    return 0;
}

uint32_t MwGetBoardInfo(const char* board_type, uint16_t board_number, uint32_t* record)
{
    const Json in = {{"board_type", text_or_null(board_type)}, {"board", board_number}};
    return answer("MwGetBoardInfo", in, [&](const Record& recorded) {
        const Json* words = output(recorded, "record");
        for (std::size_t i = 0; words != nullptr && record != nullptr && i < words->size(); ++i)
            record[i] = *number_from_json((*words)[i]);
    });
}

uint32_t MwGetDeviceInfo(MW_HANDLE* handle, char* board_type, uint16_t* board_number, uint32_t* kind)
{
    return answer("MwGetDeviceInfo", {{"handle", replay().number_of(handle)}}, [&](const Record& record) {
        give_text(record, "board_type", board_type, BOARD_TYPE_SIZE);
        give(record, "board", board_number);
        give(record, "kind", kind);
    });
}

uint32_t MwInitIoStatus(MW_HANDLE* handle, uint32_t* io_status)
{
    return answer("MwInitIoStatus", {{"handle", replay().number_of(handle)}},
                  [&](const Record& record) { give(record, "io_status", io_status); });
}

uint32_t MwKSBSendMessage(MW_HANDLE* handle, uint32_t type, uint32_t slot, const void* data, uint32_t length,
                          uint32_t timeout)
{
    Json in = on_handle(handle, timeout);
    in.update({{"type", type}, {"slot", slot}, {"data", sent_data(data, length)}, {"length", length}});
    return answer("MwKSBSendMessage", in, nothing);
}

uint32_t MwKSBReceiveMessage(MW_HANDLE* handle, uint8_t* type, uint32_t slot, void* data, uint32_t size,
                             uint32_t* received, uint32_t timeout)
{
    Json in = on_handle(handle, timeout);
    in.update({{"slot", slot}, {"size", size}});
    return answer("MwKSBReceiveMessage", in, [&](const Record& record) {
        give(record, "type", type);
        give(record, "received", received);
        give_data(record, data, size);
    });
}

uint32_t MwKSBSendMessageEx(MW_HANDLE* handle, uint32_t type, uint32_t board, uint32_t slot, const void* data,
                            uint32_t length, uint32_t timeout)
{
    Json in = on_handle(handle, timeout);
    in.update({{"type", type},
               {"board", board},
               {"slot", slot},
               {"data", sent_data(data, length)},
               {"length", length}});
    return answer("MwKSBSendMessageEx", in, nothing);
}

uint32_t MwKSBReceiveMessageEx(MW_HANDLE* handle, uint8_t* type, uint32_t board, uint32_t slot, void* data,
                               uint32_t size, uint32_t* received, uint32_t timeout)
{
    Json in = on_handle(handle, timeout);
    in.update({{"board", board}, {"slot", slot}, {"size", size}});
    return answer("MwKSBReceiveMessageEx", in, [&](const Record& record) {
        give(record, "type", type);
        give(record, "received", received);
        give_data(record, data, size);
    });
}

uint32_t MwKSBStartSendMessageEx(MW_HANDLE* handle, uint32_t board, uint32_t slot, uint32_t timeout)
{
    Json in = on_handle(handle, timeout);
    in.update({{"board", board}, {"slot", slot}});
    return answer("MwKSBStartSendMessageEx", in, nothing);
}

uint32_t MwKSBSendMessageDataEx(MW_HANDLE* handle, const void* data, uint32_t length, uint32_t timeout)
{
    return replay().answer_data(handle, data, length, timeout);
}

uint32_t MwKSBEndOfSendMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return answer("MwKSBEndOfSendMessageEx", on_handle(handle, timeout), nothing);
}

uint32_t MwKSBStartReceiveMessageEx(MW_HANDLE* handle, uint32_t* type, uint32_t timeout)
{
    return answer("MwKSBStartReceiveMessageEx", on_handle(handle, timeout),
                  [&](const Record& record) { give(record, "type", type); });
}

uint32_t MwKSBReceiveMessageDataEx(MW_HANDLE* handle, void* data, uint32_t size, uint32_t* received,
                                   uint32_t timeout)
{
    Json in = on_handle(handle, timeout);
    in["size"] = size;
    return answer("MwKSBReceiveMessageDataEx", in, [&](const Record& record) {
        give(record, "received", received);
        give_data(record, data, size);
    });
}

uint32_t MwKSBEndOfReceiveMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return answer("MwKSBEndOfReceiveMessageEx", on_handle(handle, timeout), nothing);
}

} // extern "C"
