// SPDX-License-Identifier: Apache-2.0
// Files made loadable, in every mode, and those that cannot be.
#include "conversion_fixture.h"

#include "file/trial.h"

#include <gmock/gmock.h>

namespace
{
using kvn::ExitStatus;
using kvn::Failure;
using kvn::Format;
using kvn::LoadKind;
using testing::HasSubstr;
using testing::IsEmpty;

class Normalised : public ConversionTest
{
protected:
    /// Writes the first bytes of an example's data, without the last ones, as a BIT file.
    void make_without(const std::string& part, std::size_t last, const std::string& name) const
    {
        std::vector<std::uint8_t> data = stream(part);
        data.resize(data.size() - last);
        fpga::write_bit(path(name), data, labels(part));
    }

    /// A module with the part as its device starts with the file, as the library finds it by its name.
    void expect_starts(const std::string& name, const std::string& part) const
    {
        for (const LoadKind kind : {LoadKind::plain, LoadKind::compressed}) {
            const kvn::Input input = kvn::Input::from_path(path(name));
            const kvn::Trial trial = kvn::try_load(input, Format::unknown, part + "-4", kind);
            EXPECT_TRUE(trial.starts) << name << ": " << trial.error << ' ' << trial.module_says;
        }
    }
};

struct Shape {
    friend void PrintTo(const Shape& shape, std::ostream* out) { *out << shape.part << ' ' << shape.without; }

