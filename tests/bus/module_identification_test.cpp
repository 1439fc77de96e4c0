// SPDX-License-Identifier: Apache-2.0
// What sits in a slot: the board's word, the module's own, and the check that combines both.
#include "support/run_fixture.h"

#include <cstring>
#include <ostream>

namespace
{
class ModuleIdentification : public RunFixture
{
protected:
    void SetUp() override
    {
        platform.board("mwc4a", 0);
        open_bus("mwc4a", 0);
    }
    void TearDown() override
    {
        close_bus();
        RunFixture::TearDown();
    }

    Module& module(const Module& what, std::uint32_t slot = 2)
    {
        return platform.board("mwc4a", 0).slot(slot, what);
    }
    Result check(int address = 0x02, const char* type = "mwc4a", unsigned short number = 0)
    {
        return result(session.Check_Module(type, number, static_cast<unsigned char>(address)));
    }
};

TEST_F(ModuleIdentification, AsksAModuleOnAnotherBoardDirectly)
{
    platform.board("mwc3a", 3).slot(4, fpga_module(3).accepts_compressed());
    EXPECT_EQ(check(0x34), Succeeds());
    EXPECT_EQ(transcript(), R"(
| \n\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0x34 (via 'mwc4a 0')\n
* SendMessageEx type 1 board 3 slot 4 length 0 timeout 5000
* ReceiveMessageEx board 3 slot 4 size 30 timeout 5000
| The module in slot 0x34 is a KAVRIN-FPGA3 version 1.\n
| The module supports loading of compressed bitstreams.\n
| The FPGA on this module is a 2v3000 device, in an fg676 package.\n
| The FPGA speed grade is -4.\n
)");
}

// The record says one thing, the answer the other: only the one that counts is taken.
TEST_F(ModuleIdentification, AsksAboutCompressionFromModel4OrAnIoModulesModel5OnAndTakesTheByte1ForYes)
{
    const auto answering = [](Module module, std::uint8_t answer) {
        module.compression_reply = {answer};
        return module;
    };
    const struct {
        Module module;
        const char* name;
        bool is_asked;
        bool supports;
    } rows[] = {{fpga_module(0).set(29, 1), "FPGA0 version 1", false, true},
                {answering(fpga_module(3).set(29, 1), 0), "FPGA3 version 1", false, true},
                {answering(fpga_module(3).set(29, 2), 1), "FPGA3 version 1", false, false},
                {fpga_module(3).set(29, 255), "FPGA3 version 1", false, false},
                {answering(fpga_module(4).version(7).set(29, 1), 0), "FPGA4 version 7", true, false},
                {answering(fpga_module(255), 2), "FPGA255 version 1", true, false},
                {answering(fpga_module(255), 1), "FPGA255 version 1", true, true},
                {answering(io_module(4).set(29, 1), 0), "IO4 version 1", false, true},
                {io_module(4).set(29, 0), "IO4 version 1", false, false},
                {answering(io_module(5), 1), "IO5 version 1", true, true}};
    for (const auto& row : rows)
        for (const bool verbose : {false, true}) {
            clear_log();
            module(row.module);
            session.verbose = verbose ? 1 : 0;
            session.supports_compressed_loading = row.supports ? 0 : 1;
            EXPECT_EQ(check(), Succeeds());
            EXPECT_EQ(session.supports_compressed_loading, row.supports ? 1U : 0U);
            std::string expected = R"(
| \n\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0x2 (via 'mwc4a 0')\n
* GetBoardInfo "mwc4a" 0
* SendMessageEx type 1 board 0 slot 2 length 0 timeout 5000
* ReceiveMessageEx board 0 slot 2 size 30 timeout 5000
)";
            if (verbose)
                expected += "| Second module type " + std::to_string(row.module.record[0]) + ".\\n\n";
            if (row.is_asked)
                expected += "* SendMessageEx type 11 board 0 slot 2 length 0 timeout 5000\n"
                            "* ReceiveMessageEx board 0 slot 2 size 30 timeout 5000\n";
            EXPECT_EQ(transcript(),
                      expected + "| The module in slot 0x2 is a KAVRIN-" + row.name + ".\\n\n" +
                          (row.supports ? "| The module supports" : "| The module does NOT support") +
                          R"( loading of compressed bitstreams.\n
| The FPGA on this module is a 2v3000 device, in an fg676 package.\n
| The FPGA speed grade is -4.\n
)");
        }
}

