// SPDX-License-Identifier: Apache-2.0
// The walk over a board's four slots until the user accepts a module.
#include "support/run_fixture.h"

#include <ostream>

namespace
{
class ModuleSearch : public RunFixture
{
protected:
    void SetUp() override { open_bus("mwc4a", 0); }
    void TearDown() override
    {
        close_bus();
        RunFixture::TearDown();
    }

    void change_bus(const std::string& type, std::uint16_t number)
    {
        close_bus();
        open_bus(type, number);
        clear_log();
    }
    Module& module(std::uint32_t slot, const Module& what)
    {
        return platform.board(session.board_type, session.board_number).slot(slot, what);
    }
    Result search()
    {
        return result(session.Search_For_Modules(session.board_type, session.board_number, &found));
    }

    unsigned char found = 0xEE;
};

TEST_F(ModuleSearch, Error9096WhenNoModuleCanBeConfigured)
{
    module(2, processor_module());
    module(3, module_without_bus());
    session.supports_compressed_loading = 1;
    EXPECT_EQ(search(), Fails("Error 9096. No KAVRIN-FPGA or KAVRIN-IO modules were configured."));
    EXPECT_EQ(found, 0xEE);
    EXPECT_EQ(session.supports_compressed_loading, 0U);
    EXPECT_EQ(transcript(), R"(
| Searching for KAVRIN-FPGA and KAVRIN-IO modules\n
* GetBoardInfo "mwc4a" 0
* GetBoardInfo "mwc4a" 0
* GetBoardInfo "mwc4a" 0
* GetBoardInfo "mwc4a" 0
)");
    clear_log();
    session.verbose = 1;
    EXPECT_EQ(search(), Fails("Error 9096. No KAVRIN-FPGA or KAVRIN-IO modules were configured."));
    EXPECT_EQ(console_transcript(), R"(
| Searching for KAVRIN-FPGA and KAVRIN-IO modules\n
| Module type 0.\n
| Module type 1.\n
| Module type 2.\n
| Module type 0.\n
)");
}

// The device name of the first module stays with the session, and so does the last one's after it.
TEST_F(ModuleSearch, Error9096WhenTheUserAcceptsNone)
{
    module(1, fpga_module(3).accepts_compressed());
    module(4, io_module(4).version(2).device("2s150pq208-5"));
    answer("n");
    answer("");
    EXPECT_EQ(search(), Fails("Error 9096. No KAVRIN-FPGA or KAVRIN-IO modules were configured."));
    EXPECT_EQ(found, 0xEE);
    EXPECT_STREQ(session.device_name, "2s150pq208-5");
    EXPECT_EQ(transcript(), R"(
| Searching for KAVRIN-FPGA and KAVRIN-IO modules\n
* GetBoardInfo "mwc4a" 0
* SendMessageEx type 1 board 0 slot 1 length 0 timeout 5000
* ReceiveMessageEx board 0 slot 1 size 30 timeout 5000
| \nA KAVRIN-FPGA3 version 1 has been found in slot 
| 1 of board 0.\n
| The module supports loading of compressed bitstreams.\n
| The FPGA on this module is a 2v3000 device, in an fg676 package.\n
| The FPGA speed grade is -4.\n
?yn Is this the module you want to load (y/n)? 
! n
* GetBoardInfo "mwc4a" 0
* GetBoardInfo "mwc4a" 0
* GetBoardInfo "mwc4a" 0
* SendMessageEx type 1 board 0 slot 4 length 0 timeout 5000
* ReceiveMessageEx board 0 slot 4 size 30 timeout 5000
| \nA KAVRIN-IO4 version 2 has been found in slot 
| 4 of board 0\n
| The module does NOT support loading of compressed bitstreams.\n
| The FPGA on this module is a 2s150 device, in an pq208 package.\n
| The FPGA speed grade is -5.\n
?yn Is this the module you want to load (y/n)? 
! 
)");
}

TEST_F(ModuleSearch, StopsAtTheModuleThatIsAccepted)
{
    change_bus("mwc4b", 2);
    module(3, fpga_module(4).accepts_compressed());
    module(4, fpga_module(4));
    answer("Y");
    session.prompt_user = 0; // of no account
    EXPECT_EQ(search(), Succeeds());
    EXPECT_EQ(found, 0x23);
    EXPECT_EQ(session.supports_compressed_loading, 1U);
    EXPECT_EQ(session.virtex2_family, 1U);
    EXPECT_STREQ(session.device_name, "2v3000fg676-4");
    EXPECT_EQ(transcript(), R"(
| Searching for KAVRIN-FPGA and KAVRIN-IO modules\n
* GetBoardInfo "mwc4b" 2
* GetBoardInfo "mwc4b" 2
* GetBoardInfo "mwc4b" 2
* SendMessageEx type 1 board 2 slot 3 length 0 timeout 5000
* ReceiveMessageEx board 2 slot 3 size 30 timeout 5000
* SendMessage type 11 slot 3 length 0 timeout 5000
* ReceiveMessage slot 3 size 30 timeout 5000
| \nA KAVRIN-FPGA4 version 1 has been found in slot 
| 3 of board 2.\n
| The module supports loading of compressed bitstreams.\n
| The FPGA on this module is a 2v3000 device, in an fg676 package.\n
| The FPGA speed grade is -4.\n
?yn Is this the module you want to load (y/n)? 
! Y
)");
}

TEST_F(ModuleSearch, PassesOverAModuleOfAnotherTypeWithoutAQuestionToError9096)
{
    module(1, fpga_module(9).type(3));
    module(2, fpga_module(9).type(0));
    session.verbose = 1;
    EXPECT_EQ(search().number, 9096);
    EXPECT_EQ(transcript(), R"(
| Searching for KAVRIN-FPGA and KAVRIN-IO modules\n
* GetBoardInfo "mwc4a" 0
| Module type ffffffff.\n
* SendMessageEx type 1 board 0 slot 1 length 0 timeout 5000
* ReceiveMessageEx board 0 slot 1 size 30 timeout 5000
| Second module type 3.\n
* GetBoardInfo "mwc4a" 0
| Module type ffffffff.\n
* SendMessageEx type 1 board 0 slot 2 length 0 timeout 5000
* ReceiveMessageEx board 0 slot 2 size 30 timeout 5000
| Second module type 0.\n
* GetBoardInfo "mwc4a" 0
| Module type 0.\n
* GetBoardInfo "mwc4a" 0
| Module type 0.\n
)");
}

// Records and answers contradict each other: only the one that counts is taken.
TEST_F(ModuleSearch, AsksAboutCompressionFromModel4OrAnIoModulesModel5On)
{
    for (const auto& [candidate, is_asked] : {std::pair{fpga_module(3), false},
                                              {fpga_module(4), true},
                                              {io_module(4), false},
                                              {io_module(5), true}})
        for (const std::uint8_t in_record : bytes("00 01")) {
            clear_log();
            Module& there = module(2, candidate);
            there.set(29, in_record).compression_reply = {static_cast<std::uint8_t>(1 - in_record)};
            answer("y");
            EXPECT_EQ(search(), Succeeds());
            EXPECT_EQ(session.supports_compressed_loading, is_asked ? 1U - in_record : in_record);
            std::vector<std::string> calls{"GetBoardInfo \"mwc4a\" 0", "GetBoardInfo \"mwc4a\" 0",
                                           "SendMessageEx type 1 board 0 slot 2 length 0 timeout 5000",
                                           "ReceiveMessageEx board 0 slot 2 size 30 timeout 5000"};
            if (is_asked)
                calls.insert(calls.end(), {"SendMessage type 11 slot 2 length 0 timeout 5000",
                                           "ReceiveMessage slot 2 size 30 timeout 5000"});
            EXPECT_EQ(bus(), calls);
        }
}

TEST_F(ModuleSearch, TakesNoAnswerButYForYesAndEndsWithError9096)
{
    module(1, fpga_module(3).accepts_compressed());
    for (const char* text : {"n", "N", "", " y", "j", "1", "\n"}) {
        answer(text);
        EXPECT_EQ(search().number, 9096) << text;
        EXPECT_EQ(session.supports_compressed_loading, 0U) << "that of a module which was refused";
    }
    for (const char* text : {"y", "Y", "yes", "Yo"}) {
        answer(text);
        EXPECT_EQ(search().number, 0) << text;
    }
}

struct Failure {
    const char* what;
    Module module;
    const char* function;
    int occurrence;
    const char* text;

