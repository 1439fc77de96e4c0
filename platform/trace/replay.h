// SPDX-License-Identifier: Apache-2.0
// Answers platform calls from a recording, as long as they match it.
#ifndef MWTRACE_REPLAY_H
#define MWTRACE_REPLAY_H

#include "recording.h"

#include "mwapi.h"

#include <list>
#include <map>
#include <mutex>
#include <new>
#include <optional>

namespace mwtrace
{

/// What a replayed handle points to: only its number.
struct ReplayedHandle {
    unsigned number;
};

/// The trace cannot be used; the text says why.
inline constexpr std::uint32_t BAD_TRACE = 0xE1000001;
/// The run departs, or has departed, from the recording; the text names both calls.
inline constexpr std::uint32_t DEPARTED = 0xE1000002;
/// No memory is left to continue the replay.
inline constexpr std::uint32_t NO_MEMORY = 0xE1000003;

/// Matches threads with those of the recording by their first calls.
class Replay
{
public:
    /// A trace that cannot be used makes every call fail.
    explicit Replay(const std::string& path) noexcept;

    /// The recorded answer to a call; nothing if the run departs from the recording: the call must then
    /// return status().
    std::optional<Record> answer(std::string_view function, const Json& in);
    /// The same for a piece of a message.
    /// @return its result
    std::uint32_t answer_data(const MW_HANDLE* handle, const void* data, std::uint32_t length,
                              std::uint32_t timeout);

    [[nodiscard]] std::uint32_t status();
    /// The words for status().
    [[nodiscard]] std::string words();
    /// The same, cut to the buffer of an error text. Allocates nothing.
    void write_words(char* text);

    /// Performs an action of a call. If it lacks memory, this and all further calls fail with NO_MEMORY.
    /// @return what the action returns, a result of a call
    template <class Action>
    std::uint32_t attempt(Action action) noexcept
    {
        try {
            return action();
        } catch (const std::bad_alloc&) {
            return give_up();
        }
    }

    /// The number of a handle, for comparison with the recorded one.
    unsigned number_of(const MW_HANDLE* handle);
    MW_HANDLE* open(unsigned number);
    void close(const MW_HANDLE* handle);

    /// The calls left in the recording at the end of a run; empty if there are none, or after a departure.
    [[nodiscard]] std::string rest();

private:
    /// One thread of the recording: its records and how far they have been replayed.
    struct Lane {
        std::vector<std::size_t> records;
        std::size_t next = 0;
        bool claimed = false;
        std::optional<Record> current; ///< the next record, once read
        // How far the pieces of the current record have been replayed.
        std::size_t size_run = 0;
        std::uint64_t done_in_run = 0;
        std::size_t data_at = 0;
    };

    template <class Matches>
    Lane* this_thread(Matches matches);
    const Record* look_at(Lane& lane) const;
    static std::string expected_text(const Lane& lane);
    static void advance(Lane& lane);
    void depart(const Lane* lane, const std::string& made);
    std::uint32_t give_up() noexcept;

    std::mutex mutex_;
    std::optional<Recording> recording_;
    std::uint32_t status_ = 0;
    std::string words_;
    std::vector<Lane> lanes_;
    std::map<std::uint64_t, Lane*> threads_;
    std::size_t calls_ = 0;
    std::list<ReplayedHandle> handles_; ///< never removed, so that no address is given out twice
    std::map<const MW_HANDLE*, unsigned> numbers_;
    unsigned strangers_ = 0;
};

/// A call in words: MwKSBSendMessageDataEx(data 0D 05, handle 1, timeout 5000).
[[nodiscard]] std::string call_text(std::string_view function, const Json& in);

} // namespace mwtrace

#endif
