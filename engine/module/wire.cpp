// SPDX-License-Identifier: Apache-2.0
// What passes between the library and the provider during one list or load.
#include "module/wire.h"

#include <algorithm>
#include <limits>

namespace kvn
{
namespace
{

constexpr std::uint64_t NEVER = std::numeric_limits<std::uint64_t>::max();

/// The provider's own function, if it has one.
decltype(&::MwKSBSendMessageDataEx) sender_of(const mwapi::Platform& provider)
{
    const mwapi::Functions* functions = provider.functions();
    return functions != nullptr ? functions->MwKSBSendMessageDataEx : nullptr;
}

} // namespace

Wire::Wire(mwapi::Platform& behind, LoadControl& control)
    : behind_{behind}, direct_{sender_of(behind)}, control_{control}
{
    control_.bytes_ = 0;
    control_.total_ = 0;
    control_.begin_ = LoadControl::NEVER;
    control_.end_ = LoadControl::NEVER;
    if (!control_.on_progress && !control_.on_sent)
        next_ = NEVER;
}

std::uint32_t Wire::open(const char* board_type, std::uint16_t board_number, const char* device,
                         MW_HANDLE** handle, std::uint32_t* reserved)
{
    const std::uint32_t result = behind_.open(board_type, board_number, device, handle, reserved);
    watch_.note_open(result);
    return result;
}

std::uint32_t Wire::error_text(std::uint32_t code, char* text)
{
    if (code != CANCELLED || !was_cancelled_)
        return behind_.error_text(code, text);
    mwapi::write_error_text("the load was cancelled", text);
    return 0;
}

std::uint32_t Wire::board_info(const char* board_type, std::uint16_t board_number, std::uint32_t* record)
{
    info_.reset();
    const std::uint32_t result = behind_.board_info(board_type, board_number, record);
    if (result == 0)
        std::copy_n(record, mwapi::BOARD_INFO_WORDS, info_.emplace().begin());
    return result;
}

std::uint32_t Wire::receive_ex(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t board, std::uint32_t slot,
                               void* data, std::uint32_t size, std::uint32_t* received, std::uint32_t timeout)
{
    const std::uint32_t result = behind_.receive_ex(handle, type, board, slot, data, size, received, timeout);
    if (result == 0 && *type == KSB_MSG_MODULE_TYPE_REPLY && size >= RECORD_SIZE)
        std::copy_n(static_cast<const std::uint8_t*>(data), RECORD_SIZE, identification_.emplace().begin());
    return result;
}

std::uint32_t Wire::start_send(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                               std::uint32_t timeout)
{
    if (control_.must_not_begin())
        return cut_off();
    tell(LoadStep::begin);
    const std::uint32_t result = behind_.start_send(handle, board, slot, timeout);
    watch_.note_start(result, board, slot);
    if (result == 0)
        control_.begin_ = control_.clocks.steady().time_since_epoch().count();
    return result;
}

// Once for each eight bytes of a load: whoever wants to know more than the count is told rarely, out of the
// way.
std::uint32_t Wire::send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                              std::uint32_t timeout)
{
    if (control_.is_cancelled()) [[unlikely]]
        return cut_off();
    if (bytes() + length >= next_) [[unlikely]]
        return send_and_tell(handle, data, length, timeout);
    return pass_on(handle, data, length, timeout);
}

inline std::uint32_t Wire::pass_on(MW_HANDLE* handle, const void* data, std::uint32_t length,
                                   std::uint32_t timeout)
{
    const std::uint32_t result = direct_ != nullptr ? direct_(handle, data, length, timeout)
                                                    : behind_.send_data(handle, data, length, timeout);
    if (result != 0) [[unlikely]]
        return fail(result);
    ++data_calls_;
    control_.bytes_.store(bytes() + length, std::memory_order_relaxed);
    return 0;
}

[[gnu::noinline]] std::uint32_t Wire::send_and_tell(MW_HANDLE* handle, const void* data, std::uint32_t length,
                                                    std::uint32_t timeout)
{
    const std::uint32_t result = pass_on(handle, data, length, timeout);
    if (result == 0)
        tell(data, length);
    return result;
}

std::uint32_t Wire::end_send(MW_HANDLE* handle, std::uint32_t timeout)
{
    if (control_.on_progress && reported_ != bytes())
        report();
    if (control_.is_cancelled())
        return cut_off();
    tell(LoadStep::end);
    watch_.note_end();
    const std::uint32_t result = behind_.end_send(handle, timeout);
    note_end();
    return result;
}

std::uint32_t Wire::receive_data(MW_HANDLE* handle, void* data, std::uint32_t size, std::uint32_t* received,
                                 std::uint32_t timeout)
{
    const std::uint32_t result = behind_.receive_data(handle, data, size, received, timeout);
    // Whoever does not tell the length has at least a status.
    has_empty_answer_ =
        result == 0 && (size == 0 || (*received == 0 && *static_cast<std::uint8_t*>(data) == 0));
    if (!has_empty_answer_)
        watch_.note_reply(data, size);
    return result;
}

std::uint32_t Wire::end_receive(MW_HANDLE* handle, std::uint32_t timeout)
{
    const std::uint32_t result = behind_.end_receive(handle, timeout);
    if (!has_empty_answer_)
        watch_.note_end_of_reply(result);
    return result;
}

std::optional<double> Wire::seconds() const
{
    if (control_.end_ == LoadControl::NEVER)
        return std::nullopt;
    return control_.progress().seconds;
}

ModuleState Wire::state() const
{
    switch (phase()) {
    case mwapi::LoadPhase::sending:
        return ModuleState::interrupted;
    case mwapi::LoadPhase::sent:
        return ModuleState::unknown;
    case mwapi::LoadPhase::accepted:
        return ModuleState::configured;
    case mwapi::LoadPhase::refused:
        return ModuleState::refused;
    default:
        return ModuleState::untouched;
    }
}

std::optional<std::uint8_t> Wire::answer() const
{
    if (phase() != mwapi::LoadPhase::accepted && phase() != mwapi::LoadPhase::refused)
        return std::nullopt;
    return watch_.verdict;
}

void Wire::forget_slot()
{
    info_.reset();
    identification_.reset();
}

std::uint32_t Wire::fail(std::uint32_t result)
{
    note_end();
    return result;
}

std::uint32_t Wire::cut_off()
{
    was_cancelled_ = true;
    return fail(CANCELLED);
}

void Wire::note_end()
{
    if (control_.begin_ != LoadControl::NEVER)
        control_.end_ = control_.clocks.steady().time_since_epoch().count();
}

void Wire::tell(const void* data, std::uint32_t length)
{
    if (control_.on_sent)
        control_.on_sent({static_cast<const std::uint8_t*>(data), length});
    else
        next_ = bytes() + control_.progress_step;
    if (control_.on_progress && (!reported_ || bytes() >= *reported_ + control_.progress_step))
        report();
}

void Wire::tell(LoadStep step)
{
    if (control_.on_step)
        control_.on_step(step);
}

void Wire::report()
{
    reported_ = bytes();
    control_.on_progress(control_.progress());
}

} // namespace kvn
