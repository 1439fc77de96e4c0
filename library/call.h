// SPDX-License-Identifier: Apache-2.0
// What every function of the C interface does around its work: no exception passes, and every call leaves a
// text.
#ifndef KVN_LIBRARY_CALL_H
#define KVN_LIBRARY_CALL_H

#include "arguments.h"
#include "session.h"

#include <memory>
#include <optional>

namespace kvn::c_interface
{

/// How work ends that throws nothing.
struct Ending {
    ExitStatus status = ExitStatus::done;
    std::optional<Failure> failure = {}; ///< what the call leaves as its text
};

/// What a call does to the session's last result.
enum class Kind {
    operation, ///< replaces it
    reader     ///< leaves it
};

/// Leaves the text of a call that has ended.
/// @param session whose call it is; null: none
/// @return the status
int leave(Session* session, const Ending& ending) noexcept;

/// The same for the exception in hand, from within a catch clause. Only the end of a thread from outside
/// passes through.
int leave_exception(Session* session, Kind kind);

/// Makes a call that has no session.
/// @param work returns an Ending, or throws
template <class WorkOfCall>
int call_without_session(WorkOfCall work)
{
    try {
        return leave(nullptr, work());
    } catch (...) {
        return leave_exception(nullptr, Kind::reader);
    }
}

/// A row of what an earlier call found.
/// @param name of the rows
/// @throws FailureError (ExitStatus::usage) for an index that there is not
template <class Row>
const Row& row(const std::vector<Row>& rows, std::size_t index, const char* name)
{
    if (index >= rows.size())
        refuse("the index " + std::to_string(index) + " is too large: there are " +
                   std::to_string(rows.size()) + " " + name,
               "", "pass an index below the number of " + std::string{name});
    return rows[index];
}

/// @throws FailureError (ExitStatus::usage) for a handle that is not open
std::shared_ptr<Session> session_of(const kvn_session* handle);
/// @throws FailureError (ExitStatus::usage) unless the turn has been given
void require_turn(const Turn& turn);

template <class WorkOfCall>
int work_in(Session& session, Kind kind, WorkOfCall& work)
{
    try {
        if (kind == Kind::operation)
            session.result.clear();
        return leave(&session, work(session));
    } catch (...) {
        return leave_exception(&session, kind);
    }
}

/// Makes a call in a session, if that is free.
/// @param work takes the session, returns an Ending, or throws
template <class WorkOfCall>
int call(const kvn_session* handle, Kind kind, WorkOfCall work)
{
    try {
        const std::shared_ptr<Session> session = session_of(handle);
        const Turn turn{*session};
        require_turn(turn);
        return work_in(*session, kind, work);
    } catch (...) {
        return leave_exception(nullptr, Kind::reader);
    }
}

} // namespace kvn::c_interface

#endif
