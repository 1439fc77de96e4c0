// SPDX-License-Identifier: Apache-2.0
// A file in memory is a memfd.
#include "system/memory_file.h"

#include "system/descriptor.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <string>
#include <system_error>

namespace kvn::system
{
namespace
{

int checked(int result)
{
    if (result < 0)
        throw std::system_error{errno, std::generic_category()};
    return result;
}

} // namespace

struct MemoryFile::State {
    Descriptor descriptor{checked(::memfd_create("kvn-input", MFD_CLOEXEC | MFD_ALLOW_SEALING))};
};

MemoryFile::MemoryFile() : state_{std::make_unique<State>()} {}

MemoryFile::~MemoryFile() = default;

void MemoryFile::append(std::span<const std::uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(state_->descriptor.number(), bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            throw std::system_error{errno, std::generic_category()};
        size_ += static_cast<std::uint64_t>(written);
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

void MemoryFile::seal()
{
    checked(::fcntl(state_->descriptor.number(), F_ADD_SEALS,
                    F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL));
}

std::FILE* MemoryFile::open() const
{
    // A duplicate would share its position with all others; the same file opened again has its own.
    const std::string name = "/proc/self/fd/" + std::to_string(state_->descriptor.number());
    const int descriptor = checked(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
    std::FILE* const file = ::fdopen(descriptor, "rb");
    if (file == nullptr) {
        (void)::close(descriptor);
        throw std::bad_alloc{};
    }
    return file;
}

} // namespace kvn::system
