// Inspects a BIT file.
#include "inspectors.h"

#include "formats/bit_data.h"
#include "formats/bit_header.h"
#include "kvnfpgai.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace kvn
{
namespace
{

/// Where the parts of a header lie, as far as its lengths were read.
struct Offsets {
    explicit Offsets(const BitHeader& header)
        : b{16 + std::uint64_t{header.ncd_length}},
          c{b + 3 + header.device_length},
          d{c + 3 + header.date_length},
          e{d + 3 + header.time_length}
    {
    }
    std::uint64_t b, c, d, e;
};

struct KeyFault {
    int error; ///< the library's number
    char key;
    char found;
    std::uint64_t offset;
};

std::string quoted(char c)
{
    const auto code = static_cast<unsigned char>(c);
    if (code > ' ' && code < 0x7F)
        return {'\'', c, '\''};
    constexpr std::string_view digits = "0123456789ABCDEF";
    return {'b', 'y', 't', 'e', ' ', digits[code >> 4], digits[code & 0xF]};
}

/// What the library says, without number and file name: the words in the last parentheses.
std::string field_in(const char* text)
{
    const std::string_view words{text};
    const std::size_t open = words.rfind('(');
    const std::size_t close = words.rfind(')');
    return open == std::string_view::npos || close < open
               ? std::string{words}
               : std::string{words.substr(open + 1, close - open - 1)};
}

Problem header_problem(const kvn_fpga_imp& session, const BitHeader& header, std::uint64_t file_size)
{
    const Offsets at{header};
    const KeyFault faults[] = {{9327, 'a', header.a_key, 13},
                               {9332, 'b', header.b_key, at.b},
                               {9338, 'c', header.c_key, at.c},
                               {9343, 'd', header.d_key, at.d},
                               {9348, 'e', header.e_key, at.e}};
    for (const KeyFault& fault : faults)
        if (session.last_error == fault.error)
            return {std::string{"the key letter '"} + fault.key + "' is missing at offset " +
                        std::to_string(fault.offset) + ", where " + quoted(fault.found) + " stands",
                    "the header is damaged: " + std::string{MAKE_AGAIN}};
    switch (session.last_error) {
    case 9321:
        return {"the file begins with the length " + std::to_string(header.magic_length) +
                    ", not 9: this is no BIT file",
                MAKE_AGAIN};
    case 9323:
        return {"the signature of a BIT file is missing at offset 2", MAKE_AGAIN};
    case 9325:
        return {"the length in front of the key letter 'a' is " + std::to_string(header.a_length) +
                    ", not 1, at offset 11",
                "the header is damaged: " + std::string{MAKE_AGAIN}};
    default:
        return {"the file ends inside its header, behind " + std::to_string(file_size) + " bytes (" +
                    field_in(session.last_error_text) + ")",
                MAKE_AGAIN};
    }
}

void note_labels(const BitHeader& header, Inspection& inspection)
{
    inspection.labels.push_back({"Design", header.ncd_name});
    inspection.labels.push_back({"Date", header.date});
    inspection.labels.push_back({"Time", header.time});
    inspection.stated_bits = std::int64_t{header.byte_count} * 8;
    note_part(inspection, header.device);
}

/// Hands on the stated data as far as the file holds them.
void take_data(FILE* file, std::uint64_t size, DataSink& sink)
{
    const std::uint64_t whole =
        std::min<std::uint64_t>(size, std::numeric_limits<std::int32_t>::max() / 8) / WORD_SIZE * WORD_SIZE;
    const long begin = std::ftell(file);
    BitTally bits{.stated = static_cast<std::int32_t>(whole * 8)};
    BitDataReader data{file};
    std::uint8_t bytes[BYTES_PER_REPORT];
    while (bits.found < bits.stated) {
        const std::size_t words = data.read(bytes, bits);
        sink.take(std::span{bytes}.first(words * WORD_SIZE));
        bits.add_words(words);
        if (data.stop() != BitStop::none)
            break;
    }
    // The bytes of a last word that is not whole, which the library does not load.
    if (std::fseek(file, begin + static_cast<long>(whole), SEEK_SET) != 0)
        return;
    const std::size_t rest = std::fread(bytes, 1, std::min<std::uint64_t>(size - whole, WORD_SIZE), file);
    reverse_bytes(bytes, bytes, rest);
    sink.take(std::span{bytes}.first(rest));
}

void judge_size(std::uint64_t stated, std::uint64_t present, Inspection& inspection)
{
    const bool is_serial =
        inspection.device != nullptr && inspection.device->architecture() == fpga::Architecture::length_count;
    if (present < stated)
        inspection.problems.push_back({"the header states " + std::to_string(stated) +
                                           " bytes of configuration, the file holds " +
                                           std::to_string(present),
                                       MAKE_AGAIN});
    else if (stated == 0)
        inspection.problems.push_back({"the header states 0 bytes of configuration", MAKE_AGAIN});
    else if (stated % WORD_SIZE != 0)
        inspection.problems.push_back(
            {"the configuration is " + std::to_string(stated) +
                 " bytes, no multiple of 4; the library loads words of 4 bytes alone",
             is_serial ? "lengthen the file as docs/formats/spartan.md shows" : MAKE_AGAIN});
    if (present > stated)
        inspection.problems.push_back(
            {std::to_string(present - stated) +
                 " bytes follow the stated configuration; a plain load fails over them, a compressed one over "
                 "1024 or more",
             "cut the file behind byte " + std::to_string(inspection.file_size - (present - stated)) +
                 ", or make it again"});
}

} // namespace

void inspect_bit(File file, Inspection& inspection)
{
    kvn_fpga_imp session; // it has no device yet, so the header of any passes
    BitHeader header;
    FILE* stream = file.release();
    if (session.Read_Bitstream_Hdr_bit(stream, &header) != 0) {
        inspection.problems.push_back(header_problem(session, header, inspection.file_size));
        return;
    }
    file.reset(stream);
    const Finally release_header{[&header] { kvn_fpga_imp::free_header(&header); }};
    note_labels(header, inspection);

    const auto header_size = static_cast<std::uint64_t>(std::ftell(file.get()));
    const std::uint64_t present = inspection.file_size - std::min(inspection.file_size, header_size);
    DataSink sink{inspection};
    take_data(file.get(), std::min<std::uint64_t>(header.byte_count, present), sink);
    sink.finish();
    judge_size(header.byte_count, present, inspection);
}

} // namespace kvn
