// SPDX-License-Identifier: Apache-2.0
// kvn.h: versions, sessions, what calls leave, the provider.
#include "call.h"
#include "report/documents.h"
#include "version.h"

#include <cstdlib>
#include <new>

namespace kvn::c_interface
{
namespace
{

static_assert(KVN_DONE == static_cast<int>(ExitStatus::done) &&
              KVN_INTERNAL == static_cast<int>(ExitStatus::internal) &&
              KVN_USAGE == static_cast<int>(ExitStatus::usage) &&
              KVN_FILE == static_cast<int>(ExitStatus::file) &&
              KVN_DAMAGED == static_cast<int>(ExitStatus::damaged) &&
              KVN_WRONG_DEVICE == static_cast<int>(ExitStatus::wrong_device) &&
              KVN_NO_MODULE == static_cast<int>(ExitStatus::no_module) &&
              KVN_BUS == static_cast<int>(ExitStatus::bus) &&
              KVN_REFUSED == static_cast<int>(ExitStatus::refused) &&
              KVN_SEVERAL == static_cast<int>(ExitStatus::several) &&
              KVN_REHEARSAL == static_cast<int>(ExitStatus::rehearsal) &&
              KVN_CANCELLED == static_cast<int>(ExitStatus::cancelled) &&
              KVN_TIMED_OUT == static_cast<int>(ExitStatus::timed_out));

/// Stands for this library, beside which the providers of this project lie.
const char here = '\0';

/// What a reader gets of the last error: the session's if that can be had, else the thread's.
template <class OfSession, class OfThread>
auto last_error(const kvn_session* handle, OfSession of_session, OfThread of_thread)
{
    try {
        if (const std::shared_ptr<Session> session = sessions().find(handle)) {
            const Turn turn{*session};
            if (turn.is_mine())
                return of_session(session->error);
        }
    } catch (const std::bad_alloc&) { // no session was ever opened
    }
    return of_thread(thread_error());
}

/// The provider that is meant when none is named.
std::string usual_provider()
{
    const char* name = std::getenv("KVN_MWAPI"); // NOLINT(concurrency-mt-unsafe): only read
    return optional_text_argument(name, "KVN_MWAPI");
}

OpenProvider open_provider(const std::string& name)
{
    OpenProvider opened{.provider = Provider::open(name.empty() ? usual_provider() : name, &here)};
    const ProviderIdentity& identity = opened.provider->identity();
    opened.info = {.size = sizeof opened.info,
                   .name = opened.texts.keep(identity.name),
                   .file = opened.texts.keep_known(identity.file),
                   .version = opened.texts.keep_known(identity.version),
                   .announcement = opened.texts.keep_if_any(identity.announcement),
                   .simulated = identity.simulated ? 1 : 0};
    return opened;
}

/// Documents are made of objects that allocate even where they are destroyed, and cannot fail there: they are
/// made only where there is much more memory than they take.
void require_memory_for_documents()
{
    constexpr std::size_t room = std::size_t{16} << 20;
    // The functions themselves: no compiler leaves out such calls.
    ::operator delete(::operator new(room));
}

const std::string& json_of(Result& result)
{
    if (!result.document)
        refuse("the session has no result yet", "no operation that has one was called, or it had no memory",
               "call an operation first");
    if (!result.json) {
        require_memory_for_documents();
        constexpr int indent = 2;
        result.json = result.document().dump(indent, ' ', false, Json::error_handler_t::replace) + '\n';
    }
    return *result.json;
}

} // namespace
} // namespace kvn::c_interface

using namespace kvn::c_interface;

const char* kvn_version(void)
{
    return kvn::TOOL_VERSION;
}

int kvn_interface_version(void)
{
    return KVN_INTERFACE_VERSION;
}

int kvn_open(kvn_session** session)
{
    return call_without_session([&] {
        require_pointer(session, "session");
        *session = nullptr;
        *session = sessions().add(std::make_shared<Session>());
        return Ending{};
    });
}

int kvn_close(kvn_session* session)
{
    return call(session, Kind::reader, [&](Session&) {
        (void)sessions().remove(session);
        return Ending{};
    });
}

const char* kvn_error_text(const kvn_session* session)
{
    return last_error(
        session, [](const LastError& error) { return error.what(); },
        [](const ThreadError& error) { return error.what.data(); });
}

const char* kvn_error_why(const kvn_session* session)
{
    return last_error(
        session, [](const LastError& error) { return error.why(); },
        [](const ThreadError& error) { return error.why.data(); });
}

const char* kvn_error_remedy(const kvn_session* session)
{
    return last_error(
        session, [](const LastError& error) { return error.remedy(); },
        [](const ThreadError& error) { return error.remedy.data(); });
}

int kvn_error_number(const kvn_session* session)
{
    return last_error(
        session, [](const LastError& error) { return error.number(); },
        [](const ThreadError& error) { return error.number; });
}

int kvn_result_json(kvn_session* session, const char** json)
{
    return call(session, Kind::reader, [&](Session& mine) {
        require_pointer(json, "json");
        *json = json_of(mine.result).c_str();
        return Ending{};
    });
}

int kvn_provider_open(kvn_session* session, const char* name)
{
    return call(session, Kind::operation, [&](Session& mine) {
        const std::string wanted = optional_text_argument(name, "name");
        OpenProvider opened = open_provider(wanted);
        mine.result.document = [provider = opened.provider] {
            return provider_document(provider->identity());
        };
        if (!mine.provider) // else it is the same one, whose texts stay
            mine.provider = std::move(opened);
        return Ending{};
    });
}

int kvn_provider_info(kvn_session* session, kvn_provider* info)
{
    return call(session, Kind::reader, [&](Session& mine) {
        const Receiver receiver{info};
        (void)provider_of(mine);
        receiver.take(mine.provider->info);
        return Ending{};
    });
}

int kvn_problem(kvn_session* session, size_t index, kvn_problem_info* info)
{
    return call(session, Kind::reader, [&](Session& mine) {
        const Receiver receiver{info};
        receiver.take(row(mine.result.problems, index, "problems"));
        return Ending{};
    });
}
