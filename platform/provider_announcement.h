// SPDX-License-Identifier: Apache-2.0
/* What a library with the sixteen functions may say about itself.
 *
 * Optional: a library that reaches hardware needs no such function. */
#ifndef MWAPI_PROVIDER_ANNOUNCEMENT_H
#define MWAPI_PROVIDER_ANNOUNCEMENT_H

#ifdef __cplusplus
extern "C" {
#endif

/* What users must be told before the first call, such as "the boards are simulated, no hardware is reached.":
 * a sentence of one line, without a line feed. A library in front of another one passes on what that one
 * says. Null or empty: nothing. The text stays valid until the library is unloaded.
 *
 * A host asks once, when it has loaded the library and before it calls a function of it. No exception leaves
 * it. */
#pragma GCC visibility push(default)
const char* MwProviderAnnouncement(void);

/* The version of the library, such as "2.7.0": one line, without a line feed. A library in front of another
 * one passes on what that one says. Null or empty: not known. Lifetime, calls and exceptions as above. */
const char* MwProviderVersion(void);
#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
