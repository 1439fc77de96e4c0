// SPDX-License-Identifier: Apache-2.0
// Every function of the host hands all its arguments to the provider and its result back.
#include "mwapi.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <string>

namespace
{
/// The provider is chosen once in a process, so the tests share it.
class Forwarders : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        set_variable("KVN_MWAPI", TEST_PROVIDER);
        set_variable("KVN_TEST_JOURNAL", journal().string());
    }
    static std::filesystem::path journal()
    {
        static const TemporaryFolder folder;
        return folder.path() / "journal";
    }

    /// What a call leaves in the provider's journal.
    static std::string journal_of(const std::function<void()>& call)
    {
        std::filesystem::remove(journal());
        call();
        return read_whole_file(journal());
    }
};

TEST_F(Forwarders, GiveArgumentsAndResultOfEveryFunction)
{
    set_variable("KVN_TEST_FAIL", "* 0x87654321");
    const unsigned char data[] = {0xAB, 0xCD};
    auto* unknown = reinterpret_cast<MW_HANDLE*>(this);
    MW_HANDLE* none = nullptr;
    std::uint32_t word = 21;
    std::uint16_t number = 0;
    std::uint8_t type = 0;
    unsigned char buffer[30] = {};
    char text[256] = {};
    std::uint32_t record[64] = {22};
    struct {
        std::function<std::uint32_t()> call;
        std::string journal;
    } const functions[] = {
        {[&] { return MwOpenS("mwc3a", 65535, "ksb", &none, &word); },
         "MwOpenS(mwc3a, 65535, ksb, null, 21)"},
        {[&] { return MwClose(&unknown); }, "MwClose(unknown)"},
        {[&] { return MwErr2Text(0x80000001, text); }, "MwErr2Text(2147483649)"},
        {[&] { return MwGetBoardInfo("mwc3a", 14, record); }, "MwGetBoardInfo(mwc3a, 14, 22)"},
        {[&] { return MwGetDeviceInfo(unknown, text, &number, &word); }, "MwGetDeviceInfo(unknown, 21)"},
        {[&] { return MwInitIoStatus(unknown, record); }, "MwInitIoStatus(unknown, 22)"},
        {[&] { return MwKSBSendMessage(unknown, 11, 2, data, 2, 5000); },
         "MwKSBSendMessage(unknown, 11, 2, AB CD, 5000)"},
        {[&] { return MwKSBReceiveMessage(unknown, &type, 3, buffer, 30, &word, 5001); },
         "MwKSBReceiveMessage(unknown, 3, 30, 5001)"},
        {[&] { return MwKSBSendMessageEx(unknown, 1, 15, 4, data, 1, 5002); },
         "MwKSBSendMessageEx(unknown, 1, 15, 4, AB, 5002)"},
        {[&] { return MwKSBReceiveMessageEx(unknown, &type, 9, 3, buffer, 29, &word, 5003); },
         "MwKSBReceiveMessageEx(unknown, 9, 3, 29, 5003)"},
        {[&] { return MwKSBStartSendMessageEx(unknown, 8, 1, 5004); },
         "MwKSBStartSendMessageEx(unknown, 8, 1, 5004)"},
        {[&] { return MwKSBSendMessageDataEx(unknown, data, 2, 5005); },
         "MwKSBSendMessageDataEx(unknown, AB CD, 5005)"},
        {[&] { return MwKSBEndOfSendMessageEx(unknown, 5006); }, "MwKSBEndOfSendMessageEx(unknown, 5006)"},
        {[&] { return MwKSBStartReceiveMessageEx(unknown, record, 5007); },
         "MwKSBStartReceiveMessageEx(unknown, 22, 5007)"},
        {[&] { return MwKSBReceiveMessageDataEx(unknown, buffer, 2, record, 5008); },
         "MwKSBReceiveMessageDataEx(unknown, 2, 22, 5008)"},
        {[&] { return MwKSBEndOfReceiveMessageEx(unknown, 5009); },
         "MwKSBEndOfReceiveMessageEx(unknown, 5009)"},
    };
    for (const auto& function : functions) {
        word = 21;
        record[0] = 22;
        std::uint32_t result = 0;
        EXPECT_EQ(journal_of([&] { result = function.call(); }), function.journal + "\n");
        EXPECT_EQ(result, 0x87654321U) << function.journal;
    }
    unset_variable("KVN_TEST_FAIL");
}

TEST_F(Forwarders, GiveWhatTheProviderWrites)
{
    MW_HANDLE* handle = nullptr;
    std::uint32_t word = 0;
    ASSERT_EQ(MwOpenS("mwc4a", 0, "ksb", &handle, &word), 0U);
    ASSERT_NE(handle, nullptr);

    char text[256];
    MwErr2Text(0x77, text);
    EXPECT_STREQ(text, "code 0x77");

    std::uint16_t number = 0;
    EXPECT_EQ(MwGetDeviceInfo(handle, text, &number, &word), 0U);
    EXPECT_STREQ(text, "mwc4a");
    EXPECT_EQ(number, 7);
    EXPECT_EQ(word, 3U);

    std::uint8_t type = 0;
    unsigned char record[30];
    EXPECT_EQ(MwKSBReceiveMessage(handle, &type, 2, record, sizeof record, &word, 5000), 0U);
    EXPECT_EQ(type, 2);
    EXPECT_EQ(word, 30U);
    EXPECT_STREQ(reinterpret_cast<char*>(record) + 3, "2v40cs144-4");
}
} // namespace
