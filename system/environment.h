// SPDX-License-Identifier: Apache-2.0
// Changes of the environment of this process.
#ifndef KVN_SYSTEM_ENVIRONMENT_H
#define KVN_SYSTEM_ENVIRONMENT_H

namespace kvn::system
{

/// Sets a variable for this process and for those that it starts. No other thread may use the environment
/// meanwhile.
/// @param value empty removes the variable on Windows
void set_variable(const char* name, const char* value);

} // namespace kvn::system

#endif
