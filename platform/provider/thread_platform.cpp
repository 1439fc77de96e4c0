// SPDX-License-Identifier: Apache-2.0
// The functions of the API lead each thread to a platform of its own.
#include "thread_platform.h"

#include "mwapi_forward.h"
#include "uniform_platform.h"

namespace mwapi
{
namespace
{

// Each call of a load's data looks here, so in programs it must cost no call of its own. A library that
// running programs open cannot have this model: they have little room for all its thread-local data.
#ifndef MWAPI_THREAD_MODEL
#define MWAPI_THREAD_MODEL "initial-exec"
#endif
[[gnu::tls_model(MWAPI_THREAD_MODEL)]] constinit thread_local Platform* used = nullptr;

class ThreadPlatform final : public UniformPlatform<ThreadPlatform>
{
public:
    template <Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        return used == nullptr ? NO_PLATFORM : (used->*CALL<function>.operation)(arguments...);
    }
    std::uint32_t error_text(std::uint32_t code, char* text) override
    {
        if (used != nullptr)
            return used->error_text(code, text);
        write_error_text("no provider of the Mw... functions is in use", text);
        return 0;
    }
};

} // namespace

UsePlatform::UsePlatform(Platform& platform) : before_{used}
{
    used = &platform;
}

UsePlatform::~UsePlatform()
{
    used = before_;
}

Platform& program_platform()
{
    // It lives as long as the process, to whose end the functions may be called.
    static auto* const platform = new ThreadPlatform;
    return *platform;
}

} // namespace mwapi
