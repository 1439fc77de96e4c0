// SPDX-License-Identifier: Apache-2.0
// What a session of the C interface holds.
#include "session.h"

#include "arguments.h"

namespace kvn::c_interface
{

Handles<Session, kvn_session>& sessions()
{
    static auto* const all = new Handles<Session, kvn_session>{1};
    return *all;
}

Handles<const Input, kvn_file>& files()
{
    static auto* const all = new Handles<const Input, kvn_file>{2};
    return *all;
}

std::shared_ptr<const Input> file_of(const kvn_file* handle, const char* name)
{
    std::shared_ptr<const Input> file = files().find(handle);
    if (file == nullptr)
        refuse(std::string{name} + " is no open file",
               "the handle is null, was closed, or is not that of a file",
               "pass a handle that kvn_file_open or kvn_file_from_memory gave");
    return file;
}

const Provider& provider_of(const Session& session)
{
    if (!session.provider)
        refuse("no provider is open in this session", "boards are reached through a provider",
               "call kvn_provider_open first");
    return *session.provider->provider;
}

void Result::clear() noexcept
{
    texts.clear();
    problems.clear();
    document = nullptr;
    json.reset();
}

void Result::keep(const std::vector<Problem>& found)
{
    for (const Problem& problem : found)
        problems.push_back({.size = sizeof(kvn_problem_info),
                            .what = texts.keep(problem.what),
                            .remedy = texts.keep_if_any(problem.remedy),
                            .stops = static_cast<std::int32_t>(problem.stops),
                            .status = static_cast<std::int32_t>(problem.status)});
}

kvn_progress_info as_progress_info(const Progress& progress, bool is_running)
{
    kvn_progress_info info{};
    info.size = sizeof info;
    info.bytes = progress.bytes;
    info.total = number_or_unknown<std::int64_t>(progress.total);
    info.seconds = progress.seconds;
    info.bytes_per_second = progress.bytes_per_second.value_or(KVN_UNKNOWN);
    info.seconds_left = progress.seconds_left.value_or(KVN_UNKNOWN);
    info.is_running = is_running ? 1 : 0;
    return info;
}

void CurrentLoad::begin(std::shared_ptr<LoadControl> control)
{
    const std::lock_guard lock{mutex_};
    control_ = std::move(control);
    is_running_ = true;
}

void CurrentLoad::end() noexcept
{
    const std::lock_guard lock{mutex_};
    is_running_ = false;
}

bool CurrentLoad::cancel()
{
    const std::lock_guard lock{mutex_};
    if (is_running_)
        control_->cancel();
    return is_running_;
}

kvn_progress_info CurrentLoad::progress() const
{
    const std::lock_guard lock{mutex_};
    return as_progress_info(control_ == nullptr ? Progress{} : control_->progress(), is_running_);
}

} // namespace kvn::c_interface
