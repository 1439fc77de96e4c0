// SPDX-License-Identifier: Apache-2.0
// The configuration port of Spartan and Spartan-XL: a bit-serial stream of frames behind a length count.
#ifndef KVN_FPGA_LENGTH_COUNT_PORT_H
#define KVN_FPGA_LENGTH_COUNT_PORT_H

#include "bits.h"
#include "configuration_port.h"

namespace fpga
{

class LengthCountPort final : public ConfigurationPort
{
public:
    explicit LengthCountPort(const Device& device) : device_{device} {}
    void take(std::span<const std::uint8_t> bytes) override;
    [[nodiscard]] PortReport report() const override;
    [[nodiscard]] Outcome outcome() const override;

private:
    enum class Part { preamble, length_count, fill, frames, postamble, clocks, started, failed };

    void clock(unsigned bit);
    void take_bit(unsigned bit);
    void search_preamble(unsigned bit);
    void take_length_count(unsigned bit);
    void take_fill(unsigned bit);
    void take_frame_bit(unsigned bit);
    void check_first_frame(unsigned position, unsigned bit);
    void end_frame();
    void take_postamble(unsigned bit);
    void compare_count();
    [[nodiscard]] bool all_frames_are_in() const { return frames_ == device_.length_count_frames; }
    [[nodiscard]] std::uint32_t expected_length_count() const;
    [[nodiscard]] bool length_count_differs() const
    {
        return length_count_known_ && length_count_ != expected_length_count();
    }
    void enter(Part part);
    void fail(Outcome outcome, std::string reason);
    [[nodiscard]] std::string reason() const;

    const Device& device_;
    Part part_ = Part::preamble;
    unsigned position_ = 0;     ///< bits taken in the part (or frame) in hand
    std::uint32_t shifted_ = 0; ///< the last bits taken
    std::uint64_t bits_ = 0;
    std::uint64_t bytes_ = 0;
    unsigned first_zero_ = 0; ///< position of the first zero behind the fill
    std::optional<std::uint64_t> preamble_bit_;
    std::uint32_t length_count_ = 0;
    bool length_count_known_ = false;
    bool match_lost_ = false; ///< the length count was reached before all frames were in
    FrameCheck check_;
    bool constant_check_ = false; ///< the frames end in 0110 instead of a CRC
    unsigned first_data_bit_ = 0;
    std::uint64_t frames_ = 0;
    std::uint64_t bits_to_done_ = 0;
    Outcome failure_ = Outcome::violation;
    std::string reason_;
};

} // namespace fpga

#endif
