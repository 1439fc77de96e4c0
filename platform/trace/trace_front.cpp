// libmwtrace: what MWTRACE_PROVIDER names, recorded to the file that MWTRACE_FILE names.
#include "front.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>

namespace mwtrace
{
namespace
{

std::string variable(const char* name)
{
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value == nullptr ? "" : value;
}

/// Whether a function is of this library. Its name alone does not tell: the host may have one of that name,
/// which then stands for ours as well.
template <class Function>
bool is_our_own(Function function)
{
    Dl_info given{};
    Dl_info ours{};
    const auto* own = reinterpret_cast<const void*>(&variable);
    return dladdr(reinterpret_cast<const void*>(function), &given) != 0 && dladdr(own, &ours) != 0 &&
           given.dli_fbase == ours.dli_fbase;
}

/// The virtual carriers beside this library, else wherever the system finds them. The search path that the
/// library was linked with does not serve a program under a sanitizer, which stands between it and dlopen.
std::string virtual_carriers()
{
    std::string name = "libmwvirtual.so";
    Dl_info ours{};
    if (dladdr(reinterpret_cast<const void*>(&variable), &ours) == 0 || ours.dli_fname == nullptr)
        return name;
    const std::filesystem::path beside = std::filesystem::path{ours.dli_fname}.replace_filename(name);
    std::error_code unreadable;
    return std::filesystem::exists(beside, unreadable) ? beside.string() : name;
}

Front* make_front()
{
    auto made = std::make_unique<Front>();
    const std::string wish = variable("MWTRACE_PROVIDER");
    const std::string provider = wish.empty() ? "libmwapi.so" : wish == "virtual" ? virtual_carriers() : wish;
    const std::string problem = load_functions(provider, made->functions);
    if (!problem.empty())
        made->problem =
            "set MWTRACE_PROVIDER to the library with the Mw... functions, or to virtual: " + problem;
    else if (is_our_own(made->functions.MwOpenS))
        made->problem = "MWTRACE_PROVIDER names the recorder itself";
    if (!made->problem.empty())
        return made.release();
    made->recorder =
        recorder_from_environment("MWTRACE_FILE", wish == "virtual" ? "libmwvirtual.so" : provider);
    if (made->recorder == nullptr)
        (void)std::fputs("mwtrace: MWTRACE_FILE is not set; the run goes on unrecorded\n", stderr);
    return made.release();
}

} // namespace

Front& front()
{
    static Front* const made = make_front();
    return *made;
}

} // namespace mwtrace
