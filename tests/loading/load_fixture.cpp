// SPDX-License-Identifier: Apache-2.0
// Observes the middle of a load: the linker redirects some of the library's calls here.
#include "load_fixture.h"

extern "C" {
std::uint32_t __real_MwKSBEndOfSendMessageEx(MW_HANDLE* handle, std::uint32_t timeout);

std::uint32_t __wrap_MwKSBEndOfSendMessageEx(MW_HANDLE* handle, std::uint32_t timeout)
{
    LoadFixture::note_end_of_data();
    return __real_MwKSBEndOfSendMessageEx(handle, timeout);
}
}
