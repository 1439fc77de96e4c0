// SPDX-License-Identifier: Apache-2.0
// Offers the modules of a board, slot by slot, until the user accepts one.
//
// Unlike the check of a named slot, the search asks about compression with the plain message operations,
// which take the slot alone, and has messages of its own.
#include "bus/api_text.h"
#include "bus/module_protocol.h"
#include "bus/slot_address.h"
#include "kvnfpgai.h"

namespace
{
/// Messages for a failed query whether a module supports compressed loading.
struct CompressionMessages {
    Message<int, const char*, int, const char*> send;    // slot, board type, board, platform's text
    Message<int, const char*, int, const char*> receive; // likewise
    Message<int, int, const char*, int> reply;           // received type, expected type, board type, board
};

// Required: 9092 prints the received type in decimal behind its "0x".
constexpr CompressionMessages fpga_messages{
    .send = "Error 9090. Cannot send KSB message to slot 0x%x, board \"%s %d\" (%s).",
    .receive = "Error 9091. Cannot receive KSB message to slot 0x%x, board \"%s %d\" (%s).",
    .reply =
        "Error 9092. Error in reply to \"Do you support compressed loading?\". (Got 0x%d, expected 0x%x). Board \"%s %d\".",
};
constexpr CompressionMessages io_messages{
    .send = "Error 9093. Cannot send KSB message to slot 0x%x, board \"%s %d\" (%s).",
    .receive = "Error 9094. Cannot receive KSB message to slot 0x%x, board \"%s %d\" (%s).",
    .reply =
        "Error 9095. Error in reply to \"Do you support compressed loading?\". (Got 0x%x, expected 0x%x). Board \"%s %d\".",
};

struct Access {
    const char* board_type;
    int board_number;
};

int ask_for_compression(kvn_fpga_imp& session, const CompressionMessages& messages, Access access, int slot)
{
    const auto slot_number = static_cast<std::uint32_t>(slot);
    if (const auto status =
            MwKSBSendMessage(session.handle, KSB_MSG_COMPRESSION_QUERY, slot_number, nullptr, 0, KSB_TIMEOUT))
        return session.fail(messages.send, slot, access.board_type, access.board_number, ApiText{status});
    std::uint8_t type = 0;
    std::uint8_t answer[RECORD_SIZE] = {};
    std::uint32_t received = 0;
    if (const auto status = MwKSBReceiveMessage(session.handle, &type, slot_number, answer, sizeof answer,
                                                &received, KSB_TIMEOUT))
        return session.fail(messages.receive, slot, access.board_type, access.board_number, ApiText{status});
    if (type != KSB_MSG_COMPRESSION_REPLY) {
        // Required: the platform is asked for the text of code 0 here, although no message shows it.
        const ApiText unused{0};
        return session.fail(messages.reply, type, static_cast<int>(KSB_MSG_COMPRESSION_REPLY),
                            access.board_type, access.board_number);
    }
    if (answer[0] == 1)
        session.supports_compressed_loading = 1;
    return 0;
}

int learn_compression(kvn_fpga_imp& session, const std::uint8_t* record, Access access, int slot)
{
    if (answers_compression_query(record))
        return ask_for_compression(session, record[0] == KAVRIN_FPGA ? fpga_messages : io_messages, access,
                                   slot);
    if (record[RECORD_COMPRESSION] == 1)
        session.supports_compressed_loading = 1;
    return 0;
}

void announce_module(kvn_fpga_imp& session, const std::uint8_t* record, int slot, int board_number)
{
    const int model = record[RECORD_MODEL];
    const int version = record[RECORD_VERSION];
    if (record[0] == KAVRIN_FPGA) {
        session.print("\nA KAVRIN-FPGA%d version %d has been found in slot ", model, version);
        session.print("%d of board %d.\n", slot, board_number);
    } else {
        session.print("\nA KAVRIN-IO%d version %d has been found in slot ", model, version);
        session.print("%d of board %d\n", slot, board_number); // Required: no full stop here
    }
}

/// Offers the module in a slot to the user if it can be configured.
/// @param accepted set to true when the user accepts it
int offer_slot(kvn_fpga_imp& session, Access access, int slot, std::uint8_t address, bool& accepted)
{
    session.supports_compressed_loading = 0;
    int slot_kind = SLOT_EMPTY;
    if (const int error =
            session.Test_If_Proc_Module(access.board_type, access.board_number, address, &slot_kind))
        return error;
    if (session.verbose)
        session.print("Module type %x.\n", static_cast<unsigned>(slot_kind));
    if (slot_kind != SLOT_WITH_BUS)
        return 0;

    std::uint8_t record[RECORD_SIZE] = {};
    int type = 0;
    if (const int error = session.Query_Module_Type(address, record, sizeof record, &type))
        return error;
    if (session.verbose)
        session.print("Second module type %x.\n", static_cast<unsigned>(type));
    if (type != KAVRIN_FPGA && type != KAVRIN_IO)
        return 0;
    if (const int error = learn_compression(session, record, access, slot))
        return error;
    announce_module(session, record, slot, access.board_number);
    session.describe_module(record);

    // Required: asked even when prompt_user is off.
    const signed char answer = session.xask_yn("Is this the module you want to load (y/n)? ");
    accepted = answer == 'y' || answer == 'Y';
    return 0;
}
} // namespace

int kvn_fpga_imp::Search_For_Modules(const char* given_type, unsigned short given_number,
                                     unsigned char* slot_address_out)
{
    supports_compressed_loading = 0;
    print("Searching for KAVRIN-FPGA and KAVRIN-IO modules\n");
    for (int slot_number = FIRST_SLOT; slot_number <= LAST_SLOT; ++slot_number) {
        const auto address = join_slot_address(static_cast<std::uint32_t>(slot_number), given_number);
        bool accepted = false;
        if (const int error = offer_slot(*this, {given_type, given_number}, slot_number, address, accepted))
            return error;
        if (accepted) {
            *slot_address_out = address;
            return 0;
        }
    }
    return fail("Error 9096. No KAVRIN-FPGA or KAVRIN-IO modules were configured.");
}
