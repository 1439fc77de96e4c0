// SPDX-License-Identifier: Apache-2.0
// kvn.h: files, and errors explained.
#include "call.h"
#include "file/conversion.h"
#include "file/difference.h"
#include "file/digest.h"
#include "file/estimate.h"
#include "file/judgement.h"
#include "report/conversion_json.h"
#include "report/documents.h"
#include "report/errors_json.h"
#include "report/file_json.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace kvn::c_interface
{
namespace
{

static_assert(KVN_FORMAT_UNKNOWN == static_cast<int>(Format::unknown) &&
              KVN_FORMAT_RBT == static_cast<int>(Format::rbt) &&
              KVN_FORMAT_BIT == static_cast<int>(Format::bit) &&
              KVN_FORMAT_MCB == static_cast<int>(Format::mcb));
static_assert(KVN_STOPS_NOTHING == static_cast<int>(Stops::nothing) &&
              KVN_STOPS_PLAIN_LOADS == static_cast<int>(Stops::plain_loads) &&
              KVN_STOPS_LOADS == static_cast<int>(Stops::loads) &&
              KVN_STOPS_USE == static_cast<int>(Stops::use));

/// The most bytes that a file in memory may have.
const std::uint64_t LARGEST_FILE = InputLimits{}.size;

/// Opens a file for the process.
/// @param read gives the input
template <class Read>
int open_file(kvn_session* session, kvn_file** file, Read read)
{
    return call(session, Kind::operation, [&](Session& mine) {
        require_pointer(file, "file");
        *file = nullptr;
        auto input = std::make_shared<const Input>(read());
        mine.result.document = [input] { return file_document(*input); };
        *file = files().add(std::move(input));
        return Ending{};
    });
}

Input input_in_memory(const void* bytes, std::size_t size, const char* name)
{
    require_pointer(bytes, "bytes");
    if (size > LARGEST_FILE)
        refuse("size is " + std::to_string(size),
               "files have at most " + std::to_string(LARGEST_FILE) + " bytes", "pass the number of bytes");
    return Input::from_bytes({static_cast<const std::uint8_t*>(bytes), size},
                             optional_text_argument(name, "name"));
}

void tell_header(const Inspection& inspection, Texts& texts, kvn_inspection& info)
{
    info.design = texts.keep_known(inspection.header.design);
    info.tool = texts.keep_known(inspection.header.tool);
    info.architecture = texts.keep_known(inspection.header.architecture);
    info.date = texts.keep_known(inspection.header.date);
    info.time = texts.keep_known(inspection.header.time);
}

void tell_data(const Inspection& inspection, Texts& texts, kvn_inspection& info)
{
    info.digest = texts.keep_if_any(inspection.digest);
    info.stated_bits = number_or_unknown<std::int64_t>(inspection.stated_bits);
    info.found_bits = inspection.found_bits;
    info.run_coded_bytes = inspection.run_coded_bytes;
}

kvn_inspection as_inspection(const Inspection& inspection, Texts& texts)
{
    kvn_inspection info{};
    info.name = texts.keep(inspection.path);
    info.file_size = inspection.file_size;
    info.stored_size = inspection.stored.size;
    info.stored_sha256 = texts.keep(inspection.stored.sha256);
    info.format = static_cast<std::int32_t>(inspection.format());
    info.part = texts.keep_if_any(inspection.part);
    if (inspection.device != nullptr) {
        info.device = texts.keep(inspection.device->name);
        info.family = texts.keep(fpga::family_name(inspection.device->family));
    }
    tell_header(inspection, texts, info);
    tell_data(inspection, texts, info);
    const Problem* fatal = first_fatal(inspection.problems);
    info.is_loadable = fatal == nullptr ? 1 : 0;
    info.status = fatal == nullptr ? KVN_DONE : static_cast<std::int32_t>(fatal->status);
    info.problem_count = static_cast<std::uint32_t>(inspection.problems.size());
    return info;
}

std::vector<LoadKind> loads_to_check(int mode)
{
    switch (mode) {
    case KVN_MODE_AS_TAKEN:
        return {LoadKind::plain, LoadKind::compressed};
    case KVN_MODE_PLAIN:
        return {LoadKind::plain};
    case KVN_MODE_COMPRESSED:
        return {LoadKind::compressed};
    default:
        refuse("mode is " + std::to_string(mode),
               "which load is the smallest does not decide whether a module starts",
               "pass KVN_MODE_AS_TAKEN, KVN_MODE_PLAIN or KVN_MODE_COMPRESSED");
    }
}

int as_known(Answer answer)
{
    if (answer == Answer::unknown)
        return KVN_UNKNOWN;
    return answer == Answer::yes ? 1 : 0;
}

/// How one kind of load ended, in the members of a judgement that say it.
struct TrialMembers {
    std::int32_t starts = KVN_UNKNOWN;
    std::int32_t number = KVN_UNKNOWN;
    const char* module = nullptr;
};

TrialMembers trial_of(const Judgement& judgement, LoadKind kind, Texts& texts)
{
    const auto tried = std::ranges::find(judgement.loads, kind, &TriedLoad::kind);
    if (tried == judgement.loads.end())
        return {};
    const Trial& trial = tried->trial;
    return {trial.starts ? 1 : 0, trial.number, texts.keep(trial.module_says)};
}

kvn_judgement as_judgement(const Inspection& inspection, const Judgement& judgement, Texts& texts)
{
    kvn_judgement told{};
    told.device = texts.keep_if_any(judgement.device);
    told.starts = as_known(judgement.answer);
    const TrialMembers plain = trial_of(judgement, LoadKind::plain, texts);
    told.plain_starts = plain.starts;
    told.plain_number = plain.number;
    told.plain_module = plain.module;
    const TrialMembers compressed = trial_of(judgement, LoadKind::compressed, texts);
    told.compressed_starts = compressed.starts;
    told.compressed_number = compressed.number;
    told.compressed_module = compressed.module;
    told.problem_count = static_cast<std::uint32_t>(inspection.problems.size());
    told.words = texts.keep(judgement.words);
    return told;
}

kvn_difference as_difference(const Difference& difference, Texts& texts)
{
    kvn_difference told{};
    told.words = texts.keep(difference.words);
    told.device = difference.device == nullptr ? nullptr : texts.keep(difference.device->name);
    told.same_configuration = difference.same_configuration ? 1 : 0;
    told.header_count = static_cast<std::uint32_t>(difference.headers.size());
    told.first_bits = difference.first_bits;
    told.second_bits = difference.second_bits;
    told.bits = difference.bits;
    told.first_bit = number_or_unknown<std::int64_t>(difference.first_bit);
    told.frame_count = difference.frames.size();
    told.register_count = difference.registers.size();
    return told;
}

std::optional<double> rate_argument(double bytes_per_second)
{
    if (!std::isfinite(bytes_per_second) || bytes_per_second < 0)
        refuse("bytes_per_second is no positive number", "",
               "pass the bytes that the bus carries in a second");
    return bytes_per_second == 0 ? std::nullopt : std::optional{bytes_per_second};
}

std::optional<bool> known_flag_argument(int value, const char* name)
{
    return value == KVN_UNKNOWN ? std::nullopt : std::optional{flag_argument(value, name)};
}

EstimateRequest estimate_request(const kvn_estimate_options* given)
{
    if (given == nullptr)
        return {};
    const kvn_estimate_options options = options_of(given);
    return {.device = optional_text_argument(options.device, "device"),
            .takes_compressed = known_flag_argument(options.takes_compressed, "takes_compressed"),
            .wish = static_cast<ModeWish>(choice_argument(options.mode, KVN_MODE_SMALLEST, "mode")),
            .bytes_per_second = rate_argument(options.bytes_per_second)};
}

std::int64_t bytes_or_unknown(const LoadSize& size)
{
    return size.is_loadable ? static_cast<std::int64_t>(size.wire_bytes) : KVN_UNKNOWN;
}

kvn_estimate_info as_estimate_info(const Estimate& estimated, Texts& texts)
{
    const LoadSize& chosen = estimated.chosen();
    kvn_estimate_info info{};
    info.mode = estimated.mode == LoadKind::plain ? KVN_MODE_PLAIN : KVN_MODE_COMPRESSED;
    info.is_loadable = chosen.is_loadable ? 1 : 0;
    info.why = texts.keep(estimated.why);
    info.wire_bytes = bytes_or_unknown(chosen);
    info.held_back = chosen.is_loadable ? static_cast<std::int64_t>(chosen.held_back) : KVN_UNKNOWN;
    info.seconds = chosen.is_loadable ? chosen.seconds.value_or(KVN_UNKNOWN) : KVN_UNKNOWN;
    info.plain_wire_bytes = bytes_or_unknown(estimated.plain);
    info.compressed_wire_bytes = bytes_or_unknown(estimated.compressed);
    return info;
}

/// A load that is not possible fails the estimate, with the loader's own error.
Ending ending_of(const Estimate& estimated)
{
    const LoadSize& chosen = estimated.chosen();
    if (chosen.is_loadable)
        return {};
    Failure failure = library_failure(chosen.number, chosen.error);
    return {failure.status, std::move(failure)};
}

ConversionRequest conversion_request(const Input& file, const kvn_convert_options* given)
{
    const kvn_convert_options options = options_of(given);
    ConversionRequest request;
    request.format = static_cast<Format>(choice_argument(options.format, KVN_FORMAT_MCB, "format"));
    request.target = optional_text_argument(options.target, "target");
    if (request.target.empty() && request.format == Format::unknown)
        refuse("neither a target nor a format is given", "", "name the file to write, or its format");
    if (request.target.empty())
        request.target = default_target(file.name(), request.format);
    request.overwrite = flag_argument(options.overwrite, "overwrite");
    request.normalise = flag_argument(options.normalise, "normalise");
    (void)choice_argument(options.reserved, 0, "reserved");
    request.part = optional_text_argument(options.part, "part");
    return request;
}

kvn_conversion as_conversion(const Conversion& conversion, Texts& texts)
{
    kvn_conversion told{};
    told.target = texts.keep(conversion.target);
    told.source_format = static_cast<std::int32_t>(conversion.source_format);
    told.format = static_cast<std::int32_t>(conversion.format);
    told.bytes = conversion.bytes;
    told.bits = conversion.bits;
    told.digest = texts.keep(conversion.digest);
    told.part = texts.keep_if_any(conversion.part);
    told.kept_count = static_cast<std::uint32_t>(conversion.kept.size());
    told.lost_count = static_cast<std::uint32_t>(conversion.lost.size());
    told.change_count = static_cast<std::uint32_t>(conversion.changes.size());
    told.problem_count = static_cast<std::uint32_t>(conversion.problems.size());
    return told;
}

kvn_explanation explanation_of_status(int number, Texts& texts)
{
    const VerdictEntry* verdict = find_verdict(number);
    const bool starts = number == CONFIGURED_STATUS;
    kvn_explanation told{};
    told.is_answer = 1;
    told.status = starts ? KVN_DONE : KVN_REFUSED;
    told.state = starts ? KVN_STATE_CONFIGURED : KVN_STATE_REFUSED;
    told.meaning = texts.keep(plain_text(meaning_of_status(number)));
    told.causes = texts.keep(plain_text(about_statuses()));
    told.remedy = verdict == nullptr ? nullptr : texts.keep_if_any(plain_text(verdict->remedy));
    return told;
}

kvn_explanation explanation_of_error(const ErrorEntry& entry, Texts& texts)
{
    const TopicEntry* topic = find_topic(entry.topic);
    const std::string_view remedy = entry.remedy.empty() && topic != nullptr ? topic->remedy : entry.remedy;
    kvn_explanation told{};
    told.status = static_cast<std::int32_t>(entry.status);
    told.state = static_cast<std::int32_t>(entry.state);
    told.text = texts.keep(entry.text);
    told.meaning = texts.keep(plain_text(entry.meaning));
    told.causes = topic == nullptr ? nullptr : texts.keep_if_any(plain_text(topic->causes));
    told.remedy = texts.keep_if_any(plain_text(remedy));
    return told;
}

kvn_explanation explanation_of(int number, Texts& texts)
{
    if (is_load_status(number))
        return explanation_of_status(number, texts);
    if (const ErrorEntry* entry = find_error(number))
        return explanation_of_error(*entry, texts);
    refuse("no error has the number " + std::to_string(number), "",
           "kvn explain lists all errors, and so does docs/errors.md");
}

} // namespace
} // namespace kvn::c_interface

