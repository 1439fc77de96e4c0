// SPDX-License-Identifier: Apache-2.0
// What a user is told when something fails: what happened, why, and what to do.
#ifndef KVN_ENGINE_ERRORS_FAILURE_H
#define KVN_ENGINE_ERRORS_FAILURE_H

#include "errors/catalogue.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace kvn
{

/// Texts are UTF-8, on one line and without a line feed, as far as the file names and the provider's texts in
/// them are.
struct Failure {
    ExitStatus status = ExitStatus::internal; ///< the class, and how a program ends; never ExitStatus::done
    int number = 0;                           ///< of the library's error; 0 for a failure of the engine's own
    std::string what = {};                    ///< what happened, with all names; stands on its own
    std::string why = {};                     ///< causes; empty when `what` says it
    std::string remedy = {};                  ///< what to do; empty when nothing is known

    friend bool operator==(const Failure&, const Failure&) = default;
};

/// The failure behind an error of the library: its class, causes and remedy are those of the catalogue.
/// @param number not 0; one that the catalogue does not have is ExitStatus::internal
/// @param text the error's own words, as the session holds them
/// @throws std::bad_alloc
[[nodiscard]] Failure library_failure(int number, std::string text);

/// Thrown by operations of the engine that cannot do what was asked of them. what() is failure().what.
class FailureError : public std::runtime_error
{
public:
    explicit FailureError(Failure failure) : std::runtime_error{failure.what}, failure_{std::move(failure)} {}

    /// Valid as long as the exception.
    [[nodiscard]] const Failure& failure() const noexcept { return failure_; }

private:
    Failure failure_;
};

} // namespace kvn

#endif
