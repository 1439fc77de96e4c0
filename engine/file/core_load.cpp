// SPDX-License-Identifier: Apache-2.0
// Loads an input into a module over a session that is open.
#include "file/core_load.h"

#include "kvnfpgai.h"
#include "support/text.h"

namespace kvn
{

void select_input(kvn_fpga_imp& session, const Input& input, Format format)
{
    copy_text(session.bitstream_file, input.name());
    session.file_is_rbt = format == Format::rbt ? 1 : 0;
    session.file_is_bit = format == Format::bit ? 1 : 0;
    session.file_is_mcb = format == Format::mcb ? 1 : 0;
    (format == Format::rbt ? session.rbt_fp : session.bin_fp) = input.open().release();
}

int load_input(kvn_fpga_imp& session, const Input& input, Format format)
{
    const Finally close_files{[&session] { session.close_open_files(); }};
    select_input(session, input, format);
    return session.load_selected_file();
}

} // namespace kvn
