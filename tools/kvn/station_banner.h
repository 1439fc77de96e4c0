// SPDX-License-Identifier: Apache-2.0
// What a station shows of a unit and of a session, as text.
#ifndef KVN_TOOLS_KVN_STATION_BANNER_H
#define KVN_TOOLS_KVN_STATION_BANNER_H

#include "run/station.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kvn
{

/// "12 units: 11 passed, 1 failed"
[[nodiscard]] std::string in_words(const StationTally& tally);

/// Three rows of that many columns, with the word and the serial numbers in the middle one. Words that are
/// too wide have a row of their own.
[[nodiscard]] std::vector<std::string> banner(bool passed, const std::vector<std::string>& serial_numbers,
                                              std::size_t columns);

} // namespace kvn

#endif
