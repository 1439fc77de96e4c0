// SPDX-License-Identifier: Apache-2.0
#include "kvn_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <random>
#include <sstream>

namespace
{
const std::string AGAIN = "copy the file again in binary mode, else make it again";
const std::string CONVERT = "convert the RBT or BIT file anew (KVN_FPGA -c)";
const std::string LINE_ENDS =
    R"(convert the line ends (dos2unix, or sed -i 's/\r$//'), or transfer the file in binary mode)";

/// What is done to a good file of a 2v40cs144, and the diagnosis.
struct Damage {
    const char* name;
    const char* file;
    std::function<void(std::string&)> damage;
    std::string problem;
    std::string remedy;
};

void replace(std::string& text, const std::string& old, const std::string& by)
{
    ASSERT_NE(text.find(old), std::string::npos);
    text.replace(text.find(old), old.size(), by);
}

/// The offset of a data line, the first being line 8.
std::size_t data_line(const std::string& text, std::size_t number)
{
    return text.find("Bits:") + text.substr(text.find("Bits:")).find('\n') + 1 + 33 * (number - 8);
}

const std::vector<Damage>& damages()
{
    static const std::vector<Damage> all{
        {"CarriageReturns", "a.rbt",
         [](std::string& text) {
             for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2)
                 text.insert(at, 1, '\r');
         },
         "the lines end in carriage return and line feed; the library takes a line feed alone", LINE_ENDS},
        {"CarriageReturnInData", "a.rbt",
         [](std::string& text) { text.insert(data_line(text, 100) - 1, 1, '\r'); },
         "line 99 has 33 characters, not 32", LINE_ENDS},
        {"Title", "a.rbt", [](std::string& text) { replace(text, "Xilinx ASCII", "XILINX ASCII"); },
         R"(line 1 is "XILINX ASCII Bitstream", not "Xilinx ASCII Bitstream")",
         "restore the title to the letter, with nothing behind it"},
        {"ShortLine", "a.rbt", [](std::string& text) { text.erase(data_line(text, 1000), 1); },
         "line 1000 has 31 characters, not 32", AGAIN},
        {"LongLine", "a.rbt",
         [](std::string& text) { text.insert(data_line(text, 8), "0000000000000000000"); },
         "line 8 has 51 characters, not 32", AGAIN},
        {"CutLine", "a.rbt", [](std::string& text) { text.resize(data_line(text, 20) + 5); },
         "line 20 has 5 characters, not 32", AGAIN},
        {"EmptyLastLine", "a.rbt", [](std::string& text) { text += '\n'; }, "line 10601, the last, is empty",
         "delete it"},
        {"EmptyLastLines", "a.rbt", [](std::string& text) { text += "\n\n\n"; },
         "the last 3 lines, from line 10601 on, are empty", "delete them"},
        {"NoLastLineFeed", "a.rbt", [](std::string& text) { text.pop_back(); },
         "the last line, 10600, has no line feed", "add a line feed at the end of the file"},
        {"CutBetweenLines", "a.rbt", [](std::string& text) { text.resize(data_line(text, 20)); },
         "the header states 338976 bits, the data lines hold 384", AGAIN},
        {"OtherStatedBits", "a.rbt", [](std::string& text) { replace(text, "338976", "338944"); },
         "the header states 338944 bits, the data lines hold 338976", AGAIN},
        {"NoBits", "a.rbt", [](std::string& text) { replace(text, "Bits:", "Bytes"); },
         "neither line 6 nor line 7 states the number of bits", AGAIN},
        {"BitsTooEarly", "a.rbt",
         [](std::string& text) {
             replace(text, "Bits:", "Many:");
             replace(text, "Design name:", "Bits:");
         },
         "the number of bits stands in line 3, not in line 6 or 7: the header is not as the Xilinx tools write it",
         "make the file again with the Xilinx tools, or write the header as docs/formats/rbt.md shows"},
        {"PartTooEarly", "a.rbt",
         [](std::string& text) {
             replace(text, "Part:        \t2v40cs144", "Type:        \tfull");
             replace(text, "Architecture:\tvirtex2", "Part:\t2v40cs144");
         },
         "the part stands in line 4, not in line 5: the header is not as the Xilinx tools write it",
         "make the file again with the Xilinx tools"},
        {"Mask", "a.rbt", [](std::string& text) { replace(text, "Date:", "Type:        \tmask\nDate:"); },
         "the file is a mask for reading back, no bitstream", "give the bitstream file"},
        {"MaskWithBits", "a.rbt",
         [](std::string& text) { replace(text, "Date:        \tFri Feb 17 12:00:00 2006", "Type:\tmask"); },
         "the file is a mask for reading back, no bitstream", "give the bitstream file"},
        {"CutHeader", "a.rbt", [](std::string& text) { text.resize(text.find("Part:")); },
         "the file ends inside its header, behind line 4", AGAIN},
        {"EmptyRbt", "a.rbt", [](std::string& text) { text.clear(); }, "the file is empty", AGAIN},

        {"KeyMissing", "a.bit", [](std::string& text) { text[text.find("2v40cs144") + 10] = 'x'; },
         "the key letter 'c' is missing at offset 41, where 'x' stands", "the header is damaged: " + AGAIN},
        {"FirstKeyMissing", "a.bit", [](std::string& text) { text[13] = '\0'; },
         "the key letter 'a' is missing at offset 13, where byte 00 stands",
         "the header is damaged: " + AGAIN},
        {"KeyLength", "a.bit", [](std::string& text) { text[12] = 2; },
         "the length in front of the key letter 'a' is 2, not 1, at offset 11",
         "the header is damaged: " + AGAIN},
        {"MagicLength", "a.bit", [](std::string& text) { text[1] = 8; },
         "the file begins with the length 8, not 9: this is no BIT file", AGAIN},
        {"Magic", "a.bit", [](std::string& text) { text[4] = 'x'; },
         "the signature of a BIT file is missing at offset 2", AGAIN},
        {"CutBitHeader", "a.bit", [](std::string& text) { text.resize(60); },
         "the file ends inside its header, behind 60 bytes (time string)", AGAIN},
        {"EmptyBit", "a.bit", [](std::string& text) { text.clear(); },
         "the file ends inside its header, behind 0 bytes (magic header length)", AGAIN},
        {"CutBit", "a.bit", [](std::string& text) { text.resize(text.size() - 1002); },
         "the header states 42372 bytes of configuration, the file holds 41370", AGAIN},
        {"TrailingBytes", "a.bit", [](std::string& text) { text += "some"; },
         "4 bytes follow the stated configuration; a plain load fails over them, a compressed one over 1024 or more",
         "cut the file behind byte 42444, or make it again"},
        {"NoNumberOfBits", "a.bit", [](std::string& text) { text[text.find("12:00:00") + 10] ^= 0x10; },
         "the header states 268477828 bytes of configuration, which are no number of bits in the library's 32",
         AGAIN},
        {"FlippedBit", "a.bit", [](std::string& text) { text[text.size() - 20000] ^= 0x10; },
         "a 2v40 would not start: CRC word ", AGAIN},

        {"FirstMcbMagic", "a.mcb", [](std::string& text) { text[0] = 'y'; },
         "the magic numbers of an MCB file are missing at offset 0", CONVERT},
        {"SecondMcbMagic", "a.mcb", [](std::string& text) { text[5] = 'x'; },
         "the magic numbers of an MCB file are missing at offset 0", CONVERT},
        {"McbCountTooLarge", "a.mcb", [](std::string& text) { text[520] = 1; },
         "the header states 107908 bytes of configuration, the runs end behind 42372", CONVERT},
        {"McbNegativeCount", "a.mcb", [](std::string& text) { text[521] = '\xFF'; },
         "the header states -16734844 bytes of configuration", CONVERT},
        {"CutMcb", "a.mcb", [](std::string& text) { text.resize(text.size() - 2); },
         "the header states 42372 bytes of configuration, the runs end behind ", CONVERT},
        {"CutMcbHeader", "a.mcb", [](std::string& text) { text.resize(300); },
         "the file ends inside its header, behind 300 of 522 bytes", AGAIN},
    };
    return all;
}

