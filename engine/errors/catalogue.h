// SPDX-License-Identifier: Apache-2.0
// Every error number of the library: its class, its meaning, what it leaves behind and what to do.
//
// The one source of docs/errors.md and docs/exit-status.md, which scripts/error_index.py writes. Texts for
// people hold Markdown: `code`, **stress** and [links](page.md).
#ifndef KVN_ENGINE_ERRORS_CATALOGUE_H
#define KVN_ENGINE_ERRORS_CATALOGUE_H

#include <span>
#include <string>
#include <string_view>

namespace kvn
{

/// How a program ends, and with it the class of an error: every number belongs to exactly one.
enum class ExitStatus {
    done = 0,         ///< all done, or nothing to do
    internal = 1,     ///< a mistake of ours, no memory
    usage = 2,        ///< command line, plan file, environment
    file = 3,         ///< a file cannot be opened, read or written
    damaged = 4,      ///< a file is damaged, or no bitstream
    wrong_device = 5, ///< the bitstream is for another device than the module has
    no_module = 6,    ///< no such board, slot or module, or the provider cannot be loaded
    bus = 7,          ///< the bus failed
    refused = 8,      ///< the module refused the configuration
    several = 9,      ///< several modules, several outcomes: see the records
    rehearsal = 10,   ///< the rehearsal found problems; nothing was sent
    cancelled = 11,
    timed_out = 12,
};

/// What a module holds when a load has ended with an error; meaning_of gives the words.
enum class ModuleState {
    untouched,
    interrupted,
    refused,
    configured,
    unknown,
};

/// What several errors have in common: causes and remedy stand there.
enum class Topic { none, bus, reading, writing, verdict };

struct TopicEntry {
    Topic topic;
    std::string_view title;
    std::string_view causes;
    std::string_view remedy;
};

struct ErrorEntry {
    int number;
    ExitStatus status;
    ModuleState state;
    Topic topic;
    std::string_view text; ///< as in the sources, with its conversions
    std::string_view meaning;
    std::string_view remedy; ///< empty when the topic says all
};

/// Errors of one step of a run.
struct ErrorSection {
    std::string_view title;
    std::span<const ErrorEntry> entries;
};

/// What the status of a load means that a virtual module's chip gives: 1 to 10. Of a real module's statuses
/// only 5 is settled.
struct VerdictEntry {
    int status;
    std::string_view meaning;
    std::string_view remedy;
};

/// The status of a module that has started; the only one whose meaning holds for every module.
inline constexpr int CONFIGURED_STATUS = 5;
/// What a status other than 5 tells of a real module, and what it cannot tell.
[[nodiscard]] std::string_view about_statuses();
[[nodiscard]] std::span<const VerdictEntry> verdicts();
/// Null for a status that virtual modules do not give.
[[nodiscard]] const VerdictEntry* find_verdict(int status);

/// All errors, in the order of docs/errors.md. A number with two texts has two entries.
[[nodiscard]] std::span<const ErrorSection> error_sections();
[[nodiscard]] std::span<const TopicEntry> error_topics();

/// The first entry of a number, or null.
[[nodiscard]] const ErrorEntry* find_error(int number);
/// Null for Topic::none.
[[nodiscard]] const TopicEntry* find_topic(Topic topic);

/// The status that a program ends with after an error of the library; 0 gives done, an unknown number
/// internal.
[[nodiscard]] ExitStatus exit_status_of(int error);

/// The class in words: "the bus failed".
[[nodiscard]] std::string_view meaning_of(ExitStatus status);
/// The state in a word: "interrupted".
[[nodiscard]] std::string_view name_of(ModuleState state);
/// The state in words: "it has part of the data and does not run".
[[nodiscard]] std::string_view meaning_of(ModuleState state);

/// A text of the catalogue without its Markdown, for a terminal; links to pages become "words
/// (docs/page.md)".
[[nodiscard]] std::string plain_text(std::string_view markdown);

} // namespace kvn

#endif
