// SPDX-License-Identifier: Apache-2.0
// What is written where, and what is left when it cannot be.
#include "output_fixture.h"

#include "support/descriptors.h"
#include "system/terminal.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace
{
using kvn::ConversionRequest;
using kvn::ExitStatus;
using kvn::Failure;
using kvn::Format;
using testing::ElementsAre;

TEST_F(ConversionOutput, AnExistingFileIsKept)
{
    write("a.mcb", "mine");
    const Failure failed = failure_to("a.bit", "a.mcb");
    EXPECT_EQ(failed.status, ExitStatus::file);
    EXPECT_EQ(failed.what, path("a.mcb") + " exists already, and is kept");
    EXPECT_EQ(failed.remedy, "name another file, or replace it by --overwrite");
    EXPECT_EQ(content("a.mcb"), "mine");
    EXPECT_THAT(names(), ElementsAre("a.bit", "a.mcb"));
}

TEST_F(ConversionOutput, AnExistingFileIsReplacedOnRequest)
{
    write("a.mcb", "mine");
    const kvn::Conversion made = convert("a.bit", {.target = "a.mcb", .overwrite = true});
    EXPECT_EQ(made.target, path("a.mcb"));
    EXPECT_EQ(content("a.mcb"), good);
    EXPECT_THAT(names(), ElementsAre("a.bit", "a.mcb"));
}

TEST_F(ConversionOutput, OfManyThreadsOneWritesTheFile)
{
    constexpr int THREADS = 8;
    std::atomic<int> done = 0;
    std::atomic<int> refused = 0;
    std::vector<std::thread> threads;
    threads.reserve(THREADS);
    for (int i = 0; i < THREADS; ++i)
        threads.emplace_back([&] {
            const Failure failed = failure_to("a.bit", "a.mcb");
            ++(failed.status == ExitStatus::done ? done : refused);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(done, 1);
    EXPECT_EQ(refused, THREADS - 1);
    EXPECT_EQ(content("a.mcb"), good);
    EXPECT_THAT(names(), ElementsAre("a.bit", "a.mcb"));
}

TEST_F(ConversionOutput, AFolderThatIsNotThereTakesNoFile)
{
    const Failure failed = failure_to("a.bit", "missing/a.mcb");
    EXPECT_EQ(failed.status, ExitStatus::file);
    EXPECT_EQ(failed.what, "cannot write " + path("missing/a.mcb") + ": No such file or directory");
    EXPECT_EQ(failed.remedy, "see that its folder exists, may be written and has room");
    EXPECT_THAT(names(), ElementsAre("a.bit"));
}

TEST_F(ConversionOutput, ATargetInTheCurrentFolderNeedsNoPath)
{
    const CurrentFolder here{folder};
    EXPECT_EQ(kvn::convert(kvn::Input::from_path("a.bit"), {.target = "a.mcb"}).target, "a.mcb");
    EXPECT_EQ(content("a.mcb"), good);
}

TEST_F(ConversionOutput, ANameAsLongAsTheyMayBeIsWritten)
{
    const std::string name = std::string(251, 'n') + ".mcb";
    (void)convert_to("a.bit", name);
    EXPECT_EQ(content(name), good);
}

TEST_F(ConversionOutput, StandardOutputTakesTheWholeFile)
{
    kvn::Conversion made;
    {
        const Redirected output{kvn::system::STANDARD_OUTPUT, open_for_writing(path("taken"))};
        made = convert("a.bit", {.target = "-", .format = Format::mcb});
    }
    EXPECT_EQ(made.target, "-");
    EXPECT_THAT(made.problems, testing::IsEmpty());
    EXPECT_EQ(made.bytes, good.size());
    EXPECT_EQ(content("taken"), good);
    EXPECT_THAT(names(), ElementsAre("a.bit", "taken"));
}

TEST_F(ConversionOutput, RequestsWithoutSenseAreRefused)
{
    EXPECT_EQ(failure_of([&] { (void)kvn::convert(kvn::Input::from_path(path("a.bit")), {}); }).what,
              "no file to write is named");
    EXPECT_EQ(failure("a.bit", {.target = "-"}).what, "nothing says which format - is to have");
    EXPECT_EQ(failure_to("a.bit", "a.txt").what,
              "nothing says which format " + path("a.txt") + " is to have");
    EXPECT_EQ(failure_to("a.bit", "a.MCB").remedy, "name a file in .rbt, .bit or .mcb, or say the format");
    EXPECT_EQ(failure("a.bit", {.target = "a.rbt", .format = Format::mcb}).what,
              path("a.rbt") + " is the name of an RBT file, not of an MCB file");
    for (const ConversionRequest& request :
         {ConversionRequest{.target = "-"}, ConversionRequest{.target = "a.txt"},
          ConversionRequest{.target = "a.rbt", .format = Format::mcb}})
        EXPECT_EQ(failure("a.bit", request).status, ExitStatus::usage);
    EXPECT_THAT(names(), ElementsAre("a.bit"));
}

TEST_F(ConversionOutput, ANameOfNoFormatIsWrittenInTheOneAskedFor)
{
    (void)convert("a.bit", {.target = "a.dat", .format = Format::mcb});
    EXPECT_EQ(content("a.dat"), good);
}

TEST(DefaultTarget, HasTheFormatsExtensionInPlaceOfTheSources)
{
    using kvn::default_target;
    EXPECT_EQ(default_target("a/design.bit", Format::mcb), "a/design.mcb");
    EXPECT_EQ(default_target("a/design.bit.xz", Format::rbt), "a/design.rbt");
    EXPECT_EQ(default_target("DESIGN.RBT.GZ", Format::bit), "DESIGN.bit");
    EXPECT_EQ(default_target("design.mcb.zst", Format::mcb), "design.mcb");
    EXPECT_EQ(default_target("design", Format::bit), "design.bit");
    EXPECT_EQ(default_target("a.b/design.v2", Format::bit), "a.b/design.v2.bit");
    EXPECT_EQ(default_target("-", Format::bit), "-");
}

TEST(FormatWord, NamesAFormatInAnyLetterCase)
{
    EXPECT_EQ(kvn::format_of_word("rbt"), Format::rbt);
    EXPECT_EQ(kvn::format_of_word("BIT"), Format::bit);
    EXPECT_EQ(kvn::format_of_word("Mcb"), Format::mcb);
    EXPECT_EQ(kvn::format_of_word("bin"), Format::unknown);
    EXPECT_EQ(kvn::format_of_word(""), Format::unknown);
}
} // namespace
