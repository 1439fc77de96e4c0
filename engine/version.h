// SPDX-License-Identifier: Apache-2.0
// The version of the front end: of kvn, of libkvn and of what they write. The classic library has its own.
#ifndef KVN_ENGINE_VERSION_H
#define KVN_ENGINE_VERSION_H

namespace kvn
{

inline constexpr const char* TOOL_VERSION = "1.0.0";

} // namespace kvn

#endif
