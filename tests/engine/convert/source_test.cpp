// SPDX-License-Identifier: Apache-2.0
// Sources of every shape: what of them is kept, what is changed, and which are refused.
#include "conversion_fixture.h"
#include "packing.h"

#include <gmock/gmock.h>

namespace
{
using kvn::ExitStatus;
using kvn::Failure;
using kvn::Format;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* PART = "2v40cs144";

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

/// Behind the header of an example's RBT file.
std::size_t data_place(const std::string& text)
{
    return text.find('\n', text.find("Bits:")) + 1;
}

/// The RBT file with its characters in lines of another length.
std::string with_lines_of(const std::string& text, std::size_t length)
{
    const std::string bits = replaced(text.substr(data_place(text)), "\n", "");
    std::string made = text.substr(0, data_place(text));
    for (std::size_t at = 0; at < bits.size(); at += length)
        made += bits.substr(at, length) + '\n';
    return made;
}

/// Each test spoils a.rbt, a.bit or a.mcb, which are of one design; good.bit is that too.
class ConversionSource : public ConversionTest
{
protected:
    void SetUp() override
    {
        make(PART, "a.rbt");
        make(PART, "a.bit");
        (void)convert_to("a.rbt", "a.mcb");
        (void)convert_to("a.rbt", "good.bit");
        rbt = content("a.rbt");
        bit = content("a.bit");
        mcb = content("a.mcb");
    }

    /// Converts a text under a name to a BIT file.
    kvn::Conversion to_bit(const std::string& name, const std::string& text)
    {
        write(name, text);
        return convert(name, {.target = "made.bit", .overwrite = true});
    }

    Failure refusal(const std::string& name, const std::string& text)
    {
        write(name, text);
        const Failure failed = failure(name, {.target = "made.bit", .overwrite = true});
        EXPECT_FALSE(std::filesystem::exists(path("made.bit")));
        return failed;
    }

    void expect_good() const { EXPECT_EQ(content("made.bit"), content("good.bit")); }

    std::string rbt;
    std::string bit;
    std::string mcb;
};

struct RbtShape {
    friend void PrintTo(const RbtShape& shape, std::ostream* out) { *out << shape.name; }

