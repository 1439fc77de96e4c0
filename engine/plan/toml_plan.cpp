// SPDX-License-Identifier: Apache-2.0
// Reads and writes plan files in TOML.
#include "config/table_reader.h"
#include "errors/failure.h"
#include "plan/plan.h"
#include "plan/plan_findings.h"

#include <algorithm>

namespace kvn
{
namespace
{

constexpr std::int64_t LONGEST_TIMEOUT = std::int64_t{24} * 60 * 60;
constexpr std::int64_t MOST_RETRIES = 100;
constexpr std::size_t LONGEST_PATH = 4095;
constexpr std::size_t LONGEST_DEVICE = 26;
constexpr std::size_t LONGEST_TEXT = 255;
constexpr const char* ASK = "ask";

struct ModeWord {
    ModeWish mode;
    const char* word;
};
constexpr ModeWord mode_words[] = {{ModeWish::as_taken, "as-module"},
                                   {ModeWish::plain, "plain"},
                                   {ModeWish::compressed, "compressed"},
                                   {ModeWish::smallest, "smallest"}};

const config::Words& module_keys()
{
    static const config::Words keys{"module", "file",   "name",    "load",   "device",
                                    "digest", "serial", "timeout", "retries"};
    return keys;
}

bool is_digest(std::string_view text)
{
    return text.size() == 64 && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// "plan.toml:12: what" as place and words.
Finding finding_of(const config::Mistake& mistake, const std::string& file)
{
    std::string_view text = mistake.what();
    PlanPlace place{file, 0};
    if (text.starts_with(file + ":")) {
        text.remove_prefix(file.size() + 1);
        place.line = std::stoul(std::string{text.substr(0, text.find(':'))});
        text.remove_prefix(text.find(": ") + 2);
    }
    return {Severity::problem, place, std::string{text}, "docs/plans.md shows a plan with every key"};
}

PlanPlace place_of(const config::TableReader& table, const std::string& file)
{
    return {file, std::stoul(table.place().substr(file.size() + 1))};
}

ModuleName read_name(const config::TableReader& table)
{
    try {
        return parse_module_name(table.text("module", LONGEST_TEXT));
    } catch (const FailureError& error) {
        table.mistake(table.need("module"), error.what());
    }
}

std::optional<std::string> optional_text(const config::TableReader& table, std::string_view key,
                                         std::size_t longest)
{
    return table.find(key) == nullptr ? std::nullopt : std::optional{table.text(key, longest)};
}

std::optional<unsigned> optional_number(const config::TableReader& table, std::string_view key,
                                        std::int64_t least, std::int64_t most)
{
    return table.find(key) == nullptr ? std::nullopt
                                      : std::optional{static_cast<unsigned>(table.integer(key, least, most))};
}

ModeWish read_mode(const config::TableReader& table)
{
    if (table.find("load") == nullptr)
        return ModeWish::as_taken;
    config::Words words;
    std::ranges::transform(mode_words, std::back_inserter(words), &ModeWord::word);
    return mode_words[table.choice("load", words)].mode;
}

std::optional<std::string> read_digest(const config::TableReader& table)
{
    auto digest = optional_text(table, "digest", LONGEST_TEXT);
    if (digest && !is_digest(*digest))
        table.mistake(*table.find("digest"),
                      "\"digest\" must be 64 digits 0 to 9 and a to f, as kvn digest prints them");
    return digest;
}

/// What a module's table says, and what all of them have in common.
PlannedModule read_module(const config::TableReader& table, const PlannedModule& defaults,
                          const std::string& file)
{
    table.allow(module_keys());
    PlannedModule module = defaults;
    module.place = place_of(table, file);
    module.module = read_name(table);
    module.file = beside(file, table.text("file", LONGEST_PATH));
    module.label = table.text_or("name", "");
    if (table.find("load") != nullptr)
        module.mode = read_mode(table);
    module.device = optional_text(table, "device", LONGEST_DEVICE);
    module.digest = read_digest(table);
    module.serial_number = optional_text(table, "serial", LONGEST_TEXT);
    if (module.serial_number == ASK) {
        module.serial_number.reset();
        module.asks_serial_number = true;
    }
    if (const auto timeout = optional_number(table, "timeout", 1, LONGEST_TIMEOUT))
        module.timeout = timeout;
    if (const auto retries = optional_number(table, "retries", 0, MOST_RETRIES))
        module.retries = retries;
    return module;
}

PlannedModule read_defaults(const config::TableReader& top)
{
    PlannedModule defaults;
    const auto table = top.table("defaults", "the defaults of a plan");
    if (!table)
        return defaults;
    table->allow({"load", "timeout", "retries"});
    defaults.mode = read_mode(*table);
    defaults.timeout = optional_number(*table, "timeout", 1, LONGEST_TIMEOUT);
    defaults.retries = optional_number(*table, "retries", 0, MOST_RETRIES);
    return defaults;
}

void take_table(Plan& plan, const config::TableReader& table, const PlannedModule& defaults,
                const FileFinder& files)
{
    try {
        PlannedModule module = read_module(table, defaults, plan.file);
        if (files.exists(module.file))
            add_module(plan, std::move(module));
        else
            plan.findings.push_back({Severity::problem, module.place, "there is no file " + module.file,
                                     "names are relative to the folder of the plan; check the name"});
    } catch (const config::Mistake& mistake) {
        plan.findings.push_back(finding_of(mistake, plan.file));
    }
}

/// A text as a TOML string.
std::string toml_text(std::string_view text)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string quoted = "\"";
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\')
            (quoted += '\\') += c;
        else if (code < ' ' || code == 0x7F)
            (quoted += "\\u00") += {digits[code >> 4], digits[code & 0xF]};
        else
            quoted += c;
    }
    return quoted + '"';
}

} // namespace

