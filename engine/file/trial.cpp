// SPDX-License-Identifier: Apache-2.0
// Loads a file into a virtual module by the library itself.
#include "file/trial.h"

#include "bus/slot_address.h"
#include "file/core_load.h"
#include "kvnfpgai.h"
#include "provider/thread_platform.h"
#include "rack.h"
#include "support/text.h"

namespace kvn
{
namespace
{

constexpr const char* BOARD_TYPE = "mwc4a";
constexpr unsigned SLOT = 1;

void print_nothing(char* /*text*/) {}

/// Looks for a file of the input's name, as the library does, and loads that.
int load_by_name(kvn_fpga_imp& session, const Input& input)
{
    const Finally close_files{[&session] { session.close_open_files(); }};
    copy_text(session.bitstream_file, input.unpacked_name());
    session.file_is_rbt = 1; // a file was named
    if (const int error = session.determine_bitstream_type())
        return error;
    return session.load_selected_file();
}

int load(kvn_fpga_imp& session, const Input& input, Format format)
{
    session.user_print = &print_nothing;
    copy_text(session.board_type, BOARD_TYPE);
    session.slot = SLOT;
    session.slot_address = join_slot_address(SLOT, 0);
    const Finally close_bus{[&session] { session.Close_KSB(); }};
    if (const int error = session.Initialise_Host_KSB(BOARD_TYPE, 0))
        return error;
    if (const int error = session.Check_Module(BOARD_TYPE, 0, session.slot_address))
        return error;
    return format == Format::unknown ? load_by_name(session, input) : load_input(session, input, format);
}

} // namespace

Trial try_load(const Input& input, Format format, const std::string& device, LoadKind kind)
{
    mwvirtual::Rack rack;
    rack.keep_journal(false);
    const mwvirtual::Module module =
        mwvirtual::fpga_module().device(device).accepts_compressed().keeps_no_data();
    rack.put_module(rack.add_board({BOARD_TYPE, 0}), SLOT, &module);
    const mwapi::UsePlatform use{rack};

    kvn_fpga_imp session;
    session.never_compress = kind == LoadKind::plain ? 1 : 0;
    Trial trial;
    trial.number = load(session, input, format);
    const mwvirtual::Contents contents = rack.contents({BOARD_TYPE, 0}, SLOT);
    trial.starts = trial.number == 0 && contents.done;
    if (trial.number != 0)
        trial.error = session.last_error_text;
    if (contents.finished)
        trial.module_says = contents.reason;
    trial.bytes = contents.received_bytes;
    trial.loaded = contents.configuration_bytes;
    return trial;
}

} // namespace kvn
