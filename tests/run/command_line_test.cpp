// SPDX-License-Identifier: Apache-2.0
// The command line: what each argument makes of the session, and how it is refused.
#include "support/run_fixture.h"

#include <ostream>

namespace
{
/// The fields that the command line writes, those with a value only.
std::string settings(const kvn_fpga_imp& session)
{
    std::string text;
    const auto flag = [&text](std::uint32_t value, const char* name) {
        if (value != 0)
            text += (text.empty() ? "" : " ") + std::string{name} + (value == 1 ? "" : "?");
    };
    const auto number = [&text](std::uint32_t value, const char* name) {
        if (value != 0)
            text += (text.empty() ? "" : " ") + std::string{name} + '=' + std::to_string(value);
    };
    const auto name = [&text](const char* value, const char* field) {
        if (*value != '\0')
            text += (text.empty() ? "" : " ") + std::string{field} + '=' + value;
    };
    flag(session.prompt_user, "prompt");
    flag(session.verbose, "verbose");
    flag(session.make_mcb, "make_mcb");
    flag(session.never_compress, "never_compress");
    flag(session.make_rbt, "make_rbt");
    flag(session.file_is_rbt, "file_given");
    name(session.bitstream_file, "file");
    flag(session.board_type_given, "type_given");
    name(session.board_type, "type");
    flag(session.slot_given, "slot_given");
    number(session.slot, "slot");
    flag(session.target_board_given, "target_given");
    number(session.target_board, "target");
    flag(session.board_number_given, "board_given");
    number(session.board_number, "board");
    number(session.slot_address, "address");
    flag(session.con_given, "con_given");
    name(session.con_file, "con");
    return text;
}

struct Line {
    const char* arguments; ///< a line each
    const char* settings;
    std::string text = "";

    friend void PrintTo(const Line& line, std::ostream* out)
    {
        for (const std::string& argument : split(line.arguments, '\n'))
            *out << '<' << argument << "> ";
    }
};

class CommandLine : public RunFixture
{
protected:
    Result parse(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "KVN_FPGA");
        Arguments line{arguments};
        session.prompt_user = 1; // as the entry points leave it
        return result(session.parse_command_line(line.argc(), line.argv()));
    }
};

using CommandLineArguments = With<CommandLine, Line>;

TEST_P(CommandLineArguments, FillTheSession)
{
    EXPECT_EQ(parse(split(GetParam().arguments, '\n')), Fails(GetParam().text));
    EXPECT_EQ(settings(session), GetParam().settings);
    EXPECT_EQ(transcript(), "\n");
}

std::string invalid_slot(int slot)
{
    return "Error 9000. Slot " + std::to_string(slot) + " is not a valid slot (must be 1,2,3 or 4).";
}

std::string invalid_target(int board)
{
    return "Error 9005. Target board " + std::to_string(board) + " not a valid board (must be 0..15).";
}

std::string no_con_extension(const std::string& file)
{
    return "Error 9004. " + file + " does not have a .con extension. " +
           "If you meant to provide a bitstream use the -f option.";
}

