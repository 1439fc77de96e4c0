// SPDX-License-Identifier: Apache-2.0
// What happens before the first byte of a load.
#include "module/load_preparation.h"

#include "file/judgement.h"
#include "system/host.h"
#include "version.h"

namespace kvn
{
namespace
{

template <class Value>
std::optional<Fact<Value>> observed(std::optional<Value> value)
{
    if (!value)
        return std::nullopt;
    return Fact<Value>{*std::move(value), Source::observed};
}

std::optional<Fact<std::string>> given(const std::optional<std::string>& value)
{
    if (!value)
        return std::nullopt;
    return Fact<std::string>{*value, Source::given};
}

std::optional<std::string> if_any(std::string text)
{
    return text.empty() ? std::nullopt : std::optional{std::move(text)};
}

[[noreturn]] void stop(Failure failure)
{
    throw FailureError{std::move(failure)};
}

} // namespace

LoadPreparation::LoadPreparation(const LoadRequest& request, const ProviderIdentity& provider, Record& record)
    : request_{request}, record_{record}
{
    record_.module = {request_.module, Source::given};
    record_.file = Fact<std::string>{file_name(), Source::given};
    record_.serial_number = given(request_.serial_number);
    record_.operator_name = given(request_.operator_name);
    record_.station = given(request_.station);
    record_.approved_by = observed(request_.approved_by);
    record_.approval_key = observed(request_.approval_key);
    record_.device = given(if_any(request_.device));
    record_.host = observed(system::host_name());
    record_.tool_version = TOOL_VERSION;
    record_.provider = provider;
}

void LoadPreparation::take_up_file()
{
    const Input& file = *request_.file;
    record_.file_size = observed(std::optional{file.stored().size});
    record_.file_sha256 = observed(if_any(file.stored().sha256));
    if (request_.judged != nullptr)
        recall_file(*request_.judged);
    else
        inspect_file();
    if (inspection_.format() == Format::unknown)
        refuse_if_unfit();
    record_.format = observed(std::optional<std::string>{format_name(inspection_.format())});
}

/// The bytes are those that were inspected before: so is all that they say.
void LoadPreparation::recall_file(const JudgedFile& judged)
{
    if (judged.file_sha256 != request_.file->stored().sha256)
        stop({.status = ExitStatus::rehearsal,
              .what = file_name() + " is not the file that was approved",
              .why = "its SHA-256 differs",
              .remedy = "start the run again"});
    inspection_.content = judged.format;
    inspection_.part = judged.part;
    inspection_.device = fpga::find_device(judged.part);
    inspection_.other_family = other_family(judged.part);
    inspection_.problems = judged.problems;
    record_.problems = judged.problems;
    record_.digest = observed(if_any(judged.digest));
    record_.design = observed(judged.design);
    record_.part = observed(if_any(judged.part));
}

void LoadPreparation::inspect_file()
{
    inspection_ = inspect(*request_.file);
    record_.problems = inspection_.problems;
    record_.digest = observed(if_any(inspection_.digest));
    record_.design = observed(inspection_.header.design);
    record_.part = observed(if_any(inspection_.part));
}

void LoadPreparation::note_module(const SlotRow& slot)
{
    record_.identity = observed(slot.module);
    if (slot.module && slot.module->device && !slot.module->device->empty())
        record_.device = observed(slot.module->device);
    if (slot.failure)
        stop(*slot.failure);
    device_.own = slot.module ? slot.module->device.value_or("") : "";
    device_.given = request_.device;
    takes_compressed_ = slot.module && slot.module->compression == Compression::yes;
}

void LoadPreparation::compare_devices()
{
    if (auto failure = unexpected_device(request_.module, device_))
        stop(*std::move(failure));
    if (request_.judged != nullptr)
        require_judged_device(*request_.judged);
    if (auto failure = unsuitable_file(file_name(), inspection_, request_.module, device_))
        stop(*std::move(failure));
}

/// A file is judged for a device: a module that was exchanged since has not been approved.
void LoadPreparation::require_judged_device(const JudgedFile& judged) const
{
    if (device_.name() == judged.device)
        return;
    stop({.status = ExitStatus::wrong_device,
          .what = device_in_words(request_.module, device_) + "; " + file_name() + " was approved for a " +
                  judged.device,
          .remedy = "check the slot, and start the run again"});
}

void LoadPreparation::choose_mode()
{
    if (request_.judged != nullptr)
        return recall_mode(*request_.judged);
    if (request_.mode == ModeWish::compressed && !takes_compressed_)
        stop({.status = ExitStatus::usage,
              .what = "the module in " + module_text() + " takes no compressed loads",
              .remedy = "load the file plain"});
    const Estimate sizes = estimate(*request_.file, inspection_,
                                    {.device = device_.name(),
                                     .takes_compressed = takes_compressed_,
                                     .wish = request_.mode,
                                     .bytes_per_second = std::nullopt});
    mode_ = sizes.mode;
    record_.mode = Fact<LoadKind>{mode_, Source::intended};
    if (!sizes.chosen().is_loadable)
        return;
    record_.wire_bytes = Fact<std::uint64_t>{sizes.chosen().wire_bytes, Source::intended};
}

void LoadPreparation::recall_mode(const JudgedFile& judged)
{
    if (judged.mode == LoadKind::compressed && !takes_compressed_)
        stop({.status = ExitStatus::wrong_device,
              .what = "the module in " + module_text() + " takes no compressed loads any more",
              .why = "it did when the file was approved",
              .remedy = "check the slot, and start the run again"});
    mode_ = judged.mode;
    record_.mode = Fact<LoadKind>{mode_, Source::intended};
    record_.wire_bytes = Fact<std::uint64_t>{judged.wire_bytes, Source::intended};
}

/// Only a load that succeeds on a virtual module is tried on a real one.
void LoadPreparation::judge_file()
{
    if (request_.judged != nullptr)
        return;
    const Judgement judgement =
        judge(*request_.file, inspection_, device_.name(), {mode_}, Selection::by_content);
    record_.problems = inspection_.problems;
    refuse_if_unfit();
    // Without a device the trial was on a module that suits the file, which says nothing of this one.
    const bool is_judged = judgement.answer == Answer::yes && !device_.name().empty();
    if (!is_judged && !request_.force)
        stop(not_judged(file_name(), request_.module, device_, judgement.words));
}

JudgedFile LoadPreparation::judged() const
{
    return {.file_sha256 = request_.file->stored().sha256,
            .device = device_.name(),
            .format = inspection_.format(),
            .part = inspection_.part,
            .digest = inspection_.digest,
            .design = inspection_.header.design,
            .problems = inspection_.problems,
            .mode = mode_,
            .wire_bytes = record_.wire_bytes ? record_.wire_bytes->value : 0};
}

void LoadPreparation::refuse_if_unfit() const
{
    if (const Problem* fatal = first_fatal(inspection_.problems))
        stop({.status = fatal->status, .what = file_name() + ": " + fatal->what, .remedy = fatal->remedy});
}

} // namespace kvn
