// SPDX-License-Identifier: Apache-2.0
// Runs on a handle that the caller has opened, after one that failed in the middle of its load.
#include "bitstream_files.h"
#include "devices.h"
#include "kvn_fpga.h"
#include "mwapi.h"
#include "stream.h"
#include "support/folder_test.h"
#include "virtual_carrier.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace
{
class CallerHandle : public FolderTest
{
protected:
    CallerHandle()
    {
        carrier.keep_journal(false);
        carrier.board("mwc4a", 0)
            .slot(1, mwvirtual::fpga_module(4).device("2v40cs144-4").accepts_compressed());
        fpga::write_rbt(file, fpga::make_stream(*fpga::find_device("2v40")), {"2v40cs144", "virtex2"});
        open();
    }
    ~CallerHandle() override { close(); }

    void open()
    {
        std::uint32_t reserved = 0;
        ASSERT_EQ(MwOpenS("mwc4a", 0, "ksb", &handle, &reserved), 0U);
    }
    void close()
    {
        MwClose(&handle);
        handle = nullptr;
    }

    int load(std::string name) { return object.kvn_fpga_handle(handle, 1, name.data(), 0, 0); }

    /// A file whose last line is cut.
    std::string cut_file() const
    {
        std::string name = path("cut.rbt");
        std::filesystem::copy_file(file, name);
        std::filesystem::resize_file(name, std::filesystem::file_size(name) - 10);
        return name;
    }

    mwvirtual::Carrier carrier;
    std::string file = path("design.rbt");
    MW_HANDLE* handle = nullptr;
    kvn_fpga object;
};

TEST_F(CallerHandle, EndsEveryRunWithError9060AfterALoadThatFailedPartWayUntilItIsOpenedAgain)
{
    ASSERT_EQ(load(file), 0) << object.kvn_fpga_getlasterr();
    EXPECT_EQ(load(cut_file()), 9107);
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(load(file), 9060);
        EXPECT_STREQ(object.kvn_fpga_getlasterr(),
                     "Error 9060. Cannot send KSB message to slot 0x1 (via \"mwc4a 0\") (a message "
                     "is still open).");
    }
    kvn_fpga other;
    EXPECT_EQ(other.kvn_fpga_handle(handle, 1, file.data(), 0, 0), 9060) << "it is the handle's state";
    close();
    open();
    EXPECT_EQ(load(file), 0) << object.kvn_fpga_getlasterr();
    EXPECT_TRUE(carrier.contents("mwc4a", 0, 1).done);
}
} // namespace
