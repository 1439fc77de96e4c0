// A device's configuration port: takes configuration bytes and tells whether the device would start.
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

/// What became of the bytes taken so far, judged as if no more came.
enum class Outcome {
    done,         ///< start-up was reached: DONE is high
    no_sync,      ///< no synchronisation word (Spartan: no preamble)
    crc_error,    ///< a CRC or check bits differ
    wrong_device, ///< the stream is for another device: ID, frame length, frames or length count do not fit
    data_short,   ///< well so far, but the stream ended before start-up
    violation     ///< a word, a packet or an order of them that the port does not know
};

[[nodiscard]] const char* outcome_name(Outcome outcome);

/// Writes to one register of a packet stream, for a summary.
struct RegisterWrites {
    const char* name;
    std::uint64_t packets;
    std::uint64_t words;
};

/// What the port saw, for inspection.
struct PortReport {
    Outcome outcome = Outcome::no_sync;
    std::string reason;                      ///< one sentence, with the figures
    std::uint64_t bytes = 0;                 ///< taken in all
    std::uint64_t bits_to_done = 0;          ///< configuration bits taken when DONE went high; 0 before
    std::optional<std::uint64_t> sync_bit;   ///< where the synchronisation word (preamble) begins
    std::optional<std::uint32_t> idcode;     ///< as written by the stream
    std::optional<std::uint32_t> frame_size; ///< words a frame by the stream's FLR
    std::optional<std::uint32_t> length_count;
    std::uint64_t frames_written = 0; ///< distinct addresses
    std::uint64_t frames_expected = 0;
    std::uint64_t crc_checks_passed = 0;
    std::vector<RegisterWrites> registers; ///< packet families; registers never written are left out
};

/// Takes a configuration from its first byte on. Each byte holds its first configuration bit in bit 0, as on
/// a module's bus. Any bytes whatever may be fed, in pieces of any size; memory does not grow with them.
class ConfigurationPort
{
public:
    virtual ~ConfigurationPort() = default;
    virtual void take(std::span<const std::uint8_t> bytes) = 0;
    [[nodiscard]] virtual PortReport report() const = 0;
    [[nodiscard]] virtual Outcome outcome() const = 0;
    [[nodiscard]] bool done() const { return outcome() == Outcome::done; }
};

/// The unconfigured port of a device (the device must outlive it; those of the table do).
[[nodiscard]] std::unique_ptr<ConfigurationPort> make_port(const Device& device);

} // namespace fpga

#endif
