// SPDX-License-Identifier: Apache-2.0
// Makes configuration data of several kinds, and the bitstream files that hold it.
#include "test_data.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>
#include <stdexcept>

namespace
{
constexpr char DEVICE[] = "2vp100ff1704";

using Generator = std::mt19937;

std::size_t up_to(Generator& generator, std::size_t most)
{
    return 1 + generator() % most;
}

std::uint8_t random_byte(Generator& generator)
{
    return static_cast<std::uint8_t>(generator());
}

/// On average 200 zeros, then 86 random bytes.
Bytes make_mix(std::size_t size, Generator& generator)
{
    Bytes data;
    data.reserve(size + 600);
    while (data.size() < size) {
        data.insert(data.end(), up_to(generator, 400), 0);
        std::generate_n(std::back_inserter(data), up_to(generator, 171),
                        [&] { return random_byte(generator); });
    }
    data.resize(size);
    return data;
}

Bytes make_flip(std::size_t size, Generator& generator)
{
    Bytes data(size);
    std::uint8_t byte = 0;
    for (std::uint8_t& place : data) {
        if (generator() % 2 == 0)
            byte = static_cast<std::uint8_t>(byte + up_to(generator, 255));
        place = byte;
    }
    return data;
}

/// A number in big-endian order.
std::string big_endian(std::size_t number, int size)
{
    std::string bytes;
    while (size-- > 0)
        bytes += static_cast<char>(number >> 8 * size);
    return bytes;
}

std::string little_endian(std::size_t number)
{
    std::string bytes = big_endian(number, 4);
    return {bytes.rbegin(), bytes.rend()};
}

std::string keyed_text(char key, const std::string& text)
{
    return key + big_endian(text.size(), 2) + text;
}

std::string mcb_text(std::string text)
{
    text.resize(255);
    return text;
}

std::string as_text(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

void write_file(const std::string& name, const std::string& content)
{
    std::unique_ptr<std::FILE, FileCloser> file{std::fopen(name.c_str(), "wb")};
    if (!file || std::fwrite(content.data(), 1, content.size(), file.get()) != content.size() ||
        std::fclose(file.release()) != 0)
        throw std::runtime_error("cannot write " + name);
}
} // namespace

Bytes make_data(std::string_view kind, std::size_t size)
{
    Generator generator{1};
    if (kind == "mix")
        return make_mix(size, generator);
    if (kind == "flip")
        return make_flip(size, generator);
    if (kind == "zero")
        return Bytes(size, 0);
    if (kind != "random")
        throw std::invalid_argument("there is no data of kind " + std::string{kind});
    Bytes data(size);
    std::generate(data.begin(), data.end(), [&] { return random_byte(generator); });
    return data;
}

std::string rbt_lines(const Bytes& data)
{
    std::string lines;
    lines.reserve(data.size() / 4 * 33);
    for (std::size_t i = 0; i < data.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit)
            lines += (data[i] >> bit & 1) != 0 ? '1' : '0';
        if (i % 4 == 3)
            lines += '\n';
    }
    return lines;
}

Bytes reversed_bits(const Bytes& data)
{
    Bytes reversed(data.size(), 0);
    for (std::size_t i = 0; i < data.size(); ++i)
        for (int bit = 0; bit < 8; ++bit)
            if ((data[i] >> bit & 1) != 0)
                reversed[i] = static_cast<std::uint8_t>(reversed[i] | 0x80 >> bit);
    return reversed;
}

Bytes run_coded(const Bytes& data)
{
    Bytes pairs;
    for (std::size_t i = 0; i < data.size();) {
        std::size_t count = 1;
        while (count < 255 && i + count < data.size() && data[i + count] == data[i])
            ++count;
        pairs.push_back(static_cast<std::uint8_t>(count));
        pairs.push_back(data[i]);
        i += count;
    }
    return pairs;
}

std::string rbt_file(const Bytes& data)
{
    return "Xilinx ASCII Bitstream\nCreated by Bitstream\nDesign name: \tdesign.ncd\nArchitecture:\tvirtex2p\n"
           "Part:        \t" +
           std::string{DEVICE} + "\nDate:        \tFri Feb 17 12:34:56 2006\nBits:        \t" +
           std::to_string(data.size() * 8) + "\n" + rbt_lines(data);
}

std::string bit_file(const Bytes& data)
{
    static constexpr char magic[] = "\x0F\xF0\x0F\xF0\x0F\xF0\x0F\xF0";
    const auto with_zero = [](std::string text) { return text + '\0'; };
    return big_endian(9, 2) + std::string{magic, sizeof magic} + big_endian(1, 2) +
           keyed_text('a', with_zero("design.ncd")) + keyed_text('b', with_zero(DEVICE)) +
           keyed_text('c', with_zero("2006/02/17")) + keyed_text('d', with_zero("12:34:56")) + 'e' +
           big_endian(data.size(), 4) + as_text(reversed_bits(data));
}

std::string mcb_file(const Bytes& data)
{
    return little_endian(0x00441278) + little_endian(0x00760188) + mcb_text(DEVICE) +
           mcb_text("Date:        \tFri Feb 17 12:34:56 2006\n") + little_endian(data.size()) +
           as_text(run_coded(data));
}

void write_files(const BitstreamFiles& files, const Bytes& data)
{
    write_file(files.rbt, rbt_file(data));
    write_file(files.bit, bit_file(data));
    write_file(files.mcb, mcb_file(data));
}
