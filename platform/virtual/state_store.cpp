// SPDX-License-Identifier: Apache-2.0
// Keeps the state of modules in a folder, across processes and for several of them at once.
#include "state_store.h"

#include "system/file.h"
#include "system/process.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <set>

namespace mwvirtual
{
namespace
{

using Access = StateFolder::Access;
using Missing = StateFolder::Missing;

// What a killed process has sent is known to within this number of bytes.
constexpr std::size_t BLOCK = 64U << 10;
constexpr std::size_t LONGEST_STATE = 64U << 10;
constexpr std::size_t LONGEST_CONFIGURATION = 256U << 20;
constexpr std::string_view STATE = ".json";
constexpr std::string_view BITS = ".bits";
constexpr std::string_view TEMPORARY = ".new";
constexpr std::string_view PLAIN_CHARACTERS =
    "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
constexpr std::string_view HEX_DIGITS = "0123456789ABCDEF";

std::string file_name(const ModuleName& name, std::string_view extension)
{
    std::string text;
    for (const char each : name.board.type) {
        const auto code = static_cast<unsigned char>(each);
        if (PLAIN_CHARACTERS.find(each) != std::string_view::npos)
            text += each;
        else
            text += {'%', HEX_DIGITS[code >> 4U], HEX_DIGITS[code & 0xFU]};
    }
    text += '-' + std::to_string(name.board.number) + '-' + std::to_string(name.slot);
    return text.append(extension);
}

/// Takes a number off the end of a text, and the dash before it.
template <class Number>
bool take_number(std::string_view& text, Number& number)
{
    const std::size_t dash = text.rfind('-');
    if (dash == std::string_view::npos)
        return false;
    const std::string_view digits = text.substr(dash + 1);
    text = text.substr(0, dash);
    return std::from_chars(digits.data(), digits.data() + digits.size(), number).ec == std::errc{};
}

std::string without_escapes(std::string_view text)
{
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '%' && at + 2 < text.size()) {
            const std::size_t high = HEX_DIGITS.find(text[at + 1]);
            const std::size_t low = HEX_DIGITS.find(text[at + 2]);
            plain += static_cast<char>(high * 16 + low);
            at += 2;
        } else {
            plain += text[at];
        }
    }
    return plain;
}

/// The module that a file belongs to; nothing for a foreign file.
std::optional<ModuleName> module_of(std::string_view file)
{
    const std::size_t dot = file.rfind('.');
    const std::string_view extension = dot == std::string_view::npos ? "" : file.substr(dot);
    if (extension != STATE && extension != BITS)
        return std::nullopt;
    ModuleName name;
    std::string_view rest = file.substr(0, dot);
    if (!take_number(rest, name.slot) || !take_number(rest, name.board.number))
        return std::nullopt;
    name.board.type = without_escapes(rest);
    // Only names as they are written: no leading zeros, no needless escapes.
    const bool is_ours = name.slot >= 1 && name.slot <= 4 && file_name(name, extension) == file;
    return is_ours ? std::optional{name} : std::nullopt;
}

ModuleState empty_state(const ModuleName& name, const std::string& device)
{
    ModuleState state;
    state.name = name;
    state.device = device;
    return state;
}

/// Waits while files change, and then holds the lock.
void hold_changes(const StateFolder& folder, const ModuleName& name, const Descriptor& bits)
{
    if (!wait_for_lock(bits, Lock::change))
        folder.fail(file_name(name, BITS));
}

ModuleState read_state(const StateFolder& folder, const ModuleName& name)
{
    const std::string file = file_name(name, STATE);
    const std::optional<std::string> text = folder.read(file, LONGEST_STATE);
    if (!text)
        return empty_state(name, "");
    std::optional<ModuleState> state = state_of(*text);
    if (!state || state->name != name)
        folder.fail(file, "it is no state of " + name.text());
    return *std::move(state);
}

void empty(const StateFolder& folder, const ModuleName& name, const Descriptor& bits)
{
    errno = kvn::system::cut_to(bits.number(), 0);
    if (errno != 0)
        folder.fail(file_name(name, BITS));
}

void write_state_of(const StateFolder& folder, const ModuleState& state)
{
    folder.replace(file_name(state.name, STATE), file_name(state.name, TEMPORARY), state_text(state));
}

/// The configuration that a state stands for; nothing if the file holds another one.
std::optional<std::vector<std::uint8_t>> configuration_of(const StateFolder& folder, const ModuleState& state)
{
    std::vector<std::uint8_t> bytes;
    if (state.bytes == 0)
        return bytes;
    const std::string name = file_name(state.name, BITS);
    if (state.bytes > LONGEST_CONFIGURATION)
        folder.fail(name, "it is too long");
    const Descriptor file = folder.open(name, Access::reads, Missing::is_nothing);
    if (!file.is_open())
        return std::nullopt;
    const std::optional<std::uint64_t> held = kvn::system::size_of(file);
    if (!held)
        folder.fail(name);
    if (*held < state.bytes)
        return std::nullopt;
    bytes.resize(static_cast<std::size_t>(state.bytes));
    const std::optional<std::size_t> size = kvn::system::read_all_at(file, bytes, 0);
    if (!size)
        folder.fail(name);
    const bool is_whole =
        *size == bytes.size() && (state.digest.empty() || hashing::digest_of(bytes) == state.digest);
    return is_whole ? std::optional{std::move(bytes)} : std::nullopt;
}

} // namespace

StoredMessage::StoredMessage(std::shared_ptr<const StateFolder> folder, Descriptor bits, ModuleState state)
    : folder_{std::move(folder)}, bits_{std::move(bits)}, state_{std::move(state)}
{
    write_state();
}

