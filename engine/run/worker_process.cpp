// SPDX-License-Identifier: Apache-2.0
// The process of a worker, as its controller holds it.
#include "run/worker_process.h"

#include "errors/failure.h"

#include <array>
#include <memory>
#include <system_error>
#include <utility>

namespace kvn
{
namespace
{

system::ProcessStart start_of(const WorkerProgram& program)
{
    return {.program = program.program, .arguments = program.arguments, .has_terminal = program.via.empty()};
}

[[noreturn]] void cannot_start(const WorkerProgram& program, const std::error_code& code)
{
    const bool is_own = program.via.empty();
    throw FailureError{{.status = is_own ? ExitStatus::internal : ExitStatus::usage,
                        .what = "a worker cannot be started: " + program.program + ": " +
                                std::generic_category().message(code.value())}};
}

} // namespace

WorkerProcess::WorkerProcess(const WorkerProgram& program)
try : process_{start_of(program)} {
} catch (const std::system_error& error) {
    cannot_start(program, error.code());
}

void WorkerProcess::send(std::string line)
{
    outgoing_.push_back({.line = std::move(line)});
}

void WorkerProcess::send(const Input& content)
{
    outgoing_.push_back({.file = content.open()});
}

system::Transfer WorkerProcess::write_front()
{
    Outgoing& front = outgoing_.front();
    if (front.file)
        return process_.input().send_some(front.file->get());
    return process_.input().write_some(std::string_view{front.line}.substr(front.written));
}

void WorkerProcess::write_some()
{
    system::PipeWriter& input = process_.input();
    while (!outgoing_.empty() && input.is_open()) {
        const system::Transfer made = write_front();
        if (made.result == system::Transfer::Result::waits)
            return;
        if (made.result == system::Transfer::Result::over) {
            outgoing_.clear();
            return input.close();
        }
        sent_ += made.bytes;
        Outgoing& front = outgoing_.front();
        front.written += made.bytes;
        if (front.file ? made.bytes == 0 : front.written == front.line.size())
            outgoing_.pop_front();
    }
    if (ends_ && outgoing_.empty() && !input.is_sending())
        input.close();
}

void WorkerProcess::end_input()
{
    ends_ = true;
    write_some();
}

bool WorkerProcess::read_some(system::PipeReader& from, LineSplitter& to)
{
    std::array<char, 65536> block; // NOLINT(cppcoreguidelines-pro-type-member-init)
    const system::Transfer made = from.read_some(block);
    if (made.result == system::Transfer::Result::over) {
        from.close();
        return false;
    }
    to.take({block.data(), made.bytes});
    return true;
}

} // namespace kvn
