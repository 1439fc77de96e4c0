// SPDX-License-Identifier: Apache-2.0
// Configuration data as the formats hold them.
#include "file/bitstream_content.h"

#include "formats/bit_order.h"
#include "formats/rbt_format.h"
#include "formats/run_coding.h"

#include <algorithm>
#include <array>

namespace kvn
{
namespace
{

constexpr std::size_t STEP = 16384; // bytes of data at once; a multiple of a word

/// Room at the end of a text, for those who write bytes.
std::uint8_t* grow(std::string& content, std::size_t size)
{
    const std::size_t place = content.size();
    content.resize(place + size);
    return reinterpret_cast<std::uint8_t*>(content.data() + place); // NOLINT: bytes of the file
}

void append_lines(std::string& content, std::span<const std::uint8_t> data)
{
    content.reserve(content.size() + data.size() / WORD_SIZE * LINE_CHARS);
    std::array<char, LINE_CHARS> line{};
    for (; data.size() >= WORD_SIZE; data = data.subspan(WORD_SIZE)) {
        fastest::write_line(line.data(), data.data());
        content.append(line.data(), line.size());
    }
}

void append_runs(std::string& content, std::span<const std::uint8_t> data)
{
    RunEncoder runs;
    for (; !data.empty(); data = data.subspan(std::min(STEP, data.size()))) {
        const auto next = data.first(std::min(STEP, data.size()));
        const std::size_t before = content.size();
        const std::size_t used = runs.encode(next, grow(content, PAIR_SIZE * next.size()));
        content.resize(before + used);
    }
    runs.finish(grow(content, PAIR_SIZE));
}

} // namespace

void append_data(std::string& content, Format format, std::span<const std::uint8_t> data)
{
    switch (format) {
    case Format::rbt:
        return append_lines(content, data);
    case Format::bit:
        return reverse_bytes(grow(content, data.size()), data.data(), data.size());
    default:
        return append_runs(content, data);
    }
}

} // namespace kvn
