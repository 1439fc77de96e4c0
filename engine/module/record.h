// SPDX-License-Identifier: Apache-2.0
// What is known of one module after an attempt to load it.
#ifndef KVN_ENGINE_MODULE_RECORD_H
#define KVN_ENGINE_MODULE_RECORD_H

#include "errors/failure.h"
#include "file/inspection.h"
#include "file/trial.h"
#include "module/list.h"
#include "module/module_name.h"
#include "module/provider.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kvn
{

/// How a fact is known.
enum class Source {
    observed, ///< the module, the wire or the file said so
    given,    ///< by the user
    intended  ///< what would have been done, had it come to it
};
/// "observed", "given", "intended"
[[nodiscard]] const char* name_of(Source source);

/// A value and how it is known. Facts that are not known at all are null: std::optional<Fact<...>>.
template <class Value>
struct Fact {
    Value value;
    Source source = Source::observed;

    friend bool operator==(const Fact&, const Fact&) = default;
};

enum class Verdict {
    configured, ///< the module has started
    refused,    ///< the module has all data and did not start
    failed,     ///< something broke on the way
    cancelled,
    timed_out,
    not_tried ///< nothing was sent
};
/// "configured", "refused", "failed", "cancelled", "timed out", "not tried"
[[nodiscard]] const char* name_of(Verdict verdict);

struct Record {
    Fact<ModuleName> module;

    // The file.
    std::optional<Fact<std::string>> file;        ///< its name, as the user gave it
    std::optional<Fact<std::uint64_t>> file_size; ///< bytes, as stored
    std::optional<Fact<std::string>> file_sha256; ///< of the bytes as stored; 64 hexadecimal digits
    std::optional<Fact<std::string>> digest;      ///< of the plain configuration data; 64 hexadecimal digits
    std::optional<Fact<std::string>> format;      ///< "RBT", "BIT" or "MCB", by content
    std::optional<Fact<std::string>> design;      ///< by the header
    std::optional<Fact<std::string>> part;        ///< that the file is for: by the header, or given
    std::vector<Problem> problems;                ///< what the inspection found, notes included

    // The module.
    std::optional<Fact<ModuleIdentity>> identity;
    std::optional<Fact<std::string>>
        device; ///< of the module: observed, or given where it could not be asked

    // The load.
    std::optional<Fact<LoadKind>> mode;            ///< plain or compressed; observed once the load has begun
    std::optional<Fact<std::uint64_t>> wire_bytes; ///< that the provider took as parts of the load's message;
                                                   ///< intended: that the load would send
    std::optional<std::chrono::system_clock::time_point> begin; ///< of the attempt, inspection included
    std::optional<std::chrono::system_clock::time_point> end;
    std::optional<double> seconds_on_wire; ///< from the first to the last call of the load's message
    unsigned attempts = 0;                 ///< loads that were begun
    Verdict verdict = Verdict::not_tried;
    ModuleState state = ModuleState::untouched;
    std::optional<std::uint8_t> answer; ///< the module's answer to the load, 5 for success; null without one
    std::optional<Failure> failure;     ///< null when the module was configured without a complaint

    // The circumstances.
    std::optional<Fact<std::string>> serial_number;
    std::optional<Fact<std::string>> operator_name;
    std::optional<Fact<std::string>> station;
    std::optional<Fact<std::string>> host;
    std::optional<Fact<std::string>> approved_by;  ///< who has signed the manifest that holds the file
    std::optional<Fact<std::string>> approval_key; ///< the key of that signature
    std::string tool_version;
    ProviderIdentity provider;

    /// The status that a program ends with after this record alone.
    [[nodiscard]] ExitStatus exit_status() const;
};

} // namespace kvn

#endif
