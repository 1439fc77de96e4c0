// SPDX-License-Identifier: Apache-2.0
// Steps through a TOML text, as far as it takes to know what is quoted and what is a comment.
#include "config/toml_check.h"

#include <algorithm>

namespace config
{
namespace
{

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
constexpr std::size_t TRIPLE = 3;

// The end of a text in three quotes may follow two more of them.
constexpr std::size_t LONGEST_END = 5;

class Scan
{
public:
    explicit Scan(std::string_view text)
        : text_{text}, at_{text.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0}
    {
    }

    /// @return false when no character is at the wrong place
    bool find_beyond_ascii()
    {
        while (!ended() && !is_beyond_ascii())
            skip_part();
        return !ended();
    }

    [[nodiscard]] std::size_t line() const
    {
        return 1 + static_cast<std::size_t>(std::ranges::count(text_.substr(0, at_), '\n'));
    }

private:
    [[nodiscard]] bool ended() const { return at_ >= text_.size(); }
    [[nodiscard]] bool is_beyond_ascii() const { return static_cast<unsigned char>(text_[at_]) > 0x7F; }

    void skip_part()
    {
        const char c = text_[at_];
        if (c == '#')
            at_ = std::min(text_.find('\n', at_), text_.size());
        else if (begins_number())
            skip_number();
        else if (c != '"' && c != '\'')
            ++at_;
        else if (quotes(c) < TRIPLE)
            skip_line_text(c);
        else
            skip_text(c);
    }

    /// A digit, sign or point that does not go on with a key.
    [[nodiscard]] bool begins_number() const
    {
        constexpr std::string_view begins = "0123456789+-.";
        const bool goes_on = at_ > 0 && is_key_character(text_[at_ - 1]);
        return begins.find(text_[at_]) != std::string_view::npos && !goes_on;
    }

    static bool is_key_character(char c)
    {
        return is_letter_or_digit(c) || c == '_' || c == '-' || c == '"' || c == '\'';
    }

    static bool is_letter_or_digit(char c)
    {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    }

    /// Skips what the parser takes for a number: quotes in it are not those of a text.
    void skip_number()
    {
        constexpr std::string_view ends = " \t\r\n\v\f,]}#";
        while (!ended() && !is_beyond_ascii() && ends.find(text_[at_]) == std::string_view::npos)
            ++at_;
    }

    /// How many quotes follow one another.
    [[nodiscard]] std::size_t quotes(char quote) const
    {
        return std::min(text_.find_first_not_of(quote, at_), text_.size()) - at_;
    }

    /// Skips a text in single quotes. Where its line ends first the parser stops.
    void skip_line_text(char quote)
    {
        for (++at_; !ended() && text_[at_] != quote && text_[at_] != '\n'; ++at_)
            if (quote == '"' && text_[at_] == '\\')
                ++at_;
        ++at_;
    }

    /// Skips a text in three quotes, or stops at the character of it that is at the wrong place.
    void skip_text(char quote)
    {
        at_ += TRIPLE;
        while (!ended() && quotes(quote) < TRIPLE) {
            if (quote != '"' || text_[at_] != '\\')
                ++at_;
            else if (!skip_escape())
                return;
        }
        if (!ended())
            at_ += std::min(quotes(quote), LONGEST_END);
    }

    /// Skips a backslash with the character that it stands for, or with the blanks that it takes away.
    /// @return false when a character beyond ASCII follows
    bool skip_escape()
    {
        const std::size_t escaped = ++at_;
        at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size());
        if (ended() || is_beyond_ascii())
            return false;
        if (at_ == escaped)
            ++at_;
        return true;
    }

    std::string_view text_;
    std::size_t at_;
};

} // namespace

std::size_t line_beyond_ascii(std::string_view text)
{
    Scan scan{text};
    return scan.find_beyond_ascii() ? scan.line() : 0;
}

} // namespace config
