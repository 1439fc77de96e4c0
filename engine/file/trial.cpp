// SPDX-License-Identifier: Apache-2.0
// Loads a file into a virtual module by the library itself.
#include "file/trial.h"

#include "file/bench.h"
#include "rack.h"

namespace kvn
{

Trial try_load(const Input& input, Format format, const std::string& device, LoadKind kind)
{
    const mwvirtual::BoardName board{bench::BOARD_TYPE, 0};
    mwvirtual::Rack rack;
    rack.keep_journal(false);
    const mwvirtual::Module module =
        mwvirtual::fpga_module().device(device).accepts_compressed().keeps_no_data();
    rack.put_module(rack.add_board(board), bench::SLOT, &module);

    const bench::Outcome outcome = bench::load(rack, input, format, kind);
    const mwvirtual::Contents contents = rack.contents(board, bench::SLOT);
    Trial trial;
    trial.starts = outcome.number == 0 && contents.done;
    trial.number = outcome.number;
    trial.error = outcome.error;
    if (contents.finished)
        trial.module_says = contents.reason;
    trial.bytes = contents.received_bytes;
    trial.loaded = contents.configuration_bytes;
    return trial;
}

} // namespace kvn
