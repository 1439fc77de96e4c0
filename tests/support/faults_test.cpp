// SPDX-License-Identifier: Apache-2.0
// Planned faults: what the library sees of them.
#include "support/faults.h"

#include "support/folder_test.h"

#include <memory>
#include <new>

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

TEST_F(Faults, OfReadingSetTheIndicatorThatIsMeant)
{
    write("file", "hello world");
    for (const bool ends : {false, true}) {
        ends ? end_read_at(2) : fail_read_at(2);
        const Stream file = open("rb");
        EXPECT_EQ(std::fread(bytes, 1, 5, file.get()), 5U);
        EXPECT_EQ(std::ftell(file.get()), 5);
        EXPECT_EQ(std::fread(bytes, 1, 5, file.get()), 0U);
        EXPECT_EQ(std::feof(file.get()) != 0, ends);
        EXPECT_EQ(std::ferror(file.get()) != 0, !ends);
    }
}

TEST_F(Faults, OfWritingLeaveWhatWasWrittenBefore)
{
    fail_write_at(1, 3);
    Stream file = open("wb");
    EXPECT_EQ(std::fwrite("abcdef", 1, 6, file.get()), 3U);
    EXPECT_NE(std::ferror(file.get()), 0);
    file.reset();
    EXPECT_EQ(content("file"), "abc");
}

TEST_F(Faults, OfClosingCloseTheFile)
{
    fail_close_at(1);
    EXPECT_EQ(std::fclose(open("wb").release()), EOF);
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

TEST_F(Faults, LimitTheFileOfAName)
{
    const FileLimit other{FileLimit::Kind::writing, 0, path("other")};
    const FileLimit limit{FileLimit::Kind::writing, 4, path("file")};
    EXPECT_EQ(std::fclose([&] {
                  Stream file = open("wb");
                  EXPECT_EQ(std::fwrite("abcdef", 1, 6, file.get()), 6U) << "gathered";
                  return file.release();
              }()),
              EOF);
    EXPECT_EQ(limit.taken, "abcd");
    EXPECT_EQ(content("file"), "abcd");
}
} // namespace
