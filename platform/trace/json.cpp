// SPDX-License-Identifier: Apache-2.0
// Values of JSON whose destruction needs no memory.
#include "json.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace mwtrace
{
namespace
{

void append_text(std::string_view text, std::string& line)
{
    constexpr std::string_view HEX_DIGITS = "0123456789abcdef";
    constexpr std::string_view ESCAPED = "\"\\\b\f\n\r\t";
    constexpr std::string_view LETTERS = "\"\\bfnrt";
    line += '"';
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (const std::size_t at = ESCAPED.find(c); at != std::string_view::npos) {
            line += '\\';
            line += LETTERS[at];
        } else if (byte < 0x20) {
            line += "\\u00";
            line += HEX_DIGITS[byte >> 4U];
            line += HEX_DIGITS[byte & 0xFU];
        } else {
            line += c;
        }
    }
    line += '"';
}

} // namespace

/// Makes a value from the events of the JSON library's parser, which prescribes the names of the functions.
class JsonBuilder
{
public:
    explicit JsonBuilder(const Json::Limits& limits) : limits_{limits} {}

    [[nodiscard]] Json&& result() { return std::move(root_); }

    bool null() { return add(Json{}); }
    bool boolean(bool value) { return add(Json(Json::Value{value})); }
    bool number_integer(std::int64_t value) { return add_other(std::to_string(value)); }
    bool number_unsigned(std::uint64_t value) { return add(Json(value)); }
    bool number_float(double /*value*/, const std::string& digits) { return add_other(digits); }
    bool string(std::string& text) { return add(Json(std::move(text))); }
    static bool binary(nlohmann::json::binary_t& /*value*/) { return false; }

    bool start_object(std::size_t /*size*/) { return begin(Json::object()); }
    bool start_array(std::size_t /*size*/) { return begin(Json::array()); }
    bool key(std::string& name)
    {
        key_ = std::move(name);
        return allowed();
    }
    bool end_object() { return end(); }
    bool end_array() { return end(); }

    template <class Exception>
    static bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                            const Exception& /*error*/)
    {
        return false;
    }

private:
    [[nodiscard]] bool allowed() { return open_.size() <= limits_.depth && ++events_ <= limits_.events; }

    /// Puts a value where it belongs. @return its place
    Json* put(Json value)
    {
        if (open_.empty())
            return &(root_ = std::move(value));
        if (auto* items = std::get_if<Json::Array>(&open_.back()->value_))
            return &items->emplace_back(std::move(value));
        return &(std::get<Json::Object>(open_.back()->value_)[std::move(key_)] = std::move(value));
    }
    bool add(Json value)
    {
        (void)put(std::move(value));
        return allowed();
    }
    bool add_other(std::string digits)
    {
        return add(Json(Json::Value{Json::OtherNumber{std::move(digits)}}));
    }
    bool begin(Json container)
    {
        const bool is_allowed = allowed();
        // An array does not grow while one of its items is open, so the place stays.
        open_.push_back(put(std::move(container)));
        return is_allowed;
    }
    bool end()
    {
        open_.pop_back();
        return allowed();
    }

    Json::Limits limits_;
    std::size_t events_ = 0;
    Json root_;
    std::string key_;
    std::vector<Json*> open_;
};

Json::Json(std::initializer_list<Json> items)
{
    const bool is_object = std::ranges::all_of(items, [](const Json& item) {
        return item.is_array() && item.array_items()->size() == 2 &&
               item.array_items()->front().text() != nullptr;
    });
    if (!is_object) {
        value_ = Array(items);
        return;
    }
    Object members;
    for (const Json& item : items)
        members.insert_or_assign(*item.array_items()->front().text(), item.array_items()->back());
    value_ = std::move(members);
}

std::optional<Json> Json::parse(std::string_view text, const Limits& limits)
{
    JsonBuilder builder{limits};
    if (!nlohmann::json::sax_parse(text, &builder))
        return std::nullopt;
    return builder.result();
}

const Json* Json::find(std::string_view name) const
{
    if (members() == nullptr)
        return nullptr;
    const auto found = members()->find(name);
    return found == members()->end() ? nullptr : &found->second;
}

const Json& Json::at(std::string_view name) const
{
    static const Json null;
    const Json* found = find(name);
    return found == nullptr ? null : *found;
}

void Json::set(std::string_view name, Json value)
{
    if (is_null())
        value_ = Object{};
    std::get<Object>(value_).insert_or_assign(std::string{name}, std::move(value));
}

std::string Json::dump() const
{
    std::string line;
    append_to(line);
    return line;
}

void Json::append_to(std::string& line) const
{
    if (const Array* items = array_items()) {
        line += '[';
        for (const Json& item : *items) {
            if (&item != &items->front())
                line += ',';
            item.append_to(line);
        }
        line += ']';
    } else if (const Object* all = members()) {
        line += '{';
        bool is_first = true;
        for (const auto& [name, value] : *all) {
            if (!std::exchange(is_first, false))
                line += ',';
            append_text(name, line);
            line += ':';
            value.append_to(line);
        }
        line += '}';
    } else if (const std::string* words = text()) {
        append_text(*words, line);
    } else if (const std::uint64_t* digits = number()) {
        line += std::to_string(*digits);
    } else if (const auto* other = std::get_if<OtherNumber>(&value_)) {
        line += other->digits;
    } else if (const bool* truth = std::get_if<bool>(&value_)) {
        line += *truth ? "true" : "false";
    } else {
        line += "null";
    }
}

bool is_utf8(std::string_view text)
{
    constexpr unsigned LAST = 0x10FFFF;
    for (std::size_t at = 0; at < text.size();) {
        const auto first = static_cast<unsigned char>(text[at++]);
        if (first < 0x80)
            continue;
        const int more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
        constexpr unsigned LEAST[] = {0, 0x80, 0x800, 0x10000};
        if (first < 0xC0 || first > 0xF4)
            return false;
        unsigned code = first & (0x3FU >> more);
        for (int i = 0; i < more; ++i, ++at) {
            if (at == text.size() || (static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80)
                return false;
            code = code << 6U | (static_cast<unsigned char>(text[at]) & 0x3FU);
        }
        if (code < LEAST[more] || code > LAST || (code >= 0xD800 && code <= 0xDFFF))
            return false;
    }
    return true;
}

} // namespace mwtrace
