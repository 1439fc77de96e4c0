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

std::string name_of(std::string_view variable)
{
    return std::string{variable.substr(0, variable.find('='))};
}

/// Argument and environment lists as the system takes them.
class Image
{
public:
    explicit Image(const Command& command) : words_{command.arguments}
    {
        words_.insert(words_.begin(), command.program);
        for (char** variable = environ; *variable != nullptr; ++variable)
            if (!is_ours(*variable) && !command.variables.contains(name_of(*variable)))
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

Running::Running(const Command& command)
{
    child_ = start(command, [] {
        redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
        redirect(STDOUT_FILENO, "/dev/null", O_WRONLY);
        dup2(STDOUT_FILENO, STDERR_FILENO);
    });
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
    if (child_ == 0)
        become(command, image);
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
