// SPDX-License-Identifier: Apache-2.0
// What the engine finds out about files beyond an inspection, as JSON.
#ifndef KVN_ENGINE_REPORT_FILE_JSON_H
#define KVN_ENGINE_REPORT_FILE_JSON_H

#include "file/difference.h"
#include "file/digest.h"
#include "file/estimate.h"
#include "report/json.h"

namespace kvn
{

/// The document "digest".
[[nodiscard]] Json to_json(const Inspection& inspection, const Digest& digest);
/// The document "difference" of two files.
[[nodiscard]] Json to_json(const Input& first, const Input& second, const Difference& difference);
/// The document "estimate".
/// @param request that the estimate answers
[[nodiscard]] Json to_json(const Inspection& inspection, const EstimateRequest& request,
                           const Estimate& estimate);

} // namespace kvn

#endif
