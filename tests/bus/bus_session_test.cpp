// SPDX-License-Identifier: Apache-2.0
// Opening and closing a board's bus, and the buffer of outgoing data.
#include "bus/buffered_sending.h"
#include "support/run_fixture.h"

#include <cstring>
#include <vector>

namespace
{
/// Where the data of each piece was.
thread_local std::vector<const void*> piece_addresses;
} // namespace

extern "C" {
std::uint32_t __real_MwKSBSendMessageDataEx(MW_HANDLE* handle, const void* data, std::uint32_t length,
                                            std::uint32_t timeout);

std::uint32_t __wrap_MwKSBSendMessageDataEx(MW_HANDLE* handle, const void* data, std::uint32_t length,
                                            std::uint32_t timeout)
{
    piece_addresses.push_back(data);
    return __real_MwKSBSendMessageDataEx(handle, data, length, timeout);
}
}

namespace
{
class BusSession : public RunFixture
{
protected:
    BusSession() { platform.board("mwc4a", 0); }

    Result open(const char* type, int number) { return result(session.Initialise_Host_KSB(type, number)); }
};

TEST_F(BusSession, Error9200FromBoard16On)
{
    platform.board("mwc4a", 15);
    EXPECT_EQ(open("mwc4a", 16), Fails("Error 9200: Invalid board number 16 (should be 0..15)."));
    EXPECT_EQ(open("mwc4a", -1), Fails("Error 9200: Invalid board number -1 (should be 0..15)."));
    EXPECT_EQ(open("mwc4a", 0x10000), Fails("Error 9200: Invalid board number 65536 (should be 0..15)."));
    EXPECT_EQ(transcript(), "\n");
    EXPECT_EQ(session.Initialise_Host_KSB("mwc4a", 15), 0);
    EXPECT_EQ(bus_transcript(), R"(
OpenS "mwc4a" 15 "ksb"
InitIoStatus
InitIoStatus
)");
    EXPECT_EQ(session.Close_KSB(), 0);
}

TEST_F(BusSession, LeavesACallersHandleAlone)
{
    MW_HANDLE* given = platform.caller_handle("mwc4a", 0);
    session.handle = given;
    session.handle_is_external = 1;
    session.ReadIoStatus = 7;
    session.WriteIoStatus = 8;
    EXPECT_EQ(open("mwc4a", 0), Succeeds());
    EXPECT_EQ(open("mwc4a", 99), Succeeds()) << "the number is not even looked at";
    EXPECT_EQ(session.Close_KSB(), 0);
    EXPECT_EQ(transcript(), "\n");
    EXPECT_EQ(session.handle, given);
    EXPECT_EQ(session.ReadIoStatus, 7U);
    EXPECT_EQ(session.WriteIoStatus, 8U);
}

TEST_F(BusSession, ClosesNothingThatItNeverOpened)
{
    EXPECT_EQ(session.Close_KSB(), 0);
    EXPECT_EQ(session.Close_KSB(), 0);
    EXPECT_EQ(transcript(), "\n");
}

TEST_F(BusSession, OpensPreparesAndCloses)
{
    session.ReadIoStatus = 7;
    session.WriteIoStatus = 8;
    session.handle = platform.caller_handle("mwc4a", 0); // a forgotten one
    EXPECT_EQ(open("mwc4a", 0), Succeeds());
    EXPECT_NE(session.handle, nullptr);
    // The platform prepared the read status first, then the write status.
    EXPECT_EQ(session.ReadIoStatus, 0x10001U);
    EXPECT_EQ(session.WriteIoStatus, 0x10002U);
    EXPECT_EQ(session.Close_KSB(), 0);
    EXPECT_EQ(bus_transcript(), R"(
OpenS "mwc4a" 0 "ksb"
InitIoStatus
InitIoStatus
Close
)");
}

TEST_F(BusSession, ClosesOnceWhateverThePlatformDoesToTheHandle)
{
    platform.close_clears_handle = false;
    EXPECT_EQ(open("mwc4a", 0), Succeeds());
    EXPECT_EQ(session.Close_KSB(), 0) << "the platform's answer is of no account";
    EXPECT_EQ(session.Close_KSB(), 0);
    EXPECT_EQ(bus().back(), "Close");
    EXPECT_EQ(platform.open_handles(), 0);
}

TEST_F(BusSession, Error9201WhenTheBoardCannotBeOpened)
{
    platform.set_error_text(0x80000001, "board is asleep");
    platform.fail("OpenS", 1, 0x80000001);
    EXPECT_EQ(open("mwc4a", 0),
              Fails("Error 9201. Cannot open KSB device on board \"mwc4a 0\" (board is asleep)."));
    EXPECT_EQ(bus_transcript(), R"(
OpenS "mwc4a" 0 "ksb"
Err2Text 0x80000001
)");
    EXPECT_EQ(session.handle, nullptr);
}

TEST_F(BusSession, Error9202OrError9203WhenAStatusCannotBePrepared)
{
    const std::string texts[] = {"Error 9202. Cannot initialise ReadIoStatus",
                                 "Error 9203. Cannot initialise WriteIoStatus"};
    for (int nth = 1; nth <= 2; ++nth) {
        clear_log();
        platform.fail("InitIoStatus", nth);
        EXPECT_EQ(open("mwc4a", 0), Fails(texts[nth - 1] + ", board \"mwc4a 0\" (api 0x77)."));
        std::vector<std::string> calls{"OpenS \"mwc4a\" 0 \"ksb\"", "InitIoStatus", "Err2Text 0x77"};
        if (nth == 2)
            calls.insert(calls.begin() + 1, "InitIoStatus");
        EXPECT_EQ(bus(), calls);
        EXPECT_EQ(platform.open_handles(), 1) << "the caller closes the device";
        session.Close_KSB();
    }
}

TEST_F(BusSession, Error9201TakesThePlatformsWordsAsTheyAreUpTo255Characters)
{
    for (const std::string& words : {std::string(255, 'w'), std::string(256, 'w'), std::string{"100%n %s"}}) {
        platform.set_error_text(0x77, words);
        platform.fail("OpenS");
        EXPECT_EQ(open("mwc4a", 0), Fails("Error 9201. Cannot open KSB device on board \"mwc4a 0\" (" +
                                          words.substr(0, 255) + ")."));
    }
}

/// Sends inside a message that has been begun.
class SendBuffer : public BusSession
{
protected:
    SendBuffer()
    {
        platform.board("mwc4a", 0).slot(1, fpga_module(4));
        open_bus("mwc4a", 0);
        MwKSBStartSendMessageEx(session.handle, 0, 1, 5000);
        clear_log();
    }
    void TearDown() override
    {
        close_bus();
        BusSession::TearDown();
    }

