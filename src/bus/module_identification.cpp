// SPDX-License-Identifier: Apache-2.0
// Identifies the module in a slot and checks that it can be configured.
#include "bus/api_text.h"
#include "bus/module_protocol.h"
#include "bus/slot_address.h"
#include "kvnfpgai.h"
#include "support/text.h"

#include <cstring>

namespace
{
// Enough for the 15 slots that an address can name, and for platforms with longer records.
constexpr std::size_t BOARD_INFO_WORDS = 128;
constexpr std::size_t WORDS_PER_SLOT = 5;

/// Messages for a failed query whether a module supports compressed loading.
struct CompressionMessages {
    Message<int, const char*, int, const char*> send; // slot address, board type, board, platform's text
    Message<const char*, int, const char*> receive;   // board type, board, platform's text
    Message<int, const char*, int> reply;             // received type, board type, board
};

constexpr CompressionMessages fpga_messages{
    .send = "Error 9223. Cannot send KSB message to slot 0x%x (via \"%s %d\") (%s).",
    .receive = "Error 9224. Cannot receive KSB message (via board \"%s %d\") (%s).",
    .reply = "Error 9225. Error in reply to \"do you support compressed loading?\", got %d, board \"%s %d\".",
};
constexpr CompressionMessages io_messages{
    .send = "Error 9226. Cannot send KSB message to slot 0x%x (via \"%s %d\") (%s).",
    .receive = "Error 9227. Cannot receive KSB message (via \"%s %d\") (%s).",
    .reply = "Error 9228. Error in reply to \"do you support compressed loading?\", got %d, board \"%s %d\".",
};

/// The board through which a module is queried, as the messages name it.
struct Access {
    const char* board_type;
    int board_number;
};

int ask_for_compression(kvn_fpga_imp& session, const CompressionMessages& messages, Access access,
                        int address)
{
    const auto board = board_of(address);
    const auto slot = slot_of(address);
    if (const auto status = MwKSBSendMessageEx(session.handle, KSB_MSG_COMPRESSION_QUERY, board, slot,
                                               nullptr, 0, KSB_TIMEOUT))
        return session.fail(messages.send, address, access.board_type, access.board_number, ApiText{status});
    std::uint8_t type = 0;
    std::uint8_t answer[RECORD_SIZE] = {};
    std::uint32_t received = 0;
    if (const auto status = MwKSBReceiveMessageEx(session.handle, &type, board, slot, answer, sizeof answer,
                                                  &received, KSB_TIMEOUT))
        return session.fail(messages.receive, access.board_type, access.board_number, ApiText{status});
    if (type != KSB_MSG_COMPRESSION_REPLY)
        return session.fail(messages.reply, type, access.board_type, access.board_number);
    if (answer[0] == 1)
        session.supports_compressed_loading = 1;
    return 0;
}

/// Finds out whether the module supports compressed loading: from its record or, for newer models, by a
/// query.
int learn_compression(kvn_fpga_imp& session, const std::uint8_t* record, Access access, int address)
{
    if (answers_compression_query(record))
        return ask_for_compression(session, record[0] == KAVRIN_FPGA ? fpga_messages : io_messages, access,
                                   address);
    if (record[RECORD_COMPRESSION] == 1)
        session.supports_compressed_loading = 1;
    return 0;
}
} // namespace

// The messages name the session's board, not the arguments.
int kvn_fpga_imp::Query_Module_Type(int given_address, unsigned char* reply, int reply_size, int* module_type)
{
    const auto board = board_of(given_address);
    const auto slot_number = slot_of(given_address);
    if (const auto status = MwKSBSendMessageEx(handle, KSB_MSG_MODULE_TYPE_QUERY, board, slot_number, nullptr,
                                               0, KSB_TIMEOUT))
        return fail("Error 9060. Cannot send KSB message to slot 0x%x (via \"%s %d\") (%s).", given_address,
                    board_type, board_number, ApiText{status});
    std::uint8_t type = 0;
    std::uint32_t received = 0;
    if (const auto status =
            MwKSBReceiveMessageEx(handle, &type, board, slot_number, reply,
                                  static_cast<std::uint32_t>(reply_size), &received, KSB_TIMEOUT))
        return fail("Error 9061. Cannot receive KSB message, board \"%s %d\" (%s).", board_type, board_number,
                    ApiText{status});
    if (type != KSB_MSG_MODULE_TYPE_REPLY)
        return fail("Error 9062. Expected module type query reply (0x%x), received 0x%x, board \"%s %d\".",
                    static_cast<int>(KSB_MSG_MODULE_TYPE_REPLY), type, board_type, board_number);
    *module_type = reply[0];
    return 0;
}

