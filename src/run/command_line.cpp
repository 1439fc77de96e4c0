// SPDX-License-Identifier: Apache-2.0
// Turns the arguments of a command line into the session's fields.
#include "bus/slot_address.h"
#include "kvnfpgai.h"
#include "support/text.h"

#include <cstring>

// Required: an a that is a prefix of b, or empty, is equal; the characters of the difference are not lowered.
int kvn_fpga_imp::stricmp(const char* a, const char* b)
{
    for (; *a != '\0'; ++a, ++b)
        if (lower(*a) != lower(*b))
            return static_cast<signed char>(*a) - static_cast<signed char>(*b);
    return 0;
}

namespace
{
int take_con_file(kvn_fpga_imp& session, const char* argument)
{
    if (session.con_given)
        return session.fail("Error 9003. A con file was defined twice or more.");
    copy_text(session.con_file, argument);
    const int extension = kvn_fpga_imp::Check_Extension(session.con_file, ".con");
    if (extension < 0)
        return session.fail(
            "Error 9004. %s does not have a .con extension. If you meant to provide a bitstream use the -f option.",
            session.con_file);
    // A name without room for the extension stays as it is; opening it fails as if it were missing.
    if (extension > 0)
        copy_with_extension(session.con_file, session.con_file, ".con");
    session.con_given = 1;
    return 0;
}

int refuse_option(kvn_fpga_imp& session, const char* argument)
{
    return session.fail("Error 9002. Unknown option %s.", argument);
}

int take_switch(kvn_fpga_imp& session, const char* argument)
{
    switch (lower(argument[1])) {
    case 'v':
        session.verbose = 1;
        return 0;
    case 'u':
        session.prompt_user = 0;
        return 0;
    case 'c':
        session.make_mcb = 1;
        return 0;
    case 'n':
        session.never_compress = 1;
        return 0;
    case 'r':
        session.make_rbt = 1;
        return 0;
    default:
        return refuse_option(session, argument);
    }
}

int take_slot(kvn_fpga_imp& session, const char* value)
{
    session.slot = static_cast<std::uint8_t>(to_number(value)); // Required: kept in 8 bits, so 259 is slot 3
    if (!is_slot(session.slot))
        return session.fail("Error 9000. Slot %d is not a valid slot (must be 1,2,3 or 4).", session.slot);
    session.slot_given = 1;
    return 0;
}

int take_target_board(kvn_fpga_imp& session, const char* value)
{
    session.target_board = static_cast<std::uint32_t>(to_number(value));
    // Required: the message shows the board number, not the target board.
    if (!is_board(session.target_board))
        return session.fail("Error 9005. Target board %d not a valid board (must be 0..15).",
                            session.board_number);
    session.target_board_given = 1;
    return 0;
}

int take_board_number(kvn_fpga_imp& session, const char* value)
{
    session.board_number = static_cast<std::uint16_t>(to_number(value)); // Required: kept in 16 bits
    if (!is_board(session.board_number))
        return session.fail("Error 9001. Board %d not a valid board (must be 0..15).", session.board_number);
    session.board_number_given = 1;
    return 0;
}

int take_option(kvn_fpga_imp& session, const char* argument)
{
    const char* value = argument + 2;
    switch (lower(argument[1])) {
    case 'f':
        copy_text(session.bitstream_file, value);
        session.file_is_rbt = 1;
        return 0;
    case 'd':
        copy_text(session.board_type, value);
        session.board_type_given = 1;
        return 0;
    case 's':
        return take_slot(session, value);
    case 't':
        return take_target_board(session, value);
    case 'b':
        return take_board_number(session, value);
    default:
        return refuse_option(session, argument);
    }
}

int take_argument(kvn_fpga_imp& session, const char* argument)
{
    if (argument[0] != '-')
        return take_con_file(session, argument);
    // A lone "-" has no letter, so it is an unknown option.
    return std::strlen(argument) <= 2 ? take_switch(session, argument) : take_option(session, argument);
}
} // namespace

int kvn_fpga_imp::parse_command_line(int argc, char** argv)
{
    verbose = 0;
    board_type_given = 0;
    board_number_given = 0;
    slot_given = 0;
    make_mcb = 0;
    con_given = 0;
    file_is_rbt = 0;
    file_is_mcb = 0;
    file_is_bit = 0;
    never_compress = 0;
    make_rbt = 0;
    target_board_given = 0;
    for (int i = 1; i < argc && argv != nullptr && argv[i] != nullptr; ++i)
        if (const int error = take_argument(*this, argv[i]))
            return error;
    // Without either board the driver forms the address, once it knows the board number.
    if (slot_given && (target_board_given || board_number_given))
        slot_address = form_slot_address();
    return 0;
}

std::uint8_t kvn_fpga_imp::form_slot_address() const
{
    return join_slot_address(slot, target_board_given ? target_board : board_number);
}
