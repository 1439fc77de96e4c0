// SPDX-License-Identifier: Apache-2.0
// What the built library exports, and that it serves any host.
#include "support/folder_test.h"
#include "support/process.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

namespace
{
std::set<std::string> found_in(const std::string& text, const char* pattern)
{
    const std::regex expression{pattern};
    std::set<std::string> found;
    for (std::sregex_iterator match{text.begin(), text.end(), expression}; match != std::sregex_iterator{};
         ++match)
        found.insert((*match)[1]);
    return found;
}

std::set<std::string> declared_functions()
{
    return found_in(read_whole_file(KVN_HEADER), R"(KVN_API [^;]*?\b(kvn_\w+)\()");
}

std::set<std::string> exported()
{
    std::set<std::string> names;
    std::istringstream lines{run({NM, {"-D", "--defined-only", KVN_LIBRARY}}).output};
    for (std::string address, kind, name; lines >> address >> kind >> name;)
        names.insert(name == "KVN_0@@KVN_0" ? "KVN_0" : name); // as one nm writes it, and another
    std::erase_if(names, [](const std::string& name) { return name.starts_with("__odr_asan"); });
    return names;
}

TEST(LibraryFile, ExportsTheFunctionsOfItsHeaderAndNothingElse)
{
    std::set<std::string> expected{"KVN_0"};
    for (const std::string& name : declared_functions())
        expected.insert(name + "@@KVN_0");
    EXPECT_EQ(exported(), expected);
    EXPECT_TRUE(expected.contains("kvn_load@@KVN_0"));
}

TEST(LibraryFile, LeavesNoFunctionOfThePlatformOpen)
{
    const std::string undefined = run({NM, {"-D", "--undefined-only", KVN_LIBRARY}}).output;
    EXPECT_THAT(undefined, testing::HasSubstr("dlopen"));
    EXPECT_THAT(undefined, testing::Not(testing::HasSubstr(" Mw")));
}

TEST(LibraryFile, HasTheSonameOfItsInterface)
{
    EXPECT_THAT(run({READELF, {"-dW", KVN_LIBRARY}}).output, testing::HasSubstr("soname: [libkvn.so.0]"));
}

TEST(LibraryFile, CanBeOpenedByAProgramThatRuns)
{
    EXPECT_THAT(run({READELF, {"-dW", KVN_LIBRARY}}).output, testing::Not(testing::HasSubstr("STATIC_TLS")));
}

TEST(EveryFunction, IsUsedByTheProgramInC)
{
    const auto used = found_in(read_whole_file(EVERY_FUNCTION_SOURCE), R"(\b(kvn_\w+)\()");
    for (const std::string& name : declared_functions())
        EXPECT_TRUE(used.contains(name)) << name;
}

class Hosts : public FolderTest
{
protected:
    Outcome list(const std::string& provider, std::map<std::string, std::string> variables)
    {
        return run({PROVIDER_HOST, {provider}, folder, std::move(variables)});
    }
    static constexpr const char* ROWS =
        "mwc4a:0/1 2v40cs144-4\nmwc4a:0/2 2v80cs144-4\nmwc4a:0/3 -\nmwc4a:0/4 -\n";
};

TEST_F(Hosts, KeepTheirOwnFunctionsOfThePlatformsNames)
{
    const Outcome outcome = list("virtual", {{"MWVIRTUAL_RACK", RACK}});
    EXPECT_EQ(outcome.output, ROWS);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(Hosts, ReplayARecording)
{
    ASSERT_EQ(list("virtual", {{"MWVIRTUAL_RACK", RACK}, {"MWVIRTUAL_TRACE", path("trace.jsonl")}}).output,
              ROWS);
    EXPECT_EQ(list("replay:" + path("trace.jsonl"), {}).output, ROWS);
}

TEST_F(Hosts, UseTheProviderOfTheEnvironmentWhereTheyNameNone)
{
    EXPECT_EQ(list("", {{"MWVIRTUAL_RACK", RACK}, {"KVN_MWAPI", "virtual"}}).output, ROWS);
    const Outcome none = list("", {{"KVN_MWAPI", "/nowhere/libnone.so"}});
    EXPECT_EQ(none.status, 1);
    EXPECT_THAT(none.output, testing::StartsWith("the provider /nowhere/libnone.so cannot be used: "));
    EXPECT_THAT(none.output, testing::HasSubstr("\ntry: "));
}

TEST_F(Hosts, LearnThatALibraryIsNoProvider)
{
    const Outcome outcome = list("libc.so.6", {});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, testing::HasSubstr("libc.so.6 has no function MwOpenS"));
}
} // namespace
