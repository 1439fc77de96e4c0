// SPDX-License-Identifier: Apache-2.0
// A module in a slot: receives messages byte by byte, answers, and loads its FPGA.
#include "module_model.h"

#include <algorithm>
#include <utility>

namespace mwvirtual
{
namespace
{

enum MessageType : std::uint8_t {
    TYPE_QUERY = 1,
    TYPE_REPLY = 2,
    PLAIN_LOAD = 3,
    COMPRESSION_QUERY = 11,
    COMPRESSION_REPLY = 12,
    COMPRESSED_LOAD = 13
};

constexpr std::size_t RECORD_SIZE = 30;
constexpr std::size_t NAME_AT = 3;
constexpr std::size_t LONGEST_NAME = 26;
constexpr std::size_t COMPRESSION_AT = 29;

// The largest device takes 4.3 megabytes. The FPGA receives what a host sends beyond this, but it is not
// kept.
constexpr std::size_t KEPT_BYTES = 32U << 20;

// Newer models are asked whether they accept compressed loads; older ones report it in their identification
// record.
constexpr unsigned LAST_FPGA_MODEL_WITHOUT_QUERY = 3;
constexpr unsigned LAST_IO_MODEL_WITHOUT_QUERY = 4;

std::uint8_t byte(unsigned value)
{
    return static_cast<std::uint8_t>(value);
}

std::uint8_t board_byte(unsigned bus_board)
{
    return byte(bus_board << 3 | 5);
}

bool knows_query(const Module& module)
{
    const unsigned last =
        module.kind == ModuleKind::io ? LAST_IO_MODEL_WITHOUT_QUERY : LAST_FPGA_MODEL_WITHOUT_QUERY;
    return module.model > last;
}

void append(std::vector<std::uint8_t>& kept, std::span<const std::uint8_t> bytes)
{
    const std::size_t room = KEPT_BYTES - std::min(KEPT_BYTES, kept.size());
    const auto fitting = bytes.first(std::min(room, bytes.size()));
    kept.insert(kept.end(), fitting.begin(), fitting.end());
}

Verdict verdict_of(fpga::Outcome outcome)
{
    switch (outcome) {
    case fpga::Outcome::done:
        return Verdict::success;
    case fpga::Outcome::no_sync:
        return Verdict::no_synchronisation;
    case fpga::Outcome::crc_error:
        return Verdict::crc_error;
    case fpga::Outcome::wrong_device:
        return Verdict::wrong_device;
    case fpga::Outcome::data_short:
        return Verdict::data_short;
    default:
        return Verdict::violation;
    }
}

} // namespace

bool is_plain_name(std::string_view name)
{
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view{"/\0", 2}) == std::string_view::npos;
}

void require_plain_name(std::string_view name)
{
    if (!is_plain_name(name))
        throw std::invalid_argument("kept files have plain names, without folders");
}

const char* verdict_name(Verdict verdict)
{
    switch (verdict) {
    case Verdict::no_synchronisation:
        return "no synchronisation";
    case Verdict::crc_error:
        return "CRC error";
    case Verdict::wrong_device:
        return "wrong device";
    case Verdict::data_short:
        return "data short";
    case Verdict::success:
        return "success";
    case Verdict::run_coding_broken:
        return "run coding broken";
    case Verdict::wrong_load_header:
        return "wrong load header";
    case Verdict::compression_refused:
        return "compression refused";
    case Verdict::violation:
        return "violation";
    case Verdict::no_fpga:
        return "no FPGA";
    }
    return "unknown";
}

Module& Module::device(std::string name)
{
    device_name = std::move(name);
    return *this;
}

Module& Module::version(unsigned number)
{
    version_number = number;
    return *this;
}

Module& Module::accepts_compressed()
{
    return tells_compression(knows_query(*this) ? Compression::query : Compression::record);
}

Module& Module::tells_compression(Compression how)
{
    compression = how;
    return *this;
}

Module& Module::keep(std::string file)
{
    require_plain_name(file);
    keep_file = std::move(file);
    return *this;
}

Module& Module::keeps_no_data()
{
    keep_data = false;
    return *this;
}

Module& Module::info(std::vector<std::uint32_t> words)
{
    info_words = std::move(words);
    return *this;
}

Module& Module::answers_type(Reply reply, std::uint8_t message_type, unsigned nth)
{
    faults.push_back({ReplyFault::Kind::other_type, reply, message_type, nth});
    return *this;
}

