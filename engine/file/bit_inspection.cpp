// SPDX-License-Identifier: Apache-2.0
// Inspects a BIT file.
#include "file/inspectors.h"

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

/// The texts end where a zero byte stands, as the library prints them.
void note_labels(const BitHeader& header, Inspection& inspection)
{
    inspection.header.design = header.ncd_name;
    inspection.header.date = header.date;
    inspection.header.time = header.time;
    inspection.stated_bits = std::int64_t{header.byte_count} * 8;
    inspection.counted_bits = stated_bits(header);
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

void note_trailing_bytes(std::uint64_t count, Inspection& inspection)
{
    constexpr std::uint64_t NOTICED_BY_COMPRESSED_LOADS = 1024;
    inspection.problems.push_back(
        {std::to_string(count) +
             " bytes follow the stated configuration; a plain load fails over them, a compressed one over "
             "1024 or more",
         "cut the file behind byte " + std::to_string(inspection.file_size - count) + ", or make it again",
         count < NOTICED_BY_COMPRESSED_LOADS ? Stops::plain_loads : Stops::loads});
}

/// A count of bits beyond 32 bits wraps in the library, and is what it reads then.
void note_wrapped_count(std::uint64_t stated, std::int32_t counted, Inspection& inspection)
{
    if (*inspection.stated_bits == counted || counted <= 0)
        return;
    inspection.problems.push_back(
        {"the header states " + std::to_string(stated) +
             " bytes of configuration; the library counts bits in 32 bits, and takes it for " +
             std::to_string(counted / 8),
         MAKE_AGAIN, Stops::nothing});
}

void judge_size(std::uint64_t stated, std::int32_t counted, std::uint64_t present, Inspection& inspection)
{
    const auto damaged = [&inspection](const std::string& what, const char* remedy) {
        inspection.data_are_damaged = true;
        inspection.problems.push_back({what, remedy});
    };
    if (counted <= 0)
        return damaged("the header states " + std::to_string(stated) + " bytes of configuration" +
                           (stated == 0 ? "" : ", which are no number of bits in the library's 32"),
                       MAKE_AGAIN);
    note_wrapped_count(stated, counted, inspection);
    const auto taken = static_cast<std::uint64_t>(counted) / 8;
    if (present < taken)
        damaged("the header states " + std::to_string(stated) + " bytes of configuration, the file holds " +
                    std::to_string(present),
                MAKE_AGAIN);
    else if (taken % WORD_SIZE != 0)
        inspection.problems.push_back(
            {"the configuration is " + std::to_string(taken) +
                 " bytes, no multiple of 4; the library loads words of 4 bytes alone",
             inspection.is_serial() ? "lengthen the file as docs/formats/spartan.md shows" : MAKE_AGAIN});
    if (present > taken)
        note_trailing_bytes(present - taken, inspection);
}

} // namespace

void inspect_bit(File file, Inspection& inspection, DataTaker* taker)
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
    const std::int32_t counted = stated_bits(header);
    const auto wanted = static_cast<std::uint64_t>(std::max(counted, 0)) / 8;
    DataSink sink{inspection, taker};
    take_data(file.get(), std::min(wanted, present), sink);
    sink.finish();
    judge_size(header.byte_count, counted, present, inspection);
}

} // namespace kvn
