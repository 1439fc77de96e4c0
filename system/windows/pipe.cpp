// SPDX-License-Identifier: Apache-2.0
// The ends of pipes that this process holds, by overlapped transfers.
#include "system/pipe.h"

#include "system/windows/pipe_state.h"

#include <algorithm>
#include <cstring>

namespace kvn::system
{
namespace windows
{
namespace
{

void CALLBACK end_transfer(DWORD error, DWORD bytes, OVERLAPPED* overlapped)
{
    const std::lock_guard lock{board().mutex};
    auto* const end = static_cast<PipeTransfer*>(overlapped)->end;
    end->is_under_way = false;
    end->on_end(error, bytes);
    board().changed.notify_all();
}

} // namespace

PipeEnd::PipeEnd(Handle opened) : handle{std::move(opened)}
{
    if (::BindIoCompletionCallback(handle.get(), &end_transfer, 0) == FALSE)
        throw_last_error("pipe");
}

OVERLAPPED* PipeEnd::new_transfer()
{
    transfer = {};
    transfer.end = this;
    return &transfer;
}

void PipeEnd::cut_off()
{
    std::unique_lock lock{board().mutex};
    if (is_under_way)
        (void)::CancelIoEx(handle.get(), &transfer);
    board().changed.wait(lock, [this] { return !is_under_way; });
}

void PipeEnd::note_begun(BOOL result)
{
    // A transfer that is over at once ends by the callback too.
    is_under_way = result != FALSE || ::GetLastError() == ERROR_IO_PENDING;
    is_over = !is_under_way;
    readiness.is_ready = is_over;
}

Pipe make_pipe(PipeUse use)
{
    const bool reads = use == PipeUse::own_reads;
    const std::wstring name = L"\\\\.\\pipe\\" + unique_name();
    // There is one instance, and it is taken at once: nobody else gets to it.
    Handle own{
        ::CreateNamedPipeW(name.c_str(),
                           (reads ? PIPE_ACCESS_INBOUND : PIPE_ACCESS_OUTBOUND) | FILE_FLAG_OVERLAPPED |
                               FILE_FLAG_FIRST_PIPE_INSTANCE,
                           PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1,
                           PIPE_BLOCK, PIPE_BLOCK, 0, nullptr)};
    if (!own.is_open())
        throw_last_error("pipe");
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    Handle others{::CreateFileW(name.c_str(), reads ? GENERIC_WRITE : GENERIC_READ, 0, &inherited,
                                OPEN_EXISTING, 0, nullptr)};
    if (!others.is_open())
        throw_last_error("pipe");
    return {std::move(own), std::move(others)};
}

} // namespace windows

PipeReader::State::State(windows::Handle opened) : PipeEnd{std::move(opened)}
{
    const std::lock_guard lock{windows::board().mutex};
    begin();
}

void PipeReader::State::begin()
{
    first = last = 0;
    note_begun(
        ::ReadFile(handle.get(), block.data(), static_cast<DWORD>(block.size()), nullptr, new_transfer()));
}

void PipeReader::State::on_end(DWORD error, std::size_t bytes)
{
    last = bytes;
    is_over = error != ERROR_SUCCESS;
    // A writer that has written nothing has not gone.
    if (!is_over && bytes == 0)
        return begin();
    readiness.is_ready = true;
}

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
    const std::lock_guard lock{windows::board().mutex};
    if (state_->is_under_way)
        return {Transfer::Result::waits};
    const std::size_t size = std::min(to.size(), state_->last - state_->first);
    if (size == 0)
        return {};
    std::memcpy(to.data(), state_->block.data() + state_->first, size);
    state_->first += size;
    if (state_->first == state_->last && !state_->is_over)
        state_->begin();
    return {Transfer::Result::moved, size};
}

Waitable PipeReader::waitable() const noexcept
{
    return state_ ? state_->readiness.waitable() : Waitable::none;
}

PipeWriter::State::State(windows::Handle opened) : PipeEnd{std::move(opened)}
{
    readiness.is_ready = true;
}

void PipeWriter::State::begin(std::size_t bytes)
{
    note_begun(::WriteFile(handle.get(), block.data(), static_cast<DWORD>(bytes), nullptr, new_transfer()));
}

void PipeWriter::State::on_end(DWORD error, std::size_t /*bytes*/)
{
    is_over = error != ERROR_SUCCESS;
    readiness.is_ready = true;
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
    const std::lock_guard lock{windows::board().mutex};
    if (state_->is_under_way)
        return {Transfer::Result::waits};
    if (state_->is_over)
        return {};
    const std::size_t size = std::min(bytes.size(), state_->block.size());
    std::memcpy(state_->block.data(), bytes.data(), size);
    state_->begin(size);
    return state_->is_over ? Transfer{} : Transfer{Transfer::Result::moved, size};
}

Transfer PipeWriter::send_some(std::FILE* file)
{
    const std::lock_guard lock{windows::board().mutex};
    if (state_->is_under_way)
        return {Transfer::Result::waits};
    if (state_->is_over)
        return {};
    const std::size_t size = std::fread(state_->block.data(), 1, state_->block.size(), file);
    if (std::ferror(file) != 0)
        return {};
    if (size != 0)
        state_->begin(size);
    return state_->is_over ? Transfer{} : Transfer{Transfer::Result::moved, size};
}

bool PipeWriter::is_sending() const noexcept
{
    if (!state_)
        return false;
    const std::lock_guard lock{windows::board().mutex};
    return state_->is_under_way;
}

Waitable PipeWriter::waitable() const noexcept
{
    return state_ ? state_->readiness.waitable() : Waitable::none;
}

} // namespace kvn::system
