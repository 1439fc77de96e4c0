// SPDX-License-Identifier: Apache-2.0
// Loads an input into the one module of a platform that was made for it.
#ifndef KVN_ENGINE_FILE_BENCH_H
#define KVN_ENGINE_FILE_BENCH_H

#include "file/trial.h"
#include "platform.h"

#include <string>

namespace kvn::bench
{

/// Where the platform has its module, which takes compressed loads.
inline constexpr const char* BOARD_TYPE = "mwc4a";
inline constexpr unsigned SLOT = 1;

struct Outcome {
    int number = 0;    ///< of the library's error, or 0
    std::string error; ///< its text
};

/// @param format whose loader is used; for Format::unknown the library looks for a file of the input's name
/// Throws as Input::open.
[[nodiscard]] Outcome load(mwapi::Platform& platform, const Input& input, Format format, LoadKind kind);

} // namespace kvn::bench

#endif
