// SPDX-License-Identifier: Apache-2.0
// A platform for tests and fuzz targets.
#include "support/fake_platform.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <span>
#include <stdexcept>
#include <utility>

struct FakeHandle {
    std::string type;
    std::uint16_t number = 0;
    std::uint32_t kind = 3;
    KindWidth width = KindWidth::bits32;
    bool is_callers = false;
    bool is_open = true;
    std::uint32_t io_statuses = 0;

    // The message being sent in pieces, the module it goes to, and the one that will answer it.
    bool sending = false;
    bool receiving = false;
    Module* receiver = nullptr;
    Module* answering = nullptr;
    // The query that waits for its reply.
    Module* queried = nullptr;
    std::uint32_t query = 0;

    [[nodiscard]] bool is_idle() const
    {
        return !sending && !receiving && answering == nullptr && queried == nullptr;
    }
};

namespace
{
/// A call on a handle that is not open. The functions of the API make a failure of it.
class UnknownHandle : public std::runtime_error
{
public:
    UnknownHandle() : std::runtime_error{"the handle is not open"} {}
};

void expect(bool condition, const char* rule)
{
    if (!condition)
        report_broken_rule(rule);
}

constexpr std::uint32_t TIMEOUT = 5000;
constexpr std::uint32_t TYPE_QUERY = 1;
constexpr std::uint32_t COMPRESSION_QUERY = 11;

std::string number(std::uint32_t value)
{
    return std::to_string(value);
}

std::string hexadecimal(std::uint32_t value)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", value);
    return text;
}

std::string quoted(const char* text)
{
    return text == nullptr ? "null" : '"' + std::string{text} + '"';
}

std::string timeout_text(std::uint32_t timeout)
{
    if (timeout != TIMEOUT)
        report_broken_rule("a call with the time-out " + number(timeout));
    return " timeout " + number(timeout);
}

std::string on(const FakeHandle& handle)
{
    return handle.is_callers ? " on caller handle" : "";
}

void expect_board(const char* type, std::uint32_t number)
{
    expect(std::strlen(type) < 32 && number < 16, "a board whose name is out of range");
}

/// Gives the bytes that fit into the caller's buffer. @return their number, as the module claims it
std::uint32_t give(const Module& module, std::span<const std::uint8_t> bytes, void* data, std::uint32_t size)
{
    const auto length = static_cast<std::uint32_t>(std::min<std::size_t>(bytes.size(), size));
    std::copy_n(bytes.begin(), length, static_cast<std::uint8_t*>(data));
    return length + module.claimed;
}
} // namespace

Module& Module::set(std::size_t index, std::uint8_t value)
{
    record.at(index) = value;
    return *this;
}

Module& Module::device(std::string_view name)
{
    std::fill(record.begin() + 3, record.begin() + 29, std::uint8_t{0});
    std::copy_n(name.begin(), std::min<std::size_t>(name.size(), 26), record.begin() + 3);
    return *this;
}

Module& Module::accepts_compressed(bool yes)
{
    compression_reply = {static_cast<std::uint8_t>(yes ? 1 : 0)};
    return set(29, compression_reply.front());
}

Bytes Module::received() const
{
    if (loads.empty() || loads.back().size() < 2)
        return {};
    return {loads.back().begin() + 2, loads.back().end()};
}

Bytes Module::received_header() const
{
    if (loads.empty())
        return {};
    const Bytes& load = loads.back();
    return {load.begin(), load.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(2, load.size()))};
}

Module fpga_module(std::uint8_t model)
{
    Module module;
    return module.type(2).model(model).version(1).device("2v3000fg676-4");
}

Module io_module(std::uint8_t model)
{
    return fpga_module(model).type(4);
}

Module processor_module()
{
    Module module;
    module.info[1] = 1;
    return module;
}

Module module_without_bus()
{
    Module module;
    module.info[2] = 0;
    return module;
}

Module& FakeBoard::slot(std::uint32_t number, const Module& module)
{
    return slots_[number] = module;
}

Module* FakeBoard::module_in(std::uint32_t number)
{
    const auto found = slots_.find(number);
    return found == slots_.end() ? nullptr : &found->second;
}

FakePlatform::FakePlatform() = default;
FakePlatform::~FakePlatform() = default;

FakeBoard& FakePlatform::board(const std::string& type, std::uint16_t number)
{
    return boards_[{type, number}];
}

FakeHandle& FakePlatform::new_handle(const std::string& type, std::uint16_t number, std::uint32_t kind)
{
    FakeHandle& handle = *handles_.emplace_back(std::make_unique<FakeHandle>());
    handle.type = type;
    handle.number = number;
    handle.kind = kind;
    return handle;
}

