// SPDX-License-Identifier: Apache-2.0
#include "report/errors_json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <sstream>

namespace
{
using kvn::Json;

Json document_of(int number)
{
    return kvn::errors_document(std::span{&number, 1});
}

TEST(ErrorsJson, Error9103SaysAllThatIsKnownOfIt)
{
    EXPECT_EQ(document_of(9103),
              (Json{{"kvn", "errors"},
                    {"version", "1.0"},
                    {"error", nullptr},
                    {"errors",
                     {{{"number", 9103},
                       {"text", "Error 9103. Bitstream %s is not for a %s device."},
                       {"meaning", "The part line names another device than the module has. The text names "
                                   "the module's device."},
                       {"causes", nullptr},
                       {"remedy", {"Load a bitstream made for this device, or name another slot."}},
                       {"module_state", "untouched"},
                       {"class", "the bitstream is for another device than the module has"},
                       {"exit_status", 5}}}},
                    {"statuses", Json::array()}}));
}

TEST(ErrorsJson, AnErrorWithATopicHasTheCausesAndRemedyOfThatToo)
{
    const Json errors = document_of(9105)["errors"];
    ASSERT_EQ(errors.size(), 1U);
    const kvn::TopicEntry* bus = kvn::find_topic(kvn::Topic::bus);
    ASSERT_NE(bus, nullptr);
    EXPECT_EQ(errors[0]["causes"], kvn::plain_text(bus->causes));
    EXPECT_EQ(errors[0]["remedy"].back(), kvn::plain_text(bus->remedy));
    EXPECT_EQ(errors[0]["class"], "the bus failed");
}

TEST(ErrorsJson, LinksAndStressOfThePagesAreLeftOut)
{
    const Json error = document_of(9107)["errors"][0];
    EXPECT_EQ(error["remedy"][0],
              "Make the file again. An empty line at the end has length 1: delete it. Spartan "
              "and Spartan-XL: see their page (docs/formats/spartan.md).");
    EXPECT_EQ(error["module_state"], "interrupted");
}

TEST(ErrorsJson, StatusesAreOfVirtualModulesAsFarAsTheseGiveThem)
{
    const Json refused = document_of(4)["statuses"][0];
    EXPECT_EQ(refused["status"], 4);
    EXPECT_EQ(refused["meaning"], "No error so far, but the data ended before the start-up.");
    EXPECT_EQ(refused["virtual"], true);
    EXPECT_EQ(refused["success"], false);
    EXPECT_EQ(refused["real_modules"], kvn::about_statuses());
    EXPECT_EQ(document_of(5)["statuses"][0]["success"], true);

    const Json other = document_of(200);
    EXPECT_EQ(other["errors"], Json::array());
    EXPECT_EQ(other["statuses"][0]["meaning"], "Virtual modules do not give this status.");
    EXPECT_EQ(other["statuses"][0]["remedy"], nullptr);
    EXPECT_EQ(other["statuses"][0]["virtual"], false);
}

TEST(ErrorsJson, Error9120HasBothItsTexts)
{
    const Json errors = document_of(9120)["errors"];
    ASSERT_EQ(errors.size(), 2U);
    EXPECT_EQ(errors[0]["number"], errors[1]["number"]);
    EXPECT_NE(errors[0]["text"], errors[1]["text"]);
}

TEST(ErrorsJson, NumbersThatNoErrorHasLeaveTheDocumentEmpty)
{
    for (const int number : {-1, 256, 1234, 9999}) {
        const Json json = document_of(number);
        EXPECT_EQ(json["errors"], Json::array()) << number;
        EXPECT_EQ(json["statuses"], Json::array()) << number;
        EXPECT_EQ(json["error"], nullptr);
    }
}

TEST(ErrorsJson, WithoutANumberAllErrorsAndStatusesAreThere)
{
    const Json json = kvn::errors_document({});
    EXPECT_EQ(json["errors"].size(), 219U);
    EXPECT_EQ(json["statuses"].size(), 10U);
    for (const Json& error : json["errors"])
        EXPECT_FALSE(kvn::entries_of(error["number"]).empty()) << error["number"];
    for (const Json& status : json["statuses"])
        EXPECT_TRUE(kvn::is_load_status(status["status"])) << status["status"];
}

TEST(ErrorsJson, SeveralNumbersKeepTheirOrder)
{
    constexpr std::array numbers = {9118, 4, 9103};
    const Json json = kvn::errors_document(numbers);
    ASSERT_EQ(json["errors"].size(), 2U);
    EXPECT_EQ(json["errors"][0]["number"], 9118);
    EXPECT_EQ(json["errors"][1]["number"], 9103);
    EXPECT_EQ(json["statuses"].size(), 1U);
}

TEST(FailureJson, NamesTheClassOfEachFailure)
{
    using kvn::ExitStatus;
    struct Row {
        ExitStatus status;
        const char* kind;
    };
    for (const Row& row :
         {Row{ExitStatus::internal, "internal"}, Row{ExitStatus::usage, "usage"},
          Row{ExitStatus::file, "file"}, Row{ExitStatus::damaged, "damaged"},
          Row{ExitStatus::wrong_device, "wrong device"}, Row{ExitStatus::no_module, "no module"},
          Row{ExitStatus::bus, "bus"}, Row{ExitStatus::refused, "refused"},
          Row{ExitStatus::several, "several"}, Row{ExitStatus::rehearsal, "rehearsal"},
          Row{ExitStatus::cancelled, "cancelled"}, Row{ExitStatus::timed_out, "timed out"}}) {
        const Json json = kvn::failure_json({.status = row.status, .what = "so it is"});
        EXPECT_EQ(json["error"]["kind"], row.kind);
        EXPECT_EQ(json["error"]["what"], "so it is");
        EXPECT_EQ(json["kvn"], "failure");
    }
}

TEST(HelpJson, IsPrintedWithTwoBlanksForEachLevel)
{
    std::ostringstream out;
    kvn::print_json(out, kvn::help_json("usage: kvn \xFF"));
    EXPECT_EQ(out.str(), "{\n  \"kvn\": \"help\",\n  \"version\": \"1.0\",\n  \"error\": null,\n"
                         "  \"help\": \"usage: kvn \xEF\xBF\xBD\"\n}\n");
}

TEST(InspectionJson, HasTheTimeOnTheBusWhereARateIsGiven)
{
    kvn::Estimate estimate;
    estimate.bytes_per_second = 1000.0;
    estimate.plain.seconds = 2.5;
    const Json time = kvn::to_json(kvn::Inspection{}, estimate)["bus_time"];
    EXPECT_EQ(time,
              (Json{{"bytes_per_second", 1000.0}, {"plain_seconds", 2.5}, {"compressed_seconds", nullptr}}));
}
} // namespace
