// SPDX-License-Identifier: Apache-2.0
// Reads a trace and checks it.
#include "recording.h"

#include "call_json.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/stat.h>

namespace mwtrace
{
namespace
{

// What a trace may ask of the reader's memory.
constexpr std::size_t LARGEST_FILE = std::size_t{512} << 20;
constexpr std::size_t LONGEST_LINE = std::size_t{64} << 20;
constexpr std::size_t MOST_VALUES_A_LINE = std::size_t{1} << 20;
constexpr int DEEPEST_VALUE = 8;

constexpr std::string_view PIECES = mwapi::CALL<mwapi::Function::MwKSBSendMessageDataEx>.name;

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { (void)std::fclose(file); }
};

/// Parses a line without ever holding more than a small part of a hostile one.
/// @return a discarded value when the line is no JSON or asks for too much
Json parse_json(std::string_view line)
{
    std::size_t values = 0;
    bool too_much = false;
    const auto keep = [&](int depth, Json::parse_event_t, const Json&) {
        too_much = too_much || depth > DEEPEST_VALUE || ++values > MOST_VALUES_A_LINE;
        return !too_much;
    };
    Json value = Json::parse(line, keep, false);
    return too_much ? Json(Json::value_t::discarded) : value;
}

/// Takes the pieces of a message from their record.
/// @return what is wrong; empty when all is well
std::string take_pieces(Record& record)
{
    const auto handle = number_from_json(record.in.value("handle", Json{}));
    const auto timeout = number_from_json(record.in.value("timeout", Json{}));
    if (!handle || !timeout)
        return "message pieces need \"handle\" and \"timeout\"";
    record.handle = *handle;
    record.timeout = *timeout;
    const Json sizes = record.in.value("sizes", Json{});
    if (!sizes.is_array() || sizes.empty())
        return "message pieces need \"sizes\"";
    std::uint64_t total = 0;
    for (const Json& run : sizes) {
        const bool is_pair = run.is_array() && run.size() == 2;
        const auto count = is_pair ? number_from_json(run[0]) : std::nullopt;
        const auto length = is_pair ? number_from_json(run[1]) : std::nullopt;
        if (!count || *count == 0 || !length)
            return "\"sizes\" must be pairs of a count and a length";
        record.sizes.push_back({*count, *length});
        // Not more than 2^20 of these products of two 32-bit numbers, so saturate instead of wrapping.
        const std::uint64_t bytes = std::uint64_t{*count} * *length;
        total = std::max(total, bytes) > LONGEST_LINE ? std::uint64_t{LONGEST_LINE} + 1 : total + bytes;
    }
    const Json data = record.in.value("data", Json{});
    record.data_is_null = data.is_null();
    if (record.data_is_null)
        return "";
    auto bytes = bytes_from_json(data);
    if (!bytes || bytes->size() != total)
        return "\"data\" must hold as many bytes as \"sizes\" say";
    record.data = *std::move(bytes);
    return "";
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
    const std::unique_ptr<std::FILE, FileCloser> file{std::fopen(path_.c_str(), "rb")};
    if (file == nullptr)
        throw TraceError{path_ + ": " + std::strerror(errno)}; // NOLINT(concurrency-mt-unsafe)
    char block[65536];
    while (const std::size_t count = std::fread(block, 1, sizeof block, file.get())) {
        if (text_.size() + count > LARGEST_FILE)
            throw TraceError{path_ + ": the file is larger than 512 MiB"};
        text_.append(block, count);
    }
    if (std::ferror(file.get()) != 0)
        throw TraceError{path_ + ": " + std::strerror(errno)}; // NOLINT(concurrency-mt-unsafe)
}

void Recording::check_first_line(std::string_view line) const
{
    const Json first = parse_json(line);
    if (!first.is_object() || first.value("trace", Json{}) != "mwapi")
        fail(1, "this is no trace of platform calls");
    if (first.value("version", Json{}) != 1)
        fail(1, "only version 1 of the format is known");
}

Record Recording::parse(std::string_view line, std::size_t number) const
{
    const Json value = parse_json(line);
    if (!value.is_object())
        fail(number, "this is no JSON object of a sensible size");

    const Json function = value.value("call", Json{});
    const bool known =
        function.is_string() && std::ranges::find(mwapi::DESCRIPTIONS, function.get_ref<const std::string&>(),
                                                  &mwapi::Description::name) != mwapi::DESCRIPTIONS.end();
    if (!known)
        fail(number, "\"call\" must be one of the sixteen functions");
    Record record;
    record.function = function.get<std::string>();
    record.in = value.value("in", Json{});
    if (!record.in.is_object())
        fail(number, "\"in\" must be an object");
    const auto result = number_from_json(value.value("result", Json{}));
    if (!result)
        fail(number, "\"result\" must be a number of 32 bits");
    record.result = *result;
    const auto thread = number_from_json(value.value("thread", Json(1U)));
    if (!thread)
        fail(number, "\"thread\" must be a number");
    record.thread = *thread;

    record.got = value.value("got", Json{});
    if (!record.got.is_null() && !record.got.is_object())
        fail(number, "\"got\" must be an object");
    for (const auto& [name, output] : record.got.items())
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
