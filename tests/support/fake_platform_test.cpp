// SPDX-License-Identifier: Apache-2.0
// The fake platform notices when the protocol is broken, and fails the test that uses it.
#include "support/fake_platform.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <thread>

namespace
{
class FakePlatformTest : public testing::Test
{
protected:
    FakePlatformTest()
    {
        platform.board("mwc4a", 0).slot(1, fpga_module(4));
        bus = platform.opened_bus("mwc4a", 0);
        callers = platform.caller_handle("mwc4a", 0);
    }

    FakePlatform platform;
    MW_HANDLE* bus;
    MW_HANDLE* callers;
    std::uint8_t data[30] = {1, 2, 3};
    std::uint8_t type = 0;
    std::uint32_t word = 0;
};

TEST_F(FakePlatformTest, NoticesHandlesThatAreNotOpenOrTheCallers)
{
    EXPECT_NONFATAL_FAILURE(MwClose(&callers), "a caller's handle is closed");
    MW_HANDLE* closed = bus;
    MwClose(&bus);
    EXPECT_EQ(bus, nullptr);
    EXPECT_NONFATAL_FAILURE(MwClose(&closed), "MwClose on a handle that is not open");
    EXPECT_NONFATAL_FAILURE(MwInitIoStatus(closed, &word), "not open");
    EXPECT_NONFATAL_FAILURE(MwKSBEndOfSendMessageEx(nullptr, 5000), "not open");
}

TEST_F(FakePlatformTest, NoticesMessagesOutOfTheirOrder)
{
    EXPECT_NONFATAL_FAILURE(MwKSBSendMessageDataEx(bus, data, 2, 5000), "data outside a message");
    EXPECT_NONFATAL_FAILURE(MwKSBEndOfSendMessageEx(bus, 5000), "was not begun");
    EXPECT_NONFATAL_FAILURE(MwKSBReceiveMessageEx(bus, &type, 0, 1, data, 30, &word, 5000),
                            "without a request");
    EXPECT_NONFATAL_FAILURE(MwKSBStartReceiveMessageEx(bus, &word, 5000), "a reply without a load");
    EXPECT_NONFATAL_FAILURE(MwKSBStartSendMessageEx(bus, 0, 1, 4999), "time-out 4999");
    EXPECT_NONFATAL_FAILURE(MwKSBStartSendMessageEx(bus, 0, 1, 5000), "inside another");
    EXPECT_NONFATAL_FAILURE(MwKSBSendMessageEx(bus, 1, 0, 1, nullptr, 0, 5000), "inside a message");
    EXPECT_NONFATAL_FAILURE(MwKSBSendMessageDataEx(bus, data, 9, 5000), "other than 1 to 8 bytes");
}

TEST_F(FakePlatformTest, NoticesArgumentsThatAreNotAsExpected)
{
    MW_HANDLE* handle = bus;
    EXPECT_NONFATAL_FAILURE(MwOpenS("mwc4a", 0, "ksb", &handle, &word), "without a cleared handle");
    handle = nullptr;
    word = 1;
    EXPECT_NONFATAL_FAILURE(MwOpenS("mwc4a", 0, "ksb", &handle, &word), "without a word set to 0");
    EXPECT_NONFATAL_FAILURE(MwKSBStartSendMessageEx(bus, 0, 16, 5000), "an address out of range");
}

TEST_F(FakePlatformTest, NoticesACallBehindAFailureWhereThatIsARule)
{
    platform.stops_at_failure = true;
    platform.fail_call(1);
    MwInitIoStatus(bus, &word);
    EXPECT_NONFATAL_FAILURE(MwInitIoStatus(bus, &word), "a call after one that failed");
}

TEST_F(FakePlatformTest, FailsTheCallThatWasPlannedAndNoOther)
{
    platform.fail_call(2, 0x99);
    platform.fail("InitIoStatus", 3, 0x88);
    std::vector<std::uint32_t> codes;
    for (int i = 0; i < 4; ++i) {
        word = 0;
        codes.push_back(MwInitIoStatus(bus, &word));
    }
    EXPECT_EQ(codes, (std::vector<std::uint32_t>{0, 0x99, 0x88, 0}));
    EXPECT_EQ(platform.calls(), 4);
}

TEST_F(FakePlatformTest, CountsNeitherWordsNorClosing)
{
    platform.fail_call(1, 0x99);
    char text[256];
    MwErr2Text(0x77, text);
    EXPECT_STREQ(text, "api 0x77");
    MwClose(&bus);
    EXPECT_EQ(platform.calls(), 0);
    EXPECT_EQ(MwInitIoStatus(callers, &word), 0x99U);
    EXPECT_EQ(platform.journal(),
              (std::vector<std::string>{"Err2Text 0x77", "Close", "InitIoStatus on caller handle"}));
}

TEST_F(FakePlatformTest, KeepsWhatAModuleWasSent)
{
    Module& module = *platform.board("mwc4a", 0).module_in(1);
    MwKSBStartSendMessageEx(bus, 0, 1, 5000);
    MwKSBSendMessageDataEx(bus, bytes("0D 05").data(), 2, 5000);
    MwKSBSendMessageDataEx(bus, data, 3, 5000);
    EXPECT_EQ(hex(module.received_header()), "0D 05");
    EXPECT_EQ(hex(module.received()), "01 02 03");
}

TEST_F(FakePlatformTest, IsThePlatformOfItsThread)
{
    std::vector<std::string> other_journal;
    std::thread other{[&other_journal] {
        FakePlatform own;
        char text[256];
        MwErr2Text(1, text);
        other_journal = own.journal();
    }};
    other.join();
    EXPECT_EQ(other_journal, std::vector<std::string>{"Err2Text 0x1"});
    EXPECT_TRUE(platform.journal().empty());
}
} // namespace
