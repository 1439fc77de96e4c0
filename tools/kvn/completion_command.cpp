// SPDX-License-Identifier: Apache-2.0
// kvn completion: scripts that complete command lines in a shell, and the answers that they ask for.
#include "commands.h"
#include "completion.h"
#include "streams.h"

#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

struct Request {
    std::string shell;
    std::vector<std::string> words;
};

/// Shells show a candidate as it is, and some take more of it for their own than a name.
bool is_plain(const Candidate& candidate)
{
    constexpr std::string_view plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.,:/=+@";
    return candidate.word.find_first_not_of(plain) == std::string::npos;
}

void print(const Completion& completion)
{
    std::cout << (completion.files ? "files\n" : "words\n");
    for (const Candidate& candidate : completion.words)
        if (is_plain(candidate))
            std::cout << candidate.word << '\t' << printable(candidate.description) << '\n';
}

ExitStatus answer(const CLI::App& program, const Request& request)
{
    if (request.words.empty())
        std::cout << completion_script(request.shell);
    else
        print(complete(program, request.words));
    return ExitStatus::done;
}

} // namespace

Action add_completion(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command =
        add_command(program, "completion", "Prints a script that completes command lines in a shell");
    add_option(*command, "shell", request->shell, "The shell")
        ->required()
        ->check(one_of({"bash", "zsh", "fish"}));
    // What the scripts ask for: the words of a command line, the last to be completed.
    add_option(*command, "word", request->words)->group("");
    add_examples(*command, {"kvn completion bash", "kvn completion fish -- explain 91"});
    return [request, &program] { return answer(program, *request); };
}

} // namespace kvn
