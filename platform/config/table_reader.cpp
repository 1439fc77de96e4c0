// SPDX-License-Identifier: Apache-2.0
// Reads descriptions in TOML.
#include "config/table_reader.h"

#include "config/toml_check.h"

#include <algorithm>
#include <utility>

namespace config
{
namespace
{

toml::table parse(const std::string& text, const std::string& file)
{
    if (const std::size_t line = line_beyond_ascii(text))
        throw Mistake(
            file + ":" + std::to_string(line) +
            ": characters beyond ASCII may stand only in quotes and comments, and not behind a backslash");
    try {
        return toml::parse(text);
    } catch (const toml::parse_error& error) {
        throw Mistake(file + ":" + std::to_string(error.source().begin.line) + ": " +
                      std::string{error.description()});
    }
}

} // namespace

Document::Document(const std::string& text, std::string file)
    : file_{std::move(file)}, table_{parse(text, file_)}
{
}

TableReader::TableReader(const toml::table& table, std::string file, std::string what)
    : table_{&table}, file_{std::move(file)}, what_{std::move(what)}
{
}

std::string TableReader::place() const
{
    return file_ + ":" + std::to_string(table_->source().begin.line);
}

void TableReader::mistake(const toml::node& where, const std::string& text) const
{
    throw Mistake(file_ + ":" + std::to_string(where.source().begin.line) + ": " + text);
}

void TableReader::mistake(const std::string& text) const
{
    mistake(*table_, text);
}

void TableReader::allow(const Words& keys) const
{
    for (const auto& [key, node] : *table_) {
        if (std::ranges::find(keys, key.str()) == keys.end())
            throw Mistake(file_ + ":" + std::to_string(key.source().begin.line) + ": unknown key " +
                          quoted(key.str()) + " in " + what_ + suggestion(key.str(), keys));
    }
}

const toml::node* TableReader::find(std::string_view key) const
{
    return table_->get(key);
}

const toml::node& TableReader::need(std::string_view key) const
{
    const toml::node* node = find(key);
    if (node == nullptr)
        mistake(what_ + " needs " + quoted(key));
    return *node;
}

std::string TableReader::text(std::string_view key, std::size_t longest) const
{
    return text_of(need(key), key, longest);
}

std::string TableReader::text_or(std::string_view key, std::string_view otherwise) const
{
    return find(key) != nullptr ? text(key) : std::string{otherwise};
}

std::string TableReader::text_of(const toml::node& node, std::string_view key, std::size_t longest) const
{
    const auto value = node.value_exact<std::string>();
    if (!value || value->empty() || value->size() > longest || value->find('\0') != std::string::npos)
        mistake(node, quoted(key) + " must be a text of 1 to " + std::to_string(longest) + " characters");
    return *value;
}

std::int64_t TableReader::integer(std::string_view key, std::int64_t least, std::int64_t most) const
{
    return integer_of(need(key), key, least, most);
}

std::int64_t TableReader::integer_or(std::string_view key, std::int64_t least, std::int64_t most,
                                     std::int64_t otherwise) const
{
    return find(key) != nullptr ? integer(key, least, most) : otherwise;
}

std::int64_t TableReader::integer_of(const toml::node& node, std::string_view key, std::int64_t least,
                                     std::int64_t most) const
{
    const auto value = node.value_exact<std::int64_t>();
    if (!value || *value < least || *value > most)
        mistake(node, quoted(key) + " must be a whole number from " + std::to_string(least) + " to " +
                          std::to_string(most));
    return *value;
}

bool TableReader::boolean_or(std::string_view key, bool otherwise) const
{
    const toml::node* node = find(key);
    if (node == nullptr)
        return otherwise;
    const auto value = node->value_exact<bool>();
    if (!value)
        mistake(*node, quoted(key) + " must be true or false");
    return *value;
}

std::size_t TableReader::choice(std::string_view key, const Words& words) const
{
    const std::string word = text(key);
    const auto found = std::ranges::find(words, word);
    if (found == words.end())
        mistake(need(key), "unknown " + std::string{key} + " " + quoted(word) + suggestion(word, words));
    return static_cast<std::size_t>(found - words.begin());
}

std::optional<TableReader> TableReader::table(std::string_view key, const std::string& what) const
{
    const toml::node* node = find(key);
    if (node == nullptr)
        return std::nullopt;
    if (!node->is_table())
        mistake(*node, quoted(key) + " must be a table");
    return TableReader{*node->as_table(), file_, what};
}

std::vector<TableReader> TableReader::tables(std::string_view key, const std::string& what) const
{
    std::vector<TableReader> readers;
    const toml::node* node = find(key);
    if (node == nullptr)
        return readers;
    const toml::array* array = node->as_array();
    if (array == nullptr ||
        !std::ranges::all_of(*array, [](const toml::node& each) { return each.is_table(); }))
        mistake(*node, quoted(key) + " must be a list of tables");
    for (const toml::node& each : *array)
        readers.emplace_back(*each.as_table(), file_, what);
    return readers;
}

} // namespace config
