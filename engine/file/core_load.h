// SPDX-License-Identifier: Apache-2.0
// Loads an input into a module over a session that is open: by the library's own loaders, without a path.
#ifndef KVN_ENGINE_FILE_CORE_LOAD_H
#define KVN_ENGINE_FILE_CORE_LOAD_H

#include "file/inspection.h"

class kvn_fpga_imp;

namespace kvn
{

/// Opens the input as the session's file of the given format, as if the session had found it under its name.
/// The session owns the stream until a loader or converter takes it over; close_open_files() releases it on
/// every path.
/// @param format not Format::unknown: the file's content decides (Inspection::format)
/// Throws as Input::open.
void select_input(kvn_fpga_imp& session, const Input& input, Format format);

/// Loads the input into the module that the session has identified (Initialise_Host_KSB, then Check_Module),
/// with the session's slot_address and never_compress. The stream is closed on every path; the bus stays
/// open.
/// @return 0, or the number of the error, whose text is then in the session
/// Throws as Input::open.
[[nodiscard]] int load_input(kvn_fpga_imp& session, const Input& input, Format format);

} // namespace kvn

#endif
