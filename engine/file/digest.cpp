// SPDX-License-Identifier: Apache-2.0
// One fingerprint for a design, whatever form of file holds it.
#include "file/digest.h"

#include "errors/failure.h"

namespace kvn
{
namespace
{

/// Whether all the data are there that the header states, as the library counts them.
bool has_all_data(const Inspection& inspection)
{
    return !inspection.digest.empty() && !inspection.data_are_damaged &&
           static_cast<std::int64_t>(inspection.found_bits) >= inspection.counted_bits.value_or(0);
}

[[noreturn]] void fail_without_data(const Inspection& inspection)
{
    const Problem* problem = first_fatal(inspection.problems);
    if (problem == nullptr && !inspection.problems.empty())
        problem = &inspection.problems.front();
    throw FailureError{{ExitStatus::damaged, 0,
                        inspection.path + ": the configuration data are missing, cut or damaged",
                        problem == nullptr ? "" : problem->what, problem == nullptr ? "" : problem->remedy}};
}

} // namespace

Digest digest_of(const Inspection& inspection)
{
    if (!has_all_data(inspection))
        fail_without_data(inspection);
    return {inspection.digest, inspection.found_bits};
}

Digest digest_of(const Input& input)
{
    return digest_of(inspect(input));
}

} // namespace kvn
