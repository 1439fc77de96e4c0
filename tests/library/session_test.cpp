// SPDX-License-Identifier: Apache-2.0
// What sessions keep, and what they leave.
#include "library_fixture.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace
{
using nlohmann::json;

class Sessions : public LibraryTest
{
protected:
    Sessions()
    {
        add_module(0);
        open_file(session);
    }
    Session session;
};

TEST_F(Sessions, LoadWhatTheFileHolds)
{
    auto record = sized<kvn_record>();
    const kvn_load_options options = load_options();
    ASSERT_EQ(kvn_load(session, file, &options, &record), KVN_DONE) << kvn_error_text(session);
    EXPECT_EQ(carrier.contents("mwc4a", 0, 1).configuration, fpga::reverse_each(stream));
    EXPECT_TRUE(carrier.contents("mwc4a", 0, 1).done);
    EXPECT_STREQ(record.device, DEVICE);
    EXPECT_STREQ(record.format, "RBT");
    EXPECT_EQ(record.status, KVN_DONE);
    EXPECT_LE(record.begin, record.end);
    EXPECT_STREQ(kvn_error_text(session), "");
}

TEST_F(Sessions, GiveTheLastResultAsJson)
{
    auto record = sized<kvn_record>();
    const kvn_load_options options = load_options();
    ASSERT_EQ(kvn_load(session, file, &options, &record), KVN_DONE);
    const json load = json::parse(session.json());
    EXPECT_EQ(load["kvn"], "record");
    EXPECT_EQ(load["error"], nullptr);
    EXPECT_EQ(load["verdict"], "configured");
    EXPECT_EQ(load["wire_bytes"], record.wire_bytes);
    EXPECT_EQ(load["provider"]["simulated"], true);

    auto inspection = sized<kvn_inspection>();
    ASSERT_EQ(kvn_inspect(session, file, &inspection), KVN_DONE);
    EXPECT_EQ(json::parse(session.json())["kvn"], "inspection");
    char digest[KVN_DIGEST_SIZE];
    ASSERT_EQ(kvn_digest(session, file, digest, sizeof digest), KVN_DONE);
    EXPECT_EQ(json::parse(session.json())["digest"], digest);
    auto difference = sized<kvn_difference>();
    ASSERT_EQ(kvn_compare(session, file, file, &difference), KVN_DONE);
    EXPECT_EQ(json::parse(session.json())["same_configuration"], true);
    auto estimate = sized<kvn_estimate_info>();
    ASSERT_EQ(kvn_estimate(session, file, nullptr, &estimate), KVN_DONE);
    EXPECT_EQ(json::parse(session.json())["plain"]["bus_bytes"], estimate.plain_wire_bytes);
    ASSERT_EQ(kvn_list(session, "mwc4a", 0), KVN_DONE);
    EXPECT_EQ(json::parse(session.json())["boards"][0]["board"], "mwc4a:0");
    auto slot = sized<kvn_slot_info>();
    ASSERT_EQ(kvn_identify(session, "mwc4a:0/1", &slot), KVN_DONE);
    EXPECT_EQ(json::parse(session.json())["slots"][0]["identity"]["device"], DEVICE);
    ASSERT_EQ(kvn_provider_open(session, "virtual"), KVN_DONE);
    EXPECT_EQ(json::parse(session.json())["provider"]["name"], "virtual");
}

TEST_F(Sessions, GiveTheJsonOfAFileAsItWasRead)
{
    kvn_file* again = nullptr;
    ASSERT_EQ(kvn_file_open(session, path("design.rbt").c_str(), &again), KVN_DONE)
        << kvn_error_text(session);
    const json read = json::parse(session.json());
    EXPECT_EQ(read["kvn"], "file");
    EXPECT_EQ(read["error"], nullptr);
    EXPECT_EQ(read["file"], path("design.rbt"));
    EXPECT_EQ(read["size"], content("design.rbt").size());
    EXPECT_EQ(read["stored"]["packing"], "none");
    EXPECT_EQ(kvn_file_close(again), KVN_DONE);
}

TEST_F(Sessions, Error9103IsExplainedInJsonAsInTheStructure)
{
    auto explanation = sized<kvn_explanation>();
    ASSERT_EQ(kvn_explain(session, 9103, &explanation), KVN_DONE) << kvn_error_text(session);
    EXPECT_EQ(explanation.is_answer, 0);
    EXPECT_EQ(explanation.status, KVN_WRONG_DEVICE);
    EXPECT_EQ(explanation.state, KVN_STATE_UNTOUCHED);
    json error = json::parse(session.json());
    EXPECT_EQ(error["kvn"], "errors");
    EXPECT_EQ(error["errors"][0]["text"], explanation.text);
    EXPECT_EQ(error["errors"][0]["meaning"], explanation.meaning);
    EXPECT_EQ(error["errors"][0]["remedy"][0], explanation.remedy);

    ASSERT_EQ(kvn_explain(session, 4, &explanation), KVN_DONE) << kvn_error_text(session);
    EXPECT_EQ(explanation.is_answer, 1);
    EXPECT_EQ(explanation.status, KVN_REFUSED);
    error = json::parse(session.json());
    EXPECT_EQ(error["errors"], json::array());
    EXPECT_EQ(error["statuses"][0]["meaning"], explanation.meaning);
    EXPECT_EQ(error["statuses"][0]["remedy"], explanation.remedy);
}

TEST_F(Sessions, GiveTheJsonOfAFailure)
{
    auto difference = sized<kvn_difference>();
    ASSERT_EQ(kvn_compare(session, file, nullptr, &difference), KVN_USAGE);
    EXPECT_EQ(json::parse(session.json())["error"]["what"], "second is no open file");
    EXPECT_STREQ(kvn_error_text(session), "");
}

TEST_F(Sessions, KeepTheRowsOfAListDuringOtherOperations)
{
    ASSERT_EQ(kvn_list(session, "mwc4a", 0), KVN_DONE);
    auto before = sized<kvn_slot_info>();
    ASSERT_EQ(kvn_slot(session, 0, &before), KVN_DONE);
    auto record = sized<kvn_record>();
    const kvn_load_options options = load_options(before.module);
    ASSERT_EQ(kvn_load(session, file, &options, &record), KVN_DONE);
    auto after = sized<kvn_slot_info>();
    ASSERT_EQ(kvn_slot(session, 0, &after), KVN_DONE);
    EXPECT_EQ(before.device, after.device);
    EXPECT_STREQ(after.device, DEVICE);
}

TEST_F(Sessions, KeepTheTextsOfAnOperationDuringReaders)
{
    auto inspection = sized<kvn_inspection>();
    ASSERT_EQ(kvn_inspect(session, file, &inspection), KVN_DONE);
    auto progress = sized<kvn_progress_info>();
    EXPECT_EQ(kvn_progress(session, &progress), KVN_DONE);
    EXPECT_EQ(kvn_slot(session, 0, nullptr), KVN_USAGE);
    EXPECT_EQ(json::parse(session.json())["part"], inspection.part);
    EXPECT_STREQ(inspection.part, "2v40cs144");
}

TEST_F(Sessions, CallByCallReplaceTheText)
{
    EXPECT_EQ(kvn_list(session, "mwc4a", 16), KVN_USAGE);
    EXPECT_STREQ(kvn_error_text(session), "board is 16");
    EXPECT_STREQ(kvn_error_text(nullptr), "board is 16");
    EXPECT_EQ(kvn_list(session, "mwc4a", 0), KVN_DONE);
    EXPECT_STREQ(kvn_error_text(session), "");
    EXPECT_STREQ(kvn_error_remedy(session), "");
    EXPECT_STREQ(kvn_error_text(nullptr), "");
}

TEST_F(Sessions, Error9118OfARefusedLoadHasItsNumberAndRemedy)
{
    carrier.board("mwc4a", 0).flips_byte(400, 0x10);
    auto record = sized<kvn_record>();
    auto options = load_options();
    options.mode = KVN_MODE_PLAIN;
    EXPECT_EQ(kvn_load(session, file, &options, &record), KVN_REFUSED);
    EXPECT_EQ(record.verdict, KVN_VERDICT_REFUSED);
    EXPECT_EQ(record.state, KVN_STATE_REFUSED);
    EXPECT_EQ(record.number, 9118);
    EXPECT_EQ(kvn_error_number(session), 9118);
    EXPECT_EQ(kvn_error_number(nullptr), 9118);
    EXPECT_STREQ(kvn_error_text(session), record.what);
    EXPECT_STREQ(kvn_error_remedy(session), record.remedy);
}

TEST_F(Sessions, ListSeveralBoardsOfWhichSomeCannotBeOpened)
{
    ASSERT_EQ(kvn_list(session, "mwc4a", KVN_ALL_BOARDS), KVN_DONE);
    EXPECT_EQ(kvn_list(session, "mwc9x", KVN_ALL_BOARDS), KVN_NO_MODULE) << kvn_error_text(session);
    std::size_t count = 0;
    EXPECT_EQ(kvn_board_count(session, &count), KVN_DONE);
    EXPECT_EQ(count, 16U);
}

TEST_F(Sessions, CheckAFileThatNobodyCanJudge)
{
    kvn_file* nameless = nullptr;
    const std::string data = content("design.rbt");
    std::string without_part = data;
    without_part.replace(without_part.find("2v40cs144"), std::strlen("2v40cs144"), "9x99zz999");
    ASSERT_EQ(kvn_file_from_memory(session, without_part.data(), without_part.size(), "other.rbt", &nameless),
              KVN_DONE);
    auto judgement = sized<kvn_judgement>();
    EXPECT_EQ(kvn_check(session, nameless, nullptr, KVN_MODE_AS_TAKEN, &judgement), KVN_USAGE);
    EXPECT_EQ(judgement.starts, KVN_UNKNOWN);
    EXPECT_EQ(kvn_check(session, nameless, DEVICE, KVN_MODE_AS_TAKEN, &judgement), KVN_WRONG_DEVICE);
    EXPECT_EQ(judgement.starts, 0);
    EXPECT_EQ(kvn_file_close(nameless), KVN_DONE);
}

TEST_F(Sessions, OutliveNoFileAndNoFileOutlivesALoadThatUsesIt)
{
    auto options = load_options();
    options.user_data = &file;
    options.progress = [](void* data, const kvn_progress_info*) {
        auto& open = *static_cast<kvn_file**>(data);
        if (open != nullptr) {
            EXPECT_EQ(kvn_file_close(open), KVN_DONE);
        }
        open = nullptr;
        return 0;
    };
    auto record = sized<kvn_record>();
    EXPECT_EQ(kvn_load(session, file, &options, &record), KVN_DONE) << kvn_error_text(session);
    EXPECT_EQ(kvn_load(session, file, &options, &record), KVN_USAGE);
}

TEST_F(Sessions, WriteOnlyTheKnownPartOfALargerStructure)
{
    struct {
        kvn_inspection known;
        unsigned char added[64];
    } newer{};
    std::memset(newer.added, 0xA5, sizeof newer.added);
    newer.known.size = sizeof newer;
    ASSERT_EQ(kvn_inspect(session, file, &newer.known), KVN_DONE) << kvn_error_text(session);
    EXPECT_EQ(newer.known.size, sizeof newer);
    EXPECT_STREQ(newer.known.device, "2v40");
    for (const unsigned char byte : newer.added)
        EXPECT_EQ(byte, 0xA5);
}

TEST_F(Sessions, RefuseOptionsThatTheyDoNotKnow)
{
    struct {
        kvn_load_options known;
        unsigned char added[8];
    } newer{};
    newer.known = load_options();
    newer.known.size = sizeof newer;
    auto record = sized<kvn_record>();
    EXPECT_EQ(kvn_load(session, file, &newer.known, &record), KVN_DONE) << kvn_error_text(session);
    newer.added[7] = 1;
    EXPECT_EQ(kvn_load(session, file, &newer.known, &record), KVN_USAGE);
    EXPECT_STREQ(kvn_error_text(session), "kvn_load_options has options that this library does not know");
}

TEST_F(Sessions, StateTheLeastSizeOfAStructure)
{
    auto difference = sized<kvn_difference>();
    difference.size = 4;
    EXPECT_EQ(kvn_compare(session, file, file, &difference), KVN_USAGE);
    EXPECT_STREQ(kvn_error_text(session), "the size in kvn_difference is 4");
    EXPECT_STREQ(kvn_error_remedy(session), "set size to sizeof(kvn_difference) before the call");
}

TEST_F(Sessions, GiveUtf8WhateverAFileIsCalled)
{
    kvn_file* odd = nullptr;
    const std::string data = content("design.rbt");
    const char* const name = "gr\xC3\xBC\xDF\xE0\x80\xF0\x9F\x98\x80\xED\xA0\x80.rbt";
    ASSERT_EQ(kvn_file_from_memory(session, data.data(), data.size(), name, &odd), KVN_DONE);
    auto inspection = sized<kvn_inspection>();
    EXPECT_EQ(kvn_inspect(session, odd, &inspection), KVN_DONE);
    constexpr const char* replaced = "\xEF\xBF\xBD";
    EXPECT_EQ(std::string{inspection.name}, std::string{"gr\xC3\xBC"} + replaced + replaced + replaced +
                                                "\xF0\x9F\x98\x80" + replaced + replaced + replaced + ".rbt");
    EXPECT_TRUE(json::accept(session.json()));
    EXPECT_EQ(kvn_file_close(odd), KVN_DONE);
}

TEST_F(Sessions, ReplaceEachByteThatIsNoCharacter)
{
    constexpr const char* R = "\xEF\xBF\xBD";
    struct Case {
        std::string name;
        std::string given;
    };
    const Case cases[] = {{"\xE0\xA0\x80", "\xE0\xA0\x80"},
                          {"\xE0\x9F\x80", std::string{R} + R + R},
                          {"\xED\x9F\xBF", "\xED\x9F\xBF"},
                          {"\xF0\x90\x80\x80", "\xF0\x90\x80\x80"},
                          {"\xF0\x8F\x80\x80", std::string{R} + R + R + R},
                          {"\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},
                          {"\xF4\x90\x80\x80", std::string{R} + R + R + R},
                          {"\xF5\x80", std::string{R} + R},
                          {"\xC1\x80", std::string{R} + R},
                          {"\xE2\x82", std::string{R} + R},
                          {"\xE2\x82z", std::string{R} + R + "z"},
                          {"\x80", R}};
    const std::string data = content("design.rbt");
    for (const Case& row : cases) {
        kvn_file* odd = nullptr;
        ASSERT_EQ(kvn_file_from_memory(session, data.data(), data.size(), row.name.c_str(), &odd), KVN_DONE);
        auto inspection = sized<kvn_inspection>();
        EXPECT_EQ(kvn_inspect(session, odd, &inspection), KVN_DONE);
        EXPECT_EQ(inspection.name, row.given);
        EXPECT_EQ(kvn_file_close(odd), KVN_DONE);
    }
}

TEST_F(Sessions, GiveTheTextsOfTheThreadWhileACallRuns)
{
    auto options = load_options();
    kvn_session* const running = session;
    options.user_data = running;
    options.progress = [](void* data, const kvn_progress_info*) {
        auto* const own = static_cast<kvn_session*>(data);
        EXPECT_EQ(kvn_list(own, "mwc4a", 0), KVN_USAGE);
        EXPECT_STREQ(kvn_error_text(own), "another call is running in this session");
        EXPECT_STREQ(kvn_error_why(own),
                     "a session serves one call at a time, and none from within its own progress function");
        EXPECT_STREQ(kvn_error_remedy(own), "use a session for each thread");
        EXPECT_EQ(kvn_error_number(own), 0);
        return 0;
    };
    auto record = sized<kvn_record>();
    EXPECT_EQ(kvn_load(session, file, &options, &record), KVN_DONE);
    EXPECT_STREQ(kvn_error_text(session), "");
}

TEST_F(Sessions, CutTheTextsOfAThreadBetweenCharacters)
{
    std::string path;
    for (int i = 0; i < 600; ++i)
        path += "\xC3\xBC";
    kvn_file* none = nullptr;
    EXPECT_EQ(kvn_file_open(session, ("/x/" + path).c_str(), &none), KVN_FILE);
    const std::string whole = kvn_error_text(session);
    const std::string cut = kvn_error_text(nullptr);
    EXPECT_GT(whole.size(), 1200U);
    EXPECT_TRUE(cut.size() == 500 || cut.size() == 499) << cut.size();
    EXPECT_EQ(cut, whole.substr(0, cut.size()));
    EXPECT_TRUE(json::accept('"' + cut + '"'));
}

TEST_F(Sessions, ConvertToTheNameOfTheSource)
{
    auto options = sized<kvn_convert_options>();
    options.format = KVN_FORMAT_MCB;
    auto conversion = sized<kvn_conversion>();
    ASSERT_EQ(kvn_convert(session, file, &options, &conversion), KVN_DONE) << kvn_error_text(session);
    EXPECT_EQ(conversion.target, path("design.mcb"));
    EXPECT_EQ(conversion.bytes, content("design.mcb").size());
    EXPECT_EQ(json::parse(session.json())["target"], path("design.mcb"));
}

TEST_F(Sessions, OfClosedHandlesNeverMeetNewOnes)
{
    kvn_session* closed = nullptr;
    ASSERT_EQ(kvn_open(&closed), KVN_DONE);
    ASSERT_EQ(kvn_close(closed), KVN_DONE);
    kvn_session* next = nullptr;
    ASSERT_EQ(kvn_open(&next), KVN_DONE);
    EXPECT_NE(next, closed);
    EXPECT_EQ(kvn_list(closed, "mwc4a", 0), KVN_USAGE);
    EXPECT_STREQ(kvn_error_text(closed), "the session is not open");
    EXPECT_STREQ(kvn_error_text(next), "");
    EXPECT_EQ(kvn_close(next), KVN_DONE);
}

TEST_F(Sessions, LeaveOtherThreadsTheirTexts)
{
    EXPECT_EQ(kvn_open(nullptr), KVN_USAGE);
    std::thread{[] {
        EXPECT_STREQ(kvn_error_text(nullptr), "");
        EXPECT_EQ(kvn_file_close(nullptr), KVN_USAGE);
        EXPECT_STREQ(kvn_error_text(nullptr), "file is no open file");
    }}.join();
    EXPECT_STREQ(kvn_error_text(nullptr), "session is null");
}

TEST_F(Sessions, GiveTheRestOfAnExceptionOfAProgressFunctionAsAFailedLoad)
{
    auto options = load_options();
    options.progress = [](void*, const kvn_progress_info*) -> int { throw std::runtime_error{"lost"}; };
    auto record = sized<kvn_record>();
    EXPECT_EQ(kvn_load(session, file, &options, &record), KVN_BUS);
    EXPECT_EQ(record.verdict, KVN_VERDICT_FAILED);
}
} // namespace
