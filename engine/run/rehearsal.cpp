// SPDX-License-Identifier: Apache-2.0
// Everything that can be found out about a plan without sending configuration data.
#include "run/rehearsal.h"

#include "file/digest.h"
#include "file/judgement.h"
#include "module/device_check.h"
#include "run/parallel.h"
#include "system/path_text.h"

#include <algorithm>
#include <filesystem>
#include <tuple>

namespace kvn
{
namespace
{

namespace fs = std::filesystem;

// Reading the files.

/// The same for all names of a file, as far as links and folders make them.
std::string identity_of(const std::string& path)
{
    std::error_code error;
    const fs::path canonical = fs::weakly_canonical(system::path_of(path), error);
    return system::text_of(error ? system::path_of(path).lexically_normal() : canonical);
}

/// Reading from a pipe or a device could wait for ever, and a second reading would be of other bytes.
void require_regular(const std::string& path)
{
    std::error_code error;
    const fs::file_status status = fs::status(system::path_of(path), error);
    if (fs::exists(status) && !fs::is_regular_file(status))
        throw FailureError{{.status = ExitStatus::file,
                            .what = path + ": it is no regular file",
                            .remedy = "name a bitstream file; a plan takes no pipes and no folders"}};
}

void read(RehearsedFile& file)
{
    try {
        require_regular(file.name);
        // A lone dash is a file here, never standard input.
        file.input = Input::from_path(file.name == "-" ? "./-" : file.name);
        file.inspection = inspect(*file.input);
    } catch (const FailureError& error) {
        file.input.reset();
        file.failure = error.failure();
        return;
    }
    try {
        file.digest = digest_of(*file.inspection).sha256;
    } catch (const FailureError&) { // the inspection's problems say why there is none
    }
}

// Comparing.

/// A failure as a finding tells it. What the catalogue says of an error's causes is left to kvn explain.
std::string words_of(const Failure& failure)
{
    const bool adds_why = failure.number == 0 && !failure.why.empty();
    return adds_why ? failure.what + "; " + failure.why : failure.what;
}

constexpr const char* CHECK_THE_FILE = "check the file, its name and who may read it";

/// Findings in the order in which people look for them, each once.
class Findings
{
public:
    explicit Findings(const Plan& plan) : plan_{plan.file}, all_{plan.findings} {}

    void problem(const PlanPlace& place, const std::string& what, const std::string& remedy)
    {
        all_.push_back({Severity::problem, place, what, remedy});
    }
    void problem(const PlanPlace& place, const Failure& failure)
    {
        problem(place, words_of(failure), failure.remedy);
    }
    /// Of a file: told at the first module that gets it, and for how many others it matters.
    void about_file(Severity severity, const PlannedModule& module, const std::string& what,
                    const std::string& remedy)
    {
        const auto [place, is_new] = of_files_.try_emplace({what, severity}, all_.size(), 0);
        if (is_new)
            all_.push_back({severity, module.place, what, remedy.empty() ? CHECK_THE_FILE : remedy});
        else
            ++place->second.second;
    }

    [[nodiscard]] std::vector<Finding> finish()
    {
        for (const auto& [key, place] : of_files_)
            if (const std::size_t others = place.second; others != 0)
                all_[place.first].what += " (also for " + std::to_string(others) +
                                          (others == 1 ? " more module)" : " more modules)");
        std::ranges::stable_sort(all_, {}, [this](const Finding& finding) {
            const bool has_line = finding.place.file == plan_ && finding.place.line != 0;
            return std::tuple{!has_line, finding.place.line};
        });
        return std::move(all_);
    }

private:
    std::string plan_;
    std::vector<Finding> all_;
    std::map<std::pair<std::string, Severity>, std::pair<std::size_t, std::size_t>> of_files_;
};

/// A load as it would be sent, and what the chip model makes of it: the same for every module with the
/// device.
struct Trials {
    // What they are about.
    std::size_t file = 0;
    std::string device; ///< empty: the one that the file names
    bool takes_compressed = false;
    ModeWish wish = ModeWish::as_taken;

