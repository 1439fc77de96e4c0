// SPDX-License-Identifier: Apache-2.0
// Runs another program to its end.
#include "system/program.h"

#include "system/descriptor.h"
#include "system/memory_file.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <span>
#include <system_error>

namespace kvn::system
{
namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t MOST_OUTPUT = std::size_t{64} << 10;
constexpr int FIRST_FILE = 3;
/// Descriptors that lie here are out of the way of those that the program gets.
constexpr int OUT_OF_THE_WAY = 64;

[[noreturn]] void fail(int error, const char* what)
{
    throw std::system_error{error, std::generic_category(), what};
}

/// The descriptor that a call has made.
Descriptor made(int number)
{
    if (number == -1)
        fail(errno, "descriptor");
    return Descriptor{number};
}

Descriptor out_of_the_way(int number)
{
    return made(::fcntl(number, F_DUPFD_CLOEXEC, OUT_OF_THE_WAY));
}

/// A content as a descriptor, open for reading at its beginning.
Descriptor descriptor_of(std::string_view content)
{
    MemoryFile memory;
    memory.append({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()});
    memory.seal();
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file{memory.open(), &std::fclose};
    return out_of_the_way(::fileno(file.get()));
}

struct Pipe {
    Descriptor read;
    Descriptor write;
};

Pipe make_pipe()
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        fail(errno, "pipe");
    const Descriptor read{ends[0]};
    const Descriptor write{ends[1]};
    return {out_of_the_way(read.number()), out_of_the_way(write.number())};
}

/// What becomes of descriptors in the new process.
class Actions
{
public:
    Actions() { check(::posix_spawn_file_actions_init(&actions_)); }
    ~Actions() { (void)::posix_spawn_file_actions_destroy(&actions_); }
    Actions(const Actions&) = delete;
    Actions& operator=(const Actions&) = delete;

    void give(const Descriptor& descriptor, int number)
    {
        check(::posix_spawn_file_actions_adddup2(&actions_, descriptor.number(), number));
    }
    void close_from(int number) { check(::posix_spawn_file_actions_addclosefrom_np(&actions_, number)); }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    static void check(int error)
    {
        if (error != 0)
            fail(error, "posix_spawn_file_actions");
    }
    posix_spawn_file_actions_t actions_{};
};

/// Signals as in a program that a shell starts, and a process group of its own: Ctrl-C is ours to answer.
class Attributes
{
public:
    Attributes()
    {
        sigset_t none;
        sigset_t all;
        (void)::sigemptyset(&none);
        (void)::sigfillset(&all);
        (void)::posix_spawnattr_init(&attributes_);
        (void)::posix_spawnattr_setsigmask(&attributes_, &none);
        (void)::posix_spawnattr_setsigdefault(&attributes_, &all);
        (void)::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                           POSIX_SPAWN_SETPGROUP);
    }
    ~Attributes() { (void)::posix_spawnattr_destroy(&attributes_); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

std::vector<char*> pointers_to(std::vector<std::string>& texts)
{
    std::vector<char*> pointers(texts.size() + 1, nullptr);
    std::ranges::transform(texts, pointers.begin(), [](std::string& text) { return text.data(); });
    return pointers;
}

/// A program that runs. It does not outlive this.
class Child
{
public:
    Child(const ProgramCall& call, const Actions& actions)
    {
        std::vector<std::string> words{call.program};
        words.insert(words.end(), call.arguments.begin(), call.arguments.end());
        std::vector<std::string> variables{"PATH=/usr/bin:/bin", "LC_ALL=C", "HOME=/nonexistent"};
        const Attributes attributes;
        const int error = ::posix_spawn(&id_, call.program.c_str(), actions.get(), attributes.get(),
                                        pointers_to(words).data(), pointers_to(variables).data());
        if (error != 0)
            fail(error, call.program.c_str());
        watch_ = Descriptor{static_cast<int>(::syscall(SYS_pidfd_open, id_, 0))};
    }
    ~Child()
    {
        if (!ended_)
            (void)kill_and_wait();
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Readable once the program has ended.
    [[nodiscard]] int watch() const { return watch_.number(); }
    /// @return as ProgramOutcome::status
    int wait()
    {
        int status = 0;
        while (::waitpid(id_, &status, 0) == -1 && errno == EINTR) {
        }
        ended_ = true;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    int kill_and_wait()
    {
        (void)::kill(id_, SIGKILL);
        return wait();
    }

private:
    pid_t id_ = -1;
    bool ended_ = false;
    Descriptor watch_;
};

/// Takes what a pipe holds; closes it at its end.
void take(Descriptor& pipe, std::string& text)
{
    std::array<char, 4096> piece{};
    const ssize_t count = ::read(pipe.number(), piece.data(), piece.size());
    if (count == -1 && errno == EINTR)
        return;
    if (count <= 0)
        pipe.close();
    else
        text.append(piece.data(), std::min(static_cast<std::size_t>(count), MOST_OUTPUT - text.size()));
}

int milliseconds_until(Clock::time_point end)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    return static_cast<int>(std::max<std::int64_t>(left, 0));
}

/// Collects what the program writes, until it has ended and its pipes are empty.
ProgramOutcome attend(Child& child, Descriptor output, Descriptor errors, std::chrono::milliseconds timeout)
{
    const auto end = Clock::now() + timeout;
    ProgramOutcome outcome;
    bool runs = true;
    while (runs || output.number() != -1 || errors.number() != -1) {
        std::array<pollfd, 3> waits{{{output.number(), POLLIN, 0},
                                     {errors.number(), POLLIN, 0},
                                     {runs ? child.watch() : -1, POLLIN, 0}}};
        const int ready = ::poll(waits.data(), waits.size(), milliseconds_until(end));
        if (ready == -1 && errno == EINTR)
            continue;
        if (ready <= 0) {
            outcome.timed_out = true;
            if (runs)
                (void)child.kill_and_wait();
            outcome.status = -1;
            return outcome;
        }
        if (waits[0].revents != 0)
            take(output, outcome.output);
        if (waits[1].revents != 0)
            take(errors, outcome.errors);
        if (waits[2].revents != 0) {
            outcome.status = child.wait();
            runs = false;
        }
    }
    return outcome;
}

} // namespace

std::string further_file(std::size_t index)
{
    return "/proc/self/fd/" + std::to_string(static_cast<std::size_t>(FIRST_FILE) + index);
}

ProgramOutcome run_program(const ProgramCall& call)
{
    Pipe output = make_pipe();
    Pipe errors = make_pipe();
    const Descriptor input = descriptor_of(call.input);
    Actions actions;
    actions.give(input, STDIN_FILENO);
    actions.give(output.write, STDOUT_FILENO);
    actions.give(errors.write, STDERR_FILENO);
    std::vector<Descriptor> files;
    int next = FIRST_FILE;
    for (const std::string_view content : call.files)
        actions.give(files.emplace_back(descriptor_of(content)), next++);
    actions.close_from(next);
    Child child{call, actions};
    output.write.close();
    errors.write.close();
    return attend(child, std::move(output.read), std::move(errors.read), call.timeout);
}

std::vector<std::string> program_folders()
{
    return {"/usr/bin", "/bin", "/usr/local/bin"};
}

std::optional<std::string> find_program(const std::vector<std::string>& folders, const std::string& name)
{
    for (const std::string& folder : folders) {
        std::string path = folder;
        path.append("/").append(name);
        if (::access(path.c_str(), X_OK) == 0)
            return path;
    }
    return std::nullopt;
}

} // namespace kvn::system
