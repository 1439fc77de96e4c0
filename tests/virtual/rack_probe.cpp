// SPDX-License-Identifier: Apache-2.0
// Opens the boards named by its arguments (type number ...) and prints each result with its text.
#include "mwapi.h"
#include "system/terminal.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    kvn::system::set_up_standard_streams();
    for (int i = 1; i + 1 < argc; i += 2) {
        MW_HANDLE* handle = nullptr;
        std::uint32_t reserved = 0;
        const auto number = static_cast<std::uint16_t>(std::atoi(argv[i + 1]));
        const std::uint32_t result = MwOpenS(argv[i], number, "ksb", &handle, &reserved);
        char text[256];
        MwErr2Text(result, text);
        std::printf("%s %s: 0x%08X %s\n", argv[i], argv[i + 1], result, text);
        if (result == 0)
            MwClose(&handle);
    }
    return 0;
}
