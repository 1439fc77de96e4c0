// SPDX-License-Identifier: Apache-2.0
// What shall be in which module: read from a .con file or a plan file, with everything that is wrong in it.
#ifndef KVN_ENGINE_PLAN_PLAN_H
#define KVN_ENGINE_PLAN_PLAN_H

#include "file/estimate.h"
#include "module/module_name.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvn
{

/// A line of a plan; 0 for the plan as a whole.
struct PlanPlace {
    std::string file;
    std::size_t line = 0;

    /// "rack.con:3", or "rack.con"
    [[nodiscard]] std::string text() const;
    friend bool operator==(const PlanPlace&, const PlanPlace&) = default;
};

enum class Severity {
    note,   ///< the plan can be carried out as it stands
    problem ///< it must not
};

/// Something that a user should know about a plan before it is carried out.
struct Finding {
    Severity severity = Severity::problem;
    PlanPlace place;
    std::string what;
    std::string remedy; ///< may be empty for a note

    friend bool operator==(const Finding&, const Finding&) = default;
};

/// One module of a plan.
struct PlannedModule {
    PlanPlace place = {};
    std::string label = {}; ///< the user's own name for it; may be empty
    ModuleName module;
    std::string file; ///< path that can be opened from the working directory
    ModeWish mode = ModeWish::as_taken;
    std::optional<std::string> device = {}; ///< that the user expects in the module
    std::optional<std::string> digest =
        {}; ///< of the configuration that the user expects: 64 hexadecimal digits
    std::optional<std::string> serial_number = {};
    bool asks_serial_number = false;
    std::optional<unsigned> timeout = {}; ///< seconds without a byte moved after which the load is given up
    std::optional<unsigned> retries = {}; ///< after failures of the bus

    friend bool operator==(const PlannedModule&, const PlannedModule&) = default;
};

struct Plan {
    std::string file; ///< as it was named
    std::vector<PlannedModule>
        modules; ///< in the order of the plan; those with a problem of their own are left out
    std::vector<Finding> findings; ///< in the order of the plan's lines

    [[nodiscard]] bool has_problem() const;
};

/// The word for a mode in a plan file: "as-module", "plain", "compressed", "smallest".
[[nodiscard]] const char* name_of(ModeWish mode);

/// How a .con file is read.
enum class ConReading {
    strict, ///< whatever the classic way skips or misreads is a problem
    classic ///< as KVN_FPGA reads it; a note tells what it makes of each odd line
};

/// Names of files are looked up through this, so that plans can be read without them.
class FileFinder
{
public:
    virtual ~FileFinder() = default;
    /// Whether there is such a file (of any kind).
    [[nodiscard]] virtual bool exists(const std::string& path) const = 0;
};

/// Looks into the file system.
[[nodiscard]] const FileFinder& real_files();

/// Reads a .con file: a bitstream, a board type, a board number and a slot address on each line.
///
/// A bitstream's name is looked for in the working directory, then beside the plan (strict), without an
/// extension as .rbt and then as .mcb. Nothing is opened, and no content is read.
/// @param text the whole file; any bytes
/// @param file its name, for places and to find what lies beside it
/// @return the modules, and every mistake; a module that is named twice is a problem (strict)
/// @throws std::bad_alloc
[[nodiscard]] Plan read_con_plan(std::string_view text, const std::string& file, ConReading reading,
                                 const FileFinder& files = real_files());

/// Reads a plan file in TOML (docs/plans.md). A bitstream's name is relative to the folder of the plan.
/// Arguments and result as above. A text that is no TOML gives one problem and no module.
[[nodiscard]] Plan read_toml_plan(const std::string& text, const std::string& file,
                                  const FileFinder& files = real_files());

/// Reads a plan of either kind: .toml names a plan file, every other name a .con file.
/// @throws FailureError (ExitStatus::file) when the file cannot be read, is no regular file or larger than a
/// megabyte
[[nodiscard]] Plan read_plan(const std::string& path, ConReading reading = ConReading::strict,
                             const FileFinder& files = real_files());

/// A plan as a plan file: what read_toml_plan() reads back as the same modules.
[[nodiscard]] std::string write_plan(const std::vector<PlannedModule>& modules, const std::string& comment);

} // namespace kvn

#endif
