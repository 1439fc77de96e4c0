// SPDX-License-Identifier: Apache-2.0
// The functions of the program that uses the library, on systems whose linker leaves none undefined: looked
// up by name at the first call, in the program and then in the board maker's library.
//
// Choice: no import library names them (docs/decisions/0056-functions-of-a-host-on-windows.md).
#include "mwapi_forward.h"
#include "system/dynamic_library.h"
#include "uniform_platform.h"

#include <string>

namespace mwapi
{
namespace
{

using kvn::system::Library;

/// What a function returns that is in neither.
constexpr std::uint32_t NO_FUNCTION = 0xE3000004;

std::string makers_file()
{
    return kvn::system::library_file("mwapi");
}

/// The function that the last call of this thread has missed.
thread_local const char* missed = "";

struct Missing {
    template <Function function, class... Parameters>
    static std::uint32_t answer(Parameters... /*arguments*/)
    {
        missed = CALL<function>.name;
        return NO_FUNCTION;
    }
};

/// The words for the codes of those functions that there are; null if there are none.
decltype(&::MwErr2Text) host_text = nullptr;

std::uint32_t error_text(std::uint32_t code, char* text)
{
    if (code != NO_FUNCTION && host_text != nullptr)
        return host_text(code, text);
    const std::string name = code == NO_FUNCTION ? missed : "MwErr2Text";
    write_error_text("neither the program nor " + makers_file() + " has the function " + name, text);
    return 0;
}

class HostPlatform final : public UniformPlatform<HostPlatform>
{
public:
    HostPlatform()
    {
        std::apply([&](const auto&... calls) { (find(functions_.*calls.function, calls.name), ...); }, CALLS);
        const auto text = std::exchange(functions_.MwErr2Text, &mwapi::error_text);
        host_text = text == functions_by<Missing>().MwErr2Text ? nullptr : text;
    }

    template <Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        return (functions_.*CALL<function>.function)(arguments...);
    }
    [[nodiscard]] const Functions* functions() const override { return &functions_; }

private:
    template <class Pointer>
    void find(Pointer& function, const char* name)
    {
        void* found = kvn::system::find_function(kvn::system::program_itself(), name);
        if (found == nullptr)
            found = in_makers_library(name);
        if (found != nullptr)
            function = reinterpret_cast<Pointer>(found);
    }

    /// The library is loaded only for a program that lacks a function.
    void* in_makers_library(const char* name)
    {
        if (!is_looked_for_) {
            is_looked_for_ = true;
            try {
                makers_ = kvn::system::load_library(makers_file());
            } catch (const kvn::system::LibraryError&) {
                // A call of the function reports that it is missing.
            }
        }
        return makers_ == nullptr ? nullptr : kvn::system::find_function(makers_, name);
    }

    Functions functions_ = functions_by<Missing>();
    Library* makers_ = nullptr;
    bool is_looked_for_ = false;
};

} // namespace

Platform& program_platform()
{
    // It lives as long as the process, to whose end the functions may be called.
    static auto* const platform = new HostPlatform;
    return *platform;
}

} // namespace mwapi
