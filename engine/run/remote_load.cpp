// SPDX-License-Identifier: Apache-2.0
// Loads one module that another host reaches, by a worker there.
#include "run/remote_load.h"

#include "errors/failure.h"
#include "module/load_preparation.h"
#include "run/bus_link.h"
#include "run/command_words.h"
#include "run/outcome.h"
#include "system/command_words.h"
#include "system/path_text.h"

#include <algorithm>
#include <deque>

namespace kvn
{
namespace
{

/// The last lines before the end are those that tell why.
constexpr std::size_t TELLING_LINES = 3;
constexpr std::size_t LONGEST_QUOTE = 300;

bool is_ssh(const std::string& word)
{
    const std::string name = system::text_of(system::path_of(word).filename());
    return name == "ssh" || name == "ssh.exe";
}

std::string joined(const std::deque<std::string>& lines)
{
    std::string all;
    for (const std::string& line : lines)
        all += (all.empty() ? "" : "; ") + line.substr(0, LONGEST_QUOTE);
    return all;
}

/// A load, step by step as the worker answers.
class RemoteLoad final : BusListener
{
public:
    RemoteLoad(const RemoteLoadRequest& request, RemoteLoadWatcher& watcher, const StopSignals& signals)
        : request_{request}, watcher_{watcher}, signals_{signals}, link_{0, request.load.module.board, *this}
    {
    }

    Record run()
    {
        record_.begin = std::chrono::system_clock::now();
        require_valid(request_.load.module);
        link_.start(request_.worker, request_.timeout);
        while (link_.is_running() && !(is_over_ && signals_.count() > 1)) {
            heed_signals();
            if (link_.is_running())
                serve();
        }
        if (no_worker_)
            throw FailureError{*no_worker_};
        return std::move(record_);
    }

private:
    void on_ready(std::size_t /*bus*/, const ProviderIdentity& provider) override
    {
        tell_early_lines(0);
        watcher_.on_provider(provider);
        preparation_.emplace(request_.load, provider, record_);
        record_.host.reset(); // this one is not it
        step([this] {
            preparation_->take_up_file();
            link_.ask({&request_.load.module, 1});
        });
    }

    void on_inventory(std::size_t /*bus*/, BusInventory inventory) override
    {
        step([&] {
            prepare(inventory);
            link_.give(*request_.load.file, content_sha256(*request_.load.file));
        });
    }

    void on_files(std::size_t /*bus*/) override
    {
        judged_ = preparation_->judged();
        watcher_.on_progress({.total = total()});
        link_.load(module_load(), facts(), request_.timeout);
        is_begun_ = true;
    }

    void on_progress(std::size_t /*bus*/, std::uint64_t bytes, Json event) override
    {
        Progress progress{.bytes = bytes, .total = total()};
        if (!event["seconds_left"].is_null())
            progress.seconds_left = event["seconds_left"].get<double>();
        watcher_.on_progress(progress);
    }

    void on_finished(std::size_t /*bus*/, Json record) override
    {
        record_ = read_record(record);
        if (record_.verdict == Verdict::configured)
            watcher_.on_progress({.bytes = judged_.wire_bytes, .total = total(), .seconds_left = 0});
        end();
    }

    void on_lost(std::size_t /*bus*/, const Failure& failure) override
    {
        if (is_over_)
            return;
        if (!preparation_)
            no_worker_ = no_worker(failure);
        else if (is_begun_)
            take_lost(failure);
        else
            refuse(failure);
        is_over_ = true;
    }

    void on_text(std::size_t /*bus*/, const std::string& line) override
    {
        // ssh ends its own lines as for a terminal.
        const std::string words = line.substr(0, line.find_last_not_of('\r') + 1);
        if (preparation_)
            return watcher_.on_text(words);
        early_lines_.push_back(words);
        tell_early_lines(TELLING_LINES);
    }

    /// What must not be loaded ends the load before it is begun.
    template <class Step>
    void step(Step perform)
    {
        try {
            perform();
        } catch (const FailureError& error) {
            refuse(error.failure());
            end();
        }
    }

    void prepare(const BusInventory& inventory)
    {
        if (inventory.failure)
            throw FailureError{*inventory.failure};
        const SlotRow* const slot = inventory.find(request_.load.module);
        if (slot == nullptr)
            throw FailureError{{.status = ExitStatus::internal,
                                .what = "the worker has not asked " + to_text(request_.load.module)}};
        preparation_->note_module(*slot);
        if (const auto failure = unsuitable_slot(*slot))
            throw FailureError{*failure};
        preparation_->compare_devices();
        preparation_->choose_mode();
        preparation_->judge_file();
    }

