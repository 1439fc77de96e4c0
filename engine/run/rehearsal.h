// SPDX-License-Identifier: Apache-2.0
// Everything that can be found out about a plan without sending configuration data.
//
// A run reads the files (read_files) while the buses are asked (take_inventory, in workers), and then
// rehearses. What it loads afterwards is the Input of each file: the bytes that were hashed and approved.
#ifndef KVN_ENGINE_RUN_REHEARSAL_H
#define KVN_ENGINE_RUN_REHEARSAL_H

#include "file/inspection.h"
#include "module/load.h"
#include "plan/plan.h"
#include "run/event.h"
#include "run/inventory.h"
#include "run/manifest.h"
#include "run/policy.h"

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kvn
{

/// A file of a plan, read to its end.
struct RehearsedFile {
    std::string name;                          ///< as the plan names it first
    std::optional<Input> input = {};           ///< null when it cannot be read or unpacked
    std::optional<Inspection> inspection = {}; ///< null as above
    std::optional<std::string> digest = {}; ///< of the configuration; null when the data are cut or damaged
    std::optional<Failure> failure = {};    ///< why there is no input
};

/// The distinct files of a plan. Constant after construction; may be read by several threads.
class RehearsedFiles
{
public:
    /// In the order of their first modules. Names that lead to one file are one file.
    [[nodiscard]] std::span<const RehearsedFile> all() const { return files_; }
    /// @param file as a module of the plan names it
    /// @throws std::out_of_range for another name
    [[nodiscard]] std::size_t index_of(const std::string& file) const { return indices_.at(file); }
    [[nodiscard]] const RehearsedFile& of(const PlannedModule& module) const
    {
        return files_[index_of(module.file)];
    }

private:
    friend RehearsedFiles read_files(std::span<const PlannedModule> modules, unsigned threads);

    std::vector<RehearsedFile> files_;
    std::map<std::string, std::size_t, std::less<>> indices_;
};

/// Reads, hashes and inspects each distinct file of a plan once. Only regular files are read. A file that
/// cannot be read is an entry with its failure.
/// @param threads at the most; 0: as many as the machine runs at once
/// @throws std::bad_alloc
[[nodiscard]] RehearsedFiles read_files(std::span<const PlannedModule> modules, unsigned threads = 0);

struct RehearsalRequest {
    const Plan* plan = nullptr;                   ///< not null
    const RehearsedFiles* files = nullptr;        ///< not null: read_files() of the plan's modules
    std::span<const BusInventory> inventory = {}; ///< of each bus of the plan
    const Manifest* manifest = nullptr;           ///< null: every file is approved, unless the policy objects
    Policy policy = {};
    bool can_ask = false; ///< a person can be asked for serial numbers
    bool force = false;   ///< modules may be loaded of which it cannot be judged whether they would start
    std::optional<double> bytes_per_second = {}; ///< of each bus, more than 0; null: no seconds are planned
    unsigned threads = 0;                        ///< as for read_files()
};

struct Rehearsal {
    /// Those of the plan and of all that was compared, each once: by line of the plan, then what belongs to
    /// no line. The place of a finding is a line of the plan, a bus ("mwc4a:0") or a file.
    std::vector<Finding> findings;
    std::vector<PlannedLoad> planned; ///< every module of the plan, in its order; what is unknown is null
    /// For each of them, what its load needs to know (LoadRequest::judged); null: it must not be loaded.
    std::vector<std::optional<JudgedFile>> judged;

    /// Then nothing must be sent.
    [[nodiscard]] bool has_problem() const;
};

/// Compares plan, files, modules and approval. Pure: it reads no file and calls no provider. A load of a
/// module without a problem is not refused later for a reason that could have been known now.
///
/// Two modules are one when their boards have the same type and carriers and slots have the same numbers,
/// over whichever bus they are reached. Boards of other types have numbers of their own, and which one is
/// behind a bus cannot be asked: a module that is reached over another board, and has number and slot of one
/// of another type, is a problem as well, unless both answer differently or the plan gives both of them
/// different serial numbers.
/// @throws std::bad_alloc
[[nodiscard]] Rehearsal rehearse(const RehearsalRequest& request);

/// The part that concerns the modules only: what answers, devices, and modules that are named twice. A file
/// that cannot be read is a note, since its device cannot be compared.
/// @param request of which only plan, files and inventory are used
[[nodiscard]] Rehearsal compare_inventory(const RehearsalRequest& request);

} // namespace kvn

#endif
