// SPDX-License-Identifier: Apache-2.0
// kvn load: loads a bitstream file into a module.
#include "commands.h"
#include "file/judgement.h"
#include "interruption_signals.h"
#include "lines.h"
#include "module/load.h"
#include "module_choice.h"
#include "progress_display.h"
#include "provider_options.h"
#include "report/documents.h"
#include "run/policy.h"
#include "run/remote_load.h"
#include "system/command_words.h"

#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

struct Request {
    std::string file;
    std::string module;
    ProviderOptions provider;
    bool plain = false;
    bool compressed = false;
    bool smallest = false;
    bool force = false;
    std::string device;
    std::string via;
    std::chrono::milliseconds module_timeout{};
    std::optional<std::string> serial_number;
    std::optional<std::string> operator_name;
    std::optional<std::string> station;
    std::string progress = "auto";
    bool json = false;
};

ModeWish mode_of(const Request& request)
{
    if (request.plain)
        return ModeWish::plain;
    if (request.compressed)
        return ModeWish::compressed;
    return request.smallest ? ModeWish::smallest : ModeWish::as_taken;
}

/// The command without its module, and what follows the module, as hints print them.
std::string command_words(const Request& request)
{
    return "kvn load " + system::command_word(request.file);
}

std::string option_words(const Request& request)
{
    std::string words = as_words(request.provider);
    if (request.plain)
        words += " --plain";
    if (request.compressed)
        words += " --compressed";
    if (request.smallest)
        words += " --smallest";
    if (!request.via.empty())
        words += " --via " + system::command_word(request.via);
    return words;
}

void add_fact(Lines& lines, const char* name, const std::optional<Fact<std::string>>& fact)
{
    if (fact)
        lines.add(name, printable(fact->value));
}

std::string load_words(const Record& record)
{
    std::string words = kind_name(record.mode->value);
    if (record.wire_bytes)
        words += ", " + std::to_string(record.wire_bytes->value) + " bytes";
    if (record.seconds_on_wire)
        words += " in " + fixed(*record.seconds_on_wire, 3) + " s";
    return words;
}

/// "configured: its FPGA runs"
std::string state_words(const Record& record)
{
    std::string words{name_of(record.state)};
    return words.append(": ").append(meaning_of(record.state));
}

std::string result_words(const Record& record)
{
    if (record.verdict == Verdict::configured)
        return coloured("configured", true) + ": its FPGA runs";
    return coloured(name_of(record.verdict), false) + "; the module is " + state_words(record);
}

void print_record(std::ostream& out, const Record& record)
{
    Lines lines{out};
    const std::string identity = record.identity ? ", " + description(record.identity->value) : "";
    lines.add("Module", printable(to_text(record.module.value) + identity));
    const std::string part = record.part ? ", for " + record.part->value : "";
    const std::string format = record.format ? ", " + record.format->value : "";
    lines.add("File", printable(record.file->value + format + part));
    add_fact(lines, "Design", record.design);
    add_fact(lines, "Digest", record.digest);
    add_fact(lines, "Serial number", record.serial_number);
    if (record.mode && record.attempts != 0)
        lines.add("Load", load_words(record));
    lines.add("Result", result_words(record));
}

/// What failed, with the command that goes on where there is one.
Failure with_command(Failure failure, const Request& request, const ModuleName& module)
{
    const std::string command = command_words(request) + " " + system::command_word(to_text(module));
    if (failure.status == ExitStatus::rehearsal)
        failure.remedy = command + option_words(request) + " --force";
    if (failure.status == ExitStatus::usage && request.compressed)
        failure.remedy = command + as_words(request.provider) +
                         (request.via.empty() ? "" : " --via " + system::command_word(request.via));
    return failure;
}

/// The engine's words begin with the file's name where they are about the file.
std::string subject_of(const Record& record)
{
    const std::string& file = record.file->value;
    const std::string module = to_text(record.module.value) + ": ";
    return record.failure->what.starts_with(file + ": ") ? module : module + file + ": ";
}

void tell_outcome(const Record& record, bool json)
{
    if (!record.failure)
        return;
    tell_failure(subject_of(record), *record.failure);
    // The report says it otherwise.
    if (json)
        tell(to_text(record.module.value) + ": the module is " + state_words(record));
}

LoadRequest load_request(const Request& request, const ModuleName& module, const Input& file)
{
    return {.module = module,
            .file = &file,
            .mode = mode_of(request),
            .force = request.force,
            .device = request.device,
            .serial_number = request.serial_number,
            .operator_name = request.operator_name,
            .station = request.station};
}

ProgressDisplay display_of(const Request& request, const ModuleName& module)
{
    return {progress_style(request.progress), printable(to_text(module)), printable(request.file)};
}

