// The platform of the fuzz targets.
#include "watched_platform.h"

#include <cstring>

struct MW_HANDLE {
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
WatchedPlatform* current = nullptr;

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
    current = this;
}

WatchedPlatform::~WatchedPlatform()
{
    current = nullptr;
}

MW_HANDLE* WatchedPlatform::new_handle(bool is_callers)
{
    handles_.push_back(std::make_unique<MW_HANDLE>());
    handles_.back()->is_callers = is_callers;
    return handles_.back().get();
}

MW_HANDLE* WatchedPlatform::callers_handle()
{
    return new_handle(true);
}

MW_HANDLE* WatchedPlatform::opened_bus()
{
    return new_handle(true);
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

void WatchedPlatform::require_open(const MW_HANDLE* handle) const
{
    for (const auto& known : handles_)
        if (known.get() == handle && known->is_open)
            return;
    broken("calls are made on open handles alone");
}

struct WatchedFunctions {
    static std::uint32_t open(WatchedPlatform& platform, MW_HANDLE** handle)
    {
        const std::uint32_t code = platform.call();
        if (code == 0)
            ++platform.opens;
        if (code == 0 || platform.failing_open_stores_handle)
            *handle = platform.new_handle(false);
        return code;
    }

    static void close(WatchedPlatform& platform, MW_HANDLE** handle)
    {
        platform.require_open(*handle);
        require(!(*handle)->is_callers, "a caller's handle is never closed");
        (*handle)->is_open = false;
        if (platform.close_clears_handle)
            *handle = nullptr;
    }

    static std::uint32_t query(WatchedPlatform& platform, MW_HANDLE* handle, std::uint32_t type,
                               std::uint32_t board, std::uint32_t slot, std::uint32_t timeout)
    {
        platform.require_open(handle);
        require(timeout == TIMEOUT, "the time-out is 5000");
        require(type == TYPE_QUERY || type == COMPRESSION_QUERY, "only two queries are known");
        require(!handle->sending && !handle->receiving && !handle->awaiting_reply && handle->query == 0,
                "a query stands between other messages");
        const std::uint32_t code = platform.call();
        if (code == 0) {
            handle->query = type;
            handle->queried_board = board;
            handle->queried_slot = slot;
        }
        return code;
    }

    static std::uint32_t reply(WatchedPlatform& platform, MW_HANDLE* handle, std::uint8_t* type,
                               std::uint32_t board, std::uint32_t slot, void* data, std::uint32_t size,
                               std::uint32_t* received, std::uint32_t timeout)
    {
        platform.require_open(handle);
        require(timeout == TIMEOUT, "the time-out is 5000");
        require(handle->query != 0 && handle->queried_board == board && handle->queried_slot == slot,
                "a reply is wanted of the module that was asked");
        const std::uint32_t code = platform.call();
        if (code == 0) {
            const WatchedSlot& module = platform.slots[(slot - 1) % 4];
            const bool identity = handle->query == TYPE_QUERY;
            *type = identity ? module.type_reply : module.compression_reply;
            const std::uint32_t length =
                give(identity ? module.record : module.compression_answer, data, size);
            *received = length + module.claimed;
        }
        handle->query = 0;
        return code;
    }

    static std::uint32_t start_send(WatchedPlatform& platform, MW_HANDLE* handle, std::uint32_t slot,
                                    std::uint32_t timeout)
    {
        platform.require_open(handle);
        require(timeout == TIMEOUT, "the time-out is 5000");
        require(!handle->sending && !handle->receiving && !handle->awaiting_reply && handle->query == 0,
                "a message begins between other messages");
        const std::uint32_t code = platform.call();
        if (code == 0) {
            handle->sending = true;
            handle->slot = slot;
            platform.loads.emplace_back();
        }
        return code;
    }

    static std::uint32_t send_data(WatchedPlatform& platform, MW_HANDLE* handle, const void* data,
                                   std::uint32_t length, std::uint32_t timeout)
    {
        constexpr std::uint32_t largest_piece = 8;
        platform.require_open(handle);
        require(timeout == TIMEOUT, "the time-out is 5000");
        require(handle->sending, "data is sent inside a message alone");
        require(data != nullptr && length > 0 && length <= largest_piece, "a piece has 1 to 8 bytes");
        const std::uint32_t code = platform.call();
        if (code == 0) {
            const auto* bytes = static_cast<const std::uint8_t*>(data);
            Bytes& load = platform.loads.back();
            load.insert(load.end(), bytes, bytes + length);
        }
        return code;
    }

    static std::uint32_t end_send(WatchedPlatform& platform, MW_HANDLE* handle, std::uint32_t timeout)
    {
        platform.require_open(handle);
        require(timeout == TIMEOUT, "the time-out is 5000");
        require(handle->sending, "only a message that was begun is ended");
        const std::uint32_t code = platform.call();
        if (code == 0) {
            handle->sending = false;
            handle->awaiting_reply = true;
            ++platform.complete_loads;
        }
        return code;
    }

    static std::uint32_t start_receive(WatchedPlatform& platform, MW_HANDLE* handle, std::uint32_t* type,
                                       std::uint32_t timeout)
    {
        platform.require_open(handle);
        require(timeout == TIMEOUT, "the time-out is 5000");
        require(handle->awaiting_reply && !handle->receiving, "a verdict is read behind a load alone");
        const std::uint32_t code = platform.call();
        if (code == 0) {
            *type = platform.slots[(handle->slot - 1) % 4].load_reply;
            handle->receiving = true;
        }
        return code;
    }

    static std::uint32_t receive_data(WatchedPlatform& platform, MW_HANDLE* handle, void* data,
                                      std::uint32_t size, std::uint32_t* received, std::uint32_t timeout)
    {
        platform.require_open(handle);
        require(timeout == TIMEOUT, "the time-out is 5000");
        require(handle->receiving, "reply data is read inside a reply alone");
        const std::uint32_t code = platform.call();
        if (code == 0) {
            const WatchedSlot& module = platform.slots[(handle->slot - 1) % 4];
            *received = give(module.verdict, data, size) + module.claimed;
            platform.last_verdict = module.verdict.empty() ? 0 : module.verdict.front();
        }
        return code;
    }

    static std::uint32_t end_receive(WatchedPlatform& platform, MW_HANDLE* handle, std::uint32_t timeout)
    {
        platform.require_open(handle);
        require(timeout == TIMEOUT, "the time-out is 5000");
        require(handle->receiving, "only a reply that was begun is ended");
        const std::uint32_t code = platform.call();
        if (code == 0) {
            handle->receiving = false;
            handle->awaiting_reply = false;
            ++platform.verdicts_read;
        }
        return code;
    }
};

extern "C" {
uint32_t MwOpenS(const char* board_type, uint16_t board_number, const char* device, MW_HANDLE** handle,
                 uint32_t* reserved)
{
    require(std::strlen(board_type) < 32 && board_number < 16, "the board's name is in range");
    require(std::strcmp(device, "ksb") == 0, "the serial bus is opened");
    require(*handle == nullptr && *reserved == 0, "handle and reserved word are cleared");
    return WatchedFunctions::open(*current, handle);
}

uint32_t MwClose(MW_HANDLE** handle)
{
    WatchedFunctions::close(*current, handle);
    return 0x55; // ignored, whatever it is
}

uint32_t MwErr2Text(uint32_t /*code*/, char* text)
{
    constexpr std::size_t size = 256;
    if (current->error_words_fill_the_buffer)
        std::memset(text, '%', size);
    else
        text[current->error_words.copy(text, size - 1)] = '\0';
    return 0;
}

uint32_t MwGetBoardInfo(const char* board_type, uint16_t board_number, uint32_t* record)
{
    constexpr std::size_t words_a_slot = 5;
    require(std::strlen(board_type) < 32 && board_number < 16, "the board's name is in range");
    require(record[0] == 0, "the record begins with 0");
    const std::uint32_t code = current->call();
    for (std::size_t slot = 0; code == 0 && slot < current->slots.size(); ++slot)
        std::copy_n(current->slots[slot].info.begin(), words_a_slot, record + 1 + slot * words_a_slot);
    return code;
}

uint32_t MwGetDeviceInfo(MW_HANDLE* handle, char* board_type, uint16_t* board_number, uint32_t* kind)
{
    constexpr std::size_t size = 32;
    current->require_open(handle);
    require(*kind == 0, "the kind is cleared");
    const std::uint32_t code = current->call();
    if (code == 0) {
        std::memset(board_type, 0, size);
        current->handle_board_type.copy(board_type, size); // perhaps without a terminating zero
        *board_number = current->handle_board_number;
        *kind = current->handle_kind;
    }
    return code;
}

uint32_t MwInitIoStatus(MW_HANDLE* handle, uint32_t* io_status)
{
    current->require_open(handle);
    const std::uint32_t code = current->call();
    *io_status = 0x5A5A5A5A;
    return code;
}

uint32_t MwKSBSendMessage(MW_HANDLE* handle, uint32_t type, uint32_t slot, const void* /*data*/,
                          uint32_t /*length*/, uint32_t timeout)
{
    return WatchedFunctions::query(*current, handle, type, THIS_BOARD, slot, timeout);
}

uint32_t MwKSBReceiveMessage(MW_HANDLE* handle, uint8_t* type, uint32_t slot, void* data, uint32_t size,
                             uint32_t* received, uint32_t timeout)
{
    return WatchedFunctions::reply(*current, handle, type, THIS_BOARD, slot, data, size, received, timeout);
}

uint32_t MwKSBSendMessageEx(MW_HANDLE* handle, uint32_t type, uint32_t board, uint32_t slot,
                            const void* /*data*/, uint32_t /*length*/, uint32_t timeout)
{
    require(board < 16 && slot < 16, "an address is in range");
    return WatchedFunctions::query(*current, handle, type, board, slot, timeout);
}

uint32_t MwKSBReceiveMessageEx(MW_HANDLE* handle, uint8_t* type, uint32_t board, uint32_t slot, void* data,
                               uint32_t size, uint32_t* received, uint32_t timeout)
{
    return WatchedFunctions::reply(*current, handle, type, board, slot, data, size, received, timeout);
}

uint32_t MwKSBStartSendMessageEx(MW_HANDLE* handle, uint32_t board, uint32_t slot, uint32_t timeout)
{
    require(board < 16 && slot < 16, "an address is in range");
    return WatchedFunctions::start_send(*current, handle, slot, timeout);
}

uint32_t MwKSBSendMessageDataEx(MW_HANDLE* handle, const void* data, uint32_t length, uint32_t timeout)
{
    return WatchedFunctions::send_data(*current, handle, data, length, timeout);
}

uint32_t MwKSBEndOfSendMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return WatchedFunctions::end_send(*current, handle, timeout);
}

uint32_t MwKSBStartReceiveMessageEx(MW_HANDLE* handle, uint32_t* type, uint32_t timeout)
{
    require(*type == 0, "the message type is cleared");
    return WatchedFunctions::start_receive(*current, handle, type, timeout);
}

uint32_t MwKSBReceiveMessageDataEx(MW_HANDLE* handle, void* data, uint32_t size, uint32_t* received,
                                   uint32_t timeout)
{
    return WatchedFunctions::receive_data(*current, handle, data, size, received, timeout);
}

uint32_t MwKSBEndOfReceiveMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return WatchedFunctions::end_receive(*current, handle, timeout);
}
}
