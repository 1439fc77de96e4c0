// Tells an inspection, to people and as JSON.
#ifndef KVN_REPORT_H
#define KVN_REPORT_H

#include "inspection.h"

#include <nlohmann/json.hpp>

#include <iosfwd>
#include <optional>
#include <string>

namespace kvn
{

using Json = nlohmann::ordered_json;

/// A text from a file as it may be shown on a terminal: control characters become escapes.
[[nodiscard]] std::string printable(const std::string& text);

/// "2v3000 (Virtex-2)"
[[nodiscard]] std::string device_text(const fpga::Device& device);

/// How long the two kinds of load keep a bus busy.
struct BusTime {
    double bytes_per_second;
    double plain;
    double compressed;
};
[[nodiscard]] BusTime bus_time(const Inspection& inspection, double bytes_per_second);

void print_report(std::ostream& out, const Inspection& inspection, const std::optional<BusTime>& time);
void print_problems(std::ostream& out, const Inspection& inspection);
[[nodiscard]] Json to_json(const Inspection& inspection, const std::optional<BusTime>& time);
void print_json(std::ostream& out, const Json& json);

} // namespace kvn

#endif
