// SPDX-License-Identifier: Apache-2.0
// Sends configuration data in pieces of 8 bytes, with the session's send buffer for what does not fill one.
#ifndef KVN_FPGA_BUS_BUFFERED_SENDING_H
#define KVN_FPGA_BUS_BUFFERED_SENDING_H

#include "kvnfpgai.h"

#include <cstddef>
#include <cstdint>

// Required: the buffer goes out at 8 bytes although it holds 8192.
inline constexpr std::size_t PIECE_SIZE = 8;

/// The outcome of a buffered send.
struct SendResult {
    std::uint32_t status;    ///< the platform's code
    std::size_t failed_byte; ///< with a code other than 0, the index of the byte that filled the failed piece
};

/// Sends whole pieces; the buffer must be empty.
/// Choice: from where they are (docs/decisions/0022-pieces-from-where-they-are.md).
inline SendResult send_pieces(MW_HANDLE* handle, const std::uint8_t* data, std::size_t length)
{
    // Keep loop overhead low: a load makes one call for each 8 bytes.
#pragma GCC unroll 8
    for (std::size_t done = 0; done < length; done += PIECE_SIZE)
        if (const auto status = MwKSBSendMessageDataEx(handle, data + done, PIECE_SIZE, KSB_TIMEOUT))
            return {status, done + PIECE_SIZE - 1};
    return {0, 0};
}

/// Fills up the piece in the buffer, sends whole pieces, and keeps the rest in the buffer.
SendResult send_parts(kvn_fpga_imp& session, MW_HANDLE* handle, const std::uint8_t* data, std::size_t length);

inline SendResult send_buffered(kvn_fpga_imp& session, MW_HANDLE* handle, const std::uint8_t* data,
                                std::size_t length)
{
    const bool whole_pieces = session.send_count == 0 && length % PIECE_SIZE == 0;
    return whole_pieces ? send_pieces(handle, data, length) : send_parts(session, handle, data, length);
}

#endif
