// SPDX-License-Identifier: Apache-2.0
// Words of a shell's command line.
#include "run/command_words.h"

#include "errors/failure.h"
#include "system/process.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace kvn
{
namespace
{

constexpr std::string_view BLANKS = " \t\n";

bool is_plain(char c)
{
    constexpr std::string_view others = "_-./:,+@%=";
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || others.find(c) != std::string_view::npos;
}

[[noreturn]] void unfinished(std::string_view line, const char* what)
{
    throw FailureError{{.status = ExitStatus::usage, .what = std::string{line} + ": " + what}};
}

/// Reads the line from its begin to its end.
class WordReader
{
public:
    explicit WordReader(std::string_view line) : line_{line}, rest_{line} {}

    std::vector<std::string> all()
    {
        while (!rest_.empty())
            take(next());
        end_word();
        return std::move(words_);
    }

private:
    void take(char c)
    {
        if (BLANKS.find(c) != std::string_view::npos)
            return end_word();
        is_in_word_ = true;
        if (c == '\'')
            take_literally();
        else if (c == '"')
            take_quoted();
        else
            word_ += c == '\\' && backslash_escapes() ? escaped() : c;
    }

    void take_literally()
    {
        for (char c = in_quotes(); c != '\''; c = in_quotes())
            word_ += c;
    }

    /// Between double quotes a backslash has a meaning only before what it would otherwise not protect.
    void take_quoted()
    {
        constexpr std::string_view protected_ones = "\"\\$`";
        for (char c = in_quotes(); c != '"'; c = in_quotes()) {
            const bool escapes = c == '\\' && backslash_escapes() && !rest_.empty() &&
                                 protected_ones.find(rest_.front()) != std::string_view::npos;
            word_ += escapes ? next() : c;
        }
    }

    /// In names of Windows' files backslashes are what they are, except in front of a quotation mark.
    [[nodiscard]] bool backslash_escapes() const
    {
        if (system::has_posix_shell())
            return true;
        const std::size_t end = rest_.find_first_not_of('\\');
        return end != std::string_view::npos && rest_[end] == '"';
    }

    void end_word()
    {
        if (std::exchange(is_in_word_, false))
            words_.push_back(std::exchange(word_, {}));
    }

    char next()
    {
        const char c = rest_.front();
        rest_.remove_prefix(1);
        return c;
    }
    char in_quotes()
    {
        if (rest_.empty())
            unfinished(line_, "a quote is not closed");
        return next();
    }
    char escaped()
    {
        if (rest_.empty())
            unfinished(line_, "nothing follows the backslash");
        return next();
    }

    std::string_view line_;
    std::string_view rest_;
    std::string word_;
    bool is_in_word_ = false; ///< which may be empty, by quotes
    std::vector<std::string> words_;
};

/// As Windows' programs take it: backslashes count double in front of a quotation mark.
std::string quoted(const std::string& word)
{
    std::string text = "\"";
    std::size_t backslashes = 0;
    for (const char c : word) {
        if (c == '"')
            text.append(backslashes + 1, '\\');
        backslashes = c == '\\' ? backslashes + 1 : 0;
        text += c;
    }
    return text.append(backslashes, '\\') + '"';
}

} // namespace

std::string shell_word(const std::string& word)
{
    if (!word.empty() && std::ranges::all_of(word, is_plain))
        return word;
    std::string quoted = "'";
    for (const char c : word)
        quoted += c == '\'' ? std::string{"'\\''"} : std::string{c};
    return quoted + "'";
}

std::string command_word(const std::string& word)
{
    if (system::has_posix_shell())
        return shell_word(word);
    const bool has_meaning = word.empty() || word.find_first_of(" \t\n'\"&|<>^;,=()") != std::string::npos;
    return has_meaning ? quoted(word) : word;
}

std::vector<std::string> split_words(std::string_view line)
{
    return WordReader{line}.all();
}

} // namespace kvn
