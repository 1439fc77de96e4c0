// SPDX-License-Identifier: Apache-2.0
// Two objects at work on two boards at the same time.
#include "bitstream_files.h"
#include "devices.h"
#include "kvn_fpga.h"
#include "stream.h"
#include "support/folder_test.h"
#include "support/meeting.h"
#include "virtual_carrier.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace
{
class TwoThreads : public FolderTest
{
protected:
    TwoThreads() { carrier.keep_journal(false); }

    /// Writes an example bitstream and puts a module for it into slot 1 of a board of its own.
    std::string prepare(std::uint16_t board, const std::string& device, const std::string& part)
    {
        carrier.board("mwc4a", board).slot(1, mwvirtual::fpga_module(4).device(device).accepts_compressed());
        std::string file = path(part + ".rbt");
        streams.push_back(fpga::make_stream(*fpga::find_device(device)));
        fpga::write_rbt(file, streams.back(), {part, "virtex2"});
        return file;
    }

    mwvirtual::Carrier carrier;
    std::vector<std::vector<std::uint8_t>> streams;
};

/// Both loads wait here, each in the middle of its message, until the other has come as far.
Meeting both_loading{2};

void wait_in_the_middle_of_the_load(char* text)
{
    if (std::strcmp(text, "Sending in compressed format.\n") == 0)
        both_loading.arrive_and_wait();
}

struct Loaded {
    int number = -1;
    std::string error;
};

void load(std::uint16_t board, std::string file, Loaded& loaded)
{
    kvn_fpga fpga;
    fpga.kvn_fpga_set_userprint(wait_in_the_middle_of_the_load);
    char type[] = "mwc4a";
    loaded.number = fpga.kvn_fpga_board(type, board, board << 4 | 1, file.data(), 0, 0);
    loaded.error = fpga.kvn_fpga_getlasterr();
}

TEST_F(TwoThreads, LoadTwoBoardsAtTheSameTime)
{
    const std::string first_file = prepare(0, "2v40cs144-4", "2v40cs144");
    const std::string second_file = prepare(1, "2v80cs144-4", "2v80cs144");
    Loaded first;
    Loaded second;
    std::thread other{load, std::uint16_t{1}, second_file, std::ref(second)};
    load(0, first_file, first);
    other.join();

    EXPECT_EQ(first.number, 0) << first.error;
    EXPECT_EQ(second.number, 0) << second.error;
    EXPECT_EQ(carrier.contents("mwc4a", 0, 1).configuration, fpga::reverse_each(streams[0]));
    EXPECT_EQ(carrier.contents("mwc4a", 1, 1).configuration, fpga::reverse_each(streams[1]));
    EXPECT_TRUE(carrier.contents("mwc4a", 0, 1).done);
    EXPECT_TRUE(carrier.contents("mwc4a", 1, 1).done);
    EXPECT_EQ(carrier.misuse(), std::vector<std::string>{});
    EXPECT_EQ(carrier.open_handles(), 0U);
}

TEST_F(TwoThreads, KeepTheirErrorsApart)
{
    const std::string good_file = prepare(0, "2v40cs144-4", "2v40cs144");
    const std::string wrong_file = prepare(2, "2v40cs144-4", "2v80cs144");
    carrier.board("mwc4a", 2).slot(1, mwvirtual::fpga_module(4).device("2v80cs144-4").accepts_compressed());
    Loaded good;
    Loaded wrong;
    std::thread other{load, std::uint16_t{2}, wrong_file, std::ref(wrong)};
    load(0, good_file, good);
    other.join();

    EXPECT_EQ(good.number, 0);
    EXPECT_EQ(good.error, "");
    EXPECT_EQ(wrong.number, 9118);
    EXPECT_EQ(wrong.error, "Error 9118. Configuration was unsuccessful (3).");
}
} // namespace
