// SPDX-License-Identifier: Apache-2.0
// Tells the findings of a plan or a rehearsal to people.
#include "plan_findings.h"

#include "streams.h"

namespace kvn
{

void tell_findings(std::span<const Finding> findings)
{
    for (const Finding& finding : findings) {
        const char* kind = finding.severity == Severity::note ? ": note: " : ": ";
        tell_failure(finding.place.text() + kind, {.what = finding.what, .remedy = finding.remedy});
    }
}

} // namespace kvn
