// SPDX-License-Identifier: Apache-2.0
// Runs without memory: the C library's own allocations fail in turn, and the public object cannot be made.
#include "kvn_fpga.h"
#include "support/allocation_faults.h"
#include "support/bitstreams.h"
#include "support/run_fixture.h"

#include <cstring>
#include <iostream>
#include <new>
#include <set>

namespace
{
class Memory : public RunFixture
{
protected:
    Module& module{platform.board("mwc4a", 0).slot(2, fpga_module(3))};

    /// A run in which an allocation of the C library fails as planned.
    Result run(AllocationPlan& plan, const std::vector<std::string>& arguments)
    {
        module.loads.clear();
        Arguments line{arguments};
        return result(plan.during([&] { return session.kvn_fpga(nullptr, line.argc(), line.argv()); }));
    }
};

struct MemoryRun {
    const char* name;
    std::vector<std::string> arguments;
    const char* output;        ///< "" for a load
    std::set<int> open_errors; ///< without memory for a stream, its file cannot be opened
};

void PrintTo(const MemoryRun& run, std::ostream* out)
{
    *out << run.name;
}

class MemoryRuns : public Memory, public testing::WithParamInterface<MemoryRun>
{
protected:
    static std::string content_of_output()
    {
        return *GetParam().output == '\0' ? "" : read_file(GetParam().output);
    }
};

std::vector<MemoryRun> memory_runs()
{
    const auto load = [](const char* file) {
        return std::vector<std::string>{"KVN_FPGA", std::string{"-f"} + file, "-dmwc4a", "-b0", "-s2", "-u"};
    };
    return {
        {"LoadRbt", load("design.rbt"), "", {9044}},
        {"LoadBit", load("design.bit"), "", {9055}},
        {"LoadMcb", load("design.mcb"), "", {9048}},
        {"RbtToMcb", {"KVN_FPGA", "-fdesign.rbt", "-c", "-u"}, "design.mcb", {9044, 9242}},
        {"BitToMcb", {"KVN_FPGA", "-fdesign.bit", "-c", "-u"}, "design.mcb", {9055, 9410}},
        {"McbToRbt", {"KVN_FPGA", "-fdesign.mcb", "-r", "-u"}, "design.rbt", {9048, 9273}},
        {"ConFile", {"KVN_FPGA", "rack.con"}, "", {9020, 9022}},
    };
}
} // namespace

TEST_P(MemoryRuns, FailToOpenOrSucceedSlowly)
{
    RbtFile{}.write();
    BitFile{}.write();
    McbFile{}.write();
    write_file("rack.con", "design.rbt mwc4a 0 2\n");
    AllocationPlan none{0, Allocator::c_library};
    ASSERT_EQ(run(none, GetParam().arguments), Succeeds());
    const long count = none.allocations();
    const std::vector<Bytes> loads = module.loads;
    const std::string output = content_of_output();
    ASSERT_GT(count, 0);
    std::set<int> errors;
    for (long n = 1; n <= count; ++n) {
        AllocationPlan plan{n, Allocator::c_library};
        const Result outcome = run(plan, GetParam().arguments);
        EXPECT_EQ(platform.open_handles(), 0);
        if (outcome.number != 0) {
            errors.insert(outcome.number);
            continue;
        }
        EXPECT_EQ(module.loads, loads) << "allocation " << n;
        EXPECT_EQ(content_of_output(), output) << "allocation " << n;
    }
    EXPECT_EQ(errors, GetParam().open_errors);
    std::cout << GetParam().name << ": " << count << " allocations\n";
}

INSTANTIATE_TEST_SUITE_P(Streams, MemoryRuns, testing::ValuesIn(memory_runs()),
                         [](const auto& run) { return std::string{run.param.name}; });

TEST_F(Memory, Error9242WhenThereIsNoneToCompareTheOutputWithTheInput)
{
    RbtFile{}.write("a_name_that_needs_memory.rbt");
    std::strcpy(session.bitstream_file, "a_name_that_needs_memory.rbt");
    session.kvn_fpga_set_userprint([](char*) {});
    FILE* stream = std::fopen("a_name_that_needs_memory.rbt", "r");
    AllocationPlan plan{1, Allocator::others};
    const int number = plan.during([&] { return session.Make_mcb_file_rbt(stream); });
    EXPECT_TRUE(plan.has_failed());
    EXPECT_EQ(result(number), Fails("Error 9242. Cannot open/create MCB file a_name_that_needs_memory.mcb."));
    EXPECT_FALSE(file_exists("a_name_that_needs_memory.mcb"));
}

// The only failure reported by an exception: no object exists yet to keep a message.
TEST_F(Memory, AnObjectThatCannotBeMadeThrowsBadAlloc)
{
    AllocationPlan plan{1};
    EXPECT_THROW(plan.during([] { const kvn_fpga none; }), std::bad_alloc);
    kvn_fpga next;
    EXPECT_STREQ(next.kvn_fpga_getlasterr(), "");
}
