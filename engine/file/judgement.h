// SPDX-License-Identifier: Apache-2.0
// Whether a module would start with a bitstream file.
#ifndef KVN_ENGINE_FILE_JUDGEMENT_H
#define KVN_ENGINE_FILE_JUDGEMENT_H

#include "errors/failure.h"
#include "file/inspection.h"
#include "file/trial.h"

#include <optional>
#include <string>
#include <vector>

namespace kvn
{

enum class Answer { yes, no, unknown };

struct TriedLoad {
    LoadKind kind;
    Trial trial;
};

struct Judgement {
    std::string device; ///< that the modules of the trials had
    std::vector<TriedLoad> loads;
    Answer answer = Answer::unknown;
    std::string words; ///< the answer in words
};

/// "plain"
[[nodiscard]] const char* kind_name(LoadKind kind);

/// How a load ended, in words.
[[nodiscard]] std::string what_happens(const Inspection& inspection, const Trial& trial);

/// Which loader gets the file.
enum class Selection {
    by_name,   ///< that of the name's extension, as KVN_FPGA does; by content where the name states no format
    by_content ///< that of the content, whatever the name, as kvn load does
};

/// Tries the loads on a virtual module. The inspection's problems and the answer agree afterwards: the answer
/// is no exactly when one of them is fatal; what stops none of these loads becomes a note.
/// @param inspection of the input
/// @param device of the module, such as "2v3000fg676-4"; empty: the part that the file names
/// Throws as Input::open, and std::bad_alloc.
[[nodiscard]] Judgement judge(const Input& input, Inspection& inspection, const std::string& device,
                              const std::vector<LoadKind>& loads, Selection selection = Selection::by_name);

/// Why a module would not start, or why that is not known; null if it would. The first problem that stops
/// loads decides.
/// @param inspection as judge() has left it
[[nodiscard]] std::optional<Failure> failure_of(const Inspection& inspection, const Judgement& judgement);

} // namespace kvn

#endif
