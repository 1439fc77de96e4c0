// SPDX-License-Identifier: Apache-2.0
// Bytes and texts as tests write them.
#ifndef KVN_FPGA_TESTS_SUPPORT_BYTES_H
#define KVN_FPGA_TESTS_SUPPORT_BYTES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// "0D 05  02 FF" as bytes; blanks only separate.
Bytes bytes(std::string_view hex);

/// Bytes as "0D 05 02 FF".
std::string hex(const void* data, std::size_t size);
std::string hex(const Bytes& data);

/// A text on one line: control characters and the backslash as in C.
std::string escaped(std::string_view text);

/// The parts of a text that a character ends; the last one needs none.
std::vector<std::string> split(const std::string& text, char end);

/// A mutable copy of a text, for functions that take char*.
class Chars
{
public:
    explicit Chars(std::string_view text) : chars_{text.begin(), text.end()} { chars_.push_back('\0'); }
    operator char*() { return chars_.data(); } // NOLINT(google-explicit-constructor): it stands for its text

private:
    std::vector<char> chars_;
};

/// A command line: argv[0] is the program's name.
class Arguments
{
public:
    Arguments(std::initializer_list<std::string_view> arguments);
    explicit Arguments(const std::vector<std::string>& arguments);
    [[nodiscard]] int argc() const { return static_cast<int>(texts_.size()); }
    [[nodiscard]] char** argv() { return pointers_.data(); }

private:
    void point();

    std::vector<std::string> texts_;
    std::vector<char*> pointers_;
};

#endif
