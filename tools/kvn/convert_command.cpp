// SPDX-License-Identifier: Apache-2.0
// kvn convert: writes a bitstream file in another form.
#include "commands.h"
#include "file/conversion.h"
#include "file/input.h"
#include "interruption.h"
#include "lines.h"
#include "report/conversion_json.h"

#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

struct Request {
    std::string file;
    std::string format;
    ConversionRequest conversion;
    bool json = false;
};

std::string names_of(const std::vector<HeaderField>& fields)
{
    std::string names;
    for (const HeaderField& field : fields)
        names += (names.empty() ? "" : ", ") + field.name;
    return names;
}

void print_conversion(std::ostream& out, const Conversion& done)
{
    Lines lines{out};
    lines.add("Read", printable(done.source) + ", " + format_name(done.source_format));
    lines.add("Written", printable(done.target) + ", " + format_name(done.format) + ", " +
                             std::to_string(done.bytes) + " bytes");
    lines.add("Configuration", std::to_string(done.bits) + " bits");
    lines.add("Digest", done.digest);
    if (!done.part.empty())
        lines.add("Part", printable(done.part));
    if (!done.kept.empty())
        lines.add("Kept", names_of(done.kept));
    if (!done.lost.empty())
        lines.add("Lost", names_of(done.lost) + "; the form has no place for it");
    for (const Change& change : done.changes)
        lines.add("Changed", printable(change.what));
    for (const Problem& problem : done.problems) {
        lines.add(problem.is_fatal() ? "Problem" : "Note", printable(problem.what));
        lines.add("  What to do", printable(problem.remedy));
    }
}

ConversionRequest conversion_of(const Request& request)
{
    ConversionRequest wanted = request.conversion;
    wanted.format = format_of_word(request.format);
    if (wanted.target.empty() && wanted.format == Format::unknown)
        throw UsageError{"neither a target nor --to is given; kvn convert --help tells more"};
    if (wanted.target.empty())
        wanted.target = default_target(request.file, wanted.format);
    if (wanted.target == "-" && request.json)
        throw UsageError{"standard output cannot take both the file and the JSON; name a file as target"};
    return wanted;
}

ExitStatus run_conversion(const Request& request)
{
    const Interruption interruption;
    const ConversionRequest wanted = conversion_of(request);
    const Conversion done = convert(Input::from_path(request.file), wanted);
    if (request.json)
        print_json(std::cout, to_json(done));
    else
        print_conversion(wanted.target == "-" ? std::cerr : std::cout, done);
    return Interruption::status_after(ExitStatus::done);
}

} // namespace

Action add_convert(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command = add_command(program, "convert", "Writes a bitstream file in another form");
    add_option(*command, "file", request->file, "The file, packed or not; - for standard input")->required();
    add_option(*command, "target", request->conversion.target,
               "The file to write; - for standard output; default: the same name with the extension "
               "of the form");
    add_option(*command, "--to", request->format,
               "The form: rbt, bit or mcb; default: by the target's extension")
        ->check(one_of({"rbt", "bit", "mcb"}));
    add_flag(*command, "--overwrite", request->conversion.overwrite, "Replace a file that exists");
    add_flag(*command, "--normalise", request->conversion.normalise,
             "Make the result loadable in every mode, or write nothing");
    add_option(*command, "--part", request->conversion.part,
               "The part to name where the file names none, such as 2v3000fg676");
    add_json(*command, request->json);
    add_examples(*command, {"kvn convert design.bit design.mcb",
                            "kvn convert design.rbt --to bit --normalise --overwrite"});
    return [request] { return run_conversion(*request); };
}

} // namespace kvn
