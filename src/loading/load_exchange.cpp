// SPDX-License-Identifier: Apache-2.0
// The exchange that carries a bitstream to a module.
#include "loading/load_exchange.h"

#include "bus/api_text.h"
#include "bus/buffered_sending.h"
#include "bus/module_protocol.h"
#include "bus/slot_address.h"

namespace
{
constexpr std::uint8_t PLAIN_LOAD = 3;
constexpr std::uint8_t COMPRESSED_LOAD = 13;
} // namespace

void announce_load(kvn_fpga_imp& session, const char* board_type, int board_number, int slot_address)
{
    // Required: no operation sets current_module_type, so neither line is printed in a run.
    const bool is_fpga = session.current_module_type == KAVRIN_FPGA;
    const bool is_io = session.current_module_type == KAVRIN_IO;
    if (is_fpga)
        session.print("\nLoading configuration bitstream for the KAVRIN-FPGA module ");
    if (is_io)
        session.print("\nLoading configuration bitstream for the KAVRIN-IO module ");
    if (is_fpga || is_io)
        session.print("in slot 0x%x (via '%s %d').\n", static_cast<unsigned>(slot_address), board_type,
                      board_number);
    session.print("Checking header section of the file <%s>.\n", session.bitstream_file);
}

LoadExchange::LoadExchange(kvn_fpga_imp& session, const ExchangeMessages& messages, int board_number,
                           int slot_address)
    : session_{session},
      messages_{messages},
      board_number_{board_number},
      slot_address_{slot_address},
      compressed_{session.supports_compressed_loading && !session.never_compress}
{
}

int LoadExchange::check(std::uint32_t status, const SlotMessage& message)
{
    if (status == 0)
        return 0;
    return session_.fail(message, slot_address_, session_.board_type, board_number_, ApiText{status});
}

int LoadExchange::check(std::uint32_t status, const ReplyMessage& message)
{
    return status == 0 ? 0 : session_.fail(message, session_.board_type, board_number_, ApiText{status});
}

int LoadExchange::start()
{
    if (session_.prompt_user)
        session_.xprompt("Press return to send configuration bitstream.");
    if (const int error = check(MwKSBStartSendMessageEx(session_.handle, board_of(slot_address_),
                                                        slot_of(slot_address_), KSB_TIMEOUT),
                                messages_.start))
        return error;
    if (compressed_)
        session_.print("Sending in compressed format.\n");
    const std::uint8_t header[2] = {
        compressed_ ? COMPRESSED_LOAD : PLAIN_LOAD,
        static_cast<std::uint8_t>(static_cast<unsigned>(board_number_) << 3 | 5U)};
    return check(MwKSBSendMessageDataEx(session_.handle, header, sizeof header, KSB_TIMEOUT),
                 messages_.header);
}

int LoadExchange::send_pairs(std::span<const std::uint8_t> pairs, const PairMessages& messages)
{
    const auto result = send_buffered(session_, session_.handle, pairs.data(), pairs.size());
    return check(result.status, result.failed_byte % PAIR_SIZE == 0 ? messages.count : messages.value);
}

int LoadExchange::send(std::span<const std::uint8_t> bytes, const SlotMessage& message)
{
    return check(send_buffered(session_, session_.handle, bytes.data(), bytes.size()).status, message);
}

int LoadExchange::flush()
{
    const int status = session_.BufferedKsbSendMessageData(session_.handle, nullptr, 0, KSB_TIMEOUT);
    return check(static_cast<std::uint32_t>(status), messages_.flush);
}

int LoadExchange::finish(int& status)
{
    MW_HANDLE* handle = session_.handle;
    if (const int error = check(MwKSBEndOfSendMessageEx(handle, KSB_TIMEOUT), messages_.end))
        return error;
    std::uint32_t type = 0;
    if (const int error =
            check(MwKSBStartReceiveMessageEx(handle, &type, KSB_TIMEOUT), messages_.start_reply))
        return error;
    std::uint8_t reply[2] = {};
    std::uint32_t received = 0;
    if (const int error =
            check(MwKSBReceiveMessageDataEx(handle, reply, sizeof reply, &received, KSB_TIMEOUT),
                  messages_.read_reply))
        return error;
    if (const int error = check(MwKSBEndOfReceiveMessageEx(handle, KSB_TIMEOUT), messages_.end_reply))
        return error;
    status = reply[0]; // Required: only this byte decides
    return 0;
}

void LoadExchange::report_success()
{
    session_.print("Configuration was successful.\n");
    if (session_.prompt_user)
        session_.xprompt("Press return to continue.");
}
