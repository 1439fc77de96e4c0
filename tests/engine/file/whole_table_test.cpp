// SPDX-License-Identifier: Apache-2.0
// Every device of the table, in every form and mode: one digest, and the estimate of what a virtual module
// counts.
#include "examples.h"
#include "file/difference.h"
#include "file/digest.h"
#include "file/estimate.h"

namespace fpga
{
/// What GoogleTest shows of a device.
static void PrintTo(const Device& device, std::ostream* out)
{
    *out << device.name;
}
} // namespace fpga

namespace
{
using kvn::Format;
using kvn::LoadKind;

class WholeTable : public ExampleTest, public testing::WithParamInterface<fpga::Device>
{
protected:
    [[nodiscard]] std::vector<kvn::Input> forms(const Data& data) const
    {
        std::vector<kvn::Input> inputs{bit(GetParam(), data), rbt(GetParam(), data)};
        if (data.size() % 4 == 0)
            inputs.push_back(mcb(GetParam(), data));
        return inputs;
    }

    /// The figures of an estimate are those that a virtual module counts.
    void compare_with_wire(const kvn::Input& input, LoadKind kind) const
    {
        SCOPED_TRACE(input.name() + (kind == LoadKind::plain ? " plain" : " compressed"));
        const std::string device = labels(GetParam()).part + "-4";
        const kvn::Inspection inspection = kvn::inspect(input);
        const kvn::Estimate estimate = kvn::estimate(input, inspection, {.device = device});
        const kvn::LoadSize& size = kind == LoadKind::plain ? estimate.plain : estimate.compressed;
        const kvn::Trial trial = kvn::try_load(input, inspection.format(), device, kind);
        // A module that has judged got all that the library sends.
        ASSERT_EQ(size.is_loadable, !trial.module_says.empty()) << size.error << trial.error;
        if (!size.is_loadable) {
            EXPECT_EQ(size.error, trial.error);
            return;
        }
        EXPECT_EQ(size.wire_bytes, trial.bytes);
        EXPECT_EQ(size.held_back, inspection.found_bits / 8 - trial.loaded);
        if (kind == LoadKind::plain) {
            EXPECT_EQ(size.wire_bytes, 2 + trial.loaded);
        }
        EXPECT_EQ(size.units, kind == LoadKind::plain ? trial.loaded / 4 : (trial.bytes - 2) / 2);
    }
};

TEST_P(WholeTable, EstimatesAreWhatTheWireCarries)
{
    for (const kvn::Input& input : forms(fpga::make_stream(GetParam())))
        for (const LoadKind kind : {LoadKind::plain, LoadKind::compressed})
            compare_with_wire(input, kind);
}

TEST_P(WholeTable, TheFormsOfADesignHaveOneDigest)
{
    const Data data = fpga::make_stream(GetParam(), {.fill = fpga::Fill::random});
    const std::vector<kvn::Input> inputs = forms(data);
    const std::string digest = kvn::digest_of(inputs.front()).sha256;
    for (const kvn::Input& input : inputs) {
        EXPECT_EQ(kvn::digest_of(input).sha256, digest) << input.name();
        EXPECT_EQ(kvn::compare(inputs.front(), input).words, "same configuration") << input.name();
    }
}

INSTANTIATE_TEST_SUITE_P(Devices, WholeTable,
                         testing::ValuesIn(fpga::devices().begin(), fpga::devices().end()),
                         [](const auto& row) { return std::string{row.param.name}; });
} // namespace
