// SPDX-License-Identifier: Apache-2.0
// The catalogue of errors, as programs use it.
#include "errors/catalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace
{
using kvn::ExitStatus;
using kvn::ModuleState;

struct StatusCase {
    int error;
    ExitStatus status;
    int number;
};

// One of each class, with the number that a shell sees.
constexpr StatusCase status_cases[] = {
    {0, ExitStatus::done, 0},         {9071, ExitStatus::internal, 1}, {9002, ExitStatus::usage, 2},
    {9020, ExitStatus::file, 3},      {9107, ExitStatus::damaged, 4},  {9103, ExitStatus::wrong_device, 5},
    {9201, ExitStatus::no_module, 6}, {9105, ExitStatus::bus, 7},      {9118, ExitStatus::refused, 8},
};

TEST(Catalogue, EveryClassOfErrorsHasItsExitStatus)
{
    for (const StatusCase& row : status_cases) {
        EXPECT_EQ(kvn::exit_status_of(row.error), row.status) << row.error;
        EXPECT_EQ(static_cast<int>(row.status), row.number);
    }
}

TEST(Catalogue, ANumberThatIsNoneCountsAsAMistakeOfOurs)
{
    for (const int error : {-1, 1, 8999, 9999, 9121})
        EXPECT_EQ(kvn::exit_status_of(error), ExitStatus::internal) << error;
}

TEST(Catalogue, HoldsTheTwoHundredAndSeventeenNumbers)
{
    std::set<int> numbers;
    std::size_t entries = 0;
    for (const kvn::ErrorSection& section : kvn::error_sections())
        for (const kvn::ErrorEntry& entry : section.entries) {
            numbers.insert(entry.number);
            ++entries;
        }
    EXPECT_EQ(numbers.size(), 217U);
    EXPECT_EQ(entries, 219U);
}

TEST(Catalogue, AnEntryTellsMeaningStateAndRemedy)
{
    const kvn::ErrorEntry* entry = kvn::find_error(9103);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->text, "Error 9103. Bitstream %s is not for a %s device.");
    EXPECT_EQ(entry->state, ModuleState::untouched);
    EXPECT_EQ(entry->remedy, "Load a bitstream made for this device, or name another slot.");
    EXPECT_EQ(kvn::find_error(9121), nullptr);
}

TEST(Catalogue, OfTwoTextsWithOneNumberTheReturnedOneComesFirst)
{
    EXPECT_EQ(kvn::find_error(9113)->state, ModuleState::configured);
}

TEST(Catalogue, StatesAndClassesHaveWords)
{
    EXPECT_EQ(kvn::name_of(ModuleState::untouched), "untouched");
    EXPECT_EQ(kvn::name_of(ModuleState::unknown), "unknown");
    EXPECT_EQ(kvn::meaning_of(ModuleState::interrupted), "it has part of the data and does not run");
    EXPECT_EQ(kvn::meaning_of(ExitStatus::done), "all done, or nothing to do");
    EXPECT_EQ(kvn::meaning_of(ExitStatus::timed_out), "timed out");
}

TEST(Catalogue, PlainTextsNameThePagesOfLinks)
{
    EXPECT_EQ(kvn::plain_text("See the [command line](command-line.md). `-fdesign` **stays**."),
              "See the command line (docs/command-line.md). -fdesign stays.");
    EXPECT_EQ(kvn::plain_text("[open](never"), "open (docs/never)");
    EXPECT_EQ(kvn::plain_text("2 * 3"), "2 * 3");
    EXPECT_EQ(kvn::plain_text(""), "");
}

// Programs with other options, and applications, show these.
TEST(Catalogue, ErrorsOfModulesAndOfReadingFilesNameNoOption)
{
    const auto sections = kvn::error_sections();
    const auto first = std::ranges::find(sections, "Opening the bus", &kvn::ErrorSection::title);
    ASSERT_NE(first, sections.end());
    for (auto section = first; section != sections.end(); ++section)
        for (const kvn::ErrorEntry& entry : section->entries) {
            EXPECT_EQ(entry.meaning.find("`-"), std::string_view::npos) << entry.number;
            EXPECT_EQ(entry.remedy.find("`-"), std::string_view::npos) << entry.number;
        }
}

TEST(Catalogue, EveryTopicThatAnEntryNamesHasCausesAndRemedy)
{
    for (const kvn::ErrorSection& section : kvn::error_sections())
        for (const kvn::ErrorEntry& entry : section.entries) {
            const kvn::TopicEntry* topic = kvn::find_topic(entry.topic);
            EXPECT_EQ(topic == nullptr, entry.topic == kvn::Topic::none) << entry.number;
            EXPECT_TRUE(topic == nullptr || (!topic->causes.empty() && !topic->remedy.empty()));
        }
}
} // namespace
