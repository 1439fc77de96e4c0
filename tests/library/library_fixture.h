// SPDX-License-Identifier: Apache-2.0
// Sessions of the C interface on virtual carriers.
#ifndef KVN_TESTS_LIBRARY_LIBRARY_FIXTURE_H
#define KVN_TESTS_LIBRARY_LIBRARY_FIXTURE_H

#include "bitstream_files.h"
#include "devices.h"
#include "kvn.h"
#include "stream.h"
#include "support/folder_test.h"
#include "virtual_carrier.h"

#include <cstdint>
#include <string>
#include <vector>

/// A structure of the C interface, empty but for its size.
template <class Structure>
Structure sized()
{
    Structure structure{};
    structure.size = sizeof structure;
    return structure;
}

/// A session that ends with its scope.
class Session
{
public:
    Session()
    {
        EXPECT_EQ(kvn_open(&handle_), KVN_DONE);
        EXPECT_EQ(kvn_provider_open(handle_, "virtual"), KVN_DONE) << kvn_error_text(handle_);
    }
    ~Session() { EXPECT_EQ(kvn_close(handle_), KVN_DONE); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    operator kvn_session*() const { return handle_; } // NOLINT(google-explicit-constructor): for calls
    [[nodiscard]] std::string json() const
    {
        const char* text = nullptr;
        EXPECT_EQ(kvn_result_json(handle_, &text), KVN_DONE) << kvn_error_text(handle_);
        return text == nullptr ? "" : text;
    }

private:
    kvn_session* handle_ = nullptr;
};

class LibraryTest : public FolderTest
{
protected:
    static constexpr const char* DEVICE = "2v40cs144-4";

    LibraryTest() { carrier.keep_journal(false); }
    ~LibraryTest() override
    {
        if (file != nullptr) {
            EXPECT_EQ(kvn_file_close(file), KVN_DONE);
        }
        EXPECT_EQ(carrier.open_handles(), 0U);
    }

    void add_module(std::uint16_t board)
    {
        carrier.board("mwc4a", board).slot(1, mwvirtual::fpga_module(4).device(DEVICE).accepts_compressed());
    }

    /// Writes an example bitstream for the modules and opens it.
    void open_file(const Session& session)
    {
        fpga::write_rbt(path("design.rbt"), stream, {"2v40cs144", "virtex2"});
        ASSERT_EQ(kvn_file_open(session, path("design.rbt").c_str(), &file), KVN_DONE)
            << kvn_error_text(session);
    }

    kvn_load_options load_options(const std::string& module = "mwc4a:0/1")
    {
        auto options = sized<kvn_load_options>();
        module_ = module;
        options.module = module_.c_str();
        return options;
    }

    mwvirtual::Carrier carrier;
    std::vector<std::uint8_t> stream = fpga::make_stream(*fpga::find_device(DEVICE));
    kvn_file* file = nullptr;

private:
    std::string module_;
};

#endif
