// SPDX-License-Identifier: Apache-2.0
// The process of a worker, as its controller holds it.
#include "run/worker_process.h"

#include "errors/failure.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/sendfile.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>
#include <utility>

namespace kvn
{
namespace
{

[[noreturn]] void cannot_start(const WorkerProgram& program, int error)
{
    const bool is_own = program.via.empty();
    throw FailureError{{.status = is_own ? ExitStatus::internal : ExitStatus::usage,
                        .what = "a worker cannot be started: " + program.program + ": " +
                                std::generic_category().message(error)}};
}

struct Pipe {
    kvn::system::Descriptor reading;
    kvn::system::Descriptor writing;
};

Pipe open_pipe(const WorkerProgram& program)
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        cannot_start(program, errno);
    return {kvn::system::Descriptor{ends[0]}, kvn::system::Descriptor{ends[1]}};
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

    void lead(const kvn::system::Descriptor& from, int to)
    {
        posix_spawn_file_actions_adddup2(&files_, from.number(), to);
    }
    [[nodiscard]] const posix_spawn_file_actions_t* files() const { return &files_; }
    [[nodiscard]] const posix_spawnattr_t* attributes() const { return &attributes_; }

private:
    posix_spawn_file_actions_t files_{};
    posix_spawnattr_t attributes_{};
};

void stop_waiting(const kvn::system::Descriptor& descriptor)
{
    (void)::fcntl(descriptor.number(), F_SETFL, O_NONBLOCK);
}

} // namespace

WorkerProcess::WorkerProcess(const WorkerProgram& program)
{
    Pipe in = open_pipe(program);
    Pipe out = open_pipe(program);
    Pipe err = open_pipe(program);
    SpawnSettings settings{program.via.empty()};
    settings.lead(in.reading, STDIN_FILENO);
    settings.lead(out.writing, STDOUT_FILENO);
    settings.lead(err.writing, STDERR_FILENO);
    std::vector<std::string> words = program.arguments;
    words.insert(words.begin(), program.program);
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const int error = ::posix_spawnp(&process_, program.program.c_str(), settings.files(),
                                     settings.attributes(), arguments.data(), environ);
    if (error != 0) {
        process_ = -1;
        cannot_start(program, error);
    }
    input_ = std::move(in.writing);
    output_ = std::move(out.reading);
    errors_ = std::move(err.reading);
    for (const kvn::system::Descriptor* each : {&input_, &output_, &errors_})
        stop_waiting(*each);
}

WorkerProcess::~WorkerProcess()
{
    kill();
    (void)wait();
}

void WorkerProcess::send(std::string line)
{
    outgoing_.push_back({.line = std::move(line)});
}

void WorkerProcess::send(const Input& content)
{
    outgoing_.push_back({.file = content.open()});
}

ssize_t WorkerProcess::write_front()
{
    constexpr std::size_t block = std::size_t{1} << 20;
    Outgoing& front = outgoing_.front();
    if (front.file)
        return ::sendfile(input_.number(), ::fileno(front.file->get()), nullptr, block);
    return ::write(input_.number(), front.line.data() + front.written, front.line.size() - front.written);
}

void WorkerProcess::write_some()
{
    while (!outgoing_.empty() && input_.is_open()) {
        const ssize_t written = write_front();
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0 && errno == EAGAIN)
            return;
        if (written < 0) {
            outgoing_.clear();
            input_.close();
            return;
        }
        sent_ += static_cast<std::uint64_t>(written);
        Outgoing& front = outgoing_.front();
        front.written += static_cast<std::size_t>(written);
        if (front.file ? written == 0 : front.written == front.line.size())
            outgoing_.pop_front();
    }
    if (ends_ && outgoing_.empty())
        input_.close();
}

void WorkerProcess::end_input()
{
    ends_ = true;
    write_some();
}

bool WorkerProcess::read_some(kvn::system::Descriptor& from, LineSplitter& to)
{
    std::array<char, 65536> block; // NOLINT(cppcoreguidelines-pro-type-member-init)
    for (;;) {
        const ssize_t size = ::read(from.number(), block.data(), block.size());
        if (size > 0) {
            to.take({block.data(), static_cast<std::size_t>(size)});
            return true;
        }
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0 && errno == EAGAIN)
            return true;
        from.close();
        return false;
    }
}

void WorkerProcess::kill()
{
    // The whole group: whatever the provider has started ends with the worker.
    if (process_ > 0)
        (void)::kill(-process_, SIGKILL);
}

std::string WorkerProcess::wait()
{
    if (process_ <= 0)
        return {};
    int status = 0;
    while (::waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = -1;
    if (WIFEXITED(status))
        return "ended with status " + std::to_string(WEXITSTATUS(status));
    const int signal = WTERMSIG(status);
    return "was ended by signal " + std::to_string(signal) + " (" + std::string{::strsignal(signal)} +
           ")"; // NOLINT(concurrency-mt-unsafe)
}

} // namespace kvn
