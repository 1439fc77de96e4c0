// SPDX-License-Identifier: Apache-2.0
// kvn trace: recordings as tables, hostile ones as errors.
#include "kvn_fixture.h"

#include <gmock/gmock.h>

namespace
{
using testing::HasSubstr;

class KvnTrace : public KvnTest
{
protected:
    static constexpr const char* HEAD = "{\"trace\":\"mwapi\",\"version\":1}\n";
    static constexpr const char* RUN =
        "{\"trace\":\"mwapi\",\"version\":1}\n"
        "{\"t\":10,\"took\":5,\"call\":\"MwOpenS\",\"in\":{\"board_type\":\"mwc4a\",\"board_number\":0,"
        "\"device\":\"ksb\"},\"result\":0,\"got\":{\"handle\":1}}\n"
        "{\"t\":20,\"took\":90,\"call\":\"MwKSBSendMessageDataEx\",\"in\":{\"data\":{\"hex\":\"03 05 FF FF FF FF "
        "FF FF FF FF\"},\"handle\":1,\"sizes\":[[1,2],[1,8]],\"timeout\":5000},\"result\":0}\n"
        "{\"t\":1500000,\"took\":4,\"call\":\"MwClose\",\"in\":{\"handle\":1},\"result\":2147483649}\n";
};

TEST_F(KvnTrace, IsATableOfCalls)
{
    write("run.jsonl", RUN);
    const Outcome shown = kvn({"trace", "run.jsonl"});
    EXPECT_EQ(shown.status, 0);
    EXPECT_EQ(shown.errors, "");
    EXPECT_EQ(
        shown.output,
        "Line  At s      Took s    Call                    Given                                                   "
        "        Result      Got\n"
        "2     0.000010  0.000005  MwOpenS                 board_number 0, board_type \"mwc4a\", device \"ksb\"  "
        "              0           handle 1\n"
        "3     0.000020  0.000090  MwKSBSendMessageDataEx  handle 1, 2 calls, data 03 05 FF FF FF FF FF FF ... "
        "(10 bytes)  0\n"
        "4     1.500000  0.000004  MwClose                 handle 1                                                "
        "        0x80000001\n");
}

TEST_F(KvnTrace, CountsTheCallsInASummary)
{
    write("run.jsonl", RUN);
    EXPECT_EQ(kvn({"trace", "run.jsonl", "--summary"}).output,
              "File:           run.jsonl\n"
              "Calls:          4 in 3 records of 1 thread\n"
              "Failed:         1\n"
              "Time:           1.500004 s\n"
              "Data sent:      10 bytes in messages of several calls\n"
              "Call                    Calls  Failed  Took s\n"
              "MwClose                 1      1       0.000004\n"
              "MwKSBSendMessageDataEx  2      0       0.000090\n"
              "MwOpenS                 1      0       0.000005\n");
}

TEST_F(KvnTrace, ARecordingThatWasCutOffIsShownUpToThere)
{
    write("run.jsonl", std::string{RUN} + "{\"t\":15");
    const Outcome shown = kvn({"trace", "run.jsonl"});
    EXPECT_EQ(shown.status, 0);
    EXPECT_EQ(shown.errors, "kvn: run.jsonl: the file ends inside a line: the recording was cut off\n");
    EXPECT_THAT(kvn({"trace", "run.jsonl", "--summary"}).output,
                HasSubstr("\nNote:           the file ends inside a line: the recording was cut off\n"));
}

TEST_F(KvnTrace, WhatIsNoTraceIsDamaged)
{
    write("text.jsonl", "hello\n");
    const Outcome refused = kvn({"trace", "text.jsonl"});
    EXPECT_EQ(refused.status, 4);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(refused.errors, "kvn: text.jsonl:1: this is no trace of platform calls\n"
                              "why: a trace is what libmwtrace.so or the virtual carriers record\n"
                              "try: record the run again\n");
    write("bad.jsonl", std::string{HEAD} + "{\"call\":\"MwFoo\"}\n");
    EXPECT_EQ(kvn({"trace", "bad.jsonl", "--summary"}).status, 4);
    write("empty.jsonl", "");
    EXPECT_EQ(kvn({"trace", "empty.jsonl"}).status, 4);
}

TEST_F(KvnTrace, AFileThatCannotBeReadIsOne)
{
    const Outcome refused = kvn({"trace", "none.jsonl"});
    EXPECT_EQ(refused.status, 3);
    EXPECT_THAT(refused.errors, testing::StartsWith("kvn: none.jsonl: "));
    EXPECT_EQ(kvn({"trace", "/dev/null"}).status, 3);
}

TEST_F(KvnTrace, HostileTextsAreShownEscapedAndCut)
{
    write("run.jsonl", std::string{HEAD} + "{\"call\":\"MwOpenS\",\"in\":{\"board_type\":\"\\u001b[2J" +
                           std::string(200, 'x') +
                           "\"},\"result\":0,\"t\":18446744073709551615,\"took\":18446744073709551615}\n");
    const std::string output = kvn({"trace", "run.jsonl"}).output;
    EXPECT_THAT(output, HasSubstr("\\x1B[2Jxxx"));
    EXPECT_THAT(output, HasSubstr("xxx..."));
    EXPECT_THAT(kvn({"trace", "run.jsonl", "--summary"}).output,
                HasSubstr("\nTime:           18446744073709.550781 s\n"));
}

TEST_F(KvnTrace, PrintsJson)
{
    write("run.jsonl", RUN);
    const nlohmann::json document = json({"trace", "run.jsonl"});
    EXPECT_EQ(document["kvn"], "trace");
    EXPECT_EQ(document["cut"], false);
    EXPECT_EQ(document["summary"]["calls"], 4);
    ASSERT_EQ(document["calls"].size(), 3U);
    EXPECT_EQ(document["calls"][0]["given"]["board_type"], "mwc4a");
    EXPECT_EQ(document["calls"][1]["calls"], 2);
    EXPECT_EQ(document["calls"][2]["result"], 0x80000001U);
    EXPECT_EQ(json({"trace", "run.jsonl", "--summary"})["calls"], nullptr);
}
} // namespace
