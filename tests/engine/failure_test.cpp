// SPDX-License-Identifier: Apache-2.0
// What a user is told when something fails.
#include "errors/failure.h"

#include <gtest/gtest.h>

namespace
{
using kvn::ExitStatus;
using kvn::Failure;

TEST(Failure, OfTheLibraryHasWhatTheCatalogueSays)
{
    const Failure failure = kvn::library_failure(9220, "Error 9220. There is no module.");
    EXPECT_EQ(failure.status, ExitStatus::no_module);
    EXPECT_EQ(failure.number, 9220);
    EXPECT_EQ(failure.what, "Error 9220. There is no module.");
    EXPECT_EQ(failure.why, kvn::plain_text(kvn::find_error(9220)->meaning));
    EXPECT_EQ(failure.remedy, kvn::plain_text(kvn::find_error(9220)->remedy));
    EXPECT_FALSE(failure.remedy.empty());
}

TEST(Failure, OfATopicHasItsCausesAndItsRemedyUnlessItsOwn)
{
    for (const kvn::ErrorSection& section : kvn::error_sections())
        for (const kvn::ErrorEntry& entry : section.entries) {
            const kvn::TopicEntry* topic = kvn::find_topic(entry.topic);
            if (topic == nullptr)
                continue;
            const Failure failure = kvn::library_failure(entry.number, "text");
            EXPECT_EQ(failure.why, kvn::plain_text(topic->causes)) << entry.number;
            EXPECT_EQ(failure.remedy, kvn::plain_text(entry.remedy.empty() ? topic->remedy : entry.remedy))
                << entry.number;
        }
}

TEST(Failure, OfANumberThatNobodyKnowsIsInternal)
{
    EXPECT_EQ(kvn::library_failure(1234, "odd"),
              (Failure{.status = ExitStatus::internal, .number = 1234, .what = "odd"}));
}

TEST(Failure, IsThrownWithItsWords)
{
    const kvn::FailureError error{Failure{.status = ExitStatus::file, .what = "no such file"}};
    EXPECT_STREQ(error.what(), "no such file");
    EXPECT_EQ(error.failure().status, ExitStatus::file);
}
} // namespace