    const char* name;
    std::string (*reshape)(const std::string& rbt);
    const char* changes;
    const char* first; ///< of the changes, in words
};

const RbtShape rbt_shapes[] = {
    {"CarriageReturns", [](const std::string& rbt) { return replaced(rbt, "\n", "\r\n"); }, "line ends 0",
     "carriage returns at the ends of lines were left out"},
    {"CarriageReturnsInTheData",
     [](const std::string& rbt) {
         return rbt.substr(0, data_place(rbt)) + replaced(rbt.substr(data_place(rbt)), "\n", "\r\n");
     },
     "line ends 0", "carriage returns at the ends of lines were left out"},
    {"LongLines", [](const std::string& rbt) { return with_lines_of(rbt, 224); }, "lines 1514",
     "1514 data lines of 64 to 224 characters, not 32, were joined"},
    {"LinesOf8", [](const std::string& rbt) { return with_lines_of(rbt, 8); }, "lines 42372",
     "42372 data lines of 8 characters, not 32, were joined"},
    {"EmptyLinesAtTheEnd", [](const std::string& rbt) { return rbt + "\n\n"; }, "lines 2",
     "2 empty lines at the end were left out"},
    {"NoLineFeedAtTheEnd", [](const std::string& rbt) { return rbt.substr(0, rbt.size() - 1); }, "lines 1",
     "the last line was given its line feed"},
    {"TitleWithABlank",
     [](const std::string& rbt) { return replaced(rbt, "ASCII Bitstream\n", "ASCII Bitstream \n"); },
     "header 0", "the header was written anew, as loads take it"},
    {"NoDate",
     [](const std::string& rbt) {
         const std::size_t date = rbt.find("Date:");
         return rbt.substr(0, date) + rbt.substr(rbt.find('\n', date) + 1);
     },
     "", ""},
    {"PartInAnotherLine",
     [](const std::string& rbt) {
         const std::size_t place = rbt.find("Architecture:");
         return rbt.substr(0, place) + rbt.substr(rbt.find('\n', place) + 1);
     },
     "header 0", "the header was written anew, as loads take it"},
    {"AFurtherLine",
     [](const std::string& rbt) { return replaced(rbt, "Date:", "Type:        \tplain\nDate:"); }, "header 0",
     "the header was written anew, as loads take it"},
};

class EachRbtShape : public ConversionSource, public testing::WithParamInterface<RbtShape>
{
};
INSTANTIATE_TEST_SUITE_P(Rbt, EachRbtShape, testing::ValuesIn(rbt_shapes),
                         [](const auto& tested) { return std::string{tested.param.name}; });

TEST_P(EachRbtShape, HoldsTheSameConfigurationAndSaysWhatWasChanged)
{
    const RbtShape& shape = GetParam();
    const kvn::Conversion made = to_bit("b.rbt", shape.reshape(rbt));
    EXPECT_EQ(described(made.changes), shape.changes);
    EXPECT_EQ(made.changes.empty() ? "" : made.changes.front().what, shape.first);
    EXPECT_EQ(made.digest, convert_to("a.rbt", "c.mcb").digest);
    if (std::string{shape.name} != "NoDate")
        expect_good();
    // What is written as RBT is what every load takes.
    const kvn::Conversion again = convert_to("b.rbt", "d.rbt");
    EXPECT_THAT(again.problems, IsEmpty());
    EXPECT_EQ(described(convert_to("d.rbt", "e.bit").changes), "");
}

TEST_F(ConversionSource, ARbtHeaderIsTakenOverWithEveryLine)
{
    const std::string odd = replaced(replaced(rbt, "Created by kvn_bitgen", "whatever it is"),
                                     "Bits:        \t", "before bits: ");
    write("b.rbt", odd);
    EXPECT_THAT(convert_to("b.rbt", "c.rbt").lost, IsEmpty());
    EXPECT_EQ(content("c.rbt"), odd);
}

TEST_F(ConversionSource, AnMcbFileHasTheTextBeforeTheBitsWhereThereIsNoDateLine)
{
    const std::size_t date = rbt.find("Date:");
    const std::string odd = rbt.substr(0, date) + "12:00 Bits: 338976\n" + rbt.substr(data_place(rbt));
    write("b.rbt", odd);
    (void)convert_to("b.rbt", "c.mcb");
    convert_classically(path("b.rbt"));
    EXPECT_EQ(content("c.mcb"), content("b.mcb"));
}

TEST_F(ConversionSource, BytesTurnedRoundAreTurnedBack)
{
    // As another program writes them: a short header, long lines, the first bit in the last character.
    fpga::write_rbt(path("b.rbt"), fpga::reverse_each(stream(PART)), labels(PART));
    const std::string lines = with_lines_of(content("b.rbt"), 224);
    const kvn::Conversion made =
        to_bit("b.rbt", "Xilinx ASCII Bitstream\nConverted from x.rom\nPart: 2v40cs144\nBits: 338976\n" +
                            lines.substr(data_place(lines)));
    EXPECT_EQ(described(made.changes), "header 0, lines 1514, bit order 42372");
    EXPECT_EQ(made.changes[2].what, "the bits of each byte, which stood the other way round, were turned");
    EXPECT_EQ(made.digest, convert_to("a.rbt", "c.mcb").digest);
    EXPECT_EQ(described(made.lost), "tool=Converted from x.rom");
}

TEST_F(ConversionSource, CharactersThatAreNoDigitsAreZeros)
{
    std::string text = rbt;
    const std::size_t zero = text.find('0', data_place(text) + 33);
    text[zero] = 'x';
    const kvn::Conversion made = to_bit("b.rbt", text);
    EXPECT_EQ(described(made.changes), "characters 1");
    EXPECT_EQ(made.changes.front().what,
              "characters that are neither 0 nor 1, the first in line 9 at place " +
                  std::to_string(zero - data_place(text) - 33 + 1) + ", were taken for 0");
    expect_good();
}

TEST_F(ConversionSource, BytesBehindTheDataAreLeftOut)
{
    const kvn::Conversion from_bit = to_bit("b.bit", bit + "more");
    EXPECT_EQ(described(from_bit.changes), "trailing bytes 4");
    EXPECT_EQ(from_bit.changes.front().what, "4 bytes behind the configuration were left out");
    expect_good();
    const kvn::Conversion from_mcb = to_bit("b.mcb", mcb + "some more");
    EXPECT_EQ(described(from_mcb.changes), "trailing bytes 9");
    EXPECT_EQ(from_mcb.changes.front().what, "9 bytes behind the last run were left out");
}

TEST_F(ConversionSource, AFileThatNoChipTakesIsConvertedAndSaysSo)
{
    const std::vector<std::uint8_t> spoilt =
        fpga::make_stream(*fpga::find_device(PART), {.defect = fpga::Defect::crc});
    fpga::write_bit(path("b.bit"), spoilt, labels(PART));
    const kvn::Conversion made = convert_to("b.bit", "b.rbt");
    ASSERT_EQ(made.problems.size(), 1U);
    EXPECT_THAT(made.problems.front().what, HasSubstr("a 2v40 would not start: CRC word"));
    EXPECT_THAT(convert_to("a.bit", "c.rbt").problems, IsEmpty());
}

TEST_F(ConversionSource, APackedFileIsUnpacked)
{
    const std::pair<const char*, std::string> packed[] = {{"a.bit.gz", gzip(bit)}, {"a.bit.xz", xz(bit)}};
    for (const auto& [name, packing] : packed) {
        write(name, packing);
        const kvn::Conversion made = convert(name, {.target = "b.bit", .overwrite = true});
        EXPECT_EQ(content("b.bit"), bit);
        EXPECT_EQ(made.source, path(name));
    }
}

struct Refusal {
    friend void PrintTo(const Refusal& row, std::ostream* out) { *out << row.name; }