TEST_F(ModuleIdentification, Error9225AndError9228ShowTheWrongAnswersTypeInDecimal)
{
    module(fpga_module(4).accepts_compressed()).compression_reply_type = 0x1F;
    EXPECT_EQ(check(), Fails("Error 9225. Error in reply to \"do you support compressed loading?\", got "
                             "31, board \"mwc4a 0\"."));
    EXPECT_EQ(session.supports_compressed_loading, 0U);
    module(io_module(5).accepts_compressed()).compression_reply_type = 11;
    EXPECT_EQ(check(), Fails("Error 9228. Error in reply to \"do you support compressed loading?\", got "
                             "11, board \"mwc4a 0\"."));
    EXPECT_EQ(session.supports_compressed_loading, 0U);
    for (const std::string& call : bus())
        EXPECT_FALSE(call.starts_with("Err2Text")) << call;
}

TEST_F(ModuleIdentification, AcceptsAModuleOfAnotherTypeWithoutAWord)
{
    std::strcpy(session.device_name, "before");
    for (const std::uint8_t type : {std::uint8_t{3}, std::uint8_t{0}, std::uint8_t{255}}) {
        clear_log();
        module(fpga_module(9).accepts_compressed().type(type));
        session.supports_compressed_loading = 1;
        EXPECT_EQ(check(), Succeeds());
        EXPECT_EQ(session.supports_compressed_loading, 0U);
        EXPECT_STREQ(session.device_name, "before");
        EXPECT_EQ(session.virtex2_family, 0U);
        EXPECT_EQ(transcript(), R"(
| \n\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0x2 (via 'mwc4a 0')\n
* GetBoardInfo "mwc4a" 0
* SendMessageEx type 1 board 0 slot 2 length 0 timeout 5000
* ReceiveMessageEx board 0 slot 2 size 30 timeout 5000
)");
    }
    clear_log();
    session.verbose = 1;
    EXPECT_EQ(check(), Succeeds());
    EXPECT_EQ(log().back(), printed("Second module type ff.\n"));
}

TEST_F(ModuleIdentification, Error9062WhenTheReplyIsOfAnotherType)
{
    for (const auto& [type, shown] :
         {std::pair<std::uint8_t, std::string>{0, "0x0"}, {12, "0xc"}, {255, "0xff"}}) {
        module(fpga_module(4)).type_reply_type = type;
        EXPECT_EQ(check(), Fails("Error 9062. Expected module type query reply (0x2), received " + shown +
                                 ", board \"mwc4a 0\"."));
    }
}

TEST_F(ModuleIdentification, Error9220Or9221Or9222TellsWhatTheSlotLacks)
{
    EXPECT_EQ(check(), Fails("Error 9220. There is no module in slot 2 of board mwc4a 0."));
    EXPECT_EQ(transcript(), R"(
| \n\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0x2 (via 'mwc4a 0')\n
* GetBoardInfo "mwc4a" 0
)");
    module(processor_module());
    EXPECT_EQ(check(), Fails("Error 9221. The module in slot 2 of board mwc4a 0 is a processor module."));
    module(module_without_bus());
    EXPECT_EQ(check(),
              Fails("Error 9222. The module in slot 2 of board mwc4a 0 does not have a serial bus."));
}

TEST_F(ModuleIdentification, Error9220NamesTheSlotOfABoardBesideTheFirst)
{
    platform.board("mwc4b", 11);
    EXPECT_EQ(check(0xB3, "mwc4b", 11), Fails("Error 9220. There is no module in slot 3 of board mwc4b 11."));
    EXPECT_EQ(log().front(),
              printed("\n\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0xb3 (via 'mwc4b 11')\n"));
}

