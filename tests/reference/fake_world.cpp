// The scripted platform and user of the differential runs.
#include "fake_world.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace fake
{

namespace
{

const uint32_t TYPE_QUERY = 1;

std::string number(uint64_t value)
{
    return std::to_string(value);
}

std::string handle_name(const MW_HANDLE* handle)
{
    if (handle == nullptr)
        return "null";
    if (handle == opened_handle())
        return "opened";
    return handle == callers_handle() ? "callers" : "unknown";
}

template <class T>
T next(std::deque<T>& answers, T otherwise)
{
    if (answers.empty())
        return otherwise;
    T answer = answers.front();
    answers.pop_front();
    return answer;
}

} // namespace

std::string escaped(const std::string& text)
{
    std::string result;
    for (const char character : text) {
        if (character >= ' ' && character < 127 && character != '\\') {
            result += character;
            continue;
        }
        char code[8] = "";
        std::snprintf(code, sizeof code, "\\x%02x",
                      static_cast<unsigned>(static_cast<unsigned char>(character)));
        result += character == '\n' ? "\\n" : character == '\r' ? "\\r" : code;
    }
    return result;
}

std::string hex(const void* data, std::size_t length)
{
    static const char digits[] = "0123456789ABCDEF";
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::string result;
    for (std::size_t i = 0; i < length; ++i) {
        result += digits[bytes[i] >> 4];
        result += digits[bytes[i] & 15];
    }
    return result;
}

MW_HANDLE* opened_handle()
{
    static int place;
    return reinterpret_cast<MW_HANDLE*>(&place);
}

MW_HANDLE* callers_handle()
{
    static int place;
    return reinterpret_cast<MW_HANDLE*>(&place);
}

Platform::Platform(const PlatformPlan& plan, Log& log, std::function<std::string()> console_position)
    : plan_{plan}, log_{log}, console_position_{std::move(console_position)}
{
}

/// Logs the call and gives its result.
uint32_t Platform::finish(const char* function, const std::string& arguments)
{
    ++all_calls_;
    const int same = ++calls_[function];
    uint32_t result = 0;
    for (const Failure& failure : plan_.failures) {
        const int so_far = failure.function.empty() ? all_calls_ : same;
        if (so_far == failure.which && (failure.function.empty() || failure.function == function))
            result = failure.code;
    }
    std::string line = std::string(function) + "(" + arguments + ")";
    if (result != 0)
        line += " = " + number(result);
    if (console_position_)
        line += console_position_();
    log_.push_back(std::move(line));
    return result;
}

Module& Platform::module(uint32_t board, uint32_t slot)
{
    static Module nothing;
    nothing = Module{};
    return board < 16 && slot >= 1 && slot <= 4 ? plan_.boards[board][slot] : nothing;
}

uint32_t Platform::OpenS(const char* board_type, uint16_t board_number, const char* device,
                         MW_HANDLE** handle, uint32_t* reserved)
{
    const std::string before = handle_name(*handle);
    const uint32_t result = finish("OpenS", escaped(board_type) + ", " + number(board_number) + ", " +
                                                device + ", " + before + ", " + number(*reserved));
    *reserved = 0xABCDEF01;
    open_board_ = board_number;
    if (result == 0 || plan_.failed_open_stores_handle)
        *handle = opened_handle();
    return result;
}

uint32_t Platform::Close(MW_HANDLE** handle)
{
    const uint32_t result = finish("Close", handle_name(*handle));
    if (plan_.close_clears_handle)
        *handle = nullptr;
    return result;
}

uint32_t Platform::Err2Text(uint32_t code, char* text)
{
    std::string line = "Err2Text(" + number(code) + ")";
    if (console_position_)
        line += console_position_();
    log_.push_back(line);
    std::snprintf(text, 256, "%s%x", plan_.error_words.c_str(), static_cast<unsigned>(code));
    return 0;
}

uint32_t Platform::GetBoardInfo(const char* board_type, uint16_t board_number, uint32_t* record)
{
    uint32_t used = 0;
    for (int i = 0; i < 64; ++i)
        used |= record[i];
    const uint32_t result = finish("GetBoardInfo", escaped(board_type) + ", " + number(board_number) + ", " +
                                                       (used == 0 ? "cleared" : "not cleared"));
    for (std::size_t slot = 1; slot <= 4; ++slot) {
        const Module& described = module(board_number, static_cast<uint32_t>(slot));
        record[5 * slot - 4] = described.present;
        record[5 * slot - 3] = described.processor;
        record[5 * slot - 2] = described.serial_bus;
        record[5 * slot - 1] = 0x11111111;
        record[5 * slot] = 0x22222222;
    }
    return result;
}

uint32_t Platform::GetDeviceInfo(MW_HANDLE* handle, char* board_type, uint16_t* board_number, uint32_t* kind)
{
    const uint32_t result = finish("GetDeviceInfo", handle_name(handle) + ", " + number(*kind));
    std::snprintf(board_type, 32, "%s", plan_.handle_type.c_str());
    *board_number = plan_.handle_number;
    *kind = plan_.handle_kind;
    return result;
}

uint32_t Platform::InitIoStatus(MW_HANDLE* handle, uint32_t* io_status)
{
    const uint32_t result = finish("InitIoStatus", handle_name(handle) + ", " + number(*io_status));
    *io_status = 0x5A5A5A5A;
    return result;
}

void Platform::answer(Module& asked, uint8_t* type, void* data, uint32_t size, uint32_t* received)
{
    const bool identity = last_query_ == TYPE_QUERY;
    const Bytes& bytes = identity ? asked.record : asked.compression_answer;
    const std::size_t length = std::min<std::size_t>(bytes.size(), size);
    *type = identity ? asked.type_reply : asked.compression_reply;
    if (length > 0)
        std::memcpy(data, bytes.data(), length);
    *received = static_cast<uint32_t>(length);
}

uint32_t Platform::SendMessage(MW_HANDLE* handle, uint32_t type, uint32_t slot, const void* data,
                               uint32_t length, uint32_t timeout)
{
    last_query_ = type;
    return finish("SendMessage", handle_name(handle) + ", type " + number(type) + ", slot " + number(slot) +
                                     ", " + (data == nullptr ? "null" : "data") + ", " + number(length) +
                                     ", " + number(timeout));
}

uint32_t Platform::ReceiveMessage(MW_HANDLE* handle, uint8_t* type, uint32_t slot, void* data, uint32_t size,
                                  uint32_t* received, uint32_t timeout)
{
    answer(module(open_board_, slot), type, data, size, received);
    return finish("ReceiveMessage", handle_name(handle) + ", slot " + number(slot) + ", " + number(size) +
                                        ", " + number(timeout));
}

uint32_t Platform::SendMessageEx(MW_HANDLE* handle, uint32_t type, uint32_t board, uint32_t slot,
                                 const void* data, uint32_t length, uint32_t timeout)
{
    last_query_ = type;
    return finish("SendMessageEx", handle_name(handle) + ", type " + number(type) + ", board " +
                                       number(board) + ", slot " + number(slot) + ", " +
                                       (data == nullptr ? "null" : "data") + ", " + number(length) + ", " +
                                       number(timeout));
}

uint32_t Platform::ReceiveMessageEx(MW_HANDLE* handle, uint8_t* type, uint32_t board, uint32_t slot,
                                    void* data, uint32_t size, uint32_t* received, uint32_t timeout)
{
    answer(module(board, slot), type, data, size, received);
    return finish("ReceiveMessageEx", handle_name(handle) + ", board " + number(board) + ", slot " +
                                          number(slot) + ", " + number(size) + ", " + number(timeout));
}

uint32_t Platform::StartSendMessageEx(MW_HANDLE* handle, uint32_t board, uint32_t slot, uint32_t timeout)
{
    load_board_ = board;
    load_slot_ = slot;
    return finish("StartSendMessageEx", handle_name(handle) + ", board " + number(board) + ", slot " +
                                            number(slot) + ", " + number(timeout));
}

uint32_t Platform::SendMessageDataEx(MW_HANDLE* handle, const void* data, uint32_t length, uint32_t timeout)
{
    if (!plan_.log_data) {
        ++data_calls_;
        for (uint32_t i = 0; i < length; ++i)
            data_sum_ = data_sum_ * 0x100000001B3U + static_cast<const unsigned char*>(data)[i] + 1;
        data_sum_ = data_sum_ * 31 + length;
        return 0;
    }
    return finish("SendMessageDataEx", handle_name(handle) + ", " + hex(data, length) + ", " +
                                           number(length) + ", " + number(timeout));
}

std::string Platform::data_summary() const
{
    return number(data_calls_) + " data calls, sum " + number(data_sum_);
}

uint32_t Platform::EndOfSendMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return finish("EndOfSendMessageEx", handle_name(handle) + ", " + number(timeout));
}

