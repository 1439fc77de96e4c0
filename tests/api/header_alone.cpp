// SPDX-License-Identifier: Apache-2.0
// The public header needs nothing but itself.
#include "kvn_fpga.h"

// Once more, as larger programs do.
#include "kvn_fpga.h" // NOLINT(readability-duplicate-include)

char* last_error_of(kvn_fpga& fpga);

char* last_error_of(kvn_fpga& fpga)
{
    return fpga.kvn_fpga_getlasterr();
}
