// SPDX-License-Identifier: Apache-2.0
// Which file a run uses: by its name, by what exists, and by what the user says.
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
    const char* files;    ///< extensions that exist, such as ".rbt .bit"
    const char* question; ///< the one that is asked, or ""
    const char* reply;    ///< to it
    std::string text;
    std::string kinds;
    std::string selected; ///< bitstream_file afterwards

    friend void PrintTo(const Choice& row, std::ostream* out)
    {
        const char* const actions[] = {"configure", "compress", "expand"};
        *out << actions[static_cast<int>(row.action)] << ' ' << row.name << (row.may_ask ? ", asking" : "")
             << ", of \"" << row.files << "\", answering \"" << row.reply << '"';
    }
};

using DecisionTable = With<FileSelection, Choice>;

TEST_P(DecisionTable, Holds)
{
    const Choice& row = GetParam();
    for (const std::string extension : {".rbt", ".mcb", ".bit"})
        if (std::string{row.files}.find(extension) != std::string::npos)
            write_file("design" + extension, "design" + extension);
    if (*row.question != '\0')
        answer(row.reply);
    session.make_mcb = row.action == Doing::compress ? 1 : 0;
    session.make_rbt = row.action == Doing::expand ? 1 : 0;
    session.prompt_user = row.may_ask ? 1 : 0;
    session.file_is_mcb = 1; // left by nobody knows whom
    session.file_is_bit = 1;

    EXPECT_EQ(select(row.name), Fails(row.text));
    EXPECT_EQ(kinds(), row.kinds);
    EXPECT_EQ(session.bitstream_file, row.selected);
    if (row.text.empty()) {
        EXPECT_EQ(opened(), row.selected);
    }
    std::vector<std::string> questions;
    if (*row.question != '\0')
        questions = {asked_yn(row.question), answered(row.reply)};
    EXPECT_EQ(log(), questions);
}

constexpr auto configure = Doing::configure;
constexpr auto compress = Doing::compress;
constexpr auto expand = Doing::expand;

constexpr bool asking = true;
constexpr bool silent = false;

/// A row that ends with the file of a kind, after a question or without any.
Choice uses(const char* name, Doing action, bool may_ask, const char* files, const std::string& kind,
            const char* question = "", const char* reply = "")
{
    const std::string kinds = kind + (kind == "rbt" ? " rbt_fp" : " bin_fp");
    return {name, action, may_ask, files, question, reply, "", kinds, "design." + kind};
}

std::string missing(int number, const std::string& name)
{
    return "Error " + std::to_string(number) + ". Cannot find/open " + name + " file.";
}

std::string not_a_kind(const std::string& name)
{
    return "Error 9051. Incorrect file extension in " + name + " (should be *.rbt, *.mcb, *.bit, or none).";
}

constexpr char NO_RBT[] = "Error 9043. Sorry, you cannot expand a .rbt file.";
constexpr char NO_MCB[] = "Error 9047. Sorry, cannot compress a .mcb file.";
constexpr char NO_BIT[] = "Error 9054. Sorry, expanding a .bit file is not supported.";

/// A row that ends with an error.
Choice fails(const char* name, Doing action, bool may_ask, const char* files, const std::string& text,
             const char* question = "", const char* reply = "", const char* left_open = "")
{
    return {name, action, may_ask, files, question, reply, text, left_open, name};
}

