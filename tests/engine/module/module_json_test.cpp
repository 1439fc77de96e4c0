// SPDX-License-Identifier: Apache-2.0
// Boards, slots, records and failures as JSON.
#include "report/module_json.h"

#include <gtest/gtest.h>

namespace
{
using kvn::Json;
using kvn::Source;

const kvn::Failure FAILURE{.status = kvn::ExitStatus::bus,
                           .number = 9061,
                           .what = "Error 9061. Cannot receive.",
                           .why = "a cable",
                           .remedy = "look"};

TEST(ModuleJson, HasAllMembersOfAFailure)
{
    EXPECT_EQ(kvn::to_json(FAILURE).dump(),
              R"({"status":7,"class":"the bus failed","number":9061,"what":"Error 9061. Cannot receive.",)"
              R"("why":"a cable","remedy":"look"})");
    EXPECT_EQ(kvn::to_json(kvn::Failure{.status = kvn::ExitStatus::cancelled, .what = "it was"}).dump(),
              R"({"status":11,"class":"cancelled","number":null,"what":"it was","why":null,"remedy":null})");
}

TEST(ModuleJson, HasAllMembersOfABoard)
{
    kvn::BoardRow board{.name = {"mwc4a", 3}, .info_word = 7};
    board.slots.push_back({.name = {.board = {"mwc4a", 3}, .slot = 1},
                           .kind = kvn::SlotKind::module,
                           .info_words = std::array<std::uint32_t, 5>{1, 0, 1, 0, 9},
                           .module = kvn::ModuleIdentity{.type = 4,
                                                         .model = 5,
                                                         .version = 2,
                                                         .device = "2v40cs144-4",
                                                         .compression = kvn::Compression::yes}});
    EXPECT_EQ(kvn::to_json(board).dump(),
              R"({"board":"mwc4a:3","board_type":"mwc4a","number":3,"info_word":7,"slots":[)"
              R"({"module":"mwc4a:3/1","slot":1,"kind":"module","info_words":[1,0,1,0,9],"identity":)"
              R"({"type":4,"type_name":"KAVRIN-IO","model":5,"version":2,"device":"2v40cs144-4",)"
              R"("device_part":{"device":"2v40","package":"cs144","speed_grade":"4"},"compression":"yes"},)"
              R"("failure":null}],"failure":null})");
}

TEST(ModuleJson, HasNullForWhatIsUnknown)
{
    EXPECT_EQ(kvn::to_json(kvn::BoardRow{.name = {"mwc4a", 0}, .failure = FAILURE})["failure"]["number"],
              9061);
    const kvn::SlotRow slot{.name = {.board = {"mwc4a", 0}, .target_board = 2, .slot = 4}};
    EXPECT_EQ(kvn::to_json(slot).dump(),
              R"({"module":"mwc4a:0/2.4","slot":4,"kind":"unknown","info_words":null,)"
              R"("identity":null,"failure":null})");
    EXPECT_EQ(kvn::to_json(kvn::ModuleIdentity{.type = 9}).dump(),
              R"({"type":9,"type_name":"type 9","model":null,"version":null,"device":null,)"
              R"("device_part":null,"compression":"unknown"})");
    EXPECT_EQ(kvn::to_json(kvn::ProviderIdentity{.name = "virtual"}).dump(),
              R"({"name":"virtual","file":null,"version":null,"announcement":null,"simulated":false})");
    EXPECT_EQ(kvn::to_json(kvn::Progress{.bytes = 2}).dump(),
              R"({"bytes":2,"total":null,"seconds":0.0,"bytes_per_second":null,"seconds_left":null})");
}

TEST(ModuleJson, HasEachFactOfARecordAndItsSource)
{
    kvn::Record record;
    record.module = {{.board = {"mwc4a", 0}, .slot = 2}, Source::given};
    record.file = kvn::Fact<std::string>{"design.bit", Source::given};
    record.device = kvn::Fact<std::string>{"2v40cs144-4", Source::observed};
    record.mode = kvn::Fact<kvn::LoadKind>{kvn::LoadKind::compressed, Source::intended};
    record.wire_bytes = kvn::Fact<std::uint64_t>{1234, Source::intended};
    record.begin = std::chrono::system_clock::time_point{std::chrono::milliseconds{1795319077125}};
    record.problems.push_back({"odd", "look", kvn::Stops::nothing});
    record.verdict = kvn::Verdict::cancelled;
    record.answer = 5;
    const Json json = kvn::to_json(record);
    EXPECT_EQ(json["module"], "mwc4a:0/2");
    EXPECT_EQ(json["mode"], "compressed");
    EXPECT_EQ(json["wire_bytes"], 1234);
    EXPECT_EQ(json["begin"], "2026-11-22T03:44:37.125Z");
    EXPECT_EQ(json["end"], nullptr);
    EXPECT_EQ(json["verdict"], "cancelled");
    EXPECT_EQ(json["state"], "untouched");
    EXPECT_EQ(json["answer"], 5);
    EXPECT_EQ(json["problems"].dump(), R"([{"what":"odd","remedy":"look","fatal":false}])");
    EXPECT_EQ(json["sources"].dump(), R"({"module":"given","file":"given","device":"observed",)"
                                      R"("mode":"intended","wire_bytes":"intended"})");
    std::string names;
    for (const auto& [name, value] : json.items())
        names += name + " ";
    EXPECT_EQ(names,
              "module file file_size file_sha256 digest format design part problems identity device mode "
              "wire_bytes begin end seconds_on_wire attempts verdict state answer failure serial_number "
              "operator_name station host approved_by approval_key tool_version provider sources ");
}

TEST(Verdict, HasAWord)
{
    std::string words;
    for (const kvn::Verdict verdict :
         {kvn::Verdict::configured, kvn::Verdict::refused, kvn::Verdict::failed, kvn::Verdict::cancelled,
          kvn::Verdict::timed_out, kvn::Verdict::not_tried})
        words += std::string{name_of(verdict)} + ", ";
    EXPECT_EQ(words, "configured, refused, failed, cancelled, timed out, not tried, ");
}
} // namespace
