// SPDX-License-Identifier: Apache-2.0
// A platform call in a trace's JSON: its arguments and what it wrote through them.
#include "call_json.h"

#include <algorithm>
#include <cstring>

namespace mwtrace
{
namespace
{

using mwapi::Argument;
using mwapi::Description;
using mwapi::Kind;
using mwapi::Value;
using mwapi::Values;

Json text_or_null(const char* text)
{
    return text == nullptr ? Json{} : text_to_json(text);
}

Json data_or_null(const void* data, std::uint32_t length)
{
    return data == nullptr ? Json{} : bytes_to_json({static_cast<const std::uint8_t*>(data), length});
}

Json given_value(const Description& call, Values values, std::size_t place, const NumberOf& number_of)
{
    const Value& value = values[place];
    switch (call.arguments[place].kind) {
    case Kind::text:
        return text_or_null(value.pointer<char>());
    case Kind::handle:
        return number_of(value.pointer<MW_HANDLE>());
    case Kind::closed_handle:
        return number_of(closed_handle(call, values));
    case Kind::data:
        return data_or_null(value.pointer<void>(), value_of(call, values, "length").number());
    default:
        return value.number();
    }
}

/// The data received, at most as much as the buffer holds, whatever the platform claims.
Json received_data(const Description& call, Values values, const void* data)
{
    const Value& received = value_of(call, values, "received");
    if (received.is_null())
        return {};
    return data_or_null(data, std::min(value_of(call, values, "size").number(), received.read()));
}

bool has_several_outputs(const Description& call)
{
    return std::ranges::count_if(call.arguments, &Argument::is_written) > 1;
}

bool is_word_list(const Json& value, std::size_t most)
{
    const Json::Array* words = value.array_items();
    return words != nullptr && words->size() <= most &&
           std::ranges::all_of(*words, [](const Json& word) { return number_from_json(word).has_value(); });
}

bool is_of_kind(const Argument& argument, const Json& value)
{
    switch (argument.kind) {
    case Kind::text_out:
        return text_from_json(value).has_value();
    case Kind::words_out:
        return is_word_list(value, argument.size);
    case Kind::data_out:
        return bytes_from_json(value).has_value();
    default:
        return number_from_json(value).has_value();
    }
}

void write_text(const std::string& text, char* to, std::size_t size)
{
    to[text.copy(to, size - 1)] = '\0';
}

void write_words(const Json& words, std::uint32_t* to)
{
    std::ranges::transform(*words.array_items(), to,
                           [](const Json& word) { return *number_from_json(word); });
}

void write_data(const Bytes& bytes, std::uint8_t* to, std::uint32_t size)
{
    std::copy_n(bytes.begin(), std::min<std::size_t>(bytes.size(), size), to);
}

} // namespace

const MW_HANDLE* closed_handle(const Description& call, Values values)
{
    if (call.arguments.front().kind != Kind::closed_handle || values.front().is_null())
        return nullptr;
    return *values.front().pointer<MW_HANDLE*>();
}

Json given(const Description& call, Values values, const NumberOf& number_of)
{
    Json in = Json::object();
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Argument& argument = call.arguments[i];
        if (argument.is_given())
            in.set(argument.name, given_value(call, values, i, number_of));
    }
    return in;
}

Json written(const Description& call, Values values, const NumberOf& opened)
{
    // A call that can write several values has an object even if the caller wanted none of them.
    Json got = has_several_outputs(call) ? Json::object() : Json{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Argument& argument = call.arguments[i];
        const Value& value = values[i];
        if (value.is_null())
            continue;
        switch (argument.kind) {
        case Kind::number_out:
            got.set(argument.name, value.read());
            break;
        case Kind::text_out: { // it need not end in a zero byte
            const char* text = value.pointer<char>();
            got.set(argument.name, text_to_json({text, strnlen(text, argument.size)}));
            break;
        }
        case Kind::words_out: {
            const auto* words = value.pointer<std::uint32_t>();
            got.set(argument.name, std::vector<std::uint32_t>(words, words + argument.size));
            break;
        }
        case Kind::data_out:
            if (Json data = received_data(call, values, value.pointer<void>()); !data.is_null())
                got.set(argument.name, std::move(data));
            break;
        case Kind::handle_out:
            got.set(argument.name, opened(*value.pointer<MW_HANDLE*>()));
            break;
        default:
            break;
        }
    }
    return got;
}

bool is_written_value(std::string_view name, const Json& value)
{
    for (const Description& call : mwapi::DESCRIPTIONS)
        for (const Argument& argument : call.arguments)
            if (argument.is_written() && argument.name == name)
                return is_of_kind(argument, value);
    return true;
}

void write(const Description& call, Values values, const Json& got,
           const std::function<MW_HANDLE*(unsigned)>& open)
{
    for (std::size_t i = 0; i < values.size() && got.is_object(); ++i) {
        const Argument& argument = call.arguments[i];
        const Value& to = values[i];
        const Json* found = got.find(argument.name);
        if (!argument.is_written() || to.is_null() || found == nullptr)
            continue;
        switch (argument.kind) {
        case Kind::number_out:
            to.write(*number_from_json(*found));
            break;
        case Kind::text_out:
            write_text(*text_from_json(*found), to.pointer<char>(), argument.size);
            break;
        case Kind::words_out:
            write_words(*found, to.pointer<std::uint32_t>());
            break;
        case Kind::data_out:
            write_data(*bytes_from_json(*found), to.pointer<std::uint8_t>(),
                       value_of(call, values, "size").number());
            break;
        case Kind::handle_out:
            *to.pointer<MW_HANDLE*>() = open(*number_from_json(*found));
            break;
        case Kind::closed_handle:
            *to.pointer<MW_HANDLE*>() = nullptr;
            break;
        default:
            break;
        }
    }
}

} // namespace mwtrace
