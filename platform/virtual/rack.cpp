// SPDX-License-Identifier: Apache-2.0
// The virtual rack: a platform of boards, open devices, planned failures and a journal of calls.
#include "rack.h"

#include "error_texts.h"
#include "journal.h"
#include "system/regular_file.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace mwvirtual
{
namespace
{

constexpr std::size_t WAITING_REPLIES = 64;
constexpr std::size_t NOTED_MISUSES = 1000;
// Shorter waits are added up: sleeping for each piece of eight bytes would take far longer than the bus.
constexpr std::chrono::milliseconds SHORTEST_WAIT{2};

std::span<const std::uint8_t> bytes_of(const void* data, std::size_t length)
{
    return {static_cast<const std::uint8_t*>(data), length};
}

bool is_counted(Function function)
{
    return function != Function::MwErr2Text && function != Function::MwClose;
}

/// Whether a call's failure is its caller's mistake. A missing board, an empty slot or a silent module are
/// findings.
bool is_misuse(std::uint32_t code)
{
    switch (code) {
    case BAD_RACK:
    case NO_SUCH_BOARD:
    case NO_MODULE:
    case NO_SERIAL_BUS:
    case NOT_ON_BUS:
    case NO_REPLY:
    case KEEP_FAILED:
    case STATE_FAILED:
        return false;
    default:
        return true;
    }
}

} // namespace

std::string folder_of_environment()
{
    const char* folder = std::getenv("MWVIRTUAL_KEEP"); // NOLINT(concurrency-mt-unsafe)
    return folder == nullptr ? "" : folder;
}

std::string state_folder_of_environment()
{
    const char* folder = std::getenv("MWVIRTUAL_STATE"); // NOLINT(concurrency-mt-unsafe)
    return folder == nullptr ? "" : folder;
}

std::shared_ptr<Rack> Rack::broken(std::string mistake)
{
    auto rack = std::make_shared<Rack>();
    rack->mistake_ = std::move(mistake);
    return rack;
}

std::size_t Rack::add_board(const BoardName& name)
{
    const std::lock_guard lock{mutex_};
    for (std::size_t i = 0; i < boards_.size(); ++i) {
        if (boards_[i]->settings.name == name)
            return i;
    }
    boards_.push_back(std::make_unique<BoardState>());
    boards_.back()->settings.name = name;
    return boards_.size() - 1;
}

void Rack::put_module(std::size_t board, unsigned slot, const Module* module)
{
    const std::lock_guard lock{mutex_};
    for (OpenDevice& device : open_) {
        if (device.sending && device.sending->place == Place{board, slot})
            device.sending.reset();
    }
    boards_.at(board)->slots.at(slot - 1) =
        module != nullptr ? std::make_unique<ModuleModel>(*module) : nullptr;
}

void Rack::keep_files_in(std::string folder)
{
    const std::lock_guard lock{mutex_};
    keep_folder_ = std::move(folder);
}

void Rack::keep_state_in(const std::string& folder)
{
    const std::lock_guard lock{mutex_};
    store_.reset();
    state_problem_.clear();
    if (folder.empty())
        return;
    try {
        store_ = std::make_unique<StateStore>(folder);
    } catch (const StateError& error) {
        state_problem_ = error.what();
    }
}

std::string Rack::state_problem() const
{
    const std::lock_guard lock{mutex_};
    return state_problem_;
}

void Rack::plan(PlannedFailure failure)
{
    const std::lock_guard lock{mutex_};
    if (!failure.text.empty())
        planned_texts_.emplace_back(failure.code, failure.text);
    planned_.push_back(std::move(failure));
}

std::vector<BoardSummary> Rack::boards() const
{
    const std::lock_guard lock{mutex_};
    std::vector<BoardSummary> summaries;
    for (const auto& board : boards_) {
        BoardSummary& summary =
            summaries.emplace_back(BoardSummary{board->settings.name, board->settings.reached_over, {}});
        for (std::size_t slot = 0; slot < SLOTS; ++slot)
            if (board->slots[slot] != nullptr)
                summary.devices[slot] = board->slots[slot]->device_name();
    }
    return summaries;
}

Contents Rack::contents(const BoardName& name, unsigned slot) const
{
    const std::lock_guard lock{mutex_};
    const BoardState* board = find_board(name);
    if (board == nullptr || slot < 1 || slot > SLOTS || board->slots[slot - 1] == nullptr)
        return {};
    const ModuleModel& module = *board->slots[slot - 1];
    if (store_ == nullptr || module.busy())
        return module.contents();
    try {
        return stored_contents({name, slot}, module);
    } catch (const StateError& error) {
        throw RackError{error.what()};
    }
}

/// What the module holds now, which may be the load of another process. What was received is known only here.
Contents Rack::stored_contents(const ModuleName& name, const ModuleModel& module) const
{
    StateStore::Held held = store_->read_all(name);
    if (held.state.holding == Holding::nothing || held.state.device != module.device_name())
        return {};
    Contents contents{.loads = static_cast<std::size_t>(held.state.loads)};
    contents.finished = held.state.verdict.has_value();
    contents.compressed = held.state.compressed;
    contents.done = held.state.holding == Holding::running;
    contents.verdict = held.state.verdict.value_or(contents.verdict);
    contents.reason = std::move(held.state.reason);
    contents.configuration_bytes = held.state.bytes;
    if (module.keeps_data())
        contents.configuration = std::move(held.configuration);
    const Contents& own = module.contents();
    if (own.loads == contents.loads && own.finished == contents.finished &&
        own.configuration_bytes == contents.configuration_bytes &&
        own.configuration == contents.configuration) {
        contents.received = own.received;
        contents.received_bytes = own.received_bytes;
    }
    return contents;
}

std::vector<Call> Rack::journal() const
{
    const std::lock_guard lock{mutex_};
    return journal_;
}

void Rack::keep_journal(bool keep)
{
    const std::lock_guard lock{mutex_};
    keep_journal_ = keep;
}

void Rack::forget_calls()
{
    const std::lock_guard lock{mutex_};
    journal_.clear();
    planned_.clear();
    misuse_.clear();
    counts_ = {};
    counted_ = 0;
}

std::uint64_t Rack::calls() const
{
    const std::lock_guard lock{mutex_};
    return counted_;
}

std::vector<std::string> Rack::misuse() const
{
    const std::lock_guard lock{mutex_};
    return misuse_;
}

std::size_t Rack::open_handles() const
{
    const std::lock_guard lock{mutex_};
    return open_.size();
}

void Rack::on_wait(std::function<void(std::chrono::nanoseconds)> wait)
{
    const std::lock_guard lock{mutex_};
    wait_ = std::move(wait);
}

/// Counts the call, performs it unless its failure is planned, and adds it to the journal. Waits for the bus
/// without the lock, so that boards do not wait for each other.
template <class Action>
std::uint32_t Rack::perform(mwapi::Function function, mwapi::Values values, Action action)
{
    std::unique_lock lock{mutex_};
    owing_ = nullptr;
    settles_ = false;
    const std::uint32_t planned = planned_result(static_cast<Function>(function));
    if (planned != SUCCESS && keep_journal_)
        journal_.push_back(written_down(function, values, 0, planned, Extent::arguments));
    const std::uint32_t result = planned != SUCCESS ? planned : carry_out(function, values, action);
    if (owing_ != nullptr)
        wait_for(lock, settles_ ? std::chrono::nanoseconds{1} : SHORTEST_WAIT);
    return result;
}

template <class Action>
std::uint32_t Rack::attempt(Action action)
{
    try {
        return action();
    } catch (const StateError& error) {
        state_failure_ = error.what();
        return STATE_FAILED;
    }
}

template <class Action>
std::uint32_t Rack::carry_out(mwapi::Function function, mwapi::Values values, Action action)
{
    if (!keep_journal_) {
        const std::uint32_t result = attempt(action);
        if (result != SUCCESS)
            note_misuse(function, values, result);
        return result;
    }
    const unsigned handle = handle_in(function, values);
    const std::uint32_t result = attempt(action);
    if (result != SUCCESS)
        note_misuse(function, values, result);
    note(function, values, handle, result);
    return result;
}

std::uint32_t Rack::planned_result(Function function)
{
    const std::uint64_t of_function = ++counts_.at(static_cast<std::size_t>(function));
    const bool counted = is_counted(function);
    if (counted)
        ++counted_;
    const auto planned = std::ranges::find_if(planned_, [&](const PlannedFailure& failure) {
        return failure.function ? *failure.function == function && failure.n == of_function
                                : counted && failure.n == counted_;
    });
    if (planned == planned_.end())
        return SUCCESS;
    const std::uint32_t code = planned->code;
    planned_.erase(planned);
    return code;
}

/// The number of the handle that a call is given, 0 for none or an unknown one.
unsigned Rack::handle_in(mwapi::Function function, mwapi::Values values)
{
    switch (mwapi::describe(function).arguments.front().kind) {
    case mwapi::Kind::handle:
        return number_of(values.front().pointer<MW_HANDLE>());
    case mwapi::Kind::closed_handle:
        return values.front().is_null() ? 0 : number_of(*values.front().pointer<MW_HANDLE*>());
    default:
        return 0;
    }
}

void Rack::note_misuse(mwapi::Function function, mwapi::Values values, std::uint32_t code)
{
    if (!is_misuse(code) || function == mwapi::Function::MwErr2Text || misuse_.size() >= NOTED_MISUSES)
        return;
    const Extent extent = keep_journal_ ? Extent::arguments_and_data : Extent::arguments;
    misuse_.push_back(written_down(function, values, 0, code, extent).text() + ": " + own_text(code));
}

void Rack::note(mwapi::Function function, mwapi::Values values, unsigned handle, std::uint32_t result)
{
    const bool opened = function == mwapi::Function::MwOpenS && result == SUCCESS;
    journal_.push_back(written_down(function, values, opened ? handles_.back().number : handle, result,
                                    Extent::arguments_and_data));
}

void Rack::wait_for(std::unique_lock<std::mutex>& lock, std::chrono::nanoseconds least)
{
    BoardState& board = *owing_;
    if (board.owed < least)
        return;
    const std::chrono::nanoseconds asked = std::exchange(board.owed, std::chrono::nanoseconds{0});
    const auto wait = wait_;
    lock.unlock();
    if (wait)
        return wait(asked);
    const auto begin = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(asked);
    const auto overslept = std::chrono::steady_clock::now() - begin - asked;
    lock.lock();
    board.owed -= overslept; // the next wait is shorter by as much
}

void Rack::spend(const OpenDevice& device, std::size_t messages, std::size_t bytes)
{
    BoardState& board = *boards_[device.board];
    const BoardSettings& settings = board.settings;
    if (settings.latency.count() == 0 && settings.bytes_per_second == 0)
        return;
    board.owed += settings.latency * messages;
    if (settings.bytes_per_second != 0)
        board.owed += std::chrono::nanoseconds{bytes * 1'000'000'000ULL / settings.bytes_per_second};
    owing_ = &board;
    settles_ = messages != 0;
}

const BoardState* Rack::find_board(const BoardName& name) const
{
    const auto found =
        std::ranges::find_if(boards_, [&](const auto& board) { return board->settings.name == name; });
    return found == boards_.end() ? nullptr : found->get();
}

// Handles come from outside: they are compared, never dereferenced.
Rack::OpenDevice* Rack::find(const MW_HANDLE* handle)
{
    const unsigned number = number_of(handle);
    const auto found = std::ranges::find(open_, number, &OpenDevice::number);
    return number == 0 || found == open_.end() ? nullptr : &*found;
}

unsigned Rack::number_of(const MW_HANDLE* handle)
{
    const auto found = std::ranges::find_if(open_, [&](const OpenDevice& device) {
        return mwapi::to_handle(&handles_[device.number - 1]) == handle;
    });
    return found == open_.end() ? 0 : found->number;
}

std::uint32_t Rack::find_bus(const MW_HANDLE* handle, OpenDevice*& device)
{
    device = find(handle);
    if (device == nullptr)
        return handle == nullptr ? NULL_POINTER : UNKNOWN_HANDLE;
    return device->kind == DeviceKind::ksb ? SUCCESS : NOT_A_KSB;
}

std::uint32_t Rack::find_place(const OpenDevice& device, std::uint32_t board, std::uint32_t slot,
                               Place& place) const
{
    if (slot < 1 || slot > SLOTS)
        return BAD_SLOT;
    const BoardName& opened = boards_[device.board]->settings.name;
    if (board == opened.number) {
        place = {device.board, slot};
        return SUCCESS;
    }
    for (std::size_t i = 0; i < boards_.size(); ++i) {
        if (boards_[i]->settings.name.number == board && is_reached_over(i, opened)) {
            place = {i, slot};
            return SUCCESS;
        }
    }
    return NOT_ON_BUS;
}

bool Rack::is_reached_over(std::size_t board, const BoardName& bus) const
{
    const std::vector<BoardName>& buses = boards_[board]->settings.reached_over;
    return std::ranges::find(buses, bus) != buses.end();
}

// The system closes what a killed process had open, and closing drops an open message.
void Rack::drop_left_messages(const BoardName& bus)
{
    for (std::size_t i = 0; i < boards_.size(); ++i) {
        if (boards_[i]->settings.name != bus && !is_reached_over(i, bus))
            continue;
        for (unsigned slot = 1; slot <= SLOTS; ++slot) {
            try {
                if (module_at({i, slot}) != nullptr)
                    store_->drop_left_message(name_of({i, slot}), bus);
            } catch (const StateError&) { // told when a message to this module begins, not for its neighbours
            }
        }
    }
}

/// Claims the module for a message; does nothing if no state is kept.
std::uint32_t Rack::begin_stored_message(const OpenDevice& device, const Place& place, StateStore::Sent sent,
                                         std::unique_ptr<StoredMessage>& stored)
{
    if (store_ == nullptr)
        return SUCCESS;
    stored = store_->begin_message(name_of(place), module_at(place)->device_name(),
                                   boards_[device.board]->settings.name, sent);
    return stored == nullptr ? MODULE_BUSY : SUCCESS;
}

std::uint32_t Rack::find_free_module(const OpenDevice& device, std::optional<std::uint32_t> board,
                                     std::uint32_t slot, Place& place)
{
    if (device.sending)
        return MESSAGE_OPEN;
    if (device.receiving)
        return REPLY_OPEN;
    if (const std::uint32_t code = find_place(device, board.value_or(bus_number(device)), slot, place))
        return code;
    const ModuleModel* module = module_at(place);
    if (module == nullptr)
        return NO_MODULE;
    if (!module->has_serial_bus())
        return NO_SERIAL_BUS;
    return module->busy() ? MODULE_BUSY : SUCCESS;
}

std::uint32_t Rack::end_message(OpenDevice& device, const Place& place)
{
    ModuleModel& module = *module_at(place);
    std::optional<Message> reply = module.end_message();
    if (const std::uint32_t code = keep_file(module))
        return code;
    return queue_reply(device, place, std::move(reply));
}

/// Writes the configuration bytes of a load that has ended, if they are to be kept.
// Choice: only the user names the folder, and a failure ends the call (docs/decisions/0024-kept-files.md).
std::uint32_t Rack::keep_file(const ModuleModel& module)
{
    const std::string name = module.kept_as();
    if (name.empty())
        return SUCCESS;
    if (keep_folder_.empty()) {
        keep_failure_ = "cannot keep " + name + ": no folder for kept files; name one in MWVIRTUAL_KEEP";
        return KEEP_FAILED;
    }
    const std::vector<std::uint8_t>& bytes = module.contents().configuration;
    auto file = kvn::system::RegularFile::to_write_in(keep_folder_.c_str(), name.c_str());
    if (file.is_open() && file.write({reinterpret_cast<const char*>(bytes.data()), bytes.size()}) &&
        file.close())
        return SUCCESS;
    keep_failure_ = "cannot keep " + name + " in " + keep_folder_ + ": " + file.problem();
    return KEEP_FAILED;
}

std::uint32_t Rack::queue_reply(OpenDevice& device, const Place& place, std::optional<Message> reply)
{
    if (!reply) {
        device.unanswered.insert(place);
        return SUCCESS;
    }
    if (device.replies.size() == WAITING_REPLIES)
        return TOO_MANY_REPLIES;
    device.replies.push_back({place, std::move(*reply)});
    return SUCCESS;
}

std::uint32_t Rack::open(const char* board_type, std::uint16_t board_number, const char* device,
                         MW_HANDLE** handle, std::uint32_t* reserved)
{
    const auto values = mwapi::values(board_type, board_number, device, handle, reserved);
    return perform(mwapi::Function::MwOpenS, values, [&]() -> std::uint32_t {
        if (board_type == nullptr || device == nullptr || handle == nullptr)
            return NULL_POINTER;
        *handle = nullptr;
        if (!mistake_.empty())
            return BAD_RACK;
        if (!state_problem_.empty())
            throw StateError{state_problem_};
        const BoardName name{board_type, board_number};
        const auto board =
            std::ranges::find_if(boards_, [&](const auto& each) { return each->settings.name == name; });
        if (board == boards_.end() || !(*board)->settings.opens)
            return NO_SUCH_BOARD;
        const std::string_view device_name{device};
        if (device_name != "ksb" && device_name != "jtag")
            return NO_SUCH_DEVICE;
        handles_.push_back({static_cast<unsigned>(handles_.size() + 1)});
        OpenDevice opened{};
        opened.number = handles_.back().number;
        opened.board = static_cast<std::size_t>(board - boards_.begin());
        opened.kind = device_name == "ksb" ? DeviceKind::ksb : DeviceKind::jtag;
        if (store_ != nullptr && opened.kind == DeviceKind::ksb)
            drop_left_messages(name);
        open_.push_back(std::move(opened));
        *handle = mwapi::to_handle(&handles_.back());
        return SUCCESS;
    });
}

// An open message is dropped with its handle, so that an aborted load does not affect later runs.
std::uint32_t Rack::close(MW_HANDLE** handle)
{
    return perform(mwapi::Function::MwClose, mwapi::values(handle), [&]() -> std::uint32_t {
        if (handle == nullptr)
            return NULL_POINTER;
        OpenDevice* device = find(*handle);
        if (device == nullptr)
            return *handle == nullptr ? NULL_POINTER : UNKNOWN_HANDLE;
        const std::optional<Sending> sending = std::exchange(device->sending, std::nullopt);
        open_.erase(open_.begin() + (device - open_.data()));
        *handle = nullptr;
        if (sending)
            module_at(sending->place)->drop_message();
        return SUCCESS;
    });
}

std::uint32_t Rack::error_text(std::uint32_t code, char* text)
{
    return perform(mwapi::Function::MwErr2Text, mwapi::values(code, text), [&]() -> std::uint32_t {
        if (text == nullptr)
            return NULL_POINTER;
        const auto planned =
            std::ranges::find(planned_texts_, code, &std::pair<std::uint32_t, std::string>::first);
        if (planned != planned_texts_.end())
            mwapi::write_error_text(planned->second, text);
        else if (code == BAD_RACK && !mistake_.empty())
            mwapi::write_error_text(mistake_, text);
        else if (code == KEEP_FAILED && !keep_failure_.empty())
            mwapi::write_error_text(keep_failure_, text);
        else if (code == STATE_FAILED && !state_failure_.empty())
            mwapi::write_error_text(state_failure_, text);
        else
            mwapi::write_error_text(own_text(code), text);
        return SUCCESS;
    });
}

std::uint32_t Rack::board_info(const char* board_type, std::uint16_t board_number, std::uint32_t* record)
{
    constexpr std::size_t WORDS_A_SLOT = 5;
    static_assert(1 + SLOTS * WORDS_A_SLOT == mwapi::BOARD_INFO_WORDS);
    const auto values = mwapi::values(board_type, board_number, record);
    return perform(mwapi::Function::MwGetBoardInfo, values, [&]() -> std::uint32_t {
        if (board_type == nullptr || record == nullptr)
            return NULL_POINTER;
        if (!mistake_.empty())
            return BAD_RACK;
        const BoardState* board = find_board({board_type, board_number});
        if (board == nullptr || !board->settings.opens)
            return NO_SUCH_BOARD;
        std::uint32_t* next = record;
        *next++ = board->settings.info_word;
        for (const auto& module : board->slots) {
            const auto words =
                module != nullptr ? module->info_words() : std::array<std::uint32_t, WORDS_A_SLOT>{};
            next = std::ranges::copy(words, next).out;
        }
        return SUCCESS;
    });
}

std::uint32_t Rack::device_info(MW_HANDLE* handle, char* board_type, std::uint16_t* board_number,
                                std::uint32_t* kind)
{
    const auto values = mwapi::values(handle, board_type, board_number, kind);
    return perform(mwapi::Function::MwGetDeviceInfo, values, [&]() -> std::uint32_t {
        if (handle == nullptr || board_type == nullptr || board_number == nullptr || kind == nullptr)
            return NULL_POINTER;
        const OpenDevice* device = find(handle);
        if (device == nullptr)
            return UNKNOWN_HANDLE;
        const BoardName& name = boards_[device->board]->settings.name;
        board_type[name.type.copy(board_type, mwapi::BOARD_TYPE_SIZE - 1)] = '\0';
        *board_number = name.number;
        *kind = static_cast<std::uint32_t>(device->kind);
        return SUCCESS;
    });
}

std::uint32_t Rack::init_io_status(MW_HANDLE* handle, std::uint32_t* io_status)
{
    const auto values = mwapi::values(handle, io_status);
    return perform(mwapi::Function::MwInitIoStatus, values, [&]() -> std::uint32_t {
        if (handle == nullptr || io_status == nullptr)
            return NULL_POINTER;
        if (find(handle) == nullptr)
            return UNKNOWN_HANDLE;
        *io_status = 0;
        return SUCCESS;
    });
}

std::uint32_t Rack::send(MW_HANDLE* handle, std::uint32_t type, std::uint32_t slot, const void* data,
                         std::uint32_t length, std::uint32_t timeout)
{
    return perform(mwapi::Function::MwKSBSendMessage,
                   mwapi::values(handle, type, slot, data, length, timeout),
                   [&] { return send_whole(handle, type, std::nullopt, slot, data, length); });
}

std::uint32_t Rack::send_ex(MW_HANDLE* handle, std::uint32_t type, std::uint32_t board, std::uint32_t slot,
                            const void* data, std::uint32_t length, std::uint32_t timeout)
{
    return perform(mwapi::Function::MwKSBSendMessageEx,
                   mwapi::values(handle, type, board, slot, data, length, timeout),
                   [&] { return send_whole(handle, type, board, slot, data, length); });
}

/// @param board the opened one when none
std::uint32_t Rack::send_whole(MW_HANDLE* handle, std::uint32_t type, std::optional<std::uint32_t> board,
                               std::uint32_t slot, const void* data, std::uint32_t length)
{
    if (data == nullptr && length != 0)
        return NULL_POINTER;
    OpenDevice* device = nullptr;
    if (const std::uint32_t code = find_bus(handle, device))
        return code;
    Place place;
    if (const std::uint32_t code = find_free_module(*device, board, slot, place))
        return code;
    // A whole message has the same two leading bytes as one sent in pieces.
    const unsigned bus = bus_number(*device);
    const std::array<std::uint8_t, 2> header{static_cast<std::uint8_t>(type),
                                             static_cast<std::uint8_t>(bus << 3 | 5)};
    ModuleModel& module = *module_at(place);
    std::unique_ptr<StoredMessage> stored;
    if (ModuleModel::is_load_type(header[0])) {
        if (const std::uint32_t code = begin_stored_message(*device, place, StateStore::Sent::whole, stored))
            return code;
    } else if (store_ != nullptr && store_->is_receiving(name_of(place))) {
        return MODULE_BUSY;
    }
    module.begin_message(bus, stored.get());
    try {
        module.take(header);
        module.take(bytes_of(data, length));
    } catch (const StateError&) {
        module.drop_message();
        throw;
    }
    spend(*device, 1, header.size() + length);
    return end_message(*device, place);
}

std::uint32_t Rack::receive(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t slot, void* data,
                            std::uint32_t size, std::uint32_t* received, std::uint32_t timeout)
{
    return perform(mwapi::Function::MwKSBReceiveMessage,
                   mwapi::values(handle, type, slot, data, size, received, timeout),
                   [&] { return receive_whole(handle, type, std::nullopt, slot, data, size, received); });
}

std::uint32_t Rack::receive_ex(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t board, std::uint32_t slot,
                               void* data, std::uint32_t size, std::uint32_t* received, std::uint32_t timeout)
{
    return perform(mwapi::Function::MwKSBReceiveMessageEx,
                   mwapi::values(handle, type, board, slot, data, size, received, timeout),
                   [&] { return receive_whole(handle, type, board, slot, data, size, received); });
}

/// @param board the opened one when none
std::uint32_t Rack::receive_whole(MW_HANDLE* handle, std::uint8_t* type, std::optional<std::uint32_t> board,
                                  std::uint32_t slot, void* data, std::uint32_t size, std::uint32_t* received)
{
    if (type == nullptr || received == nullptr || (data == nullptr && size != 0))
        return NULL_POINTER;
    OpenDevice* device = nullptr;
    if (const std::uint32_t code = find_bus(handle, device))
        return code;
    if (device->sending)
        return MESSAGE_OPEN;
    if (device->receiving)
        return REPLY_OPEN;
    Place place;
    if (const std::uint32_t code = find_place(*device, board.value_or(bus_number(*device)), slot, place))
        return code;
    if (module_at(place) == nullptr)
        return NO_MODULE;
    const auto reply = std::ranges::find(device->replies, place, &PlacedReply::place);
    if (reply == device->replies.end())
        return device->unanswered.erase(place) != 0 ? NO_REPLY : NO_REQUEST;
    // Bytes that do not fit into the caller's buffer are lost.
    const std::vector<std::uint8_t>& bytes = reply->message.data;
    const std::size_t count = std::min<std::size_t>(bytes.size(), size);
    if (count != 0)
        std::memcpy(data, bytes.data(), count);
    *type = reply->message.type;
    *received = static_cast<std::uint32_t>(count);
    spend(*device, 1, bytes.size() + 1);
    device->replies.erase(reply);
    return SUCCESS;
}

std::uint32_t Rack::start_send(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                               std::uint32_t timeout)
{
    const auto values = mwapi::values(handle, board, slot, timeout);
    return perform(mwapi::Function::MwKSBStartSendMessageEx, values, [&]() -> std::uint32_t {
        OpenDevice* device = nullptr;
        if (const std::uint32_t code = find_bus(handle, device))
            return code;
        Place place;
        if (const std::uint32_t code = find_free_module(*device, board, slot, place))
            return code;
        std::unique_ptr<StoredMessage> stored;
        if (const std::uint32_t code =
                begin_stored_message(*device, place, StateStore::Sent::in_pieces, stored))
            return code;
        module_at(place)->begin_message(bus_number(*device), stored.get());
        device->sending = Sending{place, std::move(stored)};
        spend(*device, 1, 0);
        return SUCCESS;
    });
}

std::uint32_t Rack::send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                              std::uint32_t timeout)
{
    const auto values = mwapi::values(handle, data, length, timeout);
    return perform(mwapi::Function::MwKSBSendMessageDataEx, values, [&]() -> std::uint32_t {
        if (data == nullptr && length != 0)
            return NULL_POINTER;
        OpenDevice* device = nullptr;
        if (const std::uint32_t code = find_bus(handle, device))
            return code;
        if (!device->sending)
            return NO_OPEN_MESSAGE;
        Sending& sending = *device->sending;
        const std::vector<LinkFault>& faults = boards_[device->board]->settings.link_faults;
        spend(*device, 0, length);
        if (!faults.empty()) {
            take_over_faulty_link(sending, faults, bytes_of(data, length));
            return SUCCESS;
        }
        module_at(sending.place)->take(bytes_of(data, length));
        sending.bytes += length;
        return SUCCESS;
    });
}

void Rack::take_over_faulty_link(Sending& sending, const std::vector<LinkFault>& faults,
                                 std::span<const std::uint8_t> data)
{
    ModuleModel& module = *module_at(sending.place);
    for (std::uint8_t byte : data) {
        bool dropped = false;
        for (const LinkFault& fault : faults) {
            if (fault.after != sending.bytes)
                continue;
            dropped = dropped || fault.drops;
            byte = static_cast<std::uint8_t>(byte ^ fault.mask);
        }
        ++sending.bytes;
        if (!dropped)
            module.take({&byte, 1});
    }
}

std::uint32_t Rack::end_send(MW_HANDLE* handle, std::uint32_t timeout)
{
    const auto values = mwapi::values(handle, timeout);
    return perform(mwapi::Function::MwKSBEndOfSendMessageEx, values, [&]() -> std::uint32_t {
        OpenDevice* device = nullptr;
        if (const std::uint32_t code = find_bus(handle, device))
            return code;
        if (!device->sending)
            return NO_OPEN_MESSAGE;
        const Sending sent = *std::exchange(device->sending, std::nullopt);
        spend(*device, 1, 0);
        if (sent.bytes == 0) {
            module_at(sent.place)->drop_message();
            return MESSAGE_EMPTY;
        }
        return end_message(*device, sent.place);
    });
}

std::uint32_t Rack::start_receive(MW_HANDLE* handle, std::uint32_t* type, std::uint32_t timeout)
{
    const auto values = mwapi::values(handle, type, timeout);
    return perform(mwapi::Function::MwKSBStartReceiveMessageEx, values, [&]() -> std::uint32_t {
        if (type == nullptr)
            return NULL_POINTER;
        OpenDevice* device = nullptr;
        if (const std::uint32_t code = find_bus(handle, device))
            return code;
        if (device->sending)
            return MESSAGE_OPEN;
        if (device->receiving)
            return REPLY_OPEN;
        if (device->replies.empty()) {
            const bool asked = !device->unanswered.empty();
            device->unanswered.clear();
            return asked ? NO_REPLY : NO_REQUEST;
        }
        device->receiving = Receiving{std::move(device->replies.front().message)};
        device->replies.pop_front();
        *type = device->receiving->message.type;
        spend(*device, 1, 1);
        return SUCCESS;
    });
}

std::uint32_t Rack::receive_data(MW_HANDLE* handle, void* data, std::uint32_t size, std::uint32_t* received,
                                 std::uint32_t timeout)
{
    const auto values = mwapi::values(handle, data, size, received, timeout);
    return perform(mwapi::Function::MwKSBReceiveMessageDataEx, values, [&]() -> std::uint32_t {
        if (received == nullptr || (data == nullptr && size != 0))
            return NULL_POINTER;
        OpenDevice* device = nullptr;
        if (const std::uint32_t code = find_bus(handle, device))
            return code;
        if (!device->receiving)
            return NO_OPEN_REPLY;
        Receiving& reply = *device->receiving;
        const std::size_t count = std::min<std::size_t>(reply.message.data.size() - reply.taken, size);
        if (count != 0)
            std::memcpy(data, reply.message.data.data() + reply.taken, count);
        reply.taken += count;
        *received = static_cast<std::uint32_t>(count);
        spend(*device, 0, count);
        return SUCCESS;
    });
}

std::uint32_t Rack::end_receive(MW_HANDLE* handle, std::uint32_t timeout)
{
    const auto values = mwapi::values(handle, timeout);
    return perform(mwapi::Function::MwKSBEndOfReceiveMessageEx, values, [&]() -> std::uint32_t {
        OpenDevice* device = nullptr;
        if (const std::uint32_t code = find_bus(handle, device))
            return code;
        if (!device->receiving)
            return NO_OPEN_REPLY;
        device->receiving.reset();
        return SUCCESS;
    });
}

} // namespace mwvirtual
