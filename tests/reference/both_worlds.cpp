// Runs the library and the reference model in folders of their own, against the same scripted world.
#include "both_worlds.h"

#include "kvn_fpga.h"
#include "reference_model.h"
#include "support/faults.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <list>
#include <stdexcept>
#include <system_error>

namespace
{

reference::Platform* host = nullptr;
fake::User* user = nullptr;

void print_for_library(char* text)
{
    user->print(text);
}

int prompt_for_library(char* text, void*)
{
    return user->prompt(text);
}

int ask_string_for_library(char* prompt, void* answer)
{
    std::string given;
    const int result = user->ask_string(prompt, given);
    std::snprintf(static_cast<char*>(answer), 256, "%s", given.c_str());
    return result;
}

int ask_yn_for_library(char* question, void*)
{
    return user->ask_yn(question);
}

std::array<char, 256> announced{};

extern "C" void report_crash(int signal)
{
    const ssize_t written =
        write(STDERR_FILENO, announced.data(), strnlen(announced.data(), announced.size()));
    std::signal(signal, SIG_DFL);
    if (written >= 0)
        raise(signal);
}

void set_variable(const char* name, const std::optional<std::string>& value)
{
    if (value)
        setenv(name, value->c_str(), 1);
    else
        unsetenv(name);
}

std::string content_of(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::map<std::string, std::string> files_in(const std::filesystem::path& folder)
{
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::string& seen = files[entry.path().filename()];
        if (entry.is_symlink())
            seen = "(link)";
        else if (entry.is_directory())
            seen = "(directory)";
        else
            seen = content_of(entry.path());
    }
    return files;
}

/// Lets the scenario's files fail where it says.
std::list<FileLimit> limits_of(const scenario::Scenario& scenario)
{
    using enum FileLimit::Kind;
    std::list<FileLimit> limits;
    for (const auto& [name, file] : scenario.files) {
        if (file.readable)
            limits.emplace_back(reading, *file.readable, name);
        if (file.writable)
            limits.emplace_back(writing, *file.writable, name);
    }
    return limits;
}

/// The lowest file descriptor that is free: another one afterwards tells of a file left open.
int free_descriptor()
{
    const int descriptor = dup(STDERR_FILENO);
    close(descriptor);
    return descriptor;
}

/// Standard output into a file and standard input out of one, for as long as this lives.
class Redirection
{
public:
    Redirection(const std::filesystem::path& output, const std::filesystem::path& input)
        : saved_output_{dup(STDOUT_FILENO)}, saved_input_{dup(STDIN_FILENO)}
    {
        std::fflush(stdout);
        const int file = open(output.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
        dup2(file, STDOUT_FILENO);
        close(file);
        if (std::freopen(input.c_str(), "r", stdin) == nullptr)
            throw std::runtime_error("cannot redirect the standard input");
    }
    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;
    ~Redirection()
    {
        std::fflush(stdout);
        dup2(saved_output_, STDOUT_FILENO);
        close(saved_output_);
        if (std::freopen("/dev/null", "r", stdin) == nullptr)
            std::abort();
        dup2(saved_input_, STDIN_FILENO);
        close(saved_input_);
    }

private:
    int saved_output_;
    int saved_input_;
};

std::string output_position()
{
    std::fflush(stdout);
    return " @" + std::to_string(lseek(STDOUT_FILENO, 0, SEEK_CUR));
}

char* writable(std::string& text)
{
    return text.data();
}

int call_library(kvn_fpga& library, const scenario::Call& call)
{
    std::string devstr = call.devstr.value_or("");
    std::string rbtfile = call.rbtfile.value_or("");
    char* devstr_given = call.devstr ? writable(devstr) : nullptr;
    char* rbtfile_given = call.rbtfile ? writable(rbtfile) : nullptr;
    MW_HANDLE* handle = call.null_handle ? nullptr : fake::callers_handle();
    std::vector<std::string> words = call.arguments;
    std::vector<char*> argv;
    std::transform(words.begin(), words.end(), std::back_inserter(argv), writable);
    argv.push_back(nullptr);
    const int argc = static_cast<int>(words.size());
    switch (call.entry) {
    case scenario::Entry::board:
        return library.kvn_fpga_board(devstr_given, call.board_number, call.kavrinid, rbtfile_given,
                                      call.action, call.flags);
    case scenario::Entry::handle:
        return library.kvn_fpga_handle(handle, call.kavrinid, rbtfile_given, call.action, call.flags);
    case scenario::Entry::main_plain:
        return library.kvn_fpga_main(argc, argv.data());
    case scenario::Entry::main_with_handle:
        return library.kvn_fpga_main(handle, argc, argv.data());
    default:
        return library.kvn_fpga_help();
    }
}

int call_model(reference::Model& model, const scenario::Call& call)
{
    const char* devstr = call.devstr ? call.devstr->c_str() : nullptr;
    const char* rbtfile = call.rbtfile ? call.rbtfile->c_str() : nullptr;
    MW_HANDLE* handle = call.null_handle ? nullptr : fake::callers_handle();
    switch (call.entry) {
    case scenario::Entry::board:
        return model.board(devstr, call.board_number, call.kavrinid, rbtfile, call.action, call.flags);
    case scenario::Entry::handle:
        return model.handle_run(handle, call.kavrinid, rbtfile, call.action, call.flags);
    case scenario::Entry::main_plain:
        return model.main_plain(call.arguments);
    case scenario::Entry::main_with_handle:
        return model.main_with_handle(handle, call.arguments);
    default:
        return model.help();
    }
}

void note_result(fake::Log& log, int result, const std::string& text, bool files_closed)
{
    log.push_back("= " + std::to_string(result) + " " + fake::escaped(text) +
                  (files_closed ? "" : " (files left open)"));
}

std::string shortened(const std::string& line)
{
    return line.size() <= 400 ? line
                              : line.substr(0, 400) + "... (" + std::to_string(line.size()) + " characters)";
}

std::string log_difference(const fake::Log& library, const fake::Log& model)
{
    std::size_t first = 0;
    while (first < library.size() && first < model.size() && library[first] == model[first])
        ++first;
    std::string text = "the logs differ at event " + std::to_string(first) + "\n";
    for (std::size_t i = first < 12 ? 0 : first - 12; i < first; ++i)
        text += "    " + shortened(library[i]) + "\n";
    for (std::size_t i = first; i < std::min(library.size(), first + 6); ++i)
        text += "  library  " + shortened(library[i]) + "\n";
    for (std::size_t i = first; i < std::min(model.size(), first + 6); ++i)
        text += "  model    " + shortened(model[i]) + "\n";
    return text;
}

std::string text_difference(const std::string& what, const std::string& library, const std::string& model)
{
    std::size_t first = 0;
    while (first < library.size() && first < model.size() && library[first] == model[first])
        ++first;
    const std::size_t begin = first < 100 ? 0 : first - 100;
    return what + " differs at byte " + std::to_string(first) + " (" + std::to_string(library.size()) +
           " and " + std::to_string(model.size()) + " bytes)\n  library  \"" +
           fake::escaped(library.substr(begin, 200)) + "\"\n  model    \"" +
           fake::escaped(model.substr(begin, 200)) + "\"\n";
}

} // namespace

// The board-access API of this process.

uint32_t MwOpenS(const char* board_type, uint16_t board_number, const char* device, MW_HANDLE** handle,
                 uint32_t* reserved)
{
    return host->OpenS(board_type, board_number, device, handle, reserved);
}

uint32_t MwClose(MW_HANDLE** handle)
{
    return host->Close(handle);
}

uint32_t MwErr2Text(uint32_t code, char* text)
{
    return host->Err2Text(code, text);
}

uint32_t MwGetBoardInfo(const char* board_type, uint16_t board_number, uint32_t* record)
{
    return host->GetBoardInfo(board_type, board_number, record);
}

uint32_t MwGetDeviceInfo(MW_HANDLE* handle, char* board_type, uint16_t* board_number, uint32_t* kind)
{
    return host->GetDeviceInfo(handle, board_type, board_number, kind);
}

uint32_t MwInitIoStatus(MW_HANDLE* handle, uint32_t* io_status)
{
    return host->InitIoStatus(handle, io_status);
}

uint32_t MwKSBSendMessage(MW_HANDLE* handle, uint32_t type, uint32_t slot, const void* data, uint32_t length,
                          uint32_t timeout)
{
    return host->SendMessage(handle, type, slot, data, length, timeout);
}

uint32_t MwKSBReceiveMessage(MW_HANDLE* handle, uint8_t* type, uint32_t slot, void* data, uint32_t size,
                             uint32_t* received, uint32_t timeout)
{
    return host->ReceiveMessage(handle, type, slot, data, size, received, timeout);
}

uint32_t MwKSBSendMessageEx(MW_HANDLE* handle, uint32_t type, uint32_t board, uint32_t slot, const void* data,
                            uint32_t length, uint32_t timeout)
{
    return host->SendMessageEx(handle, type, board, slot, data, length, timeout);
}

uint32_t MwKSBReceiveMessageEx(MW_HANDLE* handle, uint8_t* type, uint32_t board, uint32_t slot, void* data,
                               uint32_t size, uint32_t* received, uint32_t timeout)
{
    return host->ReceiveMessageEx(handle, type, board, slot, data, size, received, timeout);
}

uint32_t MwKSBStartSendMessageEx(MW_HANDLE* handle, uint32_t board, uint32_t slot, uint32_t timeout)
{
    return host->StartSendMessageEx(handle, board, slot, timeout);
}

uint32_t MwKSBSendMessageDataEx(MW_HANDLE* handle, const void* data, uint32_t length, uint32_t timeout)
{
    return host->SendMessageDataEx(handle, data, length, timeout);
}

uint32_t MwKSBEndOfSendMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return host->EndOfSendMessageEx(handle, timeout);
}

