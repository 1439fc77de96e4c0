// SPDX-License-Identifier: Apache-2.0
// Tells an inspection, to people and as JSON.
#ifndef KVN_REPORT_H
#define KVN_REPORT_H

#include "inspection.h"
#include "judgement.h"

#include <nlohmann/json.hpp>

#include <iosfwd>
#include <optional>
#include <string>

namespace kvn
{

using Json = nlohmann::ordered_json;

/// A text from a file as it may be shown on a terminal: control characters become escapes.
[[nodiscard]] std::string printable(const std::string& text);

/// How long the two kinds of load keep a bus busy.
struct BusTime {
    double bytes_per_second;
    double plain;
    double compressed;
};
[[nodiscard]] BusTime bus_time(const Inspection& inspection, double bytes_per_second);

void print_report(std::ostream& out, const Inspection& inspection, const std::optional<BusTime>& time);
void print_judgement(std::ostream& out, const Inspection& inspection, const Judgement& judgement);
void print_problems(std::ostream& out, const Inspection& inspection);

/// Of every JSON document: what is added raises the second number, what changes the first.
inline constexpr const char* JSON_VERSION = "1.0";

/// Why there is no inspection.
struct Failure {
    const char* kind; ///< "usage" for a wrong command line, "file" for a file that cannot be read, "internal"
    std::string what;
};

[[nodiscard]] Json to_json(const Inspection& inspection, const std::optional<BusTime>& time);
[[nodiscard]] Json to_json(const Inspection& inspection, const Judgement& judgement);
[[nodiscard]] Json to_json(const Failure& failure);
[[nodiscard]] Json help_json(const std::string& text);
void print_json(std::ostream& out, const Json& json);

} // namespace kvn

#endif
