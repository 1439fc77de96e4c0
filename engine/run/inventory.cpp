// SPDX-License-Identifier: Apache-2.0
// What the modules of a plan say of themselves, bus by bus.
#include "run/inventory.h"

#include "module/bus_session.h"
#include "module/load.h"
#include "report/module_json.h"

#include <algorithm>
#include <limits>

namespace kvn
{
namespace
{

constexpr int HIGHEST_STATUS = static_cast<int>(ExitStatus::timed_out);
constexpr std::uint64_t HIGHEST_BYTE = 255;

[[noreturn]] void no_inventory(const std::string& what)
{
    throw FailureError{{.status = ExitStatus::internal, .what = "this is no inventory of a bus: " + what}};
}

const Json& member(const Json& json, const char* name)
{
    if (!json.is_object())
        no_inventory("an object was expected");
    const auto found = json.find(name);
    if (found == json.end())
        no_inventory(std::string{"it has no member "} + name);
    return *found;
}

std::string text_of(const Json& json, const char* name)
{
    const Json& value = member(json, name);
    if (!value.is_string())
        no_inventory(std::string{name} + " is no text");
    return value.get<std::string>();
}

std::string text_or_none(const Json& json, const char* name)
{
    return member(json, name).is_null() ? "" : text_of(json, name);
}

template <class Number>
Number number_in(const Json& value, const char* name, std::uint64_t most)
{
    const bool is_natural =
        value.is_number_unsigned() || (value.is_number_integer() && value.get<std::int64_t>() >= 0);
    if (!is_natural || value.get<std::uint64_t>() > most)
        no_inventory(std::string{name} + " is no number from 0 to " + std::to_string(most));
    return static_cast<Number>(value.get<std::uint64_t>());
}

std::optional<unsigned> byte_or_none(const Json& json, const char* name)
{
    const Json& value = member(json, name);
    return value.is_null() ? std::nullopt : std::optional{number_in<unsigned>(value, name, HIGHEST_BYTE)};
}

/// The word's place in an enumeration whose values have these names.
template <class Value>
Value named(const Json& json, const char* name, std::initializer_list<Value> values)
{
    const std::string word = text_of(json, name);
    const auto* found = std::ranges::find_if(values, [&](Value value) { return word == name_of(value); });
    if (found == values.end())
        no_inventory(std::string{name} + " is none of its words");
    return *found;
}

std::optional<Failure> read_failure(const Json& json)
{
    const Json& failure = member(json, "failure");
    if (failure.is_null())
        return std::nullopt;
    const auto status = number_in<int>(member(failure, "status"), "status", HIGHEST_STATUS);
    if (status == 0)
        no_inventory("a failure has the status 0");
    const Json& number = member(failure, "number");
    return Failure{.status = static_cast<ExitStatus>(status),
                   .number =
                       number.is_null()
                           ? 0
                           : number_in<int>(number, "number", std::uint64_t{std::numeric_limits<int>::max()}),
                   .what = text_of(failure, "what"),
                   .why = text_or_none(failure, "why"),
                   .remedy = text_or_none(failure, "remedy")};
}

std::optional<std::array<std::uint32_t, SLOT_INFO_WORDS>> read_words(const Json& json)
{
    const Json& words = member(json, "info_words");
    if (words.is_null())
        return std::nullopt;
    if (!words.is_array() || words.size() != SLOT_INFO_WORDS)
        no_inventory("info_words are not five numbers");
    std::array<std::uint32_t, SLOT_INFO_WORDS> numbers{};
    std::ranges::transform(words, numbers.begin(), [](const Json& word) {
        return number_in<std::uint32_t>(word, "info_words", std::numeric_limits<std::uint32_t>::max());
    });
    return numbers;
}

/// Names are as strict as on a command line, and wrong ones as wrong as any other member.
template <class Name>
Name read_name(Name (*parse)(std::string_view), const std::string& text)
{
    try {
        return parse(text);
    } catch (const FailureError& error) {
        no_inventory(error.what());
    }
}

} // namespace

const SlotRow* BusInventory::find(const ModuleName& module) const
{
    const auto row = std::ranges::find(slots, module, &SlotRow::name);
    return row == slots.end() ? nullptr : &*row;
}

std::vector<BoardName> buses_of(std::span<const PlannedModule> modules)
{
    std::vector<BoardName> buses;
    for (const PlannedModule& module : modules)
        if (std::ranges::find(buses, module.module.board) == buses.end())
            buses.push_back(module.module.board);
    return buses;
}

std::vector<ModuleName> modules_on(const BoardName& bus, std::span<const PlannedModule> modules)
{
    std::vector<ModuleName> names;
    for (const PlannedModule& module : modules)
        if (module.module.board == bus && std::ranges::find(names, module.module) == names.end())
            names.push_back(module.module);
    return names;
}

BusInventory take_inventory(const Provider& provider, const BoardName& bus,
                            std::span<const ModuleName> modules)
{
    require_valid(bus);
    std::ranges::for_each(modules, [](const ModuleName& module) { require_valid(module); });
    LoadControl none;
    BusSession session{provider, none};
    BusInventory inventory{.bus = bus};
    inventory.failure = session.open(bus);
    if (!inventory.failure)
        for (const ModuleName& module : modules)
            inventory.slots.push_back(session.ask(module));
    return inventory;
}

Json to_json(const BusInventory& inventory)
{
    Json slots = Json::array();
    for (const SlotRow& slot : inventory.slots)
        slots.push_back(to_json(slot));
    return {{"bus", to_text(inventory.bus)},
            {"failure", inventory.failure ? to_json(*inventory.failure) : Json{}},
            {"slots", std::move(slots)}};
}

ModuleIdentity read_module_identity(const Json& json)
{
    ModuleIdentity module{.type = number_in<unsigned>(member(json, "type"), "type", HIGHEST_BYTE),
                          .model = byte_or_none(json, "model"),
                          .version = byte_or_none(json, "version")};
    if (!member(json, "device").is_null())
        module.device = text_of(json, "device");
    module.compression =
        named(json, "compression", {Compression::unknown, Compression::no, Compression::yes});
    return module;
}

SlotRow read_slot_row(const Json& json)
{
    const Json& identity = member(json, "identity");
    return {.name = read_name(&parse_module_name, text_of(json, "module")),
            .kind = named(json, "kind",
                          {SlotKind::unknown, SlotKind::empty, SlotKind::processor, SlotKind::without_bus,
                           SlotKind::module}),
            .info_words = read_words(json),
            .module = identity.is_null() ? std::nullopt : std::optional{read_module_identity(identity)},
            .failure = read_failure(json)};
}

BusInventory read_bus_inventory(const Json& json)
{
    BusInventory inventory{.bus = read_name(&parse_board_name, text_of(json, "bus")),
                           .failure = read_failure(json)};
    const Json& slots = member(json, "slots");
    if (!slots.is_array())
        no_inventory("slots is no list");
    for (const Json& slot : slots)
        inventory.slots.push_back(read_slot_row(slot));
    return inventory;
}

} // namespace kvn
