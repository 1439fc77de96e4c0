// SPDX-License-Identifier: Apache-2.0
// What a load or a conversion of one file must do, as plainly as it can be written: byte by byte, bit by bit.
//
// Shares nothing with the library, so that a difference between the two is a mistake in one of them. Files
// are texts here and never fail; the platform's functions are called as the library must call them.
#ifndef REFERENCE_MODEL_H
#define REFERENCE_MODEL_H

#include "mwapi.h"
#include "support/bytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace reference
{

enum class Format { rbt, bit, mcb };

/// One file, what becomes of it, and the module that it is loaded into.
struct Scenario {
    Format format = Format::rbt;
    std::string content;
    bool converts = false; ///< to MCB, or an MCB file to RBT; otherwise the file is loaded
    bool verbose = false;
    bool prompts = false;
    bool never_compresses = false;
    unsigned board = 0;
    unsigned address = 0x02; ///< of the module: its board in the high four bits, its slot in the low four
    std::string device;      ///< of the module
    bool virtex2 = false;    ///< whether that is of the Virtex-2 family
    bool accepts_compressed = false;
    std::uint8_t verdict = 5;     ///< what the module answers to the load
    std::string failing_function; ///< of the platform; empty if none fails
    int failing_call = 1;

    [[nodiscard]] const char* file_name() const;
    [[nodiscard]] const char* output_name() const;
};

/// What remains of a run beside what it printed, asked and sent.
struct Outcome {
    int number = 0;
    std::string text;
    std::optional<std::string> output; ///< content of the file that a conversion made
};

/// A text that is read as the C library reads a file.
class Input
{
public:
    explicit Input(const std::string& content) : content_{content} {}
    /// False when the file ends before so many bytes; `bytes` then holds what there was.
    bool read(std::size_t count, Bytes& bytes);
    /// Reads up to and with a line feed, and less than `limit` characters. The text ends at its first zero
    /// byte.
    bool line(std::size_t limit, std::string& text);

private:
    const std::string& content_;
    std::size_t next_ = 0;
};

class Model
{
public:
    /// What the run prints and asks is appended to `log`, in the words of the tests' fixture for runs.
    Model(const Scenario& scenario, MW_HANDLE* bus, std::vector<std::string>& log)
        : scenario_{scenario}, bus_{bus}, log_{log}, file_{scenario.content}
    {
    }

    Outcome play();

private:
    /// Thrown by the first error.
    struct Stop {
    };

    struct LoadNumbers;
    /// Equal bytes in a row.
    struct RunOfBytes {
        int count = 0;
        int value = -1;  ///< -1 before the first byte
        int written = 0; ///< runs before this one
    };

    [[noreturn]] void fail(int number, const char* format, ...) __attribute__((format(printf, 3, 4)));
    void print(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void wait_for_key(const char* text);
    std::string header_line(int number);
    Bytes header_bytes(int number, std::size_t count, const char* what);

    // Headers
    void read_bit_header();
    [[nodiscard]] bool suits_the_module(const std::string& device) const;

    // Converters
    void make_mcb_from_rbt();
    void make_mcb_from_bit();
    void code_word(const Bytes& word);
    void end_mcb(int error, const char* format);
    void make_rbt_from_mcb();
    void write_line(const Bytes& line);
    void report_conversion(const char* end);

    // Loaders
    void load_rbt();
    void load_bit();
    void load_mcb();
    [[nodiscard]] bool compressed() const
    {
        return scenario_.accepts_compressed && !scenario_.never_compresses;
    }
    void check(int number, const char* what, std::uint32_t status);
    void check_reply(int number, const char* what, std::uint32_t status);
    void start_load(const LoadNumbers& numbers);
    void send(int number, int byte);
    void flush(int number);
    void load_word(const LoadNumbers& numbers, const Bytes& word);
    void end_words(const LoadNumbers& numbers);
    std::uint8_t finish_load(const LoadNumbers& numbers);
    void judge_words(const LoadNumbers& numbers, std::uint8_t verdict);
    void succeed();
    void report_load(const char* end);

    const Scenario& scenario_;
    MW_HANDLE* bus_;
    std::vector<std::string>& log_;
    Input file_;
    Outcome outcome_;
    Bytes unsent_;
    RunOfBytes run_;
    std::string device_;
    std::string date_;
    std::string time_;
    std::uint32_t byte_count_ = 0;
    std::int32_t stated_ = 0; ///< bits, or bytes of an MCB file
    std::int32_t done_ = 0;
};

/// Configuration bytes of a word's 32 characters.
Bytes word_of(const std::string& characters);
/// The device that a part line names, or "".
std::string device_field(const std::string& part_line);
/// Where a word, in either case, begins in a line.
std::optional<std::size_t> find_word(const std::string& line, const std::string& word);
std::uint32_t big_endian(const Bytes& bytes);
std::uint32_t little_endian(const Bytes& bytes);
std::string text_of(const Bytes& bytes);
Bytes reversed(Bytes bytes);
/// A number in a text, as far as it goes, held to 32 bits.
std::int32_t decimal(const std::string& text);

} // namespace reference

#endif
