// SPDX-License-Identifier: Apache-2.0
// A platform whose calls are watched, so that its program knows at any time how far a load is.
#include "watched_platform.h"

namespace mwapi
{
namespace
{

/// The status of a module that has started.
constexpr std::uint8_t CONFIGURED = 5;

// C functions have no object: what they watch is in one place of the process.
const Functions* behind = nullptr;
LoadWatch* noted = nullptr;
std::uint8_t verdict = 0;

std::uint32_t watch_open(const char* board_type, std::uint16_t board_number, const char* device,
                         MW_HANDLE** handle, std::uint32_t* reserved)
{
    const std::uint32_t result = behind->MwOpenS(board_type, board_number, device, handle, reserved);
    if (result == 0)
        noted->phase = LoadPhase::opened;
    return result;
}

std::uint32_t watch_start_send(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                               std::uint32_t timeout)
{
    const std::uint32_t result = behind->MwKSBStartSendMessageEx(handle, board, slot, timeout);
    if (result == 0) {
        noted->slot_address = (board & 15U) << 4U | (slot & 15U);
        noted->phase = LoadPhase::sending;
    }
    return result;
}

// Whether the module has all data is open as soon as the end is under way.
std::uint32_t watch_end_send(MW_HANDLE* handle, std::uint32_t timeout)
{
    noted->phase = LoadPhase::sent;
    return behind->MwKSBEndOfSendMessageEx(handle, timeout);
}

std::uint32_t watch_receive_data(MW_HANDLE* handle, void* data, std::uint32_t size, std::uint32_t* received,
                                 std::uint32_t timeout)
{
    const std::uint32_t result = behind->MwKSBReceiveMessageDataEx(handle, data, size, received, timeout);
    if (size > 0)
        verdict = *static_cast<const std::uint8_t*>(data);
    return result;
}

// The library, too, obeys a verdict only when the reply has been ended.
std::uint32_t watch_end_receive(MW_HANDLE* handle, std::uint32_t timeout)
{
    const std::uint32_t result = behind->MwKSBEndOfReceiveMessageEx(handle, timeout);
    if (result != 0 || noted->phase != LoadPhase::sent)
        return result;
    if (verdict == CONFIGURED)
        ++noted->accepted;
    noted->phase = verdict == CONFIGURED ? LoadPhase::accepted : LoadPhase::refused;
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
