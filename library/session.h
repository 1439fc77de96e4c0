// SPDX-License-Identifier: Apache-2.0
// What a session of the C interface holds.
#ifndef KVN_LIBRARY_SESSION_H
#define KVN_LIBRARY_SESSION_H

#include "kvn.h"

#include "file/inspection.h"
#include "handles.h"
#include "last_error.h"
#include "module/load.h"
#include "module/provider.h"
#include "report/json.h"
#include "texts.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kvn::c_interface
{

/// The result of the last operation, beside what was written through the caller's pointers.
struct Result {
    Texts texts; ///< of the caller's structures
    std::vector<kvn_problem_info> problems;
    std::function<Json()> document;  ///< makes the JSON text; null before the first result
    std::optional<std::string> json; ///< once it was asked for

    void clear() noexcept;
    /// Keeps problems for kvn_problem, with their texts.
    void keep(const std::vector<Problem>& found);
};

/// The open provider, and the texts that describe it.
struct OpenProvider {
    std::shared_ptr<Provider> provider;
    Texts texts = {};
    kvn_provider info{};
};

/// The rows of the last kvn_list.
struct Listing {
    Texts texts = {};
    std::vector<kvn_board_info> boards;
    std::vector<kvn_slot_info> slots;
};

/// The load that is running, and the last one when none is. Any thread.
class CurrentLoad
{
public:
    void begin(std::shared_ptr<LoadControl> control);
    void end() noexcept;
    /// @return false if no load is running
    bool cancel();
    [[nodiscard]] kvn_progress_info progress() const;

private:
    mutable std::mutex mutex_;
    std::shared_ptr<LoadControl> control_; ///< null before the first load
    bool is_running_ = false;
};

/// All of it is used only by the thread that has the session's turn, except `load`.
struct Session {
    std::atomic<bool> is_busy{false};
    LastError error;
    Result result;
    std::optional<OpenProvider> provider;
    std::optional<Listing> listing;
    CurrentLoad load;
};

/// The right to use a session; nobody waits for it.
class Turn
{
public:
    explicit Turn(Session& session)
        : session_{session}, is_mine_{!session.is_busy.exchange(true, std::memory_order_acquire)}
    {
    }
    ~Turn()
    {
        if (is_mine_)
            session_.is_busy.store(false, std::memory_order_release);
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    /// False: a call is running in the session.
    [[nodiscard]] bool is_mine() const { return is_mine_; }

private:
    Session& session_;
    bool is_mine_;
};

/// All that are open. They live as long as the process, to whose end its threads may call.
Handles<Session, kvn_session>& sessions();
Handles<const Input, kvn_file>& files();

/// The file behind a handle.
/// @param name of the argument
/// @throws FailureError (ExitStatus::usage) for a handle that is not open
std::shared_ptr<const Input> file_of(const kvn_file* handle, const char* name = "file");

/// @throws FailureError (ExitStatus::usage) when none is open
const Provider& provider_of(const Session& session);

/// How far a load is, as the C interface says it.
kvn_progress_info as_progress_info(const Progress& progress, bool is_running);

} // namespace kvn::c_interface

#endif
