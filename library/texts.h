// SPDX-License-Identifier: Apache-2.0
// The texts that results point to.
#ifndef KVN_LIBRARY_TEXTS_H
#define KVN_LIBRARY_TEXTS_H

#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace kvn::c_interface
{

/// The text with U+FFFD for each byte that is no part of a UTF-8 character, and without what follows a zero.
[[nodiscard]] std::string utf8(std::string_view text);

/// Texts that stay where they are until all of them are released.
class Texts
{
public:
    /// @return the text as UTF-8; never null. @throws std::bad_alloc
    const char* keep(std::string_view text) { return texts_.emplace_back(utf8(text)).c_str(); }
    /// @return null for none
    const char* keep_known(const std::optional<std::string>& text) { return text ? keep(*text) : nullptr; }
    /// @return null for an empty text
    const char* keep_if_any(std::string_view text) { return text.empty() ? nullptr : keep(text); }
    void clear() { texts_.clear(); }

private:
    std::deque<std::string> texts_;
};

} // namespace kvn::c_interface

#endif
