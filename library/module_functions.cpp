// SPDX-License-Identifier: Apache-2.0
// kvn.h: boards, slots, and loads.
#include "call.h"
#include "report/documents.h"

#include <algorithm>
#include <chrono>

namespace kvn::c_interface
{
namespace
{

static_assert(KVN_SLOT_UNKNOWN == static_cast<int>(SlotKind::unknown) &&
              KVN_SLOT_EMPTY == static_cast<int>(SlotKind::empty) &&
              KVN_SLOT_PROCESSOR == static_cast<int>(SlotKind::processor) &&
              KVN_SLOT_WITHOUT_BUS == static_cast<int>(SlotKind::without_bus) &&
              KVN_SLOT_MODULE == static_cast<int>(SlotKind::module));
static_assert(KVN_MODE_AS_TAKEN == static_cast<int>(ModeWish::as_taken) &&
              KVN_MODE_PLAIN == static_cast<int>(ModeWish::plain) &&
              KVN_MODE_COMPRESSED == static_cast<int>(ModeWish::compressed) &&
              KVN_MODE_SMALLEST == static_cast<int>(ModeWish::smallest));
static_assert(KVN_VERDICT_CONFIGURED == static_cast<int>(Verdict::configured) &&
              KVN_VERDICT_REFUSED == static_cast<int>(Verdict::refused) &&
              KVN_VERDICT_FAILED == static_cast<int>(Verdict::failed) &&
              KVN_VERDICT_CANCELLED == static_cast<int>(Verdict::cancelled) &&
              KVN_VERDICT_TIMED_OUT == static_cast<int>(Verdict::timed_out) &&
              KVN_VERDICT_NOT_TRIED == static_cast<int>(Verdict::not_tried));
static_assert(KVN_STATE_UNTOUCHED == static_cast<int>(ModuleState::untouched) &&
              KVN_STATE_INTERRUPTED == static_cast<int>(ModuleState::interrupted) &&
              KVN_STATE_REFUSED == static_cast<int>(ModuleState::refused) &&
              KVN_STATE_CONFIGURED == static_cast<int>(ModuleState::configured) &&
              KVN_STATE_UNKNOWN == static_cast<int>(ModuleState::unknown));

constexpr int LAST_BOARD = 15;

/// Writes a failure into the members that tell one; they are the same in several structures.
template <class Info>
void tell(const Failure& failure, Texts& texts, Info& info)
{
    info.status = static_cast<std::int32_t>(failure.status);
    info.what = texts.keep(failure.what);
    info.why = texts.keep_if_any(failure.why);
    info.remedy = texts.keep_if_any(failure.remedy);
}

int as_known(Compression compression)
{
    if (compression == Compression::unknown)
        return KVN_UNKNOWN;
    return compression == Compression::yes ? 1 : 0;
}

void tell(const ModuleIdentity& module, Texts& texts, kvn_slot_info& info)
{
    info.type = static_cast<std::int32_t>(module.type);
    info.model = number_or_unknown<std::int32_t>(module.model);
    info.version = number_or_unknown<std::int32_t>(module.version);
    info.compression = as_known(module.compression);
    info.type_name = texts.keep(module.type_name());
    const std::string device = module.device.value_or("");
    const DevicePart part = split_device_name(device);
    info.device = texts.keep_if_any(device);
    info.device_name = texts.keep_if_any(part.device);
    info.package = texts.keep_if_any(part.package);
    info.speed_grade = texts.keep_if_any(part.speed_grade);
}

kvn_slot_info as_slot_info(const SlotRow& slot, Texts& texts)
{
    kvn_slot_info info{};
    info.size = sizeof info;
    info.module = texts.keep(to_text(slot.name));
    info.board_type = texts.keep(slot.name.board.type);
    info.board = static_cast<std::int32_t>(slot.name.board.number);
    info.carrier = static_cast<std::int32_t>(slot.name.carrier());
    info.slot = static_cast<std::int32_t>(slot.name.slot);
    info.kind = static_cast<std::int32_t>(slot.kind);
    info.type = info.model = info.version = info.compression = KVN_UNKNOWN;
    if (slot.module)
        tell(*slot.module, texts, info);
    if (slot.failure) {
        tell(*slot.failure, texts, info);
        info.number = slot.failure->number;
    }
    return info;
}

kvn_board_info as_board_info(const BoardRow& board, Texts& texts)
{
    kvn_board_info info{};
    info.size = sizeof info;
    info.name = texts.keep(to_text(board.name));
    info.board_type = texts.keep(board.name.type);
    info.number = static_cast<std::int32_t>(board.name.number);
    info.info_word = number_or_unknown<std::int64_t>(board.info_word);
    info.slot_count = static_cast<std::uint32_t>(board.slots.size());
    if (board.failure)
        tell(*board.failure, texts, info);
    return info;
}

std::optional<unsigned> board_argument(int board)
{
    if (board == KVN_ALL_BOARDS)
        return std::nullopt;
    return static_cast<unsigned>(choice_argument(board, LAST_BOARD, "board"));
}

Listing as_listing(const std::vector<BoardRow>& rows)
{
    Listing listing;
    for (const BoardRow& board : rows) {
        listing.boards.push_back(as_board_info(board, listing.texts));
        for (const SlotRow& slot : board.slots)
            listing.slots.push_back(as_slot_info(slot, listing.texts));
    }
    return listing;
}

/// A failure ends the call only if it leaves nothing to list.
Ending ending_of(const std::vector<BoardRow>& rows)
{
    if (std::ranges::any_of(rows, [](const BoardRow& board) { return !board.failure; }))
        return {};
    return {rows.front().failure->status, rows.front().failure};
}

Ending list_boards(Session& mine, const ListRequest& request)
{
    const Provider& provider = provider_of(mine);
    auto rows = std::make_shared<const std::vector<BoardRow>>(list(provider, request));
    mine.listing = as_listing(*rows);
    mine.result.document = [identity = provider.identity(), rows] {
        return boards_document(identity, *rows);
    };
    return ending_of(*rows);
}

const Listing& listing_of(const Session& session)
{
    if (!session.listing)
        refuse("no boards were listed in this session", "rows are those of the last kvn_list",
               "call kvn_list first");
    return *session.listing;
}

std::int64_t as_milliseconds(const std::optional<std::chrono::system_clock::time_point>& moment)
{
    return moment ? std::chrono::floor<std::chrono::milliseconds>(moment->time_since_epoch()).count()
                  : KVN_UNKNOWN;
}

template <class Value>
const char* text_or_null(const std::optional<Fact<Value>>& fact, Texts& texts)
{
    return fact ? texts.keep(fact->value) : nullptr;
}

void tell_file(const Record& record, Texts& texts, kvn_record& told)
{
    told.file = text_or_null(record.file, texts);
    told.file_sha256 = text_or_null(record.file_sha256, texts);
    told.digest = text_or_null(record.digest, texts);
    told.format = text_or_null(record.format, texts);
    told.design = text_or_null(record.design, texts);
    told.part = text_or_null(record.part, texts);
    told.problem_count = static_cast<std::uint32_t>(record.problems.size());
}

void tell_module(const Record& record, Texts& texts, kvn_record& told)
{
    told.module = texts.keep(to_text(record.module.value));
    told.device = text_or_null(record.device, texts);
    told.type = told.model = told.version = KVN_UNKNOWN;
    if (!record.identity)
        return;
    const ModuleIdentity& module = record.identity->value;
    told.type = static_cast<std::int32_t>(module.type);
    told.model = number_or_unknown<std::int32_t>(module.model);
    told.version = number_or_unknown<std::int32_t>(module.version);
}

int mode_of(const Record& record)
{
    if (!record.mode)
        return KVN_UNKNOWN;
    return record.mode->value == LoadKind::plain ? KVN_MODE_PLAIN : KVN_MODE_COMPRESSED;
}

void tell_load(const Record& record, Texts& texts, kvn_record& told)
{
    told.mode = mode_of(record);
    told.wire_bytes = record.wire_bytes ? static_cast<std::int64_t>(record.wire_bytes->value) : KVN_UNKNOWN;
    told.begin = as_milliseconds(record.begin);
    told.end = as_milliseconds(record.end);
    told.seconds_on_wire = record.seconds_on_wire.value_or(KVN_UNKNOWN);
    told.attempts = record.attempts;
    told.verdict = static_cast<std::int32_t>(record.verdict);
    told.state = static_cast<std::int32_t>(record.state);
    told.answer = number_or_unknown<std::int32_t>(record.answer);
    if (record.failure) {
        tell(*record.failure, texts, told);
        told.number = record.failure->number;
    }
    told.status = static_cast<std::int32_t>(record.exit_status());
}

kvn_record as_record(const Record& record, Texts& texts)
{
    kvn_record told{};
    tell_file(record, texts, told);
    tell_module(record, texts, told);
    tell_load(record, texts, told);
    told.simulated = record.provider.simulated ? 1 : 0;
    return told;
}

/// A load as the caller asks for it.
struct WantedLoad {
    std::shared_ptr<const Input> file;
    kvn_load_options options;
    LoadRequest request;
};

WantedLoad wanted_load(const kvn_file* file, const kvn_load_options* given)
{
    const kvn_load_options options = options_of(given);
    WantedLoad wanted{.file = file_of(file), .options = options, .request = {}};
    wanted.request.module = parse_module_name(text_argument(options.module, "module"));
    wanted.request.file = wanted.file.get();
    wanted.request.mode = static_cast<ModeWish>(choice_argument(options.mode, KVN_MODE_SMALLEST, "mode"));
    wanted.request.force = flag_argument(options.force, "force");
    wanted.request.device = optional_text_argument(options.device, "device");
    wanted.request.serial_number = text_if_any(options.serial_number, "serial_number");
    wanted.request.operator_name = text_if_any(options.operator_name, "operator_name");
    wanted.request.station = text_if_any(options.station, "station");
    return wanted;
}

/// What goes on while a load runs: the caller's progress function is called, and may cancel it.
std::shared_ptr<LoadControl> control_of(const kvn_load_options& options)
{
    auto control = std::make_shared<LoadControl>();
    if (options.progress_step != 0)
        control->progress_step = options.progress_step;
    if (options.progress != nullptr)
        control->on_progress = [call = options.progress, user_data = options.user_data,
                                &control = *control](const Progress& progress) {
            const kvn_progress_info info = as_progress_info(progress, true);
            if (call(user_data, &info) != 0)
                control.cancel();
        };
    return control;
}

/// Tells other threads of a load as long as it runs.
class Running
{
public:
    Running(CurrentLoad& current, std::shared_ptr<LoadControl> control) : current_{current}
    {
        current_.begin(std::move(control));
    }
    ~Running() { current_.end(); }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

private:
    CurrentLoad& current_;
};

Record run_load(Session& mine, const WantedLoad& wanted)
{
    const Provider& provider = provider_of(mine);
    const auto control = control_of(wanted.options);
    const Running running{mine.load, control};
    return load(provider, wanted.request, *control);
}

} // namespace
} // namespace kvn::c_interface

