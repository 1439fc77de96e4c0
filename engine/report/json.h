// SPDX-License-Identifier: Apache-2.0
// What the engine finds, as JSON.
#ifndef KVN_ENGINE_REPORT_JSON_H
#define KVN_ENGINE_REPORT_JSON_H

#include "errors/failure.h"
#include "file/estimate.h"
#include "file/inspection.h"
#include "file/judgement.h"

#include <nlohmann/json.hpp>

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace kvn
{

using Json = nlohmann::ordered_json;

/// The class of a failure in one or two words: "usage", "file".
[[nodiscard]] const char* failure_kind(ExitStatus status);
/// "0040C093"
[[nodiscard]] std::string in_hex(std::uint32_t number);
/// Run-coded bytes for each byte of the data.
[[nodiscard]] double run_coded_ratio(const Inspection& inspection);
/// "right", "wrong" or "not reached".
[[nodiscard]] const char* crc_verdict(const fpga::PortReport& port);
/// Why the packets of a file are not told; empty if they are.
[[nodiscard]] std::string unread_packets(const Inspection& inspection);

/// A value, or null.
template <class Value>
[[nodiscard]] Json value_or_null(const std::optional<Value>& value)
{
    return value ? Json(*value) : Json{};
}
/// A text, or null if it is empty.
[[nodiscard]] Json text_or_null(const std::string& text);
[[nodiscard]] Json problems_json(const std::vector<Problem>& problems);

/// Of every JSON document: what is added raises the second number, what changes the first.
inline constexpr const char* JSON_VERSION = "1.0";

/// @param estimate for the time of a load; null: not asked for
[[nodiscard]] Json to_json(const Inspection& inspection, const std::optional<Estimate>& estimate);
[[nodiscard]] Json to_json(const Inspection& inspection, const Judgement& judgement);
/// The file as it was given.
[[nodiscard]] Json stored_json(const Input::Stored& stored);
/// The beginning of a document, without an error.
[[nodiscard]] Json json_document(const char* kind);
/// Why a command has nothing else to say: a document of the kind "failure".
[[nodiscard]] Json failure_json(const Failure& failure);
/// A document of the kind "help".
[[nodiscard]] Json help_json(const std::string& text);
void print_json(std::ostream& out, const Json& json);

} // namespace kvn

#endif
