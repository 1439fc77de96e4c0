// SPDX-License-Identifier: Apache-2.0
// Reads descriptions in TOML; every mistake is told with file, line and what was expected.
#ifndef CONFIG_TABLE_READER_H
#define CONFIG_TABLE_READER_H

#include "config/nearest_word.h"

// Hostile texts break assertions of the parser, and its answers to them are there. So its switch turns the
// assertions off, and NDEBUG, which would make them promises to the compiler, does not hold here.
#undef NDEBUG
#define TOML_ASSERT(condition) static_assert(true)
#include <toml++/toml.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace config
{

/// A mistake in a description: "rack.toml:12: unknown key ...".
class Mistake : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// One table of a description. The operations throw Mistake when something is not as they expect it.
class TableReader
{
public:
    /// @param table must outlive this
    /// @param what the table, as in "unknown key ... in WHAT"
    TableReader(const toml::table& table, std::string file, std::string what);

    [[noreturn]] void mistake(const toml::node& where, const std::string& text) const;
    [[noreturn]] void mistake(const std::string& text) const;
    /// Where the table begins: "rack.toml:12".
    [[nodiscard]] std::string place() const;

    /// Refuses all other keys.
    void allow(const Words& keys) const;

    /// Null when there is none.
    [[nodiscard]] const toml::node* find(std::string_view key) const;
    [[nodiscard]] const toml::node& need(std::string_view key) const;

    [[nodiscard]] std::string text(std::string_view key, std::size_t longest = 4096) const;
    [[nodiscard]] std::string text_or(std::string_view key, std::string_view otherwise) const;
    [[nodiscard]] std::string text_of(const toml::node& node, std::string_view key,
                                      std::size_t longest) const;

    [[nodiscard]] std::int64_t integer(std::string_view key, std::int64_t least, std::int64_t most) const;
    [[nodiscard]] std::int64_t integer_or(std::string_view key, std::int64_t least, std::int64_t most,
                                          std::int64_t otherwise) const;
    [[nodiscard]] std::int64_t integer_of(const toml::node& node, std::string_view key, std::int64_t least,
                                          std::int64_t most) const;
    [[nodiscard]] bool boolean_or(std::string_view key, bool otherwise) const;

    /// The index of the text among the words.
    [[nodiscard]] std::size_t choice(std::string_view key, const Words& words) const;

    /// The table of that key; none when there is no such key.
    [[nodiscard]] std::optional<TableReader> table(std::string_view key, const std::string& what) const;
    /// The tables of a list; none when there is no such key.
    [[nodiscard]] std::vector<TableReader> tables(std::string_view key, const std::string& what) const;

private:
    const toml::table* table_;
    std::string file_;
    std::string what_;
};

/// A parsed description.
class Document
{
public:
    /// @throws Mistake when the text is no TOML
    Document(const std::string& text, std::string file);
    /// Valid as long as the document.
    [[nodiscard]] TableReader top(const std::string& what) const { return {table_, file_, what}; }

private:
    std::string file_;
    toml::table table_;
};

} // namespace config

#endif
