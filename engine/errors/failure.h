// SPDX-License-Identifier: Apache-2.0
// A failure as users meet it: what happened, why, what to do, and how a program ends over it.
#ifndef KVN_ENGINE_ERRORS_FAILURE_H
#define KVN_ENGINE_ERRORS_FAILURE_H

#include "errors/catalogue.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace kvn
{

struct Failure {
    ExitStatus status = ExitStatus::internal;
    int number = 0;     ///< of the library's error; 0 if the failure is not the library's
    std::string what;   ///< one sentence that names the file or module, without a line end
    std::string why;    ///< empty if there is nothing to add
    std::string remedy; ///< empty if none is known
};

/// Carries a failure up to whoever reports it; what() is the failure's.
class FailureError : public std::runtime_error
{
public:
    explicit FailureError(Failure failure) : std::runtime_error{failure.what}, failure_{std::move(failure)} {}
    [[nodiscard]] const Failure& failure() const noexcept { return failure_; }

private:
    Failure failure_;
};

} // namespace kvn

#endif
