// SPDX-License-Identifier: Apache-2.0
// The command line: what each argument makes of the session, and how it is refused.
#include "support/row_names.h"
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
    std::vector<std::string> arguments;
    const char* settings;
    int number = 0;
    std::string text = "";

    friend void PrintTo(const Line& line, std::ostream* out)
    {
        for (const std::string& argument : line.arguments)
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

class CommandLineArguments : public CommandLine, public testing::WithParamInterface<Line>
{
};

TEST_P(CommandLineArguments, FillTheSession)
{
    EXPECT_EQ(parse(GetParam().arguments), (Result{GetParam().number, GetParam().text, GetParam().number}));
    EXPECT_EQ(settings(session), GetParam().settings);
    EXPECT_EQ(transcript(), "\n");
}

INSTANTIATE_TEST_SUITE_P(Nothing, CommandLineArguments, testing::Values(Line{{}, "prompt"}), RowName{});

INSTANTIATE_TEST_SUITE_P(
    SlotTargetAndBoard, CommandLineArguments,
    testing::Values(
        Line{{"-S3", "-T2", "-B0"}, "prompt slot_given slot=3 target_given target=2 board_given address=35"},
        Line{{"-s3"}, "prompt slot_given slot=3"},
        Line{{"-s3", "-b1"}, "prompt slot_given slot=3 board_given board=1 address=19"},
        Line{{"-b1", "-s3"}, "prompt slot_given slot=3 board_given board=1 address=19"},
        Line{{"-s3", "-b0"}, "prompt slot_given slot=3 board_given address=3"},
        Line{{"-s3", "-t2"}, "prompt slot_given slot=3 target_given target=2 address=35"},
        Line{{"-t15", "-b1", "-s4"},
             "prompt slot_given slot=4 target_given target=15 board_given board=1 address=244"},
        Line{{"-t2", "-b1"}, "prompt target_given target=2 board_given board=1"},
        Line{{"-s1", "-s2", "-b3", "-b4"}, "prompt slot_given slot=2 board_given board=4 address=66"}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    Slots, CommandLineArguments,
    testing::Values(
        Line{{"-s5"}, "prompt slot=5", 9000, "Error 9000. Slot 5 is not a valid slot (must be 1,2,3 or 4)."},
        Line{{"-s0"}, "prompt", 9000, "Error 9000. Slot 0 is not a valid slot (must be 1,2,3 or 4)."},
        Line{{"-s259"}, "prompt slot_given slot=3"}, Line{{"-s1"}, "prompt slot_given slot=1"},
        Line{{"-s4"}, "prompt slot_given slot=4"}, Line{{"-s +2x"}, "prompt slot_given slot=2"},
        Line{{"-s-1"},
             "prompt slot=255",
             9000,
             "Error 9000. Slot 255 is not a valid slot (must be 1,2,3 or 4)."},
        Line{{"-s-253"}, "prompt slot_given slot=3"},
        Line{{"-s256"}, "prompt", 9000, "Error 9000. Slot 0 is not a valid slot (must be 1,2,3 or 4)."},
        Line{{"-sx"}, "prompt", 9000, "Error 9000. Slot 0 is not a valid slot (must be 1,2,3 or 4)."},
        Line{{"-s4294967297"},
             "prompt slot=255",
             9000,
             "Error 9000. Slot 255 is not a valid slot (must be 1,2,3 or 4)."},
        Line{{"-s-9999999999"},
             "prompt",
             9000,
             "Error 9000. Slot 0 is not a valid slot (must be 1,2,3 or 4)."},
        Line{{"-s2", "-s9"},
             "prompt slot_given slot=9",
             9000,
             "Error 9000. Slot 9 is not a valid slot (must be 1,2,3 or 4)."}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    Boards, CommandLineArguments,
    testing::Values(
        Line{{"-b65536"}, "prompt board_given"}, Line{{"-b0"}, "prompt board_given"},
        Line{{"-b15"}, "prompt board_given board=15"}, Line{{"-b65551"}, "prompt board_given board=15"},
        Line{{"-bx"}, "prompt board_given"}, Line{{"-b 7 8"}, "prompt board_given board=7"},
        Line{{"-b16"}, "prompt board=16", 9001, "Error 9001. Board 16 not a valid board (must be 0..15)."},
        Line{{"-b-1"},
             "prompt board=65535",
             9001,
             "Error 9001. Board 65535 not a valid board (must be 0..15)."},
        Line{{"-b99999999999"},
             "prompt board=65535",
             9001,
             "Error 9001. Board 65535 not a valid board (must be 0..15)."},
        Line{{"-b-99999999999"}, "prompt board_given"}),
    RowName{});

// The message shows the board number, whatever the target board was.
INSTANTIATE_TEST_SUITE_P(
    TargetBoards, CommandLineArguments,
    testing::Values(Line{{"-t-1"},
                         "prompt target=4294967295",
                         9005,
                         "Error 9005. Target board 0 not a valid board (must be 0..15)."},
                    Line{{"-t0"}, "prompt target_given"}, Line{{"-t15"}, "prompt target_given target=15"},
                    Line{{"-t16"},
                         "prompt target=16",
                         9005,
                         "Error 9005. Target board 0 not a valid board (must be 0..15)."},
                    Line{{"-t65536"},
                         "prompt target=65536",
                         9005,
                         "Error 9005. Target board 0 not a valid board (must be 0..15)."},
                    Line{{"-b3", "-t16"},
                         "prompt target=16 board_given board=3",
                         9005,
                         "Error 9005. Target board 3 not a valid board (must be 0..15)."},
                    Line{{"-t16", "-b3"},
                         "prompt target=16",
                         9005,
                         "Error 9005. Target board 0 not a valid board (must be 0..15)."},
                    Line{{"-t99999999999"},
                         "prompt target=2147483647",
                         9005,
                         "Error 9005. Target board 0 not a valid board (must be 0..15)."}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(FilesAndTypes, CommandLineArguments,
                         testing::Values(Line{{"-f"}, "prompt", 9002, "Error 9002. Unknown option -f."},
                                         Line{{"-fdesign"}, "prompt file_given file=design"},
                                         Line{{"-Fa.bit"}, "prompt file_given file=a.bit"},
                                         Line{{"-fone", "-ftwo"}, "prompt file_given file=two"},
                                         Line{{"-f my design"}, "prompt file_given file= my design"},
                                         Line{{"-dmwc4a"}, "prompt type_given type=mwc4a"},
                                         Line{{"-DMWC3A", "-dmwc4a"}, "prompt type_given type=mwc4a"}),
                         RowName{});

INSTANTIATE_TEST_SUITE_P(
    Switches, CommandLineArguments,
    testing::Values(Line{{"-v"}, "prompt verbose"}, Line{{"-V"}, "prompt verbose"}, Line{{"-u"}, ""},
                    Line{{"-U"}, ""}, Line{{"-c"}, "prompt make_mcb"}, Line{{"-C"}, "prompt make_mcb"},
                    Line{{"-n"}, "prompt never_compress"}, Line{{"-N"}, "prompt never_compress"},
                    Line{{"-r"}, "prompt make_rbt"}, Line{{"-R"}, "prompt make_rbt"},
                    Line{{"-v", "-v", "-c", "-r"}, "prompt verbose make_mcb make_rbt"},
                    Line{{"-u", "-v", "-n", "-fa", "b"},
                         "verbose never_compress file_given file=a con_given con=b.con"}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    UnknownOptions, CommandLineArguments,
    testing::Values(Line{{"-"}, "prompt", 9002, "Error 9002. Unknown option -."},
                    Line{{"-x"}, "prompt", 9002, "Error 9002. Unknown option -x."},
                    Line{{"-h"}, "prompt", 9002, "Error 9002. Unknown option -h."},
                    Line{{"--"}, "prompt", 9002, "Error 9002. Unknown option --."},
                    Line{{"--help"}, "prompt", 9002, "Error 9002. Unknown option --help."},
                    Line{{"-vv"}, "prompt", 9002, "Error 9002. Unknown option -vv."},
                    Line{{"-v1"}, "prompt", 9002, "Error 9002. Unknown option -v1."},
                    Line{{"-Ux"}, "prompt", 9002, "Error 9002. Unknown option -Ux."},
                    Line{{"-cc"}, "prompt", 9002, "Error 9002. Unknown option -cc."},
                    Line{{"-n0"}, "prompt", 9002, "Error 9002. Unknown option -n0."},
                    Line{{"-rr"}, "prompt", 9002, "Error 9002. Unknown option -rr."},
                    Line{{"-d"}, "prompt", 9002, "Error 9002. Unknown option -d."},
                    Line{{"-s"}, "prompt", 9002, "Error 9002. Unknown option -s."},
                    Line{{"-t"}, "prompt", 9002, "Error 9002. Unknown option -t."},
                    Line{{"-b"}, "prompt", 9002, "Error 9002. Unknown option -b."},
                    Line{{"-x1"}, "prompt", 9002, "Error 9002. Unknown option -x1."},
                    Line{{"-v", "-fa", "-x", "-u"},
                         "prompt verbose file_given file=a",
                         9002,
                         "Error 9002. Unknown option -x."}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    ConFiles, CommandLineArguments,
    testing::Values(
        Line{{"boards"}, "prompt con_given con=boards.con"},
        Line{{"boards.txt"},
             "prompt con=boards.txt",
             9004,
             "Error 9004. boards.txt does not have a .con extension. If you meant to provide a bitstream use "
             "the -f option."},
        Line{{"a.con", "b.con"},
             "prompt con_given con=a.con",
             9003,
             "Error 9003. A con file was defined twice or more."},
        Line{{"boards.con"}, "prompt con_given con=boards.con"},
        Line{{"boards.CON"},
             "prompt con=boards.CON",
             9004,
             "Error 9004. boards.CON does not have a .con extension. If you meant to provide a bitstream use "
             "the -f option."},
        Line{{"a.con", "b.txt"},
             "prompt con_given con=a.con",
             9003,
             "Error 9003. A con file was defined twice or more."},
        Line{{"a.b"}, "prompt con_given con=a.b.con"}, Line{{"a"}, "prompt con_given con=a.con"},
        Line{{""}, "prompt con_given con=.con"}, Line{{".con"}, "prompt con_given con=.con"},
        Line{{"-v", "boards", "-u"}, "verbose con_given con=boards.con"}),
    RowName{});

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
    EXPECT_EQ(run({name}), Fails(9020, "Error 9020. Failed to find/open file \"" + name + "\"."));
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

struct Comparison {
    const char* a;
    const char* b;
    int result;
};

class Stricmp : public testing::TestWithParam<Comparison>
{
};

TEST_P(Stricmp, ComparesAsFarAsTheFirstGoes)
{
    EXPECT_EQ(stricmp(GetParam().a, GetParam().b), GetParam().result)
        << GetParam().a << " against " << GetParam().b;
}

INSTANTIATE_TEST_SUITE_P(Pairs, Stricmp,
                         testing::Values(Comparison{"MWC", "mwc4a", 0}, Comparison{"mwc4a", "MWC", '4'},
                                         Comparison{"mwc4a", "MWC4A", 0}, Comparison{"", "mwc4a", 0},
                                         Comparison{"", "", 0}, Comparison{"a", "", 'a'},
                                         Comparison{"mwc3a", "mwc4a", '3' - '4'},
                                         Comparison{"abC", "ABd", 'C' - 'd'},
                                         Comparison{"abd", "ABC", 'd' - 'C'}, Comparison{"Z", "[", 'Z' - '['},
                                         Comparison{"\xE4", "a", -28 - 'a'},
                                         Comparison{"a", "\xE4", 'a' + 28}, Comparison{"\xE4", "\xC4", 32}));
} // namespace
