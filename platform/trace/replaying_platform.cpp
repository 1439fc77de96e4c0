// SPDX-License-Identifier: Apache-2.0
// A platform that answers from a recording.
#include "replaying_platform.h"

#include "call_json.h"

namespace mwtrace
{

std::uint32_t ReplayingPlatform::answer(mwapi::Function function, mwapi::Values values)
{
    const mwapi::Description& call = mwapi::describe(function);
    const Json in = given(call, values, [&](const MW_HANDLE* handle) { return replay_.number_of(handle); });
    const auto record = replay_.answer(call.name, in);
    if (!record)
        return replay_.status();
    if (record->result == 0 && function == mwapi::Function::MwClose)
        replay_.close(closed_handle(call, values));
    write(call, values, record->got, [&](unsigned number) { return replay_.open(number); });
    return record->result;
}

// If the recording cannot answer, the text gives the reason.
std::uint32_t ReplayingPlatform::error_text(std::uint32_t code, char* text)
{
    if (replay_.status() == 0) {
        const auto values = mwapi::values(code, text);
        const std::uint32_t result =
            replay_.attempt([&] { return answer(mwapi::Function::MwErr2Text, values); });
        if (replay_.status() == 0)
            return result;
    }
    replay_.write_words(text);
    return 0;
}

} // namespace mwtrace
