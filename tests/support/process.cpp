// SPDX-License-Identifier: Apache-2.0
// Programs run as processes: to their end, until they are stopped, or on a terminal of their own.
#include "support/process.h"

#include "support/files.h"
#include "support/temporary_folder.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace
{
/// How long a silent program is waited for before the test gives it up; a working one never comes near.
constexpr int PATIENCE_MS = 60'000;

void check(bool good, const char* what)
{
    if (!good)
        throw std::system_error(errno, std::generic_category(), what);
}

bool is_ours(std::string_view variable)
{
    return variable.starts_with("KVN_") || variable.starts_with("MWAPI") ||
           variable.starts_with("MWVIRTUAL_");
}

/// Argument and environment lists as the system takes them.
class Image
{
public:
    explicit Image(const Command& command) : words_{command.arguments}
    {
        words_.insert(words_.begin(), command.program);
        for (char** variable = environ; *variable != nullptr; ++variable)
            if (!is_ours(*variable))
                variables_.emplace_back(*variable);
        for (const auto& [name, value] : command.variables)
            variables_.push_back(name + "=" + value);
        for (std::string& word : words_)
            argv_.push_back(word.data());
        argv_.push_back(nullptr);
        for (std::string& variable : variables_)
            envp_.push_back(variable.data());
        envp_.push_back(nullptr);
    }
    char** argv() { return argv_.data(); }
    char** envp() { return envp_.data(); }

private:
    std::vector<std::string> words_;
    std::vector<std::string> variables_;
    std::vector<char*> argv_;
    std::vector<char*> envp_;
};

/// Those that a run may be stopped by.
sigset_t stopping_signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGXFSZ})
        sigaddset(&signals, signal);
    return signals;
}

