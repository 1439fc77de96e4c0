// Inspects an RBT file.
#include "inspectors.h"

#include "formats/progress.h"
#include "formats/rbt_format.h"
#include "kvnfpgai.h"

#include <array>
#include <cstring>
#include <string_view>

namespace kvn
{
namespace
{

constexpr const char* CONVERT_LINE_ENDS =
    "convert the line ends (dos2unix, or sed -i 's/\\r$//'), or transfer the file in binary mode";

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

/// Reads the header's lines and notes what is wrong with them.
class Header
{
public:
    Header(FILE* file, Inspection& inspection) : file_{file}, inspection_{inspection} {}

    /// @return whether data lines follow that the library would come to
    bool read()
    {
        if (!next())
            return problem("the file is empty", MAKE_AGAIN);
        const bool is_title = check_title();
        for (int line = 2; line <= 4; ++line) {
            if (!next())
                return ends_early();
            note_label();
        }
        if (!next())
            return ends_early();
        std::int32_t too_early = 0;
        if (line_.find_bit_count(too_early))
            note_label();
        char part[255];
        line_.copy_device(part);
        note_part(inspection_, std::string{trimmed(part)});
        if (!next())
            return ends_early();
        std::int32_t bits = 0;
        if (!line_.find_bit_count(bits)) {
            note_label();
            if (!next())
                return ends_early();
        }
        if (!line_.find_bit_count(bits))
            return lacks_bits();
        inspection_.stated_bits = bits;
        return is_title;
    }

    /// How many lines were read.
    [[nodiscard]] std::size_t lines() const { return lines_; }

private:
    bool next()
    {
        if (!line_.read(file_))
            return false;
        ++lines_;
        if (std::strlen(line_.text) + 1 == sizeof line_.text && std::strchr(line_.text, '\n') == nullptr)
            inspection_.problems.push_back(
                {"line " + std::to_string(lines_) + " is longer than 254 characters and is taken for several",
                 "shorten the line", false});
        return true;
    }

    bool check_title()
    {
        if (line_.is_title())
            return true;
        const std::string_view text{line_.text};
        if (text.ends_with("\r\n"))
            problem("the lines end in carriage return and line feed; the library takes a line feed alone",
                    CONVERT_LINE_ENDS);
        else
            problem("line 1 is \"" + std::string{text.substr(0, text.find('\n'))} +
                        "\", not \"Xilinx ASCII Bitstream\"",
                    "restore the title to the letter, with nothing behind it");
        return false;
    }

    /// "Design name: \tx.ncd" has a name; the tool's line has none.
    void note_label()
    {
        const std::string_view text{line_.text};
        std::int32_t bits = 0;
        if (line_.find_bit_count(bits))
            bits_line_ = lines_;
        is_mask_ = is_mask_ || (isinline(line_.text, "type:") && isinline(line_.text, "mask"));
        const std::size_t colon = text.find(':');
        if (colon == std::string_view::npos)
            inspection_.labels.push_back({"Line " + std::to_string(lines_), std::string{trimmed(text)}});
        else
            inspection_.labels.push_back(
                {std::string{trimmed(text.substr(0, colon))}, std::string{trimmed(text.substr(colon + 1))}});
    }

    bool lacks_bits()
    {
        if (bits_line_ != 0)
            return problem("the number of bits stands in line " + std::to_string(bits_line_) +
                               ", not in line 6 or 7: the header is not as the Xilinx tools write it",
                           "make the file again with the Xilinx tools");
        if (is_mask_)
            return problem("the file is a mask for reading back, no bitstream", "give the bitstream file");
        return problem("neither line 6 nor line 7 states the number of bits", MAKE_AGAIN);
    }

    bool ends_early()
    {
        return problem("the file ends inside its header, behind line " + std::to_string(lines_), MAKE_AGAIN);
    }

    bool problem(const std::string& what, const char* remedy)
    {
        inspection_.problems.push_back({what, remedy});
        return false;
    }

    FILE* file_;
    Inspection& inspection_;
    RbtLine line_;
    std::size_t lines_ = 0;
    std::size_t bits_line_ = 0; ///< where the number of bits stands too early
    bool is_mask_ = false;
};

/// What the lines of a file look like from a place on; the library's reader tells only that one is wrong.
struct OddLine {
    std::size_t length = 0;
    bool has_carriage_return = false;
};

OddLine look_at_line(FILE* file, std::size_t number)
{
    std::rewind(file);
    OddLine line;
    for (int c = std::getc(file); c != EOF && number > 0; c = std::getc(file)) {
        if (c == '\n') {
            --number;
        } else if (number == 1) {
            ++line.length;
            line.has_carriage_return = c == '\r';
        }
    }
    return line;
}

void note_wrong_line(FILE* file, std::size_t number, Inspection& inspection)
{
    const OddLine line = look_at_line(file, number);
    const std::string what = "line " + std::to_string(number) + " has " + std::to_string(line.length) +
                             " characters, not " + std::to_string(WORD_CHARS);
    const bool is_serial =
        inspection.device != nullptr && inspection.device->architecture() == fpga::Architecture::length_count;
    const char* remedy = MAKE_AGAIN;
    if (line.has_carriage_return)
        remedy = CONVERT_LINE_ENDS;
    else if (is_serial)
        remedy = "the tools write a line for each frame of this family; take the BIT file, as "
                 "docs/formats/spartan.md shows";
    inspection.problems.push_back({what, remedy});
}

/// Finds a character of the data that the library takes for 0 although it is none.
void note_odd_characters(FILE* file, std::size_t first_line, Inspection& inspection)
{
    std::rewind(file);
    std::size_t line = 1;
    std::size_t column = 0;
    for (int c = std::getc(file); c != EOF; c = std::getc(file)) {
        ++column;
        if (c == '\n') {
            ++line;
            column = 0;
        } else if (line >= first_line && c != '0' && c != '1') {
            inspection.problems.push_back({"line " + std::to_string(line) + " has a character at place " +
                                               std::to_string(column) +
                                               " that is neither 0 nor 1; the library takes it for 0",
                                           MAKE_AGAIN, false});
            return;
        }
    }
}

} // namespace

void inspect_rbt(File file, Inspection& inspection)
{
    Header header{file.get(), inspection};
    if (!header.read())
        return;
    DataSink sink{inspection};
    RbtDataReader lines{file.get()};
    std::array<std::uint8_t, BYTES_PER_REPORT> bytes{};
    std::size_t found_lines = 0;
    for (;;) {
        const std::size_t words = lines.read(bytes.data(), WORDS_PER_REPORT);
        sink.take(std::span{bytes}.first(words * WORD_SIZE));
        found_lines += words;
        if (words < WORDS_PER_REPORT)
            break;
    }
    sink.finish();
    if (lines.found_wrong_line())
        return note_wrong_line(file.get(), header.lines() + found_lines + 1, inspection);
    note_odd_characters(file.get(), header.lines() + 1, inspection);
    if (static_cast<std::int64_t>(inspection.found_bits) != *inspection.stated_bits)
        inspection.problems.push_back({"the header states " + std::to_string(*inspection.stated_bits) +
                                           " bits, the data lines hold " +
                                           std::to_string(inspection.found_bits),
                                       MAKE_AGAIN});
}

} // namespace kvn