    /// Sends the numbers from `first` on.
    int send(unsigned long length, std::uint8_t first = 1, int timeout = 5000)
    {
        Bytes data(length);
        for (std::size_t i = 0; i < length; ++i)
            data[i] = static_cast<std::uint8_t>(first + i);
        static constexpr std::uint8_t nothing = 0;
        const std::uint8_t* start = data.empty() ? &nothing : data.data();
        return session.BufferedKsbSendMessageData(session.handle, start, length, timeout);
    }
    int flush() { return session.BufferedKsbSendMessageData(session.handle, nullptr, 0, 5000); }
};

// It holds 8192 bytes.
TEST_F(SendBuffer, SendsPiecesOf8AndTheRestWhenFlushed)
{
    const std::string numbers =
        hex(bytes("01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13 14 15 16 17 18"));
    for (const std::vector<unsigned long>& parts :
         {std::vector<unsigned long>{13}, {4, 4}, {24}, std::vector<unsigned long>(17, 1), {0, 3, 0}}) {
        clear_log();
        unsigned long sent = 0;
        for (const unsigned long size : parts) {
            EXPECT_EQ(send(size, static_cast<std::uint8_t>(sent + 1)), 0);
            sent += size;
        }
        std::vector<std::string> pieces;
        for (std::size_t at = 0; at < sent; at += 8)
            pieces.push_back("SendMessageDataEx " +
                             numbers.substr(3 * at, 3 * std::min<std::size_t>(8, sent - at) - 1) +
                             " timeout 5000");
        EXPECT_EQ(session.send_count, sent % 8);
        EXPECT_EQ(bus(), std::vector<std::string>(pieces.begin(),
                                                  pieces.begin() + static_cast<std::ptrdiff_t>(sent / 8)));
        EXPECT_EQ(flush(), 0);
        EXPECT_EQ(session.send_count, 0U);
        EXPECT_EQ(flush(), 0);
        EXPECT_EQ(bus(), pieces);
    }
}

TEST_F(SendBuffer, IsEmptyAfterAFailedFlush)
{
    send(3);
    platform.fail_call(1, 0x77);
    EXPECT_EQ(flush(), 0x77);
    EXPECT_EQ(session.send_count, 0U);
    EXPECT_EQ(flush(), 0);
    EXPECT_EQ(bus_transcript(), "\nSendMessageDataEx 01 02 03 timeout 5000\n");
}

TEST_F(SendBuffer, SendsWholePiecesFromWhereTheyAre)
{
    const Bytes data(21, 0xAA);
    const auto send_data = [this, &data](unsigned long length) {
        piece_addresses.clear();
        EXPECT_EQ(session.BufferedKsbSendMessageData(session.handle, data.data(), length, 5000), 0);
        return piece_addresses;
    };
    using Addresses = std::vector<const void*>;
    EXPECT_EQ(send_data(21), (Addresses{data.data(), data.data() + 8}));
    // Three more bytes complete the piece in the buffer.
    EXPECT_EQ(send_data(19), (Addresses{session.send_buffer, data.data() + 3, data.data() + 11}));
    EXPECT_EQ(session.send_count, 0U);
}

TEST_F(SendBuffer, DropsTheRestOfTheDataWhenAPieceCannotBeSent)
{
    send(3, 1);
    platform.fail_call(2, 0x1234);
    EXPECT_EQ(send(25, 4), 0x1234);
    EXPECT_EQ(session.send_count, 0U);
    EXPECT_EQ(flush(), 0);
    EXPECT_EQ(bus_transcript(), R"(
SendMessageDataEx 01 02 03 04 05 06 07 08 timeout 5000
SendMessageDataEx 09 0A 0B 0C 0D 0E 0F 10 timeout 5000
)");
    EXPECT_EQ(send(8, 0x41), 0) << "the buffer serves again";
    EXPECT_EQ(bus().back(), "SendMessageDataEx 41 42 43 44 45 46 47 48 timeout 5000");
}

TEST_F(SendBuffer, NamesTheByteThatFilledThePieceThatCouldNotBeSent)
{
    const Bytes data(32, 0x41);
    struct Row {
        unsigned long buffered;
        unsigned long length;
        int failing_piece;
        std::size_t failed_byte;
    };
    constexpr Row rows[] = {{0, 32, 1, 7}, {0, 32, 2, 15}, {0, 32, 4, 31}, {0, 29, 3, 23},
                            {3, 29, 1, 4}, {3, 29, 2, 12}, {3, 5, 1, 4},   {7, 26, 3, 16}};
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message()
                     << row.buffered << " + " << row.length << ", piece " << row.failing_piece);
        ASSERT_EQ(send(row.buffered), 0);
        platform.fail_call(row.failing_piece, 0x77);
        const auto sent = send_buffered(session, session.handle, data.data(), row.length);
        EXPECT_EQ(sent.status, 0x77U);
        EXPECT_EQ(sent.failed_byte, row.failed_byte);
        EXPECT_EQ(session.send_count, 0U);
    }
}

