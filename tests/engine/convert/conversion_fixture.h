// SPDX-License-Identifier: Apache-2.0
// Conversions of example bitstreams in a temporary folder.
#ifndef KVN_FPGA_TESTS_ENGINE_CONVERT_CONVERSION_FIXTURE_H
#define KVN_FPGA_TESTS_ENGINE_CONVERT_CONVERSION_FIXTURE_H

#include "bitstream_files.h"
#include "errors/failure.h"
#include "file/conversion.h"
#include "kvnfpgai.h"
#include "stream.h"
#include "support/bitstreams.h"
#include "support/folder_test.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

inline constexpr kvn::Format all_formats[] = {kvn::Format::rbt, kvn::Format::bit, kvn::Format::mcb};

inline std::string extension(kvn::Format format)
{
    return format == kvn::Format::rbt ? ".rbt" : format == kvn::Format::bit ? ".bit" : ".mcb";
}

inline void print_nothing(char* /*text*/) {}

/// Converts by the library's own converter, beside the source.
inline void convert_classically(const std::string& source)
{
    kvn_fpga_imp session;
    session.kvn_fpga_set_userprint(&print_nothing);
    ASSERT_LT(source.size(), sizeof session.bitstream_file);
    std::strcpy(session.bitstream_file, source.c_str());
    FILE* file = std::fopen(source.c_str(), "rb");
    ASSERT_NE(file, nullptr) << source;
    const int error = source.ends_with(".mcb")
                          ? session.Make_rbt_file(file)
                          : session.Make_mcb_file(file, source.ends_with(".bit") ? 1 : 0);
    EXPECT_EQ(error, 0) << session.last_error_text;
}

/// The failure that an action ends with; the status is done when it succeeds.
template <class Action>
kvn::Failure failure_of(Action action)
{
    try {
        action();
    } catch (const kvn::FailureError& error) {
        return error.failure();
    }
    kvn::Failure none;
    none.status = kvn::ExitStatus::done;
    return none;
}

class ConversionTest : public FolderTest
{
protected:
    /// The labels of every example: all formats state the same second.
    static fpga::FileLabels labels(const std::string& part)
    {
        fpga::FileLabels labels;
        labels.part = part;
        labels.architecture = fpga::architecture_name(fpga::find_device(part)->family);
        return labels;
    }

    static std::vector<std::uint8_t> stream(const std::string& part)
    {
        return fpga::make_stream(*fpga::find_device(part), {});
    }

    /// Writes an example; of an MCB file its source is the RBT or BIT file of that name.
    void make(const std::string& part, const std::string& file) const
    {
        const fpga::Device& device = *fpga::find_device(part);
        const bool is_serial = device.architecture() == fpga::Architecture::length_count;
        if (file.ends_with(".rbt"))
            fpga::write_rbt(path(file), stream(part), labels(part), fpga::FileDefect::none,
                            is_serial ? device.frame_size : 0);
        else
            fpga::write_bit(path(file), stream(part), labels(part));
    }

    [[nodiscard]] kvn::Conversion convert(const std::string& source, kvn::ConversionRequest request) const
    {
        if (request.target != "-")
            request.target = path(request.target);
        return kvn::convert(kvn::Input::from_path(path(source)), request);
    }
    [[nodiscard]] kvn::Conversion convert_to(const std::string& source, const std::string& target) const
    {
        return convert(source, {.target = target});
    }
    [[nodiscard]] kvn::Conversion normalise(const std::string& source, const std::string& target) const
    {
        return convert(source, {.target = target, .normalise = true});
    }

    [[nodiscard]] kvn::Failure failure(const std::string& source, const kvn::ConversionRequest& request) const
    {
        return failure_of([&] { (void)convert(source, request); });
    }
    [[nodiscard]] kvn::Failure failure_to(const std::string& source, const std::string& target) const
    {
        return failure(source, kvn::ConversionRequest{.target = target});
    }

    /// The names in the folder, in order.
    [[nodiscard]] std::vector<std::string> names() const
    {
        std::vector<std::string> all;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            all.push_back(entry.path().filename().string());
        std::ranges::sort(all);
        return all;
    }
};

/// "design=example.ncd, date=..."
inline std::string described(const std::vector<kvn::HeaderField>& fields)
{
    std::string text;
    for (const kvn::HeaderField& field : fields)
        text.append(text.empty() ? "" : ", ").append(field.name).append("=").append(field.text);
    return text;
}

/// "fill 8, tail 16"
inline std::string described(const std::vector<kvn::Change>& changes)
{
    std::string text;
    for (const kvn::Change& change : changes)
        text.append(text.empty() ? "" : ", ")
            .append(kvn::name_of(change.kind))
            .append(" ")
            .append(std::to_string(change.count));
    return text;
}

#endif
