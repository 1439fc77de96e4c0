// SPDX-License-Identifier: Apache-2.0
// A worker: does the jobs of one bus, and tells what happens.
#include "run/worker.h"

#include "errors/failure.h"
#include "hashing/sha256.h"
#include "module/load.h"
#include "report/module_json.h"
#include "run/inventory.h"
#include "run/line_splitter.h"
#include "run/worker_protocol.h"
#include "system/file.h"
#include "system/incoming.h"
#include "system/wake_up.h"

#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace kvn
{
namespace
{

constexpr std::chrono::milliseconds BETWEEN_PROGRESS{100};

/// Why no further job comes.
class NoMoreJobs
{
public:
    explicit NoMoreJobs(ExitStatus status) : status_{status} {}
    [[nodiscard]] ExitStatus status() const { return status_; }

private:
    ExitStatus status_;
};

/// A job, with what came with it.
struct Task {
    Job job;
    std::vector<std::uint8_t> content = {};         ///< of a file
    std::shared_ptr<LoadControl> control = nullptr; ///< of a load
};

/// Writes events, from both threads.
class Events
{
public:
    explicit Events(int descriptor) : descriptor_{descriptor} {}

    /// A controller that has gone is noticed where jobs are read.
    void write(const Json& event)
    {
        const std::lock_guard lock{mutex_};
        write_line(event);
    }

    /// From here to finish() the load's progress is told.
    void begin(const ModuleName& module, std::shared_ptr<LoadControl> control)
    {
        const std::lock_guard lock{mutex_};
        module_ = module;
        control_ = std::move(control);
        told_ = 0;
    }
    void finish(const Json& record)
    {
        const std::lock_guard lock{mutex_};
        control_ = nullptr;
        write_line(finished_event(record));
    }
    /// @return whether a load is under way
    bool tell_progress()
    {
        const std::lock_guard lock{mutex_};
        if (control_ == nullptr)
            return false;
        const Progress progress = control_->progress();
        if (progress.bytes != told_)
            write_line(progress_event(module_, progress));
        told_ = progress.bytes;
        return true;
    }

private:
    void write_line(const Json& event) { (void)system::write_all(descriptor_, event_line(event)); }

    int descriptor_;
    std::mutex mutex_;
    ModuleName module_;
    std::shared_ptr<LoadControl> control_;
    std::uint64_t told_ = 0;
};

/// What the reader has for the thread that does the jobs.
class Tasks
{
public:
    void add(Task task)
    {
        const std::lock_guard lock{mutex_};
        tasks_.push_back(std::move(task));
        changed_.notify_all();
    }
    /// What was not begun is dropped unless the end was announced.
    void end(NoMoreJobs why)
    {
        const std::lock_guard lock{mutex_};
        end_ = why;
        if (why.status() != ExitStatus::done)
            tasks_.clear();
        changed_.notify_all();
    }
    /// Waits for a job.
    /// @return null when there is none any more
    [[nodiscard]] std::optional<Task> next()
    {
        std::unique_lock lock{mutex_};
        changed_.wait(lock, [this] { return !tasks_.empty() || end_; });
        if (tasks_.empty())
            return std::nullopt;
        Task task = std::move(tasks_.front());
        tasks_.pop_front();
        return task;
    }
    [[nodiscard]] ExitStatus status() const { return end_ ? end_->status() : ExitStatus::internal; }

    void note_all_done()
    {
        const std::lock_guard lock{mutex_};
        all_done_ = true;
        changed_.notify_all();
    }
    [[nodiscard]] bool wait_until_all_done(std::chrono::milliseconds patience)
    {
        std::unique_lock lock{mutex_};
        return changed_.wait_for(lock, patience, [this] { return all_done_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Task> tasks_;
    std::optional<NoMoreJobs> end_;
    bool all_done_ = false;
};

/// Reads jobs, on a thread of its own.
class Reader
{
public:
    Reader(const WorkerSettings& settings, Tasks& tasks, Events& events, const system::WakeUp& stop)
        : settings_{settings}, tasks_{tasks}, events_{events}, stop_{stop}
    {
    }

    void run()
    {
        try {
            for (;;)
                take(read_job(next_line()));
        } catch (const NoMoreJobs& why) {
            tasks_.end(why);
            if (why.status() != ExitStatus::done)
                cut_off();
        } catch (const EventError& error) {
            give_up({.status = ExitStatus::usage,
                     .what = std::string{"the worker has read what is no job: "} + error.what(),
                     .remedy = "leave workers to kvn run"});
        } catch (const std::exception& error) {
            give_up({.status = ExitStatus::internal, .what = error.what()});
        }
    }

private:
    void take(Job job)
    {
        switch (job.kind) {
        case JobKind::end:
            throw NoMoreJobs{ExitStatus::done};
        case JobKind::cancel:
            if (load_ != nullptr)
                load_->cancel();
            return;
        case JobKind::file: {
            std::vector<std::uint8_t> content = read_content(job.file.size);
            return tasks_.add({.job = std::move(job), .content = std::move(content)});
        }
        case JobKind::load:
            load_ = std::make_shared<LoadControl>();
            events_.begin(job.load.module, load_);
            return tasks_.add({.job = std::move(job), .control = load_});
        default:
            return tasks_.add({.job = std::move(job)});
        }
    }

    std::string next_line()
    {
        for (;;) {
            if (auto line = lines_.next())
                return *line;
            if (lines_.is_too_long())
                throw EventError{"a line is longer than a megabyte"};
            read_more();
        }
    }

    std::vector<std::uint8_t> read_content(std::uint64_t size)
    {
        std::vector<std::uint8_t> content(size);
        const std::span<char> all{reinterpret_cast<char*>(content.data()), content.size()};
        std::size_t filled = lines_.take_raw(all);
        while (filled < all.size()) {
            wait();
            const std::span<char> rest = all.subspan(filled);
            filled += read_some(rest);
        }
        return content;
    }

    void read_more()
    {
        wait();
        std::array<char, 4096> block; // NOLINT(cppcoreguidelines-pro-type-member-init)
        const std::size_t size = read_some(block);
        lines_.take({block.data(), size});
    }

    /// Until there is something to read; meanwhile the progress of a load is told.
    void wait()
    {
        std::array ends{system::Awaited{.what = jobs_.waitable()}, system::Awaited{.what = stop_.waitable()}};
        for (;;) {
            const bool tells = events_.tell_progress();
            const bool is_any_ready =
                system::wait(ends, tells ? static_cast<int>(BETWEEN_PROGRESS.count()) : -1);
            if (ends[1].is_ready)
                throw NoMoreJobs{ExitStatus::done};
            if (is_any_ready)
                return;
        }
    }

    std::size_t read_some(std::span<char> to)
    {
        for (;;) {
            const auto size = jobs_.read_some(to);
            if (size && *size != 0)
                return *size;
            if (!size && errno == EINTR)
                continue;
            throw NoMoreJobs{events_.tell_progress() ? ExitStatus::cancelled : ExitStatus::done};
        }
    }

    void give_up(const Failure& failure)
    {
        events_.write(failed_event(failure));
        tasks_.end(NoMoreJobs{failure.status});
        cut_off();
    }

    /// The message of a load is not left open, unless a call of the provider does not return.
    void cut_off()
    {
        if (load_ != nullptr)
            load_->cancel();
        if (!tasks_.wait_until_all_done(settings_.patience))
            std::_Exit(static_cast<int>(ExitStatus::timed_out));
    }

    const WorkerSettings& settings_;
    Tasks& tasks_;
    Events& events_;
    const system::WakeUp& stop_;
    system::Incoming jobs_{settings_.jobs};
    LineSplitter lines_{LONGEST_JOB_LINE};
    std::shared_ptr<LoadControl> load_;
};

/// Does the jobs.
class Worker
{
public:
    Worker(Provider& provider, Events& events) : provider_{provider}, events_{events} {}

    void perform(const Task& task)
    {
        switch (task.job.kind) {
        case JobKind::file:
            return take_file(task.job.file, task.content);
        case JobKind::inventory:
            return ask(task.job.inventory);
        default:
            return load_module(task.job.load, task.control);
        }
    }

private:
    void take_file(const FileJob& job, std::span<const std::uint8_t> content)
    {
        hashing::Sha256 sum;
        sum.take(content);
        if (sum.finish() != job.sha256)
            throw FailureError{{.status = ExitStatus::internal,
                                .what = job.name + " has reached the worker damaged",
                                .why = "its SHA-256 differs"}};
        files_.insert_or_assign(file_key(job.name, job.stored.sha256),
                                Input::from_content(content, job.name, job.name_states_format, job.stored));
        events_.write(received_event(job.sha256));
    }

    void ask(const InventoryJob& job)
    {
        events_.write(inventory_event(to_json(take_inventory(provider_, job.bus, job.modules))));
    }

    void load_module(const LoadJob& job, const std::shared_ptr<LoadControl>& control)
    {
        const auto file = files_.find(job.file);
        if (file == files_.end())
            throw FailureError{{.status = ExitStatus::usage, .what = "the worker has no file " + job.file}};
        control->on_step = [&](LoadStep step) { events_.write(step_event(job.module, step)); };
        const Record record = load(provider_,
                                   {.module = job.module,
                                    .file = &file->second,
                                    .judged = &job.judged,
                                    .device = job.device,
                                    .serial_number = job.serial_number,
                                    .operator_name = job.operator_name,
                                    .station = job.station,
                                    .approved_by = job.approved_by,
                                    .approval_key = job.approval_key},
                                   *control);
        events_.finish(to_json(record));
    }

    Provider& provider_;
    Events& events_;
    std::map<std::string, Input> files_; ///< by file_key()
};

/// Ends the reader's thread, however the jobs have ended.
class Reading
{
public:
    Reading(const WorkerSettings& settings, Tasks& tasks, Events& events)
        : tasks_{tasks}, reader_{settings, tasks, events, stop_}, thread_{[this] { reader_.run(); }}
    {
    }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
    ~Reading()
    {
        tasks_.note_all_done();
        stop_.signal();
    }

private:
    Tasks& tasks_;
    system::WakeUp stop_;
    Reader reader_;
    std::jthread thread_;
};

ExitStatus work(const WorkerSettings& settings, Events& events)
{
    try {
        const std::shared_ptr<Provider> provider = settings.open();
        events.write(ready_event(provider->identity()));
        // No job is read before: what is wrong with one is told behind the first event.
        Tasks tasks;
        const Reading reading{settings, tasks, events};
        Worker worker{*provider, events};
        while (const auto task = tasks.next())
            worker.perform(*task);
        return tasks.status();
    } catch (const FailureError& error) {
        events.write(failed_event(error.failure()));
        return error.failure().status;
    } catch (const std::exception& error) {
        events.write(failed_event({.status = ExitStatus::internal, .what = error.what()}));
        return ExitStatus::internal;
    }
}

} // namespace

ExitStatus run_worker(const WorkerSettings& settings)
{
    Events events{settings.events};
    events.write(stream_head());
    return work(settings, events);
}

} // namespace kvn