    const char* part;
    std::size_t without; ///< bytes at the end of the data
    const char* changes; ///< of the RBT and the BIT file
    const char* mcb_changes;
};

// Spartan needs all of its data; the Virtex class ends in 16 bytes that do nothing, Virtex-2 in 24, of which
// the library holds some back from the 2vpx20 alone.
constexpr Shape shapes[] = {
    {"s05pc84", 0, "tail 16", "tail 16"},
    {"s05xlpc84", 0, "fill 16, tail 16", "fill 16, tail 16"},
    {"s10xlpc84", 0, "fill 24, tail 16", "fill 24, tail 16"},
    {"s20xlvq100", 0, "fill 8, tail 16", "fill 8, tail 16"},
    {"s20vq100", 0, "tail 16", "tail 16"},
    {"2s15vq100", 0, "", ""},
    {"2s15vq100", 1, "fill 8", "fill 8"},
    {"2s15vq100", 4, "tail 16", ""},
    {"v50pq240", 0, "", ""},
    {"v50pq240", 3, "fill 24", "fill 24"},
    {"v50pq240", 12, "tail 16", ""},
    {"v50pq240", 13, "fill 8, tail 16", "fill 8"},
    {"v50pq240", 16, "tail 16", "tail 16"},
    {"v50ecs144", 0, "", ""},
    {"v50ecs144", 16, "tail 16", "tail 16"},
    {"2v40cs144", 0, "", ""},
    {"2v40cs144", 2, "fill 16", "fill 16"},
    {"2v40cs144", 24, "", ""},
    {"2vp2fg256", 0, "", ""},
    {"2vp2fg256", 3, "fill 24", "fill 24"},
    {"2vpx20ff896", 0, "", ""},
    {"2vpx20ff896", 20, "tail 16", ""},
    {"2vpx20ff896", 24, "tail 16", "tail 16"},
};

/// How many changes the RBT file of the MCB file still needs: the tail, if the MCB file did without it.
std::size_t made_for_rbt(const Shape& shape)
{
    const auto has_tail = [](std::string_view changes) {
        return changes.find("tail") != std::string_view::npos;
    };
    return has_tail(shape.changes) && !has_tail(shape.mcb_changes) ? 1 : 0;
}

class EachShape : public Normalised, public testing::WithParamInterface<Shape>
{
};
INSTANTIATE_TEST_SUITE_P(Shapes, EachShape, testing::ValuesIn(shapes), [](const auto& tested) {
    return std::string{tested.param.part} + "Without" + std::to_string(tested.param.without);
});

TEST_P(EachShape, LoadsInEveryFormAndMode)
{
    const Shape& shape = GetParam();
    const std::string part = shape.part;
    make_without(part, shape.without, "a.bit");
    for (const Format format : all_formats) {
        const std::string target = "made" + extension(format);
        const kvn::Conversion made = normalise("a.bit", target);
        EXPECT_EQ(described(made.changes), format == Format::mcb ? shape.mcb_changes : shape.changes)
            << target;
        EXPECT_TRUE(made.normalised);
        EXPECT_EQ(made.bits % 32, 0U);
        expect_starts(target, part);
        // What was made needs nothing more, whatever it becomes; but an RBT file needs more than an MCB file.
        const Format next = format == Format::rbt   ? Format::bit
                            : format == Format::bit ? Format::mcb
                                                    : Format::rbt;
        const std::string again = "again" + extension(next);
        const kvn::Conversion second = normalise(target, again);
        EXPECT_EQ(second.changes.size(), format == Format::mcb ? made_for_rbt(shape) : 0U) << again;
        expect_starts(again, part);
    }
}

TEST_F(Normalised, ADesignHasOneDigestInAllForms)
{
    make("s20xlvq100", "a.bit");
    make("s20xlvq100", "b.rbt");
    const std::string digest = convert_to("a.bit", "copy.bit").digest;
    EXPECT_EQ(normalise("a.bit", "a.mcb").digest, digest);
    EXPECT_EQ(normalise("b.rbt", "c.rbt").digest, digest);
    EXPECT_EQ(normalise("a.mcb", "d.rbt").digest, digest);
}

TEST_F(Normalised, WhatIsAddedToSpartanIsWhatThePageOnItSays)
{
    make("s10xlpc84", "a.bit");
    (void)normalise("a.bit", "b.bit");
    std::string expected = content("a.bit");
    const std::size_t size = 11969;
    expected.replace(expected.size() - size - 4, 4, std::string{"\0\0\x2E\xD4", 4}); // 11988
    EXPECT_EQ(content("b.bit"), expected + std::string(19, '\xFF'));
}

TEST_F(Normalised, LinesForFramesBecomeLinesOf32)
{
    for (const char* part : {"s10pc84", "s20xlvq100"}) {
        make(part, "a.rbt");
        const kvn::Conversion made =
            convert("a.rbt", {.target = "b.rbt", .overwrite = true, .normalise = true});
        EXPECT_THAT(described(made.changes), testing::StartsWith("lines "));
        EXPECT_THAT(made.changes.back().what,
                    HasSubstr("16 bytes of ones were added behind the configuration, "
                              "as a load holds back the last 16"));
        EXPECT_THAT(described(made.lost), "");
        expect_starts("b.rbt", part);
    }
}

TEST_F(Normalised, FilledUpWordsAreTold)
{
    make("s05xlpc84", "a.bit");
    const kvn::Conversion made = normalise("a.bit", "a.mcb");
    ASSERT_EQ(made.changes.size(), 2U);
    EXPECT_EQ(made.changes[0].what,
              "16 ones were added behind the configuration, so that its size is a multiple of 32 bits");
    EXPECT_EQ(made.changes[1].what,
              "16 bytes of ones were added behind the configuration, as a load holds back the last 4");
    make_without("v50pq240", 15, "b.bit");
    const kvn::Conversion zeros = normalise("b.bit", "b.rbt");
    EXPECT_EQ(zeros.changes[0].what,
              "24 zeros were added behind the configuration, so that its size is a multiple of 32 bits");
    EXPECT_EQ(zeros.changes[1].what,
              "16 bytes of zeros were added behind the configuration, as a load holds back the last 16");
    std::string end(24, '0');
    for (int line = 0; line < 4; ++line)
        end += '\n' + std::string(32, '0');
    EXPECT_THAT(content("b.rbt"), testing::EndsWith(end + '\n'));
    make_without("2vpx20ff896", 24, "c.bit");
    EXPECT_EQ(normalise("c.bit", "c.rbt").changes[0].what,
              "16 bytes of no-operation words were added behind the configuration, as a load holds back the "
              "last 16");
}

TEST_F(Normalised, BitsThatAreNoWholeByteAreFilledWithOnes)
{
    // The last character of an RBT file of frames is a one that may be missing.
    make("s05pc84", "a.rbt");
    std::string text = content("a.rbt");
    text.replace(text.find("53984"), 5, "53981");
    text.erase(text.size() - 4, 3);
    write("a.rbt", text);
    const kvn::Conversion made = normalise("a.rbt", "a.bit");
    EXPECT_EQ(described(made.changes).substr(described(made.changes).find(", ")), ", fill 3, tail 16");
    make("s05pc84", "b.bit");
    (void)normalise("b.bit", "c.bit");
    EXPECT_EQ(content("a.bit"), content("c.bit"));
}

TEST_F(Normalised, AnotherNumberOfBitsIsStated)
{
    make("2v40cs144", "a.rbt");
    std::string text = content("a.rbt");
    text.replace(text.find("338976"), 6, "338900");
    write("a.rbt", text);
    const kvn::Conversion made = normalise("a.rbt", "b.rbt");
    EXPECT_EQ(described(made.changes), "stated size 338976");
    EXPECT_EQ(made.changes.front().what, "the header states 338976 bits, not 338900");
    expect_starts("b.rbt", "2v40cs144");
}

TEST_F(Normalised, RunsThatLackWhatNoLoadReadsAreTaken)
{
    // 4 bytes are missing, which loads of this family hold back.
    make("v50pq240", "a.bit");
    (void)convert_to("a.bit", "a.mcb");
    std::string text = content("a.mcb");
    text[text.size() - 2] = static_cast<char>(text[text.size() - 2] - 4);
    write("b.mcb", text);
    EXPECT_EQ(failure_to("b.mcb", "b.bit").what,
              path("b.mcb") + ": the header states 559200 bits, the file holds 559168");
    EXPECT_EQ(described(normalise("b.mcb", "b.bit").changes), "tail 16");
    expect_starts("b.bit", "v50pq240");
}

TEST_F(Normalised, WhatTheLastRunHasBeyondTheStatedSizeIsLeftOut)
{
    make("2v40cs144", "a.bit");
    (void)convert_to("a.bit", "a.mcb");
    std::string text = content("a.mcb");
    text[text.size() - 2] = static_cast<char>(text[text.size() - 2] + 3);
    write("b.mcb", text);
    const kvn::Conversion made = normalise("b.mcb", "c.mcb");
    EXPECT_EQ(described(made.changes), "trailing bytes 3");
    EXPECT_EQ(made.changes.front().what,
              "3 bytes that the last run has beyond the stated size were left out");
    EXPECT_EQ(content("c.mcb"), content("a.mcb"));
}

TEST_F(Normalised, AFileThatNamesNoPartIsNamedOne)
{
    make("s10pc84", "a.rbt");
    std::string text = content("a.rbt");
    text = "Xilinx ASCII Bitstream\nConverted\nBits: 95008\n" +
           text.substr(text.find('\n', text.find("Bits:")) + 1);
    write("a.rbt", text);
    const Failure failed = failure("a.rbt", {.target = "a.bit", .normalise = true});
    EXPECT_EQ(failed.status, ExitStatus::damaged);
    EXPECT_EQ(failed.what, path("a.rbt") + ": the file names no part, so nothing tells what it needs");
    EXPECT_EQ(failed.remedy, "name it by --part");
    const kvn::Conversion made = convert("a.rbt", {.target = "a.bit", .normalise = true, .part = "s10pc84"});
    EXPECT_EQ(described(made.changes), "header 0, lines 574, part 0, tail 16");
    expect_starts("a.bit", "s10pc84");
}

struct Hopeless {
    friend void PrintTo(const Hopeless& row, std::ostream* out) { *out << row.name; }

