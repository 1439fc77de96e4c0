// SPDX-License-Identifier: Apache-2.0
// Small bitstream files, good unless a test spoils them.
#include "support/bitstreams.h"

namespace
{
void append_big_endian(std::string& out, std::uint32_t value, int size)
{
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
        out += static_cast<char>(value >> shift & 0xFF);
}

void append_little_endian(std::string& out, std::uint32_t value)
{
    for (int shift = 0; shift < 32; shift += 8)
        out += static_cast<char>(value >> shift & 0xFF);
}

void append_field(std::string& out, char key, const std::optional<std::uint16_t>& length,
                  const std::string& text)
{
    out += key;
    append_big_endian(out, length.value_or(static_cast<std::uint16_t>(text.size())), 2);
    out += text;
}

std::string padded(std::string text)
{
    text.resize(255, '\0');
    return text;
}

std::string as_text(const Bytes& data)
{
    return {data.begin(), data.end()};
}
} // namespace

Bytes sample_data(std::size_t size)
{
    Bytes data;
    data.reserve(size);
    std::uint32_t state = 0x2545F491;
    while (data.size() < size) {
        state = state * 1664525U + 1013904223U;
        const std::size_t run = (state >> 28) == 0 ? 400 : 1 + (state >> 29);
        for (std::size_t i = 0; i < run && data.size() < size; ++i)
            data.push_back(static_cast<std::uint8_t>(state >> 16));
    }
    return data;
}

std::string rbt_line(const std::uint8_t* four_bytes)
{
    std::string line;
    for (int i = 0; i < 32; ++i)
        line += (four_bytes[i / 8] >> (i % 8) & 1) != 0 ? '1' : '0';
    return line + '\n';
}

Bytes reversed_bits(Bytes data)
{
    for (std::uint8_t& byte : data) {
        unsigned reversed = 0;
        for (unsigned bit = 0; bit < 8; ++bit)
            if ((byte >> bit & 1) != 0)
                reversed |= 0x80U >> bit;
        byte = static_cast<std::uint8_t>(reversed);
    }
    return data;
}

Bytes run_coded(const Bytes& data)
{
    Bytes pairs;
    for (std::size_t i = 0; i < data.size();) {
        std::size_t run = 1;
        while (run < 255 && i + run < data.size() && data[i + run] == data[i])
            ++run;
        pairs.push_back(static_cast<std::uint8_t>(run));
        pairs.push_back(data[i]);
        i += run;
    }
    return pairs;
}

RbtFile::RbtFile(std::size_t words) : RbtFile{sample_data(words * 4)} {}

RbtFile::RbtFile(const Bytes& transmission)
    : header{"Xilinx ASCII Bitstream\n",
             "Created by Bitstream G.38\n",
             "Design name: \tdesign.ncd\n",
             "Architecture:\tvirtex2\n",
             "Part:        \t2v3000fg676\n",
             "Date:        \tFri Feb 17 12:34:56 2006\n",
             "Bits:        \t0\n"}
{
    for (std::size_t i = 0; i + 4 <= transmission.size(); i += 4)
        data.push_back(rbt_line(&transmission[i]));
    stated_bits(static_cast<long>(data.size()) * 32);
}

RbtFile& RbtFile::device(std::string_view name)
{
    header[PART] = "Part:        \t" + std::string{name} + '\n';
    return *this;
}

RbtFile& RbtFile::without_date()
{
    header.erase(header.begin() + DATE);
    return *this;
}

RbtFile& RbtFile::cut_after(std::size_t header_lines)
{
    header.resize(header_lines);
    data.clear();
    return *this;
}

RbtFile& RbtFile::stated_bits(long bits)
{
    header.back() = "Bits:        \t" + std::to_string(bits) + '\n';
    return *this;
}

std::string RbtFile::text() const
{
    std::string all;
    for (const std::string& line : header)
        all += line;
    for (const std::string& line : data)
        all += line;
    return all + tail;
}

BitFile::BitFile(std::size_t size) : BitFile{sample_data(size)} {}

BitFile::BitFile(const Bytes& transmission_bytes) : data{reversed_bits(transmission_bytes)} {}

std::string BitFile::header() const
{
    std::string out;
    append_big_endian(out, magic_length, 2);
    out += as_text(magic);
    append_big_endian(out, key_length, 2);
    append_field(out, a_key, design_length, design);
    append_field(out, b_key, device_length, device);
    append_field(out, c_key, date_length, date);
    append_field(out, d_key, time_length, time);
    out += e_key;
    append_big_endian(out, byte_count.value_or(static_cast<std::uint32_t>(data.size())), 4);
    return out;
}

std::string BitFile::content() const
{
    return header() + as_text(data) + tail;
}

McbFile::McbFile(std::size_t size) : McbFile{sample_data(size)} {}

McbFile::McbFile(const Bytes& transmission)
    : byte_count{static_cast<std::int32_t>(transmission.size())}, runs{run_coded(transmission)}
{
}

std::string McbFile::header() const
{
    std::string out;
    append_little_endian(out, first_magic);
    append_little_endian(out, second_magic);
    out += padded(device);
    out += padded(timestamp);
    append_little_endian(out, static_cast<std::uint32_t>(byte_count));
    return out;
}

std::string McbFile::content() const
{
    return header() + as_text(runs) + tail;
}
