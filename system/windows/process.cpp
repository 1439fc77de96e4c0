// SPDX-License-Identifier: Apache-2.0
// Processes in a job of their own.
#include "system/process.h"

#include "system/windows/pipe_state.h"
#include "system/windows/start.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

namespace kvn::system
{
namespace
{

constexpr UINT KILLED = 0xE04B564E; ///< the status of a process that was killed here; no program ends with it
constexpr DWORD FIRST_EXCEPTION = 0xC0000000; ///< from here on a status is what went wrong in the process

std::string words_of(DWORD status)
{
    if (status == KILLED)
        return "was killed";
    if (status < FIRST_EXCEPTION)
        return "ended with status " + std::to_string(status);
    std::array<char, 16> number{};
    (void)std::snprintf(number.data(), number.size(), "0x%08lX", status);
    return std::string{"was ended by exception "} + number.data();
}

} // namespace

unsigned long own_process_id() noexcept
{
    return ::GetCurrentProcessId();
}

std::string own_program()
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD size = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (size < path.size())
            return narrow({path.data(), size});
        path.resize(path.size() * 2);
    }
}

struct Process::State {
    windows::Started started;
};

Process::Process(const ProcessStart& start) : state_{new State}
{
    using windows::PipeUse;
    const auto program = windows::path_of_program(start.program);
    if (!program)
        throw std::system_error{ENOENT, std::generic_category()};
    windows::Pipe in = windows::make_pipe(PipeUse::own_writes);
    windows::Pipe out = windows::make_pipe(PipeUse::own_reads);
    windows::Pipe err = windows::make_pipe(PipeUse::own_reads);
    std::vector<std::string> words = start.arguments;
    words.insert(words.begin(), start.program);
    state_->started = windows::start({.program = *program,
                                      .words = std::move(words),
                                      .variables = {},
                                      .input = in.others.get(),
                                      .output = out.others.get(),
                                      .errors = err.others.get()});
    input_ = PipeWriter{std::make_unique<PipeWriter::State>(std::move(in.own))};
    output_ = PipeReader{std::make_unique<PipeReader::State>(std::move(out.own))};
    errors_ = PipeReader{std::make_unique<PipeReader::State>(std::move(err.own))};
}

Process::~Process()
{
    kill();
    (void)wait();
}

long Process::id() const noexcept
{
    return state_->started.process.is_open() ? static_cast<long>(state_->started.id) : -1;
}

void Process::kill() noexcept
{
    if (!state_->started.process.is_open())
        return;
    // One that has closed its output is about to end by itself, and says then how.
    constexpr DWORD TO_END = 1000;
    if (!output_.is_open())
        (void)::WaitForSingleObject(state_->started.process.get(), TO_END);
    (void)::TerminateJobObject(state_->started.job.get(), KILLED);
}

std::string Process::wait()
{
    windows::Handle process = std::move(state_->started.process);
    if (!process.is_open())
        return {};
    DWORD status = 0;
    (void)::WaitForSingleObject(process.get(), INFINITE);
    (void)::GetExitCodeProcess(process.get(), &status);
    return words_of(status);
}

} // namespace kvn::system
