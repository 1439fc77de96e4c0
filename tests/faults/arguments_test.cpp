// SPDX-License-Identifier: Apache-2.0
// Command lines of a careless host: the count and the list of arguments disagree.
#include "support/bitstreams.h"
#include "support/run_fixture.h"

namespace
{
class CarelessHost : public RunFixture
{
protected:
    Chars program{"KVN_FPGA"};
    Chars unknown{"-x"};
    Result run_list(int argc, char** argv) { return result(session.kvn_fpga(nullptr, argc, argv)); }
};
} // namespace

TEST_F(CarelessHost, AListThatEndsBeforeItsCountIsReadToItsEnd)
{
    Chars quiet{"-u"};
    char* list[] = {program, quiet, nullptr, unknown, nullptr};
    EXPECT_EQ(run_list(4, list), Fails("Error 9052. No RBT, MCB, or BIT file specified (-f option)."));
}

TEST_F(CarelessHost, ACountThatEndsBeforeItsListHolds)
{
    Chars quiet{"-u"};
    char* list[] = {program, quiet, unknown, nullptr};
    EXPECT_EQ(run_list(2, list), Fails("Error 9052. No RBT, MCB, or BIT file specified (-f option)."));
    EXPECT_EQ(run_list(3, list), Fails("Error 9002. Unknown option -x."));
}

TEST_F(CarelessHost, NoListIsAnEmptyOne)
{
    answer("design.rbt");
    EXPECT_EQ(run_list(3, nullptr), Fails("Error 9045. Cannot find/open design.rbt file."));
}
