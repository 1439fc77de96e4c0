// SPDX-License-Identifier: Apache-2.0
// The virtual rack: a platform of boards, open devices, planned failures and a journal of calls.
#ifndef MWVIRTUAL_RACK_H
#define MWVIRTUAL_RACK_H

#include "calls.h"
#include "module_model.h"
#include "virtual_carrier.h"

#include <deque>
#include <mutex>
#include <set>
#include <utility>

namespace mwvirtual
{

inline constexpr unsigned SLOTS = 4;

struct LinkFault {
    std::uint64_t after;
    bool drops;
    std::uint8_t mask;
};

struct BoardSettings {
    BoardName name;
    std::vector<BoardName> reached_over;
    bool opens = true;
    std::chrono::nanoseconds latency{0};
    std::uint64_t bytes_per_second = 0;
    std::uint32_t info_word = 0;
    std::vector<LinkFault> link_faults;
};

struct PlannedFailure {
    std::optional<Function> function; ///< none: counted over all functions
    std::uint64_t n;
    std::uint32_t code;
    std::string text;
};

struct BoardState {
    BoardSettings settings;
    std::array<std::unique_ptr<ModuleModel>, SLOTS> slots;
    std::chrono::nanoseconds owed{0}; ///< time of its bus still to be waited for
};

/// A board, and the device of the module in each slot that has one; empty for a module without a name of it,
/// and for an empty slot.
struct BoardSummary {
    BoardName name;
    std::vector<BoardName> reached_over;
    std::array<std::string, SLOTS> devices;
};

/// Locks itself for each call, so that its boards can be used on several threads. The operations answer the
/// codes of virtual_carrier.h.
class Rack final : public mwapi::Platform
{
public:
    /// A rack on which every open fails because of this mistake in its description.
    static std::shared_ptr<Rack> broken(std::string mistake);

    std::size_t add_board(const BoardName& name);
    template <class Change>
    void change_board(std::size_t index, Change change)
    {
        const std::lock_guard lock{mutex_};
        change(boards_.at(index)->settings);
    }
    void put_module(std::size_t board, unsigned slot, const Module* module);
    /// @param folder empty for none
    void keep_files_in(std::string folder);
    /// The same for the state of modules. A folder that cannot be used is a problem of every open.
    void keep_state_in(const std::string& folder);
    /// Why that folder cannot be used; empty if it can, or if there is none.
    [[nodiscard]] std::string state_problem() const;
    void plan(PlannedFailure failure);

    /// All boards, in the order of their description.
    [[nodiscard]] std::vector<BoardSummary> boards() const;
    /// Throws RackError if the state of the module is kept, and cannot be read.
    [[nodiscard]] Contents contents(const BoardName& name, unsigned slot) const;
    [[nodiscard]] std::vector<Call> journal() const;
    void keep_journal(bool keep);
    void forget_calls();
    [[nodiscard]] std::uint64_t calls() const;
    [[nodiscard]] std::vector<std::string> misuse() const;
    [[nodiscard]] std::size_t open_handles() const;
    void on_wait(std::function<void(std::chrono::nanoseconds)> wait);

    std::uint32_t open(const char* board_type, std::uint16_t board_number, const char* device,
                       MW_HANDLE** handle, std::uint32_t* reserved) override;
    std::uint32_t close(MW_HANDLE** handle) override;
    std::uint32_t error_text(std::uint32_t code, char* text) override;
    std::uint32_t board_info(const char* board_type, std::uint16_t board_number,
                             std::uint32_t* record) override;
    std::uint32_t device_info(MW_HANDLE* handle, char* board_type, std::uint16_t* board_number,
                              std::uint32_t* kind) override;
    std::uint32_t init_io_status(MW_HANDLE* handle, std::uint32_t* io_status) override;
    std::uint32_t send(MW_HANDLE* handle, std::uint32_t type, std::uint32_t slot, const void* data,
                       std::uint32_t length, std::uint32_t timeout) override;
    std::uint32_t receive(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t slot, void* data,
                          std::uint32_t size, std::uint32_t* received, std::uint32_t timeout) override;
    std::uint32_t send_ex(MW_HANDLE* handle, std::uint32_t type, std::uint32_t board, std::uint32_t slot,
                          const void* data, std::uint32_t length, std::uint32_t timeout) override;
    std::uint32_t receive_ex(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t board, std::uint32_t slot,
                             void* data, std::uint32_t size, std::uint32_t* received,
                             std::uint32_t timeout) override;
    std::uint32_t start_send(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                             std::uint32_t timeout) override;
    std::uint32_t send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                            std::uint32_t timeout) override;
    std::uint32_t end_send(MW_HANDLE* handle, std::uint32_t timeout) override;
    std::uint32_t start_receive(MW_HANDLE* handle, std::uint32_t* type, std::uint32_t timeout) override;
    std::uint32_t receive_data(MW_HANDLE* handle, void* data, std::uint32_t size, std::uint32_t* received,
                               std::uint32_t timeout) override;
    std::uint32_t end_receive(MW_HANDLE* handle, std::uint32_t timeout) override;

private:
    /// What a handle leads to. A number alone: handles are looked up, never followed, and never given out
    /// twice.
    struct Handle {
        unsigned number;
    };
    enum class DeviceKind : std::uint32_t { jtag = 1, ksb = MW_DEVICE_KIND_KSB };

