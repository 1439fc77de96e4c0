// SPDX-License-Identifier: Apache-2.0
// Opens and closes a board's serial bus.
#include "bus/api_text.h"
#include "bus/slot_address.h"
#include "kvnfpgai.h"

int kvn_fpga_imp::Initialise_Host_KSB(const char* given_type, int given_number)
{
    if (handle_is_external)
        return 0;
    if (!is_board(given_number))
        return fail("Error 9200: Invalid board number %d (should be 0..15).", given_number);
    handle = nullptr;
    ReadIoStatus = 0;
    WriteIoStatus = 0;
    std::uint32_t unused = 0;
    if (const auto status =
            MwOpenS(given_type, static_cast<std::uint16_t>(given_number), "ksb", &handle, &unused))
        return fail("Error 9201. Cannot open KSB device on board \"%s %d\" (%s).", given_type, given_number,
                    ApiText{status});
    // A failure from here on leaves the device open; the caller closes it with Close_KSB.
    if (const auto status = MwInitIoStatus(handle, &ReadIoStatus))
        return fail("Error 9202. Cannot initialise ReadIoStatus, board \"%s %d\" (%s).", given_type,
                    given_number, ApiText{status});
    if (const auto status = MwInitIoStatus(handle, &WriteIoStatus))
        return fail("Error 9203. Cannot initialise WriteIoStatus, board \"%s %d\" (%s).", given_type,
                    given_number, ApiText{status});
    return 0;
}

int kvn_fpga_imp::Close_KSB()
{
    if (handle_is_external || handle == nullptr)
        return 0;
    MwClose(&handle);
    handle = nullptr;
    return 0;
}
