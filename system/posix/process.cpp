// SPDX-License-Identifier: Apache-2.0
// Processes by posix_spawn(3).
#include "system/process.h"

#include "system/posix/pipe_state.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace kvn::system
{
namespace
{

[[noreturn]] void fail(int error)
{
    throw std::system_error{error, std::generic_category()};
}

struct Pipe {
    Descriptor reading;
    Descriptor writing;
};

Pipe open_pipe()
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        fail(errno);
    return {Descriptor{ends[0]}, Descriptor{ends[1]}};
}

/// How the child differs from this process; released at the end of the scope.
class SpawnSettings
{
public:
    explicit SpawnSettings(bool has_terminal)
    {
        posix_spawn_file_actions_init(&files_);
        posix_spawnattr_init(&attributes_);
        sigset_t none;
        sigemptyset(&none);
        sigset_t defaults;
        sigemptyset(&defaults);
        for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM})
            sigaddset(&defaults, signal);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &defaults);
        posix_spawnattr_setpgroup(&attributes_, 0);
        // A session of its own has a process group of its own too.
        const int group = has_terminal ? POSIX_SPAWN_SETPGROUP : POSIX_SPAWN_SETSID;
        posix_spawnattr_setflags(&attributes_,
                                 static_cast<short>(group | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
    }
    ~SpawnSettings()
    {
        posix_spawn_file_actions_destroy(&files_);
        posix_spawnattr_destroy(&attributes_);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    void lead(const Descriptor& from, int to)
    {
        posix_spawn_file_actions_adddup2(&files_, from.number(), to);
    }
    [[nodiscard]] const posix_spawn_file_actions_t* files() const { return &files_; }
    [[nodiscard]] const posix_spawnattr_t* attributes() const { return &attributes_; }

private:
    posix_spawn_file_actions_t files_{};
    posix_spawnattr_t attributes_{};
};

void stop_waiting(const Descriptor& descriptor)
{
    (void)::fcntl(descriptor.number(), F_SETFL, O_NONBLOCK);
}

} // namespace

unsigned long own_process_id() noexcept
{
    return static_cast<unsigned long>(::getpid());
}

std::string own_program()
{
    std::error_code unknown;
    const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", unknown);
    return !path.empty() && std::filesystem::exists(path, unknown) ? path.string() : "/proc/self/exe";
}

struct Process::State {
    pid_t process = -1;
};

Process::Process(const ProcessStart& start) : state_{new State}
{
    Pipe in = open_pipe();
    Pipe out = open_pipe();
    Pipe err = open_pipe();
    SpawnSettings settings{start.has_terminal};
    settings.lead(in.reading, STDIN_FILENO);
    settings.lead(out.writing, STDOUT_FILENO);
    settings.lead(err.writing, STDERR_FILENO);
    std::vector<std::string> words = start.arguments;
    words.insert(words.begin(), start.program);
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const int error = ::posix_spawnp(&state_->process, start.program.c_str(), settings.files(),
                                     settings.attributes(), arguments.data(), environ);
    if (error != 0) {
        state_->process = -1;
        fail(error);
    }
    for (const Descriptor* each : {&in.writing, &out.reading, &err.reading})
        stop_waiting(*each);
    input_ = PipeWriter{std::unique_ptr<PipeWriter::State>{new PipeWriter::State{std::move(in.writing)}}};
    output_ = PipeReader{std::unique_ptr<PipeReader::State>{new PipeReader::State{std::move(out.reading)}}};
    errors_ = PipeReader{std::unique_ptr<PipeReader::State>{new PipeReader::State{std::move(err.reading)}}};
}

Process::~Process()
{
    kill();
    (void)wait();
}

long Process::id() const noexcept
{
    return state_->process;
}

void Process::kill() noexcept
{
    // The whole group: whatever it has started ends with it.
    if (state_->process > 0)
        (void)::kill(-state_->process, SIGKILL);
}

std::string Process::wait()
{
    if (state_->process <= 0)
        return {};
    int status = 0;
    while (::waitpid(state_->process, &status, 0) < 0 && errno == EINTR) {
    }
    state_->process = -1;
    if (WIFEXITED(status))
        return "ended with status " + std::to_string(WEXITSTATUS(status));
    const int signal = WTERMSIG(status);
    return "was ended by signal " + std::to_string(signal) + " (" + std::string{::strsignal(signal)} +
           ")"; // NOLINT(concurrency-mt-unsafe)
}

} // namespace kvn::system
