// SPDX-License-Identifier: Apache-2.0
// kvn explain: error numbers, for people and as JSON.
#include "kvn_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace
{
class KvnExplain : public KvnTest
{
};

TEST_F(KvnExplain, GivesMeaningRemedyModuleStateAndExitStatus)
{
    const Outcome explained = kvn({"explain", "9103"});
    EXPECT_EQ(explained.status, 0);
    EXPECT_EQ(
        explained.output,
        "Error:          9103\n"
        "Text:           Error 9103. Bitstream %s is not for a %s device.\n"
        "Meaning:        The part line names another device than the module has. The text names the module's "
        "device.\n"
        "Try:            Load a bitstream made for this device, or name another slot.\n"
        "Module:         untouched: nothing of the load has reached it\n"
        "Exit status:    5, the bitstream is for another device than the module has\n");
}

TEST_F(KvnExplain, GivesCausesAndRemedyThatErrorsShare)
{
    const std::string output = kvn({"explain", "9280"}).output;
    EXPECT_THAT(output,
                testing::HasSubstr("\nWhy:            The file ended too early, or could not be read.\n"
                                   "Try:            Compare its size with the original, "));
}

TEST_F(KvnExplain, ShowsBothTextsOfANumberAndSeveralNumbers)
{
    const std::string output = kvn({"explain", "9113", "9000"}).output;
    EXPECT_THAT(output,
                testing::HasSubstr("Text:           Error 9113. Configuration successfull, but found "));
    EXPECT_THAT(output, testing::HasSubstr(
                            "\n\nError:          9113\nText:           Error 9113. Incorrect number "));
    EXPECT_THAT(output, testing::HasSubstr("\n\nError:          9000\n"));
}

TEST_F(KvnExplain, ListsAllNumbersWithoutOne)
{
    const Outcome listed = kvn({"explain"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(std::count(listed.output.begin(), listed.output.end(), '\n'), 219 + 15);
    EXPECT_THAT(listed.output, testing::StartsWith("Calls from an application\n  9215  "));
}

TEST_F(KvnExplain, ANumberThatIsNoneIsAnErrorWithTheNearest)
{
    const Outcome refused = kvn({"explain", "9999"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(refused.errors,
              "kvn: no error has the number 9999; the nearest is 9422. kvn explain lists all\n");
    EXPECT_EQ(json({"explain", "9999"})["error"]["kind"], "usage");
    EXPECT_EQ(kvn({"explain", "nine"}).status, 2);
}

TEST_F(KvnExplain, PrintsJson)
{
    const nlohmann::json document = json({"explain", "9105", "9103"});
    EXPECT_EQ(document["kvn"], "errors");
    EXPECT_EQ(document["version"], "1.0");
    ASSERT_EQ(document["errors"].size(), 2U);
    const nlohmann::json& bus = document["errors"][0];
    EXPECT_EQ(bus["number"], 9105);
    EXPECT_EQ(bus["text"], "Error 9105. Cannot start KSB message, slot 0x%x (via '%s %d') (%s).");
    EXPECT_EQ(bus["meaning"], "The load message could not be begun.");
    EXPECT_EQ(bus["module_state"], "untouched");
    EXPECT_EQ(bus["class"], "the bus failed");
    EXPECT_EQ(bus["exit_status"], 7);
    EXPECT_EQ(bus["remedy"].size(), 1U);
    EXPECT_TRUE(document["errors"][1]["causes"].is_null());
    EXPECT_EQ(json({"explain"})["errors"].size(), 219U);
}

TEST_F(KvnExplain, ExplainsTheStatusOfALoadAndWhatItCannotTell)
{
    const Outcome explained = kvn({"explain", "8"});
    EXPECT_EQ(explained.status, 0);
    EXPECT_THAT(
        explained.output,
        testing::StartsWith("Load status:    8\n"
                            "Meaning:        A compressed load was sent to a module that accepts only "
                            "plain ones.\n"
                            "Try:            Load without compression: KVN_FPGA -n, kvn load --plain.\n"
                            "Real modules:   These are the statuses of virtual modules."));
    EXPECT_THAT(explained.output,
                testing::EndsWith("\nModule:         refused: it has all data and does not run\n"));
    EXPECT_THAT(kvn({"explain", "5"}).output, testing::HasSubstr("\nModule:         configured: "));
    EXPECT_THAT(kvn({"explain", "200"}).output,
                testing::HasSubstr("Virtual modules do not give this status."));
    const nlohmann::json document = json({"explain", "9103", "4", "200"});
    EXPECT_EQ(document["errors"].size(), 1U);
    ASSERT_EQ(document["statuses"].size(), 2U);
    EXPECT_EQ(document["statuses"][0]["virtual"], true);
    EXPECT_EQ(document["statuses"][1]["virtual"], false);
    EXPECT_TRUE(document["statuses"][1]["remedy"].is_null());
    EXPECT_EQ(json({"explain"})["statuses"].size(), 10U);
}

TEST_F(KvnExplain, NoTextShowsMarkdown)
{
    const std::string output = kvn({"explain"}).output;
    EXPECT_EQ(output.find('`'), std::string::npos);
    EXPECT_EQ(output.find("]("), std::string::npos);
    EXPECT_EQ(output.find("**"), std::string::npos);
}
} // namespace
