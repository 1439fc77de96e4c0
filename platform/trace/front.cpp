// Recorders that the environment asks for.
#include "front.h"

#include <cstdlib>

namespace mwtrace
{
namespace
{

/// Has the recorder write what it gathered when the process ends, and leaves it usable.
class FlushAtExit
{
public:
    ~FlushAtExit()
    {
        if (recorder != nullptr)
            recorder->flush();
    }
    Recorder* recorder = nullptr;
};

} // namespace

std::unique_ptr<Recorder> recorder_from_environment(const char* variable, std::string_view provider)
{
    static FlushAtExit at_exit;
    const char* path = std::getenv(variable); // NOLINT(concurrency-mt-unsafe)
    if (path == nullptr || *path == '\0')
        return nullptr;
    auto recorder = std::make_unique<Recorder>(path, provider);
    at_exit.recorder = recorder.get();
    return recorder;
}

} // namespace mwtrace
