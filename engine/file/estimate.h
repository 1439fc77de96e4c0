// SPDX-License-Identifier: Apache-2.0
// What one load of a file sends, before anything is sent.
//
// The figures come from the library's own loaders, which load the file into a platform that only counts.
#ifndef KVN_ENGINE_FILE_ESTIMATE_H
#define KVN_ENGINE_FILE_ESTIMATE_H

#include "file/inspection.h"
#include "file/trial.h"

#include <cstdint>
#include <optional>
#include <string>

namespace kvn
{

/// The mode of a load as the user asks for it.
enum class ModeWish {
    as_taken, ///< compressed if the module takes that, else plain
    plain,
    compressed, ///< plain if the module does not take it
    smallest    ///< the shorter of both on the wire, plain if they are equal
};

struct EstimateRequest {
    std::string device = {}; ///< the module's, "2v3000fg676-4"; empty: the one that the file names
    std::optional<bool> takes_compressed = {}; ///< whether the module takes compressed loads; null: not known
    ModeWish wish = ModeWish::as_taken;
    std::optional<double> bytes_per_second = {}; ///< of the bus, more than 0; null: no seconds are given
};

/// One mode of load.
struct LoadSize {
    bool is_loadable = false;     ///< the library sends the file to its end; otherwise all figures are 0
    std::string error;            ///< why not: the library's message
    int number = 0;               ///< its number
    std::uint64_t wire_bytes = 0; ///< of the load's message: the load header of 2 bytes and the data
    std::uint64_t units = 0;      ///< run-coded pairs of 2 bytes, or plain words of 4 (a last one may be cut)
    std::uint64_t held_back = 0;  ///< configuration bytes of the file that the library does not send
    std::optional<double> seconds; ///< wire_bytes at the given rate
};

struct Estimate {
    LoadKind mode = LoadKind::plain;
    std::string why;                        ///< of the mode, in words
    std::optional<double> bytes_per_second; ///< as requested
    LoadSize plain;
    LoadSize compressed;

    [[nodiscard]] const LoadSize& chosen() const { return mode == LoadKind::plain ? plain : compressed; }
};

/// Whether the file is loadable at all is said by the sizes; nothing is judged here (see judge).
/// Throws FailureError of ExitStatus::damaged when the content is no bitstream, of ExitStatus::file as
/// Input::open; and std::bad_alloc. May be called in several threads at the same time.
[[nodiscard]] Estimate estimate(const Input& input, const Inspection& inspection,
                                const EstimateRequest& request);

} // namespace kvn

#endif