using namespace kvn::c_interface;

int kvn_list(kvn_session* session, const char* board_type, int board)
{
    return call(session, Kind::operation, [&](Session& mine) {
        const kvn::ListRequest request{.board_type = text_argument(board_type, "board_type"),
                                       .board = board_argument(board)};
        return list_boards(mine, request);
    });
}

int kvn_board_count(kvn_session* session, size_t* count)
{
    return call(session, Kind::reader, [&](Session& mine) {
        require_pointer(count, "count");
        *count = listing_of(mine).boards.size();
        return Ending{};
    });
}

int kvn_board(kvn_session* session, size_t index, kvn_board_info* info)
{
    return call(session, Kind::reader, [&](Session& mine) {
        const Receiver receiver{info};
        receiver.take(row(listing_of(mine).boards, index, "boards"));
        return Ending{};
    });
}

int kvn_slot_count(kvn_session* session, size_t* count)
{
    return call(session, Kind::reader, [&](Session& mine) {
        require_pointer(count, "count");
        *count = listing_of(mine).slots.size();
        return Ending{};
    });
}

int kvn_slot(kvn_session* session, size_t index, kvn_slot_info* info)
{
    return call(session, Kind::reader, [&](Session& mine) {
        const Receiver receiver{info};
        receiver.take(row(listing_of(mine).slots, index, "slots"));
        return Ending{};
    });
}

