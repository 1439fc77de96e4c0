// SPDX-License-Identifier: Apache-2.0
// A host of the C interface: it has no function of the platform, and opens the installed virtual carriers.
#include <kvn.h>

#include <cstdio>

int main()
{
    kvn_session* session = nullptr;
    if (kvn_open(&session) != KVN_DONE || kvn_provider_open(session, "virtual") != KVN_DONE) {
        (void)std::fprintf(stderr, "%s\n", kvn_error_text(session));
        return 1;
    }
    return kvn_close(session);
}