const Line lines[] = {
    {"", "prompt"},
    // Slot, target board and board.
    {"-S3\n-T2\n-B0", "prompt slot_given slot=3 target_given target=2 board_given address=35"},
    {"-s3", "prompt slot_given slot=3"},
    {"-s3\n-b1", "prompt slot_given slot=3 board_given board=1 address=19"},
    {"-b1\n-s3", "prompt slot_given slot=3 board_given board=1 address=19"},
    {"-s3\n-b0", "prompt slot_given slot=3 board_given address=3"},
    {"-s3\n-t2", "prompt slot_given slot=3 target_given target=2 address=35"},
    {"-t15\n-b1\n-s4", "prompt slot_given slot=4 target_given target=15 board_given board=1 address=244"},
    {"-t2\n-b1", "prompt target_given target=2 board_given board=1"},
    {"-s1\n-s2\n-b3\n-b4", "prompt slot_given slot=2 board_given board=4 address=66"},
    // Slots.
    {"-s5", "prompt slot=5", invalid_slot(5)},
    {"-s0", "prompt", invalid_slot(0)},
    {"-s259", "prompt slot_given slot=3"},
    {"-s1", "prompt slot_given slot=1"},
    {"-s4", "prompt slot_given slot=4"},
    {"-s +2x", "prompt slot_given slot=2"},
    {"-s-1", "prompt slot=255", invalid_slot(255)},
    {"-s-253", "prompt slot_given slot=3"},
    {"-s256", "prompt", invalid_slot(0)},
    {"-sx", "prompt", invalid_slot(0)},
    {"-s4294967297", "prompt slot=255", invalid_slot(255)},
    {"-s-9999999999", "prompt", invalid_slot(0)},
    {"-s2\n-s9", "prompt slot_given slot=9", invalid_slot(9)},
    // Boards.
    {"-b65536", "prompt board_given"},
    {"-b0", "prompt board_given"},
    {"-b15", "prompt board_given board=15"},
    {"-b65551", "prompt board_given board=15"},
    {"-bx", "prompt board_given"},
    {"-b 7 8", "prompt board_given board=7"},
    {"-b16", "prompt board=16", "Error 9001. Board 16 not a valid board (must be 0..15)."},
    {"-b-1", "prompt board=65535", "Error 9001. Board 65535 not a valid board (must be 0..15)."},
    {"-b99999999999", "prompt board=65535", "Error 9001. Board 65535 not a valid board (must be 0..15)."},
    {"-b-99999999999", "prompt board_given"},
    // Target boards. The message shows the board number, whatever the target board was.
    {"-t-1", "prompt target=4294967295", invalid_target(0)},
    {"-t0", "prompt target_given"},
    {"-t15", "prompt target_given target=15"},
    {"-t16", "prompt target=16", invalid_target(0)},
    {"-t65536", "prompt target=65536", invalid_target(0)},
    {"-b3\n-t16", "prompt target=16 board_given board=3", invalid_target(3)},
    {"-t16\n-b3", "prompt target=16", invalid_target(0)},
    {"-t99999999999", "prompt target=2147483647", invalid_target(0)},
    // Files and types.
    {"-f", "prompt", "Error 9002. Unknown option -f."},
    {"-fdesign", "prompt file_given file=design"},
    {"-Fa.bit", "prompt file_given file=a.bit"},
    {"-fone\n-ftwo", "prompt file_given file=two"},
    {"-f my design", "prompt file_given file= my design"},
    {"-dmwc4a", "prompt type_given type=mwc4a"},
    {"-DMWC3A\n-dmwc4a", "prompt type_given type=mwc4a"},
    // Switches.
    {"-v", "prompt verbose"},
    {"-V", "prompt verbose"},
    {"-u", ""},
    {"-U", ""},
    {"-c", "prompt make_mcb"},
    {"-C", "prompt make_mcb"},
    {"-n", "prompt never_compress"},
    {"-N", "prompt never_compress"},
    {"-r", "prompt make_rbt"},
    {"-R", "prompt make_rbt"},
    {"-v\n-v\n-c\n-r", "prompt verbose make_mcb make_rbt"},
    {"-u\n-v\n-n\n-fa\nb", "verbose never_compress file_given file=a con_given con=b.con"},
    // Unknown options.
    {"-", "prompt", "Error 9002. Unknown option -."},
    {"-x", "prompt", "Error 9002. Unknown option -x."},
    {"-h", "prompt", "Error 9002. Unknown option -h."},
    {"--", "prompt", "Error 9002. Unknown option --."},
    {"--help", "prompt", "Error 9002. Unknown option --help."},
    {"-vv", "prompt", "Error 9002. Unknown option -vv."},
    {"-v1", "prompt", "Error 9002. Unknown option -v1."},
    {"-Ux", "prompt", "Error 9002. Unknown option -Ux."},
    {"-cc", "prompt", "Error 9002. Unknown option -cc."},
    {"-n0", "prompt", "Error 9002. Unknown option -n0."},
    {"-rr", "prompt", "Error 9002. Unknown option -rr."},
    {"-d", "prompt", "Error 9002. Unknown option -d."},
    {"-s", "prompt", "Error 9002. Unknown option -s."},
    {"-t", "prompt", "Error 9002. Unknown option -t."},
    {"-b", "prompt", "Error 9002. Unknown option -b."},
    {"-x1", "prompt", "Error 9002. Unknown option -x1."},
    {"-v\n-fa\n-x\n-u", "prompt verbose file_given file=a", "Error 9002. Unknown option -x."},
    // Description files.
    {"boards", "prompt con_given con=boards.con"},
    {"boards.txt", "prompt con=boards.txt", no_con_extension("boards.txt")},
    {"a.con\nb.con", "prompt con_given con=a.con", "Error 9003. A con file was defined twice or more."},
    {"boards.con", "prompt con_given con=boards.con"},
    {"boards.CON", "prompt con=boards.CON", no_con_extension("boards.CON")},
    {"a.con\nb.txt", "prompt con_given con=a.con", "Error 9003. A con file was defined twice or more."},
    {"a.b", "prompt con_given con=a.b.con"},
    {"a", "prompt con_given con=a.con"},
    {"\n", "prompt con_given con=.con"},
    {".con", "prompt con_given con=.con"},
    {"-v\nboards\n-u", "verbose con_given con=boards.con"},
};

