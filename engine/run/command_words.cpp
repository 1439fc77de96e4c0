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

    /// In names of Windows' files backslashes are what they are, except before a quotation mark.
    [[nodiscard]] bool backslash_escapes() const
    {
        return system::has_posix_shell() || (!rest_.empty() && rest_.front() == '"');
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
    const bool has_meaning = word.empty() || word.find_first_of(" \t'\"&|<>^;,=()") != std::string::npos;
    return has_meaning ? '"' + word + '"' : word;
}

std::vector<std::string> split_words(std::string_view line)
{
    return WordReader{line}.all();
}

} // namespace kvn