using namespace kvn::c_interface;

int kvn_file_open(kvn_session* session, const char* path, kvn_file** file)
{
    return open_file(session, file, [&] { return kvn::Input::from_path(text_argument(path, "path")); });
}

int kvn_file_from_memory(kvn_session* session, const void* bytes, size_t size, const char* name,
                         kvn_file** file)
{
    return open_file(session, file, [&] { return input_in_memory(bytes, size, name); });
}

int kvn_file_close(kvn_file* file)
{
    return call_without_session([&] {
        if (!files().remove(file))
            (void)file_of(nullptr);
        return Ending{};
    });
}

int kvn_inspect(kvn_session* session, const kvn_file* file, kvn_inspection* info)
{
    return call(session, Kind::operation, [&](Session& mine) {
        const Receiver receiver{info};
        auto inspection = std::make_shared<const kvn::Inspection>(inspect(*file_of(file)));
        mine.result.document = [inspection] { return to_json(*inspection, std::nullopt); };
        mine.result.keep(inspection->problems);
        receiver.take(as_inspection(*inspection, mine.result.texts));
        return Ending{};
    });
}

int kvn_check(kvn_session* session, const kvn_file* file, const char* device, int mode, kvn_judgement* result)
{
    return call(session, Kind::operation, [&](Session& mine) {
        const Receiver receiver{result};
        const auto loads = loads_to_check(mode);
        const std::string wanted = optional_text_argument(device, "device");
        const auto input = file_of(file);
        auto inspection = std::make_shared<kvn::Inspection>(inspect(*input));
        auto judgement = std::make_shared<const kvn::Judgement>(
            judge(*input, *inspection, wanted, loads, kvn::Selection::by_content));
        mine.result.document = [inspection, judgement] { return to_json(*inspection, *judgement); };
        mine.result.keep(inspection->problems);
        receiver.take(as_judgement(*inspection, *judgement, mine.result.texts));
        std::optional<kvn::Failure> failure = failure_of(*inspection, *judgement);
        return failure ? Ending{failure->status, std::move(failure)} : Ending{};
    });
}

