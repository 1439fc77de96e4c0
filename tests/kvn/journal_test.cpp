// SPDX-License-Identifier: Apache-2.0
// kvn journal and kvn history: what is checked, shown and told of journals.
#include "kvn_fixture.h"
#include "run/history.h"
#include "run/journal_reader.h"
#include "support/journals.h"

#include <gmock/gmock.h>

namespace
{
using kvn::ModuleState;
using kvn::Verdict;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class KvnJournal : public KvnTest
{
protected:
    /// Two modules configured, one refused, one begun when the run was killed.
    void write_killed(const std::string& name, const kvn::JournalHeader& header = journals::header()) const
    {
        kvn::Journal journal{path(name), header, journals::planned(4)};
        journal.append(kvn::kept_event(journals::finished(0)["record"]));
        for (const kvn::Json& event :
             {journals::begun(1, 1), journals::finished(1), journals::begun(2, 2),
              journals::finished(2, Verdict::refused, ModuleState::refused), journals::begun(3, 3)})
            journal.append(event);
    }

    [[nodiscard]] std::string head_of(const std::string& name) const
    {
        return kvn::inspect_journal(path(name)).head;
    }
};

TEST_F(KvnJournal, VerifiesAWholeJournal)
{
    journals::write_good(path("rack.journal"));
    const Outcome outcome = kvn({"journal", "verify", "rack.journal"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.output, "Journal:        rack.journal\n"
                              "Begun:          2026-11-22T03:44:37.125Z on line-3, plan rack.con\n"
                              "Lines:          7, each as it was written\n"
                              "Head:           " +
                                  head_of("rack.journal") +
                                  "\n"
                                  "Run:            has ended, and says how\n"
                                  "Result:         unchanged\n");
}

TEST_F(KvnJournal, FindsAChangedByte)
{
    journals::write_good(path("rack.journal"));
    std::string text = content("rack.journal");
    text[text.rfind("mwc4a:0/2")] = 'M';
    write("rack.journal", text);
    const Outcome outcome = kvn({"journal", "verify", "rack.journal"});
    EXPECT_EQ(outcome.status, 4);
    EXPECT_EQ(outcome.errors,
              "kvn: rack.journal was changed: line 6: its bytes do not have the sum that it ends with\n"
              "try: use an unchanged copy of the journal\n");
    EXPECT_THAT(outcome.output, HasSubstr("\nLines:          5, each as it was written\n"));
    EXPECT_THAT(outcome.output, EndsWith("\nResult:         changed\n"));
    const nlohmann::json document = json({"journal", "verify", "rack.journal"});
    EXPECT_EQ(document["kvn"], "verification");
    EXPECT_EQ(document["result"], "changed");
    EXPECT_EQ(document["error"]["status"], 4);
    EXPECT_EQ(document["damage"]["line"], 6);
    EXPECT_EQ(kvn({"journal", "show", "rack.journal"}).status, 4);
}

TEST_F(KvnJournal, FindsATornLastLine)
{
    journals::write_good(path("rack.journal"));
    const std::string text = content("rack.journal");
    write("rack.journal", text.substr(0, text.size() - 5));
    const Outcome outcome = kvn({"journal", "verify", "rack.journal"});
    EXPECT_EQ(outcome.status, 4);
    EXPECT_THAT(outcome.errors, StartsWith("kvn: rack.journal: the last line was cut off after "));
    EXPECT_THAT(outcome.output,
                EndsWith("\nRun:            has no result: it was killed, or the last lines were "
                         "removed\nResult:         torn\n"));
    const nlohmann::json document = json({"journal", "verify", "rack.journal"});
    EXPECT_EQ(document["result"], "torn");
    EXPECT_EQ(document["damage"], nullptr);
    EXPECT_EQ(document["lines"], 6);
}

TEST_F(KvnJournal, ANotedHeadFindsWhatTheChainCannot)
{
    journals::write_good(path("rack.journal"));
    const std::string head = head_of("rack.journal");
    EXPECT_EQ(kvn({"journal", "verify", "rack.journal", "--head", head}).status, 0);
    std::string text = content("rack.journal");
    text.resize(text.rfind('\n', text.size() - 2) + 1);
    write("rack.journal", text);
    EXPECT_EQ(kvn({"journal", "verify", "rack.journal"}).status, 0);
    const Outcome outcome = kvn({"journal", "verify", "rack.journal", "--head", head});
    EXPECT_EQ(outcome.status, 4);
    EXPECT_EQ(outcome.errors, "kvn: rack.journal was changed: no line has the SHA-256 " + head +
                                  "\nwhy: lines were calculated again, or removed at the end\n"
                                  "try: use an unchanged copy of the journal\n");
    EXPECT_EQ(json({"journal", "verify", "rack.journal", "--head", head})["result"], "changed");
}

TEST_F(KvnJournal, AJournalThatIsBeingWrittenIsNotTorn)
{
    const kvn::Journal journal{path("rack.journal"), journals::header(), journals::planned(1)};
    const Outcome outcome = kvn({"journal", "verify", "rack.journal"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output, HasSubstr("\nRun:            goes on\n"));
    EXPECT_EQ(json({"journal", "verify", "rack.journal"})["being_written"], true);
}

TEST_F(KvnJournal, TellsWhichJournalItContinues)
{
    kvn::JournalHeader header = journals::header();
    header.continues = {"old.journal", std::string(64, 'a')};
    journals::write_good(path("rack.journal"), header);
    EXPECT_THAT(kvn({"journal", "verify", "rack.journal"}).output,
                HasSubstr("\nContinues:      old.journal, head " + std::string(64, 'a') + "\n"));
    EXPECT_EQ(json({"journal", "verify", "rack.journal"})["journal"]["continues"]["file"], "old.journal");
}

TEST_F(KvnJournal, ShowsTheRecords)
{
    write_killed("rack.journal");
    const Outcome outcome = kvn({"journal", "show", "rack.journal"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors,
              "kvn: rack.journal: the run has no result: it was killed, or the last lines were removed\n");
    EXPECT_EQ(
        outcome.output,
        "Module     Verdict     State        Begun                     Attempts  File        Device         Remark\n"
        "mwc4a:0/1  configured  configured                                       design.bit  2v3000fg676-4  "
        "kept from the journal before\n"
        "mwc4a:0/2  configured  configured   2026-11-22T03:44:38.125Z  1         design.bit  2v3000fg676-4\n"
        "mwc4a:0/3  refused     refused      2026-11-22T03:44:39.125Z  1         design.bit  2v3000fg676-4  "
        "the bus failed\n"
        "mwc4a:0/4  failed      interrupted  2026-11-22T03:44:40.125Z  1         design.bit  2v3000fg676-4  "
        "begun, and not finished\n");
    const nlohmann::json document = json({"journal", "show", "rack.journal"});
    EXPECT_EQ(document["kvn"], "records");
    EXPECT_EQ(document["ended"], false);
    EXPECT_EQ(document["modules"][0]["kept"], true);
    EXPECT_EQ(document["modules"][3]["record"], nullptr);
    EXPECT_EQ(document["modules"][3]["state"], "interrupted");
}

TEST_F(KvnJournal, OtherFilesAreNoJournals)
{
    write("rack.con", "design.bit mwc4a 0 0x01\n");
    const Outcome outcome = kvn({"journal", "verify", "rack.con"});
    EXPECT_EQ(outcome.status, 4);
    EXPECT_EQ(outcome.errors, "kvn: rack.con is no journal: it does not begin as one\n");
    EXPECT_EQ(kvn({"journal", "verify", "none"}).status, 3);
    EXPECT_EQ(kvn({"journal", "varify", "rack.con"}).status, 2);
    EXPECT_EQ(kvn({"journal", "verify", "rack.con", "--head", "abc"}).errors,
              "kvn: --head takes the SHA-256 of a line, for verify: 64 hexadecimal digits in lower case\n");
    EXPECT_EQ(kvn({"journal", "show", "rack.con", "--head", std::string(64, 'a')}).status, 2);
}

TEST_F(KvnJournal, EveryLineMatchesTheSchema)
{
    write_killed("killed.journal");
    kvn::JournalHeader header = journals::header();
    header.host = header.boot_id = header.operator_name = header.station = std::nullopt;
    header.continues = {"old.journal", std::string(64, 'a')};
    {
        kvn::Journal journal{path("good.journal"), header, journals::planned(2)};
        journal.append(kvn::problem_event(kvn::Severity::note, "", "a note", ""));
        journal.append(journals::result(0));
    }
    for (const char* name : {"killed.journal", "good.journal"})
        keep_lines(content(name));
}

class KvnHistory : public KvnJournal
{
};

TEST_F(KvnHistory, TellsTheLastLoads)
{
    std::filesystem::create_directory(folder / "journals");
    write_killed("journals/a.journal");
    kvn::JournalHeader header = journals::header();
    header.host = "line-1";
    header.operator_name = std::nullopt;
    journals::write_good(path("journals/b.journal"), header);
    const Outcome outcome = kvn({"history", "--journals", "journals"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    const std::string file = "  design.bit  example.ncd  dddddddddddd  ";
    EXPECT_EQ(
        outcome.output,
        "Module     Host    Begun                     Verdict       State        File        Design       "
        "Digest        By                       Journal\n"
        "mwc4a:0/1  line-1  2026-11-22T03:44:38.125Z  configured    configured " +
            file +
            "at station 2             b.journal\n"
            "mwc4a:0/2  line-1  2026-11-22T03:44:39.125Z  configured    configured " +
            file +
            "at station 2             b.journal\n"
            "mwc4a:0/2  line-3  2026-11-22T03:44:38.125Z  configured    configured " +
            file +
            "operator 7 at station 2  a.journal\n"
            "mwc4a:0/3  line-3  2026-11-22T03:44:39.125Z  refused       refused    " +
            file +
            "operator 7 at station 2  a.journal\n"
            "mwc4a:0/4  line-3  2026-11-22T03:44:40.125Z  not finished  interrupted  design.bit               "
            "dddddddddddd  operator 7 at station 2  a.journal\n\n" +
            kvn::HISTORY_REMARK + "\n");
    const nlohmann::json document = json({"history", "mwc4a:0/4", "--journals", "journals"});
    EXPECT_EQ(document["kvn"], "history");
    EXPECT_EQ(document["remark"], kvn::HISTORY_REMARK);
    EXPECT_EQ(document["journals"], 2);
    ASSERT_EQ(document["loads"].size(), 1U);
    EXPECT_EQ(document["loads"][0]["finished"], false);
    EXPECT_EQ(document["loads"][0]["planned"]["digest"], std::string(64, 'd'));
}

TEST_F(KvnHistory, SaysWhenThereIsNone)
{
    EXPECT_EQ(kvn({"history"}).output, "No load is in the 0 journals of ..\n");
    journals::write_good(path("rack.journal"));
    const Outcome none = kvn({"history", "mwc4a:7/1"});
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.output, "No load of mwc4a:7/1 is in the 1 journal of ..\n");
    EXPECT_EQ(kvn({"history", "nonsense"}).status, 2);
    EXPECT_EQ(kvn({"history", "--journals", "none"}).status, 3);
}

TEST_F(KvnHistory, ADamagedJournalIsReported)
{
    journals::write_good(path("rack.journal"));
    std::string text = content("rack.journal");
    text[text.rfind("mwc4a:0/2")] = 'M';
    write("rack.journal", text);
    write("other.journal", "");
    const Outcome outcome = kvn({"history"});
    EXPECT_EQ(outcome.status, 4);
    EXPECT_THAT(outcome.output,
                HasSubstr("\nmwc4a:0/2  line-3  2026-11-22T03:44:39.125Z  not finished  interrupted"));
    EXPECT_EQ(outcome.errors,
              "kvn: ./other.journal: it does not begin as a journal (and 1 more)\n"
              "why: a journal counts up to the first line that was changed: later loads may be missing\n"
              "try: kvn journal verify ./other.journal\n");
    EXPECT_EQ(kvn({"journal", "verify", "./other.journal"}).status, 4) << "what the hint says";
    const nlohmann::json document = json({"history"});
    EXPECT_EQ(document["problems"].size(), 2U);
    EXPECT_EQ(document["error"]["kind"], "damaged");
}
} // namespace
