// SPDX-License-Identifier: Apache-2.0
// The sixteen functions: their answers, and their reports of misuse.
#include "bus_support.h"

#include <gtest/gtest.h>

#include <thread>

namespace
{

using namespace mwvirtual;

class Protocol : public testing::Test
{
protected:
    Protocol()
    {
        carrier.board("mwc4a", 0)
            .slot(1, fpga_module(4).version(2).device("2v40cs144-4").accepts_compressed())
            .slot(2, processor_module())
            .slot(3, module_without_bus());
        carrier.board("mwc4a", 1)
            .reached_over("mwc4a", 0)
            .slot(2, io_module(4).device("2s15cs144-5").accepts_compressed());
        carrier.board("mwc4a", 2).opens(false).slot(1, other_module(7));
        carrier.board("mwx2", 3).slot(4, fpga_module(3).device("2s15vq100-5"));
    }
    Carrier carrier;
};

TEST_F(Protocol, ABoardOfTheRackOpensAndCloses)
{
    Bus bus;
    EXPECT_EQ(bus.opened, SUCCESS);
    ASSERT_NE(bus.handle, nullptr);
    EXPECT_EQ(carrier.open_handles(), 1U);
    EXPECT_EQ(MwClose(&bus.handle), SUCCESS);
    EXPECT_EQ(bus.handle, nullptr);
    EXPECT_EQ(carrier.open_handles(), 0U);
}

TEST_F(Protocol, OtherBoardsAndDevicesDoNotOpen)
{
    EXPECT_EQ(Bus("mwc4a", 4).opened, NO_SUCH_BOARD);
    EXPECT_EQ(Bus("MWC4A", 0).opened, NO_SUCH_BOARD);
    EXPECT_EQ(Bus("mwc4a", 2).opened, NO_SUCH_BOARD) << "reached over a bus alone";
    EXPECT_EQ(Bus("mwc4a", 0, "lpt").opened, NO_SUCH_DEVICE);
    std::uint32_t reserved = 0;
    MW_HANDLE* handle = nullptr;
    EXPECT_EQ(MwOpenS(nullptr, 0, "ksb", &handle, &reserved), NULL_POINTER);
    EXPECT_EQ(MwOpenS("mwc4a", 0, nullptr, &handle, &reserved), NULL_POINTER);
    EXPECT_EQ(MwOpenS("mwc4a", 0, "ksb", nullptr, &reserved), NULL_POINTER);
}

TEST_F(Protocol, AHandleTellsItsBoardAndItsKind)
{
    const auto info = [](MW_HANDLE* handle) {
        std::array<char, 32> type{};
        std::uint16_t number = 99;
        std::uint32_t kind = 0;
        EXPECT_EQ(MwGetDeviceInfo(handle, type.data(), &number, &kind), SUCCESS);
        return std::string{type.data()} + " " + std::to_string(number) + " " + std::to_string(kind);
    };
    EXPECT_EQ(info(Bus("mwx2", 3).handle), "mwx2 3 3");
    EXPECT_EQ(info(Bus("mwc4a", 1, "jtag").handle), "mwc4a 1 1");
}

TEST_F(Protocol, TheBoardInformationRecordHasFiveWordsForEachSlot)
{
    carrier.board("mwc4a", 0).info_word(9).slot(4, fpga_module(4).device("2v40cs144-4").info({7, 8}));
    std::array<std::uint32_t, 22> record{};
    record.back() = 0xABCD;
    ASSERT_EQ(MwGetBoardInfo("mwc4a", 0, record.data()), SUCCESS);
    const std::array<std::uint32_t, 22> expected{9, 1, 0, 1, 0, 0, 1, 1, 1, 0, 0,
                                                 1, 0, 0, 0, 0, 7, 8, 1, 0, 0, 0xABCD};
    EXPECT_EQ(record, expected);
    EXPECT_EQ(MwGetBoardInfo("mwc4a", 5, record.data()), NO_SUCH_BOARD);
    EXPECT_EQ(MwGetBoardInfo("mwc4a", 0, nullptr), NULL_POINTER);
}

TEST_F(Protocol, AModuleIdentifiesItself)
{
    Bus bus;
    const Received reply = bus.query(1, 0, 1);
    EXPECT_EQ(reply.result, SUCCESS);
    EXPECT_EQ(reply.type, 2U);
    Bytes record(30);
    record[0] = 2;
    record[1] = 4;
    record[2] = 2;
    const std::string device = "2v40cs144-4";
    std::copy(device.begin(), device.end(), record.begin() + 3);
    EXPECT_EQ(reply.data, record);
}

TEST_F(Protocol, AnOlderModuleTellsCompressionInItsRecord)
{
    Bus bus;
    const Received reply = bus.query(1, 1, 2);
    ASSERT_EQ(reply.data.size(), 30U);
    EXPECT_EQ(reply.data[0], 4);
    EXPECT_EQ(reply.data[29], 1);
    EXPECT_EQ(bus.query(11, 1, 2).result, NO_REPLY) << "it does not know the query";
}

TEST_F(Protocol, ANewerModuleTellsCompressionWhenAsked)
{
    Bus bus;
    const Received reply = bus.query(11, 0, 1);
    EXPECT_EQ(reply.type, 12U);
    EXPECT_EQ(reply.data, Bytes{1});
    carrier.board("mwc4a", 0).slot(1, fpga_module(4).device("2v40cs144-4"));
    EXPECT_EQ(bus.query(11, 0, 1).data, Bytes{0});
}

TEST_F(Protocol, TheShortFormsAddressTheOpenedBoard)
{
    Bus bus{"mwx2", 3};
    EXPECT_EQ(MwKSBSendMessage(bus.handle, 1, 4, nullptr, 0, TIMEOUT), SUCCESS);
    std::uint8_t type = 0;
    std::array<std::uint8_t, 30> record{};
    std::uint32_t length = 0;
    EXPECT_EQ(MwKSBReceiveMessage(bus.handle, &type, 4, record.data(), 30, &length, TIMEOUT), SUCCESS);
    EXPECT_EQ(type, 2);
    EXPECT_EQ(length, 30U);
    EXPECT_EQ(record[1], 3);
}

TEST_F(Protocol, AReplyLongerThanTheBufferIsCut)
{
    Bus bus;
    ASSERT_EQ(bus.ask(1, 0, 1), SUCCESS);
    EXPECT_EQ(bus.answer(0, 1, 3).data, (Bytes{2, 4, 2}));
    EXPECT_EQ(bus.answer(0, 1).result, NO_REQUEST);
}

TEST_F(Protocol, AReplyIsReadInPieces)
{
    Bus bus;
    ASSERT_EQ(bus.ask(1, 0, 1), SUCCESS);
    std::uint32_t type = 0;
    EXPECT_EQ(MwKSBStartReceiveMessageEx(bus.handle, &type, TIMEOUT), SUCCESS);
    EXPECT_EQ(type, 2U);
    std::array<std::uint8_t, 28> piece{};
    std::uint32_t length = 0;
    const auto read = [&](std::uint32_t size) {
        EXPECT_EQ(MwKSBReceiveMessageDataEx(bus.handle, piece.data(), size, &length, TIMEOUT), SUCCESS);
        return length;
    };
    EXPECT_EQ(read(2), 2U);
    EXPECT_EQ(piece[1], 4);
    EXPECT_EQ(read(28), 28U);
    EXPECT_EQ(read(2), 0U);
    EXPECT_EQ(MwKSBEndOfReceiveMessageEx(bus.handle, TIMEOUT), SUCCESS);
}

TEST_F(Protocol, SlotsThatCannotAnswerHaveTheirOwnCodes)
{
    Bus bus;
    EXPECT_EQ(bus.query(1, 0, 2).result, NO_REPLY) << "a processor module";
    EXPECT_EQ(bus.ask(1, 0, 3), NO_SERIAL_BUS);
    EXPECT_EQ(bus.ask(1, 0, 4), NO_MODULE);
    EXPECT_EQ(bus.start(0, 4), NO_MODULE);
    EXPECT_EQ(bus.ask(1, 0, 0), BAD_SLOT);
    EXPECT_EQ(bus.ask(1, 0, 5), BAD_SLOT);
    EXPECT_EQ(bus.ask(1, 2, 1), NOT_ON_BUS);
    EXPECT_EQ(Bus("mwc4a", 1).ask(1, 0, 1), NOT_ON_BUS) << "reached one way only";
    EXPECT_EQ(bus.answer(0, 4).result, NO_MODULE);
}

TEST_F(Protocol, UnknownMessagesAreNotAnswered)
{
    Bus bus;
    EXPECT_EQ(bus.query(99, 0, 1).result, NO_REPLY);
    EXPECT_EQ(bus.answer(0, 1).result, NO_REQUEST) << "the time-out is over";
}

TEST_F(Protocol, MisuseHasItsOwnCodes)
{
    Bus bus;
    const Bytes some{1, 2, 3};
    EXPECT_EQ(bus.answer(0, 1).result, NO_REQUEST);
    EXPECT_EQ(bus.reply().result, NO_REQUEST);
    EXPECT_EQ(bus.data(some), NO_OPEN_MESSAGE);
    EXPECT_EQ(bus.end(), NO_OPEN_MESSAGE);
    std::uint32_t length = 0;
    std::array<std::uint8_t, 2> buffer{};
    EXPECT_EQ(MwKSBReceiveMessageDataEx(bus.handle, buffer.data(), 2, &length, TIMEOUT), NO_OPEN_REPLY);
    EXPECT_EQ(MwKSBEndOfReceiveMessageEx(bus.handle, TIMEOUT), NO_OPEN_REPLY);

    ASSERT_EQ(bus.start(0, 1), SUCCESS);
    EXPECT_EQ(bus.start(0, 1), MESSAGE_OPEN);
    EXPECT_EQ(bus.ask(1, 0, 1), MESSAGE_OPEN);
    EXPECT_EQ(bus.answer(0, 1).result, MESSAGE_OPEN);
    EXPECT_EQ(bus.reply().result, MESSAGE_OPEN);
    EXPECT_EQ(MwKSBSendMessageDataEx(bus.handle, nullptr, 3, TIMEOUT), NULL_POINTER);
    EXPECT_EQ(bus.end(), MESSAGE_EMPTY);

    ASSERT_EQ(bus.ask(1, 0, 1), SUCCESS);
    std::uint32_t type = 0;
    ASSERT_EQ(MwKSBStartReceiveMessageEx(bus.handle, &type, TIMEOUT), SUCCESS);
    EXPECT_EQ(MwKSBStartReceiveMessageEx(bus.handle, &type, TIMEOUT), REPLY_OPEN);
    EXPECT_EQ(bus.ask(1, 0, 1), REPLY_OPEN);
    EXPECT_EQ(MwKSBReceiveMessageDataEx(bus.handle, nullptr, 2, &length, TIMEOUT), NULL_POINTER);
}

TEST_F(Protocol, HandlesThatAreNotOpenAreRecognised)
{
    Bus bus;
    MW_HANDLE* stale = bus.handle;
    MW_HANDLE* copy = bus.handle;
    ASSERT_EQ(MwClose(&bus.handle), SUCCESS);
    int something = 0;
    auto* wild = reinterpret_cast<MW_HANDLE*>(&something);
    for (MW_HANDLE* handle : {stale, wild}) {
        std::uint32_t word = 0;
        std::uint16_t number = 0;
        std::array<char, 32> text{};
        EXPECT_EQ(MwInitIoStatus(handle, &word), UNKNOWN_HANDLE);
        EXPECT_EQ(MwGetDeviceInfo(handle, text.data(), &number, &word), UNKNOWN_HANDLE);
        EXPECT_EQ(MwKSBStartSendMessageEx(handle, 0, 1, TIMEOUT), UNKNOWN_HANDLE);
        EXPECT_EQ(MwKSBEndOfSendMessageEx(handle, TIMEOUT), UNKNOWN_HANDLE);
    }
    EXPECT_EQ(MwClose(&copy), UNKNOWN_HANDLE);
    EXPECT_EQ(MwClose(nullptr), NULL_POINTER);
    EXPECT_EQ(MwKSBStartSendMessageEx(nullptr, 0, 1, TIMEOUT), NULL_POINTER);
}

TEST_F(Protocol, HandlesOfOtherDevicesAreNoBus)
{
    Bus bus{"mwc4a", 0, "jtag"};
    ASSERT_EQ(bus.opened, SUCCESS);
    EXPECT_EQ(bus.ask(1, 0, 1), NOT_A_KSB);
    EXPECT_EQ(bus.start(0, 1), NOT_A_KSB);
}

TEST_F(Protocol, EveryCodeHasItsText)
{
    const std::pair<std::uint32_t, const char*> texts[] = {
        {SUCCESS, "no error"},
        {NO_SUCH_BOARD, "the rack has no such board"},
        {NO_SUCH_DEVICE, "the board has no such device"},
        {NULL_POINTER, "a pointer is null"},
        {UNKNOWN_HANDLE, "the handle is not open"},
        {NOT_A_KSB, "the handle is not that of a serial bus"},
        {BAD_SLOT, "slots are numbered 1 to 4"},
        {NOT_ON_BUS, "the board is not reached over this bus"},
        {NO_MODULE, "there is no module in the slot"},
        {NO_SERIAL_BUS, "the module has no serial bus"},
        {MESSAGE_OPEN, "a message is still open"},
        {NO_OPEN_MESSAGE, "no message was started"},
        {MODULE_BUSY, "the module is taking another message"},
        {NO_REQUEST, "a reply without a request"},
        {NO_REPLY, "the module did not answer within the time-out"},
        {REPLY_OPEN, "a reply is still open"},
        {NO_OPEN_REPLY, "no reply was started"},
        {TOO_MANY_REPLIES, "too many replies wait to be received"},
        {MESSAGE_EMPTY, "the message is empty"},
        {0x77, "error 0x00000077"}};
    for (const auto& [code, text] : texts)
        EXPECT_EQ(error_text(code), text);
    EXPECT_EQ(MwErr2Text(0, nullptr), NULL_POINTER);
}

TEST_F(Protocol, ClosingDropsAnOpenMessageAndUnreadReplies)
{
    {
        Bus aborted;
        ASSERT_EQ(aborted.ask(1, 0, 1), SUCCESS);
        ASSERT_EQ(aborted.start(0, 1), SUCCESS);
        ASSERT_EQ(aborted.data(COMPRESSED), SUCCESS);
        Bus other;
        EXPECT_EQ(other.ask(1, 0, 1), MODULE_BUSY);
    }
    Bus next;
    EXPECT_EQ(next.answer(0, 1).result, NO_REQUEST);
    EXPECT_EQ(next.query(1, 0, 1).result, SUCCESS);
    EXPECT_FALSE(carrier.contents("mwc4a", 0, 1).finished);
}

TEST_F(Protocol, RepliesThatNobodyReadsDoNotPileUpForEver)
{
    Bus bus;
    std::uint32_t result = SUCCESS;
    int asked = 0;
    while (result == SUCCESS && asked < 1000) {
        result = bus.ask(1, 0, 1);
        ++asked;
    }
    EXPECT_EQ(result, TOO_MANY_REPLIES);
    EXPECT_EQ(asked, 65);
}

TEST_F(Protocol, TwoThreadsWorkOnTwoBoards)
{
    carrier.keep_journal(false);
    carrier.board("mwc4a", 1).slot(1, fpga_module(4).device("2v40cs144-4").accepts_compressed());
    const Bytes stream = bus_stream("2v40");
    const auto run = [&](std::uint16_t board, int& status) {
        Bus bus{"mwc4a", board};
        status = status_of(bus.load(board, 1, {0x03, static_cast<std::uint8_t>(board << 3 | 5)}, stream));
    };
    int first = 0;
    int second = 0;
    std::thread one{run, std::uint16_t{0}, std::ref(first)};
    std::thread two{run, std::uint16_t{1}, std::ref(second)};
    one.join();
    two.join();
    EXPECT_EQ(first, 5);
    EXPECT_EQ(second, 5);
}

} // namespace