int kvn_digest(kvn_session* session, const kvn_file* file, char* buffer, size_t size)
{
    return call(session, Kind::operation, [&](Session& mine) {
        require_pointer(buffer, "buffer");
        if (size < KVN_DIGEST_SIZE)
            refuse("the buffer has " + std::to_string(size) + " bytes", "a digest has 64 digits and a zero",
                   "pass a buffer of KVN_DIGEST_SIZE bytes");
        auto inspection = std::make_shared<const kvn::Inspection>(inspect(*file_of(file)));
        const kvn::Digest digest = digest_of(*inspection);
        mine.result.document = [inspection, digest] { return to_json(*inspection, digest); };
        std::memcpy(buffer, digest.sha256.c_str(), KVN_DIGEST_SIZE);
        return Ending{};
    });
}

int kvn_compare(kvn_session* session, const kvn_file* first, const kvn_file* second,
                kvn_difference* difference)
{
    return call(session, Kind::operation, [&](Session& mine) {
        const Receiver receiver{difference};
        const auto one = file_of(first, "first");
        const auto other = file_of(second, "second");
        auto found = std::make_shared<const kvn::Difference>(compare(*one, *other));
        mine.result.document = [one, other, found] { return to_json(*one, *other, *found); };
        receiver.take(as_difference(*found, mine.result.texts));
        return Ending{};
    });
}

