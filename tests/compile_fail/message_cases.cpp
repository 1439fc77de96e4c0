// SPDX-License-Identifier: Apache-2.0
// One wrong error message for each CASE: none of them may compile. CASE 0 holds the right ones.
#include "kvnfpgai.h"

int fail_with(kvn_fpga_imp& session)
{
    [[maybe_unused]] const char* name = "design";
    [[maybe_unused]] const unsigned long code = 7;
#if CASE == 0
    int error = session.fail("Error 9000. No values.");
    error += session.fail("Error 9001: A colon.");
    error += session.fail("Error 9002. %s, %d, 0x%x, %c.", name, 1, 2, 'c');
    error += session.fail("Error 9003. API error 0x%lx.", code);
    error += session.fail({9120, "Error 9121. Another number than the one returned: %s."}, name);
    return error;
#elif CASE == 1  // no "Error "
    return session.fail("Fault 9000. Text.");
#elif CASE == 2  // a number of three digits
    return session.fail("Error 900. Text.");
#elif CASE == 3  // a number of five digits
    return session.fail("Error 90000. Text.");
#elif CASE == 4  // neither point nor colon
    return session.fail("Error 9000 Text.");
#elif CASE == 5  // a value too few
    return session.fail("Error 9000. %s and %d.", name);
#elif CASE == 6  // a value too many
    return session.fail("Error 9000. %s.", name, 1);
#elif CASE == 7  // a text for a number
    return session.fail("Error 9000. %d.", name);
#elif CASE == 8  // a number for a text
    return session.fail("Error 9000. %s.", 1);
#elif CASE == 9  // a code for an int
    return session.fail("Error 9000. 0x%x.", code);
#elif CASE == 10 // an int for a code
    return session.fail("Error 9000. 0x%lx.", 1);
#elif CASE == 11 // values in the wrong order
    return session.fail("Error 9000. %s %d.", 1, name);
#elif CASE == 12 // a text that is not known at compile time
    return session.fail(name);
#elif CASE == 13 // a letter that no message uses
    return session.fail("Error 9000. %u.", 1);
#elif CASE == 14 // the text of another number is checked as well
    return session.fail({9120, "Error 912. %s."}, name);
#elif CASE == 15 // an empty text
    return session.fail("");
#elif CASE == 16 // a percent sign at the end
    return session.fail("Error 9000. %");
#elif CASE == 17 // a value without any conversion
    return session.fail("Error 9000. Text.", 1);
#elif CASE == 18 // the result of fail is not to be dropped
    session.fail("Error 9000. Text.");
    return 0;
#endif
}
