// SPDX-License-Identifier: Apache-2.0
// What is read from a journal, and which changes of it are found.
#include "run/journal_reader.h"

#include "hashing/sha256.h"
#include "run/journal_line.h"
#include "support/folder_test.h"
#include "support/journals.h"
#include "support/special_files.h"

#include <gmock/gmock.h>

#include <fstream>
#include <optional>
#include <utility>

namespace
{
using journals::begun;
using journals::finished;
using kvn::ExitStatus;
using kvn::JournalContent;
using kvn::JournalDamage;
using kvn::JournalModule;
using kvn::Json;
using kvn::ModuleState;
using kvn::Verdict;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* WRONG_SUM = "its bytes do not have the sum that it ends with";
constexpr const char* DOES_NOT_FOLLOW =
    "it does not follow the line before it: lines were removed, added or moved here";

class JournalReader : public FolderTest
{
protected:
    JournalReader() { journals::write_good(file()); }

    [[nodiscard]] std::string file() const { return path("rack.journal"); }
    [[nodiscard]] JournalContent inspect() const { return kvn::inspect_journal(file()); }

    [[nodiscard]] bool is_damaged() const
    {
        try {
            return inspect().damage.has_value();
        } catch (const kvn::FailureError& error) {
            return error.failure().status == ExitStatus::damaged;
        }
    }

    /// Replaces the journal by one with a line of each kind.
    [[nodiscard]] std::string small_journal() const
    {
        std::filesystem::remove(file());
        kvn::Journal journal{file(), journals::header(), journals::planned(1)};
        for (const Json& event : {begun(0), finished(0), journals::result(1)})
            journal.append(event);
        return content("rack.journal");
    }

    /// What is wrong with the journal when it has this content; "" for nothing.
    [[nodiscard]] std::string problem_of(const std::string& text) const
    {
        write("rack.journal", text);
        try {
            const JournalContent content = inspect();
            return content.damage ? std::to_string(content.damage->line) + ": " + content.damage->what : "";
        } catch (const kvn::FailureError& error) {
            EXPECT_EQ(error.failure().status, ExitStatus::damaged);
            return error.failure().what;
        }
    }

    [[nodiscard]] std::string problem_of_lines(const std::vector<std::string>& all) const
    {
        std::string text;
        for (const std::string& line : all)
            text += line + '\n';
        return problem_of(text);
    }

    /// The good journal's lines up to `planned`, and a line of this text that fits the chain.
    [[nodiscard]] std::string problem_with(const Json& members) const
    {
        const std::vector<std::string> all = lines("rack.journal");
        return problem_of(all[0] + '\n' + all[1] + '\n' +
                          kvn::seal_line(members, kvn::check_seal(all[1])->sha256).text);
    }

