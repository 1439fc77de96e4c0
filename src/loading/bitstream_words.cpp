// SPDX-License-Identifier: Apache-2.0
// Sends words of a bitstream.
#include "bus/api_text.h"
#include "bus/buffered_sending.h"
#include "formats/bit_order.h"
#include "formats/byte_kernels.h"
#include "kvnfpgai.h"

#include <algorithm>

int kvn_fpga_imp::Transmit_Bitstream_Word(const char* chars)
{
    unsigned char word[WORD_SIZE];
    process_Bitstream_Word(chars, word);
    return check_rbt_send(send_buffered(*this, handle, word, sizeof word).status);
}

int kvn_fpga_imp::Transmit_Bitstream_Bytes(const unsigned char* word)
{
    return transmit_bit_bytes({word, WORD_SIZE});
}

int kvn_fpga_imp::check_rbt_send(std::uint32_t status)
{
    if (status == 0)
        return 0;
    return fail("Error 9140. Cannot send KSB message data, board \"%s %d\" (%s).", board_type, board_number,
                ApiText{status});
}

int kvn_fpga_imp::transmit_bit_bytes(std::span<const std::uint8_t> bytes)
{
    std::uint8_t reversed[REVERSED_SIZE];
    std::uint32_t status = 0;
    while (status == 0 && !bytes.empty()) {
        std::size_t size = sizeof reversed;
        // Two pieces at once, no more: the processor reverses the next ones while these are being sent.
        if (send_count == 0 && bytes.size() >= size) {
            fastest::reverse_block(reversed, bytes.data());
            status = send_pieces(handle, reversed, size).status;
        } else {
            size = std::min(bytes.size(), PIECE_SIZE - send_count);
            reverse_bytes(reversed, bytes.data(), size);
            status = send_parts(*this, handle, reversed, size).status;
        }
        bytes = bytes.subspan(size);
    }
    if (status != 0)
        return fail("Error 9390. Cannot send KSB message data, board \"%s %d\" (%s).", board_type,
                    board_number, ApiText{status});
    return 0;
}
