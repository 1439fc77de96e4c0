// SPDX-License-Identifier: Apache-2.0
// Files of any kind, packed or not: read, inspected, and compared; estimates against a virtual module.
#include "choices.h"
#include "errors/failure.h"
#include "file/judgement.h"
#include "report/file_json.h"
#include "require.h"
#include "target.h"
#include "workplace.h"

#include <array>
#include <sstream>
#include <string>

namespace
{
using kvn::LoadKind;

constexpr std::array names{"a.rbt", "a.bit", "a.mcb", "a.bit.gz", "a.rbt.xz", "a.mcb.zst", "a.dat", ""};
constexpr kvn::InputLimits LIMITS{.size = 1U << 20U};

void check_json(const kvn::Json& json)
{
    std::ostringstream text;
    kvn::print_json(text, json);
    require(kvn::Json::accept(text.str()), "what is printed is JSON");
}

/// The figures of an estimate are those that a virtual module counts.
void check_estimate(const kvn::Input& input, const kvn::Inspection& inspection)
{
    if (inspection.format() == kvn::Format::unknown || inspection.part.size() > kvn::LONGEST_DEVICE_NAME)
        return;
    const kvn::Estimate estimate = kvn::estimate(input, inspection, {.bytes_per_second = 1000});
    check_json(kvn::to_json(inspection, {}, estimate));
    for (const LoadKind kind : {LoadKind::plain, LoadKind::compressed}) {
        const kvn::LoadSize& size = kind == LoadKind::plain ? estimate.plain : estimate.compressed;
        const kvn::Trial trial = kvn::try_load(input, inspection.format(), inspection.part, kind);
        if (size.is_loadable)
            require(size.wire_bytes == trial.bytes, "an estimate is what the wire carries");
    }
}

void check_digest(const kvn::Input& input, const kvn::Inspection& inspection)
{
    try {
        const kvn::Digest digest = kvn::digest_of(inspection);
        require(digest.bits == inspection.found_bits, "all that is found is hashed");
        check_json(kvn::to_json(inspection, digest));
        const kvn::Difference difference = kvn::compare(input, input);
        require(difference.words == "same configuration", "a file equals itself");
        check_json(kvn::to_json(input, input, difference));
        const kvn::Input good = kvn::Input::from_path(workplace() + "good.bit");
        require(!kvn::compare(input, good).words.empty(), "a difference is told in words");
    } catch (const kvn::FailureError& error) {
        require(error.failure().status == kvn::ExitStatus::damaged, "what has no digest is damaged");
    }
}

void check(const kvn::Input& input)
{
    kvn::Inspection inspection = kvn::inspect(input);
    require(inspection.digest.empty() == (inspection.found_bits == 0), "data that are found have a sum");
    check_json(kvn::to_json(inspection, std::nullopt));
    check_digest(input, inspection);
    check_estimate(input, inspection);
    const kvn::Judgement judgement = kvn::judge(
        input, inspection, "", {LoadKind::plain, LoadKind::compressed}, kvn::Selection::by_content);
    require((judgement.answer == kvn::Answer::no) == inspection.has_fatal_problem(),
            "problems and answer agree");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    if (size == 0)
        return 0;
    const std::string name = names.at(*data % names.size());
    try {
        check(kvn::Input::from_bytes({data + 1, size - 1}, name, LIMITS));
    } catch (const kvn::FailureError& error) {
        require(error.failure().status == kvn::ExitStatus::damaged && error.failure().what.starts_with(name),
                "a file that cannot be unpacked is damaged");
    }
    return 0;
}
