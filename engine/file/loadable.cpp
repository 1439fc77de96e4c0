// SPDX-License-Identifier: Apache-2.0
// Adds what a configuration lacks to be loaded: words behind it that do nothing.
#include "file/loadable.h"

#include "file/inspectors.h"
#include "formats/byte_sizes.h"

#include <array>

namespace kvn
{
namespace
{

constexpr unsigned WORD_BITS = 8 * WORD_SIZE;

using Word = std::array<std::uint8_t, WORD_SIZE>;

/// A word that does nothing behind the data of a device, in transmission order.
Word idle_word(const fpga::Device& device)
{
    switch (device.architecture()) {
    case fpga::Architecture::length_count:
        return {0xFF, 0xFF, 0xFF, 0xFF};
    case fpga::Architecture::virtex:
        return {0x00, 0x00, 0x00, 0x00};
    default:
        return {0x04, 0x00, 0x00, 0x00}; // a packet header without an operation, 20000000
    }
}

const char* idle_words(const fpga::Device& device)
{
    switch (device.architecture()) {
    case fpga::Architecture::length_count:
        return "ones";
    case fpga::Architecture::virtex:
        return "zeros";
    default:
        return "no-operation words";
    }
}

/// Appends bits, all of one value, up to a whole word.
unsigned fill_word(Configuration& data, bool ones)
{
    const auto missing = static_cast<unsigned>((WORD_BITS - data.bits % WORD_BITS) % WORD_BITS);
    if (const unsigned used = data.bits % 8; used != 0 && ones)
        data.bytes.back() = static_cast<std::uint8_t>(data.bytes.back() | 0xFFU << used);
    data.bits += missing;
    data.bytes.resize(data.bits / 8, ones ? 0xFF : 0x00);
    return missing;
}

void append_tail(Configuration& data, const Word& word)
{
    for (std::size_t done = 0; done < PLAIN_TAIL; done += word.size())
        data.bytes.insert(data.bytes.end(), word.begin(), word.end());
    data.bits = data.bytes.size() * 8;
}

/// How many bytes behind the last that the device needs loads hold back at the most.
std::uint64_t held_back(const std::string& part, Format format)
{
    if (!holds_back_tail(part))
        return 0;
    return format == Format::mcb ? MCB_TAIL : PLAIN_TAIL;
}

/// Whether the device starts without the last bytes.
bool can_spare(const Configuration& data, const fpga::Device& device, std::uint64_t bytes)
{
    if (bytes == 0)
        return true;
    const auto port = fpga::make_port(device);
    port->take(data.bytes);
    const fpga::PortReport report = port->report();
    return report.outcome == fpga::Outcome::done && data.bits - report.bits_to_done >= 8 * bytes;
}

} // namespace

void make_loadable(Configuration& data, const std::string& part, const fpga::Device& device, Format format,
                   std::vector<Change>& changes)
{
    const bool ones = device.architecture() == fpga::Architecture::length_count;
    if (const unsigned bits = fill_word(data, ones))
        changes.push_back({Change::Kind::fill, bits,
                           std::to_string(bits) + (ones ? " ones" : " zeros") +
                               " were added behind the configuration, so that its size is a multiple of 32 "
                               "bits"});
    const std::uint64_t tail = held_back(part, format);
    if (can_spare(data, device, tail))
        return;
    append_tail(data, idle_word(device));
    changes.push_back({Change::Kind::tail, PLAIN_TAIL,
                       std::to_string(PLAIN_TAIL) + " bytes of " + idle_words(device) +
                           " were added behind the configuration, as a load holds back the last " +
                           std::to_string(tail)});
}

} // namespace kvn
