// SPDX-License-Identifier: Apache-2.0
// The journal of the virtual carriers: calls as records and as lines, made from the table of calls.
#ifndef MWVIRTUAL_JOURNAL_H
#define MWVIRTUAL_JOURNAL_H

#include "calls.h"
#include "virtual_carrier.h"

namespace mwvirtual
{

/// How much of a call is written down.
enum class Extent {
    arguments,          ///< numbers and texts that the caller gives
    arguments_and_data, ///< the data sent as well
};

/// A call that has returned.
/// @param handle the number of its handle
[[nodiscard]] Call written_down(mwapi::Function function, mwapi::Values values, unsigned handle,
                                std::uint32_t result, Extent extent);

} // namespace mwvirtual

#endif
