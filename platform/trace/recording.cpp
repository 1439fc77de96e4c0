// SPDX-License-Identifier: Apache-2.0
// Reads a trace and checks it.
#include "recording.h"

#include "call_json.h"
#include "system/regular_file.h"

#include <algorithm>

namespace mwtrace
{
namespace
{

// Limits of the memory that reading a trace takes.
constexpr std::size_t LARGEST_FILE = std::size_t{512} << 20;
constexpr std::size_t LONGEST_LINE = std::size_t{64} << 20;
constexpr std::size_t MOST_VALUES_A_LINE = std::size_t{1} << 20;
constexpr std::size_t DEEPEST_VALUE = 8;

constexpr std::string_view PIECES = mwapi::CALL<mwapi::Function::MwKSBSendMessageDataEx>.name;

/// Parses a line without ever holding more than a small part of a hostile one.
/// @return null if the line is not JSON or exceeds a limit
Json parse_json(std::string_view line)
{
    return Json::parse(line, {DEEPEST_VALUE, MOST_VALUES_A_LINE}).value_or(Json{});
}

/// Takes the pieces of a message from their record.
/// @return what is wrong; empty when all is well
std::string take_pieces(Record& record)
{
    const auto handle = number_from_json(record.in.at("handle"));
    const auto timeout = number_from_json(record.in.at("timeout"));
    if (!handle || !timeout)
        return "message pieces need \"handle\" and \"timeout\"";
    record.handle = *handle;
    record.timeout = *timeout;
    const Json::Array* sizes = record.in.at("sizes").array_items();
    if (sizes == nullptr || sizes->empty())
        return "message pieces need \"sizes\"";
    std::uint64_t total = 0;
    for (const Json& run : *sizes) {
        const bool is_pair = run.is_array() && run.array_items()->size() == 2;
        const auto count = is_pair ? number_from_json(run.array_items()->front()) : std::nullopt;
        const auto length = is_pair ? number_from_json(run.array_items()->back()) : std::nullopt;
        if (!count || *count == 0 || !length)
            return "\"sizes\" must be pairs of a count and a length";
        record.sizes.push_back({*count, *length});
        // Not more than 2^20 of these products of two 32-bit numbers, so saturate instead of wrapping.
        const std::uint64_t bytes = std::uint64_t{*count} * *length;
        total = std::max(total, bytes) > LONGEST_LINE ? std::uint64_t{LONGEST_LINE} + 1 : total + bytes;
    }
    const Json& data = record.in.at("data");
    record.data_is_null = data.is_null();
    if (record.data_is_null)
        return "";
    auto bytes = bytes_from_json(data);
    if (!bytes || bytes->size() != total)
        return "\"data\" must hold as many bytes as \"sizes\" say";
    record.data = *std::move(bytes);
    return "";
}

std::optional<std::uint64_t> microseconds(const Json& value)
{
    const std::uint64_t* number = value.number();
    return number == nullptr ? std::nullopt : std::optional{*number};
}

} // namespace

Recording::Recording(std::string path) : path_{std::move(path)}
{
    read_file();
    std::size_t number = 0;
    for (std::size_t begin = 0; begin < text_.size();) {
        ++number;
        const std::size_t end = text_.find('\n', begin);
        if (end == std::string::npos) {
            cut_ = true;
            break;
        }
        if (end - begin > LONGEST_LINE)
            fail(number, "the line is too long");
        const std::string_view line = std::string_view{text_}.substr(begin, end - begin);
        if (number == 1)
            check_first_line(line);
        else
            records_.push_back({begin, line.size(), number, parse(line, number).thread});
        begin = end + 1;
    }
    if (number == 0 || (number == 1 && cut_))
        fail(1, "this is no trace of platform calls");
}

Record Recording::record(std::size_t index) const
{
    const Place& place = records_[index];
    return parse(std::string_view{text_}.substr(place.begin, place.length), place.line);
}

void Recording::read_file()
{
    auto file = kvn::system::RegularFile::to_read(path_.c_str());
    if (!file.is_open())
        throw TraceError{path_ + ": " + file.problem()};
    char block[65536];
    for (;;) {
        const auto count = file.read(block, sizeof block);
        if (!count)
            throw TraceError{path_ + ": " + file.problem()};
        if (*count == 0)
            return;
        if (text_.size() + *count > LARGEST_FILE)
            throw TraceError{path_ + ": the file is larger than 512 MiB"};
        text_.append(block, *count);
    }
}

void Recording::check_first_line(std::string_view line) const
{
    const Json first = parse_json(line);
    if (!first.is_object() || first.at("trace") != "mwapi")
        fail(1, "this is no trace of platform calls");
    if (first.at("version") != 1)
        fail(1, "only version 1 of the format is known");
}

Record Recording::parse(std::string_view line, std::size_t number) const
{
    const Json value = parse_json(line);
    if (!value.is_object())
        fail(number, "this is no JSON object of a sensible size");

    const std::string* function = value.at("call").text();
    const bool known =
        function != nullptr && std::ranges::find(mwapi::DESCRIPTIONS, *function, &mwapi::Description::name) !=
                                   mwapi::DESCRIPTIONS.end();
    if (!known)
        fail(number, "\"call\" must be one of the sixteen functions");
    Record record;
    record.function = *function;
    record.in = value.at("in");
    if (!record.in.is_object())
        fail(number, "\"in\" must be an object");
    const auto result = number_from_json(value.at("result"));
    if (!result)
        fail(number, "\"result\" must be a number of 32 bits");
    record.result = *result;
    const Json* stated = value.find("thread");
    const auto thread = stated == nullptr ? std::optional{1U} : number_from_json(*stated);
    if (!thread)
        fail(number, "\"thread\" must be a number");
    record.thread = *thread;
    record.time = microseconds(value.at("t"));
    record.taken = microseconds(value.at("took"));

    record.got = value.at("got");
    if (!record.got.is_null() && !record.got.is_object())
        fail(number, "\"got\" must be an object");
    if (record.got.is_object())
        for (const auto& [name, output] : *record.got.members())
            if (!is_written_value(name, output))
                fail(number, "\"" + name.substr(0, 40) + "\" in \"got\" is of a wrong type");
    if (record.function == PIECES)
        if (const std::string problem = take_pieces(record); !problem.empty())
            fail(number, problem);
    return record;
}

void Recording::fail(std::size_t line, const std::string& words) const
{
    throw TraceError{path_ + ":" + std::to_string(line) + ": " + words};
}

} // namespace mwtrace
