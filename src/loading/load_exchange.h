// SPDX-License-Identifier: Apache-2.0
// The exchange that carries a bitstream to a module, as all loaders share it.
//
// One message goes to the module: a load header of two bytes, then the configuration data through the
// session's send buffer. One reply of two bytes comes back, of which the first is the verdict.
#ifndef KVN_FPGA_LOADING_LOAD_EXCHANGE_H
#define KVN_FPGA_LOADING_LOAD_EXCHANGE_H

#include "formats/run_coding.h"
#include "kvnfpgai.h"

#include <span>

using SlotMessage =
    Message<int, const char*, int, const char*>; // slot address, board type, board, platform's text
using ReplyMessage = Message<const char*, int, const char*>; // board type, board, platform's text

/// Messages for a failed exchange; every loader has numbers of its own.
struct ExchangeMessages {
    SlotMessage start;
    SlotMessage header;
    SlotMessage flush;
    SlotMessage end;
    ReplyMessage start_reply;
    ReplyMessage read_reply;
    ReplyMessage end_reply;
};

/// Messages for the two bytes of a run.
struct PairMessages {
    SlotMessage count;
    SlotMessage value;
};

class LoadExchange
{
public:
    /// The messages name the session's board type, and the number and address that the loader was given.
    LoadExchange(kvn_fpga_imp& session, const ExchangeMessages& messages, int board_number, int slot_address);

    /// Whether the data is sent run-coded; decided once per load.
    [[nodiscard]] bool compressed() const { return compressed_; }

    // Each step returns 0 or the number of its error. After a failure the message stays open and nothing
    // further is sent.
    // Choice: the loader closes its file after a failed step (docs/decisions/0023-files-of-failed-loads.md).

    /// Waits for the user if questions are allowed, starts the message and sends the load header.
    int start();

    /// Sends runs. The error is that of the byte that could not be sent.
    int send_pairs(std::span<const std::uint8_t> pairs, const PairMessages& messages);

    /// Sends plain bytes, all with the same message for a failure.
    int send(std::span<const std::uint8_t> bytes, const SlotMessage& message);

    /// Flushes the buffer.
    int flush();

    /// Ends the message and reads the module's verdict.
    int finish(int& status);

    /// Reports to the user that the module has started.
    void report_success();

private:
    int check(std::uint32_t status, const SlotMessage& message);
    int check(std::uint32_t status, const ReplyMessage& message);

    kvn_fpga_imp& session_;
    const ExchangeMessages& messages_;
    int board_number_;
    int slot_address_;
    bool compressed_;
};

/// The status of a module that has started.
inline constexpr int CONFIGURED = 5;

/// Announces a load, and the check of the file's header.
void announce_load(kvn_fpga_imp& session, const char* board_type, int board_number, int slot_address);

#endif