    const char* name;
    const char* file;
    std::string (*spoil)(const std::string& content);
    const char* what; ///< behind "PATH: "
};

std::string with_number(std::string text, std::size_t place, const char* bytes)
{
    return text.replace(place, 4, std::string{bytes, 4});
}

const Refusal refusals[] = {
    {"Empty", "b.bit", [](const std::string&) { return std::string{}; },
     "the file ends inside its header, behind 0 bytes (magic header length)"},
    {"EmptyRbt", "b.rbt", [](const std::string&) { return std::string{}; }, "the file is empty"},
    {"NoBitstream", "b.dat", [](const std::string&) { return std::string{"no bitstream \1\2"}; },
     "this is no RBT, BIT or MCB file"},
    {"Text", "b.dat", [](const std::string&) { return std::string{"Hello\n"}; },
     "the file is text, no RBT, BIT or MCB file"},
    {"CutBit", "a.bit", [](const std::string& bit) { return bit.substr(0, bit.size() - 40); },
     "the header states 42372 bytes of configuration, the file holds 42332"},
    {"CutBitHeader", "a.bit", [](const std::string& bit) { return bit.substr(0, 20); },
     "the file ends inside its header, behind 20 bytes (ncd string)"},
    {"NoData", "a.bit", [](const std::string& bit) { return with_number(bit, 68, "\0\0\0\0").substr(0, 72); },
     "the header states 0 bytes of configuration"},
    {"NegativeCount", "a.bit", [](const std::string& bit) { return with_number(bit, 68, "\x10\0\0\0"); },
     "the header states 268435456 bytes of configuration, which are no number of bits in the library's 32"},
    {"CutMcb", "a.mcb", [](const std::string& mcb) { return mcb.substr(0, mcb.size() / 2); },
     "the header states 42372 bytes of configuration, the runs end behind "},
    {"CutMcbHeader", "a.mcb", [](const std::string& mcb) { return mcb.substr(0, 100); },
     "the file ends inside its header, behind 100 of 522 bytes"},
    {"NegativeMcb", "a.mcb", [](const std::string& mcb) { return with_number(mcb, 518, "\xFF\xFF\xFF\xFF"); },
     "the header states -1 bytes of configuration"},
    {"AShortLine", "a.rbt",
     [](const std::string& rbt) {
         return replaced(rbt, "\n00110000000000001000000000000001\n", "\n0011000000000000100000000000000\n");
     },
     "line 10 has 31 characters, not 32"},
    {"FewerLines", "a.rbt", [](const std::string& rbt) { return rbt.substr(0, rbt.size() - 33); },
     "the header states 338976 bits, the data lines hold 338944"},
    {"MoreLines", "a.rbt", [](const std::string& rbt) { return rbt + rbt.substr(rbt.size() - 33); },
     "the header states 338976 bits, the file holds 339008"},
    {"RunsBeyondTheStatedSize", "a.mcb",
     [](const std::string& mcb) { return with_number(mcb, 518, "\x83\xA5\0\0"); },
     "the header states 338968 bits, the file holds 338976"},
    {"Mask", "a.rbt",
     [](const std::string& rbt) { return replaced(rbt, "Date:", "Type:        \tmask\nDate:"); },
     "the file is a mask for reading back, no bitstream"},
    {"OddBits", "a.rbt",
     [](const std::string& rbt) {
         const std::string lines = with_lines_of(replaced(rbt, "338976", "338975"), 64);
         return lines.substr(0, lines.size() - 2) + '\n';
     },
     "the configuration has 338975 bits, no multiple of 8, which a BIT file cannot hold"},
};

class EachRefusal : public ConversionSource, public testing::WithParamInterface<Refusal>
{
};
INSTANTIATE_TEST_SUITE_P(Source, EachRefusal, testing::ValuesIn(refusals),
                         [](const auto& tested) { return std::string{tested.param.name}; });

TEST_P(EachRefusal, LeavesNothingBehind)
{
    const Refusal& row = GetParam();
    const Failure failed = refusal(row.file, row.spoil(content(row.file)));
    EXPECT_EQ(failed.status, ExitStatus::damaged);
    EXPECT_THAT(failed.what, testing::StartsWith(path(row.file) + ": " + row.what));
    EXPECT_NE(failed.remedy, "");
}

TEST_F(ConversionSource, MoreThanAnyDeviceTakesIsRefused)
{
    McbFile file{std::size_t{4}};
    file.byte_count = 0x7FFFFFFF;
    file.runs.clear();
    for (int run = 0; run < 70000; ++run)
        file.runs.insert(file.runs.end(), {0xFF, 0x00});
    EXPECT_EQ(refusal("b.mcb", file.content()).what,
              path("b.mcb") + ": holds more than 16777216 bytes of configuration, which no device takes");
}

TEST_F(ConversionSource, ARbtFileHoldsMultiplesOf32BitsAlone)
{
    make("s05xlpc84", "b.bit");
    const Failure failed = failure_to("b.bit", "b.rbt");
    EXPECT_EQ(failed.status, ExitStatus::damaged);
    EXPECT_EQ(failed.what, path("b.bit") + ": the configuration has 54544 bits, no multiple of 32, which an "
                                           "RBT file cannot hold");
    EXPECT_EQ(failed.remedy, "convert it with --normalise");
    EXPECT_EQ(convert_to("b.bit", "b.mcb").bits, 54544U);
}

TEST_F(ConversionSource, ATextThatItsPlaceCannotHoldIsLost)
{
    BitFile file{fpga::reverse_each(stream(PART))};
    file.device = std::string{"2v40cs144\0", 10};
    file.design = std::string{"two\nlines\0", 10};
    file.date = std::string{"Bits: 7\0", 8};
    file.time = std::string{"12:00:00\0", 9};
    write("b.bit", file.content());
    const kvn::Conversion to_rbt = convert_to("b.bit", "b.rbt");
    EXPECT_EQ(described(to_rbt.lost), "design=two\nlines, date=Bits: 7, time=12:00:00");
    EXPECT_EQ(lines("b.rbt")[2], "Design name: \t");
    EXPECT_EQ(lines("b.rbt")[5], "Date:        \t");
    (void)convert_to("b.bit", "b.mcb");
    EXPECT_EQ(described(convert_to("b.mcb", "c.rbt").lost), "date=Bits: 7 12:00:00");
    EXPECT_EQ(lines("c.rbt")[5], "");
    EXPECT_EQ(lines("c.rbt")[6], "bits:   338976");
}

TEST_F(ConversionSource, APartThatItsPlaceCannotHoldIsRefused)
{
    BitFile file{fpga::reverse_each(stream(PART))};
    file.device = "2v40cs144" + std::string(300, 'x') + '\0';
    write("b.bit", file.content());
    EXPECT_EQ(failure_to("b.bit", "b.mcb").what,
              path("b.bit") + ": an MCB file cannot hold the part that its header names");
    file.device = std::string{"2v40\ncs144\0", 11};
    write("c.bit", file.content());
    const Failure failed = failure_to("c.bit", "c.rbt");
    EXPECT_EQ(failed.status, ExitStatus::damaged);
    EXPECT_EQ(failed.what, path("c.bit") + ": an RBT file cannot hold the part that its header names");
    (void)convert_to("b.bit", "d.bit");
    EXPECT_EQ(content("d.bit"), content("b.bit"));
}

TEST_F(ConversionSource, ThePartIsNamedWhereTheSourceNamesNone)
{
    BitFile file{fpga::reverse_each(stream(PART))};
    file.device = std::string{"\0", 1};
    write("b.bit", file.content());
    const kvn::Conversion made = convert("b.bit", {.target = "b.rbt", .part = PART});
    EXPECT_EQ(made.part, PART);
    EXPECT_EQ(described(made.changes), "part 0");
    EXPECT_EQ(made.changes.front().what, "the part was named: 2v40cs144");
    EXPECT_EQ(lines("b.rbt")[4], "Part:        \t2v40cs144");
    (void)convert("b.bit", {.target = "c.bit", .part = PART});
    EXPECT_THAT(content("c.bit"), HasSubstr(std::string{"b\0\x0A", 3} + PART));
    EXPECT_EQ(convert_to("b.bit", "d.mcb").part, "");
}

TEST_F(ConversionSource, APartOtherThanTheSourcesIsRefused)
{
    const Failure other = failure("a.bit", {.target = "b.rbt", .part = "2v3000fg676"});
    EXPECT_EQ(other.status, ExitStatus::usage);
    EXPECT_EQ(other.what, path("a.bit") + " is for a 2v40cs144, not for a 2v3000fg676");
    EXPECT_THAT(convert("a.bit", {.target = "c.rbt", .part = PART}).changes, IsEmpty());
    BitFile file{fpga::reverse_each(stream(PART))};
    file.device = std::string{"\0", 1};
    write("b.bit", file.content());
    for (const char* part : {"two\nlines", " 2v40cs144", "bits:"}) {
        const Failure failed = failure("b.bit", {.target = "b.rbt", .part = part});
        EXPECT_EQ(failed.status, ExitStatus::usage);
        EXPECT_EQ(failed.what, '"' + std::string{part} + "\" is the name of no part");
    }
}
} // namespace
