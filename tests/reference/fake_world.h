// A platform and a user for the differential runs: scripted answers, and one log of all that happens.
#ifndef FAKE_WORLD_H
#define FAKE_WORLD_H

#include "reference_world.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace fake
{

using Bytes = std::vector<unsigned char>;
using Log = std::vector<std::string>;

/// A text with everything unprintable escaped.
std::string escaped(const std::string& text);
std::string hex(const void* data, std::size_t length);

/// What sits in a slot and how it answers.
struct Module {
    uint32_t present = 0;
    uint32_t processor = 0;
    uint32_t serial_bus = 0;
    unsigned char type_reply = 2;
    Bytes record;
    unsigned char compression_reply = 12;
    Bytes compression_answer;
    Bytes verdict;
};

/// A call that fails: the how-manieth of which function, or of all of them when the name is empty.
struct Failure {
    std::string function;
    int which = 1;
    uint32_t code = 1;
};

struct PlatformPlan {
    std::array<std::array<Module, 5>, 16> boards;
    std::vector<Failure> failures;
    std::string handle_type = "mwc4a";
    uint16_t handle_number = 0;
    uint32_t handle_kind = 3;
    bool close_clears_handle = true;
    bool failed_open_stores_handle = false;
    std::string error_words = "words of 0x";
    bool log_data = true; ///< false: the data calls are only counted and summed up
};

struct UserPlan {
    std::deque<std::string> names;
    std::deque<std::string> board_types;
    std::deque<std::string> board_numbers;
    std::deque<int> decisions;
    std::deque<int> keys;
};

/// Handles that a run may meet.
MW_HANDLE* opened_handle();
MW_HANDLE* callers_handle();

class Platform : public reference::Platform
{
public:
    Platform(const PlatformPlan& plan, Log& log, std::function<std::string()> console_position);

    uint32_t OpenS(const char* board_type, uint16_t board_number, const char* device, MW_HANDLE** handle,
                   uint32_t* reserved) override;
    uint32_t Close(MW_HANDLE** handle) override;
    uint32_t Err2Text(uint32_t code, char* text) override;
    uint32_t GetBoardInfo(const char* board_type, uint16_t board_number, uint32_t* record) override;
    uint32_t GetDeviceInfo(MW_HANDLE* handle, char* board_type, uint16_t* board_number,
                           uint32_t* kind) override;
    uint32_t InitIoStatus(MW_HANDLE* handle, uint32_t* io_status) override;
    uint32_t SendMessage(MW_HANDLE* handle, uint32_t type, uint32_t slot, const void* data, uint32_t length,
                         uint32_t timeout) override;
    uint32_t ReceiveMessage(MW_HANDLE* handle, uint8_t* type, uint32_t slot, void* data, uint32_t size,
                            uint32_t* received, uint32_t timeout) override;
    uint32_t SendMessageEx(MW_HANDLE* handle, uint32_t type, uint32_t board, uint32_t slot, const void* data,
                           uint32_t length, uint32_t timeout) override;
    uint32_t ReceiveMessageEx(MW_HANDLE* handle, uint8_t* type, uint32_t board, uint32_t slot, void* data,
                              uint32_t size, uint32_t* received, uint32_t timeout) override;
    uint32_t StartSendMessageEx(MW_HANDLE* handle, uint32_t board, uint32_t slot, uint32_t timeout) override;
    uint32_t SendMessageDataEx(MW_HANDLE* handle, const void* data, uint32_t length,
                               uint32_t timeout) override;
    uint32_t EndOfSendMessageEx(MW_HANDLE* handle, uint32_t timeout) override;
    uint32_t StartReceiveMessageEx(MW_HANDLE* handle, uint32_t* type, uint32_t timeout) override;
    uint32_t ReceiveMessageDataEx(MW_HANDLE* handle, void* data, uint32_t size, uint32_t* received,
                                  uint32_t timeout) override;
    uint32_t EndOfReceiveMessageEx(MW_HANDLE* handle, uint32_t timeout) override;

    /// Number and sum of the data calls, for plans that do not log them.
    std::string data_summary() const;

private:
    uint32_t finish(const char* function, const std::string& arguments);
    Module& module(uint32_t board, uint32_t slot);
    void answer(Module& asked, uint8_t* type, void* data, uint32_t size, uint32_t* received);

    PlatformPlan plan_;
    Log& log_;
    std::function<std::string()> console_position_;
    std::map<std::string, int> calls_;
    int all_calls_ = 0;
    uint32_t last_query_ = 0;
    uint32_t open_board_ = 0;
    uint32_t load_board_ = 0;
    uint32_t load_slot_ = 0;
    uint64_t data_calls_ = 0;
    uint64_t data_sum_ = 0;
};

/// Answers the library's callbacks and the model's.
class User
{
public:
    User(const UserPlan& plan, Log& log) : plan_{plan}, log_{log} {}

    void print(const char* text);
    int prompt(const char* text);
    int ask_string(const char* prompt, std::string& answer);
    int ask_yn(const char* question);

private:
    UserPlan plan_;
    Log& log_;
};

} // namespace fake

#endif