uint32_t Platform::StartReceiveMessageEx(MW_HANDLE* handle, uint32_t* type, uint32_t timeout)
{
    const uint32_t result =
        finish("StartReceiveMessageEx", handle_name(handle) + ", " + number(*type) + ", " + number(timeout));
    *type = 0x1234;
    return result;
}

uint32_t Platform::ReceiveMessageDataEx(MW_HANDLE* handle, void* data, uint32_t size, uint32_t* received,
                                        uint32_t timeout)
{
    const Bytes& verdict = module(load_board_, load_slot_).verdict;
    const std::size_t length = std::min<std::size_t>(verdict.size(), size);
    if (length > 0)
        std::memcpy(data, verdict.data(), length);
    *received = static_cast<uint32_t>(length);
    return finish("ReceiveMessageDataEx", handle_name(handle) + ", " + number(size) + ", " + number(timeout));
}

uint32_t Platform::EndOfReceiveMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return finish("EndOfReceiveMessageEx", handle_name(handle) + ", " + number(timeout));
}

void User::print(const char* text)
{
    log_.push_back("print " + escaped(text));
}

int User::prompt(const char* text)
{
    const int key = next(plan_.keys, 13);
    log_.push_back("prompt " + escaped(text) + " -> " + std::to_string(key));
    return key;
}

int User::ask_string(const char* prompt, std::string& answer)
{
    const std::string question = prompt;
    if (question.starts_with("Enter"))
        answer = next<std::string>(plan_.names, "design");
    else if (question.starts_with("What"))
        answer = next<std::string>(plan_.board_types, "mwc4a");
    else
        answer = next<std::string>(plan_.board_numbers, "0");
    log_.push_back("ask " + escaped(question) + " -> " + escaped(answer));
    return 0;
}

int User::ask_yn(const char* question)
{
    const int decision = next(plan_.decisions, static_cast<int>('n'));
    log_.push_back("ask " + escaped(question) + " -> " + std::to_string(decision));
    return decision;
}

} // namespace fake