int kvn_identify(kvn_session* session, const char* module, kvn_slot_info* info)
{
    return call(session, Kind::operation, [&](Session& mine) {
        const Receiver receiver{info};
        const kvn::ModuleName name = kvn::parse_module_name(text_argument(module, "module"));
        const kvn::Provider& provider = provider_of(mine);
        auto slot = std::make_shared<const kvn::SlotRow>(identify(provider, name));
        mine.result.document = [identity = provider.identity(), slot] {
            return slot_document(identity, *slot);
        };
        receiver.take(as_slot_info(*slot, mine.result.texts));
        return slot->failure ? Ending{slot->failure->status, slot->failure} : Ending{};
    });
}

int kvn_load(kvn_session* session, const kvn_file* file, const kvn_load_options* options, kvn_record* record)
{
    return call(session, Kind::operation, [&](Session& mine) {
        const Receiver receiver{record};
        const WantedLoad wanted = wanted_load(file, options);
        auto result = std::make_shared<const kvn::Record>(run_load(mine, wanted));
        mine.result.document = [result] { return record_document(*result); };
        mine.result.keep(result->problems);
        receiver.take(as_record(*result, mine.result.texts));
        return Ending{result->exit_status(), result->failure};
    });
}

int kvn_progress(kvn_session* session, kvn_progress_info* info)
{
    return call_without_session([&] {
        const auto mine = session_of(session);
        const Receiver receiver{info};
        receiver.take(mine->load.progress());
        return Ending{};
    });
}

int kvn_cancel(kvn_session* session)
{
    return call_without_session([&] {
        if (!session_of(session)->load.cancel())
            refuse("no load is running in this session", "only a load that is running can be stopped", "");
        return Ending{};
    });
}
