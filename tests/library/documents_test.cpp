// SPDX-License-Identifier: Apache-2.0
// kvn --json and kvn_result_json say the same of the same operation.
#include "library_fixture.h"
#include "support/process.h"

#include <nlohmann/json.hpp>

#include <functional>

namespace
{
using nlohmann::json;

struct Operation {
    const char* name;
    std::vector<std::string> arguments; ///< of kvn, without --json
    std::function<int(kvn_session*, const kvn_file*)> call;
    int status = KVN_DONE; ///< of both
};

void PrintTo(const Operation& operation, std::ostream* out)
{
    *out << operation.name;
}

template <class Structure>
auto reading(int (*function)(kvn_session*, const kvn_file*, Structure*))
{
    return [function](kvn_session* session, const kvn_file* file) {
        auto result = sized<Structure>();
        return function(session, file, &result);
    };
}

int check(kvn_session* session, const kvn_file* file, const char* device, int mode)
{
    auto result = sized<kvn_judgement>();
    return kvn_check(session, file, device, mode, &result);
}

int estimate(kvn_session* session, const kvn_file* file, const kvn_estimate_options* options)
{
    auto result = sized<kvn_estimate_info>();
    return kvn_estimate(session, file, options, &result);
}

int estimate_with_options(kvn_session* session, const kvn_file* file)
{
    auto options = sized<kvn_estimate_options>();
    options.takes_compressed = KVN_UNKNOWN;
    options.mode = KVN_MODE_PLAIN;
    options.bytes_per_second = 1000;
    return estimate(session, file, &options);
}

int convert(kvn_session* session, const kvn_file* file, const char* target)
{
    auto options = sized<kvn_convert_options>();
    options.target = target;
    options.overwrite = 1;
    auto result = sized<kvn_conversion>();
    return kvn_convert(session, file, &options, &result);
}

int load(kvn_session* session, const kvn_file* file, const char* module, const char* device)
{
    auto options = sized<kvn_load_options>();
    options.module = module;
    options.device = device;
    options.serial_number = "4711";
    auto result = sized<kvn_record>();
    return kvn_load(session, file, &options, &result);
}

int identify(kvn_session* session, const char* module)
{
    auto result = sized<kvn_slot_info>();
    return kvn_identify(session, module, &result);
}

int explain(kvn_session* session, int number)
{
    auto result = sized<kvn_explanation>();
    return kvn_explain(session, number, &result);
}

std::vector<Operation> operations()
{
    using Call = std::function<int(kvn_session*, const kvn_file*)>;
    const auto of_file = [](auto call, auto... arguments) -> Call {
        return [=](kvn_session* session, const kvn_file* file) { return call(session, file, arguments...); };
    };
    const auto without_file = [](auto call, auto... arguments) -> Call {
        return [=](kvn_session* session, const kvn_file*) { return call(session, arguments...); };
    };
    return {
        {"Inspect", {"info", "design.rbt"}, reading(&kvn_inspect)},
        {"Check", {"check", "design.rbt"}, of_file(check, nullptr, KVN_MODE_AS_TAKEN)},
        {"CheckOfOneLoadForAnotherDevice",
         {"check", "design.rbt", "--device", "2v80cs144-4", "--load", "compressed"},
         of_file(check, "2v80cs144-4", KVN_MODE_COMPRESSED),
         KVN_WRONG_DEVICE},
        {"Compare",
         {"diff", "design.rbt", "design.rbt"},
         [](kvn_session* session, const kvn_file* file) {
             auto result = sized<kvn_difference>();
             return kvn_compare(session, file, file, &result);
         }},
        {"Estimate", {"estimate", "design.rbt"}, of_file(estimate, nullptr)},
        {"EstimateForABus",
         {"estimate", "design.rbt", "--plain", "--bytes-per-second", "1000"},
         estimate_with_options},
        {"Convert", {"convert", "design.rbt", "a.mcb", "--overwrite"}, of_file(convert, "a.mcb")},
        {"ConvertToAFolderThatIsMissing",
         {"convert", "design.rbt", "none/a.mcb"},
         of_file(convert, "none/a.mcb"),
         KVN_FILE},
        {"List", {"list", "mwc4a:0"}, without_file(&kvn_list, "mwc4a", 0)},
        {"ListOfABoardThatIsMissing",
         {"list", "mwc4a:3"},
         without_file(&kvn_list, "mwc4a", 3),
         KVN_NO_MODULE},
        {"Identify", {"list", "mwc4a:0/1"}, without_file(identify, "mwc4a:0/1")},
        {"IdentifyAnEmptySlot", {"list", "mwc4a:0/4"}, without_file(identify, "mwc4a:0/4")},
        {"Load",
         {"load", "design.rbt", "mwc4a:0/1", "--serial", "4711"},
         of_file(load, "mwc4a:0/1", nullptr)},
        {"LoadOfAnotherDevice",
         {"load", "design.rbt", "mwc4a:0/1", "--serial", "4711", "--device", "2v80cs144-4"},
         of_file(load, "mwc4a:0/1", "2v80cs144-4"),
         KVN_WRONG_DEVICE},
        {"ExplainAnError", {"explain", "9103"}, without_file(explain, 9103)},
        {"ExplainAnAnswer", {"explain", "4"}, without_file(explain, 4)},
    };
}

class DocumentTest : public LibraryTest
{
protected:
    DocumentTest() { add_module(0); }

