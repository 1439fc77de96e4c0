// Finds the provider of the platform functions: a library named by the user, the virtual carriers, or a
// recording.
#include "provider.h"

#include "kvn_fpga.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace
{
Provider without_provider(const std::string& problem)
{
    return {{}, problem};
}

/// Takes the functions from the library itself. Looking in the whole process would find our own forwarders.
Provider load_library(const char* name, const std::string& advice)
{
    void* library = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        return without_provider(advice + ": " + dlerror());
    Provider provider;
    for (std::size_t place = 0; place < function_names.size(); ++place) {
        provider.functions[place] = dlsym(library, function_names[place]);
        if (provider.functions[place] == nullptr)
            return without_provider(advice + ": " + name + " has no function " + function_names[place]);
    }
    return provider;
}

/// The virtual carriers, or a recording: one line says that no hardware answers.
Provider announced(Provider provider, const char* line)
{
    if (provider.problem.empty())
        (void)std::fputs(line, stderr);
    return provider;
}

/// A library of this project. It lies beside the one that this program runs on, in the build tree and when
/// installed. (A bare name would be searched for in this program's own run path, but not under a sanitizer,
/// which opens libraries on the program's behalf.)
Provider load_own_library(const char* name, const std::string& advice)
{
    int major = 0;
    int minor = 0;
    char* text = nullptr;
    kvn_fpga{}.kvn_fpga_version(&major, &minor, &text);
    Dl_info library{};
    const bool found = dladdr(text, &library) != 0 && library.dli_fname != nullptr;
    const auto path = std::filesystem::path{found ? library.dli_fname : ""}.replace_filename(name);
    return load_library(path.c_str(), advice);
}
} // namespace

Provider choose_provider()
{
    // Choice: a variable that is empty counts as not set.
    const char* wish = std::getenv("KVN_MWAPI");
    if (wish == nullptr || *wish == '\0')
        return load_library("libmwapi.so",
                            "set KVN_MWAPI to the library with the Mw... functions, or to virtual");
    if (std::string_view{wish} == "virtual")
        return announced(
            load_own_library("libmwvirtual.so", "KVN_MWAPI asks for the virtual carriers"),
            "KVN_FPGA: KVN_MWAPI is virtual: the boards are simulated, no hardware is reached.\n");
    constexpr std::string_view replay = "replay:";
    if (std::string_view{wish}.starts_with(replay)) {
        // The replaying library takes the recording's name from its own variable.
        (void)setenv("MWREPLAY_FILE", wish + replay.size(), 1);
        return announced(load_own_library("libmwreplay.so", "KVN_MWAPI asks for a recording"),
                         "KVN_FPGA: KVN_MWAPI is replay: a recording answers, no hardware is reached.\n");
    }
    return load_library(wish, "set KVN_MWAPI to another library with the Mw... functions");
}
