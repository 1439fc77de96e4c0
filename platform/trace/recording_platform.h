// SPDX-License-Identifier: Apache-2.0
// A platform that wraps another: passes on every call and records it.
#ifndef MWTRACE_RECORDING_PLATFORM_H
#define MWTRACE_RECORDING_PLATFORM_H

#include "recorder.h"
#include "uniform_platform.h"

namespace mwtrace
{

/// A call that is being recorded. No failure of the recording reaches the call.
class RecordedCall
{
public:
    /// Notes the arguments and the time. Construct it just before the call.
    RecordedCall(Recorder& recorder, mwapi::Function function, mwapi::Values values) noexcept;
    /// Writes the record. Call it just after the call.
    void end(std::uint32_t result) noexcept;

private:
    [[nodiscard]] Json written_by(std::uint32_t result) const;

    Recorder& recorder_;
    mwapi::Function function_;
    mwapi::Values values_;
    const MW_HANDLE* closing_;
    Json in_;
    Time begin_ = 0;
};

class RecordingPlatform final : public mwapi::UniformPlatform<RecordingPlatform>
{
public:
    /// Both must outlive this.
    RecordingPlatform(mwapi::Platform& recorded, Recorder& recorder)
        : recorded_{recorded}, recorder_{recorder}
    {
    }

    template <mwapi::Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        const auto values = mwapi::values(arguments...);
        RecordedCall call{recorder_, function, values};
        const std::uint32_t result = (recorded_.*mwapi::CALL<function>.operation)(arguments...);
        call.end(result);
        return result;
    }
    std::uint32_t send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                            std::uint32_t timeout) override;
    [[nodiscard]] std::string_view announcement() const override { return recorded_.announcement(); }
    [[nodiscard]] std::string_view version() const override { return recorded_.version(); }

private:
    mwapi::Platform& recorded_;
    Recorder& recorder_;
};

} // namespace mwtrace

#endif
