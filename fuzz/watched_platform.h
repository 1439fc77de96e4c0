// The platform of the fuzz targets: answers as it is told, and ends the process when the library breaks a
// rule.
//
// The rules: data only inside a message, a reply only to what was asked, no message inside another, the
// time-out 5000, no call after one that failed (its words and the closing of the bus aside), no call on a
// handle that is not open, every opened bus closed exactly once, a caller's handle never closed.
#ifndef KVN_FPGA_FUZZ_WATCHED_PLATFORM_H
#define KVN_FPGA_FUZZ_WATCHED_PLATFORM_H

#include "choices.h"
#include "mwapi.h"
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

class WatchedPlatform
{
public:
    /// Answers the platform functions from now on.
    WatchedPlatform();
    ~WatchedPlatform();
    WatchedPlatform(const WatchedPlatform&) = delete;
    WatchedPlatform& operator=(const WatchedPlatform&) = delete;

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

    // For the platform functions.
    /// Counts a call.
    /// @return its result
    std::uint32_t call();
    void require_open(const MW_HANDLE* handle) const;
    MW_HANDLE* new_handle(bool is_callers);

private:
    std::vector<std::unique_ptr<MW_HANDLE>> handles_;
};

#endif
