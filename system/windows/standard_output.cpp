// SPDX-License-Identifier: Apache-2.0
// Standard output as more than a stream of characters.
#include "system/standard_output.h"

#include "system/windows/api.h"

#include <fcntl.h>
#include <io.h>

#include <cerrno>
#include <cstdio>

namespace kvn::system
{
namespace
{

constexpr int STANDARD_OUTPUT = 1;
constexpr int STANDARD_ERROR = 2;

HANDLE handle_of(int descriptor)
{
    return reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor));
}

} // namespace

Descriptor take_standard_output()
{
    Descriptor taken{::_dup(STANDARD_OUTPUT)};
    if (!taken.is_open() || ::_dup2(STANDARD_ERROR, STANDARD_OUTPUT) < 0)
        throw std::system_error{errno, std::generic_category(), "standard output"};
    (void)::SetHandleInformation(handle_of(taken.number()), HANDLE_FLAG_INHERIT, 0);
    (void)::SetStdHandle(STD_OUTPUT_HANDLE, handle_of(STANDARD_OUTPUT));
    (void)::_setmode(taken.number(), _O_BINARY);
    return taken;
}

bool reader_has_gone() noexcept
{
    // The C run-time gives a stream that was closed when the program started no descriptor, and writing to it
    // fails, wherever the descriptor of that number leads later.
    if (::_fileno(stdout) < 0)
        return true;
    const HANDLE output = handle_of(STANDARD_OUTPUT);
    if (::GetFileType(output) != FILE_TYPE_PIPE)
        return false;
    DWORD written = 0;
    if (::WriteFile(output, "", 0, &written, nullptr) != FALSE)
        return false;
    const DWORD problem = ::GetLastError();
    return problem == ERROR_NO_DATA || problem == ERROR_BROKEN_PIPE || problem == ERROR_PIPE_NOT_CONNECTED;
}

} // namespace kvn::system
