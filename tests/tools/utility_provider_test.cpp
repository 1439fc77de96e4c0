// SPDX-License-Identifier: Apache-2.0
#include "system/dynamic_library.h"
#include "utility_fixture.h"

#include <gmock/gmock.h>

namespace
{
const std::string MAKERS_LIBRARY = kvn::system::library_file("mwapi");

class UtilityProvider : public UtilityTest
{
protected:
    UtilityProvider()
    {
        write_rbt("design.rbt");
        variables["KVN_TEST_JOURNAL"] = path("journal");
    }

    /// A library under another name in the folder.
    void copy_library(const std::string& library, const std::string& name) const
    {
        std::filesystem::copy_file(library, folder / name);
    }

    [[nodiscard]] Outcome load() const { return run(kvn_fpga({"-u", "-fdesign", "-dmwc4a", "-b3", "-s2"})); }
};

TEST_F(UtilityProvider, WithoutAProviderTheErrorTellsWhatToSet)
{
    const std::string error =
        "Error 9201. Cannot open KSB device on board \"mwc4a 3\" (set KVN_MWAPI to the library with the Mw... functions, or to virtual: " +
        MAKERS_LIBRARY + ": cannot open shared object file: No such file or directory).\n";
    EXPECT_EQ(load().errors, error);
    EXPECT_EQ(load().status, 6);
    variables["KVN_MWAPI"] = "";
    EXPECT_EQ(load().errors, error) << "an empty variable counts as not set";
}

TEST_F(UtilityProvider, IsThePlatformsOwnLibraryWhenNoneIsNamed)
{
    copy_library(TEST_PROVIDER, MAKERS_LIBRARY);
    variables[LIBRARY_PATH] = folder.string();
    EXPECT_EQ(load().status, 0);
    EXPECT_THAT(lines("journal"), testing::Contains("MwOpenS(mwc4a, 3, ksb, null, 0)"));
}

TEST_F(UtilityProvider, IsNamedByPathOrSoname)
{
    copy_library(TEST_PROVIDER, "libboards.so.1");
    variables["KVN_MWAPI"] = "./libboards.so.1";
    const Outcome outcome = load();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");

    variables["KVN_MWAPI"] = "libboards.so.1";
    variables[LIBRARY_PATH] = folder.string();
    EXPECT_EQ(load().status, 0);
}

TEST_F(UtilityProvider, ThatCannotBeLoadedIsReported)
{
    variables["KVN_MWAPI"] = "./nothing.so";
    const Outcome outcome = load();
    EXPECT_EQ(outcome.status, 6);
    EXPECT_EQ(
        outcome.errors,
        "Error 9201. Cannot open KSB device on board \"mwc4a 3\" (set KVN_MWAPI to another library with the Mw... functions: ./nothing.so: cannot open shared object file: No such file or directory).\n");
}

TEST_F(UtilityProvider, ThatReachesNoHardwareIsAnnouncedUnderAnyName)
{
    const std::string simulated = ": the boards are simulated, no hardware is reached.\n";
    RbtFile{8}.device("2v3000fg676").write(path("design.rbt"));
    const auto announced = [&](const std::string& library) {
        variables["KVN_MWAPI"] = library;
        const std::string errors = run(kvn_fpga({"-u", "-fdesign", "-dmwc4a", "-b0", "-s1"})).errors;
        return errors.substr(0, errors.find('\n') + 1);
    };
    EXPECT_EQ(announced(MWVIRTUAL_LIBRARY), "KVN_FPGA: KVN_MWAPI is " MWVIRTUAL_LIBRARY + simulated);

    copy_library(MWVIRTUAL_LIBRARY, MAKERS_LIBRARY);
    variables[LIBRARY_PATH] = folder.string();
    EXPECT_EQ(announced(""), "KVN_FPGA: " + MAKERS_LIBRARY + simulated);

    variables["MWTRACE_PROVIDER"] = "virtual";
    variables["MWTRACE_FILE"] = path("trace");
    EXPECT_EQ(announced(MWTRACE_LIBRARY), "KVN_FPGA: KVN_MWAPI is " MWTRACE_LIBRARY + simulated);

    variables["MWREPLAY_FILE"] = path("trace");
    EXPECT_EQ(announced(MWREPLAY_LIBRARY),
              "KVN_FPGA: KVN_MWAPI is " MWREPLAY_LIBRARY ": a recording answers, no hardware is reached.\n");
    variables["MWTRACE_PROVIDER"] = MWREPLAY_LIBRARY;
    variables["MWTRACE_FILE"] = path("again");
    EXPECT_EQ(announced(MWTRACE_LIBRARY),
              "KVN_FPGA: KVN_MWAPI is " MWTRACE_LIBRARY ": a recording answers, no hardware is reached.\n");
}

TEST_F(UtilityProvider, ThatReachesHardwareIsNotAnnouncedWhenRecorded)
{
    variables["KVN_MWAPI"] = MWTRACE_LIBRARY;
    variables["MWTRACE_PROVIDER"] = TEST_PROVIDER;
    variables["MWTRACE_FILE"] = path("trace");
    EXPECT_EQ(load().errors, "");
}

TEST_F(UtilityProvider, ThatLacksAFunctionIsReportedWithTheFunction)
{
    copy_library(LACKING_PROVIDER, "lacking.so");
    variables["KVN_MWAPI"] = "./lacking.so";
    const Outcome outcome = load();
    EXPECT_EQ(outcome.status, 6);
    EXPECT_EQ(
        outcome.errors,
        "Error 9201. Cannot open KSB device on board \"mwc4a 3\" (set KVN_MWAPI to another library with the Mw... functions: ./lacking.so has no function MwKSBEndOfReceiveMessageEx).\n");
    EXPECT_FALSE(std::filesystem::exists(folder / "journal")) << "nothing of it is called";
}

TEST_F(UtilityProvider, MustHaveTheFunctionsItself)
{
    // Looked for in the whole process, they would be found in the program itself.
    variables["KVN_MWAPI"] = SYSTEM_LIBRARY;
    EXPECT_EQ(
        load().errors,
        "Error 9201. Cannot open KSB device on board \"mwc4a 3\" (set KVN_MWAPI to another library with the Mw... functions: " SYSTEM_LIBRARY
        " has no function MwOpenS).\n");
}

TEST_F(UtilityProvider, WordsOfTheErrorAreCutAt255Characters)
{
    variables["KVN_MWAPI"] = "./" + std::string(400, 'x') + ".so";
    const std::string words =
        "set KVN_MWAPI to another library with the Mw... functions: ./" + std::string(400, 'x');
    EXPECT_EQ(load().errors,
              "Error 9201. Cannot open KSB device on board \"mwc4a 3\" (" + words.substr(0, 255) + ").\n");
}

TEST_F(UtilityProvider, IsNotNeededByConversions)
{
    variables["KVN_MWAPI"] = "./nothing.so";
    const Outcome compressing = run(kvn_fpga({"-c", "-fdesign"}));
    EXPECT_EQ(compressing.status, 0);
    EXPECT_EQ(compressing.errors, "");
    const std::string original = content("design.rbt");
    std::filesystem::remove(folder / "design.rbt");

    const Outcome expanding = run(kvn_fpga({"-r", "-fdesign"}));
    EXPECT_EQ(expanding.status, 0);
    EXPECT_EQ(expanding.errors, "");
    const std::string data = original.substr(original.find("Bits:"));
    EXPECT_THAT(content("design.rbt"), testing::HasSubstr(data.substr(data.find('\n'))));
}

TEST_F(UtilityProvider, IsNotNeededByHelpAndWrongCommandLines)
{
    variables["KVN_MWAPI"] = "./nothing.so";
    EXPECT_EQ(run(kvn_fpga({"--version"})).status, 0);
    EXPECT_EQ(run(kvn_fpga({"-s5"})).errors,
              "Error 9000. Slot 5 is not a valid slot (must be 1,2,3 or 4).\n");
}
} // namespace
