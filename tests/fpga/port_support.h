// SPDX-License-Identifier: Apache-2.0
// What the tests of the configuration ports share: feeding streams and naming verdicts.
#ifndef KVN_TESTS_PORT_SUPPORT_H
#define KVN_TESTS_PORT_SUPPORT_H

#include "configuration_port.h"
#include "stream.h"

#include <cctype>
#include <ostream>
#include <span>
#include <string>
#include <vector>

namespace fpga
{

inline void PrintTo(Outcome outcome, std::ostream* out)
{
    *out << outcome_name(outcome);
}

inline void PrintTo(const Device& device, std::ostream* out)
{
    *out << device.name;
}

} // namespace fpga

/// A device's report on a stream in file order, fed in pieces of 8 bytes.
inline fpga::PortReport configure(const fpga::Device& device, std::span<const std::uint8_t> stream)
{
    const auto port = fpga::make_port(device);
    const std::vector<std::uint8_t> bus = fpga::reverse_each(stream);
    const std::span<const std::uint8_t> all{bus};
    for (std::size_t at = 0; at < all.size(); at += 8)
        port->take(all.subspan(at, std::min<std::size_t>(8, all.size() - at)));
    return port->report();
}

inline std::span<const std::uint8_t> less_words(std::span<const std::uint8_t> stream, std::size_t words)
{
    return stream.first(stream.size() - 4 * words);
}

inline std::string test_name(std::string_view text)
{
    std::string name{text};
    for (char& letter : name) {
        if (std::isalnum(static_cast<unsigned char>(letter)) == 0)
            letter = '_';
    }
    return name;
}

#endif
