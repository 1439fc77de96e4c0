// SPDX-License-Identifier: Apache-2.0
// What the engine finds out about files beyond an inspection, as JSON.
#include "report/file_json.h"

#include "file/judgement.h"

namespace kvn
{
namespace
{

Json frames_json(const Difference& difference)
{
    if (difference.device == nullptr)
        return nullptr;
    Json frames = Json::array();
    for (const FrameDifference& frame : difference.frames)
        frames.push_back({{"block", frame.block},
                          {"major", frame.major},
                          {"minor", frame.minor},
                          {"bits", frame.bits},
                          {"in_first", frame.in_first},
                          {"in_second", frame.in_second}});
    return frames;
}

Json words_json(const std::vector<std::uint32_t>& words)
{
    Json all = Json::array();
    for (const std::uint32_t word : words)
        all.push_back(in_hex(word));
    return all;
}

Json registers_json(const Difference& difference)
{
    if (difference.device == nullptr)
        return nullptr;
    Json registers = Json::array();
    for (const RegisterDifference& each : difference.registers)
        registers.push_back(
            {{"name", each.name}, {"first", words_json(each.first)}, {"second", words_json(each.second)}});
    return registers;
}

Json load_json(const LoadSize& size, LoadKind kind)
{
    Json json = {{"loadable", size.is_loadable},
                 {"number", size.number},
                 {"error", size.error},
                 {"bus_bytes", size.wire_bytes}};
    json[kind == LoadKind::plain ? "words" : "pairs"] = size.units;
    json["held_back"] = size.held_back;
    json["seconds"] = value_or_null(size.seconds);
    return json;
}

} // namespace

Json to_json(const Inspection& inspection, const Digest& digest)
{
    Json json = json_document("digest");
    json["file"] = inspection.path;
    json["stored"] = stored_json(inspection.stored);
    json["format"] = format_name(inspection.format());
    json["part"] = inspection.part;
    json["digest"] = digest.sha256;
    json["bits"] = digest.bits;
    return json;
}

Json to_json(const Input& first, const Input& second, const Difference& difference)
{
    Json headers = Json::array();
    for (const HeaderDifference& each : difference.headers)
        headers.push_back({{"name", each.name}, {"first", each.first}, {"second", each.second}});
    Json json = json_document("difference");
    json["first"] = {{"file", first.name()}, {"bits", difference.first_bits}};
    json["second"] = {{"file", second.name()}, {"bits", difference.second_bits}};
    json["same_configuration"] = difference.same_configuration;
    json["headers"] = std::move(headers);
    json["device"] = difference.device != nullptr ? Json(difference.device->name) : Json{};
    json["frames_compared"] = difference.frames_compared;
    json["frames"] = frames_json(difference);
    json["registers"] = registers_json(difference);
    json["bits"] = difference.bits;
    json["first_bit"] = value_or_null(difference.first_bit);
    json["words"] = difference.words;
    return json;
}

Json to_json(const Inspection& inspection, const EstimateRequest& request, const Estimate& estimate)
{
    Json json = json_document("estimate");
    json["file"] = inspection.path;
    json["format"] = format_name(inspection.format());
    json["device"] = request.device.empty() ? inspection.part : request.device;
    json["takes_compressed"] = value_or_null(request.takes_compressed);
    json["mode"] = kind_name(estimate.mode);
    json["why"] = estimate.why;
    json["bytes_per_second"] = value_or_null(estimate.bytes_per_second);
    json["plain"] = load_json(estimate.plain, LoadKind::plain);
    json["compressed"] = load_json(estimate.compressed, LoadKind::compressed);
    return json;
}

} // namespace kvn