MW_HANDLE* FakePlatform::caller_handle(const std::string& type, std::uint16_t number, std::uint32_t kind,
                                       KindWidth width)
{
    FakeHandle& handle = new_handle(type, number, kind);
    handle.width = width;
    handle.is_callers = true;
    return mwapi::to_handle(&handle);
}

MW_HANDLE* FakePlatform::opened_bus(const std::string& type, std::uint16_t number)
{
    return mwapi::to_handle(&new_handle(type, number, 3));
}

int FakePlatform::open_handles() const
{
    return static_cast<int>(std::count_if(handles_.begin(), handles_.end(), [](const auto& handle) {
        return handle->is_open && !handle->is_callers;
    }));
}

void FakePlatform::fail_call(int n, std::uint32_t code)
{
    failing_calls_.push_back({n, code});
}

void FakePlatform::fail(const std::string& function, int n, std::uint32_t code)
{
    failing_functions_.insert({function, {n, code}});
}

void FakePlatform::fail_nothing()
{
    failing_calls_.clear();
    failing_functions_.clear();
}

std::vector<std::string> FakePlatform::journal() const
{
    std::vector<std::string> lines;
    for (const std::string& line : log)
        if (line.starts_with("* "))
            lines.push_back(line.substr(2));
    return lines;
}

std::uint32_t FakePlatform::call(const std::string& function, const std::string& arguments)
{
    expect(!failed || !stops_at_failure, "a call after one that failed");
    if (logs_data || (function != "SendMessageDataEx" && function != "ReceiveMessageDataEx"))
        note(function + arguments);
    ++calls_;
    std::uint32_t code = 0;
    const auto count_down = [&code](PlannedFailure& failure) {
        if (--failure.calls_left == 0)
            code = failure.code;
    };
    std::for_each(failing_calls_.begin(), failing_calls_.end(), count_down);
    const auto [first, last] = failing_functions_.equal_range(function);
    std::for_each(first, last, [&count_down](auto& planned) { count_down(planned.second); });
    failed = failed || code != 0;
    return code;
}

FakeHandle& FakePlatform::open_handle(MW_HANDLE* handle, const char* function)
{
    const auto found = std::find_if(handles_.begin(), handles_.end(), [handle](const auto& known) {
        return mwapi::to_handle(known.get()) == handle;
    });
    if (found != handles_.end() && (*found)->is_open)
        return **found;
    report_broken_rule(function + std::string{" on a handle that is not open"});
    throw UnknownHandle{};
}

FakeBoard* FakePlatform::find_board(const std::string& type, std::uint32_t number)
{
    if (every_board != nullptr)
        return every_board;
    const auto found = boards_.find({type, static_cast<std::uint16_t>(number)});
    return found == boards_.end() ? nullptr : &found->second;
}

Module* FakePlatform::find_module(const FakeHandle& handle, std::uint32_t board_number, std::uint32_t slot)
{
    // The bus of a board reaches the boards beside it.
    if (FakeBoard* own = find_board(handle.type, board_number))
        return own->module_in(slot);
    for (auto& [name, other] : boards_)
        if (name.second == board_number)
            return other.module_in(slot);
    return nullptr;
}

std::uint32_t FakePlatform::open(const char* type, std::uint16_t board, const char* device,
                                 MW_HANDLE** handle, std::uint32_t* reserved)
{
    expect(handle != nullptr && *handle == nullptr, "MwOpenS without a cleared handle");
    expect(reserved != nullptr && *reserved == 0, "MwOpenS without a word set to 0");
    expect_board(type, board);
    std::uint32_t code = call("OpenS", ' ' + quoted(type) + ' ' + number(board) + ' ' + quoted(device));
    if (code == 0 && find_board(type, board) == nullptr)
        code = NO_SUCH_BOARD;
    if (code == 0)
        ++opens;
    if (code == 0 || failing_open_stores_handle)
        *handle = mwapi::to_handle(&new_handle(type, board, 3));
    return code;
}

std::uint32_t FakePlatform::close(MW_HANDLE** handle)
{
    FakeHandle& bus = open_handle(*handle, "MwClose");
    note("Close" + on(bus));
    expect(!bus.is_callers, "a caller's handle is closed");
    bus.is_open = false;
    if (close_clears_handle)
        *handle = nullptr;
    // The result is ignored, whatever it is.
    return 0x55;
}

std::uint32_t FakePlatform::error_text(std::uint32_t code, char* text)
{
    note("Err2Text " + hexadecimal(code));
    const auto found = error_texts_.find(code);
    const std::string words = found == error_texts_.end() ? "api " + hexadecimal(code) : found->second;
    std::memset(text, 0, mwapi::ERROR_TEXT_SIZE);
    words.copy(text, mwapi::ERROR_TEXT_SIZE);
    return 0x56;
}

