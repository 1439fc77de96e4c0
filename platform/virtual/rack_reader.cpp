// SPDX-License-Identifier: Apache-2.0
// Reads rack descriptions; reports mistakes with file, line and what was expected.
#include "rack_reader.h"

#include "config/nearest_word.h"
#include "config/table_reader.h"
#include "system/regular_file.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <numeric>
#include <string_view>

namespace mwvirtual
{
namespace
{

using config::quoted;
using config::TableReader;
using config::Words;

constexpr std::int64_t LARGEST_WORD = 0xFFFFFFFF;
constexpr std::size_t LONGEST_BOARD_TYPE = 31;
constexpr std::size_t LONGEST_DEVICE_NAME = 26;
constexpr std::int64_t LAST_BOARD = 15;
constexpr std::int64_t LONGEST_LATENCY_US = 60'000'000;

std::vector<std::uint32_t> read_info(const TableReader& slot)
{
    constexpr std::size_t WORDS = 5;
    std::vector<std::uint32_t> words;
    const toml::node* node = slot.find("info");
    if (node == nullptr)
        return words;
    const toml::array* array = node->as_array();
    if (array == nullptr || array->size() > WORDS)
        slot.mistake(*node, "\"info\" must be a list of up to 5 whole numbers");
    for (const toml::node& each : *array)
        words.push_back(static_cast<std::uint32_t>(slot.integer_of(each, "info", 0, LARGEST_WORD)));
    return words;
}

ReplyFault read_reply_fault(const TableReader& fault)
{
    using Kind = ReplyFault::Kind;
    constexpr std::int64_t LARGEST_BYTE = 255;
    constexpr std::int64_t LONGEST_REPLY = 30;
    ReplyFault read{};
    read.kind =
        static_cast<Kind>(fault.choice("kind", {"other-type", "short-reply", "no-reply", "wrong-status"}));
    switch (read.kind) {
    case Kind::other_type:
        fault.allow({"kind", "reply", "type", "nth"});
        read.value = static_cast<unsigned>(fault.integer("type", 0, LARGEST_BYTE));
        break;
    case Kind::short_reply:
        fault.allow({"kind", "reply", "length", "nth"});
        read.value = static_cast<unsigned>(fault.integer("length", 0, LONGEST_REPLY));
        break;
    case Kind::no_reply:
        fault.allow({"kind", "reply", "nth"});
        break;
    case Kind::status:
        fault.allow({"kind", "status", "nth"});
        read.value = static_cast<unsigned>(fault.integer("status", 0, LARGEST_BYTE));
        break;
    }
    read.reply = read.kind == Kind::status
                     ? Reply::load
                     : static_cast<Reply>(fault.choice("reply", {"identification", "compression", "load"}));
    read.nth = static_cast<unsigned>(fault.integer_or("nth", 1, LARGEST_WORD, 0));
    return read;
}

std::string read_device(const TableReader& slot)
{
    std::string name = slot.text("device", LONGEST_DEVICE_NAME);
    const fpga::Device* device = fpga::find_device(name);
    if (device != nullptr && device->carried_by_modules())
        return name;
    // The device is compared with the beginning of the name.
    Words known;
    for (const fpga::Device& each : fpga::devices()) {
        if (each.carried_by_modules())
            known.push_back(each.name);
    }
    const auto nearest = std::ranges::min_element(known, {}, [&](std::string_view candidate) {
        const std::size_t changes =
            config::edit_distance(std::string_view{name}.substr(0, candidate.size()), candidate);
        return std::pair{changes, LONGEST_DEVICE_NAME - candidate.size()}; // of equals, the longer one
    });
    slot.mistake(*slot.find("device"),
                 "no module carries a " + quoted(name) +
                     "; expected was a device such as \"2v3000fg676-4\" (the nearest is " + quoted(*nearest) +
                     ")");
}

/// The name of the file to keep, if any; whether it can be kept is not asked.
std::string read_keep(const TableReader& slot)
{
    constexpr std::size_t LONGEST_NAME = 255;
    if (slot.find("keep") == nullptr)
        return "";
    std::string name = slot.text("keep", LONGEST_NAME);
    if (!is_plain_name(name))
        slot.mistake(*slot.find("keep"), "\"keep\" must be a plain file name, without folders");
    return name;
}

Module read_loadable(const TableReader& slot, ModuleKind kind)
{
    slot.allow({"number", "kind", "model", "version", "device", "compression", "keep", "info", "fault"});
    constexpr std::int64_t LARGEST_BYTE = 255;
    Module module = kind == ModuleKind::io ? io_module() : fpga_module();
    module.model = static_cast<unsigned>(slot.integer_or("model", 0, LARGEST_BYTE, module.model));
    module.version_number = static_cast<unsigned>(slot.integer_or("version", 0, LARGEST_BYTE, 1));
    module.device_name = read_device(slot);
    if (slot.find("compression") != nullptr)
        module.compression =
            static_cast<Compression>(slot.choice("compression", {"none", "query", "record"}));
    module.keep_file = read_keep(slot);
    return module;
}

Module read_other(const TableReader& slot)
{
    slot.allow({"number", "kind", "type", "model", "version", "info", "fault"});
    constexpr std::int64_t LARGEST_BYTE = 255;
    Module module = other_module(static_cast<unsigned>(slot.integer("type", 0, LARGEST_BYTE)));
    if (module.type == 2 || module.type == 4)
        slot.mistake(*slot.find("type"), "types 2 and 4 are those of the kinds \"fpga\" and \"io\"");
    module.model = static_cast<unsigned>(slot.integer_or("model", 0, LARGEST_BYTE, module.model));
    module.version_number = static_cast<unsigned>(slot.integer_or("version", 0, LARGEST_BYTE, 1));
    return module;
}

Module read_module(const TableReader& slot)
{
    const auto kind =
        static_cast<ModuleKind>(slot.choice("kind", {"fpga", "io", "other", "processor", "no-bus"}));
    Module module;
    switch (kind) {
    case ModuleKind::fpga:
    case ModuleKind::io:
        module = read_loadable(slot, kind);
        break;
    case ModuleKind::other:
        module = read_other(slot);
        break;
    default:
        slot.allow({"number", "kind", "info"});
        module = kind == ModuleKind::processor ? processor_module() : module_without_bus();
    }
    module.info_words = read_info(slot);
    for (const TableReader& fault : slot.tables("fault", "a fault of a slot"))
        module.faults.push_back(read_reply_fault(fault));
    return module;
}

LinkFault read_link_fault(const TableReader& fault)
{
    const bool drops = fault.choice("kind", {"drop-byte", "flip-byte"}) == 0;
    if (drops)
        fault.allow({"kind", "after"});
    else
        fault.allow({"kind", "after", "mask"});
    const std::int64_t after = fault.integer("after", 0, std::numeric_limits<std::int64_t>::max());
    const std::int64_t mask = drops ? 0 : fault.integer_or("mask", 1, 0xFF, 0xFF);
    return {static_cast<std::uint64_t>(after), drops, static_cast<std::uint8_t>(mask)};
}

/// "mwc4a 0" as a board's name.
BoardName board_name(const TableReader& board, const toml::node& node)
{
    const std::string text = board.text_of(node, "reached_over", LONGEST_BOARD_TYPE + 3);
    const std::size_t blank = text.rfind(' ');
    const std::string digits = blank == std::string::npos ? "" : text.substr(blank + 1);
    const bool good = !digits.empty() && digits.size() <= 2 && blank != 0 &&
                      std::ranges::all_of(digits, [](char digit) { return digit >= '0' && digit <= '9'; });
    if (!good || std::stoi(digits) > LAST_BOARD)
        board.mistake(node, "\"reached_over\" must name boards by type and number, such as \"mwc4a 0\"");
    return {text.substr(0, blank), static_cast<std::uint16_t>(std::stoi(digits))};
}

/// Reads a whole description into a rack.
class RackReader
{
public:
    RackReader(TableReader top, const std::string& keep_folder)
        : top_{std::move(top)}, has_keep_folder_{!keep_folder.empty()}
    {
        rack_->keep_files_in(keep_folder);
    }

