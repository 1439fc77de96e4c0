// SPDX-License-Identifier: Apache-2.0
// Works on all buses of a run at once, one worker process for each.
#ifndef KVN_ENGINE_RUN_CONTROLLER_H
#define KVN_ENGINE_RUN_CONTROLLER_H

#include "run/bus_link.h"
#include "run/bus_lock.h"
#include "run/inventory.h"
#include "run/outcome.h"
#include "run/remaining_time.h"
#include "run/worker_process.h"

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kvn
{

struct RunSettings {
    WorkerProgram worker;
    std::size_t jobs = 0; ///< buses at the same time; 0: all
    /// Without a byte moved, or an answer, after which a worker is given up.
    std::chrono::milliseconds module_timeout{60'000};
    unsigned retries = 0; ///< of a load that failed by ExitStatus::bus; its worker must still be there
    bool stop_on_failure = false;
    std::optional<std::string> operator_name = {};
    std::optional<std::string> station = {};
    std::optional<std::string> approved_by = {};  ///< who has signed the manifest
    std::optional<std::string> approval_key = {}; ///< of that signature
    std::string lock_folder = {};
    /// lock_prefix() of the provider; not empty.
    std::function<std::optional<std::string>(const ProviderIdentity&)> lock_prefix = {};
};

/// Hears what happens in a run, on the thread of the run.
class RunWatcher
{
public:
    virtual ~RunWatcher() = default;
    /// What provider the workers have opened; the first time.
    virtual void on_provider(const ProviderIdentity& provider) = 0;
    /// begun, progress or finished. A load begins when the call for its `begun` has returned.
    /// @throws FailureError when the event cannot be kept: then nothing new is begun
    virtual void on_event(const Json& event) = 0;
    /// A line that the provider, or whatever else, has written to its output.
    virtual void on_text(const BoardName& bus, const std::string& line) = 0;
};

/// Whether the user wants a run to stop.
class StopSignals
{
public:
    virtual ~StopSignals() = default;
    /// Becomes ready with each signal; none: none ever comes.
    [[nodiscard]] virtual system::Waitable waitable() const = 0;
    /// Makes it wait for the next one.
    virtual void acknowledge() const = 0;
    /// How many have come. After the first nothing new is begun, after the second what is under way is cut
    /// off.
    [[nodiscard]] virtual unsigned count() const = 0;
};

/// The phases are called in their order, each once. Waits in system::wait() only. The process must ignore
/// SIGPIPE.
class Controller final : BusListener
{
public:
    /// @param buses of the plan; not empty
    /// @param watcher and signals must outlive this
    Controller(RunSettings settings, std::span<const BoardName> buses, RunWatcher& watcher,
               const StopSignals& signals);
    /// Kills the workers that are still there.
    ~Controller() override;
    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;

    /// Starts the first workers and lets them ask the modules. Does not wait for them.
    void begin_inventory(std::span<const PlannedModule> modules);
    /// The file will be loaded over the bus: it is sent ahead, so that the loads can begin at once. Without
    /// effect where the worker does not live on (RunSettings::jobs).
    void send_ahead(const BoardName& bus, const Input& file);
    /// Waits for the answers of all buses, and until the files have arrived. A bus that another run holds, or
    /// whose worker is lost, has a failure. A signal ends the waiting.
    [[nodiscard]] std::vector<BusInventory> finish_inventory();

    /// Loads. Returns when there is a record of every module and all workers have ended.
    void load(std::span<const ModuleLoad> loads);
    /// The records of load(), in the order of its argument.
    [[nodiscard]] const std::vector<Json>& records() const { return records_; }
    /// Why events could not be kept; null when they were.
    [[nodiscard]] const std::optional<Failure>& failure() const { return failure_; }

    /// Of the workers; null before one was ready.
    [[nodiscard]] const std::optional<ProviderIdentity>& provider() const { return provider_; }
    /// Seconds that the loads still take.
    [[nodiscard]] std::optional<double> seconds_left() const;

private:
    /// What is to be done on a bus.
    struct BusWork {
        std::unique_ptr<BusLink> link;
        std::vector<ModuleName> modules = {}; ///< to ask
        std::optional<BusInventory> inventory = {};
        std::optional<BusLock> lock = {};
        bool is_settled = false;            ///< the lock is held, or none is needed
        std::deque<std::size_t> queue = {}; ///< loads that were not begun
        std::optional<std::size_t> current = {};
        unsigned attempt = 0;
        std::optional<Json> earlier = {}; ///< the record after the attempts before
        std::uint64_t done_bytes = 0;     ///< of loads that are over
        bool is_over = false;
        BusLink::Clock::time_point told_at = {}; ///< progress
    };

    void on_ready(std::size_t bus, const ProviderIdentity& provider) override;
    void on_inventory(std::size_t bus, BusInventory inventory) override;
    void on_files(std::size_t bus) override;
    void on_progress(std::size_t bus, std::uint64_t bytes, Json event) override;
    void on_finished(std::size_t bus, Json record) override;
    void on_lost(std::size_t bus, const Failure& failure) override;
    void on_text(std::size_t bus, const std::string& line) override;

    template <class Done>
    void serve_until(Done is_done);
    void serve_once();
    void heed_signals();
    [[nodiscard]] std::size_t running() const;
    [[nodiscard]] bool has_room() const { return settings_.jobs == 0 || running() < settings_.jobs; }
    [[nodiscard]] bool keeps_workers() const
    {
        return settings_.jobs == 0 || settings_.jobs >= buses_.size();
    }
    void start_asking();
    void start_loading();
    bool start(std::size_t bus);
    [[nodiscard]] std::optional<Failure> take_lock(BusWork& bus);
    void settle_inventory(std::size_t bus, BusInventory inventory);
    void give_files(std::size_t bus);
    void next_load(std::size_t bus);
    void leave_current(std::size_t bus);
    void begin_load(std::size_t bus);
    [[nodiscard]] bool is_to_be_retried(const BusWork& bus, const Json& record) const;
    void finish_load(std::size_t bus, Json record);
    void leave_out(std::size_t bus, const Failure& failure);
    void end_bus(std::size_t bus);
    [[nodiscard]] std::optional<Failure> why_nothing_begins() const;
    bool tell(const Json& event);
    [[nodiscard]] RunFacts facts() const;
    [[nodiscard]] const std::string& sha256_of(const Input& file);

    RunSettings settings_;
    RunWatcher& watcher_;
    const StopSignals& signals_;
    std::vector<BusWork> buses_;
    std::span<const ModuleLoad> loads_;
    std::vector<Json> records_;
    std::optional<ProviderIdentity> provider_;
    std::optional<Failure> failure_;
    std::optional<std::string> stopped_by_; ///< the module whose failure stops the run
    ExitStatus stopped_status_ = ExitStatus::done;
    std::optional<RemainingTime> remaining_;
    std::map<std::string, std::string> content_sums_; ///< SHA-256 of contents by that of the files
    bool is_loading_ = false;
    bool has_cancelled_ = false;
};

} // namespace kvn

#endif
