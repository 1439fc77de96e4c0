// SPDX-License-Identifier: Apache-2.0
// A device's configuration port: reads configuration bytes and reports whether the device would start.
#ifndef KVN_FPGA_CONFIGURATION_PORT_H
#define KVN_FPGA_CONFIGURATION_PORT_H

#include "devices.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace fpga
{

/// The result of the bytes fed so far, if no more follow.
enum class Outcome {
    done,         ///< start-up was reached: DONE is high
    no_sync,      ///< no synchronisation word (Spartan: no preamble)
    crc_error,    ///< a CRC or check bits differ
    wrong_device, ///< the stream is for another device: ID, frame length, frames or length count do not fit
    data_short,   ///< no error so far, but the stream ended before start-up
    violation     ///< a word, packet or sequence unknown to the port
};

[[nodiscard]] const char* outcome_name(Outcome outcome);

/// Writes to one register of a packet stream, for a summary.
struct RegisterWrites {
    const char* name;
    std::uint64_t packets;
    std::uint64_t words;
};

/// What the port has read, for inspection.
struct PortReport {
    Outcome outcome = Outcome::no_sync;
    std::string reason;                      ///< a sentence with the figures
    std::uint64_t bytes = 0;                 ///< fed in total
    std::uint64_t bits_to_done = 0;          ///< configuration bits read until DONE went high; 0 before
    std::optional<std::uint64_t> sync_bit;   ///< position of the synchronisation word (preamble)
    std::optional<std::uint32_t> idcode;     ///< as written by the stream
    std::optional<std::uint32_t> frame_size; ///< words a frame by the stream's FLR
    std::optional<std::uint32_t> length_count;
    std::uint64_t frames_written = 0; ///< distinct addresses
    std::uint64_t frames_expected = 0;
    std::uint64_t crc_checks_passed = 0;
    std::vector<RegisterWrites> registers; ///< packet families; only registers written
};

/// Reads a configuration from its first byte on. Each byte holds its first configuration bit in bit 0, as on
/// a module's bus. Accepts any bytes, in pieces of any size; its memory does not grow.
class ConfigurationPort
{
public:
    virtual ~ConfigurationPort() = default;
    virtual void take(std::span<const std::uint8_t> bytes) = 0;
    [[nodiscard]] virtual PortReport report() const = 0;
    [[nodiscard]] virtual Outcome outcome() const = 0;
    [[nodiscard]] bool done() const { return outcome() == Outcome::done; }
};

/// The unconfigured port of a device, which must outlive it, as the table's devices do.
[[nodiscard]] std::unique_ptr<ConfigurationPort> make_port(const Device& device);

} // namespace fpga

#endif
