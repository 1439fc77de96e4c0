// SPDX-License-Identifier: Apache-2.0
// Turns the bytes of a fuzzer into decisions; bytes that are missing are zero.
#ifndef KVN_FPGA_FUZZ_CHOICES_H
#define KVN_FPGA_FUZZ_CHOICES_H

#include "support/bytes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

class Choices
{
public:
    Choices(const std::uint8_t* data, std::size_t size) : rest_{data, size} {}

    [[nodiscard]] bool empty() const { return rest_.empty(); }

    std::uint8_t byte()
    {
        if (rest_.empty())
            return 0;
        const std::uint8_t first = rest_.front();
        rest_ = rest_.subspan(1);
        return first;
    }
    std::uint32_t word()
    {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8 | byte();
        return value;
    }
    /// A number from 0 to limit - 1.
    std::size_t below(std::size_t limit)
    {
        const std::size_t value = limit <= 256 ? byte() : word();
        return value % limit;
    }
    bool yes() { return (byte() & 1) != 0; }
    /// True for one byte value in so many.
    bool once_in(std::size_t count) { return below(count) == count - 1; }

    template <class T, std::size_t Size>
    const T& one_of(const T (&values)[Size])
    {
        return values[below(Size)];
    }

    /// The bytes up to the next zero byte or line feed, or to the end.
    std::string line()
    {
        const auto end = std::find_if(rest_.begin(), rest_.end(), [](auto c) { return c == 0 || c == '\n'; });
        const std::string text{rest_.begin(), end};
        rest_ = rest_.subspan(std::min(text.size() + 1, rest_.size()));
        return text;
    }
    Bytes bytes(std::size_t count)
    {
        count = std::min(count, rest_.size());
        const Bytes taken{rest_.begin(), rest_.begin() + static_cast<std::ptrdiff_t>(count)};
        rest_ = rest_.subspan(count);
        return taken;
    }
    /// So many bytes, with zeros behind those that are missing.
    Bytes exactly(std::size_t count)
    {
        Bytes taken = bytes(count);
        taken.resize(count);
        return taken;
    }
    std::string text(std::size_t count)
    {
        const Bytes taken = bytes(count);
        return {taken.begin(), taken.end()};
    }
    [[nodiscard]] std::span<const std::uint8_t> rest() const { return rest_; }

private:
    std::span<const std::uint8_t> rest_;
};

#endif
