// SPDX-License-Identifier: Apache-2.0
// Boards, slots, records and failures as JSON.
#ifndef KVN_ENGINE_REPORT_MODULE_JSON_H
#define KVN_ENGINE_REPORT_MODULE_JSON_H

#include "errors/failure.h"
#include "module/list.h"
#include "module/load.h"
#include "module/record.h"

#include <nlohmann/json.hpp>

namespace kvn
{

using Json = nlohmann::ordered_json;

// Names are snake_case; what is unknown is null, and every member is always there. Texts may hold bytes that
// are no UTF-8: dump with error_handler_t::replace (print_json does).

/// {"status": 5, "class": "...", "number": 9103 or null, "what": ..., "why": ..., "remedy": ...}; "why" and
/// "remedy" are null when empty.
[[nodiscard]] Json to_json(const Failure& failure);
/// {"name", "file", "version", "announcement", "simulated"}
[[nodiscard]] Json to_json(const ProviderIdentity& provider);
/// {"type", "type_name", "model", "version", "device", "device_part": {"device", "package", "speed_grade"},
/// "compression"}
[[nodiscard]] Json to_json(const ModuleIdentity& module);
/// {"module": "mwc4a:0/2", "slot": 2, "kind", "info_words", "identity", "failure"}
[[nodiscard]] Json to_json(const SlotRow& slot);
/// {"board": "mwc4a:0", "board_type": "mwc4a", "number": 0, "info_word", "slots", "failure"}
[[nodiscard]] Json to_json(const BoardRow& board);
/// {"bytes", "total", "seconds", "bytes_per_second", "seconds_left"}
[[nodiscard]] Json to_json(const Progress& progress);
/// The members of Record under the same names, and "sources": for each fact that is known and has one, how.
/// "begin" and "end" are in UTC: "2026-11-22T03:44:37.125Z".
[[nodiscard]] Json to_json(const Record& record);

} // namespace kvn

#endif
