// SPDX-License-Identifier: Apache-2.0
// The platform of the fuzz targets.
#include "watched_platform.h"

#include "mwapi_forward.h"

#include <cstring>

struct WatchedHandle {
    bool is_callers = false;
    bool is_open = true;
    bool sending = false;
    bool receiving = false;
    bool awaiting_reply = false; ///< a load has ended
    std::uint32_t slot = 0;      ///< of the load
    // The query that waits for its answer.
    std::uint32_t query = 0;
    std::uint32_t queried_board = 0;
    std::uint32_t queried_slot = 0;
};

namespace
{
constexpr std::uint32_t TIMEOUT = 5000;
constexpr std::uint32_t TYPE_QUERY = 1;
constexpr std::uint32_t COMPRESSION_QUERY = 11;
constexpr std::size_t RECORD_SIZE = 30;
constexpr std::uint32_t THIS_BOARD = 0xFFFF;

/// The bytes that fit into the caller's buffer.
std::uint32_t give(const Bytes& bytes, void* data, std::uint32_t size)
{
    const std::size_t length = std::min<std::size_t>(bytes.size(), size);
    if (length > 0)
        std::memcpy(data, bytes.data(), length);
    return static_cast<std::uint32_t>(length);
}
} // namespace

WatchedSlot::WatchedSlot() : record(RECORD_SIZE)
{
    record[0] = 2;
    record[1] = 4;
    record[2] = 1;
    device("2v3000fg676-4");
}

WatchedSlot& WatchedSlot::device(const std::string& name)
{
    constexpr std::size_t first = 3;
    constexpr std::size_t longest = 26;
    std::fill_n(record.begin() + first, longest, std::uint8_t{0});
    std::copy_n(name.begin(), std::min(name.size(), longest), record.begin() + first);
    return *this;
}

WatchedPlatform::WatchedPlatform()
{
    mwapi::install(*this);
}

WatchedPlatform::~WatchedPlatform()
{
    mwapi::uninstall();
}

WatchedHandle& WatchedPlatform::new_handle(bool is_callers)
{
    handles_.push_back(std::make_unique<WatchedHandle>());
    handles_.back()->is_callers = is_callers;
    return *handles_.back();
}

MW_HANDLE* WatchedPlatform::callers_handle()
{
    return mwapi::to_handle(&new_handle(true));
}

MW_HANDLE* WatchedPlatform::opened_bus()
{
    return mwapi::to_handle(&new_handle(true));
}

void WatchedPlatform::require_closed() const
{
    for (const auto& handle : handles_)
        require(handle->is_callers || !handle->is_open, "every bus that was opened is closed");
}

std::uint32_t WatchedPlatform::call()
{
    require(!failed, "nothing is called after a call that failed");
    ++calls;
    failed = calls == failing_call;
    return failed ? failure_code : 0;
}

WatchedHandle& WatchedPlatform::require_open(MW_HANDLE* handle) const
{
    for (const auto& known : handles_)
        if (mwapi::to_handle(known.get()) == handle && known->is_open)
            return *known;
    broken("calls are made on open handles alone");
}

std::uint32_t WatchedPlatform::open(const char* board_type, std::uint16_t board_number, const char* device,
                                    MW_HANDLE** handle, std::uint32_t* reserved)
{
    require(std::strlen(board_type) < 32 && board_number < 16, "the board's name is in range");
    require(std::strcmp(device, "ksb") == 0, "the serial bus is opened");
    require(*handle == nullptr && *reserved == 0, "handle and reserved word are cleared");
    const std::uint32_t code = call();
    if (code == 0)
        ++opens;
    if (code == 0 || failing_open_stores_handle)
        *handle = mwapi::to_handle(&new_handle(false));
    return code;
}

std::uint32_t WatchedPlatform::close(MW_HANDLE** handle)
{
    WatchedHandle& bus = require_open(*handle);
    require(!bus.is_callers, "a caller's handle is never closed");
    bus.is_open = false;
    if (close_clears_handle)
        *handle = nullptr;
    return 0x55; // ignored, whatever it is
}

