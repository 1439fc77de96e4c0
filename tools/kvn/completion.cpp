// SPDX-License-Identifier: Apache-2.0
// What may come next on a command line of kvn, found in the tree of its commands and options.
#include "completion.h"

#include <algorithm>
#include <sstream>

namespace kvn
{
namespace
{

std::vector<const CLI::App*> commands_of(const CLI::App& program)
{
    return program.get_subcommands([](const CLI::App*) { return true; });
}

/// The words that the check of an option lists in its name: "TEXT:{bar,lines}".
std::vector<std::string> listed_words(const CLI::Option& option)
{
    const std::string type = option.get_type_name();
    const std::size_t open = type.find('{');
    const std::size_t close = type.rfind('}');
    std::vector<std::string> words;
    if (open == std::string::npos || close == std::string::npos)
        return words;
    std::istringstream list{type.substr(open + 1, close - open - 1)};
    for (std::string word; std::getline(list, word, ',');)
        words.push_back(word);
    return words;
}

bool is_flag(const CLI::Option& option)
{
    return option.get_items_expected_max() == 0;
}

/// The words of a command line, read in order.
class CommandLine
{
public:
    explicit CommandLine(const CLI::App& program) : command_{&program} {}

    /// Takes a word that is complete.
    void take(const std::string& word)
    {
        if (waiting_ != nullptr)
            give(*waiting_, word);
        else if (word == "--")
            options_end_ = true;
        else if (is_option(word))
            take_option(word);
        else if (const CLI::App* found = find_command(word))
            command_ = found;
        else
            ++arguments_;
    }

    [[nodiscard]] Completion candidates(const std::string& word) const
    {
        if (waiting_ != nullptr)
            return values(*waiting_);
        if (is_option(word))
            return option_candidates(word);
        Completion found;
        for (const CLI::App* command : commands_of(*command_))
            found.words.push_back({command->get_name(), command->get_description()});
        if (const CLI::Option* argument = next_argument())
            found = values(*argument);
        return found;
    }

private:
    [[nodiscard]] bool is_option(const std::string& word) const
    {
        return !options_end_ && word.starts_with('-');
    }

    [[nodiscard]] const CLI::App* find_command(const std::string& name) const
    {
        const auto commands = commands_of(*command_);
        const auto found =
            std::ranges::find(commands, name, [](const CLI::App* each) { return each->get_name(); });
        return found == commands.end() ? nullptr : *found;
    }

    [[nodiscard]] const CLI::Option* find_option(const std::string& name) const
    {
        const auto options = command_->get_options();
        const auto found = std::ranges::find_if(options, [&](const CLI::Option* each) {
            return each->nonpositional() && each->check_name(name);
        });
        return found == options.end() ? nullptr : *found;
    }

    void take_option(const std::string& word)
    {
        const std::size_t sign = word.find('=');
        const CLI::Option* option = find_option(word.substr(0, sign));
        if (option == nullptr || is_flag(*option))
            return;
        if (sign == std::string::npos)
            waiting_ = option;
        else
            give(*option, word.substr(sign + 1));
    }

    void give(const CLI::Option& option, const std::string& value)
    {
        waiting_ = nullptr;
        if (option.check_lname("provider"))
            given_.provider = value;
        if (option.check_lname("rack"))
            given_.rack = value;
    }

    /// The last argument may take several words.
    [[nodiscard]] const CLI::Option* next_argument() const
    {
        const auto arguments =
            command_->get_options([](const CLI::Option* each) { return each->get_positional(); });
        if (arguments_ < arguments.size())
            return arguments[arguments_];
        const bool takes_more = !arguments.empty() && arguments.back()->get_items_expected_max() > 1;
        return takes_more ? arguments.back() : nullptr;
    }

    [[nodiscard]] Completion option_candidates(const std::string& word) const
    {
        Completion found;
        const std::size_t sign = word.find('=');
        if (sign != std::string::npos) {
            const CLI::Option* option = find_option(word.substr(0, sign));
            if (option != nullptr && !is_flag(*option))
                found = values(*option);
            for (Candidate& candidate : found.words)
                candidate.word.insert(0, word.substr(0, sign + 1));
            return found;
        }
        for (const CLI::Option* option : command_->get_options())
            for (const std::string& name : option->get_lnames())
                found.words.push_back({"--" + name, option->get_description()});
        return found;
    }

    [[nodiscard]] Completion values(const CLI::Option& option) const
    {
        Completion found;
        for (const std::string& word : listed_words(option))
            found.words.push_back({word, ""});
        return found.words.empty() ? values_of(option.get_single_name(), given_) : found;
    }

    const CLI::App* command_;
    const CLI::Option* waiting_ = nullptr; ///< the option whose value comes next
    bool options_end_ = false;
    std::size_t arguments_ = 0;
    ProviderOptions given_;
};

} // namespace

Completion complete(const CLI::App& program, std::span<const std::string> words)
{
    CommandLine line{program};
    for (const std::string& word : words.first(words.size() - 1))
        line.take(word);
    Completion found = line.candidates(words.back());
    std::erase_if(found.words,
                  [&](const Candidate& candidate) { return !candidate.word.starts_with(words.back()); });
    return found;
}

} // namespace kvn
