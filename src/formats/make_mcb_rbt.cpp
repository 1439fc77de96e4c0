// SPDX-License-Identifier: Apache-2.0
// Makes an MCB file from an RBT file.
#include "formats/mcb_writer.h"
#include "formats/output_file.h"
#include "formats/rbt_format.h"
#include "kvnfpgai.h"

#include <cstring>

namespace
{
constexpr McbDataMessages data_messages{
    .count = "Error 9252. Cannot write MCB file data to MCB file %s.",
    .value = "Error 9253. Cannot write MCB file data to MCB file %s.",
    .last_count = "Error 9254. Cannot write MCB file data to MCB file %s.",
    .last_value = "Error 9255. Cannot write MCB file data to MCB file %s.",
};

int copy_device(kvn_fpga_imp& session, FILE* stream, McbWriter& mcb)
{
    RbtLine line;
    if (!read_part_line(stream, line))
        return session.fail("Error 9245. Failed to read header section of RBT file %s.",
                            session.bitstream_file);
    char device[sizeof line.text];
    line.copy_device(device);
    if (session.verbose)
        session.print("The bitstream is for a %s device.\n", device);
    return mcb.write_text(device, "Error 9246. Cannot write header to MCB file %s.");
}

/// Copies the date line. If there is none, writes what precedes "bits:" and a line feed instead.
/// @param line receives the line that should hold the bit count
int copy_timestamp(kvn_fpga_imp& session, FILE* stream, McbWriter& mcb, RbtLine& line)
{
    constexpr Message<const char*> unwritten = "Error 9248. Cannot write header to MCB file %s.";
    if (!line.read(stream))
        return session.fail("Error 9247. Failed to read header section of RBT file %s.",
                            session.bitstream_file);

    std::int32_t position = 0;
    const bool has_date = findin(line.text, "bits:", &position) == 0;
    char timestamp[256];
    if (has_date)
        position = static_cast<std::int32_t>(std::strlen(line.text));
    std::snprintf(timestamp, sizeof timestamp, "%.*s", position, line.text);
    if (session.verbose)
        session.print("Time and date string is:\n%s\n", timestamp);
    if (!has_date) {
        timestamp[position] = '\n'; // there is room: the line is longer by "bits:"
        timestamp[position + 1] = '\0';
    }
    if (const int error = mcb.write_text(timestamp, unwritten))
        return error;
    if (has_date && !line.read(stream))
        return session.fail("Error 9249. Failed to read header section of RBT file %s.",
                            session.bitstream_file);
    return 0;
}

int copy_bit_count(kvn_fpga_imp& session, const RbtLine& line, McbWriter& mcb, BitTally& bits)
{
    if (!line.find_bit_count(bits.stated))
        return session.fail("Error 9257. Failed to find bit size of RBT file %s.", session.bitstream_file);
    if (session.verbose)
        session.print("The bitstream contains %d configuration bits.\n", bits.stated);
    return mcb.write_number(static_cast<std::uint32_t>(bits.stated / 8),
                            "Error 9250. Cannot write header to MCB file %s.");
}

int copy_header(kvn_fpga_imp& session, FILE* stream, McbWriter& mcb, BitTally& bits)
{
    if (const int error = mcb.write_number(MCB_MAGIC_1, "Error 9243. Cannot write header to MCB file %s."))
        return error;
    if (const int error = mcb.write_number(MCB_MAGIC_2, "Error 9244. Cannot write header to MCB file %s."))
        return error;
    if (const int error = copy_device(session, stream, mcb))
        return error;
    RbtLine line;
    if (const int error = copy_timestamp(session, stream, mcb, line))
        return error;
    return copy_bit_count(session, line, mcb, bits);
}

int copy_data(kvn_fpga_imp& session, FILE* stream, McbWriter& mcb, BitTally& bits)
{
    RbtDataReader lines{stream};
    std::uint8_t bytes[BYTES_PER_REPORT];
    for (;;) {
        const std::size_t wanted = bits.words_to_report();
        const std::size_t words = lines.read(bytes, wanted);
        if (words > 0)
            if (const int error = mcb.write_words({bytes, words * WORD_SIZE}, bits))
                return error;
        if (words == wanted)
            continue;
        if (lines.found_wrong_line())
            return session.fail("Error 9251. Incorrect line length. Bit_count = %d. In RBT file %s.",
                                bits.found, session.bitstream_file);
        return 0;
    }
}
} // namespace

int kvn_fpga_imp::Make_mcb_file_rbt(FILE* stream)
{
    File input = take_over(stream);
    print("\nGenerating an MCB file from %s.\n", bitstream_file);
    print("Checking header section of file <%s>.\n", bitstream_file);
    RbtLine title;
    if (!title.read(stream))
        return fail("Error 9240. Failed to read header section of RBT file %s.", bitstream_file);
    if (!title.is_title())
        return fail("Error 9241. Invalid first line in RBT file %s.", bitstream_file);

    const OutputName name{bitstream_file, "mcb"};
    File file = open_output(name, bitstream_file, "wb");
    if (!file)
        return fail("Error 9242. Cannot open/create MCB file %s.", name.text);
    McbWriter mcb{*this, name.text, std::move(file), data_messages};
    BitTally bits;
    if (const int error = copy_header(*this, stream, mcb, bits))
        return error;
    if (const int error = copy_data(*this, stream, mcb, bits))
        return error;
    if (const int error = mcb.finish(bits))
        return error;
    input.reset();
    if (!bits.matches())
        return fail("Error 9256. Incorrect number of bits in RBT file %s.", bitstream_file);
    if (const int error = mcb.check_file())
        return error;
    print("The bitstream has been compressed.\n");
    return 0;
}
