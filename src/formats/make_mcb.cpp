// SPDX-License-Identifier: Apache-2.0
// Chooses between the two converters to MCB.
#include "kvnfpgai.h"

int kvn_fpga_imp::Make_mcb_file(FILE* stream, int kind)
{
    switch (kind) {
    case 0:
        return Make_mcb_file_rbt(stream);
    case 1:
        return Make_mcb_file_bit(stream);
    default:
        // Required: the stream stays open.
        return fail("Error 9400. Internal error. No RBT (0) or BIT (1) file selected (but %d).", kind);
    }
}
