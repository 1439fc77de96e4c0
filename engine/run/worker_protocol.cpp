// SPDX-License-Identifier: Apache-2.0
// What a controller and its workers say to each other.
#include "run/worker_protocol.h"

#include "file/judgement.h"
#include "hashing/sha256.h"
#include "report/json.h"
#include "report/module_json.h"
#include "report/utc.h"
#include "run/inventory.h"

#include <algorithm>
#include <array>
#include <functional>

namespace kvn
{
namespace
{

constexpr std::array PACKINGS{Packing::none, Packing::gzip, Packing::xz, Packing::zstd};
constexpr std::array FORMATS{Format::unknown, Format::rbt, Format::bit, Format::mcb};
constexpr std::array MODES{LoadKind::plain, LoadKind::compressed};
constexpr std::array SOURCES{Source::observed, Source::given, Source::intended};
constexpr std::array STEPS{LoadStep::begin, LoadStep::end};

const char* step_name(LoadStep step)
{
    return step == LoadStep::begin ? "begin" : "end";
}

const char* source_name(Source source)
{
    return name_of(source);
}

const Json& member(const Json& json, const char* name)
{
    const auto found = json.find(name);
    if (found == json.end())
        throw EventError{std::string{"there is no member "} + name};
    return *found;
}

[[noreturn]] void wrong(const char* name)
{
    throw EventError{std::string{"the member "} + name + " has the wrong type"};
}

const Json& object(const Json& json, const char* name)
{
    const Json& value = member(json, name);
    if (!value.is_object())
        wrong(name);
    return value;
}

std::string text(const Json& json, const char* name)
{
    const Json& value = member(json, name);
    if (!value.is_string())
        wrong(name);
    return value.get<std::string>();
}

std::optional<std::string> optional_text(const Json& json, const char* name)
{
    return member(json, name).is_null() ? std::nullopt : std::optional{text(json, name)};
}

std::uint64_t number(const Json& json, const char* name)
{
    const Json& value = member(json, name);
    if (!is_whole_number(value))
        wrong(name);
    return value.get<std::uint64_t>();
}

bool truth(const Json& json, const char* name)
{
    const Json& value = member(json, name);
    if (!value.is_boolean())
        wrong(name);
    return value.get<bool>();
}

/// The one of several values that has this name.
template <class Values, class NameOf>
auto named(const Json& json, const char* name, const Values& values, NameOf name_of)
{
    const std::string word = text(json, name);
    const auto found = std::ranges::find_if(values, [&](auto value) { return word == name_of(value); });
    if (found == values.end())
        throw EventError{std::string{"the member "} + name + " is unknown: " + word};
    return *found;
}

template <class Parse>
auto parsed(const std::string& words, Parse parse)
{
    try {
        return parse(words);
    } catch (const FailureError& error) {
        throw EventError{error.what()};
    }
}

/// A word that one of two functions of run/event.h knows.
template <class Named>
auto parsed_name(const Json& json, const char* name, Named value_named)
{
    const auto value = value_named(text(json, name));
    if (!value)
        wrong(name);
    return *value;
}

ModuleName module_named(const Json& json)
{
    return parsed(text(json, "module"), &parse_module_name);
}

FileJob read_file_job(const Json& json)
{
    const Json& stored = object(json, "stored");
    FileJob job{.name = text(json, "name"),
                .name_states_format = truth(json, "name_states_format"),
                .size = number(json, "size"),
                .sha256 = text(json, "sha256"),
                .stored = {.size = number(stored, "size"),
                           .sha256 = text(stored, "sha256"),
                           .packing = named(stored, "packing", PACKINGS, &packing_name)}};
    if (job.size > InputLimits{}.size)
        throw EventError{"the file is larger than a gigabyte"};
    return job;
}

InventoryJob read_inventory_job(const Json& json)
{
    InventoryJob job{.bus = parsed(text(json, "bus"), &parse_board_name), .modules = {}};
    const Json& modules = member(json, "modules");
    if (!modules.is_array())
        wrong("modules");
    for (const Json& each : modules) {
        if (!each.is_string())
            wrong("modules");
        job.modules.push_back(parsed(each.get<std::string>(), &parse_module_name));
    }
    return job;
}

/// Only what stops nothing is left of a file that was approved.
std::vector<Problem> read_problems(const Json& json)
{
    if (!json.is_array())
        wrong("problems");
    std::vector<Problem> problems;
    for (const Json& each : json) {
        if (!each.is_object())
            wrong("problems");
        problems.push_back(
            {.what = text(each, "what"), .remedy = text(each, "remedy"), .stops = Stops::nothing});
    }
    return problems;
}

JudgedFile read_judged(const Json& json)
{
    return {.file_sha256 = text(json, "file_sha256"),
            .device = text(json, "device"),
            .format = named(json, "format", FORMATS, &format_name),
            .part = text(json, "part"),
            .digest = text(json, "digest"),
            .design = optional_text(json, "design"),
            .problems = read_problems(member(json, "problems")),
            .mode = named(json, "mode", MODES, &kind_name),
            .wire_bytes = number(json, "wire_bytes")};
}

LoadJob read_load_job(const Json& json)
{
    return {.module = module_named(json),
            .file = text(json, "file"),
            .judged = read_judged(object(json, "judged")),
            .device = text(json, "device"),
            .serial_number = optional_text(json, "serial_number"),
            .operator_name = optional_text(json, "operator_name"),
            .station = optional_text(json, "station"),
            .approved_by = optional_text(json, "approved_by"),
            .approval_key = optional_text(json, "approval_key")};
}

void check_ready(const Json& json)
{
    (void)read_provider(member(json, "provider"));
}

void check_failed(const Json& json)
{
    (void)read_failure(member(json, "failure"));
}

void check_received(const Json& json)
{
    (void)text(json, "sha256");
}

void check_inventory(const Json& json)
{
    (void)object(json, "inventory");
}

void check_step(const Json& json)
{
    (void)module_named(json);
    (void)named(json, "step", STEPS, &step_name);
}

struct WorkerEventType {
    const char* name;
    WorkerEventKind kind;
    void (*check)(const Json&);
};
constexpr WorkerEventType WORKER_EVENT_TYPES[] = {{"ready", WorkerEventKind::ready, &check_ready},
                                                  {"failed", WorkerEventKind::failed, &check_failed},
                                                  {"received", WorkerEventKind::received, &check_received},
                                                  {"inventory", WorkerEventKind::inventory, &check_inventory},
                                                  {"step", WorkerEventKind::step, &check_step}};

/// Of the events that the stream of a run has too.
WorkerEventKind kind_of(const Event& event)
{
    switch (event.kind) {
    case EventKind::head:
        return WorkerEventKind::head;
    case EventKind::progress:
        return WorkerEventKind::progress;
    case EventKind::finished:
        return WorkerEventKind::finished;
    case EventKind::other:
        return WorkerEventKind::unknown;
    default:
        throw EventError{"a worker does not say this"};
    }
}

} // namespace

std::string content_sha256(const Input& input)
{
    if (input.stored().packing == Packing::none)
        return input.stored().sha256;
    hashing::Sha256 sum;
    const File file = input.open();
    std::array<std::uint8_t, 65536> block; // NOLINT(cppcoreguidelines-pro-type-member-init)
    while (const std::size_t size = std::fread(block.data(), 1, block.size(), file.get()))
        sum.take(std::span{block}.first(size));
    return sum.finish();
}

std::string file_key(const std::string& name, const std::string& sha256)
{
    return sha256 + "/" + name;
}

Json file_job(const Input& input, const std::string& sha256)
{
    const Input::Stored& stored = input.stored();
    return {{"job", "file"},
            {"name", input.name()},
            {"name_states_format", input.name_states_format()},
            {"size", input.size()},
            {"sha256", sha256},
            {"stored",
             {{"size", stored.size}, {"sha256", stored.sha256}, {"packing", packing_name(stored.packing)}}}};
}

Json inventory_job(const BoardName& bus, std::span<const ModuleName> modules)
{
    Json names = Json::array();
    for (const ModuleName& module : modules)
        names.push_back(to_text(module));
    return {{"job", "inventory"}, {"bus", to_text(bus)}, {"modules", std::move(names)}};
}

Json load_job(const LoadJob& job)
{
    const JudgedFile& judged = job.judged;
    return {{"job", "load"},
            {"module", to_text(job.module)},
            {"file", job.file},
            {"judged",
             {{"file_sha256", judged.file_sha256},
              {"device", judged.device},
              {"format", format_name(judged.format)},
              {"part", judged.part},
              {"digest", judged.digest},
              {"design", value_or_null(judged.design)},
              {"problems", problems_json(judged.problems)},
              {"mode", kind_name(judged.mode)},
              {"wire_bytes", judged.wire_bytes}}},
            {"device", job.device},
            {"serial_number", value_or_null(job.serial_number)},
            {"operator_name", value_or_null(job.operator_name)},
            {"station", value_or_null(job.station)},
            {"approved_by", value_or_null(job.approved_by)},
            {"approval_key", value_or_null(job.approval_key)}};
}

Json cancel_job()
{
    return {{"job", "cancel"}};
}

Json end_job()
{
    return {{"job", "end"}};
}

Job read_job(std::string_view line)
{
    const Json json = read_json_line(line);
    const std::string name = text(json, "job");
    Job job;
    if (name == "file") {
        job.kind = JobKind::file;
        job.file = read_file_job(json);
    } else if (name == "inventory") {
        job.kind = JobKind::inventory;
        job.inventory = read_inventory_job(json);
    } else if (name == "load") {
        job.kind = JobKind::load;
        job.load = read_load_job(json);
    } else if (name == "cancel") {
        job.kind = JobKind::cancel;
    } else if (name != "end") {
        throw EventError{"there is no job " + name};
    }
    return job;
}

Json ready_event(const ProviderIdentity& provider)
{
    return {{"event", "ready"}, {"provider", to_json(provider)}};
}

Json failed_event(const Failure& failure)
{
    return {{"event", "failed"}, {"failure", to_json(failure)}};
}

Json received_event(const std::string& sha256)
{
    return {{"event", "received"}, {"sha256", sha256}};
}

Json inventory_event(Json inventory)
{
    return {{"event", "inventory"}, {"inventory", std::move(inventory)}};
}

Json step_event(const ModuleName& module, LoadStep step)
{
    return {{"event", "step"}, {"module", to_text(module)}, {"step", step_name(step)}};
}

WorkerEvent read_worker_event(std::string_view line)
{
    Json json = read_json_line(line);
    const auto name = json.find("event");
    if (name != json.end() && name->is_string())
        for (const WorkerEventType& type : WORKER_EVENT_TYPES) {
            if (*name != type.name)
                continue;
            type.check(json);
            return {type.kind, std::move(json)};
        }
    Event event = as_event(std::move(json));
    return {kind_of(event), std::move(event.json)};
}

ProviderIdentity read_provider(const Json& json)
{
    return {.name = text(json, "name"),
            .file = optional_text(json, "file"),
            .version = optional_text(json, "version"),
            .announcement = optional_text(json, "announcement").value_or(""),
            .simulated = truth(json, "simulated")};
}

Failure read_failure(const Json& json)
{
    const std::uint64_t status = number(json, "status");
    if (status == 0 || status > static_cast<std::uint64_t>(ExitStatus::timed_out))
        wrong("status");
    Failure failure{.status = static_cast<ExitStatus>(status),
                    .what = text(json, "what"),
                    .why = optional_text(json, "why").value_or(""),
                    .remedy = optional_text(json, "remedy").value_or("")};
    if (!member(json, "number").is_null())
        failure.number = static_cast<int>(std::min<std::uint64_t>(number(json, "number"), 99'999));
    return failure;
}

namespace
{

/// @param read the value of a member that is not null, given the object and the name
template <class Read>
auto fact_of(const Json& record, const char* name, Read read)
{
    using Value = std::remove_cvref_t<decltype(read(record, name))>;
    std::optional<Fact<Value>> fact;
    if (!member(record, name).is_null())
        fact = Fact<Value>{read(record, name), named(object(record, "sources"), name, SOURCES, source_name)};
    return fact;
}

std::optional<Fact<std::string>> text_of(const Json& record, const char* name)
{
    return fact_of(record, name, &text);
}

std::optional<std::chrono::system_clock::time_point> moment(const Json& record, const char* name)
{
    const auto words = optional_text(record, name);
    if (!words)
        return std::nullopt;
    const auto moment = utc_time(*words);
    if (!moment)
        wrong(name);
    return moment;
}

std::optional<double> seconds(const Json& record, const char* name)
{
    const Json& value = member(record, name);
    if (value.is_null())
        return std::nullopt;
    if (!value.is_number() || value.get<double>() < 0)
        wrong(name);
    return value.get<double>();
}

unsigned small_number(const Json& record, const char* name, std::uint64_t most)
{
    const std::uint64_t value = number(record, name);
    if (value > most)
        wrong(name);
    return static_cast<unsigned>(value);
}

std::optional<std::uint8_t> answer_in(const Json& record)
{
    constexpr std::uint64_t most = 255;
    if (member(record, "answer").is_null())
        return std::nullopt;
    return static_cast<std::uint8_t>(small_number(record, "answer", most));
}

/// Which of them stops loads of what kind is not written: the fatal ones stop this one.
std::vector<Problem> problems_of(const Json& record)
{
    std::vector<Problem> problems = read_problems(member(record, "problems"));
    for (std::size_t i = 0; i < problems.size(); ++i)
        if (truth(record["problems"][i], "fatal"))
            problems[i].stops = Stops::loads;
    return problems;
}

ModuleIdentity identity_in(const Json& record, const char* name)
{
    try {
        return read_module_identity(object(record, name));
    } catch (const FailureError& error) {
        throw EventError{error.what()};
    }
}

void read_file_facts(const Json& json, Record& record)
{
    record.file = text_of(json, "file");
    record.file_size = fact_of(json, "file_size", &number);
    record.file_sha256 = text_of(json, "file_sha256");
    record.digest = text_of(json, "digest");
    record.format = text_of(json, "format");
    record.design = text_of(json, "design");
    record.part = text_of(json, "part");
    record.problems = problems_of(json);
}

void read_load_facts(const Json& json, Record& record)
{
    constexpr std::uint64_t most_attempts = 1'000'000;
    record.mode = fact_of(json, "mode", [](const Json& from, const char* name) {
        return named(from, name, MODES, &kind_name);
    });
    record.wire_bytes = fact_of(json, "wire_bytes", &number);
    record.begin = moment(json, "begin");
    record.end = moment(json, "end");
    record.seconds_on_wire = seconds(json, "seconds_on_wire");
    record.attempts = small_number(json, "attempts", most_attempts);
    record.verdict = parsed_name(json, "verdict", &verdict_named);
    record.state = parsed_name(json, "state", &state_named);
    record.answer = answer_in(json);
    if (!member(json, "failure").is_null())
        record.failure = read_failure(object(json, "failure"));
}

void read_circumstances(const Json& json, Record& record)
{
    record.serial_number = text_of(json, "serial_number");
    record.operator_name = text_of(json, "operator_name");
    record.station = text_of(json, "station");
    record.host = text_of(json, "host");
    record.approved_by = text_of(json, "approved_by");
    record.approval_key = text_of(json, "approval_key");
    record.tool_version = text(json, "tool_version");
    record.provider = read_provider(object(json, "provider"));
}

} // namespace

Record read_record(const Json& json)
{
    Record record;
    record.module = {module_named(json), named(object(json, "sources"), "module", SOURCES, source_name)};
    record.identity = fact_of(json, "identity", &identity_in);
    record.device = text_of(json, "device");
    read_file_facts(json, record);
    read_load_facts(json, record);
    read_circumstances(json, record);
    return record;
}

} // namespace kvn
