// SPDX-License-Identifier: Apache-2.0
// What is known of one module after an attempt to load it.
#include "module/record.h"

namespace kvn
{

const char* name_of(Source source)
{
    constexpr const char* names[] = {"observed", "given", "intended"};
    return names[static_cast<int>(source)];
}

const char* name_of(Verdict verdict)
{
    constexpr const char* names[] = {"configured", "refused",   "failed",
                                     "cancelled",  "timed out", "not tried"};
    return names[static_cast<int>(verdict)];
}

ExitStatus Record::exit_status() const
{
    return failure ? failure->status : ExitStatus::done;
}

} // namespace kvn
