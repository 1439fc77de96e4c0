// SPDX-License-Identifier: Apache-2.0
// The outputs of the three conversions: where they go, and what comes of a disk without room.
#include "conversion.h"

#include <algorithm>
#include <filesystem>
#include <ostream>

namespace
{
/// A conversion, its input, and the errors of its output.
struct Way {
    const char* name;
    Conversion::Converter converter;
    const char* input;
    const char* output;
    std::string content;
    std::string miscounted; ///< another number of bits or bytes than stated
    int output_buffer;      ///< the allocation that fails, so that nothing is gathered on the way
    const char* cannot_create;
    const char* wrong_count;
    int disk_is_full_at_the_end;
    /// The error of a byte of the output that found no room.
    Result (*full_at)(std::size_t room, const std::string& whole);

    friend void PrintTo(const Way& way, std::ostream* out) { *out << way.name; }
};

using McbNumbers = int[9];
/// The numbers of what is written to an MCB file, in its order; two each for the two bytes of a run, and two
/// for those of the last run.
constexpr McbNumbers of_rbt_file{9243, 9244, 9246, 9248, 9250, 9252, 9253, 9254, 9255};
constexpr McbNumbers of_bit_file{9411, 9412, 9413, 9414, 9415, 9418, 9419, 9420, 9421};

template <const McbNumbers& numbers>
Result mcb_full_at(std::size_t room, const std::string& whole)
{
    constexpr std::size_t field_ends[] = {4, 8, 263, 518, 522};
    const auto* const end = std::ranges::upper_bound(field_ends, room);
    auto place = static_cast<std::size_t>(end - field_ends);
    const bool in_header = end != std::end(field_ends);
    if (!in_header)
        place += (room < whole.size() - 2 ? 0 : 2) + room % 2;
    return Fails("Error " + std::to_string(numbers[place]) + ". Cannot write " +
                 (in_header ? "header" : "MCB file data") + " to MCB file design.mcb.");
}

/// The write of the bit count is not looked at, so there it is the first character of the data that fails.
Result rbt_full_at(std::size_t room, const std::string& whole)
{
    const std::pair<const char*, int> header[] = {
        {"Generated", 9274}, {"Part:", 9275}, {"Date:", 9276}, {"bits:", 9279}};
    for (const auto& [next, number] : header)
        if (room < whole.find(next))
            return Fails("Error " + std::to_string(number) +
                         ". Failed to write header section of RBT file design.rbt.");
    const std::size_t data = whole.find('\n', whole.find("bits:")) + 1;
    const char failed = whole[std::max(room, data)];
    const int number = failed == '1' ? 9295 : failed == '0' ? 9296 : 9297;
    return Fails("Error " + std::to_string(number) + ". Failed to write to RBT file design.rbt.");
}

std::vector<Way> ways()
{
    const Bytes data = bytes("01 02 03 04 05 06 07 08");
    BitFile bit{data};
    bit.tail = std::string(1024, 'x');
    McbFile mcb{data};
    ++mcb.runs[14];
    return {{"RbtToMcb", &kvn_fpga_imp::Make_mcb_file_rbt, "design.rbt", "design.mcb", RbtFile{data}.text(),
             RbtFile{data}.stated_bits(96).text(), 1, "Error 9242. Cannot open/create MCB file design.mcb.",
             "Error 9256. Incorrect number of bits in RBT file design.rbt.", 9255, mcb_full_at<of_rbt_file>},
            // The header's four texts are allocated first.
            {"BitToMcb", &kvn_fpga_imp::Make_mcb_file_bit, "design.bit", "design.mcb",
             BitFile{data}.content(), bit.content(), 5, "Error 9410. Cannot open/create MCB file design.mcb.",
             "Error 9422. Incorrect number of bits in BIT file design.bit.", 9421, mcb_full_at<of_bit_file>},
            {"McbToRbt", &kvn_fpga_imp::Make_rbt_file, "design.mcb", "design.rbt", McbFile{data}.content(),
             mcb.content(), 1, "Error 9273. Cannot open/create RTB file design.rbt.",
             "Error 9284. Incorrect number of bytes in MCB file design.mcb.", 9297, rbt_full_at}};
}

class WayOut : public Conversion
{
protected:
    explicit WayOut(const Way& chosen) : Conversion{chosen.converter, chosen.input}, way{chosen}
    {
        write_file(way.input, way.content);
    }

