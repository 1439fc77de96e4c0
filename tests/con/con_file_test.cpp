// SPDX-License-Identifier: Apache-2.0
// The configuration description file: its lines, its order of steps, and every error.
#include "support/bitstreams.h"
#include "support/faults.h"
#include "support/run_fixture.h"

#include <cstring>
#include <ostream>

using namespace std::string_literals;

namespace
{
using Lines = std::vector<std::string>;

class ConFileFixture : public RunFixture
{
protected:
    ConFileFixture() : module{platform.board("mwc4a", 0).slot(1, fpga_module(3).accepts_compressed(false))}
    {
        session.kvn_fpga_set_userfie(nullptr, 1);
        session.kvn_fpga_set_userfie(nullptr, 2);
        RbtFile{two_words}.write();
    }

    /// Runs a description file of this content.
    Result process(const std::string& content)
    {
        write_file("batch.con", content);
        return process();
    }
    Result process()
    {
        clear_log();
        std::strcpy(session.con_file, "batch.con");
        session.prompt_user = 1;
        session.last_error = 0;
        session.last_error_text[0] = '\0';
        const Result outcome = result(session.Process_Con_File());
        close_files();
        return outcome;
    }

    /// The platform's lines that tell which board was opened and which module was loaded.
    [[nodiscard]] Lines opened_and_loaded() const
    {
        Lines lines;
        for (const std::string& line : bus())
            if (line.starts_with("OpenS") || line.starts_with("StartSendMessageEx") || line == "Close")
                lines.push_back(line);
        return lines;
    }

