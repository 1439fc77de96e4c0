// SPDX-License-Identifier: Apache-2.0
// A session of the library on one bus, for the time of one list or load.
#include "module/bus_session.h"

#include "support/text.h"

namespace kvn
{
namespace
{

void print_nothing(char* /*text*/) {}

// How the library names what it finds in a slot that it cannot configure.
constexpr int NO_BOARD_INFO = 9190;
constexpr int EMPTY_SLOT = 9220;
constexpr int PROCESSOR_MODULE = 9221;
constexpr int MODULE_WITHOUT_BUS = 9222;

SlotKind kind_after(int error)
{
    switch (error) {
    case NO_BOARD_INFO:
        return SlotKind::unknown;
    case EMPTY_SLOT:
        return SlotKind::empty;
    case PROCESSOR_MODULE:
        return SlotKind::processor;
    case MODULE_WITHOUT_BUS:
        return SlotKind::without_bus;
    default:
        return SlotKind::module;
    }
}

bool is_finding(SlotKind kind)
{
    return kind == SlotKind::empty || kind == SlotKind::processor || kind == SlotKind::without_bus;
}

std::array<std::uint32_t, SLOT_INFO_WORDS> words_of(const BoardInfo& info, unsigned slot)
{
    std::array<std::uint32_t, SLOT_INFO_WORDS> words{};
    std::copy_n(info.begin() + 1 + static_cast<std::ptrdiff_t>((slot - 1) * SLOT_INFO_WORDS), words.size(),
                words.begin());
    return words;
}

std::string device_in(const IdentificationRecord& record)
{
    const std::string name(record.begin() + RECORD_DEVICE,
                           record.begin() + RECORD_DEVICE + RECORD_DEVICE_SIZE);
    return name.substr(0, name.find('\0'));
}

/// @param compression null: the module could not be asked
ModuleIdentity identity_in(const IdentificationRecord& record, std::optional<bool> compression)
{
    ModuleIdentity identity{.type = record[0]};
    if (identity.type != KAVRIN_FPGA && identity.type != KAVRIN_IO)
        return identity;
    identity.model = record[RECORD_MODEL];
    identity.version = record[RECORD_VERSION];
    identity.device = device_in(record);
    if (compression)
        identity.compression = *compression ? Compression::yes : Compression::no;
    return identity;
}

} // namespace

BusSession::BusSession(const Provider& provider, LoadControl& control)
    : wire_{provider.platform(), control}, use_{wire_}
{
    core_.user_print = &print_nothing;
}

BusSession::~BusSession()
{
    core_.close_open_files();
    core_.Close_KSB();
}

std::optional<Failure> BusSession::open(const BoardName& board)
{
    copy_text(core_.board_type, board.type);
    core_.board_number = static_cast<std::uint16_t>(board.number);
    if (core_.Initialise_Host_KSB(core_.board_type, core_.board_number) != 0)
        return failure();
    return std::nullopt;
}

SlotRow BusSession::ask(const ModuleName& module)
{
    SlotRow row{.name = module};
    core_.slot = static_cast<std::uint8_t>(module.slot);
    core_.slot_address = module.slot_address();
    wire_.forget_slot();
    const int error = core_.Check_Module(core_.board_type, core_.board_number, core_.slot_address);
    row.kind = kind_after(error);
    if (wire_.info())
        row.info_words = words_of(*wire_.info(), module.slot);
    if (const auto& record = wire_.identification())
        row.module = identity_in(*record, error == 0 ? std::optional{core_.supports_compressed_loading != 0}
                                                     : std::nullopt);
    if (error == 0 || is_finding(row.kind))
        return row;
    row.failure = failure();
    // The information is of the opened board: whether another one's slot holds anything is open.
    if (!wire_.info() && !row.module)
        row.kind = SlotKind::unknown;
    return row;
}

Failure BusSession::failure() const
{
    return library_failure(core_.last_error, core_.last_error_text);
}

} // namespace kvn
