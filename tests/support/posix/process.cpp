// SPDX-License-Identifier: Apache-2.0
// Programs run as processes: to their end, until they are stopped, or on a terminal of their own.
#include "support/process.h"

#include "support/files.h"
#include "support/temporary_folder.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
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

/// Argument and environment lists as the system takes them.
class Image
{
public:
    explicit Image(const Command& command) : words_{command.arguments}
    {
        words_.insert(words_.begin(), command.program);
        for (char** variable = environ; *variable != nullptr; ++variable)
            if (inherits(command, *variable))
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

/// Lets a program take signals as one started by hand does, also when those who started the tests ignore or
/// block some.
void take_signals()
{
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGXFSZ})
        std::signal(signal, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Makes this process, a child, the program.
[[noreturn]] void become(const Command& command, Image& image)
{
    take_signals();
    if (chdir(command.folder.c_str()) == 0)
        execvpe(command.program.c_str(), image.argv(), image.envp());
    _exit(127);
}

/// Opens a file of a child as this descriptor.
void redirect(int descriptor, const fs::path& file, int flags)
{
    const int opened = open(file.c_str(), flags, 0600);
    if (opened == -1 || dup2(opened, descriptor) == -1)
        _exit(126);
    if (opened != descriptor)
        close(opened);
}

int wait_for(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) == -1)
        check(errno == EINTR, "waitpid");
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// Starts a program behind what its process prepares.
template <class Prepare>
pid_t start(const Command& command, Prepare prepare)
{
    Image image{command};
    const pid_t child = fork();
    check(child != -1, "fork");
    if (child == 0) {
        prepare();
        become(command, image);
    }
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
    const fs::path input = streams.path() / "input";
    const fs::path shown = streams.path() / "output";
    const fs::path errors = streams.path() / "errors";
    write_whole_file(input, answers);
    const int pipe_end = output == Output::without_reader ? open_pipe_without_reader() : -1;
    const pid_t child = start(command, [&] {
        redirect(STDIN_FILENO, input, O_RDONLY);
        redirect(STDERR_FILENO, errors, O_WRONLY | O_CREAT);
        switch (output) {
        case Output::kept:
            redirect(STDOUT_FILENO, shown, O_WRONLY | O_CREAT);
            break;
        case Output::with_errors:
            redirect(STDOUT_FILENO, shown, O_WRONLY | O_CREAT);
            dup2(STDOUT_FILENO, STDERR_FILENO);
            break;
        case Output::closed:
            close(STDIN_FILENO);
            close(STDOUT_FILENO);
            break;
        case Output::full:
            redirect(STDOUT_FILENO, "/dev/full", O_WRONLY);
            break;
        case Output::without_reader:
            dup2(pipe_end, STDOUT_FILENO);
            break;
        }
    });
    if (pipe_end != -1)
        close(pipe_end);
    const int status = wait_for(child);
    return {status, read_whole_file(shown), read_whole_file(errors)};
}

class Running::Process
{
public:
    explicit Process(pid_t child) : child_{child} {}
    ~Process()
    {
        if (child_ != -1)
            stop(SIGKILL);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    int stop(int signal)
    {
        kill(child_, signal);
        return wait_for(std::exchange(child_, -1));
    }

private:
    pid_t child_;
};

Running::Running(const Command& command)
    : process_{std::make_unique<Process>(start(command, [] {
          redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
          redirect(STDOUT_FILENO, "/dev/null", O_WRONLY);
          dup2(STDOUT_FILENO, STDERR_FILENO);
      }))}
{
}

Running::~Running() = default;

int Running::stop(int signal)
{
    return process_->stop(signal);
}

class Terminal::Process
{
public:
    explicit Process(const Command& command)
    {
        // What the program writes arrives as it is, and what is typed is not shown.
        termios settings{};
        settings.c_lflag = ICANON;
        settings.c_cflag = CS8 | CREAD;
        settings.c_cc[VEOF] = 4;
        Image image{command};
        child = forkpty(&master, nullptr, &settings, nullptr);
        check(child != -1, "forkpty");
        if (child == 0)
            become(command, image);
    }
    ~Process()
    {
        if (child != -1) {
            kill(child, SIGKILL);
            wait_for(child);
        }
        close(master);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t child = -1;
    int master = -1;
};

Terminal::Terminal(const Command& command) : process_{std::make_unique<Process>(command)} {}

Terminal::~Terminal() = default;

int Terminal::process() const
{
    return process_->child;
}

void Terminal::signal(int number) const
{
    check(kill(process_->child, number) == 0, "kill");
}

bool Terminal::read_more()
{
    pollfd waiting{process_->master, POLLIN, 0};
    if (poll(&waiting, 1, PATIENCE_MS) != 1)
        return false;
    char part[4096];
    const ssize_t size = read(process_->master, part, sizeof part);
    if (size <= 0) // the program has ended
        return false;
    shown_.append(part, static_cast<std::size_t>(size));
    return true;
}

void Terminal::type(std::string_view keys)
{
    check(write(process_->master, keys.data(), keys.size()) == static_cast<ssize_t>(keys.size()), "write");
}

int Terminal::finish()
{
    while (read_more()) {
    }
    return wait_for(std::exchange(process_->child, -1));
}
