// SPDX-License-Identifier: Apache-2.0
// Which system calls bring a journal to the disk, and what is left of it when one fails or its process is
// killed.
#include "journal_fixture.h"

#include "support/system_faults.h"
#include "system/host.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <utility>

namespace
{
using kvn::ExitStatus;
using kvn::Journal;
using kvn::Json;
using testing::ElementsAre;

TEST_F(JournalTest, EachLineRepeatsTheHashOfTheLineBeforeAndIsOnTheDiskWhenTheCallReturns)
{
    Journal journal = begin();
    const std::string before = lines("rack.journal").back();
    {
        const SystemCalls calls;
        journal.append(journals::begun(0));
        EXPECT_THAT(calls.made, ElementsAre(SystemCall::write, SystemCall::fdatasync));
    }
    const std::string line = lines("rack.journal").back();
    EXPECT_EQ(line, R"({"event":"begun","module":"mwc4a:0/1","attempt":1,"at":"2026-11-22T03:44:37.125Z",)"
                    R"("previous":")" +
                        sha256_of(before) + R"(","sum":")" +
                        sha256_of(line.substr(0, line.find(",\"sum\""))) + "\"}");
    EXPECT_EQ(journal.head(), sha256_of(line));
}

TEST_F(JournalTest, AReadThatFailsIsTold)
{
    // A file of which every process may read its own beginning, where nothing is.
    try {
        (void)kvn::inspect_journal("/proc/self/mem");
        FAIL();
    } catch (const kvn::FailureError& error) {
        EXPECT_EQ(error.failure().status, ExitStatus::file);
        EXPECT_EQ(error.failure().what, "/proc/self/mem: Input/output error");
    }
}

TEST_F(JournalTest, TheFolderIsFlushedWhenTheFileIsMade)
{
    const SystemCalls calls;
    const Journal journal = begin();
    EXPECT_THAT(calls.made,
                ElementsAre(SystemCall::open, SystemCall::write, SystemCall::fdatasync, SystemCall::renameat2,
                            SystemCall::open, SystemCall::fsync, SystemCall::close));
}

TEST_F(JournalTest, HasItsNameOnlyWhenItsFirstLinesAreOnTheDisk)
{
    bool was_there = true;
    const BeforeSystemCall look{SystemCall::renameat2, [&] { was_there = std::filesystem::exists(file()); }};
    const Journal journal = begin();
    EXPECT_FALSE(was_there);
    EXPECT_EQ(files(), std::vector<std::string>{"rack.journal"});
}

TEST_F(JournalTest, KeptModulesAreAmongTheFirstLines)
{
    const std::vector<Json> kept{kvn::kept_event(journals::finished(0)["record"]),
                                 kvn::kept_event(journals::finished(1)["record"])};
    const SystemCalls calls;
    const Journal journal{file(), journals::header(), journals::planned(2), kept};
    EXPECT_EQ(std::ranges::count(calls.made, SystemCall::fdatasync), 1);
    const kvn::JournalContent read = kvn::read_journal(file());
    EXPECT_EQ(read.lines, 4U);
    EXPECT_EQ(read.events, kept);
    EXPECT_EQ(read.head, journal.head());
}

TEST_F(JournalTest, CanBeReadByEveryoneAndWrittenByItsOwner)
{
    const mode_t before = ::umask(022);
    const Journal journal = begin();
    (void)::umask(before);
    struct stat status {
    };
    ASSERT_EQ(::stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
}

TEST_F(JournalTest, AFullDiskLeavesTheWholeLines)
{
    Journal journal = begin();
    journal.append(journals::begun(0));
    const std::string good = content("rack.journal");
    const std::string head = journal.head();
    for (int n = 1; n <= 4; ++n) { // each failing write leaves 50 bytes of the line for every write before it
        SCOPED_TRACE(n);
        Journal copy{path("copy" + std::to_string(n)), journals::header(), journals::planned(2)};
        copy.append(journals::begun(0));
        const ShortWrites pieces{50};
        const SystemFault full{SystemCall::write, n, ENOSPC};
        const auto failure = failure_of([&] { copy.append(journals::finished(0)); });
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->status, ExitStatus::file);
        EXPECT_EQ(failure->what, "cannot write the journal " + copy.path() + ": No space left on device");
        EXPECT_EQ(content("copy" + std::to_string(n)), good);
        EXPECT_EQ(copy.head(), head);
        EXPECT_EQ(failure_of([&] { copy.append(journals::finished(0)); }), failure) << "there is room again";
        EXPECT_EQ(content("copy" + std::to_string(n)), good);
    }
}

