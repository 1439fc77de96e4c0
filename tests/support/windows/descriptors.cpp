// SPDX-License-Identifier: Apache-2.0
// The descriptors of the test's own process: those of the C library.
#include "support/descriptors.h"

#include <fcntl.h>
#include <io.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <cstdint>
#include <stdexcept>

namespace
{
/// The C library's functions end the process on a descriptor that is not open, unless told to do nothing.
class InvalidParametersFail
{
public:
    InvalidParametersFail() : before_{_set_invalid_parameter_handler(&do_nothing)} {}
    ~InvalidParametersFail() { _set_invalid_parameter_handler(before_); }
    InvalidParametersFail(const InvalidParametersFail&) = delete;
    InvalidParametersFail& operator=(const InvalidParametersFail&) = delete;

private:
    static void do_nothing(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, std::uintptr_t) {}

    _invalid_parameter_handler before_;
};
} // namespace

std::size_t count_descriptors()
{
    constexpr int most = 2048; // of the C library
    const InvalidParametersFail scope;
    std::size_t open = 0;
    for (int descriptor = 0; descriptor < most; ++descriptor)
        if (_get_osfhandle(descriptor) != -1)
            ++open;
    return open;
}

int open_for_writing(const std::string& file)
{
    return _open(file.c_str(), _O_WRONLY | _O_CREAT | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
}

std::array<int, 2> make_pipe()
{
    constexpr unsigned bytes = 65536;
    std::array<int, 2> ends{-1, -1};
    if (_pipe(ends.data(), bytes, _O_BINARY | _O_NOINHERIT) != 0)
        throw std::runtime_error{"there is no pipe"};
    return ends;
}

Redirected::Redirected(int descriptor, int to) : descriptor_{descriptor}, before_{_dup(descriptor)}
{
    if (_dup2(to, descriptor) < 0)
        throw std::runtime_error{"no such descriptor"};
    (void)_close(to);
}

Redirected::~Redirected()
{
    (void)_dup2(before_, descriptor_);
    (void)_close(before_);
}
