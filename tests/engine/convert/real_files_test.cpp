// SPDX-License-Identifier: Apache-2.0
// Real bitstreams, in the folder that KVN_REAL_BITSTREAMS names: into every form, and back.
#include "conversion_fixture.h"
#include "file/trial.h"
#include "support/real_files.h"

#include <gmock/gmock.h>

namespace
{
namespace fs = std::filesystem;
using kvn::Conversion;
using kvn::Format;
using kvn::Input;

/// The part that the file is for, which its name begins with.
std::string part_of(const fs::path& file)
{
    const std::string name = file.filename().string();
    return name.substr(0, name.find('_'));
}

std::string named_part(const Input& source)
{
    return kvn::inspect(source).part;
}

class ConversionOfRealFiles : public ConversionTest
{
protected:
    [[nodiscard]] Conversion to(const Input& source, const std::string& target, bool normalised,
                                const std::string& part) const
    {
        return kvn::convert(
            source, {.target = path(target), .overwrite = true, .normalise = normalised, .part = part});
    }
    [[nodiscard]] Input input(const std::string& name) const { return Input::from_path(path(name)); }
};

TEST_F(ConversionOfRealFiles, EveryFormHasTheSameDigestAndTheWayBackTheSameBytes)
{
    for (const fs::path& file : real_files()) {
        SCOPED_TRACE(file.filename().string());
        const Input source = Input::from_path(file.string());
        const bool names_none = named_part(source).empty();
        const std::string part = names_none ? part_of(file) : "";
        const Conversion bit = to(source, "a.bit", false, part);
        const Conversion mcb = to(source, "a.mcb", false, part);
        EXPECT_EQ(mcb.digest, bit.digest);
        EXPECT_EQ(to(input("a.mcb"), "b.bit", false, "").digest, bit.digest);
        EXPECT_EQ(to(input("a.bit"), "c.bit", false, "").digest, bit.digest);
        EXPECT_EQ(content("c.bit"), content("a.bit"));
        if (bit.source_format == Format::bit) {
            EXPECT_EQ(content("a.bit").size(), source.size());
        }
        if (bit.bits % 32 != 0)
            continue;
        EXPECT_EQ(to(source, "a.rbt", false, part).digest, bit.digest);
        EXPECT_EQ(to(input("a.rbt"), "d.bit", false, "").digest, bit.digest);
        EXPECT_EQ(to(input("d.bit"), "d.rbt", false, "").digest, bit.digest);
        EXPECT_EQ(to(input("a.rbt"), "d.mcb", false, "").digest, bit.digest);
        // Dates with blanks in their numbers come back with zeros.
        if (bit.source_format == Format::bit) {
            EXPECT_EQ(content("d.bit").size(), content("a.bit").size());
        }
    }
}

TEST_F(ConversionOfRealFiles, EveryFileForAModuleIsMadeLoadableInEveryForm)
{
    for (const fs::path& file : real_files()) {
        SCOPED_TRACE(file.filename().string());
        const fpga::Device* device = fpga::find_device(part_of(file));
        const Input source = Input::from_path(file.string());
        const std::string part = named_part(source).empty() ? part_of(file) : "";
        if (device == nullptr || !device->carried_by_modules()) {
            const kvn::Failure failed = failure_of([&] { (void)to(source, "a.bit", true, part); });
            EXPECT_EQ(failed.status, kvn::ExitStatus::damaged) << failed.what;
            continue;
        }
        for (const Format format : all_formats) {
            const std::string target = "a" + extension(format);
            const Conversion made = to(source, target, true, part);
            const bool is_serial = device->architecture() == fpga::Architecture::length_count;
            EXPECT_EQ(described(made.changes).find("tail 16") != std::string::npos, is_serial);
            for (const kvn::LoadKind kind : {kvn::LoadKind::plain, kvn::LoadKind::compressed})
                EXPECT_TRUE(kvn::try_load(input(target), Format::unknown, part_of(file), kind).starts)
                    << target;
        }
    }
}
} // namespace