    // What came out.
    Estimate sizes = {};
    Judgement judgement = {};
    std::vector<Problem> problems = {};
    std::optional<Failure> failure = {};

    [[nodiscard]] auto key() const { return std::tie(file, device, takes_compressed, wish); }
};

/// What is known of a module of the plan.
struct Candidate {
    const PlannedModule& planned;
    const RehearsedFile& file;
    const SlotRow* row = nullptr; ///< null: it was not asked
    KnownDevice device = {};
    std::optional<std::size_t> trials = {}; ///< place of its trials; null: it is not known how it is loaded

    [[nodiscard]] bool answers() const
    {
        return row != nullptr && !row->failure && row->kind == SlotKind::module;
    }
    [[nodiscard]] const ModuleName& name() const { return planned.module; }
    /// The library asks a module that it does not know nothing else, and loads it plain.
    [[nodiscard]] bool takes_compressed() const
    {
        return answers() && row->module && row->module->compression == Compression::yes;
    }
};

class Comparison
{
public:
    explicit Comparison(const RehearsalRequest& request) : request_{request}, findings_{*request.plan}
    {
        collect();
    }

    Rehearsal whole()
    {
        compare_modules();
        compare_files();
        try_loads();
        for (const Candidate& candidate : candidates_)
            judge_load(candidate);
        return finish();
    }

    Rehearsal of_modules()
    {
        compare_modules();
        for (const Candidate& candidate : candidates_)
            if (candidate.file.failure)
                findings_.about_file(Severity::note, candidate.planned,
                                     words_of(*candidate.file.failure) + "; its device is not compared",
                                     candidate.file.failure->remedy);
        return finish();
    }

private:
    void collect();
    void compare_modules();
    void tell_buses();
    void tell_answer(const Candidate& candidate);
    void compare_devices(const Candidate& candidate);
    void find_repeats();
    void compare_files();
    void check_digest(const Candidate& candidate);
    void check_approval(const Candidate& candidate);
    void try_loads();
    void plan_trials(Candidate& candidate);
    void run_trials(Trials& trials) const;
    void judge_load(const Candidate& candidate);
    void tell_problems(const Candidate& candidate, const std::vector<Problem>& problems);
    [[nodiscard]] PlannedLoad load_of(const Candidate& candidate) const;
    [[nodiscard]] bool may_be_loaded(const Trials& trials) const;
    [[nodiscard]] std::optional<JudgedFile> judged_file(const Candidate& candidate) const;
    [[nodiscard]] Rehearsal finish();

