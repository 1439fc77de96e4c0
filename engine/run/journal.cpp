// SPDX-License-Identifier: Apache-2.0
// Writes the journal of a run: what was planned, and a line on the disk before and after each load.
#include "run/journal.h"

#include "errors/failure.h"
#include "file/new_file.h"
#include "report/json.h"
#include "report/utc.h"
#include "run/event.h"
#include "run/journal_line.h"
#include "system/file.h"
#include "system/path_text.h"
#include "system/writing_lock.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace kvn
{
namespace
{

std::string words_of(int error)
{
    return std::generic_category().message(error);
}

[[noreturn]] void fail_to_write(const std::string& path, const std::string& why)
{
    throw FailureError{
        {ExitStatus::file, 0, "cannot write the journal " + path + ": " + why, "",
         "see that its folder exists, may be written and has room, or name another file by --journal (kvn "
         "station: another folder by --journals)"}};
}

[[noreturn]] void fail_over_existing(const std::string& path)
{
    throw FailureError{
        {ExitStatus::file, 0, path + " exists already, and is kept", "", "name another file by --journal"}};
}

Json header_json(const JournalHeader& header)
{
    Json line{{"kvn", "journal"}, {"version", JOURNAL_VERSION}};
    line.update(header_facts(header));
    line["continues"] = header.continues ? Json(header.continues->file) : Json{};
    return line;
}

} // namespace

Json header_facts(const JournalHeader& header)
{
    return {{"tool", header.tool},
            {"at", utc_text(header.at)},
            {"host", value_or_null(header.host)},
            {"boot_id", value_or_null(header.boot_id)},
            {"operator_name", value_or_null(header.operator_name)},
            {"station", value_or_null(header.station)},
            {"plan", header.plan},
            {"plan_sha256", header.plan_sha256},
            {"provider", header.provider}};
}

Json kept_event(const Json& record)
{
    return {{"event", "kept"}, {"module", record.at("module")}, {"record", record}};
}

std::string journal_name(const std::string& plan, std::chrono::system_clock::time_point at, unsigned n)
{
    constexpr std::size_t SECONDS = std::string_view{"2026-11-22T03:44:37"}.size();
    std::string moment = utc_text(at).substr(0, SECONDS);
    std::ranges::replace(moment, ':', '-');
    return plan + '.' + moment + 'Z' + (n > 1 ? '-' + std::to_string(n) : "") + ".journal";
}

Journal::Journal(const std::string& path, const JournalHeader& header, const Json& planned,
                 std::span<const Json> kept)
    : Journal{path}
{
    write_first_lines(header, planned, kept);
    if (!take_name(path))
        fail_over_existing(path);
}

Journal Journal::beside_plan(const JournalHeader& header, const Json& planned, std::span<const Json> kept,
                             const std::string& folder)
{
    const std::string beside =
        folder.empty() ? header.plan
                       : system::text_of(system::path_of(folder) / system::path_of(header.plan).filename());
    Journal journal{journal_name(beside, header.at)};
    journal.write_first_lines(header, planned, kept);
    for (unsigned n = 1;; ++n)
        if (journal.take_name(journal_name(beside, header.at, n)))
            return journal;
}

Journal::Journal(std::string path) : path_{std::move(path)}
{
    do { // a file of an earlier process of the same number may be left
        temporary_ = temporary_name(path_);
        descriptor_ = system::create_new(temporary_, true);
    } while (descriptor_ < 0 && errno == EEXIST);
    if (descriptor_ < 0)
        fail_to_write(path_, words_of(errno));
}

void Journal::write_first_lines(const JournalHeader& header, const Json& planned, std::span<const Json> kept)
{
    if (const int error = system::mark_as_written(descriptor_))
        fail_to_write(path_, words_of(error));
    std::vector<Json> lines{header_json(header), planned};
    lines.insert(lines.end(), kept.begin(), kept.end());
    write_lines(lines, header.continues ? std::optional{header.continues->head} : std::nullopt);
}

bool Journal::take_name(const std::string& path)
{
    const int error = system::move_to_free_name(temporary_, path);
    if (error == EEXIST)
        return false;
    if (error != 0)
        fail_to_write(path, words_of(error));
    path_ = path;
    temporary_ = path; // not kept unless its name is on the disk
    if (const int not_flushed = system::flush_folder_of(path))
        fail_to_write(path, words_of(not_flushed));
    temporary_.clear();
    return true;
}

Journal::~Journal()
{
    if (descriptor_ >= 0)
        (void)system::close_file(descriptor_);
    if (!temporary_.empty())
        (void)system::remove_file(temporary_);
}

Journal::Journal(Journal&& other) noexcept
    : path_{std::move(other.path_)},
      temporary_{std::exchange(other.temporary_, {})},
      head_{std::move(other.head_)},
      size_{other.size_},
      descriptor_{std::exchange(other.descriptor_, -1)},
      failure_{std::move(other.failure_)}
{
}

void Journal::append(const Json& event)
{
    if (!failure_.empty())
        fail_to_write(path_, failure_);
    write_lines({&event, 1}, head_);
}

void Journal::write_lines(std::span<const Json> lines, std::optional<std::string> previous)
{
    std::string text;
    for (const Json& members : lines) {
        SealedLine line = seal_line(members, previous);
        if (line.text.size() > LONGEST_EVENT_LINE)
            fail("a line of it would be longer than 16 MiB");
        text += line.text;
        previous = std::move(line.sha256);
    }
    if (const int error = system::write_all(descriptor_, text))
        fail(words_of(error));
    if (const int error = system::flush_content(descriptor_))
        fail(words_of(error));
    size_ += text.size();
    head_ = std::move(*previous);
}

void Journal::fail(std::string why)
{
    failure_ = std::move(why);
    // Part of the line may be in the file, or all of it and not on the disk.
    if (system::cut_to(descriptor_, size_) == 0)
        (void)system::flush_content(descriptor_);
    fail_to_write(path_, failure_);
}

} // namespace kvn
