// SPDX-License-Identifier: Apache-2.0
// Inputs that are no files, are looked at through /proc, or meet limits of the process.
#include "file/input.h"

#include "input_fixture.h"
#include "support/special_files.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <thread>

namespace
{
using kvn::ExitStatus;
using kvn::Failure;
using kvn::Input;

TEST_F(InputTest, CannotBeChangedAnyMore)
{
    const Input input = input_of("abc", "a");
    const File file = input.open();
    const std::string name = "/proc/self/fd/" + std::to_string(fileno(file.get()));
    const int descriptor = open(name.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(::write(descriptor, "x", 1), -1);
    EXPECT_EQ(ftruncate(descriptor, 1), -1);
    EXPECT_EQ(ftruncate(descriptor, 9), -1);
    close(descriptor);
    EXPECT_EQ(content_of(input), "abc");
}

TEST_F(InputTest, ReadsANamedPipeToItsEnd)
{
    const std::string text = gzip(long_text());
    make_fifo(path("pipe.bit"));
    std::thread writer{[&] { write("pipe.bit", text); }};
    const Input input = Input::from_path(path("pipe.bit"));
    writer.join();
    EXPECT_EQ(content_of(input), long_text());
    EXPECT_FALSE(input.name_states_format()) << "a pipe may have any name";
}

TEST_F(InputTest, FailsWithoutDescriptors)
{
    write("a.bit", "abc");
    const Input input = input_of("abc", "b");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    for (rlim_t free = 0; free < 2; ++free) {
        const int next = dup(0);
        close(next);
        const rlimit few{static_cast<rlim_t>(next) + free, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
        std::string of_path;
        std::string of_open;
        try {
            (void)Input::from_path(path("a.bit"));
        } catch (const kvn::FailureError& error) {
            of_path = error.what();
        }
        try {
            (void)input.open();
        } catch (const kvn::FailureError& error) {
            of_open = error.what();
        }
        setrlimit(RLIMIT_NOFILE, &before);
        EXPECT_EQ(of_path, path("a.bit") + ": Too many open files");
        EXPECT_EQ(of_open, free == 0 ? "b: Too many open files" : "");
    }
}

TEST_F(InputTest, FailsWithoutRoom)
{
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{100'000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const Failure failure = failure_of([] { (void)input_of(long_text(), "a"); });
    setrlimit(RLIMIT_FSIZE, &before);
    (void)std::signal(SIGXFSZ, handler);
    EXPECT_EQ(failure.status, ExitStatus::file);
    EXPECT_EQ(failure.what, "a: File too large");
}

TEST_F(InputTest, AFolderAsStandardInputIsNoFile)
{
    const Redirected given{STDIN_FILENO, ::open(folder.c_str(), O_RDONLY | O_CLOEXEC)};
    EXPECT_EQ(failure_of([] { (void)Input::from_path("-"); }).what, "-: Is a directory");
}

TEST_F(InputTest, AStreamIsNotInherited)
{
    const File file = input_of("abc", "a").open();
    EXPECT_NE(fcntl(fileno(file.get()), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(InputTest, DevicesAndMemoryAreNoFiles)
{
    const auto what = [](const std::string& name) {
        return failure_of([&] { (void)Input::from_path(name); }).what;
    };
    EXPECT_EQ(what("/dev/zero"), "/dev/zero: not a regular file");
    EXPECT_EQ(what("/proc/self/mem"), "/proc/self/mem: Input/output error");
}
} // namespace
