// Turns single words of a bitstream into bytes, and sends them.
#include "bus/api_text.h"
#include "formats/bit_order.h"
#include "kvnfpgai.h"

void kvn_fpga_imp::process_Bitstream_Word(const char* chars, unsigned char* out)
{
    for (std::size_t group = 0; group < WORD_SIZE; ++group) {
        unsigned byte = 0;
        for (unsigned bit = 0; bit < 8; ++bit)
            if (*chars++ == '1')
                byte |= 1U << bit;
        out[group] = static_cast<unsigned char>(byte);
    }
}

int kvn_fpga_imp::Transmit_Bitstream_Word(const char* chars)
{
    unsigned char word[WORD_SIZE];
    process_Bitstream_Word(chars, word);
    return check_rbt_send(send_buffered(handle, word, sizeof word).status);
}

int kvn_fpga_imp::Transmit_Bitstream_Bytes(const unsigned char* word)
{
    unsigned char reversed[WORD_SIZE];
    bit_reverse(reversed, word, static_cast<int>(sizeof reversed));
    return transmit_bit_bytes(reversed, sizeof reversed);
}

int kvn_fpga_imp::check_rbt_send(std::uint32_t status)
{
    if (status == 0)
        return 0;
    return fail("Error 9140. Cannot send KSB message data, board \"%s %d\" (%s).", board_type, board_number,
                ApiText{status});
}

int kvn_fpga_imp::transmit_bit_bytes(const unsigned char* bytes, std::size_t size)
{
    if (const auto status = send_buffered(handle, bytes, size).status)
        return fail("Error 9390. Cannot send KSB message data, board \"%s %d\" (%s).", board_type,
                    board_number, ApiText{status});
    return 0;
}
