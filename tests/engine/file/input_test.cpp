// SPDX-License-Identifier: Apache-2.0
#include "file/input.h"

#include "input_fixture.h"

#include "hashing/sha256.h"
#include "system/file.h"
#include "system/terminal.h"

#include <thread>

namespace
{
using kvn::ExitStatus;
using kvn::Failure;
using kvn::Input;
using kvn::Packing;
using kvn::system::FileKind;
using kvn::system::kind_of;
using kvn::system::open_to_read;
using kvn::system::STANDARD_INPUT;
using namespace std::string_literals;

TEST_F(InputTest, HoldsWhatIsInAFile)
{
    for (const std::string& text : {""s, "a"s, "abc"s, long_text()}) {
        write("a.bit", text);
        const Input input = Input::from_path(path("a.bit"));
        EXPECT_EQ(content_of(input), text);
        EXPECT_EQ(input.size(), text.size());
        EXPECT_EQ(input.name(), path("a.bit"));
        EXPECT_EQ(input.unpacked_name(), path("a.bit"));
        EXPECT_TRUE(input.name_states_format());
        EXPECT_EQ(input.stored().size, text.size());
        EXPECT_EQ(input.stored().packing, Packing::none);
    }
}

TEST_F(InputTest, KnowsTheSumOfTheFileAsItWasGiven)
{
    EXPECT_EQ(input_of("", "a").stored().sha256,
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(input_of("abc", "a").stored().sha256,
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    const std::string packed = gzip("abc");
    const Input input = input_of(packed, "a.gz");
    EXPECT_EQ(input.stored().size, packed.size());
    EXPECT_EQ(input.stored().packing, Packing::gzip);
    hashing::Sha256 sum;
    sum.take(as_bytes(packed));
    EXPECT_EQ(input.stored().sha256, sum.finish());
    EXPECT_EQ(content_of(input), "abc");
}

TEST_F(InputTest, KeepsItsContentWhenTheFileChanges)
{
    write("a.bit", "before");
    const Input input = Input::from_path(path("a.bit"));
    write("a.bit", "after, and longer");
    EXPECT_EQ(content_of(input), "before");
    std::filesystem::remove(path("a.bit"));
    EXPECT_EQ(content_of(input), "before");
}

TEST_F(InputTest, GivesEachReaderAPositionOfItsOwn)
{
    const std::string text = long_text();
    const Input input = input_of(text, "a");
    const Input copy = input; // NOLINT(performance-unnecessary-copy-initialization): that is the point
    std::vector<std::thread> threads;
    std::array<std::string, 4> found;
    for (std::size_t i = 0; i < found.size(); ++i)
        threads.emplace_back([&, i] { found.at(i) = content_of(i % 2 == 0 ? input : copy); });
    for (std::thread& thread : threads)
        thread.join();
    for (const std::string& each : found)
        EXPECT_EQ(each, text);
}

TEST_F(InputTest, AStreamOutlivesItsInput)
{
    File file;
    {
        const Input input = input_of("abc", "a");
        file = input.open();
    }
    EXPECT_EQ(std::getc(file.get()), 'a');
    std::rewind(file.get());
    EXPECT_EQ(std::getc(file.get()), 'a');
}

TEST_F(InputTest, ReadsStandardInputUnderBothNames)
{
    for (const char* name : {"-", "/dev/stdin"}) {
        write("given", "from standard input");
        const Redirected given{STANDARD_INPUT, open_to_read(path("given"))};
        const Input input = Input::from_path(name);
        EXPECT_EQ(content_of(input), "from standard input");
        EXPECT_EQ(input.name(), name);
        EXPECT_FALSE(input.name_states_format());
        EXPECT_EQ(kind_of(STANDARD_INPUT), FileKind::regular) << "it stays open";
    }
}

TEST_F(InputTest, WhatCannotBeReadIsAFailureOfTheFile)
{
    const auto what = [](const std::string& name) {
        const Failure failure = failure_of([&] { (void)Input::from_path(name); });
        EXPECT_EQ(failure.status, ExitStatus::file);
        EXPECT_EQ(failure.number, 0);
        return failure.what;
    };
    EXPECT_EQ(what("nothing.bit"), "nothing.bit: No such file or directory");
    EXPECT_EQ(what(folder.string()), folder.string() + ": not a regular file");
    EXPECT_EQ(what(""), ": No such file or directory");
}

TEST_F(InputTest, UnpacksByContentWhateverTheName)
{
    struct Packer {
        std::string (*pack)(std::string_view);
        Packing packing;
        std::string name;
        std::string unpacked_name;
    };
    const Packer packers[] = {
        {&gzip, Packing::gzip, "a.bit.gz", "a.bit"},    {&gzip, Packing::gzip, "a.bit", "a.bit"},
        {&gzip, Packing::gzip, "a.bit.xz", "a.bit.xz"}, {&xz, Packing::xz, "a.rbt.xz", "a.rbt"},
        {&zstd, Packing::zstd, "a.mcb.zst", "a.mcb"},   {&zstd, Packing::zstd, "a.mcb.zstd", "a.mcb"}};
    for (const Packer& each : packers) {
        SCOPED_TRACE(each.name);
        for (const std::string& text : {""s, "abc"s, long_text(), std::string(1'000'000, 'z')}) {
            const Input input = input_of(each.pack(text), each.name);
            EXPECT_EQ(content_of(input), text);
            EXPECT_EQ(input.stored().packing, each.packing);
            EXPECT_EQ(input.unpacked_name(), each.unpacked_name);
            EXPECT_EQ(input.name(), each.name);
        }
    }
    EXPECT_EQ(input_of("plain", "a.bit.gz").unpacked_name(), "a.bit.gz") << "it is not packed";
}

TEST_F(InputTest, UnpacksMembersOneAfterTheOther)
{
    for (const auto pack : {&gzip, &xz, &zstd}) {
        EXPECT_EQ(content_of(input_of(pack("abc") + pack("") + pack("def"), "a")), "abcdef");
        EXPECT_EQ(content_of(input_of(pack("abc") + std::string(8, '\0') + pack("def"), "a")), "abcdef");
        EXPECT_EQ(content_of(input_of(pack("abc") + std::string(100'000, '\0'), "a")), "abc");
    }
    const std::string skippable = "\x50\x2A\x4D\x18\x02\0\0\0zz"s;
    EXPECT_EQ(content_of(input_of(skippable + zstd("abc") + skippable, "a")), "abc");
}

TEST_F(InputTest, APackedFileIsUnpackedOnce)
{
    EXPECT_EQ(content_of(input_of(gzip(gzip("abc")), "a")), gzip("abc"));
}

TEST_F(InputTest, APackedFileMayBeCutAnywhere)
{
    const std::string text = long_text(2000);
    for (const auto pack : {&gzip, &xz, &zstd}) {
        const std::string packed = pack(text);
        for (std::size_t size = 6; size < packed.size(); ++size) {
            const Failure failure =
                failure_of([&] { (void)input_of(std::string_view{packed}.substr(0, size), "a.bit.z"); });
            EXPECT_EQ(failure.status, ExitStatus::damaged);
            EXPECT_EQ(failure.what, std::string{"a.bit.z: the "} +
                                        (pack == &gzip ? "gzip"
                                         : pack == &xz ? "xz"
                                                       : "zstd") +
                                        " data are cut");
            EXPECT_EQ(failure.remedy, "copy the file again in binary mode, or pack it again");
        }
    }
}

TEST_F(InputTest, DamageOfAPackedFileIsFound)
{
    const std::string text = long_text(50'000);
    for (const auto pack : {&gzip, &xz}) { // zstd has no check sum by default
        const std::string packed = pack(text);
        for (std::size_t place = 12; place < packed.size(); place += packed.size() / 50) {
            std::string damaged = packed;
            damaged[place] = static_cast<char>(damaged[place] ^ 0x10);
            const Failure failure = failure_of([&] { (void)input_of(damaged, "a"); });
            EXPECT_EQ(failure.status, ExitStatus::damaged) << place;
            EXPECT_TRUE(failure.what.ends_with("data are damaged") || failure.what.ends_with("data are cut"))
                << failure.what;
        }
    }
    EXPECT_EQ(failure_of([] { (void)input_of("\x28\xB5\x2F\xFD\x08\xFF\xFF\xFF", "a"); }).what,
              "a: the zstd data are damaged");
    EXPECT_EQ(failure_of([] { (void)input_of("\x1F\x8B\x07zzzzzzzzz", "a"); }).why,
              "unknown compression method");
}

/// Puts the check sum of a part of an xz stream behind it.
void seal(std::string& packed, std::size_t begin, std::size_t end)
{
    const std::uint32_t sum = lzma_crc32(as_bytes(packed) + begin, end - begin, 0);
    for (std::size_t i = 0; i < sizeof sum; ++i)
        packed[end + i] = static_cast<char>(sum >> 8 * i);
}

TEST_F(InputTest, SaysWhyXzDataAreDamaged)
{
    const std::string good = xz("abc");
    std::string newer = good; // a flag that is reserved
    newer[7] = 0x10;
    seal(newer, 6, 8);
    std::string large = good; // a dictionary of 256 MiB
    ASSERT_EQ(large[12], 2)
        << "a block header of 12 bytes, of which the seventh is the size of the dictionary";
    large[18] = 32;
    seal(large, 12, 20);
    std::string sum = good; // of the block
    sum[sum.size() - 40] ^= 1;
    struct Case {
        std::string packed;
        const char* why;
    };
    const Case cases[] = {{good + "\xFD is no stream header", "the beginning of a stream is not one of xz"},
                          {newer, "the data need a newer xz"},
                          {large, "unpacking needs more than 128 MiB of memory"},
                          {sum, "a check sum or a code is wrong"}};
    for (const Case& row : cases) {
        const Failure failure = failure_of([&] { (void)input_of(row.packed, "a"); });
        EXPECT_EQ(failure.status, ExitStatus::damaged) << row.why;
        EXPECT_EQ(failure.what, "a: the xz data are damaged");
        EXPECT_EQ(failure.why, row.why);
    }
}

TEST_F(InputTest, WhatFollowsPackedDataIsAFailure)
{
    struct Tail {
        std::string (*pack)(std::string_view);
        const char* what;
    };
    for (const Tail& each : {Tail{&gzip, "a: something else follows the gzip data"},
                             Tail{&xz, "a: something else follows the xz data"},
                             Tail{&zstd, "a: something else follows the zstd data"}}) {
        for (const std::string& tail : {"z"s, "\0\0\0z"s, std::string(70'000, 'z')}) {
            const Failure failure = failure_of([&] { (void)input_of(each.pack("abc") + tail, "a"); });
            EXPECT_EQ(failure.what, each.what);
            EXPECT_EQ(failure.status, ExitStatus::damaged);
        }
    }
}

TEST_F(InputTest, ABombIsStoppedAtTheLimit)
{
    const std::string text(1'000'000, '\0');
    for (const auto pack : {&gzip, &xz, &zstd}) {
        EXPECT_EQ(content_of(input_of(pack(text), "a", {.size = text.size()})).size(), text.size());
        const Failure failure =
            failure_of([&] { (void)input_of(pack(text), "a", {.size = text.size() - 1}); });
        EXPECT_EQ(failure.status, ExitStatus::damaged);
        EXPECT_EQ(failure.what, "a: more than 999999 bytes when unpacked");
    }
    EXPECT_EQ(failure_of([&] { (void)input_of(text, "a", {.size = 4}); }).what, "a: more than 4 bytes");
}
} // namespace
