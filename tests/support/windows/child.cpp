// SPDX-License-Identifier: Apache-2.0
// Handles, and programs as children of this process.
#include "support/windows/child.h"

#include "support/windows/command_line.h"

#include <algorithm>
#include <system_error>

namespace
{
/// The environment of a program: NAME=VALUE, each with its zero, in the order that the system demands.
std::wstring environment_of(const Command& command)
{
    std::vector<std::wstring> variables;
    wchar_t* const all = GetEnvironmentStringsW();
    for (const wchar_t* variable = all; *variable != L'\0'; variable += wcslen(variable) + 1)
        if (inherits(command, std::filesystem::path{variable}.string()))
            variables.emplace_back(variable);
    FreeEnvironmentStringsW(all);
    for (const auto& [name, value] : command.variables)
        variables.push_back(wide(name + '=' + value));
    std::ranges::sort(variables, [](const std::wstring& one, const std::wstring& other) {
        return _wcsicmp(one.c_str(), other.c_str()) < 0;
    });
    std::wstring block;
    for (const std::wstring& variable : variables)
        block += variable + L'\0';
    return block + L'\0';
}

/// What a child gets of its parent besides its standard streams: a console, and only the named handles.
class Attributes
{
public:
    Attributes(std::vector<HANDLE> handles, void* console) : handles_{std::move(handles)}
    {
        constexpr DWORD_PTR pseudo_console = 0x20016; // PROC_THREAD_ATTRIBUTE_PSEUDOCONSOLE
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 2, 0, &size);
        storage_.resize(size);
        check(InitializeProcThreadAttributeList(list(), 2, 0, &size) != 0, "attributes of a process");
        if (!handles_.empty())
            check(UpdateProcThreadAttribute(list(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                                            handles_.size() * sizeof(HANDLE), nullptr, nullptr) != 0,
                  "handles of a process");
        if (console != nullptr)
            check(UpdateProcThreadAttribute(list(), 0, pseudo_console, console, sizeof console, nullptr,
                                            nullptr) != 0,
                  "console of a process");
    }
    ~Attributes() { DeleteProcThreadAttributeList(list()); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    LPPROC_THREAD_ATTRIBUTE_LIST list()
    {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(storage_.data());
    }

private:
    std::vector<HANDLE> handles_;
    std::vector<char> storage_;
};

std::vector<HANDLE> inherited_of(const Streams* streams, const std::vector<HANDLE>& more)
{
    std::vector<HANDLE> handles = more;
    if (streams != nullptr)
        for (HANDLE handle : {streams->input, streams->output, streams->errors})
            if (handle != nullptr && std::ranges::find(handles, handle) == handles.end())
                handles.push_back(handle);
    return handles;
}

/// Wine 8.0 seldom loses a program between its start and its first step, and then says that nothing has
/// started: on a busy machine once in thousands.
PROCESS_INFORMATION create(const std::wstring& line, const std::vector<HANDLE>& inherited,
                           std::wstring& environment, const Command& command, STARTUPINFOEXW& startup)
{
    constexpr int ATTEMPTS = 3;
    PROCESS_INFORMATION child{};
    for (int attempt = 1; attempt <= ATTEMPTS; ++attempt) {
        std::wstring changeable = line;
        if (CreateProcessW(nullptr, changeable.data(), nullptr, nullptr, inherited.empty() ? FALSE : TRUE,
                           CREATE_UNICODE_ENVIRONMENT | EXTENDED_STARTUPINFO_PRESENT, environment.data(),
                           command.folder.c_str(), &startup.StartupInfo, &child) != 0)
            return child;
        if (GetLastError() != ERROR_INTERNAL_ERROR)
            break;
    }
    return {};
}
} // namespace

void check(bool good, const char* what)
{
    if (!good)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

Pipe::Pipe()
{
    HANDLE ends[2];
    check(CreatePipe(&ends[0], &ends[1], nullptr, 0) != 0, "pipe");
    reader.reset(ends[0]);
    writer.reset(ends[1]);
}

Handle open_inherited(const std::filesystem::path& file, DWORD access)
{
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    HANDLE opened =
        CreateFileW(file.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inherited,
                    access == GENERIC_WRITE ? OPEN_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    check(opened != INVALID_HANDLE_VALUE, "file of a stream");
    return Handle{opened};
}

Handle start(const Command& command, const Streams* streams, const std::vector<HANDLE>& more, void* console)
{
    const std::vector<HANDLE> inherited = inherited_of(streams, more);
    Attributes attributes{inherited, console};
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof startup;
    startup.lpAttributeList = attributes.list();
    if (streams != nullptr) {
        startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
        startup.StartupInfo.hStdInput = streams->input;
        startup.StartupInfo.hStdOutput = streams->output;
        startup.StartupInfo.hStdError = streams->errors;
    }
    std::vector<std::string> words = command.arguments;
    words.insert(words.begin(), command.program);
    const std::wstring line = command_line(words);
    std::wstring environment = environment_of(command);
    const PROCESS_INFORMATION child = create(line, inherited, environment, command, startup);
    if (child.hProcess == nullptr) {
        check(GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND,
              "start a program");
        return {};
    }
    CloseHandle(child.hThread);
    return Handle{child.hProcess};
}

int wait_for(HANDLE child)
{
    check(WaitForSingleObject(child, INFINITE) == WAIT_OBJECT_0, "wait for a process");
    DWORD status = 0;
    check(GetExitCodeProcess(child, &status) != 0, "exit status");
    return static_cast<int>(status);
}
