// Finds the provider of the platform functions: a library named by the user, or the virtual carriers.
#include "provider.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

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
} // namespace

Provider choose_provider()
{
    // Choice: a variable that is empty counts as not set.
    const char* wish = std::getenv("KVN_MWAPI");
    if (wish == nullptr || *wish == '\0')
        return load_library("libmwapi.so",
                            "set KVN_MWAPI to the library with the Mw... functions, or to virtual");
    if (std::string_view{wish} != "virtual")
        return load_library(wish, "set KVN_MWAPI to another library with the Mw... functions");

    Provider carriers = load_library("libmwvirtual.so", "KVN_MWAPI asks for the virtual carriers");
    if (carriers.problem.empty())
        (void)std::fputs(
            "KVN_FPGA: KVN_MWAPI is virtual: the boards are simulated, no hardware is reached.\n", stderr);
    return carriers;
}
