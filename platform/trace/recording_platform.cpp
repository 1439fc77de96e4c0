// SPDX-License-Identifier: Apache-2.0
// A platform that wraps another: passes on every call and records it.
#include "recording_platform.h"

#include "call_json.h"

namespace mwtrace
{

RecordedCall::RecordedCall(Recorder& recorder, mwapi::Function function, mwapi::Values values) noexcept
    : recorder_{recorder},
      function_{function},
      values_{values},
      closing_{closed_handle(mwapi::describe(function), values)}
{
    recorder_.attempt([&] {
        in_ = given(mwapi::describe(function), values,
                    [&](const MW_HANDLE* handle) { return recorder.number_of(handle); });
    });
    begin_ = recorder.now();
}

void RecordedCall::end(std::uint32_t result) noexcept
{
    const Time end = recorder_.now();
    recorder_.attempt([&] {
        recorder_.add(mwapi::describe(function_).name, {begin_, end}, in_, result, written_by(result));
    });
}

Json RecordedCall::written_by(std::uint32_t result) const
{
    if (function_ == mwapi::Function::MwClose) {
        if (result == 0)
            recorder_.closed(closing_);
        const bool cleared = closing_ != nullptr && *values_.front().pointer<MW_HANDLE*>() == nullptr;
        return cleared ? Json{{"handle", 0}} : Json{};
    }
    // Callers read an error text whatever the result.
    if (result != 0 && function_ != mwapi::Function::MwErr2Text)
        return {};
    return written(mwapi::describe(function_), values_,
                   [&](const MW_HANDLE* handle) { return recorder_.opened(handle); });
}

// A large load makes half a million of these calls, so they reach the recorder without a detour through JSON.
std::uint32_t RecordingPlatform::send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                                           std::uint32_t timeout)
{
    const Time begin = recorder_.now();
    const std::uint32_t result = recorded_.send_data(handle, data, length, timeout);
    recorder_.attempt([&] {
        recorder_.add_data({recorder_.number_of(handle), data, length, timeout}, {begin, recorder_.now()},
                           result);
    });
    return result;
}

} // namespace mwtrace
