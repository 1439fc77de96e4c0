// SPDX-License-Identifier: Apache-2.0
// One bus of a run: its worker, what the worker was asked for, and what it may say now.
#ifndef KVN_ENGINE_RUN_BUS_LINK_H
#define KVN_ENGINE_RUN_BUS_LINK_H

#include "run/inventory.h"
#include "run/outcome.h"
#include "run/worker_process.h"
#include "run/worker_protocol.h"
#include "system/waiting.h"

#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace kvn
{

/// The longest line that a worker may write.
inline constexpr std::size_t LONGEST_WORKER_LINE = std::size_t{1} << 20;

/// Hears of one bus at a time.
class BusListener
{
public:
    virtual ~BusListener() = default;
    /// The worker has opened its provider.
    virtual void on_ready(std::size_t bus, const ProviderIdentity& provider) = 0;
    virtual void on_inventory(std::size_t bus, BusInventory inventory) = 0;
    /// All files that were given have arrived.
    virtual void on_files(std::size_t bus) = 0;
    virtual void on_progress(std::size_t bus, std::uint64_t bytes, Json event) = 0;
    virtual void on_finished(std::size_t bus, Json record) = 0;
    /// The worker has ended, or was killed: it does nothing more.
    virtual void on_lost(std::size_t bus, const Failure& failure) = 0;
    /// The provider, or whatever else writes to the worker's output, has said something.
    virtual void on_text(std::size_t bus, const std::string& line) = 0;
};

/// Nothing that a worker says or does not say costs more than its own bus: one that ends, says what it must
/// not say now, or is silent for too long is killed, and the listener is told once.
class BusLink
{
public:
    using Clock = std::chrono::steady_clock;

    /// @param listener must outlive this
    BusLink(std::size_t index, BoardName bus, BusListener& listener)
        : index_{index}, bus_{std::move(bus)}, listener_{listener}
    {
    }

    [[nodiscard]] const BoardName& bus() const { return bus_; }
    [[nodiscard]] bool is_running() const { return worker_ != nullptr; }
    [[nodiscard]] bool is_loading() const { return load_.has_value(); }
    [[nodiscard]] bool has_files_on_the_way() const { return !files_on_the_way_.empty(); }

    /// @param timeout without a sign of life, until a load brings its own
    void start(const WorkerProgram& program, std::chrono::milliseconds timeout);
    void ask(std::span<const ModuleName> modules);
    /// Gives a file, unless the worker has it. @param sha256 of its content
    void give(const Input& file, const std::string& sha256);
    /// @param timeout without a byte moved
    void load(const ModuleLoad& load, const RunFacts& facts, std::chrono::milliseconds timeout);
    void cancel();
    /// No further job comes.
    void end();
    /// Whether the first event has come since start(): something else than a worker may have been started.
    [[nodiscard]] bool has_answered() const { return has_head_; }
    /// What is known of the load that is under way; the last one in on_lost().
    [[nodiscard]] const LostLoad& seen() const { return seen_; }

    /// What to wait for: three entries.
    void add_to(std::vector<system::Awaited>& waiting) const;
    /// Does what can be done without waiting. @param ready the three entries
    void serve(std::span<const system::Awaited> ready);
    /// When the worker must have given a sign of life; null when nothing is expected of it.
    [[nodiscard]] std::optional<Clock::time_point> deadline() const;
    void check_deadline(Clock::time_point now);

private:
    [[nodiscard]] std::string worker_words() const;
    [[nodiscard]] Failure told_there(Failure failure) const;
    [[nodiscard]] bool is_awaited() const;
    void note_sign_of_life() { last_sign_ = Clock::now(); }
    void serve_output();
    void serve_errors();
    void take_line(const std::string& line);
    void take_foreign(const std::string& line);
    void take(WorkerEvent event);
    void take_received(const std::string& sha256);
    void take_step(const Json& json);
    void take_progress(Json json);
    void take_finished(const Json& json);
    void require_module(const Json& json) const;
    void lose_for_words(const std::string& what);
    void lose_for_version(const EventVersionError& error);
    void note_end();
    void lose(const Failure& failure);

    std::size_t index_;
    BoardName bus_;
    BusListener& listener_;
    std::string via_; ///< WorkerProgram::via
    std::unique_ptr<WorkerProcess> worker_;
    LineSplitter lines_{LONGEST_WORKER_LINE};
    LineSplitter error_lines_{LONGEST_WORKER_LINE};
    std::size_t foreign_lines_ = 0;
    std::size_t foreign_bytes_ = 0;
    std::size_t error_texts_ = 0;

    bool has_head_ = false;
    bool is_ready_ = false;
    bool is_asked_ = false;
    bool is_ending_ = false;
    std::set<std::string> files_;                 ///< by file_key()
    std::multiset<std::string> files_on_the_way_; ///< SHA-256 of their contents
    std::optional<LoadJob> load_;
    std::optional<Clock::time_point> cancelled_at_;
    LostLoad seen_{};

    std::chrono::milliseconds timeout_{};
    std::chrono::milliseconds load_timeout_{};
    Clock::time_point last_sign_{};
    std::uint64_t sent_ = 0;
};

/// For system::wait(): rounded up, so that the moment has passed afterwards; -1 for none.
[[nodiscard]] int milliseconds_until(std::optional<BusLink::Clock::time_point> moment);

} // namespace kvn

#endif
