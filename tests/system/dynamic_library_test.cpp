// SPDX-License-Identifier: Apache-2.0
// Libraries that a running program loads.
#include "system/dynamic_library.h"

#include "system/environment.h"
#include "system/path_text.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{
using namespace kvn::system; // NOLINT(google-build-using-namespace): what is tested

std::string problem_of(const std::string& name)
{
    try {
        (void)load_library(name);
        return "none";
    } catch (const LibraryError& error) {
        return error.what();
    }
}

TEST(DynamicLibrary, ThatIsMissingIsNamed)
{
    const std::string file = library_file("kvnnothing");
    EXPECT_EQ(problem_of(file), file + ": cannot open shared object file: No such file or directory");
    EXPECT_EQ(problem_of("./" + file),
              "./" + file + ": cannot open shared object file: No such file or directory");
}

TEST(DynamicLibrary, GivesTheFunctionsThatItHas)
{
    Library* const library = load_library(SYSTEM_TEST_LIBRARY);
    EXPECT_NE(find_function(library, "MwOpenS"), nullptr);
    EXPECT_EQ(find_function(library, "MwNothing"), nullptr);
    EXPECT_EQ(find_function(program_itself(), "MwOpenS"), nullptr);
}

TEST(DynamicLibrary, IsFoundByAnAddress)
{
    Library* const library = load_library(SYSTEM_TEST_LIBRARY);
    const void* const there = find_function(library, "MwOpenS");
    const void* const here = reinterpret_cast<const void*>(&problem_of);
    EXPECT_EQ(path_of(file_of(there)).filename(), library_file("mwvirtual"));
    EXPECT_EQ(path_of(file_of(here)).stem(), "system_tests");
    EXPECT_EQ(file_of(nullptr), "");
    EXPECT_TRUE(are_in_one_library(there, find_function(library, "MwClose")));
    EXPECT_FALSE(are_in_one_library(there, here));
}

TEST(Environment, IsChangedForThisProcess)
{
    set_variable("KVN_SYSTEM_TEST", "st\u00E4tte");
    EXPECT_STREQ(std::getenv("KVN_SYSTEM_TEST"),
                 "st\u00E4tte"); // NOLINT(concurrency-mt-unsafe): the only thread
}

} // namespace