Module& Module::answers_short(Reply reply, std::size_t length, unsigned nth)
{
    faults.push_back({ReplyFault::Kind::short_reply, reply, static_cast<unsigned>(length), nth});
    return *this;
}

Module& Module::does_not_answer(Reply reply, unsigned nth)
{
    faults.push_back({ReplyFault::Kind::no_reply, reply, 0, nth});
    return *this;
}

Module& Module::answers_status(std::uint8_t status, unsigned nth)
{
    faults.push_back({ReplyFault::Kind::status, Reply::load, status, nth});
    return *this;
}

Module fpga_module(unsigned model)
{
    Module module;
    module.model = model;
    return module;
}

Module io_module(unsigned model)
{
    Module module;
    module.kind = ModuleKind::io;
    module.type = 4;
    module.model = model;
    return module;
}

Module other_module(unsigned type)
{
    Module module;
    module.kind = ModuleKind::other;
    module.type = type;
    module.model = 1;
    return module;
}

Module processor_module()
{
    Module module;
    module.kind = ModuleKind::processor;
    return module;
}

Module module_without_bus()
{
    Module module;
    module.kind = ModuleKind::no_bus;
    return module;
}

ModuleModel::ModuleModel(Module settings)
    : settings_{std::move(settings)}, device_{fpga::find_device(settings_.device_name)}
{
}

std::array<std::uint32_t, 5> ModuleModel::info_words() const
{
    const bool processor = settings_.kind == ModuleKind::processor;
    std::array<std::uint32_t, 5> words{1, processor ? 1U : 0U, has_serial_bus() ? 1U : 0U, 0, 0};
    const std::size_t given = std::min(settings_.info_words.size(), words.size());
    std::copy_n(settings_.info_words.begin(), given, words.begin());
    return words;
}

void ModuleModel::begin_message(unsigned bus_board, StoredMessage* stored)
{
    receiving_ = true;
    stored_ = stored;
    bus_board_ = bus_board;
    header_bytes_ = 0;
}

void ModuleModel::take(std::span<const std::uint8_t> bytes)
{
    while (header_bytes_ < HEADER_SIZE && !bytes.empty()) {
        take_header_byte(bytes.front());
        bytes = bytes.subspan(1);
    }
    if (is_load())
        take_load_data(bytes);
}

void ModuleModel::take_header_byte(std::uint8_t byte)
{
    header_.at(header_bytes_++) = byte;
    if (header_bytes_ == 1 && is_load())
        begin_load();
    if (is_load())
        note_received({&byte, 1});
}

void ModuleModel::note_received(std::span<const std::uint8_t> bytes)
{
    contents_.received_bytes += bytes.size();
    if (settings_.keep_data)
        append(contents_.received, bytes);
}

bool ModuleModel::is_load_type(std::uint32_t type)
{
    return type == PLAIN_LOAD || type == COMPRESSED_LOAD;
}

bool ModuleModel::is_load() const
{
    return header_bytes_ != 0 && is_load_type(header_[0]);
}

// A load stops the FPGA before its first byte.
void ModuleModel::begin_load()
{
    contents_ = {.loads = contents_.loads + 1, .reason = "the load has not ended"};
    contents_.compressed = header_[0] == COMPRESSED_LOAD;
    run_count_.reset();
    port_ = device_ != nullptr ? fpga::make_port(*device_) : nullptr;
    if (stored_ != nullptr)
        contents_.loads = stored_->begin_load(contents_.compressed);
}

void ModuleModel::take_load_data(std::span<const std::uint8_t> bytes)
{
    note_received(bytes);
    if (header_[1] != board_byte(bus_board_))
        return;
    if (!contents_.compressed)
        return configure(bytes);
    if (settings_.compression == Compression::none)
        return;
    for (const std::uint8_t each : bytes)
        take_run_byte(each);
}

void ModuleModel::take_run_byte(std::uint8_t byte)
{
    if (!run_count_) {
        run_count_ = byte;
        return;
    }
    const std::size_t count = *std::exchange(run_count_, std::nullopt);
    std::array<std::uint8_t, 255> run; // only the used part is filled
    std::fill_n(run.begin(), count, byte);
    configure(std::span{run}.first(count));
}

void ModuleModel::configure(std::span<const std::uint8_t> bytes)
{
    contents_.configuration_bytes += bytes.size();
    if (settings_.keep_data)
        append(contents_.configuration, bytes);
    if (port_ != nullptr)
        port_->take(bytes);
    if (stored_ != nullptr)
        stored_->take(bytes);
}

