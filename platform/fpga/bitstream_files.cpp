// SPDX-License-Identifier: Apache-2.0
// Writes bitstream files: RBT (text) and BIT (binary), well-formed or with a chosen defect.
#include "bitstream_files.h"

#include <cctype>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace fpga
{
namespace
{

constexpr std::size_t WORD_CHARACTERS = 32;

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { (void)std::fclose(file); }
};

void write_file(const std::string& path, std::string_view content)
{
    std::unique_ptr<std::FILE, FileCloser> file{std::fopen(path.c_str(), "wb")};
    if (!file)
        throw std::runtime_error("cannot create " + path);
    const bool written = std::fwrite(content.data(), 1, content.size(), file.get()) == content.size();
    const bool closed = std::fclose(file.release()) == 0;
    if (!written || !closed)
        throw std::runtime_error("cannot write " + path);
}

std::string characters(std::span<const std::uint8_t> data)
{
    std::string text;
    text.reserve(data.size() * 8);
    for (const std::uint8_t byte : data) {
        for (int bit = 7; bit >= 0; --bit)
            text += (byte >> bit & 1) != 0 ? '1' : '0';
    }
    return text;
}

class RbtText
{
public:
    explicit RbtText(FileDefect defect) : end_{defect == FileDefect::carriage_returns ? "\r\n" : "\n"} {}
    void line(std::string_view content) { text_.append(content).append(end_); }
    [[nodiscard]] const std::string& text() const { return text_; }

private:
    std::string_view end_;
    std::string text_;
};

void write_header(RbtText& text, const FileLabels& labels, std::uint64_t stated_bits, FileDefect defect)
{
    text.line(defect == FileDefect::title ? "ASCII Bitstream" : "Xilinx ASCII Bitstream");
    text.line(labels.tool);
    text.line("Design name: \t" + labels.design);
    text.line("Architecture:\t" + labels.architecture);
    text.line("Part:        \t" + labels.part);
    text.line("Date:        \t" + labels.rbt_date);
    text.line("Bits:        \t" + std::to_string(stated_bits));
}

void write_word_lines(RbtText& text, std::string_view bits, FileDefect defect)
{
    const std::size_t short_line = bits.size() / WORD_CHARACTERS / 2 * WORD_CHARACTERS;
    for (std::size_t at = 0; at < bits.size(); at += WORD_CHARACTERS) {
        const bool cut = defect == FileDefect::short_line && at == short_line;
        text.line(bits.substr(at, cut ? WORD_CHARACTERS - 1 : WORD_CHARACTERS));
    }
}

void write_frame_lines(RbtText& text, std::string_view bits, unsigned frame_bits)
{
    constexpr std::size_t HEAD = 40;
    text.line(bits.substr(0, HEAD));
    bits.remove_prefix(HEAD);
    // What follows the last frame is shorter than any frame.
    for (; bits.size() >= frame_bits; bits.remove_prefix(frame_bits))
        text.line(bits.substr(0, frame_bits));
    text.line(bits);
}

void append_number(std::string& content, std::size_t number, unsigned bytes)
{
    while (bytes-- > 0)
        content += static_cast<char>(number >> 8 * bytes & 0xFF);
}

void append_field(std::string& content, char key, std::string_view text)
{
    constexpr std::size_t LONGEST = 0xFFFF - 1;
    text = text.substr(0, LONGEST);
    content += key;
    append_number(content, text.size() + 1, 2);
    content.append(text).push_back('\0');
}

std::string bit_header(const FileLabels& labels, std::uint32_t stated_bytes, FileDefect defect)
{
    std::string content;
    append_number(content, 9, 2);
    content.append(defect == FileDefect::title ? "\x0E" : "\x0F");
    content.append("\xF0\x0F\xF0\x0F\xF0\x0F\xF0").push_back('\0');
    append_number(content, 1, 2);
    append_field(content, 'a', labels.design);
    append_field(content, 'b', labels.part);
    append_field(content, defect == FileDefect::missing_key ? 'x' : 'c', labels.bit_date);
    append_field(content, 'd', labels.bit_time);
    content += 'e';
    append_number(content, stated_bytes, 4);
    return content;
}

} // namespace

std::string architecture_name(Family family)
{
    std::string name;
    for (const char letter : family_name(family)) {
        if (letter == ' ')
            break;
        if (letter != '-')
            name += static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    }
    return family == Family::virtex2_pro ? name + "p" : name;
}

std::string rbt_header(const FileLabels& labels, std::uint64_t stated_bits)
{
    RbtText text{FileDefect::none};
    write_header(text, labels, stated_bits, FileDefect::none);
    return text.text();
}

std::string bit_header(const FileLabels& labels, std::uint32_t stated_bytes)
{
    return bit_header(labels, stated_bytes, FileDefect::none);
}

void write_rbt(const std::string& path, std::span<const std::uint8_t> data, const FileLabels& labels,
               FileDefect defect, unsigned frame_bits)
{
    if (defect == FileDefect::missing_key || defect == FileDefect::trailing_bytes)
        throw std::invalid_argument("a RBT file cannot have this defect");
    if (frame_bits == 0 && data.size() % 4 != 0)
        throw std::invalid_argument(
            "the data are not a multiple of 32 bits long, so lines of 32 characters cannot hold them");

    const std::string bits = characters(data);
    const std::size_t stated = bits.size() + (defect == FileDefect::stated_size ? WORD_CHARACTERS : 0);
    RbtText text{defect};
    write_header(text, labels, stated, defect);
    if (frame_bits == 0)
        write_word_lines(text, bits, defect);
    else
        write_frame_lines(text, bits, frame_bits);
    write_file(path, text.text());
}

void write_bit(const std::string& path, std::span<const std::uint8_t> data, const FileLabels& labels,
               FileDefect defect)
{
    if (defect == FileDefect::carriage_returns || defect == FileDefect::short_line)
        throw std::invalid_argument("a BIT file cannot have this defect");

    const std::size_t stated = data.size() + (defect == FileDefect::stated_size ? 4 : 0);
    std::string content = bit_header(labels, static_cast<std::uint32_t>(stated), defect);
    content.append(data.begin(), data.end());
    if (defect == FileDefect::trailing_bytes)
        content.append(4, '\xFF');
    write_file(path, content);
}

} // namespace fpga
