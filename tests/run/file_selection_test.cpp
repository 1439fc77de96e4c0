// SPDX-License-Identifier: Apache-2.0
// Which file a run uses: by its name, by what exists, and by what the user says.
#include "support/row_names.h"
#include "support/run_fixture.h"

#include <ostream>

namespace
{
class FileSelection : public RunFixture
{
protected:
    void TearDown() override
    {
        close_files();
        RunFixture::TearDown();
    }

    Result select(const char* name)
    {
        session.file_is_rbt = 1;
        std::snprintf(session.bitstream_file, sizeof session.bitstream_file, "%s", name);
        return result(session.determine_bitstream_type());
    }
    Result select_without_name()
    {
        session.file_is_rbt = 0;
        return result(session.determine_bitstream_type());
    }
    /// The kinds that are set, and the streams that are open.
    [[nodiscard]] std::string kinds() const
    {
        std::string text;
        const auto add = [&text](bool is_set, const char* word) {
            if (is_set)
                text += (text.empty() ? "" : " ") + std::string{word};
        };
        add(session.file_is_rbt == 1, "rbt");
        add(session.file_is_mcb == 1, "mcb");
        add(session.file_is_bit == 1, "bit");
        add(session.rbt_fp != nullptr, "rbt_fp");
        add(session.bin_fp != nullptr, "bin_fp");
        return text;
    }
    /// The first word of the file that is open.
    [[nodiscard]] std::string opened() const
    {
        char word[64] = "";
        for (FILE* file : {session.rbt_fp, session.bin_fp})
            if (file != nullptr && std::fscanf(file, "%63s", word) != 1)
                return "";
        return word;
    }
};

constexpr char FOUND_RBT[] = "Found only .rbt version of that file, should I use it [y/n]?";
constexpr char FOUND_MCB[] = "Found only .mcb version of that file, should I use it [y/n]?";
constexpr char FOUND_BIT[] = "Found only .bit version of that file, should I use it [y/n]?";

enum class Doing { configure, compress, expand };

/// One row of the decision table: what is asked for, what there is, and what comes of it.
struct Choice {
    const char* name;
    Doing action;
    bool may_ask;
    const char* files; ///< extensions that exist, such as ".rbt .bit"
    const char* answers;
    int number;
    const char* text;
    const char* kinds;
    const char* selected; ///< bitstream_file afterwards
    std::vector<const char*> questions = {};

