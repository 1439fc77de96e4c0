// SPDX-License-Identifier: Apache-2.0
// Boards, slots, records and failures as JSON.
#include "report/module_json.h"

#include "file/judgement.h"
#include "report/json.h"
#include "report/utc.h"

namespace kvn
{
namespace
{

template <class Part>
Json part_or_null(const std::optional<Part>& part)
{
    return part ? to_json(*part) : Json{};
}

/// "2026-11-22T03:44:37.125Z"
Json utc(const std::optional<std::chrono::system_clock::time_point>& moment)
{
    if (!moment)
        return nullptr;
    return utc_text(*moment);
}

/// The members of a record, and where those that are known are from.
class RecordMembers
{
public:
    /// @param as_json what the value of a fact is written as
    template <class Value, class AsJson>
    void add(const char* name, const std::optional<Fact<Value>>& fact, AsJson as_json)
    {
        members_[name] = fact ? as_json(fact->value) : Json{};
        if (fact)
            sources_[name] = name_of(fact->source);
    }
    template <class Value>
    void add(const char* name, const std::optional<Fact<Value>>& fact)
    {
        add(name, fact, [](const Value& value) { return Json(value); });
    }
    void add(const char* name, Json value) { members_[name] = std::move(value); }

    [[nodiscard]] Json all() &&
    {
        members_["sources"] = std::move(sources_);
        return std::move(members_);
    }

private:
    Json members_ = Json::object();
    Json sources_ = Json::object();
};

void add_file(RecordMembers& members, const Record& record)
{
    members.add("file", record.file);
    members.add("file_size", record.file_size);
    members.add("file_sha256", record.file_sha256);
    members.add("digest", record.digest);
    members.add("format", record.format);
    members.add("design", record.design);
    members.add("part", record.part);
    members.add("problems", problems_json(record.problems));
}

void add_module(RecordMembers& members, const Record& record)
{
    members.add("identity", record.identity, [](const ModuleIdentity& module) { return to_json(module); });
    members.add("device", record.device);
}

void add_load(RecordMembers& members, const Record& record)
{
    members.add("mode", record.mode, [](LoadKind mode) { return Json(kind_name(mode)); });
    members.add("wire_bytes", record.wire_bytes);
    members.add("begin", utc(record.begin));
    members.add("end", utc(record.end));
    members.add("seconds_on_wire", value_or_null(record.seconds_on_wire));
    members.add("attempts", record.attempts);
    members.add("verdict", name_of(record.verdict));
    members.add("state", name_of(record.state));
    members.add("answer", value_or_null(record.answer));
    members.add("failure", part_or_null(record.failure));
}

void add_circumstances(RecordMembers& members, const Record& record)
{
    members.add("serial_number", record.serial_number);
    members.add("operator_name", record.operator_name);
    members.add("station", record.station);
    members.add("host", record.host);
    members.add("approved_by", record.approved_by);
    members.add("approval_key", record.approval_key);
    members.add("tool_version", record.tool_version);
    members.add("provider", to_json(record.provider));
}

} // namespace

Json to_json(const Failure& failure)
{
    return {{"status", static_cast<int>(failure.status)},
            {"class", meaning_of(failure.status)},
            {"number", failure.number != 0 ? Json(failure.number) : Json{}},
            {"what", failure.what},
            {"why", text_or_null(failure.why)},
            {"remedy", text_or_null(failure.remedy)}};
}

Json to_json(const ProviderIdentity& provider)
{
    return {{"name", provider.name},
            {"file", value_or_null(provider.file)},
            {"version", value_or_null(provider.version)},
            {"announcement", text_or_null(provider.announcement)},
            {"simulated", provider.simulated}};
}

Json to_json(const ModuleIdentity& module)
{
    Json part;
    if (module.device) {
        const DevicePart device = split_device_name(*module.device);
        part = {{"device", text_or_null(device.device)},
                {"package", text_or_null(device.package)},
                {"speed_grade", text_or_null(device.speed_grade)}};
    }
    return {{"type", module.type},
            {"type_name", module.type_name()},
            {"model", value_or_null(module.model)},
            {"version", value_or_null(module.version)},
            {"device", value_or_null(module.device)},
            {"device_part", std::move(part)},
            {"compression", name_of(module.compression)}};
}

Json to_json(const SlotRow& slot)
{
    return {{"module", to_text(slot.name)},
            {"slot", slot.name.slot},
            {"kind", name_of(slot.kind)},
            {"info_words", value_or_null(slot.info_words)},
            {"identity", part_or_null(slot.module)},
            {"failure", part_or_null(slot.failure)}};
}

Json to_json(const BoardRow& board)
{
    Json slots = Json::array();
    for (const SlotRow& slot : board.slots)
        slots.push_back(to_json(slot));
    return {{"board", to_text(board.name)}, {"board_type", board.name.type},
            {"number", board.name.number},  {"info_word", value_or_null(board.info_word)},
            {"slots", std::move(slots)},    {"failure", part_or_null(board.failure)}};
}

Json to_json(const Progress& progress)
{
    return {{"bytes", progress.bytes},
            {"total", value_or_null(progress.total)},
            {"seconds", progress.seconds},
            {"bytes_per_second", value_or_null(progress.bytes_per_second)},
            {"seconds_left", value_or_null(progress.seconds_left)}};
}

Json to_json(const Record& record)
{
    RecordMembers members;
    members.add("module", std::optional{record.module},
                [](const ModuleName& name) { return Json(to_text(name)); });
    add_file(members, record);
    add_module(members, record);
    add_load(members, record);
    add_circumstances(members, record);
    return std::move(members).all();
}

} // namespace kvn
