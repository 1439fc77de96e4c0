// SPDX-License-Identifier: Apache-2.0
// Example bitstreams in all forms.
#ifndef KVN_FPGA_TESTS_ENGINE_FILE_EXAMPLES_H
#define KVN_FPGA_TESTS_ENGINE_FILE_EXAMPLES_H

#include "bitstream_files.h"
#include "errors/failure.h"
#include "file/inspection.h"
#include "kvn_fpga.h"
#include "stream.h"
#include "support/folder_test.h"

class ExampleTest : public FolderTest
{
protected:
    /// Configuration data in file order.
    using Data = std::vector<std::uint8_t>;

    static const fpga::Device& device(std::string_view name) { return *fpga::find_device(name); }

    static fpga::FileLabels labels(const fpga::Device& device)
    {
        return {std::string{device.name} + "fg1", "family"};
    }

    [[nodiscard]] kvn::Input bit(const fpga::Device& device, const Data& data,
                                 const std::string& name = "a.bit") const
    {
        fpga::write_bit(path(name), data, labels(device));
        return kvn::Input::from_path(path(name));
    }
    /// Lines of 32 characters, or as the tools write them where the data are no multiple of that.
    [[nodiscard]] kvn::Input rbt(const fpga::Device& device, const Data& data,
                                 const std::string& name = "a.rbt") const
    {
        fpga::write_rbt(path(name), data, labels(device), fpga::FileDefect::none,
                        data.size() % 4 != 0 ? device.frame_size : 0);
        return kvn::Input::from_path(path(name));
    }
    /// By the converter, of the BIT file.
    [[nodiscard]] kvn::Input mcb(const fpga::Device& device, const Data& data,
                                 const std::string& name = "a.mcb") const
    {
        const std::string stem = path(name.substr(0, name.size() - 4));
        fpga::write_bit(stem + ".bit", data, labels(device));
        convert(stem + ".bit");
        return kvn::Input::from_path(stem + ".mcb");
    }
    static void convert(std::string file)
    {
        ::kvn_fpga library;
        library.kvn_fpga_set_userprint([](char*) {});
        std::string board = "none";
        constexpr int make_mcb = 1;
        ASSERT_EQ(library.kvn_fpga_board(board.data(), 0, 1, file.data(), make_mcb, 0), 0)
            << library.kvn_fpga_getlasterr();
    }
    /// What a failing action says.
    template <class Action>
    static kvn::Failure failure_of(Action action)
    {
        try {
            action();
        } catch (const kvn::FailureError& error) {
            EXPECT_STREQ(error.what(), error.failure().what.c_str());
            return error.failure();
        }
        ADD_FAILURE() << "nothing fails";
        return {};
    }
};

#endif
