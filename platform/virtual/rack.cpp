// The rack behind the platform functions: boards, open devices, planned failures and the journal of calls.
#include "rack.h"

#include "error_texts.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace mwvirtual
{
namespace
{

constexpr std::size_t WAITING_REPLIES = 64;
constexpr std::size_t NOTED_MISUSES = 1000;
constexpr std::size_t BOARD_TYPE_SIZE = 32;
constexpr std::size_t ERROR_TEXT_SIZE = 256;
// Waits shorter than this are gathered: sleeping for each piece of eight bytes would take far longer than the
// bus.
constexpr std::chrono::milliseconds SHORTEST_WAIT{2};

std::span<const std::uint8_t> bytes_of(const void* data, std::size_t length)
{
    return {static_cast<const std::uint8_t*>(data), length};
}

template <std::size_t Size>
void copy_text(char* target, const std::string& text)
{
    const std::size_t length = std::min(text.size(), Size - 1);
    std::memcpy(target, text.data(), length);
    target[length] = '\0';
}

bool is_counted(Function function)
{
    return function != Function::MwErr2Text && function != Function::MwClose;
}

std::string text_or_empty(const char* text)
{
    return text != nullptr ? text : "";
}

} // namespace

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

void Rack::plan(PlannedFailure failure)
{
    const std::lock_guard lock{mutex_};
    if (!failure.text.empty())
        planned_texts_.emplace_back(failure.code, failure.text);
    planned_.push_back(std::move(failure));
}

Contents Rack::contents(const BoardName& name, unsigned slot) const
{
    const std::lock_guard lock{mutex_};
    const BoardState* board = find_board(name);
    if (board == nullptr || slot < 1 || slot > SLOTS || board->slots[slot - 1] == nullptr)
        return {};
    return board->slots[slot - 1]->contents();
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

/// Counts the call, carries it out unless its failure was planned, and writes it down. What the bus takes is
/// waited for without the lock, so that boards do not wait for each other.
template <class Action>
std::uint32_t Rack::perform(Call call, Action action)
{
    std::unique_lock lock{mutex_};
    owing_ = nullptr;
    settles_ = false;
    call.result = planned_result(call.function);
    if (call.result == SUCCESS) {
        call.result = action(call);
        note_misuse(call, call.result);
    }
    const std::uint32_t result = call.result;
    if (keep_journal_)
        journal_.push_back(std::move(call));
    if (owing_ != nullptr)
        wait_for(lock, settles_ ? std::chrono::nanoseconds{1} : SHORTEST_WAIT);
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

// A missing board, an empty slot or a silent module are findings; the rest is a caller's mistake.
void Rack::note_misuse(const Call& call, std::uint32_t code)
{
    switch (code) {
    case SUCCESS:
    case BAD_RACK:
    case NO_SUCH_BOARD:
    case NO_MODULE:
    case NO_SERIAL_BUS:
    case NOT_ON_BUS:
    case NO_REPLY:
        return;
    default:
        if (call.function != Function::MwErr2Text && misuse_.size() < NOTED_MISUSES)
            misuse_.push_back(call.text() + ": " + own_text(code));
    }
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

// Handles come from outside: they are compared, never followed.
Rack::OpenDevice* Rack::find(const MW_HANDLE* handle)
{
    const unsigned number = number_of(handle);
    const auto found = std::ranges::find(open_, number, &OpenDevice::number);
    return number == 0 || found == open_.end() ? nullptr : &*found;
}

unsigned Rack::number_of(const MW_HANDLE* handle)
{
    const auto found = std::ranges::find_if(
        open_, [&](const OpenDevice& device) { return &handles_[device.number - 1] == handle; });
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
        const BoardSettings& settings = boards_[i]->settings;
        const bool reached = std::ranges::find(settings.reached_over, opened) != settings.reached_over.end();
        if (settings.name.number == board && reached) {
            place = {i, slot};
            return SUCCESS;
        }
    }
    return NOT_ON_BUS;
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

std::uint32_t Rack::open(const char* type, std::uint16_t number, const char* device, MW_HANDLE** handle)
{
    Call call{.function = Function::MwOpenS};
    call.board_type = text_or_empty(type);
    call.device = text_or_empty(device);
    call.board = number;
    return perform(std::move(call), [&](Call& noted) -> std::uint32_t {
        if (type == nullptr || device == nullptr || handle == nullptr)
            return NULL_POINTER;
        *handle = nullptr;
        if (!mistake_.empty())
            return BAD_RACK;
        const BoardName name{type, number};
        const auto board =
            std::ranges::find_if(boards_, [&](const auto& each) { return each->settings.name == name; });
        if (board == boards_.end() || !(*board)->settings.opens)
            return NO_SUCH_BOARD;
        const bool ksb = noted.device == "ksb";
        if (!ksb && noted.device != "jtag")
            return NO_SUCH_DEVICE;
        handles_.push_back({static_cast<unsigned>(handles_.size() + 1)});
        OpenDevice opened{};
        opened.number = noted.handle = handles_.back().number;
        opened.board = static_cast<std::size_t>(board - boards_.begin());
        opened.kind = ksb ? DeviceKind::ksb : DeviceKind::jtag;
        open_.push_back(std::move(opened));
        *handle = &handles_.back();
        return SUCCESS;
    });
}

// A message that is still open is dropped with its handle, so that an aborted load harms no later run.
std::uint32_t Rack::close(MW_HANDLE** handle)
{
    return perform({.function = Function::MwClose}, [&](Call& noted) -> std::uint32_t {
        if (handle == nullptr)
            return NULL_POINTER;
        OpenDevice* device = find(*handle);
        if (device == nullptr)
            return *handle == nullptr ? NULL_POINTER : UNKNOWN_HANDLE;
        noted.handle = device->number;
        if (device->sending)
            module_at(device->sending->place)->drop_message();
        open_.erase(open_.begin() + (device - open_.data()));
        *handle = nullptr;
        return SUCCESS;
    });
}

std::uint32_t Rack::error_text(std::uint32_t code, char* text)
{
    return perform({.function = Function::MwErr2Text, .code = code}, [&](Call&) -> std::uint32_t {
        if (text == nullptr)
            return NULL_POINTER;
        const auto planned =
            std::ranges::find(planned_texts_, code, &std::pair<std::uint32_t, std::string>::first);
        if (planned != planned_texts_.end())
            copy_text<ERROR_TEXT_SIZE>(text, planned->second);
        else if (code == BAD_RACK && !mistake_.empty())
            copy_text<ERROR_TEXT_SIZE>(text, mistake_);
        else
            copy_text<ERROR_TEXT_SIZE>(text, own_text(code));
        return SUCCESS;
    });
}

std::uint32_t Rack::board_info(const char* type, std::uint16_t number, std::uint32_t* record)
{
    constexpr std::size_t WORDS_A_SLOT = 5;
    Call call{.function = Function::MwGetBoardInfo};
    call.board_type = text_or_empty(type);
    call.board = number;
    return perform(std::move(call), [&](Call&) -> std::uint32_t {
        if (type == nullptr || record == nullptr)
            return NULL_POINTER;
        if (!mistake_.empty())
            return BAD_RACK;
        const BoardState* board = find_board({type, number});
        if (board == nullptr || !board->settings.opens)
            return NO_SUCH_BOARD;
        *record++ = board->settings.info_word;
        for (const auto& module : board->slots) {
            const auto words =
                module != nullptr ? module->info_words() : std::array<std::uint32_t, WORDS_A_SLOT>{};
            record = std::ranges::copy(words, record).out;
        }
        return SUCCESS;
    });
}

std::uint32_t Rack::device_info(MW_HANDLE* handle, char* type, std::uint16_t* number, std::uint32_t* kind)
{
    return perform({.function = Function::MwGetDeviceInfo}, [&](Call& noted) -> std::uint32_t {
        noted.handle = number_of(handle);
        if (handle == nullptr || type == nullptr || number == nullptr || kind == nullptr)
            return NULL_POINTER;
        const OpenDevice* device = find(handle);
        if (device == nullptr)
            return UNKNOWN_HANDLE;
        const BoardName& name = boards_[device->board]->settings.name;
        copy_text<BOARD_TYPE_SIZE>(type, name.type);
        *number = name.number;
        *kind = static_cast<std::uint32_t>(device->kind);
        return SUCCESS;
    });
}

std::uint32_t Rack::init_io_status(MW_HANDLE* handle, std::uint32_t* status)
{
    return perform({.function = Function::MwInitIoStatus}, [&](Call& noted) -> std::uint32_t {
        noted.handle = number_of(handle);
        if (handle == nullptr || status == nullptr)
            return NULL_POINTER;
        if (find(handle) == nullptr)
            return UNKNOWN_HANDLE;
        *status = 0;
        return SUCCESS;
    });
}

std::uint32_t Rack::send(Function function, MW_HANDLE* handle, std::uint32_t type,
                         std::optional<std::uint32_t> board, std::uint32_t slot, const void* data,
                         std::uint32_t length, std::uint32_t timeout)
{
    Call call{.function = function};
    call.board = board.value_or(0);
    call.slot = slot;
    call.type = type;
    call.length = length;
    call.timeout = timeout;
    return perform(std::move(call), [&](Call& noted) -> std::uint32_t {
        noted.handle = number_of(handle);
        if (data == nullptr && length != 0)
            return NULL_POINTER;
        if (keep_journal_ && length != 0)
            noted.data.assign(static_cast<const char*>(data), length);
        OpenDevice* device = nullptr;
        if (const std::uint32_t code = find_bus(handle, device))
            return code;
        Place place;
        if (const std::uint32_t code = find_free_module(*device, board, slot, place))
            return code;
        // A whole message travels with the same two bytes in front as one that is sent in pieces.
        const unsigned bus = bus_number(*device);
        const std::array<std::uint8_t, 2> header{static_cast<std::uint8_t>(type),
                                                 static_cast<std::uint8_t>(bus << 3 | 5)};
        ModuleModel& module = *module_at(place);
        module.begin_message(bus);
        module.take(header);
        module.take(bytes_of(data, length));
        spend(*device, 1, header.size() + length);
        return queue_reply(*device, place, module.end_message());
    });
}

std::uint32_t Rack::receive(Function function, MW_HANDLE* handle, std::uint8_t* type,
                            std::optional<std::uint32_t> board, std::uint32_t slot, void* data,
                            std::uint32_t size, std::uint32_t* received, std::uint32_t timeout)
{
    Call call{.function = function};
    call.board = board.value_or(0);
    call.slot = slot;
    call.length = size;
    call.timeout = timeout;
    return perform(std::move(call), [&](Call& noted) -> std::uint32_t {
        noted.handle = number_of(handle);
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
        // What does not fit into the caller's buffer is lost.
        const std::vector<std::uint8_t>& bytes = reply->message.data;
        const std::size_t count = std::min<std::size_t>(bytes.size(), size);
        if (count != 0)
            std::memcpy(data, bytes.data(), count);
        *type = reply->message.type;
        *received = static_cast<std::uint32_t>(count);
        noted.type = reply->message.type;
        noted.data.assign(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
        spend(*device, 1, bytes.size() + 1);
        device->replies.erase(reply);
        return SUCCESS;
    });
}

std::uint32_t Rack::start_send(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                               std::uint32_t timeout)
{
    Call call{.function = Function::MwKSBStartSendMessageEx};
    call.board = board;
    call.slot = slot;
    call.timeout = timeout;
    return perform(std::move(call), [&](Call& noted) -> std::uint32_t {
        noted.handle = number_of(handle);
        OpenDevice* device = nullptr;
        if (const std::uint32_t code = find_bus(handle, device))
            return code;
        Place place;
        if (const std::uint32_t code = find_free_module(*device, board, slot, place))
            return code;
        device->sending = Sending{place};
        module_at(place)->begin_message(bus_number(*device));
        spend(*device, 1, 0);
        return SUCCESS;
    });
}

std::uint32_t Rack::send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                              std::uint32_t timeout)
{
    Call call{.function = Function::MwKSBSendMessageDataEx};
    call.length = length;
    call.timeout = timeout;
    return perform(std::move(call), [&](Call& noted) -> std::uint32_t {
        noted.handle = number_of(handle);
        if (data == nullptr && length != 0)
            return NULL_POINTER;
        if (keep_journal_ && length != 0)
            noted.data.assign(static_cast<const char*>(data), length);
        OpenDevice* device = nullptr;
        if (const std::uint32_t code = find_bus(handle, device))
            return code;
        if (!device->sending)
            return NO_OPEN_MESSAGE;
        Sending& sending = *device->sending;
        ModuleModel& module = *module_at(sending.place);
        const std::vector<LinkFault>& faults = boards_[device->board]->settings.link_faults;
        spend(*device, 0, length);
        if (faults.empty()) {
            module.take(bytes_of(data, length));
            sending.bytes += length;
            return SUCCESS;
        }
        for (std::uint8_t byte : bytes_of(data, length)) {
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
        return SUCCESS;
    });
}

std::uint32_t Rack::end_send(MW_HANDLE* handle, std::uint32_t timeout)
{
    Call call{.function = Function::MwKSBEndOfSendMessageEx};
    call.timeout = timeout;
    return perform(std::move(call), [&](Call& noted) -> std::uint32_t {
        noted.handle = number_of(handle);
        OpenDevice* device = nullptr;
        if (const std::uint32_t code = find_bus(handle, device))
            return code;
        if (!device->sending)
            return NO_OPEN_MESSAGE;
        const Sending sent = *std::exchange(device->sending, std::nullopt);
        ModuleModel& module = *module_at(sent.place);
        spend(*device, 1, 0);
        if (sent.bytes == 0) {
            module.drop_message();
            return MESSAGE_EMPTY;
        }
        return queue_reply(*device, sent.place, module.end_message());
    });
}

std::uint32_t Rack::start_receive(MW_HANDLE* handle, std::uint32_t* type, std::uint32_t timeout)
{
    Call call{.function = Function::MwKSBStartReceiveMessageEx};
    call.timeout = timeout;
    return perform(std::move(call), [&](Call& noted) -> std::uint32_t {
        noted.handle = number_of(handle);
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
        *type = noted.type = device->receiving->message.type;
        spend(*device, 1, 1);
        return SUCCESS;
    });
}

std::uint32_t Rack::receive_data(MW_HANDLE* handle, void* data, std::uint32_t size, std::uint32_t* received,
                                 std::uint32_t timeout)
{
    Call call{.function = Function::MwKSBReceiveMessageDataEx};
    call.length = size;
    call.timeout = timeout;
    return perform(std::move(call), [&](Call& noted) -> std::uint32_t {
        noted.handle = number_of(handle);
        if (received == nullptr || (data == nullptr && size != 0))
            return NULL_POINTER;
        OpenDevice* device = nullptr;
        if (const std::uint32_t code = find_bus(handle, device))
            return code;
        if (!device->receiving)
            return NO_OPEN_REPLY;
        Receiving& reply = *device->receiving;
        const std::size_t count = std::min<std::size_t>(reply.message.data.size() - reply.taken, size);
        const std::uint8_t* next = reply.message.data.data() + reply.taken;
        if (count != 0) {
            std::memcpy(data, next, count);
            noted.data.assign(next, next + count);
        }
        reply.taken += count;
        *received = static_cast<std::uint32_t>(count);
        spend(*device, 0, count);
        return SUCCESS;
    });
}

std::uint32_t Rack::end_receive(MW_HANDLE* handle, std::uint32_t timeout)
{
    Call call{.function = Function::MwKSBEndOfReceiveMessageEx};
    call.timeout = timeout;
    return perform(std::move(call), [&](Call& noted) -> std::uint32_t {
        noted.handle = number_of(handle);
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
