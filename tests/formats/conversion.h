// SPDX-License-Identifier: Apache-2.0
// A fixture for conversions of one file in the current folder, and the ways to give a file a second name.
#ifndef KVN_FPGA_TESTS_FORMATS_CONVERSION_H
#define KVN_FPGA_TESTS_FORMATS_CONVERSION_H

#include "support/bitstreams.h"
#include "support/faults.h"
#include "support/run_fixture.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

inline constexpr void (*linked_as[])(const char* file, const char* name) = {
    [](const char* file, const char* name) { std::filesystem::create_hard_link(file, name); },
    [](const char* file, const char* name) { std::filesystem::create_symlink(file, name); },
};

class Conversion : public RunFixture
{
protected:
    using Converter = int (kvn_fpga_imp::*)(FILE*);

    Conversion(Converter converter, std::string input) : converter_{converter}, input_{std::move(input)} {}

    /// Converts what stands in the input.
    Result convert() { return convert(std::fopen(input_.c_str(), "rb")); }
    template <class File>
    Result convert(const File& file)
    {
        file.write(input_);
        return convert();
    }
    Result convert(FILE* stream)
    {
        std::strcpy(session.bitstream_file, input_.c_str());
        session.last_error = 0;
        session.last_error_text[0] = '\0';
        return result((session.*converter_)(stream));
    }
    /// The same with an input of another name.
    template <class File>
    Result convert_as(const std::string& name, const File& file)
    {
        input_ = name;
        return convert(file);
    }

    static Bytes as_bytes(const std::string& text) { return {text.begin(), text.end()}; }

    FaultScope faults;

private:
    Converter converter_;
    std::string input_;
};

/// The numbers of what is written to an MCB file, in its order; two each for the two bytes of a run, and two
/// for those of the last run.
using McbNumbers = std::array<int, 9>;

class ConversionToMcb : public Conversion
{
protected:
    using Conversion::Conversion;

    /// The 255 bytes of a text field.
    static std::string field(std::string text)
    {
        text.resize(255, '\0');
        return text;
    }

    static std::string mcb() { return read_file("design.mcb"); }
    static std::string device_field() { return mcb().substr(8, 255); }
    static std::string timestamp_field() { return mcb().substr(263, 255); }
    static Bytes byte_count_field() { return as_bytes(mcb().substr(518, 4)); }
    static Bytes data_section() { return as_bytes(mcb().substr(522)); }

    /// The error of a byte that found no room in an MCB file of the runs 01 01 .. 01 08.
    static Result full_at(std::size_t room, const McbNumbers& numbers)
    {
        constexpr std::size_t field_ends[] = {4, 8, 263, 518, 522};
        const auto* const end = std::ranges::upper_bound(field_ends, room);
        auto place = static_cast<std::size_t>(end - field_ends);
        const bool in_header = end != std::end(field_ends);
        if (!in_header)
            place += (room < 522 + 14 ? 0 : 2) + room % 2;
        const int number = numbers.at(place);
        return Fails("Error " + std::to_string(number) + ". Cannot write " +
                     (in_header ? "header" : "MCB file data") + " to MCB file design.mcb.");
    }

    /// Converts that file onto disks that are full within the fields of an error number.
    /// @param output_buffer the allocation that fails, so that nothing is gathered on the way
    template <class File>
    void expect_full_disks(int number, const McbNumbers& numbers, int output_buffer)
    {
        ASSERT_EQ(convert(File{bytes("01 02 03 04 05 06 07 08")}), Succeeds());
        const std::string whole = mcb();
        ASSERT_EQ(whole.size(), 522U + 16);
        std::size_t places = 0;
        for (std::size_t room = 0; room < whole.size(); ++room) {
            if (full_at(room, numbers).number != number)
                continue;
            ++places;
            const SmallOutputFile output{room};
            fail_allocation_at(output_buffer);
            EXPECT_EQ(convert(), full_at(room, numbers)) << room;
            EXPECT_EQ(output.taken, whole.substr(0, room));
        }
        EXPECT_GT(places, 0U);
    }
};

#endif