std::uint32_t WatchedPlatform::error_text(std::uint32_t /*code*/, char* text)
{
    constexpr std::size_t size = 256;
    if (error_words_fill_the_buffer)
        std::memset(text, '%', size);
    else
        text[error_words.copy(text, size - 1)] = '\0';
    return 0;
}

std::uint32_t WatchedPlatform::board_info(const char* board_type, std::uint16_t board_number,
                                          std::uint32_t* record)
{
    constexpr std::size_t words_a_slot = 5;
    require(std::strlen(board_type) < 32 && board_number < 16, "the board's name is in range");
    require(record[0] == 0, "the record begins with 0");
    const std::uint32_t code = call();
    for (std::size_t slot = 0; code == 0 && slot < slots.size(); ++slot)
        std::copy_n(slots[slot].info.begin(), words_a_slot, record + 1 + slot * words_a_slot);
    return code;
}

std::uint32_t WatchedPlatform::device_info(MW_HANDLE* handle, char* board_type, std::uint16_t* board_number,
                                           std::uint32_t* kind)
{
    constexpr std::size_t size = 32;
    (void)require_open(handle);
    require(*kind == 0, "the kind is cleared");
    const std::uint32_t code = call();
    if (code == 0) {
        std::memset(board_type, 0, size);
        handle_board_type.copy(board_type, size); // perhaps without a terminating zero
        *board_number = handle_board_number;
        *kind = handle_kind;
    }
    return code;
}

std::uint32_t WatchedPlatform::init_io_status(MW_HANDLE* handle, std::uint32_t* io_status)
{
    (void)require_open(handle);
    const std::uint32_t code = call();
    *io_status = 0x5A5A5A5A;
    return code;
}

std::uint32_t WatchedPlatform::query(MW_HANDLE* handle, std::uint32_t type, std::uint32_t board,
                                     std::uint32_t slot, std::uint32_t timeout)
{
    WatchedHandle& bus = require_open(handle);
    require(timeout == TIMEOUT, "the time-out is 5000");
    require(type == TYPE_QUERY || type == COMPRESSION_QUERY, "only two queries are known");
    require(!bus.sending && !bus.receiving && !bus.awaiting_reply && bus.query == 0,
            "a query stands between other messages");
    const std::uint32_t code = call();
    if (code == 0) {
        bus.query = type;
        bus.queried_board = board;
        bus.queried_slot = slot;
    }
    return code;
}

std::uint32_t WatchedPlatform::reply(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t board,
                                     std::uint32_t slot, void* data, std::uint32_t size,
                                     std::uint32_t* received, std::uint32_t timeout)
{
    WatchedHandle& bus = require_open(handle);
    require(timeout == TIMEOUT, "the time-out is 5000");
    require(bus.query != 0 && bus.queried_board == board && bus.queried_slot == slot,
            "a reply is wanted of the module that was asked");
    const std::uint32_t code = call();
    if (code == 0) {
        const WatchedSlot& module = slots[(slot - 1) % 4];
        const bool identity = bus.query == TYPE_QUERY;
        *type = identity ? module.type_reply : module.compression_reply;
        const std::uint32_t length = give(identity ? module.record : module.compression_answer, data, size);
        *received = length + module.claimed;
    }
    bus.query = 0;
    return code;
}

std::uint32_t WatchedPlatform::send(MW_HANDLE* handle, std::uint32_t type, std::uint32_t slot,
                                    const void* /*data*/, std::uint32_t /*length*/, std::uint32_t timeout)
{
    return query(handle, type, THIS_BOARD, slot, timeout);
}

std::uint32_t WatchedPlatform::receive(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t slot, void* data,
                                       std::uint32_t size, std::uint32_t* received, std::uint32_t timeout)
{
    return reply(handle, type, THIS_BOARD, slot, data, size, received, timeout);
}

