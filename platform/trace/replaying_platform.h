// SPDX-License-Identifier: Apache-2.0
// A platform that answers from a recording.
#ifndef MWTRACE_REPLAYING_PLATFORM_H
#define MWTRACE_REPLAYING_PLATFORM_H

#include "replay.h"
#include "uniform_platform.h"

namespace mwtrace
{

class ReplayingPlatform final : public mwapi::UniformPlatform<ReplayingPlatform>
{
public:
    /// A recording that cannot be used makes every call fail.
    explicit ReplayingPlatform(const std::string& path) : replay_{path} {}

    template <mwapi::Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        const auto values = mwapi::values(arguments...);
        return replay_.attempt([&] { return answer(function, values); });
    }
    std::uint32_t error_text(std::uint32_t code, char* text) override;
    std::uint32_t send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                            std::uint32_t timeout) override
    {
        return replay_.attempt([&] { return replay_.answer_data(handle, data, length, timeout); });
    }

    /// The calls left in the recording at the end of a run; empty if there are none, or after a departure.
    [[nodiscard]] std::string rest() { return replay_.rest(); }

private:
    std::uint32_t answer(mwapi::Function function, mwapi::Values values);

    Replay replay_;
};

} // namespace mwtrace

#endif
