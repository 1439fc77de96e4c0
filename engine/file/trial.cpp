// SPDX-License-Identifier: Apache-2.0
// Loads a file into a virtual module by the library itself.
#include "trial.h"

#include "kvn_fpga.h"
#include "virtual_carrier.h"

namespace kvn
{
namespace
{

void print_nothing(char* /*text*/) {}

} // namespace

Trial try_load(const std::string& file, const std::string& device, LoadKind kind)
{
    constexpr int slot = 1;
    constexpr int configure = 0;
    constexpr int never_compress = 4;
    mwvirtual::Carrier carrier;
    carrier.keep_journal(false);
    carrier.board("mwc4a", 0).slot(slot, mwvirtual::fpga_module().device(device).accepts_compressed());

    ::kvn_fpga library;
    library.kvn_fpga_set_userprint(&print_nothing);
    std::string board = "mwc4a";
    std::string name = file;
    const int error = library.kvn_fpga_board(board.data(), 0, slot, name.data(), configure,
                                             kind == LoadKind::plain ? never_compress : 0);
    const mwvirtual::Contents contents = carrier.contents("mwc4a", 0, slot);
    Trial trial;
    trial.starts = error == 0 && contents.done;
    if (error != 0)
        trial.error = library.kvn_fpga_getlasterr();
    if (contents.finished)
        trial.module_says = contents.reason;
    trial.bytes = contents.received.size();
    trial.loaded = contents.configuration.size();
    return trial;
}

} // namespace kvn