    const Bytes two_words = bytes("01 02 03 04 05 06 07 08");
    Module& module;
    FaultScope faults;
};

using ConFile = ConFileFixture;

TEST_F(ConFile, ConfiguresAModuleWithoutQuestions)
{
    EXPECT_EQ(process("\"File  Board  Number  Slot\"\n"
                      "design.rbt     mwc4a          0         1\n"),
              Succeeds());
    EXPECT_EQ(log(),
              (Lines{"* OpenS \"mwc4a\" 0 \"ksb\"",
                     "* InitIoStatus",
                     "* InitIoStatus",
                     "| \\n\\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0x1 (via 'mwc4a 0')\\n",
                     "* GetBoardInfo \"mwc4a\" 0",
                     "* SendMessageEx type 1 board 0 slot 1 length 0 timeout 5000",
                     "* ReceiveMessageEx board 0 slot 1 size 30 timeout 5000",
                     "| The module in slot 0x1 is a KAVRIN-FPGA3 version 1.\\n",
                     "| The module does NOT support loading of compressed bitstreams.\\n",
                     "| The FPGA on this module is a 2v3000 device, in an fg676 package.\\n",
                     "| The FPGA speed grade is -4.\\n",
                     "| Checking header section of the file <design.rbt>.\\n",
                     "* StartSendMessageEx board 0 slot 1 timeout 5000",
                     "* SendMessageDataEx 03 05 timeout 5000",
                     "* SendMessageDataEx 01 02 03 04 05 06 07 08 timeout 5000",
                     "| \\r% Done: 100\\n",
                     "| The bitstream has been downloaded.\\n",
                     "* EndOfSendMessageEx timeout 5000",
                     "* StartReceiveMessageEx timeout 5000",
                     "* ReceiveMessageDataEx size 2 timeout 5000",
                     "* EndOfReceiveMessageEx timeout 5000",
                     "| Configuration was successful.\\n",
                     "* Close",
                     "| 0x1 modules sucessfully configured.\\n"}));
    EXPECT_EQ(session.prompt_user, 0U);
}

TEST_F(ConFile, Error9027WhenThereAreOnlyComments)
{
    for (const char* content : {"", "\"a comment\"\n", "\"one\n\"two\n", "\n \n  design mwc4a 0 1\n\n"})
        EXPECT_EQ(process(content), Fails("Error 9027. No KAVRIN-FPGA or KAVRIN-IO modules were configured."))
            << content;
    EXPECT_TRUE(log().empty());
}

TEST_F(ConFile, TheSlotFieldIsTheWholeAddress)
{
    Module& other = platform.board("mwc4a", 2).slot(1, fpga_module(3));
    platform.board("mwc4a", 1);
    EXPECT_EQ(process("design mwc4a 1 0x21\n"), Succeeds());
    EXPECT_EQ(opened_and_loaded(), (Lines{"OpenS \"mwc4a\" 1 \"ksb\"",
                                          "StartSendMessageEx board 2 slot 1 timeout 5000", "Close"}));
    EXPECT_EQ(other.received(), two_words);
    EXPECT_EQ(other.received_header(), bytes("03 0D")) << "the board that was opened";
    EXPECT_EQ(session.slot_address, 0x21);
    EXPECT_EQ(session.slot, 1);
}

TEST_F(ConFile, Error9026EndsTheRunAtItsLine)
{
    const struct {
        const char* slot;
        int printed;
    } rows[] = {{"5", 5},   {"0x10", 0}, {"0", 0},    {"-1", 15}, {"0x25", 5}, {"x", 0},
                {"0X1", 0}, {"0x", 0},   {"0xg1", 0}, {"15", 15}, {"256", 0},  {"16", 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(process("design mwc4a 0 "s + row.slot + "\ndesign mwc4a 0 1\n"),
                  Fails("Error 9026. Invalid slot number " + std::to_string(row.printed) +
                        " (should be 1,2,3 or 4)."))
            << row.slot;
        EXPECT_TRUE(log().empty());
    }
}

TEST_F(ConFile, TheSlotFieldMayBeDecimalOrHexadecimal)
{
    for (const char* slot : {"1", "+1", "0x1", "0x01", "1x", "0x1g", "0x101", "257", "01"}) {
        EXPECT_EQ(process("design mwc4a 0 "s + slot), Succeeds()) << slot;
        EXPECT_EQ(session.slot_address, 1) << slot;
    }
}

TEST_F(ConFile, TheExtensionChoosesTheFileAndWithoutOneRbtComesBeforeMcb)
{
    McbFile{bytes("11 12 13 14")}.write();
    EXPECT_EQ(process("design.mcb mwc4a 0 1\n"), Succeeds());
    EXPECT_EQ(module.received(), bytes("11 12 13 14"));
    EXPECT_EQ(process("design mwc4a 0 1\n"), Succeeds());
    EXPECT_STREQ(session.bitstream_file, "design.rbt");
    EXPECT_EQ(module.received(), two_words);
    EXPECT_EQ(session.file_is_rbt, 1U);
    EXPECT_EQ(session.file_is_mcb, 0U);

    std::filesystem::remove("design.rbt");
    EXPECT_EQ(process("design mwc4a 0 1\n"), Succeeds());
    EXPECT_STREQ(session.bitstream_file, "design.mcb");
    EXPECT_EQ(module.received(), bytes("11 12 13 14"));
    EXPECT_EQ(session.file_is_rbt, 0U);
    EXPECT_EQ(session.file_is_mcb, 1U);
}

TEST_F(ConFile, LinesAreCountedInHexadecimalAndEachHasABusOfItsOwn)
{
    std::string content;
    for (int line = 0; line < 26; ++line)
        content += "design mwc4a 0 1\n";
    EXPECT_EQ(process(content), Succeeds());
    EXPECT_EQ(prints().back(), "0x1a modules sucessfully configured.\\n");
    EXPECT_EQ(module.loads.size(), 26U);
    EXPECT_EQ(opened_and_loaded().size(), 26U * 3);
}

TEST_F(ConFile, Error9025ForABoardBeyond15KeptIn16Bits)
{
    const struct {
        const char* number;
        int printed;
    } rows[] = {{"16", 16}, {"-1", 65535}, {"65535", 65535}, {"65552", 16}, {"99999999999", 65535}};
    for (const auto& row : rows) {
        EXPECT_EQ(
            process("design mwc4a "s + row.number + " 1\n"),
            Fails("Error 9025. Invalid board number " + std::to_string(row.printed) + " (should be 0..15)."))
            << row.number;
        EXPECT_TRUE(log().empty());
    }
    platform.board("mwc4a", 1).slot(1, fpga_module(3));
    EXPECT_EQ(process("design mwc4a 65537 0x11\n"), Succeeds());
    EXPECT_EQ(session.board_number, 1);
}

TEST_F(ConFile, TheFirstFailingLineEndsTheRunWithError9220)
{
    EXPECT_EQ(process("design mwc4a 0 1\ndesign mwc4a 0 2\ndesign mwc4a 0 1\n"),
              Fails("Error 9220. There is no module in slot 2 of board mwc4a 0."));
    EXPECT_EQ(module.loads.size(), 1U) << "the module before it stays configured";
    EXPECT_EQ(bus().back(), "Close");
    EXPECT_STREQ(session.bitstream_file, "design.rbt");
    EXPECT_STREQ(session.board_type, "mwc4a");
    EXPECT_EQ(session.slot_address, 2);
    EXPECT_EQ(session.slot, 2);
    EXPECT_EQ(session.prompt_user, 0U);
}

TEST_F(ConFile, SkipsCommentsAndBlankLinesAndFieldsMayStandApartByBlanksAndTabs)
{
    for (const char* content : {"\"comment\n\n design mwc4a 0 9\ndesign mwc4a 0 1\n\n\"end",
                                "design\t \tmwc4a \t0\t\t1\t ignored\n", "design mwc4a 0 1"}) {
        EXPECT_EQ(process(content), Succeeds()) << content;
        EXPECT_EQ(prints().back(), "0x1 modules sucessfully configured.\\n");
    }
}

// A line that begins with a tab is not skipped: its first field is empty.
TEST_F(ConFile, Error9021BecauseALineThatBeginsWithATabNamesNoFile)
{
    EXPECT_EQ(process("\tdesign mwc4a 0 1\n"), Fails("Error 9021. Cannot find/open .rbt or .mcb file."));
}

TEST_F(ConFile, Error9026BecauseFieldsEndAtTheEndOfTheLine)
{
    for (const char* line :
         {"design\n", "design\t\n", "design mwc4a\n", "design mwc4a 0\n", "design mwc4a 0 \n"})
        EXPECT_EQ(process(line + "design mwc4a 0 1\n"s),
                  Fails("Error 9026. Invalid slot number 0 (should be 1,2,3 or 4)."))
            << line;
}

TEST_F(ConFile, FieldsThatAreTooLongAreCut)
{
    const std::string type(40, 'b');
    platform.board(type.substr(0, 31), 0).slot(1, fpga_module(3));
    EXPECT_EQ(process("design " + type + " 0 1\n"), Succeeds());
    EXPECT_EQ(session.board_type, type.substr(0, 31));
}

TEST_F(ConFile, ALineBeyond255CharactersIsReadInPiecesToError9021)
{
    // The rest of the comment is a line of its own, which names no module.
    const std::string comment = '"' + std::string(254, 'c');
    EXPECT_EQ(process(comment + "nothing mwc4a 0 1\n"),
              Fails("Error 9021. Cannot find/open nothing.rbt or nothing.mcb file."));
    EXPECT_EQ(process(comment + "design mwc4a 0 1\n"), Succeeds());
    // And a name of 255 characters has no room for an extension.
    const std::string name(255, 'n');
    EXPECT_EQ(process(name).text.substr(0, 38), "Error 9021. Cannot find/open nnnnnnnnn");
}

TEST_F(ConFile, ADeviceNameIsThatOfTheLastModule)
{
    platform.board("mwc4a", 0).slot(3, fpga_module(3).device("2v3000fg676-6"));
    EXPECT_EQ(process("design mwc4a 0 1\ndesign mwc4a 0 3\n"), Succeeds());
    EXPECT_STREQ(session.device_name, "2v3000fg676-6");
}

// The mark of Virtex-2 stays set until the next run.
TEST_F(ConFile, AnOlderModuleAfterAVirtex2IsSentItsTail)
{
    const Bytes older_data = sample_data(32);
    RbtFile{older_data}.device("v300pq240").write("older.rbt");
    Module& older = platform.board("mwc4a", 0).slot(2, fpga_module(3).device("v300pq240-5"));
    EXPECT_EQ(process("older mwc4a 0 2\ndesign mwc4a 0 1\nolder mwc4a 0 2\n"), Succeeds());
    ASSERT_EQ(older.loads.size(), 2U);
    EXPECT_EQ(older.loads[0].size(), 2 + older_data.size() - 16) << "without the last four words";
    EXPECT_EQ(older.received(), older_data);
    EXPECT_EQ(run({"-folder", "-dmwc4a", "-b0", "-s2", "-u"}), Succeeds());
    EXPECT_EQ(older.received().size(), older_data.size() - 16) << "the next run has cleared the mark";
}

TEST_F(ConFile, EachLineAsksItsModuleForCompression)
{
    module.accepts_compressed();
    Module& plain = platform.board("mwc4a", 0).slot(2, fpga_module(3).accepts_compressed(false));
    EXPECT_EQ(process("design mwc4a 0 1\ndesign mwc4a 0 2\n"), Succeeds());
    EXPECT_EQ(module.received_header(), bytes("0D 05"));
    EXPECT_EQ(plain.received_header(), bytes("03 05"));
}

struct LineFault {
    const char* name;
    const char* line;
    const char* text;

    friend void PrintTo(const LineFault& fault, std::ostream* out) { *out << fault.text; }
};

const LineFault line_faults[] = {
    {"NeitherFile", "nothing mwc4a 0 1\n", "Error 9021. Cannot find/open nothing.rbt or nothing.mcb file."},
    {"ShortName", "rbt mwc4a 0 1\n", "Error 9021. Cannot find/open rbt.rbt or rbt.mcb file."},
    {"NoRbtFile", "nothing.rbt mwc4a 0 1\n", "Error 9022. Cannot find/open nothing.rbt file."},
    {"NoMcbFile", "nothing.mcb mwc4a 0 1\n", "Error 9023. Cannot find/open nothing.mcb file."},
    {"BitFile", "design.bit mwc4a 0 1\n",
     "Error 9024. Incorrect file extension in design.bit (should be .rbt or .mcb or none)."},
    {"UpperCase", "design.RBT mwc4a 0 1\n",
     "Error 9024. Incorrect file extension in design.RBT (should be .rbt or .mcb or none)."},
    // The file is opened before the board is looked at, and the board before the slot.
    {"FileComesFirst", "nothing.rbt mwc4a 16 5\n", "Error 9022. Cannot find/open nothing.rbt file."},
    {"BoardComesBeforeSlot", "design mwc4a 16 5\n", "Error 9025. Invalid board number 16 (should be 0..15)."},
};

using ConFileLine = With<ConFileFixture, LineFault>;

TEST_P(ConFileLine, EndsTheRunBeforeTheBusIsOpened)
{
    BitFile{}.write();
    EXPECT_EQ(process(GetParam().line + "design mwc4a 0 1\n"s), Fails(GetParam().text));
    EXPECT_TRUE(log().empty());
}

INSTANTIATE_TEST_SUITE_P(Faults, ConFileLine, testing::ValuesIn(line_faults), ErrorName{});

TEST_F(ConFile, Error9020WhenTheFileCannotBeOpened)
{
    EXPECT_EQ(process(), Fails("Error 9020. Failed to find/open file \"batch.con\"."));
    EXPECT_EQ(session.prompt_user, 1U) << "nothing has begun";
}

TEST_F(ConFile, ACallersHandleIsUsedAndNeverClosed)
{
    session.handle = platform.caller_handle("mwc4a", 0);
    session.handle_is_external = 1;
    EXPECT_EQ(process("design mwc4a 0 1\n"), Succeeds());
    for (const std::string& line : bus())
        EXPECT_TRUE(line.ends_with(" on caller handle") || line.starts_with("GetBoardInfo")) << line;
    EXPECT_EQ(module.received(), two_words);
}

TEST_F(ConFile, PassesOnTheLoadersError9118)
{
    module.verdict[0] = 4;
    EXPECT_EQ(process("design mwc4a 0 1\n"), Fails("Error 9118. Configuration was unsuccessful (4)."));
    EXPECT_EQ(bus().back(), "Close");
}

TEST_F(ConFile, LeavesNoFileOpenBehindError9025AndError9201AndError9220)
{
    const std::pair<const char*, const char*> rows[] = {
        {"design mwc4a 0 1\n", ""},
        {"design mwc4a 16 1\n", "Error 9025. Invalid board number 16 (should be 0..15)."},
        {"design mwc4b 0 1\n", "Error 9201. Cannot open KSB device on board \"mwc4b 0\" (api 0x1001)."},
        {"design mwc4a 0 4\n", "Error 9220. There is no module in slot 4 of board mwc4a 0."}};
    const std::size_t descriptors = count_descriptors();
    for (const auto& [line, text] : rows) {
        write_file("batch.con", line);
        EXPECT_EQ(run({"batch"}), Fails(text));
        EXPECT_EQ(count_descriptors(), descriptors);
    }
}

TEST(ConFileNumber, IsDecimalOrHexadecimalBehind0x)
{
    const std::pair<const char*, int> rows[] = {{"1", 1},
                                                {"0x21", 0x21},
                                                {"0xaF", 0xAF},
                                                {"0x", 0},
                                                {"0xg", 0},
                                                {"0x1g2", 1},
                                                {"0X21", 0},
                                                {" 12", 12},
                                                {"\t-7z", -7},
                                                {"+3", 3},
                                                {"", 0},
                                                {"slot", 0},
                                                {" 0x2", 0},
                                                {"0x-1", 0},
                                                {"0x 1", 0},
                                                {"2147483648", 2147483647},
                                                {"-2147483649", -2147483647 - 1}};
    for (const auto& [text, number] : rows)
        EXPECT_EQ(kvn_fpga_imp::parse_number(text), number) << text;
}
} // namespace
