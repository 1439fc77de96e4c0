// SPDX-License-Identifier: Apache-2.0
// The catalogue of errors as JSON.
#ifndef KVN_ENGINE_REPORT_ERRORS_JSON_H
#define KVN_ENGINE_REPORT_ERRORS_JSON_H

#include "errors/catalogue.h"
#include "report/json.h"

#include <span>
#include <string_view>
#include <vector>

namespace kvn
{

/// Whether a number is a module's answer to a load: those are bytes, and errors are numbered from 9000.
[[nodiscard]] bool is_load_status(int number);

/// The entries of a number: one, or two for a number with two texts; none for a number that no error has.
[[nodiscard]] std::vector<const ErrorEntry*> entries_of(int number);

/// What is known of a module's answer to a load, also of one that no virtual module gives.
[[nodiscard]] std::string_view meaning_of_status(int status);

/// The document "errors": what the numbers mean.
/// @param numbers of errors and answers; none: all of them
[[nodiscard]] Json errors_document(std::span<const int> numbers);

} // namespace kvn

#endif