/// Once an operation has failed, the files no longer follow the module.
template <class Action>
void StoredMessage::attempt(Action action)
{
    if (!failure_.empty())
        throw StateError{failure_};
    try {
        action();
    } catch (const StateError& error) {
        failure_ = error.what();
        throw;
    }
}

std::uint64_t StoredMessage::begin_load(bool compressed)
{
    attempt([&] {
        const std::optional<BegunMessage> message = std::move(state_.message);
        const std::uint64_t loads = state_.loads;
        state_ = empty_state(state_.name, state_.device);
        state_.message = message;
        state_.holding = Holding::part;
        state_.loads = loads == UINT64_MAX ? loads : loads + 1;
        state_.compressed = compressed;
        state_.reason = "the load has not ended";
        // In this order: the state that needed the old bits is gone before they are.
        write_state();
        empty(*folder_, state_.name, bits_);
    });
    return state_.loads;
}

void StoredMessage::take(std::span<const std::uint8_t> configuration)
{
    attempt([&] {
        while (!configuration.empty()) {
            const auto part = configuration.first(std::min(configuration.size(), BLOCK - block_.size()));
            block_.insert(block_.end(), part.begin(), part.end());
            configuration = configuration.subspan(part.size());
            if (block_.size() == BLOCK) {
                write_block();
                write_state();
            }
        }
    });
}

void StoredMessage::judge(Verdict verdict, std::string_view reason)
{
    attempt([&] {
        write_block();
        state_.holding = verdict == Verdict::success ? Holding::running : Holding::refused;
        state_.digest = digest_.finish();
        state_.verdict = verdict;
        state_.reason = reason;
    });
}

void StoredMessage::end()
{
    if (failure_.empty())
        attempt([&] {
            write_block();
            state_.message.reset();
            write_state();
        });
    bits_.close();
}

void StoredMessage::write_block()
{
    if (!kvn::system::write_all_at(bits_, block_, state_.bytes))
        folder_->fail(file_name(state_.name, BITS));
    digest_.take(block_);
    state_.bytes += block_.size();
    block_.clear();
}

void StoredMessage::write_state()
{
    write_state_of(*folder_, state_);
}

StateStore::StateStore(std::string folder) : folder_{std::make_shared<StateFolder>(std::move(folder))} {}

ModuleState StateStore::read(const ModuleName& name) const
{
    return read_state(*folder_, name);
}

// A load may begin between the reading of the state and that of the bits. Then both are read again.
StateStore::Held StateStore::read_all(const ModuleName& name) const
{
    for (ModuleState state = read(name);;) {
        std::optional<std::vector<std::uint8_t>> configuration = configuration_of(*folder_, state);
        ModuleState after = read(name);
        if (configuration && after == state)
            return {std::move(state), *std::move(configuration)};
        if (after == state)
            folder_->fail(file_name(name, BITS), "it is not the configuration of " + name.text());
        state = std::move(after);
    }
}

bool StateStore::is_receiving(const ModuleName& name) const
{
    const Descriptor bits = folder_->open(file_name(name, BITS), Access::reads, Missing::is_nothing);
    if (!bits.is_open())
        return false;
    if (!wait_for_lock(bits, Lock::change, false))
        folder_->fail(file_name(name, BITS));
    return is_locked(bits, Lock::message);
}

std::unique_ptr<StoredMessage> StateStore::begin_message(const ModuleName& name, const std::string& device,
                                                         const BoardName& bus, Sent sent) const
{
    Descriptor bits = folder_->open(file_name(name, BITS), Access::writes_too, Missing::is_created);
    hold_changes(*folder_, name, bits);
    if (!try_lock(bits, Lock::message))
        return nullptr;
    ModuleState state = read(name);
    if (state.device != device)
        state = empty_state(name, device);
    state.message = BegunMessage{bus, static_cast<std::uint64_t>(kvn::system::own_process_id())};
    std::unique_ptr<StoredMessage> message{new StoredMessage{folder_, std::move(bits), std::move(state)}};
    if (sent == Sent::in_pieces)
        unlock(message->bits_, Lock::change);
    return message;
}

void StateStore::drop_left_message(const ModuleName& name, const BoardName& bus) const
{
    const auto is_left = [&](const ModuleState& state) { return state.message && state.message->bus == bus; };
    if (!is_left(read(name)))
        return;
    const Descriptor bits = folder_->open(file_name(name, BITS), Access::writes_too, Missing::is_created);
    hold_changes(*folder_, name, bits);
    if (!try_lock(bits, Lock::message))
        return; // it is being sent
    ModuleState state = read(name);
    if (!is_left(state))
        return;
    state.message.reset();
    write_state_of(*folder_, state);
}

std::vector<ModuleName> StateStore::modules() const
{
    std::set<ModuleName> names;
    for (const std::string& file : folder_->names()) {
        if (std::optional<ModuleName> name = module_of(file))
            names.insert(*std::move(name));
    }
    return {names.begin(), names.end()};
}

std::optional<ModuleName> StateStore::switch_power_off_and_on() const
{
    std::vector<std::pair<ModuleName, Descriptor>> held;
    for (const ModuleName& name : modules()) {
        Descriptor bits = folder_->open(file_name(name, BITS), Access::writes_too, Missing::is_created);
        hold_changes(*folder_, name, bits);
        if (!try_lock(bits, Lock::message))
            return name;
        held.emplace_back(name, std::move(bits));
    }
    for (const auto& [name, bits] : held) {
        write_state_of(*folder_, empty_state(name, ""));
        empty(*folder_, name, bits);
    }
    return std::nullopt;
}

} // namespace mwvirtual