    std::shared_ptr<Rack> read()
    {
        top_.allow({"board", "fault"});
        const std::vector<TableReader> boards = top_.tables("board", "a board");
        if (boards.empty())
            top_.mistake("a rack needs at least one [[board]]");
        for (const TableReader& board : boards)
            read_board(board);
        for (const TableReader& board : boards)
            read_reach(board);
        for (const TableReader& fault : top_.tables("fault", "a fault"))
            read_call_fault(fault);
        return rack_;
    }

private:
    static BoardName name_of(const TableReader& board)
    {
        return {board.text("type", LONGEST_BOARD_TYPE),
                static_cast<std::uint16_t>(board.integer("number", 0, LAST_BOARD))};
    }

    void read_board(const TableReader& board)
    {
        board.allow({"type", "number", "reached_over", "opens", "latency_us", "bytes_per_second", "info_word",
                     "slot", "fault"});
        const BoardName name = name_of(board);
        if (std::ranges::find(names_, name) != names_.end())
            board.mistake("board " + quoted(name.type + " " + std::to_string(name.number)) +
                          " is described twice");
        names_.push_back(name);
        const std::size_t index = rack_->add_board(name);
        rack_->change_board(index, [&](BoardSettings& settings) {
            settings.opens = board.boolean_or("opens", true);
            settings.latency =
                std::chrono::microseconds{board.integer_or("latency_us", 0, LONGEST_LATENCY_US, 0)};
            settings.bytes_per_second =
                static_cast<std::uint64_t>(board.integer_or("bytes_per_second", 1, LARGEST_WORD, 0));
            settings.info_word =
                static_cast<std::uint32_t>(board.integer_or("info_word", 0, LARGEST_WORD, 0));
            for (const TableReader& fault : board.tables("fault", "a fault of a board"))
                settings.link_faults.push_back(read_link_fault(fault));
        });
        read_slots(board, index);
    }

