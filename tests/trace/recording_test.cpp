// SPDX-License-Identifier: Apache-2.0
#include "recording.h"
#include "support/special_files.h"

#include "trace_support.h"

#include <gmock/gmock.h>

#include <random>

using mwtrace::Recording;
using mwtrace::TraceError;

namespace
{
/// A trace with a record of every kind.
const std::string GOOD_TRACE =
    FIRST_LINE +
    R"({"t":1,"took":2,"call":"MwOpenS","in":{"board":0,"board_type":"mwc4a","device":"ksb"},"result":0,"got":{"handle":1}}
{"t":5,"took":0,"call":"MwGetBoardInfo","in":{"board":0,"board_type":"mwc4a"},"result":0,"got":{"record":[0,1,0,1,0,0]}}
{"t":9,"took":1,"call":"MwKSBReceiveMessageEx","in":{"board":0,"handle":1,"size":30,"slot":1,"timeout":5000},"result":0,"got":{"data":{"hex":"02 04"},"received":2,"type":2}}
{"t":12,"took":7,"call":"MwKSBSendMessageDataEx","in":{"data":{"hex":"0D 05 01 02"},"handle":1,"sizes":[[1,2],[2,1]],"timeout":5000},"result":0}
{"t":20,"took":1,"call":"MwErr2Text","in":{"code":7},"result":0,"got":{"text":"no reply"}}
{"t":22,"took":1,"thread":2,"call":"MwClose","in":{"handle":1},"result":0,"got":{"handle":0}}
)";

class RecordingTest : public FolderTest
{
protected:
    /// The reader's report on a trace.
    [[nodiscard]] std::string complaint(const std::string& text) const
    {
        write("trace", text);
        return complaint_of(path("trace"));
    }
    /// The same of a file that is there, without its name.
    static std::string complaint_of(const std::string& file)
    {
        try {
            (void)Recording{file};
            return "";
        } catch (const TraceError& error) {
            const std::string words = error.what();
            EXPECT_TRUE(words.starts_with(file)) << words;
            return words.substr(file.size());
        }
    }
};

TEST_F(RecordingTest, ReadsEveryField)
{
    write("trace", GOOD_TRACE);
    const Recording recording{path("trace")};
    ASSERT_EQ(recording.size(), 6U);
    EXPECT_EQ(recording.record(0).function, "MwOpenS");
    EXPECT_EQ(recording.record(0).in.at("board_type"), "mwc4a");
    EXPECT_EQ(recording.record(0).got.at("handle"), 1);
    EXPECT_EQ(recording.record(3).data, (mwtrace::Bytes{0x0D, 0x05, 0x01, 0x02}));
    ASSERT_EQ(recording.record(3).sizes.size(), 2U);
    EXPECT_EQ(recording.record(3).sizes[1].count, 2U);
    EXPECT_TRUE(recording.record(3).got.is_null());
    EXPECT_EQ(recording.thread(4), 1U);
    EXPECT_EQ(recording.thread(5), 2U);
    EXPECT_EQ(recording.line(5), 7U);
    EXPECT_FALSE(recording.is_cut());
}

TEST_F(RecordingTest, NamesLineAndFault)
{
    const char* const NO_JSON = "this is no JSON object of a sensible size";
    const char* const NO_CALL = "\"call\" must be one of the sixteen functions";
    const char* const NO_RESULT = "\"result\" must be a number of 32 bits";
    struct Fault {
        const char* record;
        const char* words;
    };
    const Fault faults[] = {
        {"{", NO_JSON},
        {"", NO_JSON},
        {"[]", NO_JSON},
        {"{\"call\":\"\xFF\"}", NO_JSON},
        {"{}", NO_CALL},
        {R"({"call":7})", NO_CALL},
        {R"({"call":"MwFoo","in":{},"result":0})", NO_CALL},
        {R"({"call":"MwClose","result":0})", "\"in\" must be an object"},
        {R"({"call":"MwClose","in":[],"result":0})", "\"in\" must be an object"},
        {R"({"call":"MwClose","in":{}})", NO_RESULT},
        {R"({"call":"MwClose","in":{},"result":-1})", NO_RESULT},
        {R"({"call":"MwClose","in":{},"result":4294967296})", NO_RESULT},
        {R"({"call":"MwClose","in":{},"result":0,"thread":"x"})", "\"thread\" must be a number"},
        {R"({"call":"MwClose","in":{},"result":0,"got":[]})", "\"got\" must be an object"},
        {R"({"call":"MwClose","in":{},"result":0,"got":{"handle":"1"}})",
         "\"handle\" in \"got\" is of a wrong type"},
        {R"({"call":"MwErr2Text","in":{},"result":0,"got":{"text":1}})",
         "\"text\" in \"got\" is of a wrong type"},
        {R"({"call":"MwGetBoardInfo","in":{},"result":0,"got":{"record":[1,"2"]}})",
         "\"record\" in \"got\" is of a wrong type"},
        {R"({"call":"MwGetBoardInfo","in":{},"result":0,"got":{"record":[0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0]}})",
         "\"record\" in \"got\" is of a wrong type"},
        {R"({"call":"MwKSBReceiveMessageEx","in":{},"result":0,"got":{"data":{"hex":"0"}}})",
         "\"data\" in \"got\" is of a wrong type"},
        {R"({"call":"MwKSBSendMessageDataEx","in":{},"result":0})",
         "message pieces need \"handle\" and \"timeout\""},
        {R"({"call":"MwKSBSendMessageDataEx","in":{"handle":1,"timeout":1},"result":0})",
         "message pieces need \"sizes\""},
        {R"({"call":"MwKSBSendMessageDataEx","in":{"handle":1,"timeout":1,"sizes":[]},"result":0})",
         "message pieces need \"sizes\""},
        {R"({"call":"MwKSBSendMessageDataEx","in":{"handle":1,"timeout":1,"sizes":[[0,1]]},"result":0})",
         "\"sizes\" must be pairs of a count and a length"},
        {R"({"call":"MwKSBSendMessageDataEx","in":{"handle":1,"timeout":1,"sizes":[[1]]},"result":0})",
         "\"sizes\" must be pairs of a count and a length"},
        {R"({"call":"MwKSBSendMessageDataEx","in":{"handle":1,"timeout":1,"sizes":[[4294967295,4294967295],[4294967295,4294967295]],"data":{"hex":"00"}},"result":0})",
         "\"data\" must hold as many bytes as \"sizes\" say"},
        {R"({"call":"MwKSBSendMessageDataEx","in":{"handle":1,"timeout":1,"sizes":[[1,2]],"data":{"hex":"00"}},"result":0})",
         "\"data\" must hold as many bytes as \"sizes\" say"},
    };
    for (const Fault& fault : faults)
        EXPECT_EQ(complaint(FIRST_LINE + fault.record + "\n"), std::string{":2: "} + fault.words)
            << fault.record;
}

