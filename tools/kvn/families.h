// Families of FPGAs that no module carries, so that a file for one of them can be named for what it is.
#ifndef KVN_FAMILIES_H
#define KVN_FAMILIES_H

#include <string>
#include <string_view>

namespace kvn
{

/// The family of a part such as "3s500ecp132" or "4005epc84"; empty when the part is of none that is known
/// here, as those that modules carry.
[[nodiscard]] std::string other_family(std::string_view part);

} // namespace kvn

#endif
