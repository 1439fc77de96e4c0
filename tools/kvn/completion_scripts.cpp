// SPDX-License-Identifier: Apache-2.0
// The scripts by which shells complete command lines of kvn. Each asks kvn itself, whose answer has a first
// line "files" or "words", then a line for each candidate, with its description after a tab.
#include "completion.h"

namespace kvn
{
namespace
{

// Choice: the scripts hold no names (docs/decisions/0048-completion-asks.md).

// The words are taken from the line, because bash cuts them at ':' and '=', and replaces only the last piece.
constexpr std::string_view BASH = R"script(# Completes command lines of kvn in bash: source this file.
_kvn()
{
    local line=${COMP_LINE:0:COMP_POINT} words answer current pieces
    read -ra words <<<"$line"
    [[ $line == *[[:space:]] ]] && words+=("")
    current=${words[-1]}
    pieces=${current%"${COMP_WORDS[COMP_CWORD]#[:=]}"}
    mapfile -t answer < <("$1" completion bash -- "${words[@]:1}" 2>/dev/null)
    COMPREPLY=("${answer[@]:1}")
    COMPREPLY=("${COMPREPLY[@]%%$'\t'*}")
    COMPREPLY=("${COMPREPLY[@]#"$pieces"}")
    if [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *: ]]; then
        compopt -o nospace
    fi
    if [[ ${#COMPREPLY[@]} -eq 0 && ${answer[0]} == files ]]; then
        compopt -o default
    fi
}
complete -F _kvn kvn
)script";

constexpr std::string_view ZSH = R"script(#compdef kvn
# Completes command lines of kvn in zsh: put this file, named _kvn, into a folder of fpath, or source it after compinit.
_kvn()
{
    local -a answer candidates
    local line
    answer=("${(@f)$("${(@Q)words[1]}" completion zsh -- "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" 2>/dev/null)}")
    for line in "${(@)answer[2,-1]}"; do
        candidates+=("${${line%%$'\t'*}//:/\\:}:${line#*$'\t'}")
    done
    (( $#candidates )) && _describe -t words 'kvn' candidates
    [[ $answer[1] == files ]] && _files
}
if [[ $funcstack[1] == _kvn ]]; then
    _kvn "$@"
else
    compdef _kvn kvn
fi
)script";

constexpr std::string_view FISH =
    R"script(# Completes command lines of kvn in fish: put this file, named kvn.fish, into a completions folder, or source it.
function __kvn_candidates
    set -l words (commandline -opc)
    set -l answer ($words[1] completion fish -- $words[2..-1] (commandline -ct) 2>/dev/null)
    printf '%s\n' $answer[2..-1]
    if test "$answer[1]" = files
        __fish_complete_path (commandline -ct)
    end
end
complete -c kvn -f -a '(__kvn_candidates)'
)script";

} // namespace

std::string_view completion_script(std::string_view shell)
{
    if (shell == "bash")
        return BASH;
    return shell == "zsh" ? ZSH : FISH;
}

} // namespace kvn
