// SPDX-License-Identifier: Apache-2.0
// Which rack the platform functions act on: the most recent carrier's, else the one that the environment
// names; recorded when MWVIRTUAL_TRACE is set.
#include "mwapi_forward.h"
#include "rack.h"
#include "rack_reader.h"
#include "recording_platform.h"
#include "system/dynamic_library.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <list>

namespace mwvirtual
{
namespace
{

// Nobody reads the journal of this rack, so none is kept. Reports mistakes on stderr, and again at every
// attempt to open a board.
std::shared_ptr<Rack> rack_of_environment()
{
    std::shared_ptr<Rack> rack;
    try {
        const char* path = std::getenv("MWVIRTUAL_RACK");
        const bool described = path != nullptr && *path != '\0';
        const std::string keep_folder = folder_of_environment();
        rack = described ? read_rack_file(path, keep_folder)
                         : read_rack(builtin_rack_text(), "built-in rack", keep_folder);
        rack->keep_state_in(state_folder_of_environment());
        if (const std::string problem = rack->state_problem(); !problem.empty())
            (void)std::fprintf(stderr, "mwvirtual: %s\n", problem.c_str());
    } catch (const RackError& error) {
        (void)std::fprintf(stderr, "mwvirtual: %s\n", error.what());
        rack = Rack::broken(error.what());
    }
    rack->keep_journal(false);
    return rack;
}

/// A rack, and what records it, if anything does.
class Platform
{
public:
    Platform(std::shared_ptr<Rack> rack, mwtrace::Recorder* recorder) : rack_{std::move(rack)}
    {
        if (recorder != nullptr)
            recording_ = std::make_unique<mwtrace::RecordingPlatform>(*rack_, *recorder);
    }
    [[nodiscard]] const std::shared_ptr<Rack>& rack() const { return rack_; }
    [[nodiscard]] mwapi::Platform& in_front() const
    {
        if (recording_ != nullptr)
            return *recording_;
        return *rack_;
    }

private:
    std::shared_ptr<Rack> rack_;
    std::unique_ptr<mwtrace::RecordingPlatform> recording_;
};

/// The racks in force. They live as long as the process, to whose end the functions may be called.
class InForce
{
public:
    void put(std::shared_ptr<Rack> rack)
    {
        const std::lock_guard lock{mutex_};
        carriers_.emplace_back(std::move(rack), recorder_.get());
        mwapi::install(carriers_.back().in_front());
    }

    void take_out(const std::shared_ptr<Rack>& rack)
    {
        const std::lock_guard lock{mutex_};
        const auto taken = std::ranges::find(carriers_, rack, &Platform::rack);
        std::list<Platform> leaving; // called until another one is installed
        leaving.splice(leaving.end(), carriers_, taken);
        if (carriers_.empty())
            mwapi::uninstall();
        else
            mwapi::install(carriers_.back().in_front());
    }

    mwapi::Platform& current()
    {
        const std::lock_guard lock{mutex_};
        if (!carriers_.empty())
            return carriers_.back().in_front();
        if (!of_environment_)
            of_environment_.emplace(rack_of_environment(), recorder_.get());
        return of_environment_->in_front();
    }

private:
    std::mutex mutex_;
    std::unique_ptr<mwtrace::Recorder> recorder_ =
        mwtrace::recorder_from_environment("MWVIRTUAL_TRACE", kvn::system::library_file("mwvirtual"));
    std::list<Platform> carriers_;
    std::optional<Platform> of_environment_;
};

InForce& in_force()
{
    static auto* const racks = new InForce;
    return *racks;
}

} // namespace

void put_in_force(std::shared_ptr<Rack> rack)
{
    in_force().put(std::move(rack));
}

void take_out_of_force(const std::shared_ptr<Rack>& rack)
{
    in_force().take_out(rack);
}

} // namespace mwvirtual

mwapi::Platform& mwapi::program_platform()
{
    return mwvirtual::in_force().current();
}
