// SPDX-License-Identifier: Apache-2.0
// A platform whose calls are watched, so that its program knows at any time how far a load is.
#ifndef MWAPI_WATCHED_PLATFORM_H
#define MWAPI_WATCHED_PLATFORM_H

#include "load_watch.h"
#include "uniform_platform.h"

#include <memory>

namespace mwapi
{

/// In front of another platform. Only the calls that begin and end a message or read a reply pass through it,
/// a handful for a load; all others, those with data among them, go directly to the watched functions. So a
/// call of data costs the same with and without it. For one bus at a time; there is one in a process.
class WatchedPlatform final : public UniformPlatform<WatchedPlatform>
{
public:
    /// @param watched has C functions of its own (Platform::functions())
    /// @param watch receives what is found; it must outlive this
    WatchedPlatform(std::unique_ptr<Platform> watched, LoadWatch& watch);

    template <Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        return (functions_.*CALL<function>.function)(arguments...);
    }
    [[nodiscard]] std::string_view announcement() const override { return watched_->announcement(); }
    [[nodiscard]] std::string_view version() const override { return watched_->version(); }
    [[nodiscard]] const Functions* functions() const override { return &functions_; }

private:
    std::unique_ptr<Platform> watched_;
    Functions functions_;
};

} // namespace mwapi

#endif
