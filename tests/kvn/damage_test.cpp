#include "kvn_fixture.h"

#include <gmock/gmock.h>

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
        {"EmptyLastLine", "a.rbt", [](std::string& text) { text += '\n'; },
         "line 10601 has 0 characters, not 32", AGAIN},
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
         "make the file again with the Xilinx tools"},
        {"Mask", "a.rbt", [](std::string& text) { replace(text, "Date:", "Type:        \tmask\nDate:"); },
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
        EXPECT_EQ(kvn({"check", each.file, "--device", "2v40cs144-4"}).status, 1);
        const std::vector<std::string> found = lines({"check", each.file});
        ASSERT_GE(found.size(), 3U);
        EXPECT_THAT(found[1], testing::StartsWith("Problem:        " + each.problem));
        EXPECT_EQ(found[2], "  What to do:   " + each.remedy);
        EXPECT_THAT(found.back(), testing::StartsWith("Result:         no, "));
        const nlohmann::json problem = json({"info", each.file})["problems"][0];
        EXPECT_EQ(problem["what"], found[1].substr(16));
        EXPECT_EQ(problem["remedy"], each.remedy);
        EXPECT_EQ(problem["fatal"], true);
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
        EXPECT_EQ(kvn({"check", each.name}).status, 1);
        std::filesystem::remove(folder / each.name);
    }
    write("c.txt", "hello\n");
    EXPECT_THAT(kvn({"check", "c.txt"}).output,
                testing::HasSubstr("Problem:        this is no RBT, BIT or MCB file\n"));
    EXPECT_EQ(kvn({"check", "c.txt"}).status, 1);
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
        EXPECT_EQ(kvn({"check", "a.bit"}).status, 1);
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
            EXPECT_THAT(kvn({"check", file}).status, testing::AnyOf(0, 1, 2)) << file << round;
            EXPECT_TRUE(json({"info", file}).is_object());
        }
    }
}
} // namespace