int kvn_estimate(kvn_session* session, const kvn_file* file, const kvn_estimate_options* options,
                 kvn_estimate_info* info)
{
    return call(session, Kind::operation, [&](Session& mine) {
        const Receiver receiver{info};
        const auto request = std::make_shared<const kvn::EstimateRequest>(estimate_request(options));
        const auto input = file_of(file);
        auto inspection = std::make_shared<const kvn::Inspection>(inspect(*input));
        auto estimated = std::make_shared<const kvn::Estimate>(kvn::estimate(*input, *inspection, *request));
        mine.result.document = [=] { return to_json(*inspection, *request, *estimated); };
        receiver.take(as_estimate_info(*estimated, mine.result.texts));
        return ending_of(*estimated);
    });
}

int kvn_convert(kvn_session* session, const kvn_file* file, const kvn_convert_options* options,
                kvn_conversion* info)
{
    return call(session, Kind::operation, [&](Session& mine) {
        const Receiver receiver{info};
        const auto input = file_of(file);
        auto conversion =
            std::make_shared<const kvn::Conversion>(convert(*input, conversion_request(*input, options)));
        mine.result.document = [conversion] { return to_json(*conversion); };
        mine.result.keep(conversion->problems);
        receiver.take(as_conversion(*conversion, mine.result.texts));
        return Ending{};
    });
}

int kvn_explain(kvn_session* session, int number, kvn_explanation* explanation)
{
    return call(session, Kind::operation, [&](Session& mine) {
        const Receiver receiver{explanation};
        kvn_explanation told = explanation_of(number, mine.result.texts);
        told.number = number;
        mine.result.document = [number] { return kvn::errors_document(std::span{&number, 1}); };
        receiver.take(told);
        return Ending{};
    });
}
