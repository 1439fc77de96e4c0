// SPDX-License-Identifier: Apache-2.0
// Reads .con files, strictly or as the classic way does.
#include "bus/slot_address.h"
#include "kvnfpgai.h"
#include "plan/plan.h"
#include "plan/plan_findings.h"
#include "support/text.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <limits>

namespace kvn
{
namespace
{

/// The classic way reads lines in pieces of this size, line feed included.
constexpr std::size_t LONGEST_LINE = 255;
constexpr std::size_t FIELDS = 4;
constexpr const char* HOW_TO_COMMENT = "begin a comment with \" in the first column";

using Fields = std::vector<std::string_view>;

Fields fields_of(std::string_view line)
{
    Fields fields;
    while (true) {
        const std::size_t begin = line.find_first_not_of(" \t");
        if (begin == std::string_view::npos)
            return fields;
        line.remove_prefix(begin);
        const std::string_view field = line.substr(0, line.find_first_of(" \t"));
        fields.push_back(field);
        line.remove_prefix(field.size());
    }
}

std::string in_quotes(std::string_view text)
{
    return '"' + std::string{text} + '"';
}

/// A number from its first digit to its last character.
std::optional<unsigned> whole_number(std::string_view text, int base)
{
    unsigned value = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    return problem == std::errc{} && end == text.data() + text.size() ? std::optional{value} : std::nullopt;
}

std::optional<unsigned> slot_address(std::string_view text)
{
    const bool is_hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const auto value = is_hexadecimal ? whole_number(text.substr(2), 16) : whole_number(text, 10);
    return value && *value <= 0xFF ? value : std::nullopt;
}

ModuleName module_at(std::string_view board_type, unsigned board, unsigned address)
{
    ModuleName name{{std::string{board_type}, board}, std::nullopt, slot_of(static_cast<int>(address))};
    const unsigned carrier = board_of(static_cast<int>(address));
    if (carrier != board)
        name.target_board = carrier;
    return name;
}

/// The names under which a bitstream of a .con file may lie; none for an extension that is not taken.
std::vector<std::string> candidates(const std::string& name)
{
    const int extension = kvn_fpga_imp::Check_Extension(name.c_str(), ".rbt");
    if (extension > 0)
        return {name + ".rbt", name + ".mcb"};
    return extension == 0 || kvn_fpga_imp::Check_Extension(name.c_str(), ".mcb") == 0
               ? std::vector{name}
               : std::vector<std::string>{};
}

/// Collects the modules and findings of a .con file.
class ConReader
{
public:
    ConReader(const std::string& file, const FileFinder& files) : files_{files} { plan_.file = file; }

    /// @param line without its line feed
    void read_strictly(std::string_view line)
    {
        ++line_;
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        const Fields fields = fields_of(line);
        if (fields.empty())
            return;
        if (line.front() == '"')
            check_comment(line);
        else if (is_readable(line))
            read_module(fields);
    }

    /// @param piece at most LONGEST_LINE characters of a line
    /// @param begins_line false for a later piece of a long line
    void read_classically(std::string_view piece, bool begins_line)
    {
        if (begins_line)
            ++line_;
        else
            note("the line has more than 255 characters; the rest is read as a line of its own");
        if (piece.ends_with('\r') && piece.size() > 1)
            piece.remove_suffix(1); // it stands behind all fields, and does no harm
        if (const std::size_t zero = piece.find('\0'); zero != std::string_view::npos) {
            note("a zero byte ends the line");
            piece = piece.substr(0, zero);
        }
        if (piece.starts_with(' ') && !fields_of(piece).empty())
            note("the line begins with a blank and is skipped");
        if (!piece.empty() && piece.front() != '"' && piece.front() != ' ')
            take_module(piece);
    }

    [[nodiscard]] Plan finish()
    {
        if (plan_.modules.empty() && !plan_.has_problem()) {
            line_ = 0;
            problem("the plan names no module", "write a line for each module: FILE BOARDTYPE BOARD SLOT");
        }
        return std::move(plan_);
    }

private:
    [[nodiscard]] PlanPlace place() const { return {plan_.file, line_}; }
    void note(std::string what, std::string remedy = {})
    {
        plan_.findings.push_back({Severity::note, place(), std::move(what), std::move(remedy)});
    }
    void problem(std::string what, std::string remedy)
    {
        plan_.findings.push_back({Severity::problem, place(), std::move(what), std::move(remedy)});
    }

    /// A name in quotation marks looks like a module to people, and is a comment to every reader.
    void check_comment(std::string_view line)
    {
        const std::size_t closing = line.find('"', 1);
        if (closing == std::string_view::npos)
            return;
        const Fields rest = fields_of(line.substr(closing + 1));
        if (rest.size() >= FIELDS - 1 && whole_number(rest[1], 10) && slot_address(rest[2]))
            problem("the name " + std::string{line.substr(0, closing + 1)} +
                        " is quoted, which makes the line a comment",
                    "write the name without quotation marks");
    }