TEST_F(SendBuffer, PassesACodeOf32BitsOnWithoutAMessage)
{
    platform.fail_call(1, 0x80000001);
    EXPECT_EQ(static_cast<std::uint32_t>(send(8)), 0x80000001U);
    EXPECT_EQ(result(0), Succeeds());
}

TEST_F(SendBuffer, KeepsItsTimeOutAndIsFlushedByNullDataWhateverTheArguments)
{
    EXPECT_EQ(send(10, 1, 1), 0);
    EXPECT_EQ(session.BufferedKsbSendMessageData(session.handle, nullptr, 99, 5000), 0);
    EXPECT_EQ(bus_transcript(), R"(
SendMessageDataEx 01 02 03 04 05 06 07 08 timeout 5000
SendMessageDataEx 09 0A timeout 5000
)");
}

TEST_F(SendBuffer, SendsOnTheHandleItIsGiven)
{
    MW_HANDLE* other = platform.caller_handle("mwc4a", 0);
    MwKSBStartSendMessageEx(other, 0, 1, 5000);
    clear_log();
    const Bytes data = bytes("01 02 03 04 05 06 07 08 09");
    EXPECT_EQ(
        session.BufferedKsbSendMessageData(other, data.data(), static_cast<unsigned long>(data.size()), 5000),
        0);
    EXPECT_EQ(session.BufferedKsbSendMessageData(other, nullptr, 0, 5000), 0);
    EXPECT_EQ(bus_transcript(), R"(
SendMessageDataEx 01 02 03 04 05 06 07 08 timeout 5000 on caller handle
SendMessageDataEx 09 timeout 5000 on caller handle
)");
}

} // namespace
