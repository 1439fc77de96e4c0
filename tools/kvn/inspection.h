// What there is to know about a bitstream file without hardware.
#ifndef KVN_INSPECTION_H
#define KVN_INSPECTION_H

#include "configuration_port.h"
#include "packet_summary.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kvn
{

enum class Format { unknown, rbt, bit, mcb };

/// "RBT"; "unknown" for none.
[[nodiscard]] const char* format_name(Format format);

/// A field of a file's header.
struct Label {
    std::string name;
    std::string text;
};

struct Problem {
    std::string what;
    std::string remedy;
    /// The library refuses the file, or the load fails, whatever the device.
    bool fatal = true;
};

struct Inspection {
    std::string path;
    std::uint64_t file_size = 0;
    Format content = Format::unknown; ///< by what stands in the file
    Format named = Format::unknown;   ///< by the extension, which is what the library goes by
    std::vector<Label> labels;
    std::string part;                        ///< as the header names it
    const fpga::Device* device = nullptr;    ///< that the part begins with
    std::string other_family;                ///< of a part that no module carries: "Spartan-3E"
    std::optional<std::int64_t> stated_bits; ///< by the header
    std::uint64_t found_bits = 0;            ///< that could be read
    std::uint64_t run_coded_bytes = 0;       ///< as a compressed load carries them
    PacketSummary packets;
    std::optional<fpga::PortReport> port; ///< what the device makes of the data, whole
    std::vector<Problem> problems;

    [[nodiscard]] bool has_fatal_problem() const;
    [[nodiscard]] Format format() const { return content != Format::unknown ? content : named; }
};

/// Throws std::runtime_error for a file that cannot be read at all.
[[nodiscard]] Inspection inspect(const std::string& path);

} // namespace kvn

#endif
