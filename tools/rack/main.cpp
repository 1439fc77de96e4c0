// SPDX-License-Identifier: Apache-2.0
// The program kvn_rack: shows what the modules of virtual carriers hold, and empties them.
#include "errors/catalogue.h"
#include "rack_view.h"
#include "system/arguments.h"
#include "system/terminal.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace
{
using Json = nlohmann::ordered_json;
using kvn::ExitStatus;

struct Request {
    std::string folder;
    bool power_cycle = false;
    bool json = false;
};

/// Why the program ends without a rack.
struct Failure {
    ExitStatus status;
    std::string problem;
};

/// Help or the version, to be shown instead of a rack.
struct Words {
    std::string text;
};

void print_json(ExitStatus status, const Json& content)
{
    Json json{{"kvn_rack", "state"}, {"version", "1.0"}, {"tool", "kvn_rack " KVN_VERSION}};
    json.update(content);
    json["exit_status"] = static_cast<int>(status);
    std::cout << json.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

Request request_of(int argc, char** argv)
{
    Request request;
    CLI::App app{"Shows what the modules of virtual carriers hold.\n\n"
                 "The virtual carriers keep the state of modules in the folder that MWVIRTUAL_STATE names.",
                 "kvn_rack"};
    app.allow_windows_style_options(false); // a word that begins with / names a folder
    app.set_version_flag("--version", std::string{"kvn_rack " KVN_VERSION});
    app.add_option("folder", request.folder, "Folder that MWVIRTUAL_STATE names to the virtual carriers")
        ->required();
    app.add_flag("--power-cycle", request.power_cycle,
                 "First empty all modules, unless one receives a message");
    app.add_flag("--json", request.json, "Print JSON, on every path");
    app.footer("Examples:\n  kvn_rack rack-state\n  kvn_rack rack-state --power-cycle --json");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::ostringstream words;
        if (app.exit(error, words, words) == 0)
            throw Words{words.str()};
        throw Failure{ExitStatus::usage, std::string{error.what()} + "; kvn_rack --help tells more"};
    }
    return request;
}

void power_cycle(const mwvirtual::StateStore& store)
{
    if (const std::optional<mwvirtual::ModuleName> receiving = store.switch_power_off_and_on())
        throw Failure{ExitStatus::bus, receiving->text() + " receives a message; no module has been emptied"};
}

ExitStatus run(int argc, char** argv)
{
    const Request request = request_of(argc, argv);
    const mwvirtual::StateStore store{request.folder};
    if (request.power_cycle)
        power_cycle(store);
    const rack::RackView view = rack::view_of(store);
    const ExitStatus status = view.problems.empty() ? ExitStatus::done : ExitStatus::damaged;
    if (request.json)
        print_json(status, rack::json_of(view));
    else
        rack::print(std::cout, view);
    std::cout.flush();
    for (const std::string& problem : view.problems)
        std::cerr << "kvn_rack: " << rack::printable(problem) << '\n';
    return status;
}

ExitStatus report(ExitStatus status, const std::string& problem, bool as_json)
{
    std::cerr << "kvn_rack: " << rack::printable(problem) << '\n';
    if (as_json)
        print_json(status, Json{{"problems", Json::array({problem})}});
    return status;
}

ExitStatus run_and_report(int argc, char** argv)
{
    const bool as_json =
        std::any_of(argv, argv + argc, [](const char* word) { return std::string_view{word} == "--json"; });
    try {
        return run(argc, argv);
    } catch (const Words& words) {
        if (as_json)
            print_json(ExitStatus::done, Json{{"help", words.text}});
        else
            std::cout << words.text;
        return ExitStatus::done;
    } catch (const Failure& failure) {
        return report(failure.status, failure.problem, as_json);
    } catch (const mwvirtual::StateError& error) {
        return report(ExitStatus::file, error.what(), as_json);
    } catch (const std::exception& error) {
        return report(ExitStatus::internal, error.what(), as_json);
    }
}

ExitStatus run_and_flush(int argc, char** argv)
{
    const ExitStatus status = run_and_report(argc, argv);
    if (std::cout.flush())
        return status;
    std::cerr << "kvn_rack: cannot write to standard output\n";
    return ExitStatus::file;
}

} // namespace

int main(int argc, char** argv)
{
    kvn::system::set_up_standard_streams();
    try {
        kvn::system::Arguments arguments{argc, argv};
        return static_cast<int>(run_and_flush(arguments.count(), arguments.words()));
    } catch (...) {
        return static_cast<int>(ExitStatus::internal); // not even the failure could be told
    }
}
