// SPDX-License-Identifier: Apache-2.0
// What a module holds, as a record that outlives the process.
#include "module_state.h"

#include "encoding.h"
#include "json.h"

#include <algorithm>
#include <array>
#include <utility>

namespace mwvirtual
{
namespace
{

using mwtrace::Json;

constexpr std::uint64_t VERSION = 1;
constexpr std::uint64_t PLAIN = 3;
constexpr std::uint64_t COMPRESSED = 13;
constexpr std::size_t DIGEST_DIGITS = 64;
constexpr std::uint64_t LAST_BOARD_NUMBER = 0xFFFF;
constexpr std::uint64_t LAST_SLOT = 4;
constexpr Json::Limits LIMITS{.depth = 3, .events = 200};

constexpr std::array<std::pair<Holding, std::string_view>, 4> HOLDINGS = {{
    {Holding::nothing, "empty"},
    {Holding::part, "part of its data"},
    {Holding::refused, "refused"},
    {Holding::running, "running"},
}};

Json json_of(const std::optional<BegunMessage>& message)
{
    if (!message)
        return {};
    Json json = Json::object();
    json.set("board_type", mwtrace::text_to_json(message->bus.type));
    json.set("board", message->bus.number);
    json.set("process", message->process);
    return json;
}

/// Reads the members of an object, and remembers whether one was missing or of another kind.
class Members
{
public:
    explicit Members(const Json& object) : object_{object} {}

    std::uint64_t number(std::string_view name, std::uint64_t last = UINT64_MAX)
    {
        const std::uint64_t* number = object_.at(name).number();
        return accept(number != nullptr && *number <= last) ? *number : 0;
    }
    std::string text(std::string_view name)
    {
        std::optional<std::string> text = mwtrace::text_from_json(object_.at(name));
        return accept(text.has_value()) ? *std::move(text) : std::string{};
    }
    BoardName board()
    {
        BoardName name;
        name.type = text("board_type");
        name.number = static_cast<std::uint16_t>(number("board", LAST_BOARD_NUMBER));
        return name;
    }
    bool accept(bool good)
    {
        good_ = good_ && good;
        return good;
    }
    [[nodiscard]] bool good() const { return good_; }

private:
    const Json& object_;
    bool good_ = true;
};

std::optional<Holding> holding_of(std::string_view name)
{
    const auto* const found = std::ranges::find(HOLDINGS, name, &decltype(HOLDINGS)::value_type::second);
    return found == HOLDINGS.end() ? std::nullopt : std::optional{found->first};
}

bool is_digest(std::string_view text)
{
    return text.size() == DIGEST_DIGITS &&
           text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// Whether the facts of a state belong together.
bool is_consistent(const ModuleState& state)
{
    switch (state.holding) {
    case Holding::nothing:
        return state.bytes == 0 && state.digest.empty() && !state.verdict;
    case Holding::part:
        return state.loads != 0 && state.digest.empty() && !state.verdict;
    default:
        return state.loads != 0 && is_digest(state.digest) && state.verdict &&
               (*state.verdict == Verdict::success) == (state.holding == Holding::running);
    }
}

} // namespace

std::string_view name_of(Holding holding)
{
    return std::ranges::find(HOLDINGS, holding, &decltype(HOLDINGS)::value_type::first)->second;
}

std::string state_text(const ModuleState& state)
{
    Json json = Json::object();
    json.set("version", VERSION);
    json.set("board_type", mwtrace::text_to_json(state.name.board.type));
    json.set("board", state.name.board.number);
    json.set("slot", state.name.slot);
    json.set("device", mwtrace::text_to_json(state.device));
    json.set("state", name_of(state.holding));
    json.set("loads", state.loads);
    json.set("command",
             state.holding == Holding::nothing ? Json() : Json(state.compressed ? COMPRESSED : PLAIN));
    json.set("bytes", state.bytes);
    json.set("digest", state.digest.empty() ? Json() : Json(state.digest));
    json.set("verdict", state.verdict ? Json(static_cast<std::uint8_t>(*state.verdict)) : Json());
    json.set("reason", mwtrace::text_to_json(state.reason));
    json.set("message", json_of(state.message));
    return json.dump() + '\n';
}

std::optional<ModuleState> state_of(std::string_view text)
{
    const std::optional<Json> json = Json::parse(text, LIMITS);
    if (!json || !json->is_object())
        return std::nullopt;
    Members members{*json};
    members.accept(members.number("version") == VERSION);
    ModuleState state;
    state.name.board = members.board();
    state.name.slot = static_cast<unsigned>(members.number("slot", LAST_SLOT));
    members.accept(state.name.slot != 0);
    state.device = members.text("device");
    const std::optional<Holding> holding = holding_of(members.text("state"));
    state.holding = members.accept(holding.has_value()) ? *holding : Holding::nothing;
    state.loads = members.number("loads");
    if (!json->at("command").is_null()) {
        const std::uint64_t command = members.number("command");
        members.accept(command == PLAIN || command == COMPRESSED);
        state.compressed = command == COMPRESSED;
    }
    state.bytes = members.number("bytes");
    if (!json->at("digest").is_null())
        state.digest = members.text("digest");
    if (!json->at("verdict").is_null()) {
        const auto verdict = static_cast<std::uint8_t>(
            members.number("verdict", static_cast<std::uint64_t>(Verdict::no_fpga)));
        members.accept(verdict != 0);
        state.verdict = static_cast<Verdict>(verdict);
    }
    state.reason = members.text("reason");
    if (const Json& message = json->at("message"); !message.is_null()) {
        Members of_message{message};
        state.message = BegunMessage{of_message.board(), of_message.number("process")};
        members.accept(of_message.good());
    }
    if (!members.good() || !is_consistent(state))
        return std::nullopt;
    return state;
}

} // namespace mwvirtual
