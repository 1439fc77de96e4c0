// SPDX-License-Identifier: Apache-2.0
// Carries out one run: a conversion, or the configuration of one module.
#include "bus/slot_address.h"
#include "kvnfpgai.h"
#include "support/text.h"

namespace
{
int convert_to_mcb(kvn_fpga_imp& session)
{
    if (session.file_is_rbt)
        return session.Make_mcb_file(session.rbt_fp, 0);
    if (session.file_is_bit)
        return session.Make_mcb_file(session.bin_fp, 1);
    if (session.file_is_mcb)
        return session.fail("Error 9070: You cannot compress a compressed (.mcb) file.");
    return session.fail("Error 9071: Internal error.");
}

int convert_to_rbt(kvn_fpga_imp& session)
{
    if (session.file_is_mcb)
        return session.Make_rbt_file(session.bin_fp);
    if (session.file_is_rbt)
        return session.fail("Error 9072: You cannot expand a .rbt file.");
    return session.fail("Error 9073: Internal error.");
}

void set_board_number(kvn_fpga_imp& session, const char* digits)
{
    session.board_number = static_cast<std::uint16_t>(to_number(digits)); // kept in 16 bits: -1 is 65535
    session.board_number_given = 1;
    if (session.slot_given)
        session.slot_address = session.form_slot_address();
}

/// Returns the value of MWAPIKSB or else MWAPIJTAG, or null.
const char* find_environment_board(kvn_fpga_imp& session)
{
    // Choice: a variable that is set but empty counts as set (docs/decisions/0004-environment-values.md).
    if (const char* value = kvn_fpga_imp::getapivar("MWAPIKSB"))
        return value;
    if (session.verbose)
        session.print("No MWAPIKSB variable found, using MWAPIJTAG.\n");
    if (const char* value = kvn_fpga_imp::getapivar("MWAPIJTAG"))
        return value;
    if (session.verbose)
        session.print("No MWAPIJTAG variable found.\n");
    return nullptr;
}

/// Takes the missing type and number from a value such as "mwc4a 0".
void take_environment_board(kvn_fpga_imp& session, const char* value)
{
    char type_word[32];
    value = skip_blanks(value);
    const char* type_end = find_blank(value);
    copy_text(type_word, {value, type_end});
    if (!session.board_type_given) {
        copy_text(session.board_type, type_word);
        session.board_type_given = 1;
        if (session.verbose)
            session.print("No boardtype (-d) defined. Use '%s' from MWAPIKSB or MWAPIJTAG..\n",
                          session.board_type);
    }
    // Required: the number belongs to the variable's board type and is not used for another.
    if (session.board_number_given || kvn_fpga_imp::stricmp(type_word, session.board_type) != 0)
        return;
    // Choice: a value without a second word gives no number (docs/decisions/0004-environment-values.md).
    const char* number = skip_blanks(type_end);
    if (*number == '\0')
        return;
    char number_word[32];
    copy_text(number_word, {number, find_blank(number)});
    set_board_number(session, number_word);
    if (session.verbose)
        session.print("No board (-b) defined. Use boardno %d from MWAPIKSB or MWAPIJTAG.\n",
                      session.board_number);
}

int ask_for_board(kvn_fpga_imp& session)
{
    if (!session.board_type_given) {
        if (!session.prompt_user)
            return session.fail("Error 9074. Please define MWAPIKSB and MWAPIJTAG, or select a board type.");
        session.xaskstring("What board do you want to open (eg mwc3a, mwc4a)? ", session.board_type);
    }
    if (!session.board_number_given) {
        if (!session.prompt_user)
            return session.fail(
                "Error 9075. Please define MWAPIKSB and MWAPIJTAG, or select a board number.");
        char question[96];
        char answer[256] = {};
        std::snprintf(question, sizeof question, "Board %s, but what board number? ", session.board_type);
        session.xaskstring(question, answer);
        set_board_number(session, answer);
    }
    return 0;
}

/// Determines board type and number: from the options, then the environment, then the user.
int settle_board(kvn_fpga_imp& session)
{
    if (session.board_type_given && session.board_number_given)
        return 0;
    if (const char* value = find_environment_board(session))
        take_environment_board(session, value);
    return ask_for_board(session);
}

/// Checks the named slot, or searches.
int find_module(kvn_fpga_imp& session)
{
    if (session.slot_given) {
        if (!is_slot(session.slot))
            return session.fail("Error 9077. Invalid slot number %d (should be 1,2,3 or 4).", session.slot);
        return session.Check_Module(session.board_type, session.board_number, session.slot_address);
    }
    if (const int error =
            session.Search_For_Modules(session.board_type, session.board_number, &session.slot_address))
        return error;
    session.slot = slot_of(session.slot_address);
    return 0;
}

int configure(kvn_fpga_imp& session)
{
    if (const int error = settle_board(session))
        return error;
    if (!is_board(session.board_number))
        return session.fail("Error 9076. Invalid board number %d (should be 0..15).", session.board_number);

    const Finally close_bus{[&session] { session.Close_KSB(); }};
    if (const int error = session.Initialise_Host_KSB(session.board_type, session.board_number))
        return error;
    if (const int error = find_module(session))
        return error;
    if (session.verbose) {
        session.print("Configuring the module in slot 0x%x, board %d with bitstream\n", session.slot_address,
                      session.board_number);
        session.print("<%s>.\n", session.bitstream_file);
    }
    return session.load_selected_file();
}
} // namespace

int kvn_fpga_imp::load_selected_file()
{
    const auto load = [this](auto loader, FILE* file) {
        return (this->*loader)(board_type, board_number, slot_address, file, device_name);
    };
    if (file_is_rbt)
        return load(&kvn_fpga_imp::Load_Bitstream_rbt, rbt_fp);
    if (file_is_mcb)
        return load(&kvn_fpga_imp::Load_Bitstream_mcb, bin_fp);
    if (file_is_bit)
        return load(&kvn_fpga_imp::Load_Bitstream_bit, bin_fp);
    return 0;
}

int kvn_fpga_imp::kvn_fpga_main()
{
    if (const int error = determine_bitstream_type())
        return error;
    if (make_mcb)
        return convert_to_mcb(*this);
    if (make_rbt)
        return convert_to_rbt(*this);
    return configure(*this);
}
