// SPDX-License-Identifier: Apache-2.0
// Converts bitstream files: any of RBT, BIT and MCB into any, and into one that every load takes.
#ifndef KVN_ENGINE_FILE_CONVERSION_H
#define KVN_ENGINE_FILE_CONVERSION_H

#include "file/inspection.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kvn
{

class Input;

struct ConversionRequest {
    /// The file to write, or "-" for standard output.
    std::string target = {};
    /// Of the target; Format::unknown: the one that the target's extension names (.rbt, .bit, .mcb).
    Format format = Format::unknown;
    /// Replace a target that exists. Only a regular file or a symbolic link is replaced; of a link the link
    /// itself, never what it leads to.
    bool overwrite = false;
    /// Make the result loadable, plain and compressed, or write nothing.
    bool normalise = false;
    /// The part to name where the source names none, such as "2v3000fg676"; empty: none is named.
    std::string part = {};
};

/// A field of the source's header: "tool", "design", "architecture", "date", "time" or "other", a further
/// line of an RBT file.
struct HeaderField {
    std::string name;
    std::string text; ///< as the source has it
};

/// Something of the source that the target has otherwise, beyond what the formats differ in.
struct Change {
    enum class Kind {
        header,         ///< lines of an RBT header that loaders refuse were written anew; count: 0
        line_ends,      ///< carriage returns were removed; count: 0
        lines,          ///< data lines of other lengths were joined; count: how many there were
        bit_order,      ///< the bits of each byte were turned round; count: bytes
        characters,     ///< characters that are neither 0 nor 1 were taken for 0; count: 1 or more
        trailing_bytes, ///< bytes behind the configuration were left out; count: bytes
        stated_size,    ///< the header states another size; count: bits now stated
        fill,           ///< bits that make the size a multiple of 32 were added; count: bits
        tail,           ///< bytes for those that loads hold back were added; count: bytes
        part            ///< the part was named by the request; count: 0
    };
    Kind kind;
    std::uint64_t count;
    std::string what; ///< in words, with the figures
};

/// "trailing bytes"
[[nodiscard]] std::string_view name_of(Change::Kind kind);

/// What was written. Texts of headers are bytes as the files hold them, not necessarily UTF-8.
struct Conversion {
    std::string source;                     ///< the input's name
    Format source_format = Format::unknown; ///< by its content
    std::string target;                     ///< as requested; "-" for standard output
    Format format = Format::unknown;
    std::uint64_t bytes = 0;       ///< of the file that was written
    std::uint64_t bits = 0;        ///< of the configuration in it
    std::string digest;            ///< of the configuration in it, in hexadecimal digits
    std::string part;              ///< that its header names; may be empty
    std::vector<HeaderField> kept; ///< a date may be written in another form, or date and time as one text
    std::vector<HeaderField> lost; ///< the target has no place for it, or its place cannot hold it
    bool normalised = false;       ///< it was asked for, and modules start with the result in every mode
    std::vector<Change> changes;   ///< empty when nothing had to be changed
    std::vector<Problem> problems; ///< that inspection finds in the result, such as a wrong CRC
};

/// Converts a bitstream file.
///
/// Without `normalise` the configuration stays as it is: source and target have the same digest, whatever
/// the source's lines, line ends or header look like. A source whose configuration is not whole (damaged,
/// cut, another number of bits than stated, a mask) is refused; one that a chip would refuse is not, see
/// Conversion::problems. RBT files hold multiples of 32 bits, BIT and MCB files multiples of 8: anything else
/// is refused too, with the advice to normalise.
///
/// With `normalise` words that do nothing are added behind the configuration: up to a multiple of 32 bits,
/// and 16 bytes where a load would hold back bytes that the device needs. The result is loaded into a model
/// of the device that its part names, plain and compressed; unless it starts both times nothing is written.
///
/// The target is made under a temporary name in its folder, with the rights that the umask leaves, read back,
/// compared with the source as configuration and part, and only then renamed. A target that exists is kept
/// unless `overwrite` is set, even if it appears meanwhile; a target that is the source under another name is
/// always refused. After any failure the target is as it was and no temporary file is left. For "-" the
/// result is made and read back in memory and then written to standard output, from its present place on;
/// a failure there may leave a part of it written.
///
/// Blocks while it reads and writes. Several threads may convert at the same time, even to one target: with
/// `overwrite` the last one wins, without it the first. Different threads need different inputs.
///
/// @param input any file, with any name; it is read, not changed
/// @throws FailureError with ExitStatus::usage for a request that makes no sense (no target, no format, a
///   name that says another format than asked for, a part other than the source's, the source as target),
///   ExitStatus::damaged for a source that cannot be converted or not be made loadable, ExitStatus::file for
///   a target that exists, cannot be written or reads back differently
/// @throws std::bad_alloc
[[nodiscard]] Conversion convert(const Input& input, const ConversionRequest& request);

/// The name of a conversion's target when none is given: the source's, in the same folder, with the
/// extension of the format in place of .rbt, .bit or .mcb (behind which .gz, .xz or .zst may stand), else
/// behind it: "a/design.bit.xz" gives "a/design.mcb". "-" stays "-".
/// @param format not Format::unknown
[[nodiscard]] std::string default_target(std::string_view source, Format format);

/// The format that a word such as "rbt" names, letter case aside; Format::unknown for any other word.
[[nodiscard]] Format format_of_word(std::string_view word);

} // namespace kvn

#endif
