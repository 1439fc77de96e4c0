// SPDX-License-Identifier: Apache-2.0
// Programs run as processes: to their end, until they are stopped, or on a console of their own.
#include "support/process.h"

#include "support/files.h"
#include "support/special_files.h"
#include "support/temporary_folder.h"
#include "support/windows/child.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace fs = std::filesystem;

namespace
{
/// The status of a program that is not found, as of a shell.
constexpr int NOT_FOUND = 127;

/// A program in a console of its own. console_host is between: only who shares the console can send its
/// events.
class Hosted
{
public:
    enum class Streams { console, none };

    Hosted(const Command& command, Streams streams)
    {
        check(SUCCEEDED(CreatePseudoConsole({.X = 1000, .Y = 50}, keys_.reader.get(), screen_.writer.get(), 0,
                                            &console_)),
              "console");
        check(SetHandleInformation(orders_.reader.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT) != 0,
              "orders");
        Command host = command;
        host.program = CONSOLE_HOST;
        host.arguments.insert(host.arguments.begin(),
                              {std::to_string(reinterpret_cast<std::uintptr_t>(orders_.reader.get())),
                               streams == Streams::console ? "console" : "none", command.program});
        host_ = start(host, nullptr, {orders_.reader.get()}, console_);
        check(host_ != nullptr, CONSOLE_HOST);
    }

    ~Hosted()
    {
        if (host_)
            stop(KILL);
        close_console();
    }
    Hosted(const Hosted&) = delete;
    Hosted& operator=(const Hosted&) = delete;

    void signal(int number) { write(orders_.writer, {reinterpret_cast<const char*>(&number), 1}); }
    void type(std::string_view keys) { write(keys_.writer, keys); }

    int stop(int number)
    {
        signal(number);
        return finish();
    }

    int finish()
    {
        const int status = wait_for(host_.get());
        host_.reset();
        return status;
    }

    [[nodiscard]] HANDLE host() const { return host_.get(); }
    [[nodiscard]] HANDLE screen() const { return screen_.reader.get(); }

    /// What is on the screen then comes to an end.
    void close_console()
    {
        if (console_ != nullptr)
            ClosePseudoConsole(std::exchange(console_, nullptr));
        screen_.writer.reset();
    }

private:
    static void write(const Handle& pipe, std::string_view bytes)
    {
        DWORD written = 0;
        check(WriteFile(pipe.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != 0,
              "write");
    }

    Pipe keys_;
    Pipe screen_;
    Pipe orders_;
    HPCON console_ = nullptr;
    Handle host_;
};
/// Makes of a console's sequences the text that a program has written, as far as it can be told: blanks are
/// moves of the cursor there. Colours stay.
class ConsoleText
{
public:
    /// Takes what the console sends. @return the text
    std::string next(std::string_view sent)
    {
        held_ += sent;
        std::string text;
        std::size_t place = 0;
        while (place < held_.size()) {
            const std::size_t length = held_[place] == '\x1b' ? sequence_at(place) : 1;
            if (length == 0) // more of it is to come
                break;
            text += length == 1 ? letter(held_[place]) : meaning({held_.data() + place, length});
            place += length;
        }
        held_.erase(0, place);
        return text;
    }

private:
    /// @return the length of a sequence, ESC [ PARAMETERS LETTER; 0 when it is not complete
    [[nodiscard]] std::size_t sequence_at(std::size_t place) const
    {
        const std::size_t end = held_.find_first_not_of("0123456789;?", place + 2);
        return end == std::string::npos ? 0 : end + 1 - place;
    }

    /// Line feeds have a carriage return in front of them.
    std::string letter(char c)
    {
        const bool was_return = std::exchange(returned_, c == '\r');
        if (c == '\r')
            return was_return ? "\r" : "";
        return was_return && c != '\n' ? std::string{'\r', c} : std::string{c};
    }

    static std::string meaning(std::string_view sequence)
    {
        if (sequence.ends_with('m') && sequence != "\x1b[m") // with which a console begins
            return std::string{sequence};
        if (sequence.ends_with('C'))
            return std::string(static_cast<std::size_t>(std::atoi(sequence.data() + 2)), ' ');
        return "";
    }

    std::string held_;
    bool returned_ = false;
};
} // namespace

Outcome run(const Command& command, std::string_view answers, Output output)
{
    // Apart from the folder that the program works in.
    const TemporaryFolder folder;
    const fs::path input = folder.path() / "input";
    const fs::path shown = folder.path() / "output";
    const fs::path errors = folder.path() / "errors";
    write_whole_file(input, answers);
    int status = NOT_FOUND;
    {
        const Handle input_handle = open_inherited(input, GENERIC_READ);
        const Handle errors_handle = open_inherited(errors, GENERIC_WRITE);
        Handle output_handle;
        Streams streams{input_handle.get(), nullptr, errors_handle.get()};
        switch (output) {
        case Output::kept:
            output_handle = open_inherited(shown, GENERIC_WRITE);
            break;
        case Output::with_errors:
            output_handle = open_inherited(shown, GENERIC_WRITE);
            streams.errors = output_handle.get();
            break;
        case Output::closed:
            streams.input = nullptr;
            break;
        case Output::full:
            output_handle = open_inherited(FULL_FILE, GENERIC_WRITE);
            break;
        case Output::without_reader:
            output_handle = std::move(Pipe{}.writer);
            check(SetHandleInformation(output_handle.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT) != 0,
                  "pipe");
            break;
        }
        streams.output = output_handle.get();
        if (const Handle child = start(command, &streams))
            status = wait_for(child.get());
    }
    return {status, read_whole_file(shown), read_whole_file(errors)};
}

class Running::Process : public Hosted
{
public:
    using Hosted::Hosted;
};

Running::Running(const Command& command) : process_{std::make_unique<Process>(command, Hosted::Streams::none)}
{
}

Running::~Running() = default;

int Running::stop(int signal)
{
    return process_->stop(signal);
}

class Terminal::Process : public Hosted
{
public:
    explicit Process(const Command& command)
        : Hosted{command, Streams::console}, watcher_{[this] { close_at_the_end(); }}
    {
    }
    ~Process()
    {
        signal(KILL);
        watcher_.join();
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    ConsoleText text;

private:
    /// Reading the screen would never end otherwise.
    void close_at_the_end()
    {
        WaitForSingleObject(host(), INFINITE);
        close_console();
    }

    std::thread watcher_;
};

Terminal::Terminal(const Command& command) : process_{std::make_unique<Process>(command)} {}

Terminal::~Terminal() = default;

int Terminal::process() const
{
    return static_cast<int>(GetProcessId(process_->host()));
}

void Terminal::signal(int number) const
{
    process_->signal(number);
}

void Terminal::type(std::string_view keys)
{
    std::string pressed{keys};
    std::ranges::replace(pressed, '\n', '\r');
    process_->type(pressed);
}

bool Terminal::read_more()
{
    char part[4096];
    DWORD size = 0;
    if (ReadFile(process_->screen(), part, sizeof part, &size, nullptr) == 0 || size == 0)
        return false;
    shown_ += process_->text.next({part, size});
    return true;
}

int Terminal::finish()
{
    while (read_more()) {
    }
    return process_->finish();
}