std::uint32_t FakePlatform::board_info(const char* type, std::uint16_t board_number, std::uint32_t* record)
{
    constexpr std::size_t words_of_a_long_record = 64;
    expect_board(type, board_number);
    expect(record[0] == 0, "MwGetBoardInfo with a record that does not begin with 0");
    const std::uint32_t code = call("GetBoardInfo", ' ' + quoted(type) + ' ' + number(board_number));
    if (code != 0)
        return code;
    std::fill_n(record, words_of_a_long_record, 0U);
    FakeBoard* shown = find_board(type, board_number);
    for (std::uint32_t slot = 1; shown != nullptr && slot <= 4; ++slot)
        if (const Module* module = shown->module_in(slot))
            std::ranges::copy(module->info, record + (5 * slot - 4));
    return 0;
}

std::uint32_t FakePlatform::device_info(MW_HANDLE* handle, char* type, std::uint16_t* board_number,
                                        std::uint32_t* kind)
{
    FakeHandle& bus = open_handle(handle, "MwGetDeviceInfo");
    expect(*kind == 0, "MwGetDeviceInfo with a kind that is not cleared");
    const std::uint32_t code = call("GetDeviceInfo", on(bus));
    if (code != 0)
        return code;
    std::memset(type, 0, mwapi::BOARD_TYPE_SIZE);
    bus.type.copy(type, mwapi::BOARD_TYPE_SIZE);
    *board_number = bus.number;
    if (bus.width == KindWidth::bits16) {
        const auto narrow = static_cast<std::uint16_t>(bus.kind);
        std::memcpy(kind, &narrow, sizeof narrow);
    } else {
        *kind = bus.kind;
    }
    return 0;
}

std::uint32_t FakePlatform::init_io_status(MW_HANDLE* handle, std::uint32_t* status)
{
    FakeHandle& bus = open_handle(handle, "MwInitIoStatus");
    expect(*status == 0, "MwInitIoStatus with a status that is not cleared");
    const std::uint32_t code = call("InitIoStatus", on(bus));
    if (code == 0)
        *status = 0x10000 + ++bus.io_statuses;
    return code;
}

std::uint32_t FakePlatform::send_whole(const char* function, const std::string& where, MW_HANDLE* handle,
                                       std::uint32_t type, std::optional<std::uint32_t> board,
                                       std::uint32_t slot, const void* data, std::uint32_t length,
                                       std::uint32_t timeout)
{
    FakeHandle& bus = open_handle(handle, function);
    expect(data == nullptr && length == 0, "a query with data");
    expect(bus.is_idle(), "a query inside a message");
    const std::uint32_t code = call(function, " type " + number(type) + where + " length " + number(length) +
                                                  timeout_text(timeout) + on(bus));
    if (code != 0)
        return code;
    Module* module = find_module(bus, board.value_or(bus.number), slot);
    if (module == nullptr)
        return NO_MODULE_IN_SLOT;
    expect(type == TYPE_QUERY || type == COMPRESSION_QUERY, "a message of an unknown type");
    bus.queried = module;
    bus.query = type;
    return 0;
}

std::uint32_t FakePlatform::receive_whole(const char* function, const std::string& where, MW_HANDLE* handle,
                                          std::uint8_t* type, std::optional<std::uint32_t> board,
                                          std::uint32_t slot, void* data, std::uint32_t size,
                                          std::uint32_t* received, std::uint32_t timeout)
{
    FakeHandle& bus = open_handle(handle, function);
    expect(*type == 0 && *received == 0,
           "MwKSBReceiveMessage or MwKSBReceiveMessageEx with a type or a count that is not cleared");
    const std::uint32_t code =
        call(function, where + " size " + number(size) + timeout_text(timeout) + on(bus));
    Module* module = std::exchange(bus.queried, nullptr);
    if (code != 0)
        return code;
    if (module == nullptr || module != find_module(bus, board.value_or(bus.number), slot)) {
        report_broken_rule(function + std::string{" without a request to that module"});
        return NO_MODULE_IN_SLOT;
    }
    const bool is_type = bus.query == TYPE_QUERY;
    *type = is_type ? module->type_reply_type : module->compression_reply_type;
    *received = is_type ? give(*module, module->record, data, size)
                        : give(*module, module->compression_reply, data, size);
    return 0;
}

std::uint32_t FakePlatform::start_send(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                                       std::uint32_t timeout)
{
    FakeHandle& bus = open_handle(handle, "MwKSBStartSendMessageEx");
    expect(board < 16 && slot < 16, "an address out of range");
    expect(bus.is_idle(), "a message begun inside another");
    const std::uint32_t code = call("StartSendMessageEx", " board " + number(board) + " slot " +
                                                              number(slot) + timeout_text(timeout) + on(bus));
    if (code != 0)
        return code;
    bus.receiver = find_module(bus, board, slot);
    if (bus.receiver == nullptr)
        return NO_MODULE_IN_SLOT;
    bus.receiver->loads.emplace_back();
    bus.sending = true;
    return 0;
}