ExitStatus tell_record(const Request& request, Record record)
{
    if (record.failure)
        record.failure = with_command(*record.failure, request, record.module.value);
    if (request.json)
        print_json(std::cout, record_document(record));
    else
        print_record(std::cout, record);
    tell_outcome(record, request.json);
    return Interruption::status_after(record.exit_status());
}

ExitStatus load_here(const Request& request, const std::optional<ModuleName>& named, const Input& file)
{
    const auto provider = open_provider(request.provider);
    const ModuleName module =
        named ? *named : only_module(*provider, command_words(request), option_words(request));
    LoadControl control;
    const Interruption interruption{&control};
    ProgressDisplay display = display_of(request, module);
    control.on_progress = [&display](const Progress& progress) { display.show(progress); };
    Record record = load(*provider, load_request(request, module, file), control);
    display.end(record);
    return tell_record(request, std::move(record));
}

/// What a load by another host says on standard error while it goes on.
class RemoteLoadDisplay final : public RemoteLoadWatcher
{
public:
    explicit RemoteLoadDisplay(ProgressDisplay& display) : display_{display} {}

    void on_provider(const ProviderIdentity& provider) override { announce(provider); }
    void on_progress(const Progress& progress) override { display_.show(progress); }
    void on_text(const std::string& line) override { std::cerr << printable(line) << '\n'; }

private:
    ProgressDisplay& display_;
};

ExitStatus load_there(const Request& request, const ModuleName& module, const Input& file)
{
    const InterruptionSignals signals;
    ProgressDisplay display = display_of(request, module);
    RemoteLoadDisplay watcher{display};
    Record record = load_remotely({.worker = worker_behind(request.via, worker_words(request.provider)),
                                   .load = load_request(request, module, file),
                                   .timeout = request.module_timeout},
                                  watcher, signals);
    display.end(record);
    return tell_record(request, std::move(record));
}

ExitStatus load_file(const Request& request)
{
    require_no_demanding_policy("kvn load");
    const auto named =
        request.module.empty() ? std::nullopt : std::optional{parse_module_name(request.module)};
    const Input file = Input::from_path(request.file);
    if (request.via.empty())
        return load_here(request, named, file);
    if (!named)
        throw FailureError{{.status = ExitStatus::usage,
                            .what = "no module is named, and --via takes one",
                            .why = "a module has a board type, the number of its board and a slot",
                            .remedy = request.via + " kvn list mwc4a"}};
    return load_there(request, *named, file);
}

void add_modes(CLI::App& command, Request& request)
{
    CLI::Option* plain = add_flag(command, "--plain", request.plain, "Load without compression");
    CLI::Option* compressed =
        add_flag(command, "--compressed", request.compressed, "Load compressed, or not at all");
    CLI::Option* smallest = add_flag(command, "--smallest", request.smallest,
                                     "Load in the mode that sends fewer bytes; default: compressed "
                                     "where the module takes it");
    plain->excludes(compressed)->excludes(smallest);
    compressed->excludes(smallest);
}

} // namespace

Action add_load(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command = add_command(program, "load", "Loads a bitstream file into a module");
    add_option(*command, "file", request->file,
               "The RBT, BIT or MCB file, or the same packed by gzip, xz or zstd; - for standard input")
        ->required();
    add_option(*command, "module", request->module,
               "Board type, board and slot: mwc4a:0/1, or mwc4a:0/1.2 for slot 2 of board 1 over the "
               "bus of board 0; default: the only module on the board of MWAPIKSB or MWAPIJTAG");
    add_modes(*command, *request);
    add_flag(*command, "--force", request->force,
             "Load a file that cannot be judged; never another device's");
    add_option(*command, "--device", request->device, "The device that the module must have, 2v3000fg676-4");
    add_option(*command, "--serial", request->serial_number, "The module's serial number, for the record");
    add_option(*command, "--operator", request->operator_name, "Who loads, for the record");
    add_option(*command, "--station", request->station, "Where, for the record");
    CLI::Option* via =
        add_option(*command, "--via", request->via,
                   "The words that lead to the host whose kvn shall load, such as \"ssh bench3\"");
    add_module_timeout(
        *command, request->module_timeout,
        "With --via: seconds without an answer or a byte moved after which the load is given up")
        ->needs(via);
    add_option(*command, "--progress", request->progress,
               "What standard error shows: auto, bar, lines or none; auto is a bar on a terminal, else "
               "lines")
        ->check(one_of({"auto", "bar", "lines", "none"}))
        ->default_str("auto");
    add_provider_options(*command, request->provider);
    add_json(*command, request->json);
    add_examples(*command,
                 {"kvn load design.bit mwc4a:0/1", "kvn load design.rbt mwc4a:0/1 --smallest --json"});
    return [request] { return load_file(*request); };
}

} // namespace kvn
