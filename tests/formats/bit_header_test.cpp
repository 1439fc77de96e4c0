// SPDX-License-Identifier: Apache-2.0
// The BIT header's reader: its fields, its thirty errors, the device check.
#include "formats/bit_header.h"

#include "streams.h"
#include "support/bitstreams.h"
#include "support/faults.h"
#include "support/memory_in_use.h"
#include "support/run_fixture.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <stdexcept>

using namespace std::string_literals;

namespace
{
class BitHeaderFixture : public RunFixture
{
protected:
    BitHeaderFixture() { std::strcpy(session.bitstream_file, "design.bit"); }
    ~BitHeaderFixture() override { kvn_fpga_imp::free_header(&header); }

    /// Reads the header of a file with this content. What follows it stands in `rest`.
    Result read(const std::string& content)
    {
        write_file("design.bit", content);
        return read(std::fopen("design.bit", "rb"));
    }

    Result read(FILE* stream)
    {
        const int error = session.Read_Bitstream_Hdr_bit(stream, &header);
        if (error == 0) {
            for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream))
                rest += static_cast<char>(c);
            std::fclose(stream);
        }
        return result(error);
    }

    void expect_nothing_kept()
    {
        for (const char* text : {header.ncd_name, header.device, header.date, header.time})
            EXPECT_EQ(text, nullptr);
    }

    FaultScope faults;
    BitHeader header;
    std::string rest;
};

using BitHeaderReader = BitHeaderFixture;

TEST_F(BitHeaderReader, ReadsEveryField)
{
    BitFile file{8};
    EXPECT_EQ(read(file.content()), Succeeds());
    EXPECT_EQ(header.magic_length, 9U);
    EXPECT_EQ(Bytes(header.magic, header.magic + 9), bytes("0F F0 0F F0 0F F0 0F F0 00"));
    EXPECT_EQ(header.a_length, 1U);
    EXPECT_EQ(header.a_key, 'a');
    EXPECT_EQ(std::string(header.ncd_name, header.ncd_length), "design.ncd\0"s);
    EXPECT_EQ(header.b_key, 'b');
    EXPECT_EQ(std::string(header.device, header.device_length), "2v3000fg676\0"s);
    EXPECT_EQ(header.c_key, 'c');
    EXPECT_EQ(std::string(header.date, header.date_length), "2006/02/17\0"s);
    EXPECT_EQ(header.d_key, 'd');
    EXPECT_EQ(std::string(header.time, header.time_length), "12:34:56\0"s);
    EXPECT_EQ(header.e_key, 'e');
    EXPECT_EQ(header.byte_count, 8U);
    for (const auto& [text, length] : {std::pair{header.ncd_name, header.ncd_length},
                                       {header.device, header.device_length},
                                       {header.date, header.date_length},
                                       {header.time, header.time_length}})
        EXPECT_EQ(text[length], '\0') << text;
    EXPECT_EQ(Bytes(rest.begin(), rest.end()), file.data) << "the stream stands at the data";
    EXPECT_TRUE(log().empty()) << "nothing is printed";
}

TEST_F(BitHeaderReader, ReadsLengthsAndCountAsBigEndian)
{
    BitFile file{0};
    file.design = std::string(0x0102, 'n');
    file.byte_count = 0x81020304;
    EXPECT_EQ(read(file.content()), Succeeds());
    EXPECT_EQ(header.ncd_length, 0x0102U);
    EXPECT_EQ(header.byte_count, 0x81020304U);
}

TEST_F(BitHeaderReader, DeviceMayGoOnBehindTheModulesName)
{
    for (const char* name : {"2v3000fg676-4", "2v3000-fg676", "2v-", "2v3000fg676", "", "-4"}) {
        std::strcpy(session.device_name, name);
        EXPECT_EQ(read(BitFile{}.content()), Succeeds()) << name;
        kvn_fpga_imp::free_header(&header);
    }
}

TEST_F(BitHeaderReader, Error9336WhenTheDeviceDiffers)
{
    for (const std::string name : {"2v1000fg676-4", "2V3000fg676-4", "2v3000fg6767-4", "2v3000fg676x"}) {
        std::strcpy(session.device_name, name.c_str());
        EXPECT_EQ(read(BitFile{}.content()),
                  Fails("Error 9336. Bitstream design.bit is not for a " + name + " device."));
        expect_nothing_kept();
    }
}

