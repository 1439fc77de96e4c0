// SPDX-License-Identifier: Apache-2.0
// Runs of kvn on example bitstreams in a temporary folder.
#ifndef KVN_FPGA_TESTS_KVN_FIXTURE_H
#define KVN_FPGA_TESTS_KVN_FIXTURE_H

#include "support/folder_test.h"
#include "support/process.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

class KvnTest : public FolderTest
{
protected:
    /// Writes an example bitstream; the extension is the format, .mcb by way of the utility.
    void make(const std::string& device, const std::string& file, const std::string& defect = "") const
    {
        const bool is_mcb = file.ends_with(".mcb");
        const std::string source =
            is_mcb ? std::filesystem::path{file}.replace_extension(".bit").string() : file;
        std::vector<std::string> arguments{device, "-o", source};
        if (!defect.empty())
            arguments.insert(arguments.end(), {"--defect", defect});
        ASSERT_EQ(run({KVN_BITGEN_PROGRAM, arguments, folder, {}}).status, 0);
        if (is_mcb) {
            ASSERT_EQ(run({KVN_FPGA_PROGRAM, {"-c", "-f" + source}, folder, {}}).status, 0);
        }
    }

    [[nodiscard]] Command command(std::vector<std::string> arguments) const
    {
        return {KVN_PROGRAM, std::move(arguments), folder, variables};
    }

    /// A document that a run has printed is kept for the comparison with its schema.
    [[nodiscard]] Outcome kvn(std::vector<std::string> arguments, std::string_view input = "") const
    {
        const bool is_document = std::ranges::find(arguments, std::string_view{"--json"}) != arguments.end();
        Outcome outcome = run(command(std::move(arguments)), input);
        if (is_document)
            keep_document(outcome.output);
        return outcome;
    }

    [[nodiscard]] nlohmann::json json(std::vector<std::string> arguments) const
    {
        arguments.emplace_back("--json");
        return nlohmann::json::parse(kvn(std::move(arguments)).output);
    }

    /// The events of a run with --json, kept for the comparison with their schema.
    [[nodiscard]] static std::vector<nlohmann::json> events_in(const std::string& output)
    {
        keep_lines(output);
        std::vector<nlohmann::json> all;
        std::istringstream lines{output};
        for (std::string line; std::getline(lines, line);)
            all.push_back(nlohmann::json::parse(line));
        return all;
    }

    /// What a load says, with the figure that depends on the machine replaced.
    [[nodiscard]] static std::string without_seconds(std::string text)
    {
        const std::size_t at = text.find(" bytes in ");
        const std::size_t end = text.find('\n', at);
        return at == std::string::npos ? text : text.replace(at, end - at, " bytes in SECONDS");
    }

    /// Keeps a document where schema_test.py finds it.
    static void keep_document(const std::string& text) { keep(text, ".json"); }
    /// The same for JSON Lines.
    static void keep_lines(const std::string& text) { keep(text, ".jsonl"); }

private:
    static void keep(const std::string& text, const char* extension)
    {
        static std::atomic<int> number{0};
        const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string{test.test_suite_name()} + "." + test.name() + "-" +
                           std::to_string(++number) + extension;
        std::ranges::replace(name, '/', '_');
        std::filesystem::create_directories(KVN_DOCUMENTS);
        write_whole_file(std::filesystem::path{KVN_DOCUMENTS} / name, text);
    }

protected:
    /// The environment of runs.
    std::map<std::string, std::string> variables;
};

/// Runs on virtual boards, by default those of the built-in rack.
class KvnOnBoards : public KvnTest
{
protected:
    KvnOnBoards() { variables["KVN_MWAPI"] = "virtual"; }

    static constexpr const char* ANNOUNCED =
        "kvn: provider virtual: the boards are simulated, no hardware is reached.\n";

    /// A rack of one board with one module, 2v40cs144-4, that takes compressed loads.
    void use_rack(const std::string& board = "", const std::string& slot = "") const
    {
        write("rack.toml", "[[board]]\ntype = \"mwc4a\"\nnumber = 0\n" + board +
                               "\n[[board.slot]]\nnumber = 1\nkind = \"fpga\"\nmodel = 4\nversion = 2\n"
                               "device = \"2v40cs144-4\"\ncompression = \"query\"\n" +
                               slot);
    }
};

#endif
