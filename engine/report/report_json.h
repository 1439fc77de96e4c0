// SPDX-License-Identifier: Apache-2.0
// A report as JSON for programs.
#ifndef KVN_ENGINE_REPORT_REPORT_JSON_H
#define KVN_ENGINE_REPORT_REPORT_JSON_H

#include "report/report.h"

namespace kvn
{

/// The document "report" (schema/report.schema.json). Records are in it as their journals have them.
[[nodiscard]] Json to_json(const Report& report);

} // namespace kvn

#endif
