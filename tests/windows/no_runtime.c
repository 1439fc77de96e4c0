// SPDX-License-Identifier: Apache-2.0
// A program without a run-time library: its status is the number of modules on the first board, or 100 and a failed call's
// status.
#include <kvn.h>

static int count_modules(kvn_session* session)
{
    int32_t status = kvn_provider_open(session, "virtual");
    if (status == KVN_DONE)
        status = kvn_list(session, "mwc4a", 0);
    size_t slots = 0;
    if (status == KVN_DONE)
        status = kvn_slot_count(session, &slots);
    int modules = 0;
    for (size_t index = 0; status == KVN_DONE && index < slots; ++index) {
        static kvn_slot_info slot; // filled with zeros here without a function of the run-time
        slot.size = sizeof slot;
        status = kvn_slot(session, index, &slot);
        if (slot.device != NULL)
            ++modules;
    }
    return status == KVN_DONE ? modules : 100 + (int)status;
}

// The entry point of the program, which the system calls.
int start(void);
int start(void)
{
    kvn_session* session = NULL;
    const int32_t status = kvn_open(&session);
    const int result = status == KVN_DONE ? count_modules(session) : 100 + (int)status;
    kvn_close(session);
    return result;
}