/// A program that is started takes signals as one started by hand does, also when those who started the tests
/// ignore or block some.
class SignalSettings
{
public:
    SignalSettings()
    {
        posix_spawnattr_init(&attributes_);
        const sigset_t taken = stopping_signals();
        posix_spawnattr_setsigdefault(&attributes_, &taken);
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    ~SignalSettings() { posix_spawnattr_destroy(&attributes_); }
    SignalSettings(const SignalSettings&) = delete;
    SignalSettings& operator=(const SignalSettings&) = delete;
    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_;
};

/// The same for a child between fork and exec.
void take_signals()
{
    const sigset_t taken = stopping_signals();
    for (int signal = 1; signal < NSIG; ++signal)
        if (sigismember(&taken, signal) == 1)
            std::signal(signal, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

class FileActions
{
public:
    FileActions() { posix_spawn_file_actions_init(&actions_); }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    void change_folder(const fs::path& folder)
    {
        posix_spawn_file_actions_addchdir_np(&actions_, folder.c_str());
    }
    void open(int descriptor, const fs::path& file, int flags)
    {
        posix_spawn_file_actions_addopen(&actions_, descriptor, file.c_str(), flags, 0600);
    }
    void close(int descriptor) { posix_spawn_file_actions_addclose(&actions_, descriptor); }
    void copy(int from, int to) { posix_spawn_file_actions_adddup2(&actions_, from, to); }
    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_;
};

int wait_for(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) == -1)
        check(errno == EINTR, "waitpid");
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

pid_t start(const Command& command, FileActions& actions)
{
    actions.change_folder(command.folder);
    Image image{command};
    pid_t child = -1;
    const SignalSettings signals;
    const int error = posix_spawnp(&child, command.program.c_str(), actions.get(), signals.get(),
                                   image.argv(), image.envp());
    if (error != 0)
        throw std::system_error(error, std::generic_category(), command.program);
    return child;
}

/// The writing end of a pipe without a reading one.
int open_pipe_without_reader()
{
    int ends[2];
    check(pipe2(ends, O_CLOEXEC) == 0, "pipe");
    close(ends[0]);
    return ends[1];
}
} // namespace

Outcome run(const Command& command, std::string_view answers, Output output)
{
    // Apart from the folder that the program works in.
    const TemporaryFolder streams;
    const auto stream = [&](const char* name) { return streams.path() / name; };
    write_whole_file(stream("answers"), answers);
    FileActions actions;
    actions.open(STDIN_FILENO, stream("answers"), O_RDONLY);
    actions.open(STDERR_FILENO, stream("errors"), O_WRONLY | O_CREAT);
    int pipe_end = -1;
    switch (output) {
    case Output::kept:
        actions.open(STDOUT_FILENO, stream("output"), O_WRONLY | O_CREAT);
        break;
    case Output::with_errors:
        actions.open(STDOUT_FILENO, stream("output"), O_WRONLY | O_CREAT);
        actions.copy(STDOUT_FILENO, STDERR_FILENO);
        break;
    case Output::closed:
        actions.close(STDIN_FILENO);
        actions.close(STDOUT_FILENO);
        break;
    case Output::full:
        actions.open(STDOUT_FILENO, "/dev/full", O_WRONLY);
        break;
    case Output::without_reader:
        pipe_end = open_pipe_without_reader();
        actions.copy(pipe_end, STDOUT_FILENO);
        break;
    }
    const pid_t child = start(command, actions);
    if (pipe_end != -1)
        close(pipe_end);
    const int status = wait_for(child);
    return {status, read_whole_file(stream("output")), read_whole_file(stream("errors"))};
}

Running::Running(const Command& command)
{
    FileActions actions;
    actions.open(STDIN_FILENO, "/dev/null", O_RDONLY);
    actions.open(STDOUT_FILENO, "/dev/null", O_WRONLY);
    actions.copy(STDOUT_FILENO, STDERR_FILENO);
    child_ = start(command, actions);
}

Running::~Running()
{
    if (child_ != -1)
        stop(SIGKILL);
}

int Running::stop(int signal)
{
    kill(child_, signal);
    return wait_for(std::exchange(child_, -1));
}

Terminal::Terminal(const Command& command)
{
    // What the program writes arrives as it is, and what is typed is not shown.
    termios settings{};
    settings.c_lflag = ICANON;
    settings.c_cflag = CS8 | CREAD;
    settings.c_cc[VEOF] = 4;
    Image image{command};
    child_ = forkpty(&master_, nullptr, &settings, nullptr);
    check(child_ != -1, "forkpty");
    if (child_ == 0) {
        take_signals();
        if (chdir(command.folder.c_str()) == 0)
            execve(command.program.c_str(), image.argv(), image.envp());
        _exit(127);
    }
}

Terminal::~Terminal()
{
    if (child_ != -1) {
        kill(child_, SIGKILL);
        wait_for(child_);
    }
    close(master_);
}

void Terminal::signal(int number) const
{
    check(kill(child_, number) == 0, "kill");
}

bool Terminal::read_more()
{
    pollfd waiting{master_, POLLIN, 0};
    if (poll(&waiting, 1, PATIENCE_MS) != 1)
        return false;
    char part[4096];
    const ssize_t size = read(master_, part, sizeof part);
    if (size <= 0) // the program has ended
        return false;
    shown_.append(part, static_cast<std::size_t>(size));
    return true;
}

void Terminal::expect(std::string_view text)
{
    for (;;) {
        const std::size_t found = shown_.find(text, seen_);
        if (found != std::string::npos) {
            seen_ = found + text.size();
            return;
        }
        if (!read_more())
            throw std::runtime_error("not shown: " + std::string{text} + "\nshown so far:\n" + shown_);
    }
}

void Terminal::type(std::string_view keys)
{
    check(write(master_, keys.data(), keys.size()) == static_cast<ssize_t>(keys.size()), "write");
}

int Terminal::finish()
{
    while (read_more()) {
    }
    const int status = wait_for(child_);
    child_ = -1;
    return status;
}
