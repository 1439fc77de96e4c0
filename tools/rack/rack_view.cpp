// SPDX-License-Identifier: Apache-2.0
// What the modules of a state folder hold, for people and for programs.
#include "rack_view.h"

#include "control_characters.h"
#include "encoding.h"

#include <algorithm>
#include <array>
#include <map>
#include <ostream>

namespace rack
{
namespace
{

using Json = nlohmann::ordered_json;
using mwvirtual::BoardName;
using mwvirtual::ModuleName;
using mwvirtual::ModuleState;

constexpr std::size_t COLUMNS = 6;
using Row = std::array<std::string, COLUMNS>;
constexpr std::array<bool, COLUMNS> IS_NUMBER{false, false, true, true, false, false};

std::string or_dash(const std::string& text)
{
    return text.empty() ? "-" : printable(text);
}

Row row_of(const ModuleState& state)
{
    return {printable(state.name.text()),
            std::string{name_of(state.holding)},
            std::to_string(state.loads),
            std::to_string(state.bytes),
            state.verdict ? mwvirtual::verdict_name(*state.verdict) : "-",
            or_dash(state.digest)};
}

void print_table(std::ostream& out, const std::vector<Row>& rows)
{
    std::array<std::size_t, COLUMNS> widths{};
    for (const Row& row : rows)
        for (std::size_t i = 0; i < COLUMNS; ++i)
            widths.at(i) = std::max(widths.at(i), row.at(i).size());
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < COLUMNS; ++i) {
            const std::string blanks(widths.at(i) - row.at(i).size(), ' ');
            out << (i == 0 ? "" : "  ") << (IS_NUMBER.at(i) ? blanks + row.at(i) : row.at(i));
            if (!IS_NUMBER.at(i) && i + 1 != COLUMNS)
                out << blanks;
        }
        out << '\n';
    }
}

/// A text, or its bytes in hexadecimal if it is not UTF-8.
Json json_text(const std::string& text)
{
    if (mwtrace::is_utf8(text))
        return text;
    return Json{{"hex", mwtrace::hex({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()})}};
}

Json json_of_module(const ModuleView& module)
{
    const ModuleState& state = module.state;
    Json json;
    json["module"] = json_text(state.name.text());
    json["device"] = state.device.empty() ? Json{} : json_text(state.device);
    json["state"] = name_of(state.holding);
    json["loads"] = state.loads;
    json["bytes"] = state.bytes;
    json["compressed"] = state.holding == mwvirtual::Holding::nothing ? Json{} : Json(state.compressed);
    json["digest"] = state.digest.empty() ? Json{} : Json(state.digest);
    json["verdict"] = state.verdict ? Json(static_cast<unsigned>(*state.verdict)) : Json{};
    json["verdict_name"] = state.verdict ? Json(mwvirtual::verdict_name(*state.verdict)) : Json{};
    json["reason"] = state.reason.empty() ? Json{} : json_text(state.reason);
    return json;
}

/// The modules with an open message, by the bus over which it is sent.
std::map<BoardName, std::vector<const ModuleView*>> open_messages(const RackView& view)
{
    std::map<BoardName, std::vector<const ModuleView*>> by_bus;
    for (const ModuleView& module : view.modules) {
        if (module.state.message)
            by_bus[module.state.message->bus].push_back(&module);
    }
    return by_bus;
}

Json json_of_buses(const RackView& view)
{
    Json buses = Json::array();
    for (const auto& [bus, modules] : open_messages(view)) {
        Json messages = Json::array();
        for (const ModuleView* module : modules) {
            Json message;
            message["module"] = json_text(module->state.name.text());
            message["process"] = module->state.message->process;
            message["sending"] = module->is_receiving;
            messages.push_back(std::move(message));
        }
        Json json;
        json["bus"] = json_text(bus.text());
        json["messages"] = std::move(messages);
        buses.push_back(std::move(json));
    }
    return buses;
}

ModuleView view_of_module(const mwvirtual::StateStore& store, const ModuleName& name)
{
    // In this order: a message that ends in between is seen as ended, and not as left.
    const bool was_receiving = store.is_receiving(name);
    ModuleView view{store.read_all(name).state, was_receiving};
    // One that began in between is seen as under way.
    if (view.state.message && !view.is_receiving)
        view.is_receiving = store.is_receiving(name);
    return view;
}

} // namespace

std::string printable(std::string_view text)
{
    std::string shown;
    utility::escape_controls(text, "", [&](std::string_view part) { shown += part; });
    return shown;
}

RackView view_of(const mwvirtual::StateStore& store)
{
    RackView view;
    for (const ModuleName& name : store.modules()) {
        try {
            view.modules.push_back(view_of_module(store, name));
        } catch (const mwvirtual::StateError& error) {
            view.problems.emplace_back(error.what());
        }
    }
    return view;
}

void print(std::ostream& out, const RackView& view)
{
    if (view.modules.empty()) {
        out << "No module has a state.\n";
        return;
    }
    std::vector<Row> rows{{"Module", "State", "Loads", "Bytes", "Verdict", "Digest"}};
    for (const ModuleView& module : view.modules)
        rows.push_back(row_of(module.state));
    print_table(out, rows);
    for (const auto& [bus, modules] : open_messages(view)) {
        for (const ModuleView* module : modules)
            out << "Bus " << printable(bus.text()) << ": process " << module->state.message->process
                << (module->is_receiving ? " is sending to " : " has ended, and left a message open to ")
                << printable(module->state.name.text()) << '\n';
    }
}

Json json_of(const RackView& view)
{
    Json json;
    Json modules = Json::array();
    for (const ModuleView& module : view.modules)
        modules.push_back(json_of_module(module));
    json["modules"] = std::move(modules);
    json["buses"] = json_of_buses(view);
    Json problems = Json::array();
    for (const std::string& problem : view.problems)
        problems.push_back(json_text(problem));
    json["problems"] = std::move(problems);
    return json;
}

} // namespace rack
