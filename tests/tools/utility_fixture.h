// SPDX-License-Identifier: Apache-2.0
// Runs of KVN_FPGA in a temporary folder.
#ifndef KVN_FPGA_TESTS_TOOLS_UTILITY_FIXTURE_H
#define KVN_FPGA_TESTS_TOOLS_UTILITY_FIXTURE_H

#include "support/bitstreams.h"
#include "support/folder_test.h"
#include "support/process.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

class UtilityTest : public FolderTest
{
protected:
    /// KVN_FPGA with these arguments and the fixture's variables.
    [[nodiscard]] Command kvn_fpga(std::vector<std::string> arguments) const
    {
        return {KVN_FPGA_PROGRAM, std::move(arguments), folder, variables};
    }

    /// The platform of the following runs is the tests' own: one module with a 2v40cs144-4, in slot 2.
    void use_test_provider()
    {
        variables["KVN_MWAPI"] = TEST_PROVIDER;
        variables["KVN_TEST_JOURNAL"] = path("journal");
    }

    /// An RBT file for the module of the tests' own platform.
    void write_rbt(const std::string& name, std::size_t words = 8) const
    {
        RbtFile{words}.device("2v40cs144").write(path(name));
    }

    std::map<std::string, std::string> variables;
};

#endif
