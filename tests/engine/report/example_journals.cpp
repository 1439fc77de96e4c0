// SPDX-License-Identifier: Apache-2.0
// Writes example journals for tests in other languages and for benchmarks.
//   kvn_example_journals FOLDER run | rack | large N | distinct N | hostile
#include "example_runs.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string_view>
#include <vector>

namespace
{

/// A run in which every text is an attack on who shows it.
kvn::JournalContent hostile()
{
    const std::string attack =
        "</script><script>document.title='owned'</script><img src=http://example.invalid/x "
        "onerror=\"document.title='owned'\">'\"&\x1B[31m\xE2\x80\xAE]]>-->";
    example::ExampleRun run{"hostile.journal"};
    run.content.header.host = "host" + attack;
    run.content.header.plan = "plan" + attack;
    run.content.header.operator_name = attack;
    kvn::Record record =
        example::failing("mwc4a:0/1", 100, 900, kvn::Verdict::failed, kvn::ModuleState::interrupted,
                         {kvn::ExitStatus::bus, 9114, attack, attack, attack});
    record.file->value = attack;
    record.design->value = attack;
    record.serial_number = {{attack, kvn::Source::given}};
    record.problems = {{.what = attack, .remedy = attack}};
    run.load(record, attack);
    return run.end(kvn::ExitStatus::bus).content;
}

/// What the pages of the documents show: a module that is configured and one that is not.
kvn::JournalContent small()
{
    example::ExampleRun run{"run.journal"};
    run.load(example::configured("mwc4a:0/1", 100, 530));
    run.load(example::failing(
        "mwc4a:0/2", 540, 700, kvn::Verdict::failed, kvn::ModuleState::interrupted,
        {kvn::ExitStatus::bus, 9114, "mwc4a:0/2: design.bit: the bus failed", "", "load it again"}));
    return run.end(kvn::ExitStatus::several).content;
}

std::vector<kvn::JournalContent> journals_of(std::string_view kind, std::size_t modules)
{
    if (kind == "rack")
        return example::rack();
    if (kind == "run")
        return {small()};
    if (kind == "hostile")
        return {hostile()};
    return {example::large(modules, kind == "distinct").content};
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        (void)std::fputs("kvn_example_journals FOLDER run | rack | large N | distinct N | hostile\n", stderr);
        return 2;
    }
    try {
        const std::size_t modules = argc > 3 ? std::strtoul(argv[3], nullptr, 10) : 0;
        for (const kvn::JournalContent& journal : journals_of(argv[2], modules))
            example::write_journal(journal, (std::filesystem::path{argv[1]} / journal.file).string());
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "kvn_example_journals: %s\n", error.what());
        return 1;
    }
    return 0;
}
