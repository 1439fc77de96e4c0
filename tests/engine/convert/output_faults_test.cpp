// SPDX-License-Identifier: Apache-2.0
// What is left when the system fails a conversion, or has something else than files in its folders.
#include "output_fixture.h"

#include "support/descriptors.h"
#include "support/special_files.h"
#include "support/system_faults.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace
{
using kvn::ConversionRequest;
using kvn::ExitStatus;
using kvn::Failure;
using kvn::Format;
using testing::ElementsAre;
using testing::HasSubstr;

/// The files of the process may have so many bytes for the duration of a scope.
class LargestFile
{
public:
    explicit LargestFile(rlim_t size)
    {
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
        (void)::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{size, before_.rlim_max};
        (void)::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~LargestFile()
    {
        (void)::setrlimit(RLIMIT_FSIZE, &before_);
        (void)std::signal(SIGXFSZ, handler_);
    }
    LargestFile(const LargestFile&) = delete;
    LargestFile& operator=(const LargestFile&) = delete;

private:
    rlimit before_{};
    void (*handler_)(int);
};

TEST_F(ConversionOutput, AFileThatAppearsMeanwhileIsKept)
{
    const BeforeSystemCall race{SystemCall::renameat2, [this] { write("a.mcb", "theirs"); }};
    const Failure failed = failure_to("a.bit", "a.mcb");
    EXPECT_EQ(failed.what, path("a.mcb") + " exists already, and is kept");
    EXPECT_EQ(content("a.mcb"), "theirs");
    EXPECT_THAT(names(), ElementsAre("a.bit", "a.mcb"));
}

TEST_F(ConversionOutput, AFileThatAppearsMeanwhileIsKeptWhereTheFileSystemHasLinksAlone)
{
    const SystemFailure plain{SystemCall::renameat2, EINVAL};
    EXPECT_EQ(convert_to("a.bit", "a.mcb").bytes, good.size());
    EXPECT_EQ(content("a.mcb"), good);
    std::filesystem::remove(path("a.mcb"));
    const BeforeSystemCall race{SystemCall::link, [this] { write("a.mcb", "theirs"); }};
    EXPECT_EQ(failure_to("a.bit", "a.mcb").what, path("a.mcb") + " exists already, and is kept");
    EXPECT_EQ(content("a.mcb"), "theirs");
    EXPECT_THAT(names(), ElementsAre("a.bit", "a.mcb"));
}

TEST_F(ConversionOutput, AFolderThatAppearsMeanwhileIsNoTarget)
{
    const BeforeSystemCall race{SystemCall::rename,
                                [this] { std::filesystem::create_directory(path("a.mcb")); }};
    const Failure failed = failure("a.bit", {.target = "a.mcb", .overwrite = true});
    EXPECT_EQ(failed.status, ExitStatus::file);
    EXPECT_EQ(failed.what, "cannot write " + path("a.mcb") + ": Is a directory");
    EXPECT_THAT(names(), ElementsAre("a.bit", "a.mcb"));
}

TEST_F(ConversionOutput, TheSourceUnderAnotherNameIsNoTarget)
{
    std::filesystem::create_symlink("a.bit", path("link.bit"));
    std::filesystem::create_hard_link(path("a.bit"), path("hard.bit"));
    const std::string before = content("a.bit");
    for (const char* target : {"a.bit", "./a.bit", "link.bit", "hard.bit"}) {
        const Failure failed = failure("a.bit", {.target = target, .overwrite = true});
        EXPECT_EQ(failed.status, ExitStatus::usage);
        EXPECT_EQ(failed.what, path(target) + " is the file that is to be converted");
        EXPECT_EQ(content(target), before);
    }
    const Redirected input{STDIN_FILENO, ::open(path("a.bit").c_str(), O_RDONLY | O_CLOEXEC)};
    const Failure failed = failure_of([&] {
        (void)kvn::convert(kvn::Input::from_path("-"), {.target = path("hard.bit"), .overwrite = true});
    });
    EXPECT_EQ(failed.what, path("hard.bit") + " is the file that is to be converted");
    EXPECT_THAT(names(), ElementsAre("a.bit", "hard.bit", "link.bit"));
}

TEST_F(ConversionOutput, ASymbolicLinkIsReplacedAndNotFollowed)
{
    write("precious.txt", "precious");
    std::filesystem::create_symlink("precious.txt", path("a.mcb"));
    EXPECT_EQ(failure_to("a.bit", "a.mcb").what, path("a.mcb") + " exists already, and is kept");
    EXPECT_EQ(convert("a.bit", {.target = "a.mcb", .overwrite = true}).bytes, good.size());
    EXPECT_FALSE(std::filesystem::is_symlink(path("a.mcb")));
    EXPECT_EQ(content("a.mcb"), good);
    EXPECT_EQ(content("precious.txt"), "precious");
}

TEST_F(ConversionOutput, ALinkThatLeadsNowhereIsKept)
{
    std::filesystem::create_symlink("nowhere", path("a.mcb"));
    EXPECT_EQ(failure_to("a.bit", "a.mcb").what, path("a.mcb") + " exists already, and is kept");
    EXPECT_THAT(names(), ElementsAre("a.bit", "a.mcb"));
}

TEST_F(ConversionOutput, FoldersPipesAndDevicesAreNoTargets)
{
    std::filesystem::create_directory(path("folder"));
    make_fifo(path("pipe"));
    const ConversionRequest to_folder{.target = "folder", .format = Format::mcb, .overwrite = true};
    EXPECT_EQ(failure("a.bit", to_folder).what, path("folder") + " is a folder");
    const ConversionRequest to_pipe{.target = "pipe", .format = Format::mcb, .overwrite = true};
    EXPECT_EQ(failure("a.bit", to_pipe).what, path("pipe") + " is no regular file");
    const Failure failed = failure_of([&] {
        (void)kvn::convert(kvn::Input::from_path(path("a.bit")),
                           {.target = "/dev/null", .format = Format::mcb, .overwrite = true});
    });
    EXPECT_EQ(failed.status, ExitStatus::file);
    EXPECT_EQ(failed.what, "/dev/null is no regular file");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(ConversionOutput, AFileTakesNoFile)
{
    EXPECT_EQ(failure_to("a.bit", "a.bit/a.mcb").what,
              "cannot write " + path("a.bit/a.mcb") + ": Not a directory");
    EXPECT_THAT(names(), ElementsAre("a.bit"));
}

TEST_F(ConversionOutput, AFolderThatMayNotBeWrittenTakesNoFile)
{
    // Not even the administrator may make a file there.
    const Failure failed = failure_of(
        [&] { (void)kvn::convert(kvn::Input::from_path(path("a.bit")), {.target = "/proc/self/a.mcb"}); });
    EXPECT_EQ(failed.status, ExitStatus::file);
    EXPECT_THAT(failed.what, HasSubstr("cannot write /proc/self/a.mcb: "));
}

TEST_F(ConversionOutput, AFullDiskLeavesNothingBehind)
{
    write("a.rbt", "mine");
    const LargestFile limit{100000};
    const Failure failed = failure("a.bit", {.target = "a.rbt", .overwrite = true});
    EXPECT_EQ(failed.status, ExitStatus::file);
    EXPECT_THAT(failed.what, testing::AnyOf("cannot write " + path("a.rbt") + ": File too large",
                                            HasSubstr("File too large")));
    EXPECT_EQ(content("a.rbt"), "mine");
    EXPECT_THAT(names(), ElementsAre("a.bit", "a.rbt"));
}

TEST_F(ConversionOutput, AFileThatReadsBackDifferentlyIsRemoved)
{
    // What is on the disk is changed when it has been written.
    const auto spoil = [this] {
        for (const std::string& name : names()) {
            if (!name.starts_with(".kvn-"))
                continue;
            std::string text = content(name);
            text[text.size() / 2] = static_cast<char>(text[text.size() / 2] ^ 1);
            write(name, text);
        }
    };
    const BeforeSystemCall meanwhile{SystemCall::fsync, spoil};
    const Failure failed = failure_to("a.bit", "a.mcb");
    EXPECT_EQ(failed.status, ExitStatus::file);
    EXPECT_EQ(failed.what, "what was written to " + path("a.mcb") + " reads back differently");
    EXPECT_EQ(failed.remedy, "see whether the disk is sound");
    EXPECT_THAT(names(), ElementsAre("a.bit"));
}

TEST_F(ConversionOutput, WritesThatTakeAPartOfTheBytesAreContinued)
{
    const ShortWrites pieces{1000};
    const SystemFault interrupted{SystemCall::write, 2, EINTR};
    EXPECT_EQ(convert_to("a.bit", "a.mcb").bytes, good.size());
    EXPECT_EQ(content("a.mcb"), good);
}

TEST_F(ConversionOutput, EverySystemCallThatFailsLeavesTheTargetAsItWas)
{
    for (const bool overwrite : {false, true}) {
        const ConversionRequest request{.target = "a.mcb", .overwrite = overwrite};
        std::vector<SystemCall> made;
        {
            const SystemCalls calls;
            (void)convert("a.bit", request);
            made = calls.made;
        }
        EXPECT_THAT(made, testing::IsSupersetOf(
                              {SystemCall::open, SystemCall::write, SystemCall::fsync, SystemCall::close}));
        for (std::size_t place = 0; place < made.size(); ++place) {
            const SystemCall call = made[place];
            const auto n = std::count(made.begin(), made.begin() + static_cast<std::ptrdiff_t>(place), call);
            std::filesystem::remove(path("a.mcb"));
            if (overwrite)
                write("a.mcb", "mine");
            Failure failed;
            {
                const SystemFault fault{call, static_cast<int>(n) + 1, EIO};
                failed = failure("a.bit", request);
            }
            SCOPED_TRACE(std::string{name_of(call)} + " number " + std::to_string(n + 1));
            // A file that was only read is closed whatever the close says.
            if (failed.status == ExitStatus::done) {
                EXPECT_EQ(call, SystemCall::close);
                EXPECT_EQ(content("a.mcb"), good);
                continue;
            }
            EXPECT_EQ(failed.status, ExitStatus::file);
            EXPECT_THAT(failed.what, HasSubstr("Input/output error"));
            EXPECT_EQ(content("a.mcb"), overwrite ? "mine" : "");
            EXPECT_EQ(names().size(), overwrite ? 2U : 1U);
        }
    }
}

TEST_F(ConversionOutput, TheUmaskDecidesTheRights)
{
    const mode_t before = ::umask(0027);
    (void)convert_to("a.bit", "a.mcb");
    (void)::umask(before);
    struct stat status {
    };
    ASSERT_EQ(::stat(path("a.mcb").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST_F(ConversionOutput, StandardOutputThatIsFullIsAFailure)
{
    const Redirected output{STDOUT_FILENO, open_for_writing(FULL_FILE)};
    const Failure failed = failure("a.bit", {.target = "-", .format = Format::mcb});
    EXPECT_EQ(failed.status, ExitStatus::file);
    EXPECT_EQ(failed.what, "cannot write standard output: No space left on device");
}
} // namespace
