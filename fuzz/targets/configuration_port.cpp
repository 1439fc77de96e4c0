// SPDX-License-Identifier: Apache-2.0
// Streams into the configuration ports. Byte 0 selects the device; byte 1 selects whether the rest is the
// plain or the run-coded stream (so that a short input can be a whole configuration), and how it is cut.
#include "configuration_port.h"
#include "devices.h"
#include "require.h"
#include "target.h"
#include "workplace.h"

namespace
{
constexpr std::size_t LONGEST_STREAM = std::size_t{1} << 16;

Bytes stream_of(Choices& input, bool run_coded)
{
    if (!run_coded)
        return input.bytes(LONGEST_STREAM);
    Bytes stream;
    while (!input.empty() && stream.size() < LONGEST_STREAM) {
        const std::size_t count = input.byte();
        stream.insert(stream.end(), count, input.byte());
    }
    return stream;
}

fpga::PortReport feed(const fpga::Device& device, std::span<const std::uint8_t> stream, std::size_t piece)
{
    const auto port = fpga::make_port(device);
    for (std::size_t done = 0; done < stream.size(); done += piece)
        port->take(stream.subspan(done, std::min(piece, stream.size() - done)));
    require(port->done() == (port->outcome() == fpga::Outcome::done),
            "a port is done when its outcome says so");
    return port->report();
}

bool same(const fpga::PortReport& a, const fpga::PortReport& b)
{
    return a.outcome == b.outcome && a.reason == b.reason && a.bytes == b.bytes &&
           a.bits_to_done == b.bits_to_done && a.sync_bit == b.sync_bit && a.idcode == b.idcode &&
           a.frame_size == b.frame_size && a.length_count == b.length_count &&
           a.frames_written == b.frames_written && a.crc_checks_passed == b.crc_checks_passed &&
           a.registers.size() == b.registers.size();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Choices input{data, size};
    const auto devices = fpga::devices();
    const fpga::Device& device = devices[input.byte() % devices.size()];
    const std::uint8_t way = input.byte();
    const Bytes stream = stream_of(input, (way & 1) != 0);
    const std::size_t piece = std::size_t{1} + (way >> 1);

    const fpga::PortReport whole = feed(device, stream, LONGEST_STREAM);
    require(same(whole, feed(device, stream, piece)), "the pieces in which a stream comes do not matter");
    require(whole.bytes == stream.size(), "every byte is counted");
    require(!whole.reason.empty(), "an outcome has a reason");
    require(whole.frames_written <= whole.frames_expected, "no frame is counted twice");
    require(whole.bits_to_done <= whole.bytes * 8, "DONE rises inside the stream");
    return 0;
}