    bool is_readable(std::string_view line)
    {
        if (line.size() >= LONGEST_LINE)
            problem("the line has " + std::to_string(line.size()) +
                        " characters; the classic way reads up to 254",
                    "shorten the line, for example by a shorter path");
        else if (std::ranges::any_of(line, [](char c) {
                     return (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == '\x7F';
                 }))
            problem("the line holds a control character", "write plain text");
        else if (is_blank(line.front()))
            problem(std::string{"the line begins with a "} + (line.front() == ' ' ? "blank" : "tab") +
                        (line.front() == ' ' ? "; the classic way skips it"
                                             : "; the classic way takes an empty name for the bitstream"),
                    std::string{"begin the line with the bitstream's name; "} + HOW_TO_COMMENT);
        else
            return true;
        return false;
    }

    void read_module(const Fields& fields)
    {
        if (fields.size() < FIELDS) {
            problem("the line has " + std::to_string(fields.size()) + " of 4 fields",
                    std::string{"write FILE BOARDTYPE BOARD SLOT; "} + HOW_TO_COMMENT);
            return;
        }
        const bool type_is_good = check_type(fields[1]);
        const auto board = whole_number(fields[2], 10);
        const bool board_is_good = board && is_board(*board);
        if (!board_is_good)
            problem("the board number " + in_quotes(fields[2]) + " is no whole number from 0 to 15",
                    "write the number of the board whose bus is opened");
        const auto address = slot_address(fields[3]);
        const bool slot_is_good = address && is_slot(slot_of(static_cast<int>(*address)));
        if (!slot_is_good)
            problem(
                "the slot address " + in_quotes(fields[3]) + " names no slot",
                "write the slot, 1 to 4, plus 16 times the number of the board with the module: 2, or 0x12");
        const std::string file = find_file(std::string{fields[0]});
        if (!type_is_good || !board_is_good || !slot_is_good || file.empty())
            return;
        const ModuleName module = module_at(fields[1], *board, *address);
        if (*address <= static_cast<unsigned>(LAST_SLOT) && *board != 0)
            note("slot address " + std::string{fields[3]} + " is slot " + std::to_string(module.slot) +
                     " of board 0, reached over board " + std::to_string(*board),
                 "for the slot of board " + std::to_string(*board) + " itself write " +
                     std::to_string(*address + 16 * *board));
        add_module(plan_, {.place = place(), .module = module, .file = file});
    }

    bool check_type(std::string_view type)
    {
        const bool is_good =
            type.size() <= LONGEST_BOARD_TYPE && type.find_first_of(":/") == std::string_view::npos;
        if (!is_good)
            problem(in_quotes(type) + " is no board type",
                    "write a type such as mwc4a, of up to 31 characters");
        return is_good;
    }

    /// The path of a bitstream; empty, with a finding, when there is none.
    std::string find_file(const std::string& name)
    {
        const std::vector<std::string> names = candidates(name);
        if (names.empty()) {
            problem(name + " has another extension than .rbt and .mcb",
                    name.ends_with(".bit") ? "kvn plan convert " + plan_.file +
                                                 " makes a plan file, which takes BIT "
                                                 "files too"
                                           : "name an RBT or MCB file");
            return {};
        }
        for (const std::string& each : names) {
            std::string near = beside(plan_.file, each);
            if (files_.exists(each)) {
                if (near != each && near != "./" + each && files_.exists(near))
                    note(each + " lies in the working directory and beside the plan; the one in the working "
                                "directory is taken",
                         "write the path of the one that you mean");
                return each;
            }
            if (files_.exists(near))
                return near;
        }
        problem(name + " is neither in the working directory nor beside the plan",
                "check the name, or write the path");
        return {};
    }

    /// Takes a line as the classic way does, which reads on over every mistake but four.
    void take_module(std::string_view piece)
    {
        Fields fields = fields_of(piece);
        // Its first field begins in the first column: before a tab it is empty.
        if (is_blank(piece.front()))
            fields.insert(fields.begin(), std::string_view{});
        const std::size_t given = fields.size();
        fields.resize(std::max(FIELDS, given));
        if (given < FIELDS)
            note("the line has " + std::to_string(given) + " of 4 fields; missing numbers are 0");
        const std::string file = classic_file(std::string{fields[0]});
        if (file.empty())
            return;
        // The session keeps 16 bits of the board's number and 8 of the slot address.
        const auto board = static_cast<std::uint16_t>(to_number(std::string{fields[2]}.c_str()));
        const auto address =
            static_cast<std::uint8_t>(kvn_fpga_imp::parse_number(std::string{fields[3]}.c_str()));
        tell_reading(fields[2], board, whole_number(fields[2], 10));
        tell_reading(fields[3], address, slot_address(fields[3]));
        if (!is_board(board))
            problem("the board number is " + std::to_string(board) +
                        ", not 0 to 15: the run ends here with 9025",
                    "correct the number");
        else if (!is_slot(slot_of(address)))
            problem("the slot is " + std::to_string(slot_of(address)) +
                        ", not 1 to 4: the run ends here with 9026",
                    "correct the slot address");
        else
            plan_.modules.push_back(
                {.place = place(), .module = module_at(fields[1], board, address), .file = file});
    }

    void tell_reading(std::string_view text, unsigned taken, std::optional<unsigned> meant)
    {
        if (!text.empty() && meant != taken)
            note(in_quotes(text) + " is taken for " + std::to_string(taken));
    }

    std::string classic_file(const std::string& name)
    {
        for (const std::string& each : candidates(name))
            if (files_.exists(each))
                return each;
        problem((name.empty() ? "the bitstream's name is empty"
                              : name + " is not in the working directory, or has "
                                       "another extension than .rbt and .mcb") +
                    std::string{": the run ends here"},
                "correct the name");
        return {};
    }

    const FileFinder& files_;
    Plan plan_;
    std::size_t line_ = 0;
};

} // namespace

Plan read_con_plan(std::string_view text, const std::string& file, ConReading reading,
                   const FileFinder& files)
{
    ConReader reader{file, files};
    while (!text.empty()) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (reading == ConReading::strict) {
            reader.read_strictly(line);
            continue;
        }
        for (bool begins = true; begins || !line.empty(); begins = false) {
            const std::string_view piece = line.substr(0, LONGEST_LINE);
            reader.read_classically(piece, begins);
            line.remove_prefix(piece.size());
        }
    }
    return reader.finish();
}

} // namespace kvn
