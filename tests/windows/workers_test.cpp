// SPDX-License-Identifier: Apache-2.0
// The workers of a run whose controller is ended at once.
#include "kvn/two_boards.h"

#include "support/windows/child.h"

#include <gmock/gmock.h>
#include <tlhelp32.h>

namespace
{
using testing::HasSubstr;

using WindowsWorkers = KvnOnTwoBoards;

/// The processes of kvn.exe that a process has started.
std::vector<DWORD> started_by(DWORD process)
{
    const Handle all{CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0)};
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    std::vector<DWORD> found;
    for (BOOL is_any = Process32FirstW(all.get(), &entry); is_any != FALSE;
         is_any = Process32NextW(all.get(), &entry))
        if (entry.th32ParentProcessID == process && std::wstring_view{entry.szExeFile} == L"kvn.exe")
            found.push_back(entry.th32ProcessID);
    return found;
}

TEST_F(WindowsWorkers, CutTheirLoadsOffAndEndInOrderWhenTheControllerIsKilled)
{
    use_boards("bytes_per_second = 1_000\n");
    std::vector<Handle> workers;
    {
        Terminal console{command({"run", "plan.toml", "--journal", "run.journal"})};
        console.expect("mwc4a:0/1  ");
        console.expect("mwc4a:1/1  ");
        const std::vector<DWORD> controllers = started_by(static_cast<DWORD>(console.process()));
        ASSERT_EQ(controllers.size(), 1U);
        for (const DWORD worker : started_by(controllers.front()))
            workers.emplace_back(OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION, FALSE, worker));
        ASSERT_EQ(workers.size(), 2U) << "one for each bus";
        console.signal(KILL);
        EXPECT_EQ(console.finish(), 128 + KILL);
    }
    for (const Handle& worker : workers)
        EXPECT_EQ(wait_for(worker.get()), 11) << "cancelled, and not killed";
    EXPECT_EQ(states(), "mwc4a:0/1 part of its data, mwc4a:1/1 part of its data");

    const Outcome shown = run(command({"journal", "show", "run.journal"}));
    for (const char* module : {"mwc4a:0/1", "mwc4a:0/2", "mwc4a:1/1", "mwc4a:1/2"})
        EXPECT_THAT(shown.output, HasSubstr(module)) << shown.errors;
    use_boards();
    const Outcome resumed =
        run(command({"run", "plan.toml", "--resume", "run.journal", "--progress", "none"}));
    EXPECT_EQ(resumed.status, 0) << "the buses are free: " << resumed.errors;
    EXPECT_EQ(states(), ALL_RUNNING);
}
} // namespace