    void read_slots(const TableReader& board, std::size_t index)
    {
        std::array<bool, SLOTS + 1> described{};
        for (const TableReader& slot : board.tables("slot", "a slot")) {
            const auto number = static_cast<unsigned>(slot.integer("number", 1, SLOTS));
            if (std::exchange(described.at(number), true))
                slot.mistake("slot " + std::to_string(number) + " is described twice");
            const Module module = read_module(slot);
            if (!module.keep_file.empty() && !has_keep_folder_)
                slot.mistake(*slot.find("keep"),
                             "\"keep\" needs a folder for kept files; name one in MWVIRTUAL_KEEP");
            rack_->put_module(index, number, &module);
        }
    }

    // Boards may name boards described later.
    void read_reach(const TableReader& board)
    {
        const toml::node* node = board.find("reached_over");
        if (node == nullptr)
            return;
        const std::size_t index = rack_->add_board(name_of(board));
        if (const toml::array* array = node->as_array()) {
            for (const toml::node& each : *array)
                add_reach(board, index, each);
        } else {
            add_reach(board, index, *node);
        }
    }

    void add_reach(const TableReader& board, std::size_t index, const toml::node& node)
    {
        const BoardName over = board_name(board, node);
        if (std::ranges::find(names_, over) == names_.end())
            board.mistake(node, "\"reached_over\" names " +
                                    quoted(over.type + " " + std::to_string(over.number)) +
                                    ", which is no board of this rack");
        rack_->change_board(index, [&](BoardSettings& settings) { settings.reached_over.push_back(over); });
    }

    void read_call_fault(const TableReader& fault)
    {
        fault.allow({"function", "call", "code", "text"});
        PlannedFailure failure{};
        failure.n =
            static_cast<std::uint64_t>(fault.integer("call", 1, std::numeric_limits<std::int64_t>::max()));
        failure.code = static_cast<std::uint32_t>(fault.integer("code", 1, LARGEST_WORD));
        failure.text = fault.text_or("text", "");
        if (fault.find("function") != nullptr) {
            Words names;
            for (std::size_t i = 0; i < FUNCTION_COUNT; ++i)
                names.emplace_back(function_name(static_cast<Function>(i)));
            failure.function = static_cast<Function>(fault.choice("function", names));
        }
        rack_->plan(std::move(failure));
    }

    TableReader top_;
    bool has_keep_folder_;
    std::shared_ptr<Rack> rack_ = std::make_shared<Rack>();
    std::vector<BoardName> names_;
};

} // namespace

std::shared_ptr<Rack> read_rack(const std::string& text, const std::string& file_name,
                                const std::string& keep_folder)
{
    try {
        const config::Document document{text, file_name};
        return RackReader{document.top("a rack"), keep_folder}.read();
    } catch (const config::Mistake& mistake) {
        throw RackError(mistake.what());
    }
}

std::shared_ptr<Rack> read_rack_file(const std::string& path, const std::string& keep_folder)
{
    constexpr std::size_t LARGEST_DESCRIPTION = 1U << 20;
    auto file = kvn::system::RegularFile::to_read(path.c_str());
    if (!file.is_open())
        throw RackError(path + ": the rack description cannot be read: " + file.problem());
    std::string text(LARGEST_DESCRIPTION + 1, '\0');
    std::size_t size = 0;
    while (size < text.size()) {
        const auto count = file.read(text.data() + size, text.size() - size);
        if (!count)
            throw RackError(path + ": the rack description cannot be read: " + file.problem());
        if (*count == 0)
            break;
        size += *count;
    }
    if (size > LARGEST_DESCRIPTION)
        throw RackError(path + ": the rack description is larger than a megabyte");
    text.resize(size);
    return read_rack(text, path, keep_folder);
}

} // namespace mwvirtual
