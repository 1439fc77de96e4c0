// SPDX-License-Identifier: Apache-2.0
// A platform call in a trace's JSON: its arguments and what it wrote through them.
#ifndef MWTRACE_CALL_JSON_H
#define MWTRACE_CALL_JSON_H

#include "calls.h"
#include "encoding.h"

#include <functional>

namespace mwtrace
{

/// The number that a handle has in a trace.
using NumberOf = std::function<unsigned(const MW_HANDLE*)>;

/// The handle that a call closes; null for every other call.
[[nodiscard]] const MW_HANDLE* closed_handle(const mwapi::Description& call, mwapi::Values values);

/// "in" of a record: the caller's values. Read them before the call, which may change them.
[[nodiscard]] Json given(const mwapi::Description& call, mwapi::Values values, const NumberOf& number_of);

/// "got" of a record: what the platform wrote, a cleared handle aside; null for nothing.
/// @param opened numbers a handle that was opened
[[nodiscard]] Json written(const mwapi::Description& call, mwapi::Values values, const NumberOf& opened);

/// Whether a call can have written a value under that name. Values of unknown names are accepted and not
/// used.
[[nodiscard]] bool is_written_value(std::string_view name, const Json& value);

/// Writes what the recorded call wrote, except to null pointers.
/// @param got checked with is_written_value
/// @param open gives the handle for a number
void write(const mwapi::Description& call, mwapi::Values values, const Json& got,
           const std::function<MW_HANDLE*(unsigned)>& open);

} // namespace mwtrace

#endif
