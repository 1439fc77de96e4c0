// SPDX-License-Identifier: Apache-2.0
// What every function of the C interface does around its work.
#include "call.h"

#include "report/json.h"

#include <cxxabi.h>

#include <exception>
#include <new>

namespace kvn::c_interface
{
namespace
{

void leave_in_thread(const LastError& error) noexcept
{
    thread_error().set(error.number(), error.what(), error.why(), error.remedy());
}

/// The text of a failure, as it is left in the thread and, if there is one, in the session.
void leave_text(Session* session, const Failure& failure) noexcept
{
    if (session == nullptr) {
        LastError error;
        error.set(failure);
        leave_in_thread(error);
        return;
    }
    session->error.set(failure);
    leave_in_thread(session->error);
}

/// What kvn_result_json gives after an operation that failed.
void leave_document(Session& session, const Failure& failure) noexcept
{
    try {
        session.result.document = [failure] { return failure_json(failure); };
    } catch (const std::bad_alloc&) {
        session.result.document = nullptr;
    }
}

int leave_failure(Session* session, Kind kind, const Failure& failure) noexcept
{
    leave_text(session, failure);
    if (session != nullptr && kind == Kind::operation)
        leave_document(*session, failure);
    return static_cast<int>(failure.status);
}

int leave_no_memory(Session* session) noexcept
{
    LastError error;
    error.set_no_memory();
    leave_in_thread(error);
    if (session != nullptr)
        session->error.set_no_memory();
    return KVN_INTERNAL;
}

int leave_mistake(Session* session, Kind kind, const char* what)
{
    try {
        return leave_failure(session, kind, {.status = ExitStatus::internal, .what = what});
    } catch (const std::bad_alloc&) {
        return leave_no_memory(session);
    }
}

} // namespace

int leave(Session* session, const Ending& ending) noexcept
{
    if (ending.failure) {
        leave_text(session, *ending.failure);
    } else {
        thread_error().clear();
        if (session != nullptr)
            session->error.clear();
    }
    return static_cast<int>(ending.status);
}

int leave_exception(Session* session, Kind kind)
{
    try {
        throw;
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (const FailureError& error) {
        return leave_failure(session, kind, error.failure());
    } catch (const std::bad_alloc&) {
        return leave_no_memory(session);
    } catch (const std::exception& error) {
        return leave_mistake(session, kind, error.what());
    } catch (...) {
        return leave_mistake(session, kind, "what was thrown is no standard exception");
    }
}

std::shared_ptr<Session> session_of(const kvn_session* handle)
{
    std::shared_ptr<Session> session = sessions().find(handle);
    if (session == nullptr)
        refuse("the session is not open", "the handle is null, was closed, or is not that of a session",
               "pass a handle that kvn_open gave");
    return session;
}

void require_turn(const Turn& turn)
{
    if (!turn.is_mine())
        refuse("another call is running in this session",
               "a session serves one call at a time, and none from within its own progress function",
               "use a session for each thread");
}

} // namespace kvn::c_interface