class KvnDamage : public KvnTest
{
protected:
    /// Whether the result is yes exactly when no problem says no.
    static bool agrees(const nlohmann::json& check)
    {
        const bool has_problem = std::ranges::any_of(
            check["problems"], [](const nlohmann::json& problem) { return problem["fatal"] == true; });
        return (check["check"]["result"] == "no") == has_problem;
    }

    [[nodiscard]] std::vector<std::string> lines(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> all;
        std::istringstream stream{kvn(arguments).output};
        for (std::string line; std::getline(stream, line);)
            all.push_back(line);
        return all;
    }
};

TEST_F(KvnDamage, IsDiagnosedWithWhatToDo)
{
    for (const Damage& each : damages()) {
        SCOPED_TRACE(each.name);
        make("2v40cs144-4", each.file);
        std::string text = content(each.file);
        each.damage(text);
        write(each.file, text);
        EXPECT_EQ(kvn({"info", each.file}).status, 0) << "telling is not judging";
        EXPECT_EQ(kvn({"check", each.file, "--device", "2v40cs144-4"}).status, 4);
        const std::vector<std::string> found = lines({"check", each.file});
        ASSERT_GE(found.size(), 3U);
        EXPECT_THAT(found[1], testing::StartsWith("Problem:        " + each.problem));
        EXPECT_EQ(found[2], "  What to do:   " + each.remedy);
        EXPECT_THAT(found.back(), testing::StartsWith("Result:         no, "));
        const nlohmann::json problem = json({"info", each.file})["problems"][0];
        EXPECT_EQ(problem["what"], found[1].substr(16));
        EXPECT_EQ(problem["remedy"], each.remedy);
        EXPECT_EQ(problem["fatal"], true);
        for (const char* load : {"plain", "compressed"})
            EXPECT_TRUE(agrees(json({"check", each.file, "--load", load}))) << load;
    }
}

