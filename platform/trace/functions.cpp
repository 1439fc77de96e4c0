// The sixteen platform functions of a provider, as pointers.
#include "functions.h"

#include <dlfcn.h>

namespace mwtrace
{
namespace
{

/// Takes functions from a library and notes the first that is missing.
class Finder
{
public:
    explicit Finder(void* library) : library_{library} {}

    template <class Function>
    void find(Function& function, const char* name)
    {
        function = reinterpret_cast<Function>(dlsym(library_, name)); // NOLINT: dlsym's way
        if (function == nullptr && missing_.empty())
            missing_ = name;
    }
    [[nodiscard]] const std::string& missing() const { return missing_; }

private:
    void* library_;
    std::string missing_;
};

} // namespace

std::string load_functions(const std::string& library, Functions& functions)
{
    // Local: what is found must be the library's own, and must not stand in the way of the caller's.
    void* loaded = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (loaded == nullptr)
        return dlerror();
    Finder finder{loaded};
    finder.find(functions.MwOpenS, "MwOpenS");
    finder.find(functions.MwClose, "MwClose");
    finder.find(functions.MwErr2Text, "MwErr2Text");
    finder.find(functions.MwGetBoardInfo, "MwGetBoardInfo");
    finder.find(functions.MwGetDeviceInfo, "MwGetDeviceInfo");
    finder.find(functions.MwInitIoStatus, "MwInitIoStatus");
    finder.find(functions.MwKSBSendMessage, "MwKSBSendMessage");
    finder.find(functions.MwKSBReceiveMessage, "MwKSBReceiveMessage");
    finder.find(functions.MwKSBSendMessageEx, "MwKSBSendMessageEx");
    finder.find(functions.MwKSBReceiveMessageEx, "MwKSBReceiveMessageEx");
    finder.find(functions.MwKSBStartSendMessageEx, "MwKSBStartSendMessageEx");
    finder.find(functions.MwKSBSendMessageDataEx, "MwKSBSendMessageDataEx");
    finder.find(functions.MwKSBEndOfSendMessageEx, "MwKSBEndOfSendMessageEx");
    finder.find(functions.MwKSBStartReceiveMessageEx, "MwKSBStartReceiveMessageEx");
    finder.find(functions.MwKSBReceiveMessageDataEx, "MwKSBReceiveMessageDataEx");
    finder.find(functions.MwKSBEndOfReceiveMessageEx, "MwKSBEndOfReceiveMessageEx");
    return finder.missing().empty() ? "" : library + " has no function " + finder.missing();
}

void copy_error_text(std::string_view text, char* buffer)
{
    if (buffer != nullptr)
        buffer[text.copy(buffer, ERROR_TEXT_SIZE - 1)] = '\0';
}

} // namespace mwtrace
