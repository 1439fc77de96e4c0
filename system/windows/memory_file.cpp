// SPDX-License-Identifier: Apache-2.0
// A short-lived file of the user, which Windows keeps in memory as long as there is room, and removes.
#include "system/memory_file.h"

#include "system/windows/api.h"

#include <fcntl.h>
#include <io.h>

#include <cerrno>
#include <new>

namespace kvn::system
{

struct MemoryFile::State {
    // Nobody else can write the file as long as this is open.
    windows::TemporaryFile file = windows::make_temporary_file(true);
};

MemoryFile::MemoryFile() : state_{std::make_unique<State>()} {}

MemoryFile::~MemoryFile() = default;

void MemoryFile::append(std::span<const std::uint8_t> bytes)
{
    windows::write_all(state_->file.handle, bytes.data(), bytes.size());
    size_ += bytes.size();
}

void MemoryFile::seal() {}

std::FILE* MemoryFile::open() const
{
    windows::Handle handle{::CreateFileW(state_->file.path.c_str(), GENERIC_READ,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)};
    if (!handle.is_open())
        windows::throw_last_error("temporary file");
    const int descriptor = ::_open_osfhandle(reinterpret_cast<std::intptr_t>(handle.get()),
                                             _O_RDONLY | _O_BINARY | _O_NOINHERIT);
    if (descriptor < 0)
        throw std::system_error{EMFILE, std::generic_category()};
    (void)handle.release();
    std::FILE* const file = ::_fdopen(descriptor, "rb");
    if (file == nullptr) {
        (void)::_close(descriptor);
        throw std::bad_alloc{};
    }
    return file;
}

} // namespace kvn::system
