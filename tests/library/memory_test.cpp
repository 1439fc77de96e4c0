// SPDX-License-Identifier: Apache-2.0
// The C interface without memory: allocations fail in turn, in the library and in all that it calls.
#include "library_fixture.h"
#include "support/allocation_faults.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <set>

namespace
{
/// How many of its allocations each operation is tried with.
constexpr long TRIALS = 200;

class NoMemory : public LibraryTest
{
protected:
    NoMemory()
    {
        add_module(0);
        Session session;
        open_file(session);
    }

    /// Calls an operation in a session of its own, of whose allocations one fails.
    /// @param number of that allocation; 0: none
    int run(const std::function<int(kvn_session*)>& operation, long number)
    {
        const Session session;
        AllocationPlan plan{number};
        const int status = plan.during([&] { return operation(session); });
        allocations_ = plan.allocations();
        if (status != KVN_DONE) {
            EXPECT_STRNE(kvn_error_text(session), "") << "allocation " << number;
        } else {
            EXPECT_STREQ(kvn_error_text(session), "") << "allocation " << number;
        }
        return status;
    }

    /// Lets the allocations of an operation fail in turn.
    /// @return the statuses
    std::set<int> fail_in_turn(const std::function<int(kvn_session*)>& operation)
    {
        EXPECT_EQ(run(operation, 0), KVN_DONE);
        EXPECT_EQ(run(operation, 0), KVN_DONE);
        const long count = allocations_;
        EXPECT_GT(count, 0);
        std::set<int> statuses;
        for (long number = 1; number <= count; number += std::max(1L, (number - TRIALS / 2) * 2 / TRIALS))
            statuses.insert(run(operation, number));
        EXPECT_EQ(run(operation, 0), KVN_DONE) << "with memory again";
        std::cout << count << " allocations\n";
        return statuses;
    }

    /// The same for an operation that keeps nothing outside its session.
    std::set<int> fail_without_a_leak(const std::function<int(kvn_session*)>& operation)
    {
        EXPECT_EQ(run(operation, 0), KVN_DONE);
        const long before = blocks_from_malloc();
        std::set<int> statuses = fail_in_turn(operation);
        const long nodes_of_the_set = static_cast<long>(statuses.size());
        // The C library also allocates by functions that are not counted.
        EXPECT_LE(blocks_from_malloc() - nodes_of_the_set, before);
        return statuses;
    }

private:
    long allocations_ = 0; ///< of the last operation
};

TEST_F(NoMemory, ToOpenASession)
{
    for (long number = 1; number <= 5; ++number) {
        kvn_session* session = nullptr;
        const int status = AllocationPlan{number}.during([&] { return kvn_open(&session); });
        if (status == KVN_DONE) {
            EXPECT_EQ(kvn_close(session), KVN_DONE);
            continue;
        }
        EXPECT_EQ(status, KVN_INTERNAL);
        EXPECT_EQ(session, nullptr);
        EXPECT_STREQ(kvn_error_text(nullptr), "there is no memory");
    }
}

TEST_F(NoMemory, ToReadAFile)
{
    const std::string data = content("design.rbt");
    const auto statuses = fail_without_a_leak([&](kvn_session* session) {
        kvn_file* opened = nullptr;
        const int status = kvn_file_from_memory(session, data.data(), data.size(), "design.rbt", &opened);
        EXPECT_EQ(opened != nullptr, status == KVN_DONE);
        if (opened != nullptr) {
            EXPECT_EQ(kvn_file_close(opened), KVN_DONE);
        }
        return status;
    });
    EXPECT_TRUE(statuses.contains(KVN_INTERNAL));
}

TEST_F(NoMemory, ToInspect)
{
    const auto statuses = fail_without_a_leak([&](kvn_session* session) {
        auto inspection = sized<kvn_inspection>();
        return kvn_inspect(session, file, &inspection);
    });
    EXPECT_TRUE(statuses.contains(KVN_INTERNAL));
}

TEST_F(NoMemory, ToCheck)
{
    const auto statuses = fail_without_a_leak([&](kvn_session* session) {
        auto judgement = sized<kvn_judgement>();
        return kvn_check(session, file, nullptr, KVN_MODE_COMPRESSED, &judgement);
    });
    EXPECT_TRUE(statuses.contains(KVN_INTERNAL));
}

TEST_F(NoMemory, ToCompare)
{
    const auto statuses = fail_without_a_leak([&](kvn_session* session) {
        auto difference = sized<kvn_difference>();
        return kvn_compare(session, file, file, &difference);
    });
    EXPECT_TRUE(statuses.contains(KVN_INTERNAL));
}

TEST_F(NoMemory, ToGiveTheJson)
{
    const Session session;
    auto difference = sized<kvn_difference>();
    ASSERT_EQ(kvn_compare(session, file, file, &difference), KVN_DONE);
    const char* json = nullptr;
    EXPECT_EQ(AllocationPlan{1}.during([&] { return kvn_result_json(session, &json); }), KVN_INTERNAL);
    EXPECT_EQ(json, nullptr);
    EXPECT_STREQ(difference.words, "same configuration");
    EXPECT_EQ(kvn_result_json(session, &json), KVN_DONE);
}

TEST_F(NoMemory, ToEstimate)
{
    const auto statuses = fail_without_a_leak([&](kvn_session* session) {
        auto info = sized<kvn_estimate_info>();
        return kvn_estimate(session, file, nullptr, &info);
    });
    EXPECT_TRUE(statuses.contains(KVN_INTERNAL));
}

TEST_F(NoMemory, ToConvert)
{
    const auto statuses = fail_without_a_leak([&](kvn_session* session) {
        auto options = sized<kvn_convert_options>();
        options.format = KVN_FORMAT_MCB;
        options.overwrite = 1;
        auto conversion = sized<kvn_conversion>();
        return kvn_convert(session, file, &options, &conversion);
    });
    EXPECT_TRUE(statuses.contains(KVN_INTERNAL));
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator{folder})
        names.insert(entry.path().filename());
    EXPECT_EQ(names, (std::set<std::string>{"design.mcb", "design.rbt"}));
}

TEST_F(NoMemory, ToExplain)
{
    const auto statuses = fail_without_a_leak([&](kvn_session* session) {
        auto explanation = sized<kvn_explanation>();
        return kvn_explain(session, 9103, &explanation);
    });
    EXPECT_EQ(statuses, (std::set<int>{KVN_INTERNAL}));
}

TEST_F(NoMemory, ToList)
{
    const auto statuses = fail_in_turn([&](kvn_session* session) { return kvn_list(session, "mwc4a", 0); });
    EXPECT_TRUE(statuses.contains(KVN_INTERNAL));
}

TEST_F(NoMemory, ToLoad)
{
    const kvn_load_options options = load_options();
    const auto statuses = fail_in_turn([&](kvn_session* session) {
        auto record = sized<kvn_record>();
        return kvn_load(session, file, &options, &record);
    });
    EXPECT_TRUE(statuses.contains(KVN_INTERNAL));
    EXPECT_EQ(carrier.open_handles(), 0U);
}
} // namespace