std::uint32_t WatchedPlatform::send_ex(MW_HANDLE* handle, std::uint32_t type, std::uint32_t board,
                                       std::uint32_t slot, const void* /*data*/, std::uint32_t /*length*/,
                                       std::uint32_t timeout)
{
    require(board < 16 && slot < 16, "an address is in range");
    return query(handle, type, board, slot, timeout);
}

std::uint32_t WatchedPlatform::receive_ex(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t board,
                                          std::uint32_t slot, void* data, std::uint32_t size,
                                          std::uint32_t* received, std::uint32_t timeout)
{
    return reply(handle, type, board, slot, data, size, received, timeout);
}

std::uint32_t WatchedPlatform::start_send(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                                          std::uint32_t timeout)
{
    require(board < 16 && slot < 16, "an address is in range");
    WatchedHandle& bus = require_open(handle);
    require(timeout == TIMEOUT, "the time-out is 5000");
    require(!bus.sending && !bus.receiving && !bus.awaiting_reply && bus.query == 0,
            "a message begins between other messages");
    const std::uint32_t code = call();
    if (code == 0) {
        bus.sending = true;
        bus.slot = slot;
        loads.emplace_back();
    }
    return code;
}

std::uint32_t WatchedPlatform::send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                                         std::uint32_t timeout)
{
    constexpr std::uint32_t largest_piece = 8;
    WatchedHandle& bus = require_open(handle);
    require(timeout == TIMEOUT, "the time-out is 5000");
    require(bus.sending, "data is sent inside a message alone");
    require(data != nullptr && length > 0 && length <= largest_piece, "a piece has 1 to 8 bytes");
    const std::uint32_t code = call();
    if (code == 0) {
        const auto* bytes = static_cast<const std::uint8_t*>(data);
        Bytes& load = loads.back();
        load.insert(load.end(), bytes, bytes + length);
    }
    return code;
}

std::uint32_t WatchedPlatform::end_send(MW_HANDLE* handle, std::uint32_t timeout)
{
    WatchedHandle& bus = require_open(handle);
    require(timeout == TIMEOUT, "the time-out is 5000");
    require(bus.sending, "only a message that was begun is ended");
    const std::uint32_t code = call();
    if (code == 0) {
        bus.sending = false;
        bus.awaiting_reply = true;
        ++complete_loads;
    }
    return code;
}

std::uint32_t WatchedPlatform::start_receive(MW_HANDLE* handle, std::uint32_t* type, std::uint32_t timeout)
{
    require(*type == 0, "the message type is cleared");
    WatchedHandle& bus = require_open(handle);
    require(timeout == TIMEOUT, "the time-out is 5000");
    require(bus.awaiting_reply && !bus.receiving, "a verdict is read behind a load alone");
    const std::uint32_t code = call();
    if (code == 0) {
        *type = slots[(bus.slot - 1) % 4].load_reply;
        bus.receiving = true;
    }
    return code;
}

std::uint32_t WatchedPlatform::receive_data(MW_HANDLE* handle, void* data, std::uint32_t size,
                                            std::uint32_t* received, std::uint32_t timeout)
{
    WatchedHandle& bus = require_open(handle);
    require(timeout == TIMEOUT, "the time-out is 5000");
    require(bus.receiving, "reply data is read inside a reply alone");
    const std::uint32_t code = call();
    if (code == 0) {
        const WatchedSlot& module = slots[(bus.slot - 1) % 4];
        *received = give(module.verdict, data, size) + module.claimed;
        last_verdict = module.verdict.empty() ? 0 : module.verdict.front();
    }
    return code;
}

std::uint32_t WatchedPlatform::end_receive(MW_HANDLE* handle, std::uint32_t timeout)
{
    WatchedHandle& bus = require_open(handle);
    require(timeout == TIMEOUT, "the time-out is 5000");
    require(bus.receiving, "only a reply that was begun is ended");
    const std::uint32_t code = call();
    if (code == 0) {
        bus.receiving = false;
        bus.awaiting_reply = false;
        ++verdicts_read;
    }
    return code;
}

mwapi::Platform& mwapi::program_platform()
{
    broken("nothing is called without a platform");
}
