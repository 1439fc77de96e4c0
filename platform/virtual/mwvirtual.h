/* SPDX-License-Identifier: Apache-2.0
 * Virtual carrier boards for programs in other languages than C++: puts described racks in force.
 *
 * The library is the provider "virtual" of kvn.h, or any other host's. Functions may be called from any
 * thread; no exception leaves them. virtual_carrier.h offers more to programs in C++.
 */
#ifndef MWVIRTUAL_MWVIRTUAL_H
#define MWVIRTUAL_MWVIRTUAL_H

#ifndef MWVIRTUAL_API
#define MWVIRTUAL_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** A rack that was put in force. */
typedef struct MwVirtualRack MwVirtualRack;

/**
 * Puts a rack in force: the platform functions of this library act on it, instead of the rack that
 * MWVIRTUAL_RACK describes, until MwVirtualRemoveRack. Of several, the most recent one is in force.
 * @param toml the description, as in a file that MWVIRTUAL_RACK names; not null
 * @param name for messages about mistakes in it, such as "rack.toml"; not null
 * @param state_folder the existing folder in which the state of the modules outlives the rack, as
 *        MWVIRTUAL_STATE names it; null: the one of that variable, if it is set
 * @return the rack; null for a mistake, see MwVirtualProblem. A state folder that cannot be used is no
 *         mistake: it fails every opening of a board
 */
MWVIRTUAL_API MwVirtualRack* MwVirtualPutRack(const char* toml, const char* name, const char* state_folder);

/**
 * Takes a rack out of force. The bus handles that were opened on it become invalid. No platform function may
 * be running on another thread.
 * @param rack may be null; it must not be used afterwards
 */
MWVIRTUAL_API void MwVirtualRemoveRack(MwVirtualRack* rack);

/**
 * @return why the last MwVirtualPutRack of this thread failed, such as "rack.toml:7: unknown key ..."; ""
 * after a success. At most 1023 bytes; never null. Valid until the next MwVirtualPutRack of this thread
 */
MWVIRTUAL_API const char* MwVirtualProblem(void);

#ifdef __cplusplus
}
#endif

#endif
