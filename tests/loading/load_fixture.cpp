// Looks into the middle of a load: the linker sends some of the library's calls here.
#include "load_fixture.h"

namespace
{
thread_local bool hides_end = false;
} // namespace

HiddenEnd::HiddenEnd()
{
    hides_end = true;
}

HiddenEnd::~HiddenEnd()
{
    hides_end = false;
}

extern "C" {
int __real_feof(FILE* stream);

int __wrap_feof(FILE* stream)
{
    return hides_end ? 0 : __real_feof(stream);
}

std::uint32_t __real_MwKSBEndOfSendMessageEx(MW_HANDLE* handle, std::uint32_t timeout);

std::uint32_t __wrap_MwKSBEndOfSendMessageEx(MW_HANDLE* handle, std::uint32_t timeout)
{
    LoadFixture::note_end_of_data();
    return __real_MwKSBEndOfSendMessageEx(handle, timeout);
}
}