    const char* name;
    fpga::Defect defect;
    const char* what; ///< behind "PATH cannot be made loadable: "
};

constexpr Hopeless hopeless[] = {
    {"NoSync", fpga::Defect::no_sync, "a v50 would not start: no synchronisation word in "},
    {"Crc", fpga::Defect::crc, "a v50 would not start: CRC word "},
    {"OtherDevice", fpga::Defect::id, "a v50 would not start: frames of "},
    {"Short", fpga::Defect::short_data, "a v50 would not start: the stream ends after "},
    {"FlippedBit", fpga::Defect::flipped_bit, "a v50 would not start: CRC word "},
    {"NoStart", fpga::Defect::no_start, "a v50 would not start: the stream ends after "},
};

class EachHopelessFile : public Normalised, public testing::WithParamInterface<Hopeless>
{
};
INSTANTIATE_TEST_SUITE_P(Defects, EachHopelessFile, testing::ValuesIn(hopeless),
                         [](const auto& tested) { return std::string{tested.param.name}; });

TEST_P(EachHopelessFile, IsNotWritten)
{
    const Hopeless& row = GetParam();
    fpga::write_bit(path("a.bit"), fpga::make_stream(*fpga::find_device("v50pq240"), {.defect = row.defect}),
                    labels("v50pq240"));
    for (const Format format : all_formats) {
        const Failure failed = failure("a.bit", {.target = "b" + extension(format), .normalise = true});
        EXPECT_EQ(failed.status, ExitStatus::damaged);
        EXPECT_THAT(failed.what,
                    testing::StartsWith(path("a.bit") + " cannot be made loadable: " + row.what));
        EXPECT_NE(failed.remedy, "");
    }
    EXPECT_THAT(names(), testing::ElementsAre("a.bit"));
}

TEST_F(Normalised, APartThatNoModuleCarriesIsRefused)
{
    BitFile file{std::size_t{64}};
    for (const char* part : {"3s50cp132", "2s300epq208", "nothing"}) {
        file.device = part + std::string{"\0", 1};
        write("a.bit", file.content());
        const Failure failed = failure("a.bit", {.target = "b.bit", .normalise = true});
        EXPECT_EQ(failed.status, ExitStatus::damaged);
        EXPECT_EQ(failed.what, path("a.bit") + ": no module carries a " + part);
    }
}

TEST_F(Normalised, AnExistingFileIsKeptUntilTheResultIsJudged)
{
    fpga::write_bit(path("a.bit"),
                    fpga::make_stream(*fpga::find_device("v50pq240"), {.defect = fpga::Defect::crc}),
                    labels("v50pq240"));
    write("b.bit", "mine");
    EXPECT_EQ(failure("a.bit", {.target = "b.bit", .overwrite = true, .normalise = true}).status,
              ExitStatus::damaged);
    EXPECT_EQ(content("b.bit"), "mine");
}
} // namespace
