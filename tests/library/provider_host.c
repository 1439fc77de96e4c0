/* SPDX-License-Identifier: Apache-2.0
 * Lists a board over a provider, in a program that has a function of the platform's name itself.
 *   provider_host PROVIDER
 */
#include "kvn.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* Never called: the C interface has functions of its own, and its provider too. */
unsigned MwOpenS(void);
unsigned MwOpenS(void)
{
    abort();
}

static int fail(const kvn_session* session)
{
    printf("%s\nwhy: %s\ntry: %s\n", kvn_error_text(session), kvn_error_why(session),
           kvn_error_remedy(session));
    return EXIT_FAILURE;
}

int main(int argc, char** argv)
{
    kvn_session* session = NULL;
    kvn_slot_info slot;
    size_t count = 0;
    size_t i;
    memset(&slot, 0, sizeof slot);
    slot.size = sizeof slot;
    if (kvn_open(&session) != KVN_DONE || kvn_provider_open(session, argc > 1 ? argv[1] : NULL) != KVN_DONE ||
        kvn_list(session, "mwc4a", 0) != KVN_DONE || kvn_slot_count(session, &count) != KVN_DONE)
        return fail(session);
    for (i = 0; i < count; ++i)
        if (kvn_slot(session, i, &slot) == KVN_DONE)
            printf("%s %s\n", slot.module, slot.device != NULL ? slot.device : "-");
    return kvn_close(session) == KVN_DONE ? EXIT_SUCCESS : fail(session);
}
