// SPDX-License-Identifier: Apache-2.0
// kvn support: what the archive holds, and that it is said before.
#include "kvn_fixture.h"

#include <gmock/gmock.h>

namespace
{
using testing::HasSubstr;

class KvnSupport : public KvnOnBoards
{
protected:
    /// Unpacks an archive by the system's own program.
    void unpack(const std::string& archive) const
    {
        ASSERT_EQ(run({"tar", {"-xzf", archive}, folder, {}}).status, 0);
    }
};

TEST_F(KvnSupport, SaysWhatTheArchiveHoldsAndWritesIt)
{
    make("2v40cs144-4", "design.bit");
    write("run.jsonl", "{\"trace\":\"mwapi\",\"version\":1}\n");
    write("run.journal", "{}\n");
    const Outcome made = kvn({"support", "fault.tar.gz", "design.bit", "--boards", "mwc4a:0", "--trace",
                              "run.jsonl", "--journal", "run.journal"});
    EXPECT_EQ(made.status, 0);
    EXPECT_THAT(
        made.output,
        testing::MatchesRegex(
            "fault.tar.gz will contain:\n"
            "  versions.json, [0-9]+ bytes: the versions of kvn and of the library, name and file of the provider\n"
            "  list.json, [0-9]+ bytes: kvn list of mwc4a:0\n"
            "  files/1-design.bit.info.json, [0-9]+ bytes: kvn info of design.bit: its header and facts, not its "
            "data\n"
            "  files/1-design.bit.check.json, [0-9]+ bytes: kvn check of design.bit\n"
            "  trace.jsonl, 30 bytes: the trace run.jsonl: all calls, with the data sent and received\n"
            "  journal.jsonl, 3 bytes: the journal run.journal\n"
            "and nothing else.\n"));
    unpack("fault.tar.gz");
    for (const char* file :
         {"versions.json", "list.json", "files/1-design.bit.info.json", "files/1-design.bit.check.json"})
        keep_document(content(file));
    EXPECT_EQ(nlohmann::json::parse(content("versions.json"))["tool"], "kvn 1.0.0");
    EXPECT_EQ(nlohmann::json::parse(content("versions.json"))["provider"]["name"], "virtual");
    EXPECT_EQ(nlohmann::json::parse(content("list.json"))["boards"][0]["board"], "mwc4a:0");
    EXPECT_EQ(nlohmann::json::parse(content("files/1-design.bit.check.json"))["check"]["result"], "yes");
    EXPECT_EQ(content("trace.jsonl"), content("run.jsonl"));
    EXPECT_EQ(content("journal.jsonl"), "{}\n");
    const Outcome names = run({"tar", {"-tzf", "fault.tar.gz"}, folder, {}});
    EXPECT_EQ(std::count(names.output.begin(), names.output.end(), '\n'), 6);
}

TEST_F(KvnSupport, WhatFailsIsInTheArchiveAsAFailure)
{
    const Outcome made =
        kvn({"support", "fault.tar.gz", "none.bit", "--boards", "mwc4a", "--provider", "./no.so"});
    EXPECT_EQ(made.status, 0);
    unpack("fault.tar.gz");
    EXPECT_EQ(nlohmann::json::parse(content("list.json"))["error"]["kind"], "no module");
    EXPECT_EQ(nlohmann::json::parse(content("files/1-none.bit.info.json"))["error"]["kind"], "file");
}

TEST_F(KvnSupport, WithoutBoardsNoneIsOpened)
{
    variables["KVN_MWAPI"] = "./no.so";
    EXPECT_EQ(kvn({"support", "fault.tar.gz"}).status, 0);
    EXPECT_EQ(run({"tar", {"-tzf", "fault.tar.gz"}, folder, {}}).output, "versions.json\n");
}

TEST_F(KvnSupport, NamesInTheArchiveAreHarmless)
{
    EXPECT_EQ(kvn({"support", "fault.tar.gz", "../\x1B[2J ../x y" + std::string(200, 'z')}).status, 0);
    const std::string names = run({"tar", {"-tzf", "fault.tar.gz"}, folder, {}}).output;
    EXPECT_THAT(names, HasSubstr("\nfiles/1-x_y" + std::string(37, 'z') + ".info.json\n"));
}

TEST_F(KvnSupport, KeepsAFileThatExists)
{
    write("fault.tar.gz", "kept");
    const Outcome refused = kvn({"support", "fault.tar.gz"});
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(content("fault.tar.gz"), "kept");
    EXPECT_EQ(kvn({"support", "fault.tar.gz", "--overwrite"}).status, 0);
    EXPECT_NE(content("fault.tar.gz"), "kept");
}

TEST_F(KvnSupport, ATraceThatCannotBeReadIsAnErrorAndNothingIsWritten)
{
    EXPECT_EQ(kvn({"support", "fault.tar.gz", "--trace", "none.jsonl"}).status, 3);
    EXPECT_FALSE(std::filesystem::exists(folder / "fault.tar.gz"));
}

TEST_F(KvnSupport, WritesToStandardOutput)
{
    const Outcome made = kvn({"support", "-"});
    EXPECT_EQ(made.status, 0);
    EXPECT_THAT(made.errors, testing::StartsWith("- will contain:\n"));
    EXPECT_THAT(made.output, testing::StartsWith("\x1F\x8B"));
    EXPECT_EQ(kvn({"support", "-", "--json"}).status, 2);
}

TEST_F(KvnSupport, PrintsJson)
{
    const nlohmann::json document = json({"support", "fault.tar.gz"});
    EXPECT_EQ(document["kvn"], "support");
    EXPECT_EQ(document["file"], "fault.tar.gz");
    EXPECT_EQ(document["bytes"], std::filesystem::file_size(folder / "fault.tar.gz"));
    EXPECT_EQ(document["entries"][0]["name"], "versions.json");
}
} // namespace
