// SPDX-License-Identifier: Apache-2.0
// Loads a file into a virtual module by the library itself.
#include "file/trial.h"

#include "kvn_fpga.h"
#include "provider/thread_platform.h"
#include "rack.h"

namespace kvn
{
namespace
{

void print_nothing(char* /*text*/) {}

} // namespace

Trial try_load(const std::string& file, const std::string& device, LoadKind kind)
{
    constexpr unsigned slot = 1;
    constexpr int configure = 0;
    constexpr int never_compress = 4;
    std::string board = "mwc4a";
    mwvirtual::Rack rack;
    rack.keep_journal(false);
    const mwvirtual::Module module = mwvirtual::fpga_module().device(device).accepts_compressed();
    rack.put_module(rack.add_board({board, 0}), slot, &module);
    const mwapi::UsePlatform use{rack};

    ::kvn_fpga library;
    library.kvn_fpga_set_userprint(&print_nothing);
    std::string name = file;
    const int error = library.kvn_fpga_board(board.data(), 0, slot, name.data(), configure,
                                             kind == LoadKind::plain ? never_compress : 0);
    const mwvirtual::Contents contents = rack.contents({board, 0}, slot);
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
