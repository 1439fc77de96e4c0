// SPDX-License-Identifier: Apache-2.0
#include "run/command_words.h"

#include "errors/failure.h"
#include "system/command_words.h"

#include <utility>

namespace kvn
{
namespace
{

constexpr std::string_view BLANKS = " \t\n";

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
            word_ += c == '\\' && system::is_escape(rest_) ? escaped() : c;
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
            const bool escapes = c == '\\' && system::is_escape(rest_) && !rest_.empty() &&
                                 protected_ones.find(rest_.front()) != std::string_view::npos;
            word_ += escapes ? next() : c;
        }
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

std::vector<std::string> split_words(std::string_view line)
{
    return WordReader{line}.all();
}

} // namespace kvn
