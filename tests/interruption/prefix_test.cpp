// SPDX-License-Identifier: Apache-2.0
// No prefix of an output file passes for the whole file: every reader refuses it, wherever it was cut.
#include "support/bitstreams.h"
#include "support/run_fixture.h"

#include <string>
#include <string_view>

namespace
{
class Prefix : public RunFixture, public testing::WithParamInterface<bool>
{
protected:
    /// A module that starts only with all of its data.
    Module& module{platform.board("mwc4a", 0).slot(2, fpga_module(3).accepts_compressed(GetParam()))};

    void SetUp() override { module.verdict[0] = 4; }

    Result load(const std::string& file) { return run({"-f" + file, "-dmwc4a", "-b0", "-s2", "-u"}); }

    void make_mcb()
    {
        RbtFile{16}.write("whole.rbt");
        ASSERT_EQ(run({"-fwhole.rbt", "-c", "-u"}), Succeeds());
    }
};
} // namespace

TEST_P(Prefix, OfAnMcbFileIsRefused)
{
    make_mcb();
    const std::string whole = read_file("whole.mcb");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        write_file("part.mcb", std::string_view{whole}.substr(0, length));
        ASSERT_NE(load("part.mcb").number, 0) << "cut after " << length << " bytes";
        ASSERT_NE(run({"-fpart.mcb", "-r", "-u"}).number, 0) << "cut after " << length << " bytes";
    }
}

TEST_P(Prefix, OfAnRbtFileIsRefused)
{
    make_mcb();
    std::filesystem::remove("whole.rbt");
    ASSERT_EQ(run({"-fwhole.mcb", "-r", "-u"}), Succeeds());
    const std::string whole = read_file("whole.rbt");
    const std::size_t label_end = whole.find("bits:") + 5;
    const std::size_t number = whole.find_first_of("0123456789", label_end);
    ASSERT_GT(number, label_end);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        write_file("part.rbt", std::string_view{whole}.substr(0, length));
        EXPECT_NE(load("part.rbt").number, 0) << "cut after " << length << " bytes";
        // A file that ends between the label and its number states no bits and holds none: that is a whole
        // file without data, and only the module refuses it.
        const bool states_nothing = length >= label_end && length <= number;
        EXPECT_EQ(run({"-fpart.rbt", "-c", "-u"}).number == 0, states_nothing)
            << "cut after " << length << " bytes";
        if (states_nothing) {
            EXPECT_EQ(load("part.mcb").number, 9172);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, Prefix, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Compressed" : "Plain"; });

// A wrong bit count is found after everything has been written. The output has the stated size, so no reader
// can detect that the input held more.
TEST_F(RunFixture, Error9256LeavesAnOutputOfTheStatedSize)
{
    platform.board("mwc4a", 0).slot(2, fpga_module(3));
    RbtFile{16}.stated_bits(256).write("more.rbt");
    EXPECT_EQ(run({"-fmore.rbt", "-c", "-u"}),
              Fails(9256, "Error 9256. Incorrect number of bits in RBT file more.rbt."));
    EXPECT_EQ(run({"-fmore.mcb", "-dmwc4a", "-b0", "-s2", "-u"}), Succeeds());

    RbtFile{16}.stated_bits(1024).write("less.rbt");
    EXPECT_EQ(run({"-fless.rbt", "-c", "-u"}),
              Fails(9256, "Error 9256. Incorrect number of bits in RBT file less.rbt."));
    EXPECT_EQ(run({"-fless.mcb", "-dmwc4a", "-b0", "-s2", "-u"}),
              Fails(9159, "Error 9159. End of MCB file less.mcb reached unexpectedly."));
}
