// SPDX-License-Identifier: Apache-2.0
// The platform of the fuzz targets: ends the process when the library breaks a rule, of which there is one
// more than for tests: no call after one that failed (its words and the closing of the bus aside).
#ifndef KVN_FPGA_FUZZ_WATCHED_PLATFORM_H
#define KVN_FPGA_FUZZ_WATCHED_PLATFORM_H

#include "choices.h"
#include "require.h"
#include "support/fake_platform.h"

/// Answers the platform functions while it lives. It has every board, each with the same four modules.
class WatchedPlatform final : public FakePlatform
{
public:
    WatchedPlatform();

    /// Puts the same module into all slots.
    void fill_slots(const Module& module);

    FakeBoard modules; ///< good ones with a Virtex-2 at first
    std::string error_words = "no such thing";
    std::string handle_board_type = "mwc4a"; ///< what is said of a caller's handle
    std::uint16_t handle_board_number = 0;
    std::uint32_t handle_kind = MW_DEVICE_KIND_KSB;

    MW_HANDLE* callers_handle() { return caller_handle(handle_board_type, handle_board_number, handle_kind); }
    /// The load messages, each with its header, slot by slot.
    [[nodiscard]] std::vector<Bytes> loads();
    /// Whether all that the library opened is closed again.
    void require_closed() const { require(open_handles() == 0, "every bus that was opened is closed"); }

    std::uint32_t error_text(std::uint32_t code, char* text) override;
};

#endif
