// SPDX-License-Identifier: Apache-2.0
// Runs another program to its end.
#include "system/program.h"

#include "system/windows/known_folders.h"
#include "system/windows/pipe_state.h"
#include "system/windows/start.h"

#include <algorithm>
#include <array>
#include <memory>

namespace kvn::system
{
namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t MOST_OUTPUT = std::size_t{64} << 10;
constexpr UINT KILLED = 1;

/// A content under a name, which nobody can change meanwhile.
class NamedContent
{
public:
    explicit NamedContent(std::string_view content) : file_{windows::make_temporary_file(false)}
    {
        try {
            windows::write_all(file_.handle, content.data(), content.size());
        } catch (const std::system_error&) {
            remove();
            throw;
        }
    }
    ~NamedContent() { remove(); }
    NamedContent(NamedContent&& other) noexcept = default;
    NamedContent& operator=(NamedContent&& other) = delete;
    NamedContent(const NamedContent&) = delete;
    NamedContent& operator=(const NamedContent&) = delete;

    [[nodiscard]] std::string path() const { return narrow(file_.path); }
    /// For a program that inherits it, with a position of its own.
    [[nodiscard]] windows::Handle open() const
    {
        SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
        windows::Handle handle{::CreateFileW(file_.path.c_str(), GENERIC_READ,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING,
                                             FILE_ATTRIBUTE_NORMAL, nullptr)};
        if (!handle.is_open())
            windows::throw_last_error("temporary file");
        return handle;
    }

private:
    void remove() noexcept
    {
        if (!file_.handle.is_open())
            return;
        file_.handle.close();
        (void)::DeleteFileW(file_.path.c_str());
    }

    windows::TemporaryFile file_;
};

std::wstring system_folder()
{
    return windows::known_folder(FOLDERID_System);
}

/// What programs of Windows cannot do without.
std::vector<std::wstring> own_variables()
{
    const std::wstring root = windows::known_folder(FOLDERID_Windows);
    std::array<wchar_t, MAX_PATH + 2> temporary{};
    (void)::GetTempPathW(static_cast<DWORD>(temporary.size()), temporary.data());
    return {L"HOME=" + root + L"\\nonexistent",        L"LC_ALL=C",
            L"PATH=" + system_folder() + L";" + root,  L"SystemRoot=" + root,
            std::wstring{L"TEMP="} + temporary.data(), std::wstring{L"TMP="} + temporary.data()};
}

/// A program that runs. It does not outlive this.
class Child
{
public:
    explicit Child(windows::Started started) : started_{std::move(started)}
    {
        if (::RegisterWaitForSingleObject(&watch_, started_.process.get(), &note_end, &ended_, INFINITE,
                                          WT_EXECUTEONLYONCE) == FALSE)
            windows::throw_last_error("process");
    }
    ~Child()
    {
        kill();
        (void)::UnregisterWaitEx(watch_, INVALID_HANDLE_VALUE);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Ready once the program has ended.
    [[nodiscard]] Waitable watch() const { return ended_.waitable(); }
    [[nodiscard]] int status() const
    {
        DWORD status = 0;
        (void)::GetExitCodeProcess(started_.process.get(), &status);
        return static_cast<int>(status);
    }
    void kill() { (void)::TerminateJobObject(started_.job.get(), KILLED); }

private:
    static void CALLBACK note_end(void* flag, BOOLEAN /*timed_out*/)
    {
        const std::lock_guard lock{windows::board().mutex};
        static_cast<windows::Readiness*>(flag)->is_ready = true;
        windows::board().changed.notify_all();
    }

    windows::Started started_;
    windows::Readiness ended_;
    HANDLE watch_ = nullptr;
};

/// Takes what a pipe holds; closes it at its end.
void take(PipeReader& pipe, std::string& text)
{
    std::array<char, 4096> piece{};
    const Transfer made = pipe.read_some(piece);
    if (made.result == Transfer::Result::over)
        pipe.close();
    else
        text.append(piece.data(), std::min(made.bytes, MOST_OUTPUT - text.size()));
}

int milliseconds_until(Clock::time_point end)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    return static_cast<int>(std::max<std::int64_t>(left, 0));
}

/// Collects what the program writes, until it has ended and its pipes are empty.
ProgramOutcome attend(const Child& child, PipeReader output, PipeReader errors,
                      std::chrono::milliseconds timeout)
{
    const auto end = Clock::now() + timeout;
    ProgramOutcome outcome;
    bool runs = true;
    while (runs || output.is_open() || errors.is_open()) {
        std::array waits{Awaited{.what = output.waitable()}, Awaited{.what = errors.waitable()},
                         Awaited{.what = runs ? child.watch() : Waitable::none}};
        if (!wait(waits, milliseconds_until(end))) {
            outcome.timed_out = true;
            outcome.status = -1;
            return outcome;
        }
        if (waits[0].is_ready)
            take(output, outcome.output);
        if (waits[1].is_ready)
            take(errors, outcome.errors);
        if (waits[2].is_ready) {
            outcome.status = child.status();
            runs = false;
        }
    }
    return outcome;
}

} // namespace

std::string further_file(std::size_t index)
{
    return "further file " + std::to_string(index); // run_program() puts the name of the file in its place
}

ProgramOutcome run_program(const ProgramCall& call)
{
    windows::Pipe output = windows::make_pipe(windows::PipeUse::own_reads);
    windows::Pipe errors = windows::make_pipe(windows::PipeUse::own_reads);
    const NamedContent input{call.input};
    std::vector<std::string> words{call.program};
    words.insert(words.end(), call.arguments.begin(), call.arguments.end());
    std::vector<NamedContent> files;
    for (const std::string_view content : call.files) {
        files.emplace_back(content);
        std::ranges::replace(words, further_file(files.size() - 1), files.back().path());
    }
    windows::Handle input_stream = input.open();
    Child child{windows::start({.program = windows::wide_path(call.program),
                                .words = std::move(words),
                                .variables = own_variables(),
                                .input = input_stream.get(),
                                .output = output.others.get(),
                                .errors = errors.others.get()})};
    input_stream.close();
    output.others.close();
    errors.others.close();
    return attend(child, PipeReader{std::make_unique<PipeReader::State>(std::move(output.own))},
                  PipeReader{std::make_unique<PipeReader::State>(std::move(errors.own))}, call.timeout);
}

std::vector<std::string> program_folders()
{
    std::vector<std::string> folders;
    const auto add = [&folders](const std::wstring& root, const wchar_t* folder) {
        if (!root.empty())
            folders.push_back(narrow(root + folder));
    };
    add(system_folder(), L"\\OpenSSH");
    add(windows::known_folder(FOLDERID_ProgramFilesX86), L"\\GnuPG\\bin");
    add(windows::known_folder(FOLDERID_ProgramFiles), L"\\GnuPG\\bin");
    add(windows::known_folder(FOLDERID_ProgramFiles), L"\\Git\\usr\\bin");
    return folders;
}

std::optional<std::string> find_program(const std::vector<std::string>& folders, const std::string& name)
{
    for (const std::string& folder : folders)
        if (const auto path = windows::path_of_program(folder + "\\" + name))
            return narrow(*path);
    return std::nullopt;
}

} // namespace kvn::system
