// SPDX-License-Identifier: Apache-2.0
// A platform for tests and fuzz targets: boards and modules as they build them, a journal of every call,
// planned failures.
//
// The sixteen Mw... functions forward to the one FakePlatform that lives in the calling thread. Each call
// adds a line to the log, with all its arguments and the bytes it sends:
//
//     * OpenS "mwc4a" 0 "ksb"
//     * StartSendMessageEx board 0 slot 2 timeout 5000
//     * SendMessageDataEx 0D 05 timeout 5000
//
// A call on a handle that the caller opened ends in " on caller handle". When the library breaks the
// protocol, that is reported: data outside a message, a message inside another, a receive without a request,
// a handle that is not open, a time-out other than 5000, arguments that are not as the platform expects them,
// or a caller's handle closed.
#ifndef KVN_FPGA_TESTS_SUPPORT_FAKE_PLATFORM_H
#define KVN_FPGA_TESTS_SUPPORT_FAKE_PLATFORM_H

#include "platform.h"
#include "provider/thread_platform.h"
#include "support/bytes.h"

#include <array>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Called with each rule of the protocol that is broken: fails the test, or ends the fuzz target. Every
/// program defines it.
void report_broken_rule(const std::string& rule);

/// What sits in a slot: what the board says of it, how it answers, and what it was sent.
struct Module {
    /// The board information words: present, is a processor, has a bus, and two that nobody reads. Words
    /// other than 0 and 1 test that only these decide.
    std::array<std::uint32_t, 5> info{1, 0, 1, 0x33333333, 0x44444444};

    // The answer to the type query.
    std::uint8_t type_reply_type = 2;
    std::array<std::uint8_t, 30> record{};

    // The answer to the compression query.
    std::uint8_t compression_reply_type = 12;
    Bytes compression_reply{0};

    // The answer to a load: its status, and a byte that nobody reads.
    std::uint32_t load_reply_type = 4;
    Bytes verdict{5, 0xEE};

    std::uint32_t claimed = 0; ///< added to the number of bytes that a receive reports

    /// What the module was sent: each load message with its header, in order.
    std::vector<Bytes> loads;

    Module& type(std::uint8_t value) { return set(0, value); }
    Module& model(std::uint8_t value) { return set(1, value); }
    Module& version(std::uint8_t value) { return set(2, value); }
    Module& device(std::string_view name);
    /// Sets the flag of the record and the answer to the query alike.
    Module& accepts_compressed(bool yes = true);
    /// Sets any byte of the record.
    Module& set(std::size_t index, std::uint8_t value);

    /// The data of the last load, without its header.
    [[nodiscard]] Bytes received() const;
    /// The header of the last load.
    [[nodiscard]] Bytes received_header() const;
};

Module fpga_module(std::uint8_t model);
Module io_module(std::uint8_t model);
Module processor_module();
Module module_without_bus();

class FakeBoard
{
public:
    /// Puts a module into a slot, 1 to 4.
    Module& slot(std::uint32_t number, const Module& module);
    /// The module in a slot, or null.
    Module* module_in(std::uint32_t number);

private:
    std::map<std::uint32_t, Module> slots_;
};

/// How wide a platform writes the kind of a device.
enum class KindWidth { bits16, bits32 };

/// What a handle leads to.
struct FakeHandle;

/// The platform of its thread as long as it lives.
class FakePlatform : public mwapi::Platform
{
public:
    FakePlatform();
    ~FakePlatform() override;

    /// The board of that type and number, made when it does not exist yet.
    FakeBoard& board(const std::string& type, std::uint16_t number);

    /// A handle that the caller has opened: kind 3 is a serial bus.
    MW_HANDLE* caller_handle(const std::string& type, std::uint16_t number, std::uint32_t kind = 3,
                             KindWidth width = KindWidth::bits32);
    /// A bus handle like one that the library opened, without a call in the log.
    MW_HANDLE* opened_bus(const std::string& type, std::uint16_t number);
    /// How many of the handles that the library opened are open.
    [[nodiscard]] int open_handles() const;