TEST_F(BitHeaderReader, Error9336BecauseAnEmptyDeviceSuitsOnlyAModuleWithoutAName)
{
    BitFile file;
    file.device.clear();
    EXPECT_EQ(read(file.content()), Succeeds());
    kvn_fpga_imp::free_header(&header);
    std::strcpy(session.device_name, "2v3000");
    EXPECT_EQ(read(file.content()), Fails("Error 9336. Bitstream design.bit is not for a 2v3000 device."));
}

TEST_F(BitHeaderReader, NamesTheDeviceOfTheFileWhenVerbose)
{
    session.verbose = 1;
    std::strcpy(session.device_name, "2v3000-4");
    EXPECT_EQ(read(BitFile{}.content()), Succeeds());
    EXPECT_EQ(prints(), (std::vector<std::string>{R"(The bitstream is for a 2v3000fg676 device.\n)"}));
}

TEST_F(BitHeaderReader, AcceptsEmptyTexts)
{
    BitFile file;
    file.design.clear();
    file.device.clear();
    file.date.clear();
    file.time.clear();
    EXPECT_EQ(read(file.content()), Succeeds());
    for (const char* text : {header.ncd_name, header.device, header.date, header.time})
        EXPECT_STREQ(text, "");
}

TEST_F(BitHeaderReader, ReleasingTwiceIsHarmless)
{
    EXPECT_EQ(read(BitFile{}.content()), Succeeds());
    kvn_fpga_imp::free_header(&header);
    expect_nothing_kept();
    kvn_fpga_imp::free_header(&header);
    expect_nothing_kept();
}

/// A field of the header: where it ends in the file of a plain BitFile, and the error of an end inside it.
struct Field {
    int number;
    std::size_t size;
    const char* what;

    [[nodiscard]] std::string text() const
    {
        return "Error " + std::to_string(number) +
               ". Failed to read header section of BIT file design.bit (" + what + ").";
    }
    friend void PrintTo(const Field& field, std::ostream* out) { *out << field.text(); }
};

const Field fields[] = {
    {9320, 2, "magic header length"}, {9322, 9, "magic string"},         {9324, 2, "'a' char length"},
    {9326, 1, "'a' character"},       {9328, 2, "ncd string length"},    {9330, 11, "ncd string"},
    {9331, 1, "'b' character"},       {9333, 2, "device string length"}, {9335, 12, "device string"},
    {9337, 1, "'c' character"},       {9339, 2, "date string length"},   {9341, 11, "date string"},
    {9342, 1, "'d' character"},       {9344, 2, "time string length"},   {9346, 9, "time string"},
    {9347, 1, "'e' character"},       {9349, 4, "number of bits"},
};

std::size_t offset_of(int number)
{
    std::size_t offset = 0;
    for (const Field* field = fields; field->number != number; ++field)
        offset += field->size;
    return offset;
}

using BitHeaderField = With<BitHeaderFixture, Field>;

TEST_P(BitHeaderField, ThatTheFileCutsShortOrThatCannotBeRead)
{
    const Field& field = GetParam();
    const std::size_t offset = offset_of(field.number);
    for (std::size_t size = offset; size < offset + field.size; ++size) {
        EXPECT_EQ(read(BitFile{}.content().substr(0, size)), Fails(field.text())) << size;
        expect_nothing_kept();
        EXPECT_EQ(read(stream_failing_at(BitFile{}.content(), size)), Fails(field.text())) << size;
        expect_nothing_kept();
    }
}

INSTANTIATE_TEST_SUITE_P(Header, BitHeaderField, testing::ValuesIn(fields),
                         [](const auto& row) { return "Error" + std::to_string(row.param.number); });

std::string wrong_length(int number, int expected, int found)
{
    return "Error " + std::to_string(number) + ". Expected length of " + std::to_string(expected) +
           " in header section of BIT file design.bit (found " + std::to_string(found) + ").";
}

std::string wrong_key(int number, char expected, char found)
{
    return "Error " + std::to_string(number) + ". Expected to find '" + expected +
           "' in header of BIT file design.bit, but found " + found + '.';
}