const char* name_of(ModeWish mode)
{
    return std::ranges::find(mode_words, mode, &ModeWord::mode)->word;
}

Plan read_toml_plan(const std::string& text, const std::string& file, const FileFinder& files)
{
    Plan plan;
    plan.file = file;
    try {
        const config::Document document{text, file};
        const config::TableReader top = document.top("a plan");
        top.allow({"defaults", "module"});
        const PlannedModule defaults = read_defaults(top);
        const auto modules = top.tables("module", "a module");
        if (modules.empty())
            top.mistake("a plan needs at least one [[module]]");
        for (const config::TableReader& table : modules)
            take_table(plan, table, defaults, files);
    } catch (const config::Mistake& mistake) {
        plan.findings.push_back(finding_of(mistake, file));
    }
    return plan;
}

std::string write_plan(const std::vector<PlannedModule>& modules, const std::string& comment)
{
    std::string text;
    for (std::string_view rest = comment; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        text.append("# ").append(line).append("\n");
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    const auto add = [&text](std::string_view key, const std::string& value) {
        text.append(key).append(" = ").append(value).append("\n");
    };
    for (const PlannedModule& module : modules) {
        text += text.empty() ? "[[module]]\n" : "\n[[module]]\n";
        if (!module.label.empty())
            add("name", toml_text(module.label));
        add("module", toml_text(to_text(module.module)));
        add("file", toml_text(module.file));
        if (module.mode != ModeWish::as_taken)
            add("load", toml_text(name_of(module.mode)));
        if (module.device)
            add("device", toml_text(*module.device));
        if (module.digest)
            add("digest", toml_text(*module.digest));
        if (module.asks_serial_number || module.serial_number)
            add("serial", toml_text(module.serial_number.value_or(ASK)));
        if (module.timeout)
            add("timeout", std::to_string(*module.timeout));
        if (module.retries)
            add("retries", std::to_string(*module.retries));
    }
    return text;
}

} // namespace kvn