    /// The n-th counted call from now on (1 is the next) answers a code. MwErr2Text and MwClose are not
    /// counted.
    void fail_call(int n, std::uint32_t code = 0x77);
    /// The n-th call of one function from now on answers a code: fail("EndOfSendMessageEx", 1, 0x77).
    void fail(const std::string& function, int n = 1, std::uint32_t code = 0x77);
    /// Takes back all planned failures.
    void fail_nothing();
    /// How many counted calls there were.
    [[nodiscard]] int calls() const { return calls_; }

    /// The text for a code: "api 0x77" unless set here. All 256 bytes are written; a text of as many has no
    /// end.
    void set_error_text(std::uint32_t code, const std::string& text) { error_texts_[code] = text; }

    /// The board of any type and number, in place of those that were made.
    FakeBoard* every_board = nullptr;
    /// A failing MwOpenS stores a handle nevertheless.
    bool failing_open_stores_handle = false;
    /// MwClose sets the handle to null, as a platform may.
    bool close_clears_handle = true;
    /// Whether data calls are written to the log; large loads do without.
    bool logs_data = true;
    /// Nothing may be called after a call that failed.
    bool stops_at_failure = false;

    bool failed = false; ///< a call has failed as planned
    int opens = 0;
    int complete_loads = 0;
    int verdicts_read = 0;
    int last_verdict = -1;

    /// Calls of the platform, and whatever else the test adds.
    std::vector<std::string> log;
    /// The platform's lines of the log, without their "* ".
    [[nodiscard]] std::vector<std::string> journal() const;

    std::uint32_t open(const char* type, std::uint16_t board, const char* device, MW_HANDLE** handle,
                       std::uint32_t* reserved) override;
    std::uint32_t close(MW_HANDLE** handle) override;
    std::uint32_t error_text(std::uint32_t code, char* text) override;
    std::uint32_t board_info(const char* type, std::uint16_t board_number, std::uint32_t* record) override;
    std::uint32_t device_info(MW_HANDLE* handle, char* type, std::uint16_t* board_number,
                              std::uint32_t* kind) override;
    std::uint32_t init_io_status(MW_HANDLE* handle, std::uint32_t* status) override;
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
    struct PlannedFailure {
        int calls_left;
        std::uint32_t code;
    };

    /// Writes a call to the log, counts it and looks whether it is to fail.
    std::uint32_t call(const std::string& function, const std::string& arguments);
    void note(const std::string& line) { log.push_back("* " + line); }
    /// What an open handle leads to. @throws UnknownHandle
    FakeHandle& open_handle(MW_HANDLE* handle, const char* function);
    /// A board, or null.
    FakeBoard* find_board(const std::string& type, std::uint32_t number);
    Module* find_module(const FakeHandle& handle, std::uint32_t board, std::uint32_t slot);
    /// @param board the opened one when none
    std::uint32_t send_whole(const char* function, const std::string& where, MW_HANDLE* handle,
                             std::uint32_t type, std::optional<std::uint32_t> board, std::uint32_t slot,
                             const void* data, std::uint32_t length, std::uint32_t timeout);
    std::uint32_t receive_whole(const char* function, const std::string& where, MW_HANDLE* handle,
                                std::uint8_t* type, std::optional<std::uint32_t> board, std::uint32_t slot,
                                void* data, std::uint32_t size, std::uint32_t* received,
                                std::uint32_t timeout);
    FakeHandle& new_handle(const std::string& type, std::uint16_t number, std::uint32_t kind);

    mwapi::UsePlatform in_use_{*this};
    std::map<std::pair<std::string, std::uint16_t>, FakeBoard> boards_;
    std::list<std::unique_ptr<FakeHandle>> handles_;
    int calls_ = 0;
    std::vector<PlannedFailure> failing_calls_;
    std::multimap<std::string, PlannedFailure> failing_functions_;
    std::map<std::uint32_t, std::string> error_texts_;
};

/// The codes that the platform answers of its own accord.
inline constexpr std::uint32_t NO_SUCH_BOARD = 0x1001;
inline constexpr std::uint32_t NO_MODULE_IN_SLOT = 0x1002;

#endif
