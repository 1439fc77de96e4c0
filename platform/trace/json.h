// SPDX-License-Identifier: Apache-2.0
// Values of JSON whose destruction needs no memory.
//
// Choice: our own values, read by the events of a JSON library's parser; that library's own values allocate
// in their destructors, which ends the process when memory has run out
// (docs/decisions/0025-values-of-traces.md).
#ifndef MWTRACE_JSON_H
#define MWTRACE_JSON_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace mwtrace
{

class Json
{
public:
    using Array = std::vector<Json>;
    using Object = std::map<std::string, Json, std::less<>>;

    Json() = default;
    Json(std::nullptr_t /*null*/) {}
    template <std::unsigned_integral Number>
    Json(Number number) : value_{std::uint64_t{number}}
    {
    }
    /// Not negative.
    Json(int number) : value_{static_cast<std::uint64_t>(number)} {}
    Json(std::string text) : value_{std::move(text)} {}
    Json(std::string_view text) : value_{std::string{text}} {}
    Json(const char* text) : value_{std::string{text}} {}
    Json(const std::vector<std::uint32_t>& numbers) : value_{Array(numbers.begin(), numbers.end())} {}
    /// An object if all items are pairs of a text and a value, otherwise an array.
    Json(std::initializer_list<Json> items);

    static Json array() { return Json(Value{Array{}}); }
    static Json object() { return Json(Value{Object{}}); }

    /// The most that parse() accepts.
    struct Limits {
        std::size_t depth = 8;         ///< of nested arrays and objects
        std::size_t events = SIZE_MAX; ///< beginnings, ends, keys and values
    };
    /// Of equal keys the last one counts.
    /// @return nothing if the text is not JSON or exceeds the limits
    [[nodiscard]] static std::optional<Json> parse(std::string_view text, const Limits& limits);

    [[nodiscard]] bool is_null() const { return std::holds_alternative<std::nullptr_t>(value_); }
    [[nodiscard]] bool is_array() const { return array_items() != nullptr; }
    [[nodiscard]] bool is_object() const { return members() != nullptr; }

    /// Null if the value is of another kind. A number is one from 0 to 2^64 - 1 without fraction or exponent.
    [[nodiscard]] const Array* array_items() const { return std::get_if<Array>(&value_); }
    [[nodiscard]] const Object* members() const { return std::get_if<Object>(&value_); }
    [[nodiscard]] const std::string* text() const { return std::get_if<std::string>(&value_); }
    [[nodiscard]] const std::uint64_t* number() const { return std::get_if<std::uint64_t>(&value_); }

    /// A member of an object; a null pointer if the value is not an object or has no such member.
    [[nodiscard]] const Json* find(std::string_view name) const;
    /// The same, but null for a missing member.
    [[nodiscard]] const Json& at(std::string_view name) const;
    /// Sets a member. Null becomes an object first.
    void set(std::string_view name, Json value);
    /// Appends to an array.
    void push_back(Json item) { std::get<Array>(value_).push_back(std::move(item)); }

    /// On one line, members in the order of their names. Texts must be UTF-8, as parsed ones are.
    [[nodiscard]] std::string dump() const;

    friend bool operator==(const Json& left, const Json& right) { return left.value_ == right.value_; }

private:
    /// A negative number, or one with a fraction or exponent, as written.
    struct OtherNumber {
        std::string digits;
        friend bool operator==(const OtherNumber&, const OtherNumber&) = default;
    };
    using Value = std::variant<std::nullptr_t, bool, std::uint64_t, OtherNumber, std::string, Array, Object>;
    friend class JsonBuilder;

    explicit Json(Value value) : value_{std::move(value)} {}
    void append_to(std::string& line) const;

    Value value_;
};

[[nodiscard]] bool is_utf8(std::string_view text);

} // namespace mwtrace

#endif