    [[nodiscard]] std::string not_a_journal(const std::string& why) const
    {
        return file() + " is no journal: " + why;
    }
};

TEST_F(JournalReader, ReadsWhatWasWritten)
{
    const JournalContent content = inspect();
    EXPECT_EQ(content.file, file());
    EXPECT_EQ(content.header, journals::header());
    EXPECT_EQ(content.planned, journals::planned(2)["modules"]);
    EXPECT_THAT(content.events,
                ElementsAre(begun(0, 1), finished(0), begun(1, 2), finished(1), journals::result(2)));
    EXPECT_EQ(content.lines, 7U);
    EXPECT_EQ(content.head, kvn::check_seal(lines("rack.journal").back())->sha256);
    EXPECT_EQ(content.torn_bytes, 0U);
    EXPECT_TRUE(content.has_result);
    EXPECT_FALSE(content.is_being_written);
    EXPECT_EQ(content.damage, std::nullopt);
}

TEST_F(JournalReader, FindsEveryByteThatWasChanged)
{
    const std::string good = small_journal();
    std::fstream bytes{file(), std::ios::in | std::ios::out | std::ios::binary};
    const auto set = [&](std::size_t place, char byte) {
        bytes.seekp(static_cast<std::streamoff>(place)).put(byte).flush();
    };
    for (std::size_t place = 0; place < good.size(); ++place) {
        for (const char changed : {static_cast<char>(good[place] ^ 1), '\n'}) {
            set(place, changed);
            ASSERT_TRUE(changed == good[place] || is_damaged()) << "byte " << place << " is " << int{changed};
        }
        set(place, good[place]);
    }
    EXPECT_FALSE(is_damaged());
}

TEST_F(JournalReader, FindsEveryByteThatWasRemoved)
{
    const std::string good = small_journal();
    for (std::size_t place = 0; place + 1 < good.size(); ++place)
        ASSERT_NE(problem_of(std::string{good}.erase(place, 1)), "") << place;
}

TEST_F(JournalReader, FindsEveryLineThatWasRemoved)
{
    const std::vector<std::string> good = lines("rack.journal");
    for (std::size_t place = 0; place + 1 < good.size(); ++place) {
        std::vector<std::string> bad = good;
        bad.erase(bad.begin() + static_cast<std::ptrdiff_t>(place));
        EXPECT_EQ(problem_of_lines(bad), place == 0 ? not_a_journal("it does not begin as one")
                                                    : std::to_string(place + 1) + ": " + DOES_NOT_FOLLOW);
    }
}

TEST_F(JournalReader, TheLastLinesCanBeRemovedAndTheResultIsMissing)
{
    std::vector<std::string> all = lines("rack.journal");
    const std::string head = kvn::check_seal(all.back())->sha256;
    all.pop_back();
    EXPECT_EQ(problem_of_lines(all), "");
    EXPECT_FALSE(inspect().has_result);
    EXPECT_FALSE(kvn::inspect_journal(file(), head).has_asked_head) << "what a noted hash finds";
}

TEST_F(JournalReader, FindsLinesThatWereSwappedOrDoubled)
{
    const std::vector<std::string> good = lines("rack.journal");
    for (std::size_t place = 1; place + 1 < good.size(); ++place) {
        std::vector<std::string> swapped = good;
        std::swap(swapped[place], swapped[place + 1]);
        EXPECT_EQ(problem_of_lines(swapped), std::to_string(place + 1) + ": " + DOES_NOT_FOLLOW);
        std::vector<std::string> doubled = good;
        doubled.insert(doubled.begin() + static_cast<std::ptrdiff_t>(place), good[place]);
        EXPECT_EQ(problem_of_lines(doubled), std::to_string(place + 2) + ": " + DOES_NOT_FOLLOW);
    }
}

TEST_F(JournalReader, FindsLinesOfAnotherJournal)
{
    std::vector<std::string> all = lines("rack.journal");
    all.push_back(all[2]);
    EXPECT_EQ(problem_of_lines(all), std::string{"8: "} + DOES_NOT_FOLLOW);
    all.back() = "{}";
    EXPECT_EQ(problem_of_lines(all), std::string{"8: "} + WRONG_SUM);
    all.back() = "";
    EXPECT_EQ(problem_of_lines(all), std::string{"8: "} + WRONG_SUM);
}

TEST_F(JournalReader, FindsBytesAfterTheEnd)
{
    std::string text = content("rack.journal");
    text.back() = ' ';
    EXPECT_EQ(problem_of(text), "7: bytes follow its end");
}

TEST_F(JournalReader, EveryTornLastLineIsToldFromAChange)
{
    const std::string good = content("rack.journal");
    const std::size_t last = good.rfind('\n', good.size() - 2) + 1;
    for (std::size_t size = last; size < good.size(); ++size) {
        ASSERT_EQ(problem_of(good.substr(0, size)), "") << size;
        const JournalContent content = inspect();
        ASSERT_EQ(content.lines, 6U);
        ASSERT_EQ(content.torn_bytes, size - last);
        ASSERT_FALSE(content.has_result);
    }
    EXPECT_EQ(problem_of(good.substr(0, last) + std::string(4096, '\0')), "")
        << "as a power failure leaves it";
    EXPECT_EQ(inspect().torn_bytes, 4096U);
}

TEST_F(JournalReader, AChangeBeforeATornLineIsFound)
{
    std::string text = content("rack.journal");
    text.resize(text.size() - 9);
    text[text.find("configured")] = 'C';
    EXPECT_EQ(problem_of(text), std::string{"4: "} + WRONG_SUM);
}

TEST_F(JournalReader, WhatFollowsAChangeIsNotRead)
{
    std::string text = content("rack.journal");
    text[text.find("\"attempt\":1,\"at\":\"2026-11-22T03:44:39") + 10] = '2';
    EXPECT_EQ(problem_of(text), std::string{"5: "} + WRONG_SUM);
    const JournalContent content = inspect();
    EXPECT_THAT(content.events, ElementsAre(begun(0, 1), finished(0)));
    EXPECT_EQ(content.lines, 4U);
    EXPECT_FALSE(content.has_result);
}

TEST_F(JournalReader, AJournalThatWasChangedIsNotUsed)
{
    std::vector<std::string> all = lines("rack.journal");
    all.erase(all.begin() + 3);
    (void)problem_of_lines(all);
    try {
        (void)kvn::read_journal(file());
        FAIL();
    } catch (const kvn::FailureError& error) {
        EXPECT_EQ(error.failure(),
                  (kvn::Failure{ExitStatus::damaged, 0, file() + " was changed: line 4: " + DOES_NOT_FOLLOW,
                                "", "use an unchanged copy of the journal"}));
    }
}

TEST_F(JournalReader, FindsALineByItsHash)
{
    for (const std::string& line : lines("rack.journal"))
        EXPECT_TRUE(kvn::inspect_journal(file(), kvn::check_seal(line)->sha256).has_asked_head);
    EXPECT_FALSE(kvn::inspect_journal(file(), std::string(64, '0')).has_asked_head);
    EXPECT_FALSE(kvn::inspect_journal(file()).has_asked_head);
}

TEST_F(JournalReader, WhoCalculatesTheRestAgainIsFoundOnlyByANotedHash)
{
    const std::string noted = inspect().head;
    std::filesystem::remove(file());
    kvn::JournalHeader forged = journals::header();
    forged.operator_name = "nobody";
    journals::write_good(file(), forged);
    EXPECT_EQ(inspect().damage, std::nullopt);
    EXPECT_FALSE(kvn::inspect_journal(file(), noted).has_asked_head);
}

TEST_F(JournalReader, HostileFilesAreNoJournals)
{
    EXPECT_EQ(problem_of(""), not_a_journal("it does not begin as one"));
    EXPECT_EQ(problem_of("\n\n\n"), not_a_journal("it does not begin as one"));
    EXPECT_EQ(problem_of("{\"kvn\":\"journal\""), not_a_journal("line 1: it has no end"));
    EXPECT_EQ(problem_of("{\"kvn\":\"journal\"}\n"), not_a_journal(std::string{"line 1: "} + WRONG_SUM));
    const auto header = [](const Json& members) { return kvn::seal_line(members, std::nullopt).text; };
    EXPECT_EQ(problem_of(header({{"kvn", "journal"}})), not_a_journal("line 1: it has no member version"));
    EXPECT_EQ(problem_of(header({{"kvn", "journal"}, {"version", "2.0"}})),
              not_a_journal("line 1: its version is 2.0, and this kvn reads 1"));
    EXPECT_EQ(problem_of(header({{"kvn", "journal"}, {"version", 1}})),
              not_a_journal("line 1: version is no text"));
}

TEST_F(JournalReader, EachMemberOfTheHeaderIsChecked)
{
    Json good = Json::parse(lines("rack.journal").front());
    good.erase("previous");
    good.erase("sum");
    const auto problem = [&](const char* name, const Json& value) {
        Json bad = good;
        bad[name] = value;
        return problem_of(kvn::seal_line(bad, std::nullopt).text);
    };
    const auto wrong = [&](const char* what) { return not_a_journal(std::string{"line 1: "} + what); };
    EXPECT_EQ(problem("at", "yesterday"), wrong("at is no time"));
    EXPECT_EQ(problem("tool", nullptr), wrong("tool is no text"));
    EXPECT_EQ(problem("host", 7), wrong("host is no text"));
    EXPECT_EQ(problem("boot_id", 7), wrong("boot_id is no text"));
    EXPECT_EQ(problem("operator_name", 7), wrong("operator_name is no text"));
    EXPECT_EQ(problem("station", 7), wrong("station is no text"));
    EXPECT_EQ(problem("plan", 7), wrong("plan is no text"));
    EXPECT_EQ(problem("plan_sha256", 7), wrong("plan_sha256 is no text"));
    EXPECT_EQ(problem("provider", "x"), wrong("provider is no object"));
    EXPECT_EQ(problem("continues", "old.journal"), wrong("continues and previous contradict each other"));
    EXPECT_EQ(problem_of(kvn::seal_line(good, std::string(64, '1')).text),
              wrong("continues and previous contradict each other"));
    EXPECT_EQ(problem_of(kvn::seal_line(good, std::string(64, 'X')).text), wrong(WRONG_SUM));
}

TEST_F(JournalReader, LinesThatFitAndAreNoEventsAreDamage)
{
    EXPECT_EQ(problem_with({{"event", "begun"}}), "3: begun has no member module");
    EXPECT_EQ(problem_with({{"event", "kept"}, {"module", "mwc4a:0/1"}}), "3: finished has no member record");
    EXPECT_EQ(problem_with({{"no", "event"}}), "3: the line has no member event");
    EXPECT_EQ(problem_with(
                  {{"event", "begun"}, {"event2", Json::parse(std::string(20, '[') + std::string(20, ']'))}}),
              "3: it has more than 16 levels");
}

TEST_F(JournalReader, TheSecondLineSaysWhatWasPlanned)
{
    const std::vector<std::string> all = lines("rack.journal");
    EXPECT_EQ(problem_of(all[0] + '\n' + kvn::seal_line(begun(0), kvn::check_seal(all[0])->sha256).text),
              "2: it does not say what was planned");
    EXPECT_EQ(problem_of(all[0] + '\n'), "") << "a run that was killed there";
    EXPECT_EQ(inspect().planned, Json::array());
}

TEST_F(JournalReader, EventsOfLaterVersionsAreIgnored)
{
    EXPECT_EQ(problem_with({{"event", "measured"}, {"volts", 3.3}}), "");
    const JournalContent content = inspect();
    EXPECT_TRUE(content.events.empty());
    EXPECT_EQ(content.lines, 3U);
}

TEST_F(JournalReader, ALineWithoutEndIsNotReadToItsEnd)
{
    std::string text = lines("rack.journal").front() + '\n';
    text.append(kvn::LONGEST_EVENT_LINE + 5, 'x');
    EXPECT_EQ(problem_of(text), "2: it is longer than 16 MiB");
    EXPECT_EQ(problem_of(text + '\n'), "2: it is longer than 16 MiB");
}

TEST_F(JournalReader, ALongLineIsReadWhole)
{
    const Json planned = journals::planned(1000);
    {
        kvn::Journal journal{path("long.journal"), journals::header(), planned};
        journal.append(begun(999));
    }
    const JournalContent content = kvn::read_journal(path("long.journal"));
    EXPECT_EQ(content.planned, planned["modules"]);
    EXPECT_THAT(content.events, ElementsAre(begun(999)));
}

TEST_F(JournalReader, OnlyRegularFilesAreOpened)
{
    make_fifo(path("pipe.journal"));
    const std::pair<std::string, std::string> files[] = {{"pipe.journal", "is no regular file"},
                                                         {".", "is no regular file"},
                                                         {"none.journal", "No such file or directory"}};
    for (const auto& [name, words] : files) {
        try {
            (void)kvn::inspect_journal(path(name));
            FAIL() << name;
        } catch (const kvn::FailureError& error) {
            EXPECT_EQ(error.failure().status, ExitStatus::file);
            EXPECT_EQ(error.failure().what, path(name) + ": " + words);
        }
    }
}

class JournalModules : public FolderTest
{
protected:
    [[nodiscard]] std::vector<JournalModule> modules(const std::vector<Json>& events) const
    {
        {
            kvn::Journal journal{path("rack.journal"), journals::header(), journals::planned(2)};
            for (const Json& event : events)
                journal.append(event);
        }
        return kvn::modules_of(kvn::read_journal(path("rack.journal")));
    }
};

TEST_F(JournalModules, AreThoseOfThePlanInItsOrder)
{
    const std::vector<JournalModule> all = modules({});
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].module, "mwc4a:0/1");
    EXPECT_EQ(all[1].module, "mwc4a:0/2");
    EXPECT_EQ(all[1].planned, journals::planned(2)["modules"][1]);
    EXPECT_EQ(all[1].verdict, Verdict::not_tried);
    EXPECT_EQ(all[1].state, ModuleState::untouched);
    EXPECT_TRUE(all[1].record.is_null());
    EXPECT_EQ(all[1].begun_at, std::nullopt);
}

