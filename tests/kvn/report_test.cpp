// SPDX-License-Identifier: Apache-2.0
// kvn report as a process.
#include "example_runs.h"
#include "kvn_fixture.h"

#include <gmock/gmock.h>

namespace
{

using testing::HasSubstr;
using testing::StartsWith;

class KvnReport : public KvnTest
{
protected:
    KvnReport()
    {
        example::ExampleRun example;
        example.load(example::configured("mwc4a:0/1", 0, 1500))
            .plan("mwc4a:0/2")
            .end(kvn::ExitStatus::several);
        example.write(path("run.journal"));
    }
};

TEST_F(KvnReport, WritesEveryForm)
{
    const Outcome outcome = run(command({"report", "run.journal", "--html", "a.html", "--junit", "a.xml",
                                         "--csv", "a.csv", "--json", "a.json"}));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "Modules:        2: 1 configured, 1 not tried\n"
                              "Simulated:      2\n"
                              "Written:        a.html\n"
                              "Written:        a.xml\n"
                              "Written:        a.csv\n"
                              "Written:        a.json\n");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_THAT(content("a.html"), StartsWith("<!DOCTYPE html>\n"));
    EXPECT_THAT(content("a.xml"), StartsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites "));
    EXPECT_THAT(content("a.csv"), StartsWith("host,module,label,"));
    keep_document(content("a.json"));
}

TEST_F(KvnReport, WritesOneFormToStandardOutputAndNothingElseThere)
{
    const Outcome outcome = kvn({"report", "run.journal", "--json", "-", "--csv", "a.csv"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "Modules:        2: 1 configured, 1 not tried\n"
                              "Simulated:      2\n"
                              "Written:        a.csv\n");
    EXPECT_EQ(nlohmann::json::parse(outcome.output)["counts"]["not tried"], 1);
}

TEST_F(KvnReport, GivesEqualBytesForEqualJournals)
{
    EXPECT_EQ(run(command({"report", "run.journal", "--html", "-"})).output,
              run(command({"report", "run.journal", "run.journal", "--html", "-"})).output);
}

TEST_F(KvnReport, KeepsAFileThatExists)
{
    write("a.html", "mine");
    const Outcome outcome = run(command({"report", "run.journal", "--html", "a.html"}));
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.errors, "kvn: a.html exists already, and is kept\n"
                              "try: name another file, or replace it by --overwrite\n");
    EXPECT_EQ(content("a.html"), "mine");
    EXPECT_EQ(run(command({"report", "run.journal", "--html", "a.html", "--overwrite"})).status, 0);
    EXPECT_THAT(content("a.html"), StartsWith("<!DOCTYPE html>\n"));
}

TEST_F(KvnReport, LeavesNothingWhenItFails)
{
    EXPECT_EQ(run(command({"report", "run.journal", "--html", "missing/a.html"})).status, 3);
    EXPECT_EQ(run(command({"report", "missing.journal", "--html", "a.html"})).status, 3);
    EXPECT_FALSE(std::filesystem::exists(path("a.html")));
}

TEST_F(KvnReport, AsksForAFormWhenNoneIsNamed)
{
    const Outcome outcome = run(command({"report", "run.journal"}));
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors,
              "kvn: no report is asked for; name a file by --html, --junit, --csv or --json\n");
}

TEST_F(KvnReport, PutsNoTwoFormsIntoOneFile)
{
    const Outcome outcome = run(command({"report", "run.journal", "--html", "a", "--csv", "./a"}));
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors, "kvn: two reports cannot go to one file: ./a\n"
                              "try: name a file for each report\n");
    EXPECT_EQ(run(command({"report", "run.journal", "--html", "-", "--csv", "-"})).errors,
              "kvn: standard output cannot take two reports\n"
              "try: name a file for each report\n");
}

TEST_F(KvnReport, SaysWhatIsWrongWithAJournalAndReportsTheRest)
{
    std::string text = content("run.journal");
    text.replace(text.find("\"finished\""), 10, "\"Finished\"");
    write("run.journal", text);
    const Outcome outcome = run(command({"report", "run.journal", "--csv", "-"}));
    EXPECT_EQ(outcome.status, 4);
    EXPECT_THAT(outcome.errors, HasSubstr("kvn: run.journal: line 4: "));
    EXPECT_THAT(outcome.errors, HasSubstr("; nothing from there on is in this report\n"));
    EXPECT_THAT(outcome.output, HasSubstr("bench-7,mwc4a:0/1,,,failed,interrupted,1,,"));
}

TEST_F(KvnReport, PrintsItsErrorsAsJsonOnlyWhereJsonWasToGo)
{
    EXPECT_EQ(run(command({"report", "missing.journal", "--json", "a.json"})).output, "");
    const Outcome outcome = kvn({"report", "missing.journal", "--json", "-"});
    EXPECT_EQ(nlohmann::json::parse(outcome.output)["kvn"], "failure");
}

} // namespace
