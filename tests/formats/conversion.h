// SPDX-License-Identifier: Apache-2.0
// A fixture for conversions of one file in the current folder.
#ifndef KVN_FPGA_TESTS_FORMATS_CONVERSION_H
#define KVN_FPGA_TESTS_FORMATS_CONVERSION_H

#include "support/bitstreams.h"
#include "support/faults.h"
#include "support/run_fixture.h"

#include <cstring>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

class Conversion : public RunFixture
{
public:
    using Converter = int (kvn_fpga_imp::*)(FILE*);

protected:
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
};

#endif
