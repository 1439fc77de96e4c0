// SPDX-License-Identifier: Apache-2.0
// The ends of pipes that this process holds.
#include "system/pipe.h"

#include "system/posix/pipe_state.h"

#include <sys/sendfile.h>
#include <unistd.h>

#include <cerrno>

namespace kvn::system
{
namespace
{

/// Tries until no signal comes in between.
template <class Attempt>
Transfer transfer(Attempt attempt)
{
    for (;;) {
        const ssize_t size = attempt();
        if (size >= 0)
            return {Transfer::Result::moved, static_cast<std::size_t>(size)};
        if (errno == EAGAIN)
            return {Transfer::Result::waits};
        if (errno != EINTR)
            return {};
    }
}

} // namespace

PipeReader::PipeReader() = default;
PipeReader::PipeReader(std::unique_ptr<State> state) : state_{std::move(state)} {}
PipeReader::~PipeReader() = default;
PipeReader::PipeReader(PipeReader&& other) noexcept = default;
PipeReader& PipeReader::operator=(PipeReader&& other) noexcept = default;

void PipeReader::close() noexcept
{
    state_.reset();
}

Transfer PipeReader::read_some(std::span<char> to)
{
    const Transfer made = transfer([&] { return ::read(state_->descriptor.number(), to.data(), to.size()); });
    return made.result == Transfer::Result::moved && made.bytes == 0 ? Transfer{} : made;
}

Waitable PipeReader::waitable() const noexcept
{
    return state_ ? Waitable{state_->descriptor.number()} : Waitable::none;
}

PipeWriter::PipeWriter() = default;
PipeWriter::PipeWriter(std::unique_ptr<State> state) : state_{std::move(state)} {}
PipeWriter::~PipeWriter() = default;
PipeWriter::PipeWriter(PipeWriter&& other) noexcept = default;
PipeWriter& PipeWriter::operator=(PipeWriter&& other) noexcept = default;

void PipeWriter::close() noexcept
{
    state_.reset();
}

Transfer PipeWriter::write_some(std::string_view bytes)
{
    return transfer([&] { return ::write(state_->descriptor.number(), bytes.data(), bytes.size()); });
}

Transfer PipeWriter::send_some(std::FILE* file)
{
    constexpr std::size_t BLOCK = std::size_t{1} << 20;
    return transfer([&] { return ::sendfile(state_->descriptor.number(), ::fileno(file), nullptr, BLOCK); });
}

bool PipeWriter::is_sending() const noexcept
{
    return false; // a pipe keeps what was written for its reader
}

Waitable PipeWriter::waitable() const noexcept
{
    return state_ ? Waitable{state_->descriptor.number()} : Waitable::none;
}

} // namespace kvn::system
