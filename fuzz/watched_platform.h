// SPDX-License-Identifier: Apache-2.0
// The platform of the fuzz targets: answers as it is told, and ends the process when the library breaks a
// rule.
//
// The rules: data only inside a message, a reply only to what was asked, no message inside another, the
// time-out 5000, no call after one that failed (its words and the closing of the bus aside), no call on a
// handle that is not open, every opened bus closed exactly once, a caller's handle never closed.
#ifndef KVN_FPGA_FUZZ_WATCHED_PLATFORM_H
#define KVN_FPGA_FUZZ_WATCHED_PLATFORM_H

#include "choices.h"
#include "platform.h"
#include "require.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// What sits in a slot, and how it answers. The default is a good module with a Virtex-2.
struct WatchedSlot {
    std::array<std::uint32_t, 5> info{1, 0, 1, 0x33333333, 0x44444444};
    std::uint8_t type_reply = 2;
    Bytes record;
    std::uint8_t compression_reply = 12;
    Bytes compression_answer{0};
    std::uint32_t load_reply = 4;
    Bytes verdict{5, 0};
    std::uint32_t claimed = 0; ///< added to the number of bytes that a receive reports

    WatchedSlot();
    WatchedSlot& device(const std::string& name);
};

/// What a handle leads to.
struct WatchedHandle;

class WatchedPlatform final : public mwapi::Platform
{
public:
    /// Answers the platform functions from now on.
    WatchedPlatform();
    ~WatchedPlatform() override;

    std::array<WatchedSlot, 4> slots; ///< the same on every board
    std::string error_words = "no such thing";
    bool error_words_fill_the_buffer = false;
    bool close_clears_handle = true;
    bool failing_open_stores_handle = false;
    std::uint32_t failing_call = 0; ///< counted from 1; 0: none fails
    std::uint32_t failure_code = 0x77;
    std::string handle_board_type = "mwc4a"; ///< what is said of a caller's handle
    std::uint16_t handle_board_number = 0;
    std::uint32_t handle_kind = MW_DEVICE_KIND_KSB;

    MW_HANDLE* callers_handle();
    /// An open bus, as the library has it during a load.
    MW_HANDLE* opened_bus();

    /// The load messages, each with its header.
    std::vector<Bytes> loads;
    std::size_t complete_loads = 0;
    std::size_t verdicts_read = 0;
    int last_verdict = -1;
    std::uint32_t calls = 0;
    bool failed = false;
    std::size_t opens = 0;

    /// Whether all that the library opened is closed again.
    void require_closed() const;

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
    /// Counts a call.
    /// @return its result
    std::uint32_t call();
    /// What an open handle leads to.
    WatchedHandle& require_open(MW_HANDLE* handle) const;
    WatchedHandle& new_handle(bool is_callers);
    std::uint32_t query(MW_HANDLE* handle, std::uint32_t type, std::uint32_t board, std::uint32_t slot,
                        std::uint32_t timeout);
    std::uint32_t reply(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t board, std::uint32_t slot,
                        void* data, std::uint32_t size, std::uint32_t* received, std::uint32_t timeout);

    std::vector<std::unique_ptr<WatchedHandle>> handles_;
};

#endif