TEST_F(JournalTest, ALineThatDidNotReachTheDiskIsCutOff)
{
    Journal journal = begin();
    const std::string good = content("rack.journal");
    const SystemFault broken{SystemCall::fdatasync, 1, EIO};
    const auto failure = failure_of([&] { journal.append(journals::begun(0)); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->what, "cannot write the journal " + file() + ": Input/output error");
    EXPECT_EQ(content("rack.journal"), good);
    EXPECT_EQ(kvn::read_journal(file()).lines, 2U);
}

TEST_F(JournalTest, AFileThatCannotBeCutEndsInATornLineThatReadersLeaveOut)
{
    Journal journal = begin();
    const ShortWrites pieces{50};
    const SystemFault full{SystemCall::write, 2, ENOSPC};
    const SystemFailure stuck{SystemCall::ftruncate, EIO};
    EXPECT_TRUE(failure_of([&] { journal.append(journals::begun(0)); }));
    const kvn::JournalContent read = kvn::read_journal(file());
    EXPECT_EQ(read.lines, 2U);
    EXPECT_EQ(read.torn_bytes, 50U);
}

TEST_F(JournalTest, WritesThatASignalCutsShortGoOn)
{
    {
        const ShortWrites pieces{7};
        const SystemFault interrupted{SystemCall::write, 3, EINTR};
        journals::write_good(file());
    }
    EXPECT_EQ(kvn::read_journal(file()).lines, 7U);
}

TEST_F(JournalTest, AJournalThatCannotBeBegunIsRemoved)
{
    const std::pair<SystemCall, int> faults[] = {{SystemCall::open, 1},      {SystemCall::write, 1},
                                                 {SystemCall::fdatasync, 1}, {SystemCall::renameat2, 1},
                                                 {SystemCall::open, 2},      {SystemCall::fsync, 1}};
    for (const auto& [call, n] : faults) {
        SCOPED_TRACE(name_of(call));
        const SystemFault fault{call, n, EIO};
        const auto failure = failure_of([&] { (void)begin(); });
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->what, "cannot write the journal " + file() + ": Input/output error");
        EXPECT_EQ(files(), std::vector<std::string>{});
    }
}

/// Writes a journal in another process, kills that after so many lines, and returns the lines that it knew to
/// be written.
std::size_t lines_before_kill(const std::string& file, std::size_t lines)
{
    int ends[2] = {-1, -1};
    if (::pipe(ends) != 0)
        throw std::runtime_error{"no pipe"};
    const pid_t writer = ::fork();
    if (writer == 0) {
        Journal journal{file, journals::header(), journals::planned(2)};
        for (unsigned i = 0;; ++i) {
            journal.append(i % 2 == 0 ? journals::begun(0) : journals::finished(0));
            (void)!::write(ends[1], "x", 1);
        }
    }
    (void)::close(ends[1]);
    std::size_t written = 0;
    char each = 0;
    while (written < lines && ::read(ends[0], &each, 1) == 1)
        ++written;
    (void)::kill(writer, SIGKILL);
    while (::read(ends[0], &each, 1) == 1)
        ++written;
    (void)::close(ends[0]);
    (void)::waitpid(writer, nullptr, 0);
    return written;
}

TEST_F(JournalTest, AKillLosesNoLineThatWasWritten)
{
    for (std::size_t lines = 1; lines <= 20; ++lines) {
        SCOPED_TRACE(lines);
        const std::string killed = path("killed" + std::to_string(lines));
        const std::size_t written = lines_before_kill(killed, lines);
        const kvn::JournalContent read = kvn::read_journal(killed);
        EXPECT_GE(read.events.size(), written);
        EXPECT_LE(read.events.size(), written + 1) << "and the one that was being written";
        EXPECT_FALSE(read.is_being_written) << "the lock is freed";
        EXPECT_EQ(kvn::modules_of(read)[0].state,
                  read.events.size() % 2 == 0 ? kvn::ModuleState::configured : kvn::ModuleState::interrupted);
    }
}

TEST_F(JournalTest, KnowsTheBootOfItsHost)
{
    write("boot_id", "6c0a8f9e\n");
    write("empty", "");
    EXPECT_EQ(kvn::system::boot_id(path("boot_id")), "6c0a8f9e");
    EXPECT_EQ(kvn::system::boot_id(path("empty")), std::nullopt);
    EXPECT_EQ(kvn::system::boot_id(path("none")), std::nullopt);
    EXPECT_EQ(kvn::system::boot_id(folder.string()), std::nullopt);
    EXPECT_EQ(kvn::system::boot_id()->size(), 36U);
}
} // namespace