    /// What kvn prints, on the same rack.
    json printed(std::vector<std::string> arguments, int status)
    {
        write("rack.toml", "[[board]]\ntype = \"mwc4a\"\nnumber = 0\n\n[[board.slot]]\nnumber = 1\n"
                           "kind = \"fpga\"\nmodel = 4\ndevice = \"" +
                               std::string{DEVICE} + "\"\ncompression = \"query\"\n");
        arguments.emplace_back("--json");
        const Outcome outcome = run({KVN_PROGRAM,
                                     arguments,
                                     folder,
                                     {{"KVN_MWAPI", "virtual"}, {"MWVIRTUAL_RACK", path("rack.toml")}}});
        EXPECT_EQ(outcome.status, status) << outcome.errors;
        return json::parse(outcome.output);
    }

    /// What the library gives after an operation on the file.
    template <class Call>
    json given(Call call, int status)
    {
        const Session session;
        fpga::write_rbt("design.rbt", stream, {"2v40cs144", "virtex2"});
        EXPECT_EQ(kvn_file_open(session, "design.rbt", &file), KVN_DONE) << kvn_error_text(session);
        EXPECT_EQ(call(session, file), status) << kvn_error_text(session);
        return json::parse(session.json());
    }

private:
    const CurrentFolder current_{folder};
};

class Documents : public DocumentTest, public testing::WithParamInterface<Operation>
{
};

TEST_P(Documents, AreTheSameFromProgramAndLibrary)
{
    json library = given(GetParam().call, GetParam().status);
    json program = printed(GetParam().arguments, GetParam().status);
    // No two loads share these.
    for (const char* member : {"begin", "end", "seconds_on_wire"})
        EXPECT_EQ(library.erase(member), program.erase(member)) << member;
    EXPECT_EQ(library, program);
}

INSTANTIATE_TEST_SUITE_P(Operations, Documents, testing::ValuesIn(operations()),
                         [](const auto& tested) { return std::string{tested.param.name}; });

// The program takes any number of files.
TEST_F(DocumentTest, ADigestIsARowOfTheDocumentOfDigests)
{
    json library = given(
        [](kvn_session* session, const kvn_file* opened) {
            char digest[KVN_DIGEST_SIZE];
            return kvn_digest(session, opened, digest, sizeof digest);
        },
        KVN_DONE);
    EXPECT_EQ(library["kvn"], "digest");
    const json program = printed({"digest", "design.rbt"}, KVN_DONE);
    EXPECT_EQ(library["version"], program["version"]);
    library.erase("kvn");
    library.erase("version");
    EXPECT_EQ(json::array({library}), program["files"]);
}
} // namespace
