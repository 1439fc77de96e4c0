// SPDX-License-Identifier: Apache-2.0
// Rack descriptions, and runs on the racks they describe.
#include "rack_reader.h"
#include "require.h"
#include "target.h"
#include "virtual_carrier.h"
#include "workplace.h"

#include <filesystem>
#include <string>

namespace
{
constexpr const char* KEEP_FOLDER = "kept";

void run(kvn_fpga& object, int board, int address, const char* file_name)
{
    char board_type[] = "mwc4a";
    std::string file{file_name};
    const int result = object.kvn_fpga_board(board_type, board, address, file.data(), 0, 1);
    check_result(result, object.kvn_fpga_getlasterr());
}

void run_on(mwvirtual::Carrier& carrier)
{
    carrier.on_wait([](std::chrono::nanoseconds) {});
    kvn_fpga object;
    answer_simply(object);
    for (int board = 0; board < 2; ++board)
        for (int address = board * 16 + 1; address < board * 16 + 5; ++address)
            run(object, board, address, (address & 1) != 0 ? "good.rbt" : "good.mcb");
    run(object, 0, 0x12, "good.bit");
    require(carrier.open_handles() == 0, "every bus that was opened is closed");
    require(carrier.misuse().empty(), "the library keeps to the rules of the API");
    require(!carrier.journal_text().empty(), "calls are kept in the journal");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    const std::string text{reinterpret_cast<const char*>(data), size};
    try {
        auto carrier = mwvirtual::Carrier::from_toml(text, "input.toml", KEEP_FOLDER);
        std::filesystem::create_directory(KEEP_FOLDER);
        run_on(carrier);
        if (text.find("keep") != std::string::npos)
            std::filesystem::remove_all(KEEP_FOLDER);
    } catch (const mwvirtual::RackError& error) {
        require(std::string_view{error.what()}.starts_with("input.toml:"),
                "a mistake is told with its place");
    }
    return 0;
}