TEST_F(JournalModules, OneThatWasBegunAndNotFinishedIsInterrupted)
{
    const std::vector<JournalModule> all = modules({begun(0, 1), finished(0), begun(1, 2)});
    EXPECT_EQ(all[0].state, ModuleState::configured);
    EXPECT_EQ(all[0].record, finished(0)["record"]);
    EXPECT_EQ(all[1].state, ModuleState::interrupted);
    EXPECT_EQ(all[1].verdict, Verdict::failed);
    EXPECT_TRUE(all[1].record.is_null());
    EXPECT_EQ(all[1].begun_at, "2026-11-22T03:44:39.125Z");
    EXPECT_EQ(all[1].attempts, 1U);
}

TEST_F(JournalModules, ARecordThatSaysUnknownIsKept)
{
    const std::vector<JournalModule> all =
        modules({begun(0), finished(0, Verdict::timed_out, ModuleState::unknown)});
    EXPECT_EQ(all[0].state, ModuleState::unknown);
    EXPECT_EQ(all[0].verdict, Verdict::timed_out);
}

TEST_F(JournalModules, TheLastAttemptCounts)
{
    const std::vector<JournalModule> all =
        modules({begun(0, 1), finished(0, Verdict::failed, ModuleState::interrupted), begun(0, 5, 2),
                 finished(0), begun(1), finished(1), begun(1, 9, 2)});
    EXPECT_EQ(all[0].state, ModuleState::configured);
    EXPECT_EQ(all[0].attempts, 2U);
    EXPECT_EQ(all[0].begun_at, "2026-11-22T03:44:42.125Z");
    EXPECT_EQ(all[1].state, ModuleState::interrupted);
    EXPECT_TRUE(all[1].record.is_null()) << "a record of an earlier attempt says nothing of the last";
}

TEST_F(JournalModules, OneThatIsKeptHasItsOldRecord)
{
    const std::vector<JournalModule> all =
        modules({kvn::kept_event(finished(0)["record"]), begun(1), finished(1)});
    EXPECT_TRUE(all[0].is_kept);
    EXPECT_EQ(all[0].state, ModuleState::configured);
    EXPECT_EQ(all[0].attempts, 0U);
    EXPECT_FALSE(all[1].is_kept);
}

TEST_F(JournalModules, OneThatIsNotPlannedFollowsThePlan)
{
    const std::vector<JournalModule> all = modules({begun(7), finished(7)});
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[2].module, "mwc4a:1/4");
    EXPECT_TRUE(all[2].planned.is_null());
    EXPECT_EQ(all[2].state, ModuleState::configured);
}
} // namespace
