// SPDX-License-Identifier: Apache-2.0
// The FPGA's family, and the lines about device, package and speed grade.
#include "support/run_fixture.h"

#include <cstring>

namespace
{
class DeviceTable : public RunFixture
{
protected:
    /// The family of a name, or "none", and whether it is of the Virtex-2 class.
    std::string family(const char* name)
    {
        char text[13] = "untouched";
        session.virtex2_family = 0;
        const int found = session.Get_Device_Family(name, text);
        if (found == 0 && std::strcmp(text, "untouched") == 0)
            std::strcpy(text, "none");
        return std::to_string(found) + ' ' + text + (session.virtex2_family == 1 ? " marked" : "");
    }
    std::string statistics(const char* name)
    {
        clear_log();
        EXPECT_EQ(session.Print_Device_Statistics(name), 0);
        return transcript();
    }
};

TEST_F(DeviceTable, LeavesAnUnknownFamilyAlone)
{
    EXPECT_EQ(family("2s200efg456-6"), "0 none");
    session.virtex2_family = 1;
    char text[13] = "untouched";
    EXPECT_EQ(session.Get_Device_Family("2s200efg456-6", text), 0);
    EXPECT_EQ(session.virtex2_family, 1U) << "the mark is set, never cleared";
    EXPECT_STREQ(text, "untouched");
}

TEST_F(DeviceTable, TellsTheFamilyByTheKeyOfTheName)
{
    const struct {
        const char* family;
        const char* names;
    } rows[] = {
        {"1 Virtex-2 marked", "2v3000fg676-4 2v"},
        {"1 Virtex-2 Pro marked", "2vp30ff896-6 2vp7ff672-6 2vp"},
        {"1 Virtex-E", "v1000efg680-6 ve v9e"},
        {"1 Spartan-XL", "s40xlpq208-4 sxl"},
        {"1 Spartan-2", "2s200fg456-5 2s150pq208-5"},
        {"1 Spartan", "s40pq208-4 s s40px"},
        {"1 Virtex", "v300bg352-4 v0150bg352-4"},
        {"0 none", "2s200efg456-6 2 - sxv sx vp30 2V3000 xc2v3000 3s400 4v 22v 2vx1 2vpe 2s15xl v50xl"},
    };
    for (const auto& row : rows)
        for (const std::string& name : split(row.names, ' '))
            EXPECT_EQ(family(name.c_str()), row.family) << name;
    EXPECT_EQ(family(""), "0 none");
}

// Of names that no module sends the scans end with the name, and the remaining parts are empty.
TEST_F(DeviceTable, SplitsTheNameIntoDevicePackageAndSpeed)
{
    const struct {
        const char* name;
        const char* device;
        const char* package;
        const char* speed;
    } rows[] = {{"2v3000fg676-4", "2v3000", "fg676", "4"},
                {"2vp30ff896-6", "2vp30", "ff896", "6"},
                {"s40xlpq208-4", "s40", "xlpq208", "4"},
                {"v1000efg680-6", "v1000", "efg680", "6"},
                // 0 and 9 count as letters, up to the first digit from 1 to 8.
                {"v0150bg352-4", "v0150", "bg352", "4"},
                {"v900bg5-4", "v900bg5", "", "4"},
                {"v50-4-I", "v50", "", "4-I"},
                {"25x-1", "25", "x", "1"},
                {"1v5a-6C", "1v5", "a", "6C"},
                {"", "", "", ""},
                {"2", "2", "", ""},
                {"abc", "abc", "", ""},
                {"v50pq", "v50", "pq", ""},
                {"v50", "v50", "", ""},
                {"v50pq-", "v50", "pq", ""},
                {"abc-def", "abc-def", "", ""},
                {"%n%s5pq-6", "%n%s5", "pq", "6"}};
    for (const auto& row : rows)
        EXPECT_EQ(statistics(row.name),
                  std::string{"\n| The FPGA on this module is a "} + row.device + " device, in an " +
                      row.package + " package.\\n\n| The FPGA speed grade is -" + row.speed + ".\\n\n")
            << row.name;
}
} // namespace
