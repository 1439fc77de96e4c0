// SPDX-License-Identifier: Apache-2.0
// A platform whose calls are watched, so that its program knows at any time how far a load is.
#include "watched_platform.h"

namespace mwapi
{
namespace
{

// C functions have no object: what they watch is in one place of the process.
const Functions* behind = nullptr;
LoadWatch* noted = nullptr;

std::uint32_t watch_open(const char* board_type, std::uint16_t board_number, const char* device,
                         MW_HANDLE** handle, std::uint32_t* reserved)
{
    const std::uint32_t result = behind->MwOpenS(board_type, board_number, device, handle, reserved);
    noted->note_open(result);
    return result;
}

std::uint32_t watch_start_send(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                               std::uint32_t timeout)
{
    const std::uint32_t result = behind->MwKSBStartSendMessageEx(handle, board, slot, timeout);
    noted->note_start(result, board, slot);
    return result;
}

std::uint32_t watch_end_send(MW_HANDLE* handle, std::uint32_t timeout)
{
    noted->note_end();
    return behind->MwKSBEndOfSendMessageEx(handle, timeout);
}

std::uint32_t watch_receive_data(MW_HANDLE* handle, void* data, std::uint32_t size, std::uint32_t* received,
                                 std::uint32_t timeout)
{
    const std::uint32_t result = behind->MwKSBReceiveMessageDataEx(handle, data, size, received, timeout);
    noted->note_reply(data, size);
    return result;
}

std::uint32_t watch_end_receive(MW_HANDLE* handle, std::uint32_t timeout)
{
    const std::uint32_t result = behind->MwKSBEndOfReceiveMessageEx(handle, timeout);
    noted->note_end_of_reply(result);
    return result;
}

} // namespace

WatchedPlatform::WatchedPlatform(std::unique_ptr<Platform> watched, LoadWatch& watch)
    : watched_{std::move(watched)}, functions_{*watched_->functions()}
{
    behind = watched_->functions();
    noted = &watch;
    functions_.MwOpenS = &watch_open;
    functions_.MwKSBStartSendMessageEx = &watch_start_send;
    functions_.MwKSBEndOfSendMessageEx = &watch_end_send;
    functions_.MwKSBReceiveMessageDataEx = &watch_receive_data;
    functions_.MwKSBEndOfReceiveMessageEx = &watch_end_receive;
}

} // namespace mwapi
