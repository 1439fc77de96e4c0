// SPDX-License-Identifier: Apache-2.0
// Makes an MCB file from a BIT file.
#include "formats/bit_data.h"
#include "formats/mcb_writer.h"
#include "formats/output_file.h"
#include "kvnfpgai.h"

namespace
{
// Data after the stated end is noticed only if there is a whole block of this size.
constexpr std::size_t TRAILING_BLOCK = 1024;

constexpr McbDataMessages data_messages{
    .count = "Error 9418. Cannot write MCB file data to MCB file %s.",
    .value = "Error 9419. Cannot write MCB file data to MCB file %s.",
    .last_count = "Error 9420. Cannot write MCB file data to MCB file %s.",
    .last_value = "Error 9421. Cannot write MCB file data to MCB file %s.",
};

int write_header(kvn_fpga_imp& session, const BitHeader& header, McbWriter& mcb)
{
    if (const int error = mcb.write_number(MCB_MAGIC_1, "Error 9411. Cannot write header to MCB file %s."))
        return error;
    if (const int error = mcb.write_number(MCB_MAGIC_2, "Error 9412. Cannot write header to MCB file %s."))
        return error;
    if (const int error = mcb.write_text(header.device, "Error 9413. Cannot write header to MCB file %s."))
        return error;
    if (session.verbose)
        session.print("Time and date string is:\n%s %s\n", header.date, header.time);
    char timestamp[256];
    std::snprintf(timestamp, sizeof timestamp, "%s %s", header.date, header.time);
    if (const int error = mcb.write_text(timestamp, "Error 9414. Cannot write header to MCB file %s."))
        return error;
    if (session.verbose)
        session.print("The bitstream contains %d configuration bits.\n", stated_bits(header));
    return mcb.write_number(header.byte_count, "Error 9415. Cannot write header to MCB file %s.");
}

int copy_data(kvn_fpga_imp& session, FILE* stream, McbWriter& mcb, BitTally& bits)
{
    BitDataReader data{stream};
    std::uint8_t bytes[BYTES_PER_REPORT];
    do {
        const std::size_t words = data.read(bytes, bits);
        if (words > 0)
            if (const int error = mcb.write_words({bytes, words * WORD_SIZE}, bits))
                return error;
        if (data.stop() == BitStop::end_or_error)
            return session.fail("Error 9416. Failed to read BIT file %s (after %d bits read, expected %d).",
                                session.bitstream_file, bits.found, bits.stated);
        if (data.stop() == BitStop::short_word)
            return session.fail("Error 9417. Incorrect word length (%d), bit_count = %d, in BIT file %s.",
                                data.rest(), bits.found, session.bitstream_file);
    } while (bits.found < bits.stated);
    // Required: bytes are added to bits, so that the totals differ.
    if (data.has_more(TRAILING_BLOCK))
        bits.found = wrapping_add(bits.found, TRAILING_BLOCK);
    return 0;
}
} // namespace

int kvn_fpga_imp::Make_mcb_file_bit(FILE* stream)
{
    print("\nGenerating an MCB file from %s.\n", bitstream_file);
    print("Checking header section of file <%s>.\n", bitstream_file);
    BitHeader header;
    const Finally release_header{[&header] { free_header(&header); }};
    last_error = Read_Bitstream_Hdr_bit(stream, &header);
    if (last_error != 0)
        return last_error; // the header's reader has closed the file
    File input = take_over(stream);

    const OutputName name{bitstream_file, "mcb"};
    File file = open_output(name, bitstream_file, "wb");
    if (!file)
        return fail("Error 9410. Cannot open/create MCB file %s.", name.text);
    McbWriter mcb{*this, name.text, std::move(file), data_messages};
    if (const int error = write_header(*this, header, mcb))
        return error;
    BitTally bits{.stated = stated_bits(header)};
    if (const int error = copy_data(*this, stream, mcb, bits))
        return error;
    if (const int error = mcb.finish(bits))
        return error;
    input.reset();
    if (!bits.matches())
        return fail("Error 9422. Incorrect number of bits in BIT file %s.", bitstream_file);
    if (const int error = mcb.check_file())
        return error;
    print("The bitstream has been compressed.\n");
    return 0;
}
