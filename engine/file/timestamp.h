// SPDX-License-Identifier: Apache-2.0
// The date and time of a bitstream, in the forms that files have for them.
#ifndef KVN_ENGINE_FILE_TIMESTAMP_H
#define KVN_ENGINE_FILE_TIMESTAMP_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace kvn
{

/// A second of the calendar, of no time zone: files name none.
using Moment = std::chrono::sys_seconds;

/// Reads "Thu Oct 10 09:00:52 2002" or "2002/10/10 09:00:52"; numbers may be filled up with blanks, as in
/// "2011/ 1/28  9: 6:48". Null for anything else, and for days that no calendar has.
[[nodiscard]] std::optional<Moment> parse_moment(std::string_view text);

/// "Thu Oct 10 09:00:52 2002", as RBT files have it. The day of the month is filled up with a blank.
[[nodiscard]] std::string in_words(Moment moment);
/// "2002/10/10", as BIT files have it.
[[nodiscard]] std::string date_of(Moment moment);
/// "09:00:52"
[[nodiscard]] std::string time_of(Moment moment);

} // namespace kvn

#endif