std::optional<Message> ModuleModel::end_message()
{
    receiving_ = false;
    StoredMessage* const stored = std::exchange(stored_, nullptr);
    std::optional<Message> reply = answer();
    if (stored == nullptr)
        return reply;
    if (contents_.finished && is_load())
        stored->judge(contents_.verdict, contents_.reason);
    stored->end();
    return reply;
}

void ModuleModel::drop_message()
{
    receiving_ = false;
    if (StoredMessage* const stored = std::exchange(stored_, nullptr); stored != nullptr)
        stored->end();
}

// Processor modules do not take part in this protocol.
std::optional<Message> ModuleModel::answer()
{
    if (settings_.kind == ModuleKind::processor || header_bytes_ == 0)
        return std::nullopt;
    switch (header_[0]) {
    case TYPE_QUERY:
        return spoil(Reply::identification, identify());
    case COMPRESSION_QUERY:
        return spoil(Reply::compression, tell_compression());
    case PLAIN_LOAD:
    case COMPRESSED_LOAD:
        return spoil(Reply::load, finish_load());
    default:
        return std::nullopt;
    }
}

std::optional<Message> ModuleModel::identify() const
{
    std::vector<std::uint8_t> record(RECORD_SIZE);
    record[0] = byte(settings_.type);
    record[1] = byte(settings_.model);
    record[2] = byte(settings_.version_number);
    const std::size_t length = std::min(settings_.device_name.size(), LONGEST_NAME);
    std::copy_n(settings_.device_name.begin(), length, record.begin() + NAME_AT);
    // A name of full length reaches up to the flag, but never overwrites it.
    record[COMPRESSION_AT] = settings_.compression == Compression::record ? 1 : 0;
    return Message{TYPE_REPLY, std::move(record)};
}

bool ModuleModel::answers_compression_query() const
{
    const bool loadable = settings_.kind == ModuleKind::fpga || settings_.kind == ModuleKind::io;
    return loadable && (knows_query(settings_) || settings_.compression == Compression::query);
}

std::optional<Message> ModuleModel::tell_compression() const
{
    if (!answers_compression_query())
        return std::nullopt;
    return Message{COMPRESSION_REPLY, {byte(settings_.compression == Compression::query ? 1 : 0)}};
}

Message ModuleModel::finish_load()
{
    judge_load();
    contents_.finished = true;
    contents_.done = contents_.verdict == Verdict::success;
    return {byte(header_[0] + 1U), {static_cast<std::uint8_t>(contents_.verdict), 0}};
}

void ModuleModel::judge_load()
{
    const bool loadable = settings_.kind == ModuleKind::fpga || settings_.kind == ModuleKind::io;
    if (header_bytes_ < HEADER_SIZE)
        return settle(Verdict::wrong_load_header, "the load header is incomplete");
    if (header_[1] != board_byte(bus_board_))
        return settle(Verdict::wrong_load_header,
                      "the load header names board byte " + std::to_string(header_[1]) +
                          ", but the bus is that of board byte " + std::to_string(board_byte(bus_board_)));
    if (!loadable || port_ == nullptr)
        return settle(Verdict::no_fpga, "the module has no FPGA that can be loaded");
    if (contents_.compressed && settings_.compression == Compression::none)
        return settle(Verdict::compression_refused, "the module does not take compressed loads");
    // Choice: an incomplete pair is an error even after a complete configuration; the module stops the FPGA
    // again.
    if (run_count_)
        return settle(Verdict::run_coding_broken, "the data end inside a pair of count and value");
    const fpga::PortReport report = port_->report();
    settle(verdict_of(report.outcome), report.reason);
}

void ModuleModel::settle(Verdict verdict, std::string reason)
{
    contents_.verdict = verdict;
    contents_.reason = std::move(reason);
}

std::optional<Message> ModuleModel::spoil(Reply reply, std::optional<Message> message)
{
    const unsigned number = ++replies_[reply];
    for (const ReplyFault& fault : settings_.faults) {
        if (!message || fault.reply != reply || (fault.nth != 0 && fault.nth != number))
            continue;
        switch (fault.kind) {
        case ReplyFault::Kind::other_type:
            message->type = byte(fault.value);
            break;
        case ReplyFault::Kind::short_reply:
            message->data.resize(std::min<std::size_t>(message->data.size(), fault.value));
            break;
        case ReplyFault::Kind::no_reply:
            message.reset();
            break;
        case ReplyFault::Kind::status:
            if (!message->data.empty())
                message->data[0] = byte(fault.value);
            break;
        }
    }
    return message;
}

} // namespace mwvirtual