TEST_F(KvnDamage, FilesUnderTheNameOfAnotherFormatAreFound)
{
    make("2v40cs144-4", "a.bit");
    make("2v40cs144-4", "a.rbt");
    make("2v40cs144-4", "a.mcb");
    struct Renaming {
        const char* content;
        const char* name;
        std::string problem;
        std::string error;
    };
    const Renaming renamings[] = {
        {"a.bit", "b.rbt", "the name says RBT, but the content is of a BIT file", "Error 9101. "},
        {"a.bit", "b.mcb", "the name says MCB, but the content is of a BIT file", "Error 9151. "},
        {"a.rbt", "b.bit", "the name says BIT, but the content is of a RBT file", "Error 9321. "},
        {"a.rbt", "b.mcb", "the name says MCB, but the content is of a RBT file", "Error 9151. "},
        {"a.mcb", "b.rbt", "the name says RBT, but the content is of a MCB file", "Error 9101. "},
        {"a.mcb", "b.bit", "the name says BIT, but the content is of a MCB file", "Error 9321. "},
        {"a.bit", "b.dat",
         "the content is of a BIT file, but the library takes names in .rbt, .bit and .mcb alone",
         "Error 9051. "},
        {"a.bit", "bits",
         "the content is of a BIT file, but the library takes names in .rbt, .bit and .mcb alone",
         "Error 9041. "},
    };
    for (const Renaming& each : renamings) {
        SCOPED_TRACE(std::string{each.content} + " as " + each.name);
        write(each.name, content(each.content));
        const std::vector<std::string> found = lines({"check", each.name});
        ASSERT_EQ(found.size(), 6U);
        EXPECT_EQ(found[1], "Problem:        " + each.problem);
        const std::string stem = std::filesystem::path{each.name}.stem().string();
        EXPECT_EQ(found[2],
                  "  What to do:   rename the file to " + stem + std::string{each.content}.substr(1));
        EXPECT_THAT(found[3], testing::StartsWith("Plain:          " + each.error));
        EXPECT_EQ(found[5], "Result:         no, a module with a 2v40cs144 would not start");
        EXPECT_EQ(kvn({"check", each.name}).status, 4);
        std::filesystem::remove(folder / each.name);
    }
    write("c.txt", "hello\n");
    EXPECT_THAT(kvn({"check", "c.txt"}).output,
                testing::HasSubstr("Problem:        the file is text, no RBT, BIT or MCB file\n"));
    EXPECT_EQ(kvn({"check", "c.txt"}).status, 4);
    write("c.dat", std::string{"\1\2\3\4"});
    EXPECT_THAT(kvn({"check", "c.dat"}).output,
                testing::HasSubstr("Problem:        this is no RBT, BIT or MCB file\n"));
}