struct Failure {
    const char* what;
    Module module;
    const char* function;
    int occurrence;
    const char* text;

    friend void PrintTo(const Failure& row, std::ostream* out) { *out << row.what; }
};

using FailedCall = With<ModuleIdentification, Failure>;

// The module sits on board 3, so that the whole address is told from the slot. The session's board is the one
// that the bus was opened on.
TEST_P(FailedCall, HasItsOwnError)
{
    const Failure& row = GetParam();
    platform.board("mwc4b", 3).slot(4, row.module);
    platform.fail(row.function, row.occurrence, 0x77);
    EXPECT_EQ(check(0x34), Fails(row.text));
    EXPECT_EQ(session.supports_compressed_loading, 0U);
    EXPECT_EQ(platform.open_handles(), 1) << "the bus stays open";
    EXPECT_EQ(log().back(), "* Err2Text 0x77");
}

const Failure failures[] = {
    {"type query", fpga_module(4), "SendMessageEx", 1,
     "Error 9060. Cannot send KSB message to slot 0x34 (via \"mwc4a 0\") (api 0x77)."},
    {"type reply", fpga_module(4), "ReceiveMessageEx", 1,
     "Error 9061. Cannot receive KSB message, board \"mwc4a 0\" (api 0x77)."},
    {"compression query of an FPGA module", fpga_module(4), "SendMessageEx", 2,
     "Error 9223. Cannot send KSB message to slot 0x34 (via \"mwc4a 0\") (api 0x77)."},
    {"compression reply of an FPGA module", fpga_module(4), "ReceiveMessageEx", 2,
     "Error 9224. Cannot receive KSB message (via board \"mwc4a 0\") (api 0x77)."},
    {"compression query of an IO module", io_module(5), "SendMessageEx", 2,
     "Error 9226. Cannot send KSB message to slot 0x34 (via \"mwc4a 0\") (api 0x77)."},
    {"compression reply of an IO module", io_module(5), "ReceiveMessageEx", 2,
     "Error 9227. Cannot receive KSB message (via \"mwc4a 0\") (api 0x77)."},
};

INSTANTIATE_TEST_SUITE_P(Calls, FailedCall, testing::ValuesIn(failures), RowName{});

TEST_F(ModuleIdentification, Error9190WhenTheBoardGivesNoInformation)
{
    module(fpga_module(4));
    platform.fail("GetBoardInfo", 1, 0x80000001);
    EXPECT_EQ(check(), Fails("Error 9190. Cannot do MwGetBoardInfo, board \"mwc4a 0\" (api 0x80000001)."));
    EXPECT_EQ(log().back(), "* Err2Text 0x80000001");
}

TEST_F(ModuleIdentification, Error9060NamesTheSessionsBoardAndNotTheArguments)
{
    platform.fail("SendMessageEx");
    EXPECT_EQ(check(0x34, "mwc9x", 9),
              Fails("Error 9060. Cannot send KSB message to slot 0x34 (via \"mwc4a 0\") (api 0x77)."));
}

