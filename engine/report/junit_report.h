// SPDX-License-Identifier: Apache-2.0
// A report as JUnit XML for test systems.
#ifndef KVN_ENGINE_REPORT_JUNIT_REPORT_H
#define KVN_ENGINE_REPORT_JUNIT_REPORT_H

#include "report/report.h"

#include <string>

namespace kvn
{

/// A suite for each host and in it a case for each module, whose name is the only one of its kind in the
/// document. `configured` passes; `refused`, `failed` and `timed out` are failures; `cancelled` and `not
/// tried` are errors: a module that does not run never looks like one that does (docs/decisions/0042).
/// Digests and versions are properties. What XML forbids is shown as in visible_text().
/// @throws std::bad_alloc
[[nodiscard]] std::string junit_report(const Report& report);

} // namespace kvn

#endif