TEST_F(KvnDamage, WhatIsNoBitstreamAtAllIsNamed)
{
    struct Content {
        std::string bytes;
        std::string what;
        std::string remedy;
    };
    using namespace std::string_literals;
    const Content contents[] = {
        {"BZh91AY"s, "compressed by bzip2", "unpack it (bunzip2) and give what was in it"},
        {"PK\x03\x04\x14"s, "a zip archive", "unpack it (unzip) and give what was in it"},
        {std::string(40000, '\0'), "nothing but zero bytes",
         "make the file again: whatever wrote it did not finish"},
        {"Fr\xC3\xBChst\xC3\xBC"
         "ck\r\n\tat 7\n"s,
         "text", "give a bitstream file"},
    };
    for (const Content& each : contents) {
        for (const char* file : {"a.bit", "a.mcb", "a.rbt", "a.gz"}) {
            if (each.what == "text" && std::string_view{file} == "a.rbt")
                continue;
            SCOPED_TRACE(each.what + " as " + file);
            write(file, each.bytes);
            const nlohmann::json check = json({"check", file, "--device", "2v40cs144-4"});
            EXPECT_EQ(check["format"], "unknown");
            EXPECT_EQ(
                check["problems"],
                nlohmann::json::array({{{"what", "the file is " + each.what + ", no RBT, BIT or MCB file"},
                                        {"remedy", each.remedy},
                                        {"fatal", true}}}));
            EXPECT_EQ(check["check"]["result"], "no");
        }
    }
    write("a.bit", std::string(40000, '\0') + "\1");
    EXPECT_EQ(json({"info", "a.bit"})["problems"][0]["what"],
              "the file begins with the length 0, not 9: this is no BIT file");
    write("a.rbt", "Some text\n");
    EXPECT_EQ(json({"info", "a.rbt"})["problems"][0]["what"],
              "line 1 is \"Some text\", not \"Xilinx ASCII Bitstream\"");
}

TEST_F(KvnDamage, APackedFileIsUnpackedOnTheWay)
{
    make("2v40cs144-4", "a.bit");
    const nlohmann::json plain = json({"check", "a.bit"});
    for (const auto& [tool, file] : {std::pair{"gzip", "a.bit.gz"}, std::pair{"xz", "a.bit.xz"}}) {
        ASSERT_EQ(run({tool, {"-k", "a.bit"}, folder, {}}).status, 0);
        nlohmann::json check = json({"check", file});
        EXPECT_EQ(check["file"], file);
        EXPECT_EQ(check["stored"]["packing"], tool);
        for (const char* differs : {"file", "stored"})
            check[differs] = plain[differs];
        EXPECT_EQ(check, plain);
        const std::string pack_again = std::string{tool} + " < " + file + " > " + file + ".again";
        ASSERT_EQ(run({"sh", {"-c", pack_again}, folder, {}}).status, 0);
        EXPECT_EQ(json({"info", std::string{file} + ".again"})["problems"][0]["what"],
                  std::string{"the file is compressed by "} + tool + ", no RBT, BIT or MCB file")
            << "once";
        write(file, content(file).substr(0, content(file).size() / 2));
        const Outcome cut = kvn({"check", file});
        EXPECT_EQ(cut.status, 4);
        EXPECT_EQ(cut.errors,
                  std::string{"kvn: "} + file + ": the " + tool +
                      " data are cut\ntry: copy the file again in binary mode, or pack it again\n");
    }
}

TEST_F(KvnDamage, ACountOfBitsThatWrapsLoadsAndIsANote)
{
    make("2v40cs144-4", "a.bit");
    std::string text = content("a.bit");
    text[text.find("12:00:00") + 10] ^= 0x20;
    write("a.bit", text);
    const nlohmann::json check = json({"check", "a.bit"});
    EXPECT_EQ(check["check"]["result"], "yes");
    EXPECT_EQ(check["stated_bits"], (std::int64_t{0x20000000} + 42372) * 8);
    EXPECT_EQ(check["found_bits"], 338976);
    EXPECT_TRUE(agrees(check));
    EXPECT_THAT(kvn({"check", "a.bit"}).output,
                testing::HasSubstr("Note:           the header states 536913284 bytes of configuration; the "
                                   "library counts bits in 32 bits, and takes it for 42372\n"));
}

TEST_F(KvnDamage, RunsMayEndWhereTheLibraryReadsNoFurther)
{
    make("2vpx20ff896-6", "a.mcb");
    const std::string good = content("a.mcb");
    for (const std::size_t cut : {1U, 2U}) {
        write("a.mcb", good.substr(0, good.size() - cut));
        const Outcome outcome = kvn({"check", "a.mcb"});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(
            outcome.output,
            testing::HasSubstr("Note:           the header states 1026820 bytes of configuration, the "
                               "runs end behind 1026817; a load holds back what is missing, a conversion "
                               "to RBT fails over it\n"));
        EXPECT_THAT(
            outcome.output,
            testing::HasSubstr("without the last 4 bytes, which the library holds back\nCompressed:"));
        EXPECT_TRUE(agrees(json({"check", "a.mcb"})));
    }
    write("a.mcb", good.substr(0, good.size() - 4));
    EXPECT_TRUE(agrees(json({"check", "a.mcb"})));
}