    /// Board (index into boards_) and slot, 1 to 4.
    using Place = std::pair<std::size_t, unsigned>;

    struct Sending {
        Place place;
        std::unique_ptr<StoredMessage> stored; ///< null if no state is kept
        std::uint64_t bytes = 0;
    };
    struct PlacedReply {
        Place place;
        Message message;
    };
    struct Receiving {
        Message message;
        std::size_t taken = 0;
    };
    struct OpenDevice {
        unsigned number;
        std::size_t board;
        DeviceKind kind;
        std::optional<Sending> sending;
        std::optional<Receiving> receiving;
        std::deque<PlacedReply> replies;
        std::set<Place> unanswered; ///< queried, still without a reply
    };

    template <class Action>
    std::uint32_t perform(mwapi::Function function, mwapi::Values values, Action action);
    template <class Action>
    std::uint32_t attempt(Action action);
    template <class Action>
    std::uint32_t carry_out(mwapi::Function function, mwapi::Values values, Action action);
    std::uint32_t planned_result(Function function);
    unsigned handle_in(mwapi::Function function, mwapi::Values values);
    void note_misuse(mwapi::Function function, mwapi::Values values, std::uint32_t code);
    void note(mwapi::Function function, mwapi::Values values, unsigned handle, std::uint32_t result);

    std::uint32_t send_whole(MW_HANDLE* handle, std::uint32_t type, std::optional<std::uint32_t> board,
                             std::uint32_t slot, const void* data, std::uint32_t length);
    std::uint32_t receive_whole(MW_HANDLE* handle, std::uint8_t* type, std::optional<std::uint32_t> board,
                                std::uint32_t slot, void* data, std::uint32_t size, std::uint32_t* received);
    void take_over_faulty_link(Sending& sending, const std::vector<LinkFault>& faults,
                               std::span<const std::uint8_t> data);
    void wait_for(std::unique_lock<std::mutex>& lock, std::chrono::nanoseconds least);
    void spend(const OpenDevice& device, std::size_t messages, std::size_t bytes);

    OpenDevice* find(const MW_HANDLE* handle);
    unsigned number_of(const MW_HANDLE* handle);
    std::uint32_t find_bus(const MW_HANDLE* handle, OpenDevice*& device);
    std::uint32_t find_place(const OpenDevice& device, std::uint32_t board, std::uint32_t slot,
                             Place& place) const;
    std::uint32_t find_free_module(const OpenDevice& device, std::optional<std::uint32_t> board,
                                   std::uint32_t slot, Place& place);
    [[nodiscard]] const BoardState* find_board(const BoardName& name) const;
    ModuleModel* module_at(const Place& place) { return boards_[place.first]->slots[place.second - 1].get(); }
    [[nodiscard]] unsigned bus_number(const OpenDevice& device) const
    {
        return boards_[device.board]->settings.name.number;
    }
    std::uint32_t end_message(OpenDevice& device, const Place& place);
    std::uint32_t keep_file(const ModuleModel& module);
    [[nodiscard]] ModuleName name_of(const Place& place) const
    {
        return {boards_[place.first]->settings.name, place.second};
    }
    [[nodiscard]] bool is_reached_over(std::size_t board, const BoardName& bus) const;
    void drop_left_messages(const BoardName& bus);
    std::uint32_t begin_stored_message(const OpenDevice& device, const Place& place, StateStore::Sent sent,
                                       std::unique_ptr<StoredMessage>& stored);
    [[nodiscard]] Contents stored_contents(const ModuleName& name, const ModuleModel& module) const;
    static std::uint32_t queue_reply(OpenDevice& device, const Place& place, std::optional<Message> reply);

    mutable std::mutex mutex_;
    std::string mistake_;
    std::string keep_folder_;
    std::string keep_failure_; ///< the words for KEEP_FAILED
    std::unique_ptr<StateStore> store_;
    std::string state_problem_;
    std::string state_failure_; ///< the words for STATE_FAILED
    std::vector<std::unique_ptr<BoardState>> boards_;
    std::deque<Handle>
        handles_; ///< all ever given out: none is used twice, so that stale ones are recognised
    std::vector<OpenDevice> open_;
    std::vector<PlannedFailure> planned_;
    std::vector<std::pair<std::uint32_t, std::string>> planned_texts_;
    std::array<std::uint64_t, FUNCTION_COUNT> counts_{};
    std::uint64_t counted_ = 0;
    bool keep_journal_ = true;
    std::vector<Call> journal_;
    std::vector<std::string> misuse_;
    std::function<void(std::chrono::nanoseconds)> wait_;
    BoardState* owing_ = nullptr; ///< the board whose bus the call in hand used
    bool settles_ = false;        ///< the call in hand ends a message, so all that is owed is waited for
};

/// Makes a rack the one that the platform functions act on, and takes it away again: then it is the most
/// recent of those left, else the one that the environment names.
void put_in_force(std::shared_ptr<Rack> rack);
void take_out_of_force(const std::shared_ptr<Rack>& rack);

/// The folder for kept files that MWVIRTUAL_KEEP names; empty if none.
[[nodiscard]] std::string folder_of_environment();
/// The folder for the state of modules that MWVIRTUAL_STATE names; empty if none.
[[nodiscard]] std::string state_folder_of_environment();

} // namespace mwvirtual

#endif