TEST_F(RecordingTest, RefusesWhatIsNoTrace)
{
    EXPECT_EQ(complaint(""), ":1: this is no trace of platform calls");
    EXPECT_EQ(complaint("Xilinx ASCII Bitstream\n"), ":1: this is no trace of platform calls");
    EXPECT_EQ(complaint(FIRST_LINE.substr(0, FIRST_LINE.size() - 1)),
              ":1: this is no trace of platform calls");
    EXPECT_EQ(complaint(R"({"trace":"mwapi","version":2})"
                        "\n"),
              ":1: only version 1 of the format is known");
    EXPECT_EQ(complaint_of(path("nothing")), ": No such file or directory");
    make_fifo(path("fifo"));
    for (const std::string& file : {path("fifo"), folder.string(), std::string{ENDLESS_FILE}})
        EXPECT_EQ(complaint_of(file), ": it is no regular file");
}

TEST_F(RecordingTest, DoesNotFollowHugeValues)
{
    const std::string words = ":2: this is no JSON object of a sensible size";
    EXPECT_EQ(complaint(FIRST_LINE + std::string(1'000'000, '[') + "\n"), words);
    EXPECT_EQ(complaint(FIRST_LINE + "{\"call\":" + std::string(100, '[') + std::string(100, ']') + "}\n"),
              words);
    std::string many = "[0";
    for (int i = 0; i < 1'100'000; ++i)
        many += ",0";
    EXPECT_EQ(complaint(FIRST_LINE + "{\"in\":" + many + "]}\n"), words);
}

TEST_F(RecordingTest, TakesWhatACutFileStillHolds)
{
    std::size_t complete = 0;
    for (std::size_t size = FIRST_LINE.size(); size <= GOOD_TRACE.size(); ++size) {
        write("trace", GOOD_TRACE.substr(0, size));
        complete = static_cast<std::size_t>(
                       std::count(GOOD_TRACE.begin(), GOOD_TRACE.begin() + static_cast<long>(size), '\n')) -
                   1;
        const Recording recording{path("trace")};
        EXPECT_EQ(recording.size(), complete);
        EXPECT_EQ(recording.is_cut(), GOOD_TRACE[size - 1] != '\n');
    }
    EXPECT_EQ(complete, 6U);
}

TEST_F(RecordingTest, SurvivesAnyDamage)
{
    std::mt19937 random{20060217};
    const auto any = [&](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>{0, limit - 1}(random);
    };
    const std::string tokens[] = {"null", "-1", "1e999", "{",          "}", "[",
                                  "]",    "\"", "\n",    "4294967296", ",", ":"};
    int refused = 0;
    for (int round = 0; round < 1000; ++round) {
        std::string text = GOOD_TRACE;
        for (std::size_t changes = 1 + any(4); changes > 0; --changes) {
            const std::size_t at = any(text.size());
            switch (any(4)) {
            case 0:
                text[at] = static_cast<char>(any(256));
                break;
            case 1:
                text.erase(at, 1 + any(30));
                break;
            case 2:
                text.insert(at, tokens[any(std::size(tokens))]);
                break;
            default:
                text.insert(at, text.substr(any(text.size()), 1 + any(40)));
            }
        }
        write("trace", text);
        try {
            const Recording recording{path("trace")};
            for (std::size_t i = 0; i < recording.size(); ++i)
                EXPECT_FALSE(recording.record(i).function.empty());
        } catch (const TraceError& error) {
            ++refused;
            EXPECT_THAT(error.what(), testing::StartsWith(path("trace") + ":"));
        }
    }
    EXPECT_GT(refused, 150);
}
} // namespace