const FileFault<BitFile> header_faults[] = {
    {"LengthEight", [](auto& file) { file.magic_length = 8; }, wrong_length(9321, 9, 8)},
    {"GreatestLength", [](auto& file) { file.magic_length = 65535; }, wrong_length(9321, 9, 65535)},
    {"WrongMagic", [](auto& file) { file.magic[7] ^= 1; },
     "Error 9323. Header of file design.bit indicates it is not a BIT file."},
    {"LengthTwo", [](auto& file) { file.key_length = 2; }, wrong_length(9325, 1, 2)},
    {"LengthZero", [](auto& file) { file.key_length = 0; }, wrong_length(9325, 1, 0)},
    {"WrongKey", [](auto& file) { file.a_key = 'A'; }, wrong_key(9327, 'a', 'A')},
    {"WrongKey", [](auto& file) { file.b_key = 'a'; }, wrong_key(9332, 'b', 'a')},
    {"DesignShorterThanSaid", [](auto& file) { file.design_length = 6; }, wrong_key(9332, 'b', '.')},
    {"WrongKey", [](auto& file) { file.c_key = 'C'; }, wrong_key(9338, 'c', 'C')},
    {"WrongKey", [](auto& file) { file.d_key = '%'; }, wrong_key(9343, 'd', '%')},
    {"WrongKey", [](auto& file) { file.e_key = 'f'; }, wrong_key(9348, 'e', 'f')},
};

using BitHeaderFault = With<BitHeaderFixture, FileFault<BitFile>>;

TEST_P(BitHeaderFault, EndsTheReading)
{
    BitFile file;
    GetParam().damage(file);
    EXPECT_EQ(read(file.content()), Fails(GetParam().text));
    expect_nothing_kept();
}

INSTANTIATE_TEST_SUITE_P(Header, BitHeaderFault, testing::ValuesIn(header_faults), ErrorName{});

TEST_F(BitHeaderReader, EveryAllocationHasItsOwnError9329Or9334Or9340Or9345)
{
    int allocation = 0;
    for (const int number : {9329, 9334, 9340, 9345}) {
        fail_allocation_at(++allocation);
        EXPECT_EQ(read(BitFile{}.content()),
                  Fails("Error " + std::to_string(number) +
                        ". Unable to allocate memory while reading header section of BIT file design.bit."));
        expect_nothing_kept();
    }
    fail_allocation_at(++allocation);
    session.Initialise();
    EXPECT_EQ(read(BitFile{}.content()), Succeeds()) << "there is a further allocation";
}

TEST_F(BitHeaderReader, APrintFunctionThatThrowsLeaksNoText)
{
    // Too large for the C library to keep for later once they are released.
    constexpr std::size_t size = 60'000;
    BitFile file;
    file.design = std::string(size, 'n');
    file.device += std::string(size, 'd');
    file.write();
    platform.board("mwc4a", 0).slot(2, fpga_module(4));
    session.kvn_fpga_set_userprint([](char* text) {
        if (std::strncmp(text, "The bitstream is for a", 22) == 0)
            throw std::runtime_error{"no more"};
    });
    for (const bool converts : {false, true}) {
        std::size_t used = 0;
        for (int times = 0; times < 2; ++times) {
            const std::size_t before = memory_in_use();
            EXPECT_THROW(
                run(split(converts ? "-v -u -fdesign.bit -c" : "-v -u -fdesign.bit -dmwc4a -b0 -s2", ' ')),
                std::runtime_error);
            clear_log();
            used = memory_in_use() - std::min(before, memory_in_use());
        }
        EXPECT_LT(used, size) << (converts ? "conversion" : "load");
        EXPECT_EQ(platform.open_handles(), 0);
    }
}

TEST_F(BitHeaderReader, StatedBitsWrapIn32Bits)
{
    EXPECT_EQ(stated_bits(BitHeader{.byte_count = 4}), 32);
    EXPECT_EQ(stated_bits(BitHeader{.byte_count = 0x10000000}), -2147483647 - 1);
    EXPECT_EQ(stated_bits(BitHeader{.byte_count = 0x20000001}), 8);
    EXPECT_EQ(stated_bits(BitHeader{.byte_count = 0xFFFFFFFF}), -8);
}
} // namespace