    void refuse(const Failure& failure)
    {
        record_.failure = failure;
        if (failure.status == ExitStatus::cancelled)
            record_.verdict = Verdict::cancelled;
        record_.end = std::chrono::system_clock::now();
    }

    void take_lost(const Failure& failure)
    {
        record_ = lost(module_load(), facts(), link_.seen(), failure);
        record_.host.reset();
    }

    [[nodiscard]] ModuleLoad module_load() const
    {
        const LoadRequest& load = request_.load;
        return {.module = load.module,
                .file = load.file,
                .judged = judged_,
                .device = load.device,
                .serial_number = load.serial_number};
    }

    [[nodiscard]] RunFacts facts() const
    {
        const LoadRequest& load = request_.load;
        return {.provider = record_.provider,
                .operator_name = load.operator_name,
                .station = load.station,
                .approved_by = load.approved_by,
                .approval_key = load.approval_key};
    }

    /// A worker that has answered tells itself why it does not go on.
    [[nodiscard]] Failure no_worker(const Failure& failure)
    {
        if (link_.has_answered()) {
            tell_early_lines(0);
            return failure;
        }
        const std::string said = joined(early_lines_);
        const bool is_late = failure.status == ExitStatus::timed_out;
        return {.status = is_late ? ExitStatus::timed_out : ExitStatus::no_module,
                .what = "no worker answered behind " + request_.worker.via,
                .why = failure.what + (said.empty() ? "" : ": " + said),
                .remedy = request_.worker.via + " kvn --version"};
    }

    /// @param kept lines at the end that are not told yet
    void tell_early_lines(std::size_t kept)
    {
        while (early_lines_.size() > kept) {
            watcher_.on_text(early_lines_.front());
            early_lines_.pop_front();
        }
    }

    [[nodiscard]] std::optional<std::uint64_t> total() const
    {
        return judged_.wire_bytes == 0 ? std::nullopt : std::optional{judged_.wire_bytes};
    }

    void end()
    {
        is_over_ = true;
        link_.end();
    }

    void heed_signals()
    {
        if (signals_.count() == 0 || is_over_)
            return;
        if (is_begun_) {
            if (signals_.count() > 1)
                link_.cancel();
            return;
        }
        const Failure cancelled{.status = ExitStatus::cancelled,
                                .what = "the load of " + request_.load.file->name() + " into " +
                                        to_text(request_.load.module) + " was cancelled",
                                .why = "the module was sent nothing"};
        if (!preparation_)
            throw FailureError{cancelled};
        refuse(cancelled);
        end();
    }

    void serve()
    {
        std::vector<system::Awaited> waiting;
        link_.add_to(waiting);
        waiting.push_back({.what = signals_.waitable()});
        const bool is_any_ready = system::wait(waiting, milliseconds_until(link_.deadline()));
        if (waiting.back().is_ready)
            signals_.acknowledge();
        if (is_any_ready)
            link_.serve(std::span{waiting}.first(waiting.size() - 1));
        if (link_.is_running())
            link_.check_deadline(BusLink::Clock::now());
    }

    const RemoteLoadRequest& request_;
    RemoteLoadWatcher& watcher_;
    const StopSignals& signals_;
    BusLink link_;
    Record record_;
    std::optional<LoadPreparation> preparation_; ///< null before the worker is ready
    std::deque<std::string> early_lines_;        ///< before that
    JudgedFile judged_;
    std::optional<Failure> no_worker_;
    bool is_begun_ = false; ///< the worker was told to load
    bool is_over_ = false;  ///< the record is whole
};

} // namespace

WorkerProgram worker_behind(const std::string& via, std::span<const std::string> arguments)
{
    std::vector<std::string> words = split_words(via);
    if (words.empty())
        throw FailureError{
            {.status = ExitStatus::usage, .what = "--via has no words", .remedy = "--via \"ssh bench3\""}};
    const bool meets_a_shell = std::ranges::any_of(words, &is_ssh);
    words.emplace_back("kvn");
    for (const std::string& argument : arguments)
        words.push_back(meets_a_shell ? system::shell_word(argument) : argument);
    return {.program = words.front(), .arguments = {words.begin() + 1, words.end()}, .via = via};
}

Record load_remotely(const RemoteLoadRequest& request, RemoteLoadWatcher& watcher, const StopSignals& signals)
{
    return RemoteLoad{request, watcher, signals}.run();
}

} // namespace kvn
