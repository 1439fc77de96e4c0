// SPDX-License-Identifier: Apache-2.0
#include "example_runs.h"
#include "report/csv_report.h"
#include "report/html_report.h"
#include "report/junit_report.h"
#include "report/report_files.h"
#include "report/report_json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <utility>

namespace
{

using example::configured;
using example::ExampleRun;
using example::failing;
using kvn::csv_field;
using kvn::merge_journals;
using kvn::ModuleState;
using kvn::Report;
using kvn::ReportKind;
using kvn::Verdict;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::size_t occurrences(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

Report of_verdict(Verdict verdict)
{
    return merge_journals({ExampleRun{}
                               .load(failing("mwc4a:0/1", 0, 1500, verdict, ModuleState::unknown,
                                             {kvn::ExitStatus::bus, 9114, "what", "why", "remedy"}))
                               .content});
}

TEST(CsvReport, HasALineForEachModule)
{
    EXPECT_EQ(
        csv_report(merge_journals(
            {ExampleRun{}.load(configured("mwc4a:0/1", 0, 1500), "dsp").plan("mwc4a:0/2").content})),
        "host,module,label,serial_number,verdict,state,attempts,error,what,why,remedy,file,file_sha256,digest,format,"
        "design,part,device,mode,wire_bytes,begin,end,seconds_on_wire,answer,operator,station,tool_version,provider,"
        "provider_version,simulated,plan,journal\r\n"
        "bench-7,mwc4a:0/1,dsp,,configured,configured,1,,,,,design.bit,"
        "5b4c3a29e1d0f7c6b5a493827160f5e4d3c2b1a09f8e7d6c5b4a392817061504,"
        "1739bca92e53d63c582e8e6af040561c04ece7cb83ae2931a47f33fd60954c43,BIT,example.ncd,2v3000fg676,2v3000fg676-4,"
        "compressed,21386,2026-11-22T03:44:37.000Z,2026-11-22T03:44:38.500Z,1.5,5,Kim,,1.0.0,virtual,,true,rack.con,"
        "rack.journal\r\n"
        "bench-7,mwc4a:0/2,,,not tried,untouched,0,,\"the module is in the plan, but its load was never begun\",,"
        "\"load it; a run that continues this journal does\",design.bit,"
        "5b4c3a29e1d0f7c6b5a493827160f5e4d3c2b1a09f8e7d6c5b4a392817061504,"
        "1739bca92e53d63c582e8e6af040561c04ece7cb83ae2931a47f33fd60954c43,,,,2v3000fg676-4,compressed,21386,,,,,,,,"
        "virtual,,true,rack.con,rack.journal\r\n");
}

TEST(CsvReport, QuotesWhatSeparates)
{
    EXPECT_EQ(csv_field("plain text"), "plain text");
    EXPECT_EQ(csv_field("a,b"), "\"a,b\"");
    EXPECT_EQ(csv_field("say \"yes\""), "\"say \"\"yes\"\"\"");
    EXPECT_EQ(csv_field("a\r\nb"), "a\\x0D\\x0Ab"); // one line for each module
}

TEST(CsvReport, TakesTheMeaningFromFormulas)
{
    EXPECT_EQ(csv_field("=1+1"), "\"'=1+1\"");
    EXPECT_EQ(csv_field("+1"), "\"'+1\"");
    EXPECT_EQ(csv_field("-1"), "\"'-1\"");
    EXPECT_EQ(csv_field("@SUM(A1)"), "\"'@SUM(A1)\"");
    EXPECT_EQ(csv_field("  =1"), "\"'  =1\"");
    EXPECT_EQ(csv_field("\t=1"), "\\x09=1");
    EXPECT_EQ(csv_field("\uFF1D1"), "\"'\uFF1D1\"");
    EXPECT_EQ(csv_field("'=1"), "\"''=1\""); // so that the apostrophe can be taken off again
    EXPECT_EQ(csv_field("a=1"), "a=1");
}

TEST(JUnitReport, HasACaseForEachModule)
{
    kvn::Record record = failing("mwc4a:0/2", 1500, 2250, Verdict::failed, ModuleState::interrupted,
                                 {kvn::ExitStatus::bus, 9114, "no <answer>", "no power", "switch it on"});
    record.file.reset();
    record.file_sha256.reset();
    record.digest.reset();
    record.design.reset();
    record.part.reset();
    ExampleRun run;
    run.load(configured("mwc4a:0/1", 0, 1500), "dsp").finish(record);
    EXPECT_EQ(junit_report(merge_journals({run.content})),
              R"(<?xml version="1.0" encoding="UTF-8"?>
<testsuites name="kvn" tests="2" failures="1" errors="0" skipped="0" time="2.250">
  <testsuite name="modules of bench-7" hostname="bench-7" timestamp="2026-11-22T03:44:37" tests="2" failures="1" errors="0" skipped="0" time="2.250">
    <properties>
      <property name="plan" value="rack.con"/>
      <property name="plan_sha256" value="5b4c3a29e1d0f7c6b5a493827160f5e4d3c2b1a09f8e7d6c5b4a392817061504"/>
      <property name="journal" value="rack.journal"/>
      <property name="tool" value="kvn 1.0.0"/>
      <property name="provider" value="virtual"/>
      <property name="operator" value="Kim"/>
    </properties>
    <testcase name="bench-7 mwc4a:0/1 dsp" classname="bench-7" time="1.500">
      <properties>
        <property name="verdict" value="configured"/>
        <property name="state" value="configured"/>
        <property name="attempts" value="1"/>
        <property name="file" value="design.bit"/>
        <property name="file_sha256" value="5b4c3a29e1d0f7c6b5a493827160f5e4d3c2b1a09f8e7d6c5b4a392817061504"/>
        <property name="digest" value="1739bca92e53d63c582e8e6af040561c04ece7cb83ae2931a47f33fd60954c43"/>
        <property name="design" value="example.ncd"/>
        <property name="part" value="2v3000fg676"/>
        <property name="device" value="2v3000fg676-4"/>
        <property name="mode" value="compressed"/>
        <property name="tool_version" value="1.0.0"/>
        <property name="simulated" value="true"/>
      </properties>
    </testcase>
    <testcase name="bench-7 mwc4a:0/2" classname="bench-7" time="0.750">
      <properties>
        <property name="verdict" value="failed"/>
        <property name="state" value="interrupted"/>
        <property name="attempts" value="1"/>
        <property name="device" value="2v3000fg676-4"/>
        <property name="mode" value="compressed"/>
        <property name="tool_version" value="1.0.0"/>
        <property name="simulated" value="true"/>
      </properties>
      <failure message="no &lt;answer&gt;" type="failed">no &lt;answer&gt;
why: no power
try: switch it on</failure>
    </testcase>
  </testsuite>
</testsuites>
)");
}

TEST(JUnitReport, CallsRefusedFailedAndTimedOutAFailure)
{
    for (const Verdict verdict : {Verdict::refused, Verdict::failed, Verdict::timed_out})
        EXPECT_THAT(junit_report(of_verdict(verdict)),
                    HasSubstr(std::string{"<failure message=\"what\" type=\""} + name_of(verdict) + "\">"));
}

TEST(JUnitReport, CallsCancelledAndNotTriedAnErrorAndSkipsNothing)
{
    for (const Verdict verdict : {Verdict::cancelled, Verdict::not_tried}) {
        const std::string xml = junit_report(of_verdict(verdict));
        EXPECT_THAT(xml,
                    HasSubstr(std::string{"<error message=\"what\" type=\""} + name_of(verdict) + "\">"));
        EXPECT_THAT(xml, HasSubstr("tests=\"1\" failures=\"0\" errors=\"1\" skipped=\"0\""));
    }
}

TEST(JUnitReport, NamesNoCaseTwice)
{
    ExampleRun first; // "a" on host "x b", "b a" ... the same text by another division
    first.content.header.host = "bench 7";
    first.plan("mwc4a:0/1", "dsp");
    ExampleRun second{"2.journal", 1000};
    second.content.header.host = "bench";
    second.plan("mwc4a:0/1");
    second.content.planned[0]["module"] = "7 mwc4a:0/1 dsp";
    const std::string xml = junit_report(merge_journals({first.content, second.content}));
    EXPECT_EQ(occurrences(xml, "<testcase name=\"bench 7 mwc4a:0/1 dsp\""), 1U);
    EXPECT_EQ(occurrences(xml, "<testcase name=\"bench 7 mwc4a:0/1 dsp (2)\""), 1U);
}

TEST(JUnitReport, ShowsWhatXmlForbids)
{
    ExampleRun run;
    run.plan("mwc4a:0/1", "\x01\xEF\xBF\xBE\x1B]]>");
    EXPECT_THAT(junit_report(merge_journals({run.content})),
                HasSubstr("mwc4a:0/1 \\x01\\u{FFFE}\\x1B]]&gt;\""));
}

TEST(HtmlReport, ForbidsEveryRequestAndAllowsItsOwnStyleAndScript)
{
    const std::string page = html_report(merge_journals({}));
    EXPECT_THAT(page, StartsWith("<!DOCTYPE html>\n<html lang=en>\n"));
    EXPECT_THAT(page, HasSubstr("content=\"default-src 'none'; style-src 'sha256-"));
    EXPECT_THAT(page, HasSubstr("; img-src data:; base-uri 'none'; form-action 'none'\">"));
    EXPECT_THAT(page, HasSubstr("<h1>No modules</h1>"));
}

TEST(HtmlReport, HasVerdictStateAndRemedyOfEachModule)
{
    const std::string page = html_report(of_verdict(Verdict::timed_out));
    EXPECT_THAT(page, HasSubstr("<h1>0 of 1 module configured</h1>"));
    EXPECT_THAT(
        page,
        HasSubstr("<tr id=m0 class=t><th scope=row>mwc4a:0/1<small> simulated</small><td class=v>timed "
                  "out<small> unknown</small><td>bench-7<small> <a href=#r1>run 1</a></small><td><td>"
                  "<a href=#f0>design.bit</a><small class=mono> 1739bca92e53</small><td>2v3000fg676-4"
                  "<small> KAVRIN-FPGA model 4 version 2</small><td>21\u202F386<small> compressed</small><td>"
                  "<small>2026-11-22 </small>03:44:37<td>1.500<td><p>what<p><b>why:</b> why<p><b>try:</b> "
                  "remedy\n"));
    EXPECT_THAT(
        page,
        HasSubstr("<li class=s><h4>mwc4a:0 <small>simulated</small></h4><ol><li class=m><a class=\"v t\" "
                  "href=#m0>timed out</a><li>not planned<li>not planned<li>not planned</ol>\n"));
    EXPECT_THAT(page,
                HasSubstr("<li><p>remedy\n<ul>\n<li class=\"v t\"><a href=#m0>mwc4a:0/1</a> timed out\n"));
}

TEST(HtmlReport, MarksWhatIsNotObserved)
{
    const std::string page = html_report(merge_journals({ExampleRun{}.plan("mwc4a:0/1").content}));
    EXPECT_THAT(page, HasSubstr("<td>2v3000fg676-4 <i>intended</i><td>21\u202F386 <i>intended</i><small> "
                                "compressed</small><td><td><small> 0 attempts</small><td>"));
}

TEST(HtmlReport, HasALaneForEachBusWithItsLoads)
{
    const std::string page = html_report(merge_journals({ExampleRun{}
                                                             .load(configured("mwc4a:10/1", 0, 1000))
                                                             .load(configured("mwc4a:9/1", 0, 500))
                                                             .content}));
    EXPECT_THAT(page,
                HasSubstr("<caption>from 2026-11-22 03:44:37 UTC, 1 s</caption>\n<thead><tr><th scope=col>Bus"
                          "<th scope=col class=axis><span>0 s</span><span>0.25 s</span><span>0.5 s</span>"
                          "<span>0.75 s</span><th scope=col>Loads\n"));
    EXPECT_THAT(page, HasSubstr("<tbody>\n<tr><th scope=row>mwc4a:9<td><svg viewBox=\"0 0 4000 20\" "));
    EXPECT_THAT(
        page,
        HasSubstr("<path class=c d=M0,10h1996><title>mwc4a:9/1 configured, 0.500 s</title></path></g></svg>"
                  "<td>1 load in 0.500 s\n<tr><th scope=row>mwc4a:10<td>"));
}

TEST(HtmlReport, TellsDurationsInTheLargestUnitThatFits)
{
    constexpr std::int64_t hour = 3'600'000;
    const std::pair<std::int64_t, const char*> durations[] = {
        {1'500, "1.5 s"}, {600'000, "10 min"}, {3 * hour, "3 h"}, {36 * hour, "36 h"}, {48 * hour, "2 d"}};
    for (const auto& [milliseconds, text] : durations) {
        const std::string page = html_report(
            merge_journals({ExampleRun{}.load(configured("mwc4a:0/1", 0, milliseconds)).content}));
        EXPECT_THAT(page, HasSubstr(std::string{" UTC, "} + text + "</caption>\n"));
    }
}

TEST(HtmlReport, ShowsModulesOfUnknownPlacesApart)
{
    Report report = merge_journals({ExampleRun{}.load(configured("mwc4a:0/1", 0, 1500), "dsp").content});
    report.rows.front().slot = 0;
    EXPECT_THAT(
        html_report(report),
        HasSubstr("<ul class=\"rack\">\n<li><h4>in no slot that is known</h4><ol><li class=m><a class=\"v "
                  "c\" href=#m0>configured <small>dsp</small></a></ol>\n</ul>\n"));
}

TEST(HtmlReport, TellsWhatTheFilesOfModulesWereComplainedOf)
{
    Report report = merge_journals({ExampleRun{}.load(configured("mwc4a:0/1", 0, 1500)).content});
    report.rows.front().record["problems"] = {
        {{"fatal", true}, {"what", "cut <off>"}, {"remedy", "copy it again"}},
        {{"fatal", false}, {"what", "no date"}}};
    EXPECT_THAT(html_report(report),
                HasSubstr("<p><b>problem:</b> cut &lt;off&gt;; copy it again<p><b>note:</b> no date\n"));
}

TEST(HtmlReport, WarnsOfDamagedJournals)
{
    Report report = merge_journals({ExampleRun{}.load(configured("mwc4a:0/1", 0, 1500)).content});
    report.runs.front().doubts = {"line 3 was <changed>", "its end is torn off"};
    EXPECT_THAT(
        html_report(report),
        HasSubstr("<p class=\"notice r\"><b>Damaged journal.</b> rack.journal: line 3 was &lt;changed&gt;.\n"
                  "<p class=\"notice r\"><b>Damaged journal.</b> rack.journal: its end is torn off.\n"));
}

TEST(HtmlReport, ShowsTextsOfJournalsAndExecutesNone)
{
    ExampleRun run;
    run.content.header.plan = "</title><script>1</script>";
    run.plan("mwc4a:0/1", "<img src=x onerror=alert(1)>");
    const std::string page = html_report(merge_journals({run.content}));
    EXPECT_EQ(occurrences(page, "<script>"), 1U);
    EXPECT_THAT(page, Not(HasSubstr("<img")));
    EXPECT_THAT(page, HasSubstr("&lt;img src=x onerror=alert(1)&gt;"));
}

TEST(HtmlReport, TakesAtMostAThousandBytesForAModule)
{
    constexpr std::size_t modules = 1000;
    EXPECT_LE(html_report(merge_journals({example::large(modules, true).content})).size(), modules * 1000);
}

TEST(ReportJson, HasTheRowsWithTheirRecords)
{
    const Report report =
        merge_journals({ExampleRun{}.load(configured("mwc4a:0/1", 0, 1500), "dsp").content});
    const kvn::Json json = to_json(report);
    EXPECT_EQ(json["kvn"], "report");
    EXPECT_EQ(json["version"], "1.0");
    EXPECT_EQ(json["counts"].dump(),
              R"({"configured":1,"refused":0,"failed":0,"cancelled":0,"timed out":0,"not tried":0})");
    EXPECT_EQ(json["modules"][0]["record"]["digest"],
              "1739bca92e53d63c582e8e6af040561c04ece7cb83ae2931a47f33fd60954c43");
    EXPECT_EQ(json["runs"][0]["begin"], "2026-11-22T03:44:37.000Z");
}

TEST(ReportTarget, HasTheKindThatItsExtensionNames)
{
    EXPECT_EQ(kvn::report_target("a.html").kind, ReportKind::html);
    EXPECT_EQ(kvn::report_target("a.HTM").kind, ReportKind::html);
    EXPECT_EQ(kvn::report_target("dir.csv/a.xml").kind, ReportKind::junit);
    EXPECT_EQ(kvn::report_target("a.csv").kind, ReportKind::csv);
    EXPECT_EQ(kvn::report_target("a.json").kind, ReportKind::json);
    for (const char* path : {"a.pdf", "report", "-", ""})
        EXPECT_THROW((void)kvn::report_target(path), kvn::FailureError) << path;
}

TEST(ReportTarget, IsNotThatOfAnotherReport)
{
    const std::vector<kvn::ReportTarget> twice{{ReportKind::html, "a.html"}, {ReportKind::csv, "./a.html"}};
    EXPECT_THROW(kvn::require_writable(twice, true), kvn::FailureError);
    const std::vector<kvn::ReportTarget> output{{ReportKind::html, "-"}, {ReportKind::csv, "-"}};
    EXPECT_THROW(kvn::require_writable(output, true), kvn::FailureError);
}

} // namespace
