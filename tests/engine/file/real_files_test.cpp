// SPDX-License-Identifier: Apache-2.0
// Real bitstreams, in the folder that KVN_REAL_BITSTREAMS names: packed or not, they are one design each.
#include "examples.h"
#include "file/difference.h"
#include "file/digest.h"
#include "file/estimate.h"
#include "packing.h"
#include "support/real_files.h"

namespace
{
namespace fs = std::filesystem;

/// The data in file order.
class Collector final : public kvn::DataTaker
{
public:
    void begin() override { data.clear(); }
    void take(std::span<const std::uint8_t> bytes) override
    {
        const auto reversed = fpga::reverse_each(bytes);
        data.insert(data.end(), reversed.begin(), reversed.end());
    }
    std::vector<std::uint8_t> data;
};

using EngineRealFiles = ExampleTest;

TEST_F(EngineRealFiles, HaveOneDigestInAllForms)
{
    for (const fs::path& file : real_files()) {
        SCOPED_TRACE(file.filename().string());
        const kvn::Input input = kvn::Input::from_path(file.string());
        Collector collector;
        const kvn::Inspection inspection = kvn::inspect(input, &collector);
        const std::string digest = kvn::digest_of(inspection).sha256;
        EXPECT_EQ(kvn::compare(input, input).words, "same configuration");
        for (const auto pack : {&gzip, &xz, &zstd})
            EXPECT_EQ(kvn::digest_of(input_of(pack(content_of(input)), "packed")).sha256, digest);
        Data data = collector.data;
        data.resize((data.size() + 3) / 4 * 4, 0xFF); // other forms hold whole words
        const fpga::FileLabels labels{inspection.part, "family"};
        fpga::write_bit(path("a.bit"), data, labels);
        fpga::write_rbt(path("a.rbt"), data, labels);
        convert(path("a.bit"));
        for (const char* form : {"a.bit", "a.rbt", "a.mcb"})
            EXPECT_EQ(kvn::digest_of(kvn::Input::from_path(path(form))).sha256, digest) << form;
    }
}

TEST_F(EngineRealFiles, AreEstimatedAsTheWireCarriesThem)
{
    for (const fs::path& file : real_files()) {
        SCOPED_TRACE(file.filename().string());
        const kvn::Input input = kvn::Input::from_path(file.string());
        const kvn::Inspection inspection = kvn::inspect(input);
        const kvn::Estimate estimate = kvn::estimate(input, inspection, {});
        for (const kvn::LoadKind kind : {kvn::LoadKind::plain, kvn::LoadKind::compressed}) {
            const kvn::LoadSize& size = kind == kvn::LoadKind::plain ? estimate.plain : estimate.compressed;
            const kvn::Trial trial = kvn::try_load(input, inspection.format(), inspection.part, kind);
            EXPECT_EQ(size.is_loadable, !trial.module_says.empty()) << size.error << trial.error;
            if (size.is_loadable) {
                EXPECT_EQ(size.wire_bytes, trial.bytes);
                EXPECT_EQ(size.held_back, inspection.found_bits / 8 - trial.loaded);
            }
        }
    }
}
} // namespace