uint32_t MwKSBStartReceiveMessageEx(MW_HANDLE* handle, uint32_t* type, uint32_t timeout)
{
    return host->StartReceiveMessageEx(handle, type, timeout);
}

uint32_t MwKSBReceiveMessageDataEx(MW_HANDLE* handle, void* data, uint32_t size, uint32_t* received,
                                   uint32_t timeout)
{
    return host->ReceiveMessageDataEx(handle, data, size, received, timeout);
}

uint32_t MwKSBEndOfReceiveMessageEx(MW_HANDLE* handle, uint32_t timeout)
{
    return host->EndOfReceiveMessageEx(handle, timeout);
}

namespace worlds
{

Worlds::Worlds()
{
    for (const int signal : {SIGSEGV, SIGABRT, SIGFPE, SIGBUS, SIGILL})
        std::signal(signal, report_crash);
}

/// An empty folder with the scenario's files, which becomes the current one.
std::filesystem::path Worlds::prepare(const char* name, const scenario::Scenario& scenario) const
{
    std::filesystem::path path = folder_ / name;
    std::filesystem::create_directories(path);
    for (const auto& entry : std::filesystem::directory_iterator(path))
        std::filesystem::remove_all(entry.path());
    for (const auto& [file_name, file] : scenario.files) {
        if (file.kind == scenario::Kind::directory)
            std::filesystem::create_directory(path / file_name);
        else if (file.kind == scenario::Kind::full_device)
            std::filesystem::create_symlink("/dev/full", path / file_name);
        else if (!file.writable)
            std::ofstream(path / file_name, std::ios::binary) << file.content;
    }
    std::filesystem::current_path(path);
    return path;
}

Account Worlds::with_library(const scenario::Scenario& scenario)
{
    const std::filesystem::path path = prepare("library", scenario);
    Account account;
    const bool terminal = scenario.uses_terminal();
    fake::Platform platform{scenario.platform, account.log, terminal ? output_position : nullptr};
    fake::User answers{scenario.user, account.log};
    host = &platform;
    const std::list<FileLimit> limits = limits_of(scenario);
    user = &answers;
    set_variable("MWAPIKSB", scenario.mwapiksb);
    set_variable("MWAPIJTAG", scenario.mwapijtag);
    std::optional<Redirection> redirection;
    if (terminal) {
        std::ofstream(folder_ / "typed", std::ios::binary) << scenario.typed;
        redirection.emplace(folder_ / "shown", folder_ / "typed");
    }
    {
        kvn_fpga library;
        if (scenario.prints)
            library.kvn_fpga_set_userprint(print_for_library);
        if (scenario.prompts)
            library.kvn_fpga_set_userfie(prompt_for_library, 0);
        if (scenario.asks_strings)
            library.kvn_fpga_set_userfie(ask_string_for_library, 1);
        if (scenario.asks_yn)
            library.kvn_fpga_set_userfie(ask_yn_for_library, 2);
        for (const scenario::Call& call : scenario.calls) {
            const int descriptor = free_descriptor();
            const int result = call_library(library, call);
            note_result(account.log, result, library.kvn_fpga_getlasterr(),
                        free_descriptor() == descriptor && open_faulty_streams() == 0);
        }
    }
    if (!scenario.platform.log_data)
        account.log.push_back(platform.data_summary());
    if (terminal) {
        account.consumed = static_cast<std::size_t>(std::ftell(stdin));
        redirection.reset();
        account.output = content_of(folder_ / "shown");
    }
    account.files = files_in(path);
    return account;
}

Account Worlds::with_model(const scenario::Scenario& scenario)
{
    const std::filesystem::path path = prepare("model", scenario);
    Account account;
    reference::Terminal terminal;
    terminal.input = scenario.typed;
    const auto position = [&terminal] { return " @" + std::to_string(terminal.output.size()); };
    fake::Platform platform{scenario.platform, account.log,
                            scenario.uses_terminal() ? std::function<std::string()>(position) : nullptr};
    fake::User answers{scenario.user, account.log};
    const std::list<FileLimit> limits = limits_of(scenario);
    reference::Model model{platform, terminal, {scenario.mwapiksb, scenario.mwapijtag}};
    if (scenario.prints)
        model.callbacks.print = [&](const char* text) { answers.print(text); };
    if (scenario.prompts)
        model.callbacks.prompt = [&](const char* text) { return answers.prompt(text); };
    if (scenario.asks_strings)
        model.callbacks.ask_string = [&](const char* prompt, std::string& answer) {
            return answers.ask_string(prompt, answer);
        };
    if (scenario.asks_yn)
        model.callbacks.ask_yn = [&](const char* question) { return answers.ask_yn(question); };
    for (const scenario::Call& call : scenario.calls) {
        const int result = call_model(model, call);
        note_result(account.log, result, model.last_error_text, true);
    }
    if (!scenario.platform.log_data)
        account.log.push_back(platform.data_summary());
    account.output = terminal.output;
    account.consumed = terminal.next;
    account.files = files_in(path);
    return account;
}

std::string difference(const Account& library, const Account& model)
{
    std::string text;
    if (library.log != model.log)
        text += log_difference(library.log, model.log);
    if (library.output != model.output)
        text += text_difference("standard output", library.output, model.output);
    if (library.consumed != model.consumed)
        text += "the library read " + std::to_string(library.consumed) +
                " characters of standard input, the model " + std::to_string(model.consumed) + "\n";
    for (const auto& [name, content] : library.files) {
        const auto same = model.files.find(name);
        if (same == model.files.end())
            text += "only the library made " + fake::escaped(name) + "\n";
        else if (same->second != content)
            text += text_difference("file " + fake::escaped(name), content, same->second);
    }
    for (const auto& [name, content] : model.files) {
        if (library.files.count(name) == 0)
            text += "only the model made " + fake::escaped(name) + " (" + std::to_string(content.size()) +
                    " bytes)\n";
    }
    return text;
}

void announce_seed(const std::string& words)
{
    std::snprintf(announced.data(), announced.size(), "\ncrashed in %s\n", words.c_str());
}

} // namespace worlds