INSTANTIATE_TEST_SUITE_P(Lines, CommandLineArguments, testing::ValuesIn(lines), RowName{});

TEST_F(CommandLine, CutsNamesToTheirFields)
{
    EXPECT_EQ(parse({"-f" + std::string(300, 'f'), "-d" + std::string(40, 'd')}), Succeeds());
    EXPECT_EQ(session.bitstream_file, std::string(255, 'f'));
    EXPECT_EQ(session.board_type, std::string(31, 'd'));
    EXPECT_EQ(session.slot, 0);
    EXPECT_EQ(session.make_mcb, 0U);
}

TEST_F(CommandLine, CutsAConFileNameToItsField)
{
    EXPECT_EQ(parse({std::string(251, 'c')}), Succeeds());
    EXPECT_EQ(session.con_file, std::string(251, 'c') + ".con");
    EXPECT_EQ(parse({std::string(300, 'c')}), Succeeds());
    EXPECT_EQ(session.con_file, std::string(255, 'c'));
    EXPECT_EQ(session.file_is_mcb, 0U);
}

TEST_F(CommandLine, Error9020WhenAConFileNameLeavesNoRoomForItsExtension)
{
    const std::string name(255, 'c');
    write_file(name, "design mwc4a 0 1\n");
    EXPECT_EQ(run({name}), Fails("Error 9020. Failed to find/open file \"" + name + "\"."));
}

TEST_F(CommandLine, ForgetsWhatAnEarlierLineSet)
{
    for (std::uint32_t* flag :
         {&session.verbose, &session.board_type_given, &session.board_number_given, &session.slot_given,
          &session.make_mcb, &session.con_given, &session.file_is_rbt, &session.file_is_mcb,
          &session.file_is_bit, &session.never_compress, &session.make_rbt, &session.target_board_given})
        *flag = 1;
    EXPECT_EQ(parse({}), Succeeds());
    EXPECT_EQ(settings(session), "prompt");
    EXPECT_EQ(session.file_is_mcb, 0U);
    EXPECT_EQ(session.file_is_bit, 0U);
}

TEST_F(CommandLine, LeavesThePermissionToAskAsTheCallerSetIt)
{
    Arguments line{"KVN_FPGA", "-v"};
    session.prompt_user = 0;
    EXPECT_EQ(session.parse_command_line(line.argc(), line.argv()), 0);
    EXPECT_EQ(settings(session), "verbose");
}

TEST_F(CommandLine, FormsAnAddressOfThreeBitsForTheSlotAndFourForTheBoard)
{
    session.slot = 0x0F;
    session.board_number = 0x12;
    EXPECT_EQ(session.form_slot_address(), 0x27);
    session.target_board = 0x13;
    EXPECT_EQ(session.form_slot_address(), 0x27) << "the target board is not given";
    session.target_board_given = 1;
    EXPECT_EQ(session.form_slot_address(), 0x37);
}

TEST_F(CommandLine, SkipsTheProgramsName)
{
    Arguments line{"-x", "-v"};
    EXPECT_EQ(session.parse_command_line(line.argc(), line.argv()), 0);
    EXPECT_EQ(settings(session), "verbose");
    EXPECT_EQ(session.parse_command_line(0, nullptr), 0);
    EXPECT_EQ(settings(session), "");
}

TEST(Stricmp, ComparesAsFarAsTheFirstGoes)
{
    const struct {
        const char* a;
        const char* b;
        int result;
    } rows[] = {{"MWC", "mwc4a", 0},
                {"mwc4a", "MWC", '4'},
                {"mwc4a", "MWC4A", 0},
                {"", "mwc4a", 0},
                {"", "", 0},
                {"a", "", 'a'},
                {"mwc3a", "mwc4a", '3' - '4'},
                {"abC", "ABd", 'C' - 'd'},
                {"abd", "ABC", 'd' - 'C'},
                {"Z", "[", 'Z' - '['},
                {"\xE4", "a", -28 - 'a'},
                {"a", "\xE4", 'a' + 28},
                {"\xE4", "\xC4", 32}};
    for (const auto& row : rows)
        EXPECT_EQ(kvn_fpga_imp::stricmp(row.a, row.b), row.result) << row.a << " against " << row.b;
}
} // namespace
