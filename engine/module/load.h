// SPDX-License-Identifier: Apache-2.0
// Loads one file into one module, and tells how it went.
#ifndef KVN_ENGINE_MODULE_LOAD_H
#define KVN_ENGINE_MODULE_LOAD_H

#include "file/estimate.h"
#include "file/input.h"
#include "module/provider.h"
#include "module/record.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <string>

namespace kvn
{

/// What was found out about a file for modules with one device, before the load: inspection, size and trial.
struct JudgedFile {
    std::string file_sha256 = {}; ///< of the file as stored; another one is not loaded
    std::string device = {}; ///< that the module of the trial had; a module with another one is not loaded
    Format format = Format::unknown;
    std::string part = {};                  ///< as the file names it; may be empty
    std::string digest = {};                ///< of the plain configuration data
    std::optional<std::string> design = {}; ///< as the file names it
    std::vector<Problem> problems = {};     ///< that stop nothing
    LoadKind mode = LoadKind::plain;
    std::uint64_t wire_bytes = 0;

    friend bool operator==(const JudgedFile&, const JudgedFile&) = default;
};

struct LoadRequest {
    ModuleName module;
    const Input* file = nullptr; ///< not null; must outlive the load
    /// Then the file is not inspected, measured and tried again, and `mode` and `force` are without effect.
    /// The module is asked all the same. Null: nothing is known yet. Must outlive the load.
    const JudgedFile* judged = nullptr;
    /// A module that does not take compressed loads is a failure for ModeWish::compressed.
    ModeWish mode = ModeWish::as_taken;
    /// Loads although it cannot be judged whether the module would start. Damage and another device always
    /// stop a load.
    bool force = false;
    /// That the user expects in the module, such as "2v3000fg676-4"; empty: none.
    std::string device = {};
    std::optional<std::string> serial_number = {}; ///< of the module
    std::optional<std::string> operator_name = {};
    std::optional<std::string> station = {};
    std::optional<std::string> approved_by = {};  ///< who has signed the manifest with the file, if verified
    std::optional<std::string> approval_key = {}; ///< the key of that signature
};

/// How far a load is. Bytes are those on the wire: the load's message, header included.
struct Progress {
    std::uint64_t bytes = 0;
    std::optional<std::uint64_t> total = {};     ///< null before it is known
    double seconds = 0;                          ///< since the message was begun
    std::optional<double> bytes_per_second = {}; ///< null before there is a measurable time
    std::optional<double> seconds_left = {};     ///< at this rate; null when unknown
};

/// The two calls of a load's message that change what a module holds at once.
enum class LoadStep {
    begin, ///< up to here the module has been sent nothing
    end    ///< from here on the module may start
};

/// The clocks of a load; tests set their own.
struct Clocks {
    std::function<std::chrono::steady_clock::time_point()> steady = &std::chrono::steady_clock::now;
    std::function<std::chrono::system_clock::time_point()> system = &std::chrono::system_clock::now;
};

/// What goes on while a load runs. For one load at a time; it must outlive it. The members are set before the
/// load begins; cancel(), withdraw(), is_cancelled() and progress() may be called from any thread at any
/// time.
class LoadControl
{
public:
    /// Called on the load's thread after the first call of data, whenever `progress_step` more bytes are out,
    /// and before the message is ended. It may call cancel(). An exception that it throws fails the load as
    /// a failing platform call does. Null: not called.
    std::function<void(const Progress&)> on_progress;
    /// The least number of bytes between two calls of on_progress; 0: at each call of data.
    std::uint64_t progress_step = 4096;
    /// Called on the load's thread just before each of the two calls. An exception that it throws fails the
    /// load as a failing platform call does. Null: not called.
    std::function<void(LoadStep)> on_step;
    /// Called on the load's thread with the bytes of each call of data that the provider took: together the
    /// exact message that went out. Null: not called. Exceptions as above.
    std::function<void(std::span<const std::uint8_t>)> on_sent;
    Clocks clocks;

    /// Stops the load before its first call of data or at its next one, at the latest before the message is
    /// ended. A load whose message has been ended runs to its end. Cannot be taken back.
    void cancel() noexcept { cancelled_.store(1, std::memory_order_relaxed); }
    [[nodiscard]] bool is_cancelled() const noexcept
    {
        return cancelled_.load(std::memory_order_relaxed) != 0;
    }

    /// Stops the load as cancel() does, unless its message has been begun: then it runs to its end.
    /// Async-signal-safe.
    void withdraw() noexcept { withdrawn_.store(true, std::memory_order_relaxed); }

    /// How far the load is now.
    [[nodiscard]] Progress progress() const;

private:
    friend class Wire;
    friend class LoadRun;

    /// Whether a load may no longer begin.
    [[nodiscard]] bool must_not_begin() const noexcept
    {
        return is_cancelled() || withdrawn_.load(std::memory_order_relaxed);
    }

    // Read for each 8 bytes. For a bool Clang takes a register that the function then has to save.
    std::atomic<int> cancelled_{0};
    std::atomic<bool> withdrawn_{false};
    std::atomic<std::uint64_t> bytes_{0};
    std::atomic<std::uint64_t> total_{0}; ///< 0: not known
    static constexpr std::int64_t NEVER = std::numeric_limits<std::int64_t>::min();
    std::atomic<std::int64_t> begin_{NEVER}; ///< of the message, in ticks of the steady clock
    std::atomic<std::int64_t> end_{NEVER};
};

/// Inspects the file, identifies the module, refuses what would not start, loads, and closes the bus. Never
/// asks a question and never waits longer than the provider's calls do. Loads in several threads need
/// controls of their own, and modules on different buses.
///
/// Every outcome is in the record. What is refused has the verdict not_tried, and the module has been sent
/// no byte of a load.
/// @throws std::bad_alloc, with the bus closed; what the module then holds is unknown if a load had begun
[[nodiscard]] Record load(const Provider& provider, const LoadRequest& request, LoadControl& control);

} // namespace kvn

#endif
