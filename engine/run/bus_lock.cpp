// SPDX-License-Identifier: Apache-2.0
// One run at a time on a bus: a locked file for each, which says who holds it.
#include "run/bus_lock.h"

#include "errors/failure.h"
#include "hashing/sha256.h"
#include "report/utc.h"
#include "run/event.h"
#include "system/file.h"
#include "system/host.h"
#include "system/lock_file.h"
#include "system/path_text.h"
#include "system/places.h"
#include "system/process.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace kvn
{
namespace
{

/// The type of a board may hold any printable character: only some are left as they are.
std::string file_name(const std::string& prefix, const BoardName& bus)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string name = "kvn-" + prefix;
    for (const char c : bus.type) {
        const auto byte = static_cast<unsigned char>(c);
        const bool is_plain =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
        if (is_plain)
            name += c;
        else
            name.append({'%', digits[byte >> 4U], digits[byte & 15U]});
    }
    return name + "-" + std::to_string(bus.number) + ".lock";
}

[[noreturn]] void cannot_lock(const std::string& path, const BoardName& bus, const std::string& why)
{
    throw FailureError{
        {.status = ExitStatus::file,
         .what = path + ": bus " + to_text(bus) + " cannot be locked: " + why,
         .remedy = "set KVN_LOCK_FOLDER to a folder that all users of the boards can write to"}};
}

system::Descriptor open_lock(const std::string& path, const BoardName& bus)
{
    system::Descriptor file = system::open_lock_file(path);
    if (!file.is_open())
        cannot_lock(path, bus, std::generic_category().message(errno));
    if (system::kind_of(file.number()) != system::FileKind::regular)
        cannot_lock(path, bus, "it is no regular file");
    return file;
}

void write_holder(const system::Descriptor& file, const std::string& program)
{
    const std::string line = event_line({{"process", std::to_string(system::own_process_id())},
                                         {"user", system::user_name()},
                                         {"program", program},
                                         {"since", utc_text(std::chrono::system_clock::now())}});
    system::rewrite(file, line);
}

BusHolder read_holder(const system::Descriptor& file)
{
    std::array<char, 4096> text{};
    const auto size = system::read_at(file.number(), text, 0);
    BusHolder holder;
    if (!size || *size == 0)
        return holder;
    try {
        const Json json = read_json_line({text.data(), *size});
        const auto member = [&](const char* name) {
            const auto found = json.find(name);
            return found != json.end() && found->is_string() ? found->get<std::string>() : std::string{};
        };
        holder = {member("process"), member("user"), member("program"), member("since")};
    } catch (const EventError&) {
        // Somebody else's file, or one that is being written: nobody is named.
    }
    return holder;
}

const char* variable(const char* name)
{
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): no thread changes the environment
    return value == nullptr ? "" : value;
}

} // namespace

std::string BusHolder::text() const
{
    std::string words = process.empty() ? "another process" : "process " + process;
    if (!user.empty())
        words += " of " + user;
    if (!program.empty())
        words += " (" + program + ")";
    if (!since.empty())
        words += " since " + since;
    return words;
}

std::string lock_folder()
{
    std::string wish = variable("KVN_LOCK_FOLDER");
    if (!wish.empty())
        return wish;
    return system::shared_lock_folder();
}

std::optional<std::string> lock_prefix(const ProviderIdentity& provider, const char* state_folder)
{
    if (!provider.simulated)
        return "";
    if (state_folder == nullptr || *state_folder == '\0')
        return std::nullopt;
    std::error_code unknown;
    const std::string folder =
        system::text_of(std::filesystem::weakly_canonical(system::path_of(state_folder), unknown));
    hashing::Sha256 sum;
    sum.take({reinterpret_cast<const std::uint8_t*>(folder.data()), folder.size()});
    constexpr std::size_t enough = 16;
    return "virtual-" + sum.finish().substr(0, enough) + "-";
}

std::variant<BusLock, BusHolder> BusLock::take(const std::string& folder, const std::string& prefix,
                                               const BoardName& bus, const std::string& program)
{
    const std::string path = folder + "/" + file_name(prefix, bus);
    system::Descriptor file = open_lock(path, bus);
    const int error = system::take_lock_file(file);
    if (error == EWOULDBLOCK)
        return read_holder(file);
    if (error != 0)
        cannot_lock(path, bus, std::generic_category().message(error));
    write_holder(file, program);
    return BusLock{std::move(file)};
}

} // namespace kvn
