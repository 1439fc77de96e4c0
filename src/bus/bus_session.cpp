// Opens and closes a board's serial bus, and gathers configuration data into the pieces that are sent over
// it.
#include "bus/api_text.h"
#include "kvnfpgai.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr unsigned BOARDS = 16;
} // namespace

int kvn_fpga_imp::Initialise_Host_KSB(const char* given_type, int given_number)
{
    if (handle_is_external)
        return 0;
    if (static_cast<unsigned>(given_number) >= BOARDS)
        return fail("Error 9200: Invalid board number %d (should be 0..15).", given_number);
    handle = nullptr;
    ReadIoStatus = 0;
    WriteIoStatus = 0;
    std::uint32_t unused = 0;
    if (const auto status =
            MwOpenS(given_type, static_cast<std::uint16_t>(given_number), "ksb", &handle, &unused))
        return fail("Error 9201. Cannot open KSB device on board \"%s %d\" (%s).", given_type, given_number,
                    ApiText{status});
    // From here on a failure leaves the device open; the caller's Close_KSB closes it.
    if (const auto status = MwInitIoStatus(handle, &ReadIoStatus))
        return fail("Error 9202. Cannot initialise ReadIoStatus, board \"%s %d\" (%s).", given_type,
                    given_number, ApiText{status});
    if (const auto status = MwInitIoStatus(handle, &WriteIoStatus))
        return fail("Error 9203. Cannot initialise WriteIoStatus, board \"%s %d\" (%s).", given_type,
                    given_number, ApiText{status});
    return 0;
}

int kvn_fpga_imp::Close_KSB()
{
    if (handle_is_external || handle == nullptr)
        return 0;
    MwClose(&handle);
    handle = nullptr;
    return 0;
}

int kvn_fpga_imp::BufferedKsbSendMessageData(MW_HANDLE* given_handle, const unsigned char* data,
                                             unsigned long length, int /*timeout*/)
{
    if (data != nullptr)
        return static_cast<int>(send_buffered(given_handle, data, length).status);
    if (send_count == 0)
        return 0;
    const auto status = MwKSBSendMessageDataEx(given_handle, send_buffer, send_count, KSB_TIMEOUT);
    send_count = 0;
    return static_cast<int>(status);
}

kvn_fpga_imp::SendResult kvn_fpga_imp::send_parts(MW_HANDLE* given_handle, const unsigned char* data,
                                                  std::size_t length)
{
    if (length == 0)
        return {0, 0};
    std::size_t done = 0;
    if (send_count > 0) {
        done = std::min(length, PIECE_SIZE - send_count);
        std::memcpy(send_buffer + send_count, data, done);
        send_count += static_cast<std::uint32_t>(done);
        if (send_count < PIECE_SIZE)
            return {0, 0};
        send_count = 0;
        if (const auto status = MwKSBSendMessageDataEx(given_handle, send_buffer, PIECE_SIZE, KSB_TIMEOUT))
            return {status, done - 1};
    }
    const std::size_t whole = (length - done) / PIECE_SIZE * PIECE_SIZE;
    if (const auto sent = send_pieces(given_handle, data + done, whole); sent.status != 0)
        return {sent.status, done + sent.failed_byte};
    done += whole;
    send_count = static_cast<std::uint32_t>(length - done);
    if (send_count > 0)
        std::memcpy(send_buffer, data + done, send_count);
    return {0, 0};
}