    const RehearsalRequest& request_;
    Findings findings_;
    std::vector<Candidate> candidates_;
    std::vector<Trials> trials_;
};

const BusInventory* find_bus(std::span<const BusInventory> inventory, const BoardName& bus)
{
    const auto found = std::ranges::find(inventory, bus, &BusInventory::bus);
    return found == inventory.end() ? nullptr : &*found;
}

void Comparison::collect()
{
    std::map<std::string, const SlotRow*> rows;
    for (const BusInventory& bus : request_.inventory)
        for (const SlotRow& row : bus.slots)
            rows.emplace(to_text(row.name), &row);
    candidates_.reserve(request_.plan->modules.size());
    for (const PlannedModule& module : request_.plan->modules) {
        Candidate candidate{.planned = module, .file = request_.files->of(module)};
        const auto row = rows.find(to_text(module.module));
        if (row != rows.end())
            candidate.row = row->second;
        if (candidate.row != nullptr && candidate.row->module)
            candidate.device.own = candidate.row->module->device.value_or("");
        candidate.device.given = module.device.value_or("");
        candidates_.push_back(std::move(candidate));
    }
}

void Comparison::compare_modules()
{
    tell_buses();
    for (const Candidate& candidate : candidates_) {
        tell_answer(candidate);
        compare_devices(candidate);
    }
    find_repeats();
}

/// A bus that tells nothing is one finding, however many modules it has.
void Comparison::tell_buses()
{
    for (const BoardName& bus : buses_of(request_.plan->modules)) {
        const PlanPlace place{to_text(bus), 0};
        const BusInventory* inventory = find_bus(request_.inventory, bus);
        if (inventory == nullptr)
            findings_.problem(place, "the modules of " + to_text(bus) + " were not asked", "run it again");
        else if (inventory->failure)
            findings_.problem(place, *inventory->failure);
    }
}

void Comparison::tell_answer(const Candidate& candidate)
{
    const BusInventory* bus = find_bus(request_.inventory, candidate.name().board);
    if (bus == nullptr || bus->failure)
        return;
    const std::string name = to_text(candidate.name());
    const PlanPlace& place = candidate.planned.place;
    if (candidate.row == nullptr)
        findings_.problem(place, name + " was not asked", "run it again");
    else if (candidate.row->failure)
        findings_.problem(place, name + ": " + words_of(*candidate.row->failure),
                          candidate.row->failure->remedy);
    else if (const auto failure = unsuitable_slot(*candidate.row))
        findings_.problem(place, *failure);
}

/// The user's expectation is told even where the module has not answered: the file may contradict it.
void Comparison::compare_devices(const Candidate& candidate)
{
    if (const auto failure = unexpected_device(candidate.name(), candidate.device))
        findings_.problem(candidate.planned.place, *failure);
    if (!candidate.file.inspection)
        return;
    if (const auto failure = unsuitable_file(candidate.file.name, *candidate.file.inspection,
                                             candidate.name(), candidate.device))
        findings_.problem(candidate.planned.place, *failure);
}

/// Whether the slot is on a board that another one's bus reaches, so that the type of its board is not known.
bool is_behind(const ModuleName& module)
{
    return module.carrier() != module.board.number;
}

/// Whether something shows that these are two modules, although they may have one place.
bool are_told_apart(const Candidate& first, const Candidate& second)
{
    const auto& serial = first.planned.serial_number;
    const auto& other = second.planned.serial_number;
    if (serial && other)
        return *serial != *other;
    return first.answers() && second.answers() && first.row->module != second.row->module;
}

void Comparison::find_repeats()
{
    std::map<std::pair<unsigned, unsigned>, std::vector<const Candidate*>> by_place;
    for (const Candidate& candidate : candidates_) {
        const ModuleName& name = candidate.name();
        auto& others = by_place[{name.carrier(), name.slot}];
        for (const Candidate* other : others) {
            const ModuleName& before = other->name();
            if (before.board.type == name.board.type) {
                findings_.problem(candidate.planned.place,
                                  to_text(name) + " is the module of " + other->planned.place.text() +
                                      " again",
                                  "name each module once");
                break;
            }
            if ((is_behind(before) || is_behind(name)) && !are_told_apart(*other, candidate)) {
                findings_.problem(candidate.planned.place,
                                  to_text(name) + " may be the module of " + other->planned.place.text() +
                                      ", " + to_text(before) +
                                      ": slot and number of the board are the same, and which board is "
                                      "reached over another one cannot be asked",
                                  "name the module once; if they are two, write both serial numbers into a "
                                  "plan file");
                break;
            }
        }
        others.push_back(&candidate);
    }
}

void Comparison::compare_files()
{
    const Policy& policy = request_.policy;
    if (policy.require_manifest && request_.manifest == nullptr)
        findings_.problem({policy.file, 0}, policy.file + " demands a manifest, and none is named",
                          "name the list of the approved files by --manifest");
    for (const Candidate& candidate : candidates_) {
        const PlannedModule& planned = candidate.planned;
        if (planned.asks_serial_number && !request_.can_ask)
            findings_.problem(planned.place,
                              "the serial number of " + to_text(candidate.name()) +
                                  " must be asked for, and there is nobody to ask",
                              "write it into the plan, or run in a terminal");
        if (candidate.file.failure) {
            findings_.about_file(Severity::problem, planned, words_of(*candidate.file.failure),
                                 candidate.file.failure->remedy);
            continue;
        }
        check_digest(candidate);
        check_approval(candidate);
    }
}

void Comparison::check_digest(const Candidate& candidate)
{
    const auto& expected = candidate.planned.digest;
    if (!expected || candidate.file.digest == expected)
        return;
    findings_.problem(candidate.planned.place,
                      candidate.file.name + " holds the configuration " +
                          candidate.file.digest.value_or("of no digest, since it is cut or damaged") +
                          "; the plan expects " + *expected,
                      "name the right file, or have the plan changed by whoever approves it");
}

void Comparison::check_approval(const Candidate& candidate)
{
    const Manifest* manifest = request_.manifest;
    if (manifest == nullptr)
        return;
    const RehearsedFile& file = candidate.file;
    const std::string& stored = file.input->stored().sha256;
    if (manifest->holds(stored) || (file.digest && manifest->holds(*file.digest)))
        return;
    const std::string* approved = manifest->digest_for(file.name);
    findings_.about_file(Severity::problem, candidate.planned,
                         file.name + " (SHA-256 " + stored + ") is not in the manifest " + manifest->file() +
                             (approved != nullptr ? "; approved under this name is " + *approved : ""),
                         "load an approved file, or have this one approved");
}

void Comparison::try_loads()
{
    for (Candidate& candidate : candidates_)
        plan_trials(candidate);
    in_parallel(trials_.size(), request_.threads, [this](std::size_t index) { run_trials(trials_[index]); });
}

/// A module that has not answered is loaded in a mode that nobody knows, and is not loaded now.
void Comparison::plan_trials(Candidate& candidate)
{
    const auto& inspection = candidate.file.inspection;
    if (!candidate.answers() || !inspection || inspection->format() == Format::unknown ||
        unsuitable_file(candidate.file.name, *inspection, candidate.name(), candidate.device))
        return;
    Trials wanted{.file = request_.files->index_of(candidate.planned.file),
                  .device = candidate.device.name(),
                  .takes_compressed = candidate.takes_compressed(),
                  .wish = candidate.planned.mode};
    const auto found =
        std::ranges::find_if(trials_, [&](const Trials& trials) { return trials.key() == wanted.key(); });
    candidate.trials = static_cast<std::size_t>(found - trials_.begin());
    if (found == trials_.end())
        trials_.push_back(std::move(wanted));
}

void Comparison::run_trials(Trials& trials) const
{
    const RehearsedFile& file = request_.files->all()[trials.file];
    Inspection inspection = *file.inspection;
    try {
        trials.sizes = estimate(*file.input, inspection,
                                {.device = trials.device,
                                 .takes_compressed = trials.takes_compressed,
                                 .wish = trials.wish,
                                 .bytes_per_second = request_.bytes_per_second});
        trials.judgement =
            judge(*file.input, inspection, trials.device, {trials.sizes.mode}, Selection::by_content);
    } catch (const FailureError& error) {
        trials.failure = error.failure();
    }
    trials.problems = std::move(inspection.problems);
}

void Comparison::judge_load(const Candidate& candidate)
{
    if (!candidate.file.inspection)
        return;
    if (!candidate.trials) {
        tell_problems(candidate, candidate.file.inspection->problems);
        return;
    }
    const Trials& trials = trials_[*candidate.trials];
    const PlannedModule& planned = candidate.planned;
    if (trials.failure) {
        findings_.about_file(Severity::problem, planned, words_of(*trials.failure), trials.failure->remedy);
        return;
    }
    tell_problems(candidate, trials.problems);
    if (planned.mode == ModeWish::compressed && !trials.takes_compressed)
        findings_.problem(planned.place,
                          "the module in " + to_text(candidate.name()) + " takes no compressed loads",
                          "plan it without load = \"compressed\"");
    if (trials.judgement.answer != Answer::no && !may_be_loaded(trials))
        findings_.problem(planned.place, not_judged(candidate.file.name, candidate.name(), candidate.device,
                                                    trials.judgement.words));
}

void Comparison::tell_problems(const Candidate& candidate, const std::vector<Problem>& problems)
{
    for (const Problem& problem : problems) {
        // What stops plain loads only stops this one only if a trial says so.
        const bool stops =
            problem.stops == Stops::plain_loads ? candidate.trials.has_value() : problem.is_fatal();
        findings_.about_file(stops ? Severity::problem : Severity::note, candidate.planned,
                             candidate.file.name + ": " + problem.what, problem.remedy);
    }
}

PlannedLoad Comparison::load_of(const Candidate& candidate) const
{
    PlannedLoad load{.module = candidate.name(),
                     .label = candidate.planned.label,
                     .file = candidate.planned.file,
                     .digest = candidate.file.digest};
    if (candidate.file.input)
        load.file_sha256 = candidate.file.input->stored().sha256;
    if (!candidate.device.name().empty())
        load.device = candidate.device.name();
    if (!candidate.trials || trials_[*candidate.trials].failure)
        return load;
    const Trials& trials = trials_[*candidate.trials];
    load.mode = trials.sizes.mode;
    if (trials.sizes.chosen().is_loadable) {
        load.wire_bytes = trials.sizes.chosen().wire_bytes;
        load.seconds = trials.sizes.chosen().seconds;
    }
    return load;
}

/// Whether the chip model says that the module would start, or nobody wants to know.
bool Comparison::may_be_loaded(const Trials& trials) const
{
    const Answer answer = trials.judgement.answer;
    return answer != Answer::no && ((answer == Answer::yes && !trials.device.empty()) || request_.force);
}

std::optional<JudgedFile> Comparison::judged_file(const Candidate& candidate) const
{
    if (!candidate.trials)
        return std::nullopt;
    const Trials& trials = trials_[*candidate.trials];
    const LoadSize& size = trials.sizes.chosen();
    if (trials.failure || !size.is_loadable || !may_be_loaded(trials))
        return std::nullopt;
    const Inspection& inspection = *candidate.file.inspection;
    return JudgedFile{.file_sha256 = inspection.stored.sha256,
                      .device = trials.device,
                      .format = inspection.format(),
                      .part = inspection.part,
                      .digest = inspection.digest,
                      .design = inspection.header.design,
                      .problems = trials.problems,
                      .mode = trials.sizes.mode,
                      .wire_bytes = size.wire_bytes};
}

Rehearsal Comparison::finish()
{
    Rehearsal rehearsal{.findings = findings_.finish(), .planned = {}, .judged = {}};
    for (const Candidate& candidate : candidates_) {
        rehearsal.planned.push_back(load_of(candidate));
        rehearsal.judged.push_back(judged_file(candidate));
    }
    return rehearsal;
}

} // namespace

RehearsedFiles read_files(std::span<const PlannedModule> modules, unsigned threads)
{
    RehearsedFiles files;
    std::map<std::string, std::size_t> identities;
    for (const PlannedModule& module : modules) {
        if (files.indices_.contains(module.file))
            continue;
        const auto [place, is_new] = identities.try_emplace(identity_of(module.file), files.files_.size());
        files.indices_.emplace(module.file, place->second);
        if (is_new)
            files.files_.push_back({.name = module.file});
    }
    in_parallel(files.files_.size(), threads, [&](std::size_t index) { read(files.files_[index]); });
    return files;
}

bool Rehearsal::has_problem() const
{
    return std::ranges::any_of(findings,
                               [](const Finding& finding) { return finding.severity == Severity::problem; });
}

Rehearsal rehearse(const RehearsalRequest& request)
{
    return Comparison{request}.whole();
}

Rehearsal compare_inventory(const RehearsalRequest& request)
{
    return Comparison{request}.of_modules();
}

} // namespace kvn
