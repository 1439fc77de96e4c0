// SPDX-License-Identifier: Apache-2.0
// The files that keep the state of a module: shown as kvn_rack shows them, met by a load, and emptied. An
// input is the text of the state, a zero byte and the bits.
#include "rack_view.h"
#include "require.h"
#include "target.h"
#include "virtual_carrier.h"
#include "workplace.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>

namespace
{
constexpr const char* FOLDER = "state";
const mwvirtual::ModuleName MODULE{{"mwc4a", 0}, 1};

/// @return whether the files are those of a module
bool show(const mwvirtual::StateStore& store)
{
    const rack::RackView view = rack::view_of(store);
    require(view.modules.size() + view.problems.size() == 1, "a module is shown, or its damage is told");
    std::ostringstream out;
    rack::print(out, view);
    const std::string shown = out.str();
    require(std::ranges::none_of(shown, [](char each) { return each != '\n' && each >= 0 && each < ' '; }),
            "nothing that is shown moves a terminal's cursor");
    require(!rack::json_of(view).dump().empty(), "what is shown as JSON is UTF-8");
    return view.problems.empty();
}

void load()
{
    mwvirtual::Carrier carrier;
    carrier.state_folder(FOLDER);
    carrier.board("mwc4a", 0).slot(1, mwvirtual::fpga_module(4).device("2v3000fg676-4"));
    kvn_fpga object;
    answer_simply(object);
    char board_type[] = "mwc4a";
    char file[] = "good.rbt";
    const int result = object.kvn_fpga_board(board_type, 0, 1, file, 0, 1);
    check_result(result, object.kvn_fpga_getlasterr());
    require(carrier.open_handles() == 0, "every bus that was opened is closed");
    require(carrier.misuse().empty(), "the library keeps to the rules of the API");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    const std::uint8_t* const end = data + size;
    const std::uint8_t* const zero = std::find(data, end, 0);
    std::filesystem::create_directory(FOLDER);
    write_file("state/mwc4a-0-1.json", Bytes(data, zero));
    write_file("state/mwc4a-0-1.bits", Bytes(zero == end ? end : zero + 1, end));
    const mwvirtual::StateStore store{FOLDER};
    const bool was_good = show(store);
    load();
    require(show(store) || !was_good, "a load leaves a good state behind a good one");
    require(!store.switch_power_off_and_on(), "no message is open");
    require(show(store) && store.read(MODULE).holding == mwvirtual::Holding::nothing,
            "without power a module is empty");
    std::filesystem::remove_all(FOLDER);
    return 0;
}