std::uint32_t FakePlatform::send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                                      std::uint32_t timeout)
{
    FakeHandle& bus = open_handle(handle, "MwKSBSendMessageDataEx");
    expect(bus.sending, "data outside a message");
    expect(data != nullptr && length > 0 && length <= 8, "a piece of other than 1 to 8 bytes");
    const std::string text = logs_data ? ' ' + hex(data, length) : "";
    const std::uint32_t code = call("SendMessageDataEx", text + timeout_text(timeout) + on(bus));
    if (code == 0 && bus.sending) {
        const auto* first = static_cast<const std::uint8_t*>(data);
        Bytes& load = bus.receiver->loads.back();
        load.insert(load.end(), first, first + length);
    }
    return code;
}

std::uint32_t FakePlatform::end_send(MW_HANDLE* handle, std::uint32_t timeout)
{
    FakeHandle& bus = open_handle(handle, "MwKSBEndOfSendMessageEx");
    expect(bus.sending, "the end of a message that was not begun");
    const std::uint32_t code = call("EndOfSendMessageEx", timeout_text(timeout) + on(bus));
    if (code == 0) {
        bus.sending = false;
        bus.answering = bus.receiver;
        ++complete_loads;
    }
    return code;
}

std::uint32_t FakePlatform::start_receive(MW_HANDLE* handle, std::uint32_t* type, std::uint32_t timeout)
{
    FakeHandle& bus = open_handle(handle, "MwKSBStartReceiveMessageEx");
    expect(bus.answering != nullptr, "a reply without a load");
    expect(*type == 0, "MwKSBStartReceiveMessageEx with a type that is not cleared");
    const std::uint32_t code = call("StartReceiveMessageEx", timeout_text(timeout) + on(bus));
    if (code == 0 && bus.answering != nullptr) {
        *type = bus.answering->load_reply_type;
        bus.receiving = true;
    }
    return code;
}

std::uint32_t FakePlatform::receive_data(MW_HANDLE* handle, void* data, std::uint32_t size,
                                         std::uint32_t* received, std::uint32_t timeout)
{
    FakeHandle& bus = open_handle(handle, "MwKSBReceiveMessageDataEx");
    expect(bus.receiving, "reply data outside a reply");
    expect(*received == 0, "MwKSBReceiveMessageDataEx with a count that is not cleared");
    const std::uint32_t code =
        call("ReceiveMessageDataEx", " size " + number(size) + timeout_text(timeout) + on(bus));
    if (code == 0 && bus.answering != nullptr) {
        const Bytes& verdict = bus.answering->verdict;
        *received = give(*bus.answering, verdict, data, size);
        last_verdict = verdict.empty() ? 0 : verdict.front();
    }
    return code;
}

std::uint32_t FakePlatform::end_receive(MW_HANDLE* handle, std::uint32_t timeout)
{
    FakeHandle& bus = open_handle(handle, "MwKSBEndOfReceiveMessageEx");
    expect(bus.receiving, "the end of a reply that was not begun");
    const std::uint32_t code = call("EndOfReceiveMessageEx", timeout_text(timeout) + on(bus));
    if (code == 0)
        ++verdicts_read;
    bus.receiving = false;
    bus.answering = nullptr;
    return code;
}

std::uint32_t FakePlatform::send(MW_HANDLE* handle, std::uint32_t type, std::uint32_t slot, const void* data,
                                 std::uint32_t length, std::uint32_t timeout)
{
    return send_whole("SendMessage", " slot " + number(slot), handle, type, std::nullopt, slot, data, length,
                      timeout);
}

std::uint32_t FakePlatform::receive(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t slot, void* data,
                                    std::uint32_t size, std::uint32_t* received, std::uint32_t timeout)
{
    return receive_whole("ReceiveMessage", " slot " + number(slot), handle, type, std::nullopt, slot, data,
                         size, received, timeout);
}

std::uint32_t FakePlatform::send_ex(MW_HANDLE* handle, std::uint32_t type, std::uint32_t board,
                                    std::uint32_t slot, const void* data, std::uint32_t length,
                                    std::uint32_t timeout)
{
    return send_whole("SendMessageEx", " board " + number(board) + " slot " + number(slot), handle, type,
                      board, slot, data, length, timeout);
}

std::uint32_t FakePlatform::receive_ex(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t board,
                                       std::uint32_t slot, void* data, std::uint32_t size,
                                       std::uint32_t* received, std::uint32_t timeout)
{
    return receive_whole("ReceiveMessageEx", " board " + number(board) + " slot " + number(slot), handle,
                         type, board, slot, data, size, received, timeout);
}