    friend void PrintTo(const Choice& row, std::ostream* out)
    {
        const char* const actions[] = {"configure", "compress", "expand"};
        *out << actions[static_cast<int>(row.action)] << ' ' << row.name << (row.may_ask ? ", asking" : "")
             << ", of \"" << row.files << "\", answering \"" << row.answers << '"';
    }
};

class DecisionTable : public FileSelection, public testing::WithParamInterface<Choice>
{
};

TEST_P(DecisionTable, Holds)
{
    const Choice& row = GetParam();
    for (const std::string extension : {".rbt", ".mcb", ".bit"})
        if (std::string{row.files}.find(extension) != std::string::npos)
            write_file("design" + extension, "design" + extension);
    for (const char* c = row.answers; *c != '\0'; ++c)
        answer(std::string(1, *c));
    session.make_mcb = row.action == Doing::compress ? 1 : 0;
    session.make_rbt = row.action == Doing::expand ? 1 : 0;
    session.prompt_user = row.may_ask ? 1 : 0;
    session.file_is_mcb = 1; // left by nobody knows whom
    session.file_is_bit = 1;

    EXPECT_EQ(select(row.name), (Result{row.number, row.text, row.number}));
    EXPECT_EQ(kinds(), row.kinds);
    EXPECT_STREQ(session.bitstream_file, row.selected);
    if (row.number == 0) {
        EXPECT_EQ(opened(), row.selected);
    }
    std::vector<std::string> questions;
    for (std::size_t i = 0; i < row.questions.size(); ++i) {
        questions.push_back(asked_yn(row.questions[i]));
        questions.push_back(answered(std::string(1, row.answers[i])));
    }
    EXPECT_EQ(log(), questions);
}

constexpr auto configure = Doing::configure;
constexpr auto compress = Doing::compress;
constexpr auto expand = Doing::expand;

INSTANTIATE_TEST_SUITE_P(
    NoExtensionExpand, DecisionTable,
    testing::Values(Choice{"design", expand, true, ".rbt .mcb .bit", "", 0, "", "mcb bin_fp", "design.mcb"},
                    Choice{"design", expand, false, ".mcb", "", 0, "", "mcb bin_fp", "design.mcb"},
                    Choice{"design", expand, true, ".rbt .bit", "", 9042,
                           "Error 9042. Cannot find/open design.mcb file.", "", "design"},
                    Choice{"design", expand, false, "", "", 9042,
                           "Error 9042. Cannot find/open design.mcb file.", "", "design"}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    NoExtensionCompress, DecisionTable,
    testing::Values(Choice{"design", compress, true, ".rbt .mcb .bit", "", 0, "", "rbt rbt_fp", "design.rbt"},
                    Choice{"design", compress, true, ".mcb .bit", "", 9040,
                           "Error 9040. Cannot find/open design.rbt file.", "", "design"},
                    Choice{"design", compress, false, ".bit", "", 9040,
                           "Error 9040. Cannot find/open design.rbt file.", "", "design"}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    NoExtensionConfigure, DecisionTable,
    testing::Values(Choice{"design", configure, true, ".rbt .mcb .bit", "", 0, "", "rbt rbt_fp",
                           "design.rbt"},
                    Choice{"design", configure, false, ".rbt .bit", "", 0, "", "rbt rbt_fp", "design.rbt"},
                    Choice{"design", configure, true, ".mcb .bit", "", 0, "", "mcb bin_fp", "design.mcb"},
                    Choice{"design", configure, false, ".bit", "", 0, "", "bit bin_fp", "design.bit"},
                    Choice{"design", configure, true, "", "", 9041,
                           "Error 9041. Cannot find/open design.[rbt/mcb/bit] file.", "", "design"},
                    Choice{"design", configure, false, "", "", 9041,
                           "Error 9041. Cannot find/open design.[rbt/mcb/bit] file.", "", "design"}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    Rbt, DecisionTable,
    testing::Values(
        Choice{"design.rbt", expand, true, ".rbt .mcb", "", 9043,
               "Error 9043. Sorry, you cannot expand a .rbt file.", "", "design.rbt"},
        Choice{"design.rbt", expand, false, "", "", 9043, "Error 9043. Sorry, you cannot expand a .rbt file.",
               "", "design.rbt"},
        Choice{"design.rbt", configure, true, ".rbt .mcb .bit", "", 0, "", "rbt rbt_fp", "design.rbt"},
        Choice{"design.rbt", configure, false, ".rbt", "", 0, "", "rbt rbt_fp", "design.rbt"},
        Choice{"design.rbt", compress, true, ".rbt", "", 0, "", "rbt rbt_fp", "design.rbt"},
        Choice{
            "design.rbt", configure, true, ".mcb .bit", "y", 0, "", "mcb bin_fp", "design.mcb", {FOUND_MCB}},
        Choice{"design.rbt", configure, true, ".mcb", "Y", 0, "", "mcb bin_fp", "design.mcb", {FOUND_MCB}},
        Choice{"design.rbt",
               configure,
               true,
               ".mcb .bit",
               "n",
               9046,
               "Error 9046. Cannot find/open design.rbt file.",
               "bin_fp",
               "design.rbt",
               {FOUND_MCB}},
        Choice{"design.rbt",
               configure,
               true,
               ".mcb",
               "j",
               9046,
               "Error 9046. Cannot find/open design.rbt file.",
               "bin_fp",
               "design.rbt",
               {FOUND_MCB}},
        Choice{"design.rbt", configure, true, ".bit", "y", 0, "", "bit bin_fp", "design.bit", {FOUND_BIT}},
        Choice{"design.rbt",
               configure,
               true,
               ".bit",
               "N",
               9046,
               "Error 9046. Cannot find/open design.rbt file.",
               "bin_fp",
               "design.rbt",
               {FOUND_BIT}},
        Choice{"design.rbt", configure, true, "", "", 9045, "Error 9045. Cannot find/open design.rbt file.",
               "", "design.rbt"},
        Choice{"design.rbt", configure, false, ".mcb .bit", "", 9044,
               "Error 9044. Cannot find/open design.rbt file.", "", "design.rbt"},
        Choice{"design.rbt", compress, true, ".mcb .bit", "", 9044,
               "Error 9044. Cannot find/open design.rbt file.", "", "design.rbt"},
        Choice{"design.rbt", compress, false, "", "", 9044, "Error 9044. Cannot find/open design.rbt file.",
               "", "design.rbt"}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    Mcb, DecisionTable,
    testing::Values(
        Choice{"design.mcb", compress, true, ".rbt .mcb", "", 9047,
               "Error 9047. Sorry, cannot compress a .mcb file.", "", "design.mcb"},
        Choice{"design.mcb", compress, false, "", "", 9047, "Error 9047. Sorry, cannot compress a .mcb file.",
               "", "design.mcb"},
        Choice{"design.mcb", configure, true, ".rbt .mcb .bit", "", 0, "", "mcb bin_fp", "design.mcb"},
        Choice{"design.mcb", expand, false, ".mcb", "", 0, "", "mcb bin_fp", "design.mcb"},
        Choice{
            "design.mcb", configure, true, ".rbt .bit", "y", 0, "", "rbt rbt_fp", "design.rbt", {FOUND_RBT}},
        Choice{"design.mcb",
               configure,
               true,
               ".rbt .bit",
               "n",
               9050,
               "Error 9050. Cannot find/open design.mcb file.",
               "rbt_fp",
               "design.mcb",
               {FOUND_RBT}},
        Choice{"design.mcb", configure, true, ".bit", "Y", 0, "", "bit bin_fp", "design.bit", {FOUND_BIT}},
        Choice{"design.mcb",
               configure,
               true,
               ".bit",
               "n",
               9049,
               "Error 9049. Cannot find/open design.mcb file.",
               "bin_fp",
               "design.mcb",
               {FOUND_BIT}},
        Choice{"design.mcb", configure, true, "", "", 9049, "Error 9049. Cannot find/open design.mcb file.",
               "", "design.mcb"},
        Choice{"design.mcb", configure, false, ".rbt .bit", "", 9048,
               "Error 9048. Cannot find/open design.mcb file.", "", "design.mcb"},
        Choice{"design.mcb", expand, true, ".rbt .bit", "", 9048,
               "Error 9048. Cannot find/open design.mcb file.", "", "design.mcb"},
        Choice{"design.mcb", expand, false, "", "", 9048, "Error 9048. Cannot find/open design.mcb file.", "",
               "design.mcb"}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    Bit, DecisionTable,
    testing::Values(
        Choice{"design.bit", expand, true, ".mcb .bit", "", 9054,
               "Error 9054. Sorry, expanding a .bit file is not supported.", "", "design.bit"},
        Choice{"design.bit", expand, false, "", "", 9054,
               "Error 9054. Sorry, expanding a .bit file is not supported.", "", "design.bit"},
        Choice{"design.bit", configure, true, ".rbt .mcb .bit", "", 0, "", "bit bin_fp", "design.bit"},
        Choice{"design.bit", compress, false, ".bit", "", 0, "", "bit bin_fp", "design.bit"},
        Choice{
            "design.bit", configure, true, ".rbt .mcb", "y", 0, "", "rbt rbt_fp", "design.rbt", {FOUND_RBT}},
        Choice{"design.bit",
               configure,
               true,
               ".rbt .mcb",
               "n",
               9055,
               "Error 9055. Cannot find/open design.bit file.",
               "rbt_fp",
               "design.bit",
               {FOUND_RBT}},
        Choice{"design.bit", configure, true, ".mcb", "y", 0, "", "mcb bin_fp", "design.mcb", {FOUND_MCB}},
        Choice{"design.bit",
               configure,
               true,
               ".mcb",
               "n",
               9055,
               "Error 9055. Cannot find/open design.bit file.",
               "bin_fp",
               "design.bit",
               {FOUND_MCB}},
        Choice{"design.bit", configure, true, "", "", 9055, "Error 9055. Cannot find/open design.bit file.",
               "", "design.bit"},
        Choice{"design.bit", configure, false, ".rbt .mcb", "", 9055,
               "Error 9055. Cannot find/open design.bit file.", "", "design.bit"},
        // Compressing asks as well, and may even be given an MCB file, which the conversion then refuses.
        Choice{"design.bit", compress, true, ".rbt", "y", 0, "", "rbt rbt_fp", "design.rbt", {FOUND_RBT}},
        Choice{"design.bit", compress, true, ".mcb", "y", 0, "", "mcb bin_fp", "design.mcb", {FOUND_MCB}},
        Choice{"design.bit", compress, false, ".rbt", "", 9055,
               "Error 9055. Cannot find/open design.bit file.", "", "design.bit"}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    OtherExtensions, DecisionTable,
    testing::Values(
        Choice{"design.txt", configure, true, ".rbt", "", 9051,
               "Error 9051. Incorrect file extension in design.txt (should be *.rbt, *.mcb, *.bit, or none).",
               "", "design.txt"},
        Choice{"design.txt", compress, false, "", "", 9051,
               "Error 9051. Incorrect file extension in design.txt (should be *.rbt, *.mcb, *.bit, or none).",
               "", "design.txt"},
        Choice{"design.RBT", configure, true, ".rbt", "", 9051,
               "Error 9051. Incorrect file extension in design.RBT (should be *.rbt, *.mcb, *.bit, or none).",
               "", "design.RBT"},
        Choice{"design.Mcb", expand, true, ".mcb", "", 9051,
               "Error 9051. Incorrect file extension in design.Mcb (should be *.rbt, *.mcb, *.bit, or none).",
               "", "design.Mcb"},
        Choice{"design.BIT", configure, true, ".bit", "", 9051,
               "Error 9051. Incorrect file extension in design.BIT (should be *.rbt, *.mcb, *.bit, or none).",
               "", "design.BIT"}),
    RowName{});

TEST_F(FileSelection, TakesTheRbtFileOfANameWithoutExtension)
{
    write_file("design.rbt", "rbt");
    write_file("design.bit", "bit");
    EXPECT_EQ(select("design"), Succeeds());
    EXPECT_STREQ(session.bitstream_file, "design.rbt");
    EXPECT_EQ(kinds(), "rbt rbt_fp");
}

TEST_F(FileSelection, Error9055WhenTheRbtFileIsRefusedInPlaceOfABitFile)
{
    write_file("design.rbt");
    session.prompt_user = 1;
    answer("n");
    EXPECT_EQ(select("design.bit"), Fails(9055, "Error 9055. Cannot find/open design.bit file."));
}

TEST_F(FileSelection, Error9051WhenTheExtensionIsInCapitals)
{
    write_file("design.RBT");
    EXPECT_EQ(select("design.RBT"), Fails(9051, "Error 9051. Incorrect file extension in design.RBT (should "
                                                "be *.rbt, *.mcb, *.bit, or none)."));
}

TEST_F(FileSelection, AsksUntilAUsableNameIsGiven)
{
    write_file("design.rbt", "rbt");
    session.prompt_user = 1;
    answer("");
    answer("design.txt");
    answer("");
    answer("design.RBT");
    answer("design");
    EXPECT_EQ(select_without_name(), Succeeds());
    EXPECT_EQ(transcript(), R"(
?line Enter the name of the bitstream RBT, MCB, or BIT file:
! 
?line Enter the name of the bitstream RBT, MCB, or BIT file:
! design.txt
| Error: incorrect extension. A RBT, MCB, or BIT file must be supplied\n
?line Enter the name of the bitstream RBT, MCB, or BIT file:
! 
?line Enter the name of the bitstream RBT, MCB, or BIT file:
! design.RBT
| Error: incorrect extension. A RBT, MCB, or BIT file must be supplied\n
?line Enter the name of the bitstream RBT, MCB, or BIT file:
! design
)");
    EXPECT_STREQ(session.bitstream_file, "design.rbt");
}

TEST_F(FileSelection, TakesAPointThatIsNotFourPlacesFromTheEndForNoExtension)
{
    for (const std::string name : {"design.ab", "design.abcd", "a.b", "x."}) {
        close_files();
        write_file(name + ".mcb", "mcb");
        EXPECT_EQ(select(name.c_str()), Succeeds()) << name;
        EXPECT_EQ(session.bitstream_file, name + ".mcb");
        EXPECT_EQ(kinds(), "mcb bin_fp");
    }
}

TEST_F(FileSelection, Error9052WithoutANameAndWithoutQuestions)
{
    EXPECT_EQ(select_without_name(),
              Fails(9052, "Error 9052. No RBT, MCB, or BIT file specified (-f option)."));
    EXPECT_EQ(transcript(), "\n");
}

TEST_F(FileSelection, Error9052WhenStandardInputEndsWhileANameIsAskedFor)
{
    session.kvn_fpga_set_userfie(nullptr, 1);
    session.prompt_user = 1;
    write_file("input", "design.txt\n\n");
    FILE* const input_before = stdin;
    FILE* const output_before = stdout;
    stdin = std::fopen("input", "r");
    stdout = std::fopen("output", "w");
    const Result outcome = select_without_name();
    std::fclose(std::exchange(stdin, input_before));
    std::fclose(std::exchange(stdout, output_before));
    EXPECT_EQ(outcome, Fails(9052, "Error 9052. No RBT, MCB, or BIT file specified (-f option)."));
    const std::string question = "Enter the name of the bitstream RBT, MCB, or BIT file:\n> ";
    EXPECT_EQ(read_file("output"), question + question + question);
}

TEST_F(FileSelection, OffersTheAlternativeOfANameThatWasTypedIn)
{
    write_file("design.bit");
    session.prompt_user = 1;
    answer("design.rbt");
    answer("y");
    EXPECT_EQ(select_without_name(), Succeeds());
    EXPECT_STREQ(session.bitstream_file, "design.bit");
    EXPECT_EQ(kinds(), "bit bin_fp");
}

TEST_F(FileSelection, RequestReturnsTheLastClassification)
{
    struct Row {
        const char* name;
        int result;
    };
    for (const Row& row :
         {Row{"design", 1}, Row{"design.rbt", 0}, Row{"design.mcb", 0}, Row{"design.bit", 0}, Row{"a", 1}}) {
        answer(row.name);
        EXPECT_EQ(session.Request_Rbt_File(), row.result) << row.name;
        EXPECT_STREQ(session.bitstream_file, row.name);
    }
}

TEST_F(FileSelection, Error9041WhenANameLeavesNoRoomForItsExtension)
{
    // The name itself exists, and so does the name as far as it fits.
    const std::string name(252, 'f');
    write_file(name);
    write_file(name + ".rb");
    EXPECT_EQ(select(name.c_str()),
              Fails(9041, "Error 9041. Cannot find/open " + name + ".[rbt/mcb/bit] file."));
    EXPECT_EQ(session.bitstream_file, name);
    EXPECT_EQ(kinds(), "");
}

TEST_F(FileSelection, FindsTheLongestNameThatHasRoomForItsExtension)
{
    const std::string name(251, 'f');
    write_file(name + ".bit", "bit");
    EXPECT_EQ(select(name.c_str()), Succeeds());
    EXPECT_EQ(session.bitstream_file, name + ".bit");
}

TEST_F(FileSelection, LeavesNothingOpenBehindError9046)
{
    write_file("design.mcb");
    answer("n");
    EXPECT_EQ(run({"-fdesign.rbt"}), Fails(9046, "Error 9046. Cannot find/open design.rbt file."));
    EXPECT_EQ(session.bin_fp, nullptr);
}

TEST_F(FileSelection, ReadsAFileOfAnyKindAsItIs)
{
    // Text mode changes nothing here; a carriage return must reach the reader.
    write_file("design.rbt", "a\r\n");
    EXPECT_EQ(select("design.rbt"), Succeeds());
    EXPECT_EQ(std::fgetc(session.rbt_fp), 'a');
    EXPECT_EQ(std::fgetc(session.rbt_fp), '\r');
}

struct Extension {
    const char* name;
    const char* extension;
    int result;
};

class CheckExtension : public testing::TestWithParam<Extension>
{
};

TEST_P(CheckExtension, ClassifiesTheName)
{
    EXPECT_EQ(kvn_fpga_imp::Check_Extension(GetParam().name, GetParam().extension), GetParam().result)
        << GetParam().name << ' ' << GetParam().extension;
}

INSTANTIATE_TEST_SUITE_P(Names, CheckExtension,
                         testing::Values(Extension{"design.rbt", ".rbt", 0},
                                         Extension{"design.rbt", ".mcb", -1},
                                         Extension{"design.RBT", ".rbt", -1}, Extension{"design", ".rbt", 1},
                                         Extension{"design.ab", ".rbt", 1},
                                         Extension{"design.abcd", ".rbt", 1}, Extension{".rbt", ".rbt", 0},
                                         Extension{".con", ".rbt", -1}, Extension{"....", ".rbt", -1},
                                         Extension{"a.b.rbt", ".rbt", 0}, Extension{"design.rbt.", ".rbt", 1},
                                         Extension{"boards.con", ".con", 0}, Extension{"..abc", ".rbt", -1}));

INSTANTIATE_TEST_SUITE_P(NamesOfFewerThanFourCharacters, CheckExtension,
                         testing::Values(Extension{"", ".rbt", 1}, Extension{".", ".rbt", 1},
                                         Extension{"a", ".rbt", 1}, Extension{".rb", ".rbt", 1},
                                         Extension{"rbt", ".rbt", 1}));
} // namespace