TEST_F(ModuleIdentification, FindsTheKindOfTheSlot)
{
    struct Row {
        const char* what;
        std::uint32_t present;
        std::uint32_t is_processor;
        std::uint32_t has_bus;
        int kind;
    };
    const Row rows[] = {
        {"nothing", 0, 0, 0, 0},
        {"nothing, whatever else is said", 0, 1, 1, 0},
        {"a processor module", 1, 1, 0, 1},
        {"a processor module with a bus", 0xFFFFFFFF, 1, 1, 1},
        {"only 1 is a processor module", 1, 2, 1, -1},
        {"only 1 is a processor module, and there is no bus", 1, 2, 0, 2},
        {"no bus", 1, 0, 0, 2},
        {"a bus", 1, 0, 1, -1},
        {"any word but 0", 2, 0, 0x80000000, -1},
    };
    for (const Row& row : rows)
        for (std::uint32_t slot = 1; slot <= 4; ++slot) {
            FakePlatform other;
            Module what;
            what.info[0] = row.present;
            what.info[1] = row.is_processor;
            what.info[2] = row.has_bus;
            other.board("mwc4a", 5).slot(slot, what);
            int kind = 99;
            EXPECT_EQ(session.Test_If_Proc_Module("mwc4a", 5, static_cast<int>(0x50 | slot), &kind), 0);
            EXPECT_EQ(kind, row.kind) << row.what << ", slot " << slot;
            EXPECT_EQ(other.journal(), std::vector<std::string>{"GetBoardInfo \"mwc4a\" 5"});
        }
}

TEST_F(ModuleIdentification, FindsNothingInASlotThatNoBoardHas)
{
    for (const int address : {0x00, 0x05, 0x0F}) {
        int kind = 99;
        EXPECT_EQ(session.Test_If_Proc_Module("mwc4a", 0, address, &kind), 0);
        EXPECT_EQ(kind, 0) << address;
    }
}

TEST_F(ModuleIdentification, DoesNotAskThePlatformOfASlotOfAnotherBoard)
{
    int kind = 99;
    EXPECT_EQ(session.Test_If_Proc_Module("mwc4a", 5, 0x41, &kind), 0);
    EXPECT_EQ(kind, 3);
    EXPECT_EQ(session.Test_If_Proc_Module("mwc4a", 21, 0x51, &kind), 0) << "the whole number is compared";
    EXPECT_EQ(kind, 3);
    EXPECT_EQ(transcript(), "\n");
}

TEST_F(ModuleIdentification, QueryGivesRecordAndType)
{
    module(io_module(5).version(9));
    std::uint8_t record[30] = {};
    int type = 99;
    EXPECT_EQ(result(session.Query_Module_Type(0x02, record, sizeof record, &type)), Succeeds());
    EXPECT_EQ(type, 4);
    EXPECT_EQ(hex(record, 4), "04 05 09 32");
    EXPECT_EQ(bus_transcript(), R"(
SendMessageEx type 1 board 0 slot 2 length 0 timeout 5000
ReceiveMessageEx board 0 slot 2 size 30 timeout 5000
)");
}

TEST_F(ModuleIdentification, QueryPassesTheSizeItIsGiven)
{
    module(fpga_module(1));
    std::uint8_t record[4] = {};
    int type = 99;
    EXPECT_EQ(session.Query_Module_Type(0x02, record, 3, &type), 0);
    EXPECT_EQ(bus().back(), "ReceiveMessageEx board 0 slot 2 size 3 timeout 5000");
    EXPECT_EQ(record[3], 0);
}

TEST_F(ModuleIdentification, KeepsTheDeviceAndItsFamily)
{
    module(fpga_module(3).device("2vp30ff896-6"));
    EXPECT_EQ(check(), Succeeds());
    EXPECT_STREQ(session.device_name, "2vp30ff896-6");
    EXPECT_EQ(session.virtex2_family, 1U);
    module(fpga_module(3).device("s40xlpq208-4"));
    EXPECT_EQ(check(), Succeeds());
    EXPECT_STREQ(session.device_name, "s40xlpq208-4");
    EXPECT_EQ(session.virtex2_family, 1U) << "only the next run's reset clears it";
    module(fpga_module(3).device(""));
    EXPECT_EQ(check(), Succeeds());
    EXPECT_STREQ(session.device_name, "");
}

TEST_F(ModuleIdentification, ReadsADeviceNameOf26CharactersAtTheMost)
{
    module(fpga_module(3).device("2v34567890abcdefghijk-mnop").set(29, 'X'));
    EXPECT_EQ(check(), Succeeds());
    EXPECT_STREQ(session.device_name, "2v34567890abcdefghijk-mnop");
}
} // namespace
