// SPDX-License-Identifier: Apache-2.0
// Planned faults: what the library sees of them.
#include "support/faults.h"

#include "support/folder_test.h"

#include <memory>
#include <new>

using fault_points::Fault;
using fault_points::Recording;

namespace
{
struct Closer {
    void operator()(FILE* file) const { std::fclose(file); }
};
using Stream = std::unique_ptr<FILE, Closer>;

class Faults : public FolderTest
{
protected:
    [[nodiscard]] Stream open(const char* mode) const
    {
        return Stream{std::fopen(path("file").c_str(), mode)};
    }

    FaultScope scope;
    char bytes[64] = {};
};

// The file is opened first, then read, written or closed.
TEST_F(Faults, OfReadingSetTheIndicatorThatIsMeant)
{
    write("file", "hello world");
    for (const Fault fault : {Fault::error, Fault::end, Fault::short_error, Fault::odd_end}) {
        Recording recording;
        recording.plan(2, fault);
        const Stream file = open("rb");
        EXPECT_EQ(std::fread(bytes, 1, 5, file.get()), 5U);
        const std::size_t share = fault == Fault::short_error ? 3 : fault == Fault::odd_end ? 2 : 0;
        EXPECT_EQ(std::fread(bytes, 1, 6, file.get()), share);
        const bool ends = fault == Fault::end || fault == Fault::odd_end;
        EXPECT_EQ(std::feof(file.get()) != 0, ends);
        EXPECT_EQ(std::ferror(file.get()) != 0, !ends);
        EXPECT_EQ(described(recording.points().at(2)),
                  "fread 2 " + path("file") + " (asked 6, done " + std::to_string(share) + ')');
    }
}

TEST_F(Faults, OfWritingAndClosingLeaveWhatWasWrittenBefore)
{
    Recording recording;
    recording.plan(1, Fault::short_error);
    Stream file = open("wb");
    EXPECT_EQ(std::fwrite("abcdef", 1, 6, file.get()), 3U);
    EXPECT_NE(std::ferror(file.get()), 0);
    recording.plan(2, Fault::error);
    EXPECT_EQ(std::fclose(file.release()), EOF);
    EXPECT_EQ(content("file"), "abc");
    EXPECT_EQ(open_faulty_streams(), 0);
}

TEST_F(Faults, OfAllocationGiveNullOnce)
{
    fail_allocation_at(2);
    for (const bool expected : {true, false, true}) {
        // The function itself: the compiler may leave out a new-expression.
        void* const memory = ::operator new[](4, std::nothrow);
        EXPECT_EQ(memory != nullptr, expected);
        ::operator delete[](memory);
    }
}

TEST_F(Faults, HideTheEndOfAFile)
{
    write("file", "abc");
    const HiddenEnd hidden;
    const Stream file = open("rb");
    EXPECT_EQ(std::fread(bytes, 1, sizeof bytes, file.get()), 3U);
    EXPECT_EQ(std::feof(file.get()), 0);
}

TEST_F(Faults, LimitTheRoomOfAFile)
{
    SmallOutputFile small{4};
    small.gathers = true;
    Stream file = open("wb");
    EXPECT_EQ(std::fwrite("abcdef", 1, 6, file.get()), 6U) << "gathered";
    EXPECT_EQ(std::fclose(file.release()), EOF);
    EXPECT_EQ(small.taken, "abcd");
    EXPECT_EQ(content("file"), "abcd");
}
} // namespace
