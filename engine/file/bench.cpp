// SPDX-License-Identifier: Apache-2.0
// Loads an input into the one module of a platform that was made for it.
#include "file/bench.h"

#include "bus/slot_address.h"
#include "file/core_load.h"
#include "kvnfpgai.h"
#include "provider/thread_platform.h"
#include "support/text.h"

namespace kvn::bench
{
namespace
{

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
    const Finally close_bus{[&session] { session.Close_KSB(); }};
    if (const int error = session.Initialise_Host_KSB(BOARD_TYPE, 0))
        return error;
    if (const int error = session.Check_Module(BOARD_TYPE, 0, session.slot_address))
        return error;
    return format == Format::unknown ? load_by_name(session, input) : load_input(session, input, format);
}

} // namespace

Outcome load(mwapi::Platform& platform, const Input& input, Format format, LoadKind kind)
{
    const mwapi::UsePlatform use{platform};
    kvn_fpga_imp session;
    session.user_print = &print_nothing;
    session.never_compress = kind == LoadKind::plain ? 1 : 0;
    copy_text(session.board_type, BOARD_TYPE);
    session.slot = SLOT;
    session.slot_address = join_slot_address(SLOT, 0);
    Outcome outcome;
    outcome.number = load(session, input, format);
    if (outcome.number != 0)
        outcome.error = session.last_error_text;
    return outcome;
}

} // namespace kvn::bench
