// SPDX-License-Identifier: Apache-2.0
// The lines of a journal: how each is tied to the one before it, and how a change shows.
#include "run/journal_line.h"

#include "hashing/sha256.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <utility>

namespace kvn
{
namespace
{

constexpr std::size_t HASH_SIZE = 64;
constexpr std::string_view BEFORE_SUM = R"(,"sum":")";
constexpr std::string_view AFTER_HASH = "\"}";
constexpr std::size_t SUM_SIZE = BEFORE_SUM.size() + HASH_SIZE + AFTER_HASH.size();
constexpr std::string_view NO_PREVIOUS = R"(,"previous":null)";
constexpr std::string_view BEFORE_PREVIOUS = R"(,"previous":")";
constexpr std::size_t PREVIOUS_SIZE = BEFORE_PREVIOUS.size() + HASH_SIZE + 1;

std::span<const std::uint8_t> bytes_of(std::string_view text)
{
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): bytes as bytes
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// The SHA-256 of a line's sealed part, then of the whole line.
std::pair<std::string, std::string> sums_of(std::string_view sealed, std::string_view rest)
{
    hashing::Sha256 line;
    line.take(bytes_of(sealed));
    hashing::Sha256 part = line;
    line.take(bytes_of(rest));
    return {part.finish(), line.finish()};
}

/// @param sealed a line up to its sum
/// @return false when it does not end in "previous"
bool read_previous(std::string_view sealed, std::optional<std::string>& previous)
{
    if (sealed.ends_with(NO_PREVIOUS))
        return true;
    if (sealed.size() < PREVIOUS_SIZE)
        return false;
    const std::string_view member = sealed.substr(sealed.size() - PREVIOUS_SIZE);
    const std::string_view hash = member.substr(BEFORE_PREVIOUS.size(), HASH_SIZE);
    if (!member.starts_with(BEFORE_PREVIOUS) || !member.ends_with('"') || !is_sha256(hash))
        return false;
    previous = hash;
    return true;
}

} // namespace

bool is_sha256(std::string_view text)
{
    return text.size() == HASH_SIZE && std::ranges::all_of(text, [](char each) {
               return (each >= '0' && each <= '9') || (each >= 'a' && each <= 'f');
           });
}

SealedLine seal_line(const Json& members, const std::optional<std::string>& previous)
{
    std::string text = members.dump(-1, ' ', false, Json::error_handler_t::replace);
    text.pop_back();
    if (previous)
        text.append(BEFORE_PREVIOUS).append(*previous).append("\"");
    else
        text.append(NO_PREVIOUS);
    hashing::Sha256 line;
    line.take(bytes_of(text));
    hashing::Sha256 part = line;
    const std::string rest = std::string{BEFORE_SUM} + part.finish() + std::string{AFTER_HASH};
    line.take(bytes_of(rest));
    return {text + rest + '\n', line.finish()};
}

std::optional<LineSeal> check_seal(std::string_view line)
{
    if (line.size() < SUM_SIZE)
        return std::nullopt;
    const std::string_view sealed = line.substr(0, line.size() - SUM_SIZE);
    const std::string_view rest = line.substr(sealed.size());
    LineSeal seal;
    if (!rest.starts_with(BEFORE_SUM) || !rest.ends_with(AFTER_HASH) || !read_previous(sealed, seal.previous))
        return std::nullopt;
    auto [sum, sha256] = sums_of(sealed, rest);
    if (rest.substr(BEFORE_SUM.size(), HASH_SIZE) != sum)
        return std::nullopt;
    seal.sha256 = std::move(sha256);
    return seal;
}

bool goes_on_after_seal(std::string_view bytes)
{
    const std::size_t sum = bytes.rfind(BEFORE_SUM);
    return sum != std::string_view::npos && bytes.size() > sum + SUM_SIZE &&
           check_seal(bytes.substr(0, sum + SUM_SIZE)).has_value();
}

} // namespace kvn