    friend void PrintTo(const Failure& row, std::ostream* out) { *out << row.what; }
};

using FailedSearch = With<ModuleSearch, Failure>;

// The module sits in slot 3 of board 10, which tells the slot from the whole address.
TEST_P(FailedSearch, HasItsOwnError)
{
    const Failure& row = GetParam();
    change_bus("mwc4b", 10);
    module(3, row.module);
    platform.fail(row.function, row.occurrence, 0x77);
    EXPECT_EQ(search(), Fails(row.text));
    EXPECT_EQ(log().back(), "* Err2Text 0x77");
    EXPECT_EQ(found, 0xEE);
    EXPECT_EQ(platform.open_handles(), 1) << "the bus stays open";
}

const Failure failures[] = {
    {"board information of the third slot", fpga_module(4), "GetBoardInfo", 3,
     "Error 9190. Cannot do MwGetBoardInfo, board \"mwc4b 10\" (api 0x77)."},
    {"type query", fpga_module(4), "SendMessageEx", 1,
     "Error 9060. Cannot send KSB message to slot 0xa3 (via \"mwc4b 10\") (api 0x77)."},
    {"type reply", fpga_module(4), "ReceiveMessageEx", 1,
     "Error 9061. Cannot receive KSB message, board \"mwc4b 10\" (api 0x77)."},
    {"compression query of an FPGA module", fpga_module(4), "SendMessage", 1,
     "Error 9090. Cannot send KSB message to slot 0x3, board \"mwc4b 10\" (api 0x77)."},
    {"compression reply of an FPGA module", fpga_module(4), "ReceiveMessage", 1,
     "Error 9091. Cannot receive KSB message to slot 0x3, board \"mwc4b 10\" (api 0x77)."},
    {"compression query of an IO module", io_module(5), "SendMessage", 1,
     "Error 9093. Cannot send KSB message to slot 0x3, board \"mwc4b 10\" (api 0x77)."},
    {"compression reply of an IO module", io_module(5), "ReceiveMessage", 1,
     "Error 9094. Cannot receive KSB message to slot 0x3, board \"mwc4b 10\" (api 0x77)."},
};

INSTANTIATE_TEST_SUITE_P(Calls, FailedSearch, testing::ValuesIn(failures), RowName{});

// The platform is asked for the words of success, which the message then does not show. The first number is
// decimal in spite of its prefix.
TEST_F(ModuleSearch, Error9092AndError9095ShowTheWrongAnswersType)
{
    const std::pair<Module, std::string> rows[] = {
        {fpga_module(4), "Error 9092. Error in reply to \"Do you support compressed loading?\". (Got 0x31, "},
        {io_module(5), "Error 9095. Error in reply to \"Do you support compressed loading?\". (Got 0x1f, "}};
    for (const auto& [asked, text] : rows) {
        module(2, asked).compression_reply_type = 0x1F;
        EXPECT_EQ(search(), Fails(text + "expected 0xc). Board \"mwc4a 0\"."));
        EXPECT_EQ(log().back(), "* Err2Text 0x0");
    }
}

TEST_F(ModuleSearch, Error9062WhenTheReplyIsOfAnotherType)
{
    module(2, fpga_module(4)).type_reply_type = 12;
    EXPECT_EQ(search(), Fails("Error 9062. Expected module type query reply (0x2), received 0xc, board "
                              "\"mwc4a 0\"."));
    EXPECT_EQ(log().back(), "* ReceiveMessageEx board 0 slot 2 size 30 timeout 5000");
}
} // namespace
