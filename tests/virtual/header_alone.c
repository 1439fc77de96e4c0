/* SPDX-License-Identifier: Apache-2.0
 * mwvirtual.h can be used by a program in C. */
#include "mwvirtual.h"

const char* put_nothing(void);
const char* put_nothing(void)
{
    MwVirtualRemoveRack(MwVirtualPutRack("", "", 0));
    return MwVirtualProblem();
}
