// SPDX-License-Identifier: Apache-2.0
#include "system/windows/start.h"

#include "system/windows/quotes.h"

#include <algorithm>
#include <array>
#include <memory>

namespace kvn::system::windows
{
namespace
{

/// The handles that a process inherits: others that can be inherited at the moment are left out.
class InheritedHandles
{
public:
    explicit InheritedHandles(std::array<HANDLE, 3> handles) : handles_{handles}
    {
        SIZE_T size = 0;
        (void)::InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        memory_ =
            std::make_unique<char[]>(size); // NOLINT(modernize-avoid-c-arrays): of a size that Windows says
        if (::InitializeProcThreadAttributeList(list(), 1, 0, &size) == FALSE)
            throw_last_error("process");
        if (::UpdateProcThreadAttribute(list(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                                        sizeof handles_, nullptr, nullptr) == FALSE) {
            const DWORD error = ::GetLastError();
            ::DeleteProcThreadAttributeList(list());
            throw_error(error, "process");
        }
    }
    ~InheritedHandles() { ::DeleteProcThreadAttributeList(list()); }
    InheritedHandles(const InheritedHandles&) = delete;
    InheritedHandles& operator=(const InheritedHandles&) = delete;

    [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST list()
    {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.get());
    }

private:
    std::array<HANDLE, 3> handles_;
    std::unique_ptr<char[]> memory_; // NOLINT(modernize-avoid-c-arrays)
};

std::wstring block_of(const std::vector<std::wstring>& variables)
{
    std::wstring block;
    for (const std::wstring& variable : variables)
        block.append(variable).append(1, L'\0');
    return block.append(1, L'\0');
}

bool is_program(const std::wstring& path)
{
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return false;
    constexpr std::size_t EXTENSION = 4;
    if (path.size() < EXTENSION)
        return false;
    std::wstring extension = path.substr(path.size() - EXTENSION);
    (void)::CharLowerBuffW(extension.data(), static_cast<DWORD>(extension.size()));
    return extension == L".exe" || extension == L".com";
}

std::optional<std::wstring> with_extension(const std::wstring& path)
{
    for (const wchar_t* extension : {L"", L".exe"})
        if (is_program(path + extension))
            return path + extension;
    return std::nullopt;
}

std::wstring variable(const wchar_t* name)
{
    std::wstring value(::GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    value.resize(::GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

} // namespace

std::wstring command_line(const std::vector<std::string>& words)
{
    std::string line;
    for (const std::string& word : words) {
        if (!line.empty())
            line += ' ';
        const bool is_plain = !word.empty() && word.find_first_of(" \t\n\v\"") == std::string::npos;
        line += is_plain ? word : in_quotes(word);
    }
    return wide(line);
}

std::optional<std::wstring> path_of_program(const std::string& name)
{
    if (name.find_first_of("\\/:") != std::string::npos)
        return with_extension(wide_path(name));
    const std::wstring folders = variable(L"PATH");
    for (std::size_t begin = 0; begin < folders.size();) {
        const std::size_t end = std::min(folders.find(L';', begin), folders.size());
        const std::wstring folder = folders.substr(begin, end - begin);
        begin = end + 1;
        if (folder.empty())
            continue;
        if (auto path = with_extension(folder + L'\\' + wide(name)))
            return path;
    }
    return std::nullopt;
}

Started start(const Start& what)
{
    // Choice: it may outlive this process, to end its work (docs/decisions/0055-runs-on-windows.md).
    Handle job{::CreateJobObjectW(nullptr, nullptr)};
    if (!job.is_open())
        throw_last_error("process");
    InheritedHandles inherited{{what.input, what.output, what.errors}};
    STARTUPINFOEXW settings{};
    settings.StartupInfo.cb = sizeof settings;
    settings.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    settings.StartupInfo.hStdInput = what.input;
    settings.StartupInfo.hStdOutput = what.output;
    settings.StartupInfo.hStdError = what.errors;
    settings.lpAttributeList = inherited.list();
    std::wstring line = command_line(what.words);
    std::wstring variables = block_of(what.variables);
    // It does not run before it is in the job, so that nothing that it starts is outside.
    constexpr DWORD FLAGS =
        CREATE_NO_WINDOW | CREATE_SUSPENDED | CREATE_UNICODE_ENVIRONMENT | EXTENDED_STARTUPINFO_PRESENT;
    PROCESS_INFORMATION made{};
    if (::CreateProcessW(what.program.c_str(), line.data(), nullptr, nullptr, TRUE, FLAGS,
                         what.variables.empty() ? nullptr : variables.data(), nullptr, &settings.StartupInfo,
                         &made) == FALSE)
        throw_last_error("process");
    Started started{.process = Handle{made.hProcess}, .job = std::move(job), .id = made.dwProcessId};
    const Handle thread{made.hThread};
    if (::AssignProcessToJobObject(started.job.get(), started.process.get()) == FALSE) {
        const DWORD error = ::GetLastError();
        (void)::TerminateProcess(started.process.get(), ERROR_PROCESS_ABORTED);
        throw_error(error, "process");
    }
    (void)::ResumeThread(thread.get());
    return started;
}

} // namespace kvn::system::windows
