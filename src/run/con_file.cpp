// SPDX-License-Identifier: Apache-2.0
// Configures one module for each line of a configuration description file.
#include "bus/slot_address.h"
#include "kvnfpgai.h"
#include "support/text.h"

#include <cstring>
#include <string_view>

namespace
{
// A longer line is read as several.
constexpr int LINE_SIZE = 256;

/// Cuts a line into its fields.
class Fields
{
public:
    explicit Fields(const char* line) : rest_{line} {}

    /// Returns the field up to the next blank or the end of the line.
    /// Choice: a field that is missing is empty (docs/decisions/0015-fields-of-con-files.md).
    std::string_view next()
    {
        const std::size_t length = std::strcspn(rest_, " \t\n");
        const std::string_view field{rest_, length};
        rest_ = skip_blanks(rest_ + length);
        return field;
    }

private:
    const char* rest_;
};

bool is_comment_or_blank(const char* line)
{
    return *line == '"' || *line == ' ' || *line == '\n';
}

int open_without_extension(kvn_fpga_imp& session)
{
    char name[sizeof session.bitstream_file];
    if (copy_with_extension(name, session.bitstream_file, ".rbt"))
        session.rbt_fp = std::fopen(name, "rb");
    if (session.rbt_fp != nullptr) {
        session.file_is_rbt = 1;
        copy_text(session.bitstream_file, name);
        return 0;
    }
    if (copy_with_extension(name, session.bitstream_file, ".mcb"))
        session.bin_fp = std::fopen(name, "rb");
    if (session.bin_fp != nullptr) {
        session.file_is_mcb = 1;
        copy_text(session.bitstream_file, name);
        return 0;
    }
    return session.fail("Error 9021. Cannot find/open %s.rbt or %s.mcb file.", session.bitstream_file,
                        session.bitstream_file);
}

/// Opens the bitstream file that a line names. BIT files are not accepted.
int open_bitstream(kvn_fpga_imp& session)
{
    session.file_is_rbt = 0;
    session.file_is_mcb = 0;
    const int extension = kvn_fpga_imp::Check_Extension(session.bitstream_file, ".rbt");
    if (extension > 0)
        return open_without_extension(session);
    if (extension == 0) {
        session.rbt_fp = std::fopen(session.bitstream_file, "rb");
        if (session.rbt_fp == nullptr)
            return session.fail("Error 9022. Cannot find/open %s file.", session.bitstream_file);
        session.file_is_rbt = 1;
        return 0;
    }
    if (kvn_fpga_imp::Check_Extension(session.bitstream_file, ".mcb") == 0) {
        session.bin_fp = std::fopen(session.bitstream_file, "rb");
        if (session.bin_fp == nullptr)
            return session.fail("Error 9023. Cannot find/open %s file.", session.bitstream_file);
        session.file_is_mcb = 1;
        return 0;
    }
    return session.fail("Error 9024. Incorrect file extension in %s (should be .rbt or .mcb or none).",
                        session.bitstream_file);
}

/// Takes the fields of a module's line into the session and opens its bitstream file.
int read_module_line(kvn_fpga_imp& session, const char* line)
{
    char word[LINE_SIZE];
    Fields fields{line};
    copy_text(session.bitstream_file, fields.next());
    if (const int error = open_bitstream(session))
        return error;
    copy_text(session.board_type, fields.next());

    copy_text(word, fields.next());
    session.board_number = static_cast<std::uint16_t>(to_number(word)); // Required: kept in 16 bits
    if (!is_board(session.board_number))
        return session.fail("Error 9025. Invalid board number %d (should be 0..15).", session.board_number);

    copy_text(word, fields.next());
    // The field is the whole slot address: 0x21 is slot 1 of board 2.
    session.slot_address = static_cast<std::uint8_t>(kvn_fpga_imp::parse_number(word));
    session.slot = slot_of(session.slot_address);
    if (!is_slot(session.slot))
        return session.fail("Error 9026. Invalid slot number %d (should be 1,2,3 or 4).", session.slot);
    return 0;
}

int configure_module(kvn_fpga_imp& session)
{
    const Finally close_bus{[&session] { session.Close_KSB(); }};
    if (const int error = session.Initialise_Host_KSB(session.board_type, session.board_number))
        return error;
    if (const int error =
            session.Check_Module(session.board_type, session.board_number, session.slot_address))
        return error;
    return session.load_selected_file();
}

FILE* open_con_file(const char (&name)[256])
{
    // A name without room for its extension names no file.
    char full_name[sizeof name];
    const bool has_extension = kvn_fpga_imp::Check_Extension(name, ".con") <= 0;
    const bool has_room = copy_with_extension(full_name, name, ".con");
    return has_extension || has_room ? std::fopen(name, "rb") : nullptr;
}
} // namespace

int kvn_fpga_imp::parse_number(const char* text)
{
    if (std::strncmp(text, "0x", 2) != 0)
        return to_number(text);
    std::uint32_t value = 0;
    for (text += 2; *text != '\0'; ++text) {
        const char digit = lower(*text);
        if (is_digit(digit))
            value = value * 16 + static_cast<std::uint32_t>(digit - '0');
        else if (digit >= 'a' && digit <= 'f')
            value = value * 16 + static_cast<std::uint32_t>(digit - 'a' + 10);
        else
            break;
    }
    return static_cast<int>(value);
}

int kvn_fpga_imp::Process_Con_File()
{
    const File con{open_con_file(con_file)};
    if (!con)
        return fail("Error 9020. Failed to find/open file \"%s\".", con_file);
    prompt_user = 0;
    unsigned configured = 0;
    char line[LINE_SIZE];
    // Choice: a read error is an end too (docs/decisions/0013-read-errors-and-ends.md).
    while (std::fgets(line, sizeof line, con.get()) != nullptr) {
        if (is_comment_or_blank(line))
            continue;
        if (const int error = read_module_line(*this, line))
            return error;
        if (const int error = configure_module(*this))
            return error;
        ++configured;
    }
    if (configured == 0)
        return fail("Error 9027. No KAVRIN-FPGA or KAVRIN-IO modules were configured.");
    print("0x%x modules sucessfully configured.\n", configured);
    return 0;
}
