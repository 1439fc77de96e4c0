// SPDX-License-Identifier: Apache-2.0
// The FPGA's family, and the lines about device, package and speed grade.
#include "support/run_fixture.h"

#include <cstring>
#include <ostream>

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
        session.Print_Device_Statistics(name);
        return transcript();
    }
};

TEST_F(DeviceTable, ReadsASpartan2)
{
    EXPECT_EQ(family("2s150pq208-5"), "1 Spartan-2");
    EXPECT_EQ(statistics("2s150pq208-5"), R"(
| The FPGA on this module is a 2s150 device, in an pq208 package.\n
| The FPGA speed grade is -5.\n
)");
}

TEST_F(DeviceTable, ReadsAVirtex2Pro)
{
    EXPECT_EQ(family("2vp7ff672-6"), "1 Virtex-2 Pro marked");
}

TEST_F(DeviceTable, LeavesAnUnknownFamilyAlone)
{
    EXPECT_EQ(family("2s200efg456-6"), "0 none");
    session.virtex2_family = 1;
    char text[13] = "untouched";
    EXPECT_EQ(session.Get_Device_Family("2s200efg456-6", text), 0);
    EXPECT_EQ(session.virtex2_family, 1U) << "the mark is set, never cleared";
    EXPECT_STREQ(text, "untouched");
}

TEST_F(DeviceTable, CountsNoughtAndNineAsLettersOfThePrefixButAsDigitsOfTheKey)
{
    // The key skips the digits: "v" and "ve".
    EXPECT_EQ(family("v0150bg352-4"), "1 Virtex");
    EXPECT_EQ(family("v9e"), "1 Virtex-E");
    // The split treats 0 and 9 as letters, up to the first digit from 1 to 8.
    EXPECT_EQ(statistics("v0150bg352-4"), R"(
| The FPGA on this module is a v0150 device, in an bg352 package.\n
| The FPGA speed grade is -4.\n
)");
    EXPECT_EQ(statistics("v900bg5-4"), R"(
| The FPGA on this module is a v900bg5 device, in an  package.\n
| The FPGA speed grade is -4.\n
)");
}

struct Name {
    const char* name;
    const char* family;

    friend void PrintTo(const Name& row, std::ostream* out) { *out << row.name; }
};

class Families : public DeviceTable, public testing::WithParamInterface<Name>
{
};

TEST_P(Families, AreToldByTheKeyOfTheName)
{
    EXPECT_EQ(family(GetParam().name), GetParam().family);
}

INSTANTIATE_TEST_SUITE_P(Names, Families,
                         testing::Values(Name{"2v3000fg676-4", "1 Virtex-2 marked"},
                                         Name{"2vp30ff896-6", "1 Virtex-2 Pro marked"},
                                         Name{"v1000efg680-6", "1 Virtex-E"},
                                         Name{"s40xlpq208-4", "1 Spartan-XL"},
                                         Name{"2s200fg456-5", "1 Spartan-2"}, Name{"2s200efg456-6", "0 none"},
                                         Name{"s40pq208-4", "1 Spartan"}, Name{"v300bg352-4", "1 Virtex"}));

INSTANTIATE_TEST_SUITE_P(
    OddNames, Families,
    testing::Values(Name{"", "0 none"}, Name{"2", "0 none"}, Name{"-", "0 none"}, Name{"s", "1 Spartan"},
                    Name{"2v", "1 Virtex-2 marked"}, Name{"2vp", "1 Virtex-2 Pro marked"},
                    Name{"ve", "1 Virtex-E"}, Name{"sxl", "1 Spartan-XL"}, Name{"sxv", "0 none"},
                    Name{"sx", "0 none"}, Name{"vp30", "0 none"}, Name{"2V3000", "0 none"},
                    Name{"xc2v3000", "0 none"}, Name{"3s400", "0 none"}, Name{"4v", "0 none"},
                    Name{"22v", "0 none"}, Name{"2vx1", "0 none"}, Name{"2vpe", "0 none"},
                    Name{"s40px", "1 Spartan"}, Name{"2s15xl", "0 none"}, Name{"v50xl", "0 none"}));

struct Split {
    const char* name;
    const char* device;
    const char* package;
    const char* speed;

    friend void PrintTo(const Split& row, std::ostream* out) { *out << row.name; }
};

class Statistics : public DeviceTable, public testing::WithParamInterface<Split>
{
};

TEST_P(Statistics, AreSplitFromTheName)
{
    const Split& row = GetParam();
    EXPECT_EQ(statistics(row.name), std::string{"\n| The FPGA on this module is a "} + row.device +
                                        " device, in an " + row.package +
                                        " package.\\n\n| The FPGA speed grade is -" + row.speed + ".\\n\n");
}

INSTANTIATE_TEST_SUITE_P(Names, Statistics,
                         testing::Values(Split{"2v3000fg676-4", "2v3000", "fg676", "4"},
                                         Split{"2vp30ff896-6", "2vp30", "ff896", "6"},
                                         Split{"s40xlpq208-4", "s40", "xlpq208", "4"},
                                         Split{"v1000efg680-6", "v1000", "efg680", "6"},
                                         Split{"v50-4-I", "v50", "", "4-I"}, Split{"25x-1", "25", "x", "1"},
                                         Split{"1v5a-6C", "1v5", "a", "6C"}));

// Names that no module sends: the scans end with the name, and the remaining parts are empty.
INSTANTIATE_TEST_SUITE_P(NamesWithoutStops, Statistics,
                         testing::Values(Split{"", "", "", ""}, Split{"2", "2", "", ""},
                                         Split{"abc", "abc", "", ""}, Split{"v50pq", "v50", "pq", ""},
                                         Split{"v50", "v50", "", ""}, Split{"v50pq-", "v50", "pq", ""},
                                         Split{"abc-def", "abc-def", "", ""},
                                         Split{"%n%s5pq-6", "%n%s5", "pq", "6"}));
} // namespace
