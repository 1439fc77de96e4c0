// SPDX-License-Identifier: Apache-2.0
// Converts bitstream files: any of RBT, BIT and MCB into any, and into one that every load takes.
#include "file/conversion.h"

#include "errors/failure.h"
#include "file/bitstream_content.h"
#include "file/inspectors.h"
#include "file/judgement.h"
#include "file/new_file.h"
#include "file/source.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kvn
{
namespace
{

constexpr const char* STANDARD_STREAM = "-";
constexpr const char* NORMALISE = "convert it with --normalise";

struct FormatWord {
    Format format;
    std::string_view word;
    std::string_view extension;
};
constexpr std::array<FormatWord, 3> FORMATS = {
    {{Format::rbt, "rbt", ".rbt"}, {Format::bit, "bit", ".bit"}, {Format::mcb, "mcb", ".mcb"}}};

[[noreturn]] void refuse(ExitStatus status, std::string what, std::string remedy)
{
    throw FailureError{{status, 0, std::move(what), "", std::move(remedy)}};
}

std::string lower_case(std::string_view text)
{
    std::string lower{text};
    std::ranges::transform(lower, lower.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return lower;
}

/// "an RBT file"
std::string with_article(Format format)
{
    return std::string{format == Format::bit ? "a " : "an "} + format_name(format) + " file";
}

/// The format that the library takes a file of this name for.
Format named_format(std::string_view name)
{
    const auto found = std::ranges::find_if(
        FORMATS, [name](const FormatWord& row) { return name.ends_with(row.extension); });
    return found == FORMATS.end() ? Format::unknown : found->format;
}

std::string_view without_extension(std::string_view name, std::span<const std::string_view> extensions)
{
    for (const std::string_view extension : extensions)
        if (lower_case(name).ends_with(extension))
            return name.substr(0, name.size() - extension.size());
    return name;
}

Format target_format(const ConversionRequest& request)
{
    if (request.target.empty())
        refuse(ExitStatus::usage, "no file to write is named", "name one, or - for standard output");
    const Format named = named_format(request.target);
    if (request.format == Format::unknown && named == Format::unknown)
        refuse(ExitStatus::usage, "nothing says which format " + request.target + " is to have",
               "name a file in .rbt, .bit or .mcb, or say the format");
    if (request.format == Format::unknown)
        return named;
    if (named != Format::unknown && named != request.format)
        refuse(ExitStatus::usage,
               request.target + " is the name of " + with_article(named) + ", not of " +
                   with_article(request.format),
               "let the name end in the format's extension: loads go by it");
    return request.format;
}

void require_target(const Input& input, const ConversionRequest& request)
{
    if (request.target == STANDARD_STREAM)
        return;
    if (is_same_file(input.name(), request.target))
        refuse(ExitStatus::usage, request.target + " is the file that is to be converted",
               "name another file to write");
    require_free(request.target, request.overwrite);
}

/// Names the part in a header that names none.
void name_part(const Input& input, const ConversionRequest& request, Source& source)
{
    SourceHeader& header = source.header;
    const std::string_view present = trimmed(header.part);
    if (request.part.empty() || present == request.part)
        return;
    if (!present.empty())
        refuse(ExitStatus::usage,
               input.name() + " is for a " + std::string{present} + ", not for a " + request.part,
               "name no part, or the file for a " + request.part);
    if (trimmed(request.part) != request.part || !can_hold_part(Format::rbt, request.part))
        refuse(ExitStatus::usage, "\"" + request.part + "\" is the name of no part",
               "name it as bitstreams do: 2v3000fg676");
    header.part = request.part;
    header.head.clear();
    source.changes.push_back({Change::Kind::part, 0, "the part was named: " + request.part});
}

void require_part_fits(const Input& input, Format format, const SourceHeader& header)
{
    if (!can_hold_part(format, header.part))
        refuse(ExitStatus::damaged,
               input.name() + ": " + with_article(format) + " cannot hold the part that its header names",
               MAKE_AGAIN);
}

/// Without normalisation the configuration stays as it is, so it must be whole and fit the format.
void require_fit(const Input& input, Format format, const Source& source)
{
    const auto& stated = source.inspection.counted_bits;
    const std::uint64_t bits = source.data.bits;
    if (stated && *stated != static_cast<std::int64_t>(bits))
        refuse(ExitStatus::damaged,
               input.name() + ": the header states " + std::to_string(*stated) + " bits, the file holds " +
                   std::to_string(bits),
               std::string{NORMALISE} + ", or make it again");
    const unsigned unit = format == Format::rbt ? 32 : 8;
    if (bits % unit != 0)
        refuse(ExitStatus::damaged,
               input.name() + ": the configuration has " + std::to_string(bits) + " bits, no multiple of " +
                   std::to_string(unit) + ", which " + with_article(format) + " cannot hold",
               NORMALISE);
}

void note_stated_size(Source& source)
{
    const auto& stated = source.inspection.counted_bits;
    const bool is_lengthened = std::ranges::any_of(source.changes, [](const Change& change) {
        return change.kind == Change::Kind::fill || change.kind == Change::Kind::tail;
    });
    if (stated && !is_lengthened && *stated != static_cast<std::int64_t>(source.data.bits))
        source.changes.push_back({Change::Kind::stated_size, source.data.bits,
                                  "the header states " + std::to_string(source.data.bits) + " bits, not " +
                                      std::to_string(*stated)});
}

void normalise(const Input& input, Format format, Source& source)
{
    const std::string part{trimmed(source.header.part)};
    const fpga::Device* device = fpga::find_device(part);
    if (device == nullptr || !device->carried_by_modules())
        refuse(ExitStatus::damaged,
               part.empty() ? input.name() + ": the file names no part, so nothing tells what it needs"
                            : input.name() + ": no module carries a " + part,
               part.empty() ? "name it by --part"
                            : "use the bitstream that was made for the module's device");
    cut_to_stated_size(source);
    make_loadable(source.data, part, *device, format, source.changes);
    note_stated_size(source);
}

/// Loads the result into a model of its device, in both modes.
/// @param inspection of what was made
void require_loadable(const Input& source, const Input& made, Inspection inspection)
{
    const Judgement judgement =
        judge(made, inspection, "", {LoadKind::plain, LoadKind::compressed}, Selection::by_content);
    if (judgement.answer == Answer::yes)
        return;
    const Problem* problem = first_fatal(inspection.problems);
    refuse(ExitStatus::damaged,
           source.name() +
               " cannot be made loadable: " + (problem == nullptr ? judgement.words : problem->what),
           problem == nullptr ? MAKE_AGAIN : problem->remedy);
}

/// Compares the data of a file with those that it is to have.
class Comparison : public DataTaker
{
public:
    explicit Comparison(const Configuration& expected) : expected_{expected.bytes} {}
    void begin() override
    {
        rest_ = expected_;
        is_equal_ = true;
    }
    void take(std::span<const std::uint8_t> bytes) override
    {
        const std::size_t size = std::min(bytes.size(), rest_.size());
        is_equal_ = is_equal_ && size == bytes.size() && std::ranges::equal(bytes, rest_.first(size));
        rest_ = rest_.subspan(size);
    }
    [[nodiscard]] bool is_equal() const { return is_equal_ && rest_.empty(); }

private:
    std::span<const std::uint8_t> expected_;
    std::span<const std::uint8_t> rest_;
    bool is_equal_ = false;
};

/// Reads a result as any file, and compares it with what it is to hold.
/// @return null when it is another configuration, or for another part
std::optional<Inspection> read_back(const Input& result, Format format, const Source& source)
{
    Comparison data{source.data};
    Inspection inspection = inspect(result, &data);
    const bool is_same = inspection.format() == format && data.is_equal() &&
                         inspection.found_bits == source.data.bits &&
                         inspection.stated_bits == static_cast<std::int64_t>(source.data.bits) &&
                         trimmed(inspection.part) == trimmed(source.header.part);
    return is_same ? std::optional{std::move(inspection)} : std::nullopt;
}

std::span<const std::uint8_t> as_bytes(std::string_view content)
{
    return {reinterpret_cast<const std::uint8_t*>(content.data()), content.size()}; // NOLINT: the same bytes
}

void write(const std::string& content, Format format, const Source& source, const ConversionRequest& request)
{
    if (request.target == STANDARD_STREAM)
        return write_to_standard_output(content);
    NewFile file{request.target};
    file.write(content);
    if (!read_back(Input::from_path(file.path()), format, source))
        refuse(ExitStatus::file, "what was written to " + request.target + " reads back differently",
               "see whether the disk is sound");
    file.move_to_target(request.overwrite);
}

} // namespace

std::string_view name_of(Change::Kind kind)
{
    constexpr std::string_view names[] = {"header",         "line ends",   "lines", "bit order", "characters",
                                          "trailing bytes", "stated size", "fill",  "tail",      "part"};
    return names[static_cast<std::size_t>(kind)];
}

Conversion convert(const Input& input, const ConversionRequest& request)
{
    const Format format = target_format(request);
    require_target(input, request);
    Source source = read_source(input);
    name_part(input, request, source);
    require_part_fits(input, format, source.header);
    if (request.normalise)
        normalise(input, format, source);
    else
        require_fit(input, format, source);

    std::string content = make_header(source.header, format, source.data.bits);
    append_data(content, format, source.data.bytes);
    // What goes to standard output has no name that could say another format.
    const Input made =
        Input::from_bytes(as_bytes(content), request.target == STANDARD_STREAM ? "" : request.target);
    std::optional<Inspection> inspection = read_back(made, format, source);
    if (!inspection)
        refuse(ExitStatus::damaged,
               input.name() + ": its header cannot be written as that of " + with_article(format),
               MAKE_AGAIN);
    if (request.normalise)
        require_loadable(input, made, *inspection);
    write(content, format, source, request);

    Conversion conversion;
    conversion.source = input.name();
    conversion.source_format = source.header.format;
    conversion.target = request.target;
    conversion.format = format;
    conversion.bytes = content.size();
    conversion.bits = source.data.bits;
    conversion.digest = inspection->digest;
    conversion.part = trimmed(inspection->part);
    conversion.normalised = request.normalise;
    conversion.changes = std::move(source.changes);
    conversion.problems = std::move(inspection->problems);
    compare_headers(source.inspection.header, inspection->header, conversion);
    return conversion;
}

std::string default_target(std::string_view source, Format format)
{
    constexpr std::array<std::string_view, 3> packings = {".gz", ".xz", ".zst"};
    constexpr std::array<std::string_view, 3> extensions = {".rbt", ".bit", ".mcb"};
    if (source == STANDARD_STREAM)
        return STANDARD_STREAM;
    const auto row = std::ranges::find(FORMATS, format, &FormatWord::format);
    std::string target{without_extension(without_extension(source, packings), extensions)};
    return target.append(row->extension);
}

Format format_of_word(std::string_view word)
{
    const auto found = std::ranges::find(FORMATS, lower_case(word), &FormatWord::word);
    return found == FORMATS.end() ? Format::unknown : found->format;
}

} // namespace kvn
