// SPDX-License-Identifier: Apache-2.0
// The descriptors of the test's own process: those of the C library.
#include "support/descriptors.h"

#include <fcntl.h>
#include <io.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <cstdint>

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