    std::string whole()
    {
        EXPECT_EQ(convert(), Succeeds());
        return read_file(way.output);
    }

    const Way way;
};

class ConversionOutput : public WayOut, public testing::WithParamInterface<Way>
{
protected:
    ConversionOutput() : WayOut{GetParam()} {}
};

constexpr void (*linked_as[])(const char* file, const char* name) = {
    [](const char* file, const char* name) { std::filesystem::create_hard_link(file, name); },
    [](const char* file, const char* name) { std::filesystem::create_symlink(file, name); },
};

/// A disk that is full within the fields of an error number.
class FullDisk : public WayOut, public testing::WithParamInterface<std::pair<Way, int>>
{
protected:
    FullDisk() : WayOut{GetParam().first} {}
};

std::vector<std::pair<Way, int>> full_disks()
{
    const std::vector<Way> all = ways();
    std::vector<std::pair<Way, int>> disks;
    for (const int number : of_rbt_file)
        disks.emplace_back(all[0], number);
    for (const int number : of_bit_file)
        disks.emplace_back(all[1], number);
    for (const int number : {9274, 9275, 9276, 9279, 9295, 9296, 9297})
        disks.emplace_back(all[2], number);
    return disks;
}
} // namespace

TEST_P(ConversionOutput, Error9242Or9410Or9273WhenItCannotBeCreated)
{
    std::filesystem::create_directory(way.output);
    EXPECT_EQ(convert(), Fails(way.cannot_create));
}

TEST_P(ConversionOutput, Error9242Or9410Or9273WhenItIsTheInputUnderAnotherName)
{
    for (const auto link : linked_as) {
        link(way.input, way.output);
        EXPECT_EQ(convert(), Fails(way.cannot_create));
        EXPECT_EQ(read_file(way.input), way.content) << "the input is as it was";
        std::filesystem::remove(way.output);
    }
}

TEST_P(ConversionOutput, ReplacesAnotherFileThatItIsALinkTo)
{
    const std::string expected = whole();
    for (const auto link : linked_as) {
        std::filesystem::remove(way.output);
        write_file("other", std::string(10000, 'x'));
        link("other", way.output);
        EXPECT_EQ(convert(), Succeeds());
        EXPECT_EQ(read_file("other"), expected);
    }
}

TEST_P(ConversionOutput, MayFillTheDisk)
{
    const std::string expected = whole();
    const SmallOutputFile output{expected.size()};
    fail_allocation_at(way.output_buffer);
    EXPECT_EQ(convert(), Succeeds());
    EXPECT_EQ(output.taken, expected);
}

TEST_P(ConversionOutput, Error9255Or9421Or9297WhenTheDiskIsFullAtTheEnd)
{
    SmallOutputFile output{whole().size() - 1};
    output.gathers = true;
    EXPECT_EQ(convert().number, way.disk_is_full_at_the_end);
    EXPECT_TRUE(prints().back().starts_with(R"(\r% Done: 100)")) << "found behind the last line";
}

TEST_P(ConversionOutput, Error9256Or9422Or9284KeepsItsNumberWhenTheDiskIsFullAtTheEnd)
{
    write_file(way.input, way.miscounted);
    EXPECT_EQ(convert(), Fails(way.wrong_count));
    SmallOutputFile output{read_file(way.output).size() - 1};
    output.gathers = true;
    EXPECT_EQ(convert(), Fails(way.wrong_count));
}

INSTANTIATE_TEST_SUITE_P(Ways, ConversionOutput, testing::ValuesIn(ways()),
                         [](const auto& row) { return row.param.name; });

TEST_P(FullDisk, EndsWithTheErrorOfTheFieldThatDoesNotFit)
{
    const std::string expected = whole();
    std::size_t places = 0;
    for (std::size_t room = 0; room < expected.size(); ++room) {
        const Result error = way.full_at(room, expected);
        if (error.number != GetParam().second)
            continue;
        ++places;
        const SmallOutputFile output{room};
        fail_allocation_at(way.output_buffer);
        EXPECT_EQ(convert(), error) << room;
        EXPECT_EQ(output.taken, expected.substr(0, room));
    }
    EXPECT_GT(places, 0U);
}

INSTANTIATE_TEST_SUITE_P(Fields, FullDisk, testing::ValuesIn(full_disks()),
                         [](const auto& row) { return "Error" + std::to_string(row.param.second); });