int kvn_fpga_imp::Test_If_Proc_Module(const char* given_type, int given_number, int given_address,
                                      int* slot_kind)
{
    // The platform knows only the slots of the board that was opened.
    if (given_number != static_cast<int>(board_of(given_address))) {
        *slot_kind = SLOT_OTHER_BOARD;
        return 0;
    }
    std::uint32_t info[BOARD_INFO_WORDS] = {};
    if (const auto status = MwGetBoardInfo(given_type, static_cast<std::uint16_t>(given_number), info))
        return fail("Error 9190. Cannot do MwGetBoardInfo, board \"%s %d\" (%s).", given_type, given_number,
                    ApiText{status});
    const std::size_t slot_number = slot_of(given_address);
    if (slot_number == 0) {
        *slot_kind = SLOT_EMPTY;
        return 0;
    }
    const std::uint32_t* entry = info + 1 + (slot_number - 1) * WORDS_PER_SLOT;
    if (entry[0] == 0)
        *slot_kind = SLOT_EMPTY;
    else if (entry[1] == 1)
        *slot_kind = SLOT_PROCESSOR;
    else
        *slot_kind = entry[2] != 0 ? SLOT_WITH_BUS : SLOT_WITHOUT_BUS;
    return 0;
}

int kvn_fpga_imp::Check_Module(const char* given_type, unsigned short given_number,
                               unsigned char given_address)
{
    print("\n\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0x%x (via '%s %d')\n", given_address,
          given_type, given_number);
    supports_compressed_loading = 0;

    int slot_kind = SLOT_EMPTY;
    if (const int error = Test_If_Proc_Module(given_type, given_number, given_address, &slot_kind))
        return error;
    const int slot_number = slot_of(given_address);
    if (slot_kind == SLOT_EMPTY)
        return fail("Error 9220. There is no module in slot %d of board %s %d.", slot_number, given_type,
                    given_number);
    if (slot_kind == SLOT_PROCESSOR)
        return fail("Error 9221. The module in slot %d of board %s %d is a processor module.", slot_number,
                    given_type, given_number);
    if (slot_kind == SLOT_WITHOUT_BUS)
        return fail("Error 9222. The module in slot %d of board %s %d does not have a serial bus.",
                    slot_number, given_type, given_number);

    std::uint8_t record[RECORD_SIZE] = {};
    int type = 0;
    if (const int error = Query_Module_Type(given_address, record, sizeof record, &type))
        return error;
    if (verbose)
        print("Second module type %x.\n", static_cast<unsigned>(type));
    // Required: a module of another type is accepted, although its FPGA is unknown.
    if (type != KAVRIN_FPGA && type != KAVRIN_IO)
        return 0;
    if (const int error = learn_compression(*this, record, {given_type, given_number}, given_address))
        return error;
    if (type == KAVRIN_FPGA)
        print("The module in slot 0x%x is a KAVRIN-FPGA%d version %d.\n", given_address, record[RECORD_MODEL],
              record[RECORD_VERSION]);
    else
        print("The module in slot 0x%x is a KAVRIN-IO%d version %d.\n", given_address, record[RECORD_MODEL],
              record[RECORD_VERSION]);
    describe_module(record);
    return 0;
}

void kvn_fpga_imp::describe_module(const unsigned char* record)
{
    if (supports_compressed_loading)
        print("The module supports loading of compressed bitstreams.\n");
    else
        print("The module does NOT support loading of compressed bitstreams.\n");

    char name[RECORD_DEVICE_SIZE + 1] = {};
    std::memcpy(name, record + RECORD_DEVICE, RECORD_DEVICE_SIZE);
    copy_text(device_name, name);
    char family[16];
    Get_Device_Family(device_name, family); // called only because it sets virtex2_family
    Print_Device_Statistics(device_name);
}
