// SPDX-License-Identifier: Apache-2.0
// The journal of the virtual carriers: calls as records and as lines, made from the table of calls.
#include "journal.h"

#include "error_texts.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace mwvirtual
{
namespace
{

using mwapi::Argument;
using mwapi::Description;
using mwapi::Kind;
using mwapi::Value;
using mwapi::Values;

// The fields of a record that hold an argument, by the argument's name.
constexpr std::pair<std::string_view, std::uint32_t Call::*> NUMBERS[] = {
    {"board", &Call::board}, {"slot", &Call::slot},       {"type", &Call::type}, {"length", &Call::length},
    {"size", &Call::length}, {"timeout", &Call::timeout}, {"code", &Call::code},
};
constexpr std::pair<std::string_view, std::string Call::*> TEXTS[] = {
    {"board_type", &Call::board_type},
    {"device", &Call::device},
};

/// The field of a record that holds an argument. The table of calls and these tables name the same arguments.
template <class Record, class Fields>
auto& field(Record& call, const Fields& fields, std::string_view name)
{
    const auto found = std::ranges::find(fields, name, [](const auto& named) { return named.first; });
    if (found == std::end(fields))
        throw std::logic_error{"the journal has no field for " + std::string{name}};
    return call.*found->second;
}

std::string bytes(const Value& data, std::uint32_t length)
{
    return data.is_null() ? "" : std::string(data.pointer<char>(), length);
}

void note_given(Call& call, const Description& description, Values values, Extent extent)
{
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto& [name, kind, size] = description.arguments[i];
        if (kind == Kind::number)
            field(call, NUMBERS, name) = values[i].number();
        else if (kind == Kind::text && !values[i].is_null())
            field(call, TEXTS, name) = values[i].pointer<char>();
        else if (kind == Kind::data && extent == Extent::arguments_and_data)
            call.data = bytes(values[i], value_of(description, values, "length").number());
    }
}

/// Of what a call wrote, a journal keeps the type and the data of a message.
void note_received(Call& call, const Description& description, Values values)
{
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto& [name, kind, size] = description.arguments[i];
        if (kind == Kind::number_out && name == "type")
            call.type = values[i].read();
        else if (kind == Kind::data_out)
            call.data = bytes(values[i], value_of(description, values, "received").read());
    }
}

std::string hex_bytes(const std::string& data)
{
    std::string text;
    for (const char byte : data) {
        char digits[4];
        (void)std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned char>(byte));
        text += digits;
    }
    if (!text.empty())
        text.pop_back();
    return text;
}

std::string number_text(const Call& call, std::string_view name, bool is_message)
{
    const std::uint32_t number = field(call, NUMBERS, name);
    if (name == "code")
        return hexadecimal(number);
    const std::string text = std::to_string(number);
    return is_message && name != "timeout" ? std::string{name} + ' ' + text : text;
}

/// An argument in a line; nothing for one that has no place there.
std::optional<std::string> argument_text(const Call& call, const Description& description,
                                         const Argument& argument)
{
    const bool is_message = description.arguments.front().kind == Kind::handle;
    const bool is_piece = call.function == Function::MwKSBSendMessageDataEx;
    switch (argument.kind) {
    case Kind::number:
        if (argument.name == "length")
            return std::nullopt;
        return number_text(call, argument.name, is_message);
    case Kind::text:
        return '"' + field(call, TEXTS, argument.name) + '"';
    case Kind::data:
        if (call.data.empty() && !is_piece)
            return std::nullopt;
        return hex_bytes(call.data);
    default:
        return std::nullopt;
    }
}

std::string arguments_text(const Call& call, const Description& description)
{
    std::string text;
    const char* separator = "";
    for (const Argument& argument : description.arguments) {
        if (const auto one = argument_text(call, description, argument)) {
            text += separator + *one;
            separator = ", ";
        }
    }
    return text;
}

/// What a call brought back, where it brings a message.
std::string outcome_text(const Call& call, const Description& description)
{
    if (call.result != 0)
        return " = " + hexadecimal(call.result);
    std::string text;
    const char* mark = " -> ";
    for (const auto& [name, kind, size] : description.arguments) {
        if (kind == Kind::number_out && name == "type")
            text += std::exchange(mark, ": ") + ("type " + std::to_string(call.type));
        else if (kind == Kind::data_out)
            text += mark + hex_bytes(call.data);
    }
    return text;
}

const Description& description_of(Function function)
{
    return mwapi::describe(static_cast<mwapi::Function>(function));
}

} // namespace

static_assert(FUNCTION_COUNT == mwapi::FUNCTION_COUNT);
static_assert(static_cast<unsigned>(Function::MwKSBEndOfReceiveMessageEx) ==
                  static_cast<unsigned>(mwapi::Function::MwKSBEndOfReceiveMessageEx),
              "the public list is in the order of the table");

Call written_down(mwapi::Function function, Values values, unsigned handle, std::uint32_t result,
                  Extent extent)
{
    const Description& description = mwapi::describe(function);
    Call call{.function = static_cast<Function>(function), .handle = handle, .result = result};
    note_given(call, description, values, extent);
    if (result == 0)
        note_received(call, description, values);
    return call;
}

const char* function_name(Function function)
{
    return description_of(function).name.data();
}

std::string Call::text() const
{
    const Description& description = description_of(function);
    return std::string{description.name} + "(" + arguments_text(*this, description) + ")" +
           outcome_text(*this, description);
}

} // namespace mwvirtual