const Choice choices[] = {
    // Names without extension: expand,
    uses("design", expand, asking, ".rbt .mcb .bit", "mcb"),
    uses("design", expand, silent, ".mcb", "mcb"),
    fails("design", expand, asking, ".rbt .bit", missing(9042, "design.mcb")),
    fails("design", expand, silent, "", missing(9042, "design.mcb")),
    // compress,
    uses("design", compress, asking, ".rbt .mcb .bit", "rbt"),
    fails("design", compress, asking, ".mcb .bit", missing(9040, "design.rbt")),
    fails("design", compress, silent, ".bit", missing(9040, "design.rbt")),
    // configure.
    uses("design", configure, asking, ".rbt .mcb .bit", "rbt"),
    uses("design", configure, silent, ".rbt .bit", "rbt"),
    uses("design", configure, asking, ".mcb .bit", "mcb"),
    uses("design", configure, silent, ".bit", "bit"),
    fails("design", configure, asking, "", missing(9041, "design.[rbt/mcb/bit]")),
    fails("design", configure, silent, "", missing(9041, "design.[rbt/mcb/bit]")),
    // Names of RBT files.
    fails("design.rbt", expand, asking, ".rbt .mcb", NO_RBT),
    fails("design.rbt", expand, silent, "", NO_RBT),
    uses("design.rbt", configure, asking, ".rbt .mcb .bit", "rbt"),
    uses("design.rbt", configure, silent, ".rbt", "rbt"),
    uses("design.rbt", compress, asking, ".rbt", "rbt"),
    uses("design.rbt", configure, asking, ".mcb .bit", "mcb", FOUND_MCB, "y"),
    uses("design.rbt", configure, asking, ".mcb", "mcb", FOUND_MCB, "Y"),
    fails("design.rbt", configure, asking, ".mcb .bit", missing(9046, "design.rbt"), FOUND_MCB, "n",
          "bin_fp"),
    fails("design.rbt", configure, asking, ".mcb", missing(9046, "design.rbt"), FOUND_MCB, "j", "bin_fp"),
    uses("design.rbt", configure, asking, ".bit", "bit", FOUND_BIT, "y"),
    fails("design.rbt", configure, asking, ".bit", missing(9046, "design.rbt"), FOUND_BIT, "N", "bin_fp"),
    fails("design.rbt", configure, asking, "", missing(9045, "design.rbt")),
    fails("design.rbt", configure, silent, ".mcb .bit", missing(9044, "design.rbt")),
    fails("design.rbt", compress, asking, ".mcb .bit", missing(9044, "design.rbt")),
    fails("design.rbt", compress, silent, "", missing(9044, "design.rbt")),
    // Names of MCB files.
    fails("design.mcb", compress, asking, ".rbt .mcb", NO_MCB),
    fails("design.mcb", compress, silent, "", NO_MCB),
    uses("design.mcb", configure, asking, ".rbt .mcb .bit", "mcb"),
    uses("design.mcb", expand, silent, ".mcb", "mcb"),
    uses("design.mcb", configure, asking, ".rbt .bit", "rbt", FOUND_RBT, "y"),
    fails("design.mcb", configure, asking, ".rbt .bit", missing(9050, "design.mcb"), FOUND_RBT, "n",
          "rbt_fp"),
    uses("design.mcb", configure, asking, ".bit", "bit", FOUND_BIT, "Y"),
    fails("design.mcb", configure, asking, ".bit", missing(9049, "design.mcb"), FOUND_BIT, "n", "bin_fp"),
    fails("design.mcb", configure, asking, "", missing(9049, "design.mcb")),
    fails("design.mcb", configure, silent, ".rbt .bit", missing(9048, "design.mcb")),
    fails("design.mcb", expand, asking, ".rbt .bit", missing(9048, "design.mcb")),
    fails("design.mcb", expand, silent, "", missing(9048, "design.mcb")),
    // Names of BIT files.
    fails("design.bit", expand, asking, ".mcb .bit", NO_BIT),
    fails("design.bit", expand, silent, "", NO_BIT),
    uses("design.bit", configure, asking, ".rbt .mcb .bit", "bit"),
    uses("design.bit", compress, silent, ".bit", "bit"),
    uses("design.bit", configure, asking, ".rbt .mcb", "rbt", FOUND_RBT, "y"),
    fails("design.bit", configure, asking, ".rbt .mcb", missing(9055, "design.bit"), FOUND_RBT, "n",
          "rbt_fp"),
    uses("design.bit", configure, asking, ".mcb", "mcb", FOUND_MCB, "y"),
    fails("design.bit", configure, asking, ".mcb", missing(9055, "design.bit"), FOUND_MCB, "n", "bin_fp"),
    fails("design.bit", configure, asking, "", missing(9055, "design.bit")),
    fails("design.bit", configure, silent, ".rbt .mcb", missing(9055, "design.bit")),
    // Compressing asks as well, and may even be given an MCB file, which the conversion then refuses.
    uses("design.bit", compress, asking, ".rbt", "rbt", FOUND_RBT, "y"),
    uses("design.bit", compress, asking, ".mcb", "mcb", FOUND_MCB, "y"),
    fails("design.bit", compress, silent, ".rbt", missing(9055, "design.bit")),
    // Other extensions.
    fails("design.txt", configure, asking, ".rbt", not_a_kind("design.txt")),
    fails("design.txt", compress, silent, "", not_a_kind("design.txt")),
    fails("design.RBT", configure, asking, ".rbt", not_a_kind("design.RBT")),
    fails("design.Mcb", expand, asking, ".mcb", not_a_kind("design.Mcb")),
    fails("design.BIT", configure, asking, ".bit", not_a_kind("design.BIT")),
};

INSTANTIATE_TEST_SUITE_P(Choices, DecisionTable, testing::ValuesIn(choices), RowName{});

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
    EXPECT_EQ(select_without_name(), Fails("Error 9052. No RBT, MCB, or BIT file specified (-f option)."));
    EXPECT_EQ(transcript(), "\n");
}

TEST_F(FileSelection, Error9052WhenStandardInputEndsWhileANameIsAskedFor)
{
    session.kvn_fpga_set_userfie(nullptr, 1);
    session.prompt_user = 1;
    const std::string question = "Enter the name of the bitstream RBT, MCB, or BIT file:\n> ";
    EXPECT_EQ(output_of("design.txt\n\n",
                        [&] {
                            EXPECT_EQ(select_without_name(),
                                      Fails("Error 9052. No RBT, MCB, or BIT file specified (-f option)."));
                        }),
              question + question + question);
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
    EXPECT_EQ(select(name.c_str()), Fails("Error 9041. Cannot find/open " + name + ".[rbt/mcb/bit] file."));
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
    EXPECT_EQ(run({"-fdesign.rbt"}), Fails("Error 9046. Cannot find/open design.rbt file."));
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

TEST(CheckExtension, ClassifiesTheName)
{
    const struct {
        const char* name;
        const char* extension;
        int result;
    } rows[] = {{"design.rbt", ".rbt", 0},  {"design.rbt", ".mcb", -1},
                {"design.RBT", ".rbt", -1}, {"design", ".rbt", 1},
                {"design.ab", ".rbt", 1},   {"design.abcd", ".rbt", 1},
                {".rbt", ".rbt", 0},        {".con", ".rbt", -1},
                {"....", ".rbt", -1},       {"a.b.rbt", ".rbt", 0},
                {"design.rbt.", ".rbt", 1}, {"boards.con", ".con", 0},
                {"..abc", ".rbt", -1},      {"", ".rbt", 1},
                {".", ".rbt", 1},           {"a", ".rbt", 1},
                {".rb", ".rbt", 1},         {"rbt", ".rbt", 1}};
    for (const auto& row : rows)
        EXPECT_EQ(kvn_fpga_imp::Check_Extension(row.name, row.extension), row.result)
            << row.name << ' ' << row.extension;
}
} // namespace
