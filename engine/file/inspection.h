// SPDX-License-Identifier: Apache-2.0
// What there is to know about a bitstream file without hardware.
#ifndef KVN_ENGINE_FILE_INSPECTION_H
#define KVN_ENGINE_FILE_INSPECTION_H

#include "configuration_port.h"
#include "errors/catalogue.h"
#include "file/families.h"
#include "file/input.h"
#include "file/packet_summary.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kvn
{

enum class Format { unknown, rbt, bit, mcb };

/// "RBT"; "unknown" for none.
[[nodiscard]] const char* format_name(Format format);

/// "2v3000 (Virtex-2)"
[[nodiscard]] std::string device_text(const fpga::Device& device);

/// The texts of a file's header, under the same names whatever the format. What a format does not have, or
/// the file not, is null.
struct Header {
    std::optional<std::string> tool;
    std::optional<std::string> design;
    std::optional<std::string> architecture;
    std::optional<std::string> date;
    std::optional<std::string> time;
    std::vector<std::string> other; ///< lines of an RBT file that are none of these
};

/// What a problem stops.
enum class Stops {
    nothing,     ///< a note
    plain_loads, ///< compressed ones succeed
    loads,
    use ///< the file must not be loaded, even where a module would take it
};

struct Problem {
    std::string what;
    std::string remedy;
    Stops stops = Stops::loads;
    ExitStatus status = ExitStatus::damaged; ///< of a program that the problem stops

    [[nodiscard]] bool is_fatal() const { return stops != Stops::nothing; }
    friend bool operator==(const Problem&, const Problem&) = default;
};

/// The first problem that stops loads, which decides how a program ends; null if there is none. It is valid
/// as long as the problems are.
[[nodiscard]] const Problem* first_fatal(const std::vector<Problem>& problems);

struct Inspection {
    std::string path;                 ///< the input's name as it was given
    std::uint64_t file_size = 0;      ///< after unpacking
    Input::Stored stored;             ///< the file as it was given
    Format content = Format::unknown; ///< by what stands in the file
    Format named = Format::unknown;   ///< by the extension, which is what the library goes by
    bool is_foreign = false;          ///< the content is something else altogether, and is not looked into
    Header header;
    std::string part;                            ///< as the header names it
    std::vector<const fpga::Device*> candidates; ///< devices that the data fit where the header names no part
    const fpga::Device* device = nullptr;        ///< that the part begins with, else the first candidate
    const OtherFamily* other_family = nullptr;   ///< of a part that no module carries
    std::optional<std::int64_t> stated_bits;     ///< by the header
    std::optional<std::int64_t> counted_bits;    ///< what the library takes for stated, in its 32 bits
    std::uint64_t found_bits = 0;                ///< that could be read
    std::uint64_t run_coded_bytes = 0;           ///< as a compressed load carries them
    std::string digest; ///< of the data that could be read, see digest.h; empty when there are none
    std::optional<PacketSummary> packets; ///< null when they are none, or not read
    std::optional<fpga::PortReport> port; ///< what the device makes of the data, whole
    bool data_are_damaged = false;        ///< a problem explains why the device does not start
    std::vector<Problem> problems;

    [[nodiscard]] bool has_fatal_problem() const { return first_fatal(problems) != nullptr; }
    [[nodiscard]] Format format() const { return content != Format::unknown || is_foreign ? content : named; }
    [[nodiscard]] bool is_serial() const
    {
        return device != nullptr && device->architecture() == fpga::Architecture::length_count;
    }
};

/// Whether the packets of the file are of a kind that is not known here, so that they are not read.
[[nodiscard]] bool has_unread_packets(const Inspection& inspection);

/// Whether the library holds back the end of the data from a device of this name.
[[nodiscard]] bool holds_back_tail(const std::string& device);

/// Takes the plain configuration data of a file as the library's reader of its format delivers them.
class DataTaker
{
public:
    virtual ~DataTaker() = default;
    /// The data begin. It may be called again: then what was taken before does not count.
    virtual void begin() = 0;
    /// The next bytes, the first configuration bit in bit 0; valid during the call.
    virtual void take(std::span<const std::uint8_t> bytes) = 0;
};

/// Reads the input by the library's readers, and says what it is and what is wrong with it.
/// @param taker gets the data as well; may be null. What it throws passes.
/// Throws as Input::open, and std::bad_alloc. May be called in several threads at the same time.
[[nodiscard]] Inspection inspect(const Input& input, DataTaker* taker = nullptr);

/// The same for a file. Throws as Input::from_path too.
[[nodiscard]] Inspection inspect(const std::string& path);

} // namespace kvn

#endif
