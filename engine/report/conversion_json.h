// SPDX-License-Identifier: Apache-2.0
// A conversion as JSON.
#ifndef KVN_ENGINE_REPORT_CONVERSION_JSON_H
#define KVN_ENGINE_REPORT_CONVERSION_JSON_H

#include "file/conversion.h"
#include "report/json.h"

namespace kvn
{

/// A document of the kind "conversion".
[[nodiscard]] Json to_json(const Conversion& conversion);

} // namespace kvn

#endif
