// SPDX-License-Identifier: Apache-2.0
// Conversions of hostile files. Byte 0 selects the target's format, byte 1 whether it is to be loadable and
// whether a part is named; the rest is the file.
#include "file/conversion.h"
#include "choices.h"
#include "errors/failure.h"
#include "file/trial.h"
#include "require.h"
#include "target.h"
#include "workplace.h"

#include <filesystem>
#include <optional>

namespace
{
using kvn::Conversion;
using kvn::Format;
using kvn::Input;

constexpr Format formats[] = {Format::rbt, Format::bit, Format::mcb};
constexpr std::size_t LONGEST_FILE = std::size_t{1} << 18;

std::string target_of(Format format)
{
    return format == Format::rbt ? "made.rbt" : format == Format::bit ? "made.bit" : "made.mcb";
}

/// Null when the file is refused, as any may be.
std::optional<Conversion> converted(const Input& input, const kvn::ConversionRequest& request)
{
    try {
        return kvn::convert(input, request);
    } catch (const kvn::FailureError& error) {
        const kvn::Failure& failure = error.failure();
        require(failure.status == kvn::ExitStatus::damaged || failure.status == kvn::ExitStatus::usage,
                "nothing but the source is to blame");
        require(!failure.what.empty() && failure.what.find('\n') == std::string::npos,
                "a failure is told on one line");
        return std::nullopt;
    }
}

bool holds(const std::vector<kvn::Change>& changes, kvn::Change::Kind kind)
{
    return std::ranges::any_of(changes, [kind](const kvn::Change& change) { return change.kind == kind; });
}

void check_loads(const std::string& target, const std::string& part)
{
    for (const kvn::LoadKind kind : {kvn::LoadKind::plain, kvn::LoadKind::compressed})
        require(kvn::try_load(Input::from_path(target), Format::unknown, part, kind).starts,
                "a normalised file starts its device in every mode");
}

/// Whatever was made is a good source of every form that can hold it.
void check_again(const Conversion& made)
{
    const Input input = Input::from_path(made.target);
    for (const Format format : formats) {
        if (format == Format::rbt && made.bits % 32 != 0)
            continue;
        const auto again = converted(input, {.target = "again", .format = format, .overwrite = true});
        remove_file("again");
        if (!again)
            continue; // its header cannot name the part
        require(again->digest == made.digest && again->bits == made.bits, "a conversion keeps the data");
        require(format != made.format || again->changes.empty(), "what was made needs no change");
    }
}

/// No conversion leaves anything but its target.
void check_folder(bool with_target, const std::string& target)
{
    for (const auto& entry : std::filesystem::directory_iterator("."))
        require(!entry.path().filename().string().starts_with(".kvn-"), "no temporary file is left");
    require(std::filesystem::exists(target) == with_target, "a target stands for a success");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    Choices choices{data, size};
    const Format format = choices.one_of(formats);
    const std::uint8_t way = choices.byte();
    const Bytes file = choices.bytes(LONGEST_FILE);
    std::optional<Input> input;
    try {
        input = Input::from_bytes(file, "source");
    } catch (const kvn::FailureError&) {
        return 0; // packed content that is damaged
    }

    const kvn::ConversionRequest request{.target = target_of(format),
                                         .format = format,
                                         .overwrite = false,
                                         .normalise = (way & 1) != 0,
                                         .part = (way & 2) != 0 ? "s05pc84" : ""};
    const auto made = converted(*input, request);
    check_folder(made.has_value(), request.target);
    if (!made)
        return 0;
    require(request.normalise || !holds(made->changes, kvn::Change::Kind::tail),
            "data are added on request alone");
    if (request.normalise)
        check_loads(made->target, made->part);
    else
        require(made->digest == kvn::inspect(*input).digest, "source and target have one digest");
    check_again(*made);
    remove_file(request.target);
    return 0;
}
