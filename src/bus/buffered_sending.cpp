// SPDX-License-Identifier: Apache-2.0
// Gathers configuration data into the pieces that are sent over the bus.
#include "bus/buffered_sending.h"

#include <algorithm>
#include <cstring>

int kvn_fpga_imp::BufferedKsbSendMessageData(MW_HANDLE* given_handle, const unsigned char* data,
                                             unsigned long length, int /*timeout*/)
{
    if (data != nullptr)
        return static_cast<int>(send_buffered(*this, given_handle, data, length).status);
    if (send_count == 0)
        return 0;
    const auto status = MwKSBSendMessageDataEx(given_handle, send_buffer, send_count, KSB_TIMEOUT);
    send_count = 0;
    return static_cast<int>(status);
}

SendResult send_parts(kvn_fpga_imp& session, MW_HANDLE* handle, const std::uint8_t* data, std::size_t length)
{
    if (length == 0)
        return {0, 0};
    std::size_t done = 0;
    if (session.send_count > 0) {
        done = std::min(length, PIECE_SIZE - session.send_count);
        std::memcpy(session.send_buffer + session.send_count, data, done);
        session.send_count += static_cast<std::uint32_t>(done);
        if (session.send_count < PIECE_SIZE)
            return {0, 0};
        session.send_count = 0;
        if (const auto status = MwKSBSendMessageDataEx(handle, session.send_buffer, PIECE_SIZE, KSB_TIMEOUT))
            return {status, done - 1};
    }
    const std::size_t whole = (length - done) / PIECE_SIZE * PIECE_SIZE;
    if (const auto sent = send_pieces(handle, data + done, whole); sent.status != 0)
        return {sent.status, done + sent.failed_byte};
    done += whole;
    session.send_count = static_cast<std::uint32_t>(length - done);
    if (session.send_count > 0)
        std::memcpy(session.send_buffer, data + done, session.send_count);
    return {0, 0};
}
