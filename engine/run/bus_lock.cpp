// SPDX-License-Identifier: Apache-2.0
// One run at a time on a bus: a locked file for each, which says who holds it.
#include "run/bus_lock.h"

#include "errors/failure.h"
#include "hashing/sha256.h"
#include "report/utc.h"
#include "run/event.h"
#include "system/host.h"
#include "system/places.h"
#include "system/process.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

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

constexpr mode_t ANYBODY_WRITES = 0666;

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

/// In a folder of all users the system refuses to open another user's file with the wish to create it: so
/// that is only asked for when there is none.
int open_or_create(const std::string& path)
{
    constexpr int flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    for (;;) {
        const int opened = ::open(path.c_str(), flags);
        if (opened >= 0 || errno != ENOENT)
            return opened;
        const int created = ::open(path.c_str(), flags | O_CREAT | O_EXCL, ANYBODY_WRITES);
        if (created >= 0) {
            (void)::fchmod(created, ANYBODY_WRITES); // whatever the umask
            return created;
        }
        if (errno != EEXIST)
            return -1;
    }
}

system::Descriptor open_lock(const std::string& path, const BoardName& bus)
{
    system::Descriptor file{open_or_create(path)};
    if (!file.is_open())
        cannot_lock(path, bus, std::generic_category().message(errno));
    struct stat status {
    };
    if (::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode))
        cannot_lock(path, bus, "it is no regular file");
    return file;
}

void write_holder(const system::Descriptor& file, const std::string& program)
{
    const std::string line = event_line({{"process", std::to_string(system::own_process_id())},
                                         {"user", system::user_name()},
                                         {"program", program},
                                         {"since", utc_text(std::chrono::system_clock::now())}});
    // What cannot be told does not hurt the lock.
    (void)!::ftruncate(file.number(), 0);
    (void)!::pwrite(file.number(), line.data(), line.size(), 0);
}

BusHolder read_holder(const system::Descriptor& file)
{
    std::array<char, 4096> text{};
    const ssize_t size = ::pread(file.number(), text.data(), text.size(), 0);
    BusHolder holder;
    if (size <= 0)
        return holder;
    try {
        const Json json = read_json_line({text.data(), static_cast<std::size_t>(size)});
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
    const std::string folder = std::filesystem::weakly_canonical(state_folder, unknown).string();
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
    if (::flock(file.number(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK)
            cannot_lock(path, bus, std::generic_category().message(errno));
        return read_holder(file);
    }
    write_holder(file, program);
    return BusLock{std::move(file)};
}

} // namespace kvn
