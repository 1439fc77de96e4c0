// SPDX-License-Identifier: Apache-2.0
// Journals of any bytes: read, checked and resumed, alone and as a folder; then the same lines with right
// hashes, so that what they say is reached.
#include "errors/failure.h"
#include "report/journal_json.h"
#include "require.h"
#include "run/event.h"
#include "run/journal_line.h"
#include "run/resume.h"
#include "target.h"
#include "workplace.h"

#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>

namespace
{
constexpr const char* FOLDER = "journals";
constexpr const char* FILE_NAME = "journals/a.journal";

void check_json(const kvn::Json& json)
{
    std::ostringstream text;
    kvn::print_json(text, json);
    require(kvn::Json::accept(text.str()), "what is printed is JSON");
}

void check_resumption(const kvn::JournalContent& journal)
{
    const kvn::ResumeRequest request{.planned = journal.planned,
                                     .plan_sha256 = journal.header.plan_sha256,
                                     .host = journal.header.host,
                                     .boot_id = journal.header.boot_id,
                                     .provider = journal.header.provider};
    const kvn::Resumption resumption = kvn::resume(journal, request);
    require(resumption.remaining.size() + resumption.kept.size() == journal.planned.size(),
            "each module remains or is kept");
    require(resumption.changes.empty(), "the same plan has not changed");
    for (const kvn::KeptModule& kept : resumption.kept)
        require(kept.record.at("state") == "configured", "only configured modules are kept");
}

/// @return the lines that fit
std::size_t check_journal()
{
    try {
        const kvn::JournalContent journal = kvn::inspect_journal(FILE_NAME);
        check_json(kvn::verification_document(journal, ""));
        check_json(kvn::records_document(journal));
        check_resumption(journal);
        return journal.lines;
    } catch (const kvn::FailureError& error) {
        require(error.failure().status == kvn::ExitStatus::damaged, "a file that is no journal is damaged");
        return 0;
    }
}

void check(const std::string& text)
{
    write_file(FILE_NAME, text);
    const std::size_t lines = check_journal();
    const kvn::History history = kvn::read_history(FOLDER);
    require(history.journals == (lines == 0 ? 0U : 1U), "both readers agree on what a journal is");
    check_json(kvn::history_document(FOLDER, history, std::nullopt));
}

/// Each line that is a JSON object, sealed.
std::string sealed(std::string_view text)
{
    std::string all;
    std::optional<std::string> previous;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        try {
            kvn::Json json = kvn::read_json_line(line);
            json.erase("previous");
            json.erase("sum");
            if (json.empty())
                continue;
            const kvn::SealedLine next = kvn::seal_line(json, previous);
            all += next.text;
            previous = next.sha256;
        } catch (const kvn::EventError&) {
            continue;
        }
    }
    return all;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    std::filesystem::create_directory(FOLDER);
    const std::string text{data, data + size};
    check(text);
    check(sealed(text));
    std::filesystem::remove_all(FOLDER);
    return 0;
}