TEST_F(KvnDamage, WhatTheLibraryToleratesIsANote)
{
    make("2v40cs144-4", "a.rbt");
    std::string text = content("a.rbt");
    text[text.size() - 2] = 'x'; // in the padding, where nothing counts
    write("a.rbt", text);
    const Outcome outcome = kvn({"check", "a.rbt"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output,
                testing::HasSubstr("Note:           line 10600 has a character at place 32 that is "
                                   "neither 0 nor 1; the library takes it for 0\n"));
    make("2v40cs144-4", "a.rbt");
    text = content("a.rbt");
    text[data_line(text, 8)] = 'x';
    write("a.rbt", text);
    EXPECT_THAT(
        kvn({"check", "a.rbt"}).output,
        testing::HasSubstr("Note:           line 8 has a character at place 1 that is neither 0 nor 1; "
                           "the library takes it for 0\n"));
    make("2v40cs144-4", "a.mcb");
    std::string runs = content("a.mcb");
    const int beyond = 255 - static_cast<unsigned char>(runs[runs.size() - 2]);
    runs[runs.size() - 2] = '\xFF';
    write("a.mcb", runs);
    EXPECT_EQ(kvn({"check", "a.mcb"}).status, 0);
    EXPECT_THAT(
        kvn({"check", "a.mcb"}).output,
        testing::HasSubstr("Note:           the last run goes " + std::to_string(beyond) +
                           " bytes beyond the 42372 bytes that the header states; a load sends them, a "
                           "conversion to RBT fails over them\n"));
    make("2v40cs144-4", "a.mcb");
    const std::string whole = content("a.mcb");
    for (const std::size_t more : {1U, 4U}) {
        write("a.mcb", whole + std::string(more, 't'));
        EXPECT_EQ(kvn({"check", "a.mcb"}).status, 0);
        EXPECT_THAT(kvn({"check", "a.mcb"}).output,
                    testing::HasSubstr("Note:           " + std::to_string(more) +
                                       " bytes follow the last run; the library does not read them\n"));
    }
}

TEST_F(KvnDamage, AnOddCharacterIsFoundFromTheFirstDataLineOn)
{
    make("2v40cs144-4", "a.rbt");
    std::string text = content("a.rbt");
    text[data_line(text, 8)] = 'x';
    write("a.rbt", text);
    EXPECT_THAT(kvn({"info", "a.rbt"}).output,
                testing::HasSubstr("line 8 has a character at place 1 that is neither 0 nor 1; "
                                   "the library takes it for 0\n"));
}

TEST_F(KvnDamage, StreamsThatWouldNotStartAreExplained)
{
    struct Defect {
        const char* name;
        const char* outcome;
    };
    for (const Defect& each :
         {Defect{"no-sync", "no synchronisation word in "}, Defect{"crc", "CRC word "},
          Defect{"id", "device ID "}, Defect{"short", "the stream ends after "},
          Defect{"flipped-bit", "CRC word "}, Defect{"no-start", "the stream ends after "}}) {
        SCOPED_TRACE(each.name);
        make("2v40cs144-4", "a.bit", each.name);
        const std::vector<std::string> found = lines({"check", "a.bit"});
        ASSERT_EQ(found.size(), 6U);
        EXPECT_THAT(found[1], testing::StartsWith(std::string{"Problem:        a 2v40 would not start: "} +
                                                  each.outcome));
        EXPECT_THAT(found[3],
                    testing::StartsWith("Plain:          Error 9366. Configuration was unsuccessful ("));
        EXPECT_THAT(found[3], testing::HasSubstr(std::string{". The module: "} + each.outcome));
        EXPECT_EQ(kvn({"check", "a.bit"}).status, 4);
    }
}

TEST_F(KvnDamage, AnyDamageIsSurvived)
{
    std::mt19937 random{20060217};
    for (const char* file : {"a.rbt", "a.bit", "a.mcb"}) {
        make("2v40cs144-4", file);
        const std::string good = content(file);
        for (int round = 0; round < 15; ++round) {
            std::string text = good;
            for (int change = 0; change < 3; ++change) {
                const std::size_t at = random() % 200;
                if (random() % 2 == 0)
                    text[at] = static_cast<char>(random());
                else
                    text.erase(at, 1 + random() % 20);
            }
            write(file, text);
            EXPECT_THAT(kvn({"check", file}).status, testing::AnyOf(0, 2, 4, 5)) << file << round;
            EXPECT_TRUE(json({"info", file}).is_object());
        }
    }
}
} // namespace
