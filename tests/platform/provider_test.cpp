// SPDX-License-Identifier: Apache-2.0
// Platforms that are opened by name; tests/tools/ has whole runs of the utility with them.
#include "provider/provider.h"
#include "system/dynamic_library.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
using kvn::system::library_file;

std::string problem_of(const std::string& name)
{
    try {
        (void)mwapi::open_provider(name, nullptr);
        return "none";
    } catch (const mwapi::ProviderError& error) {
        return error.what();
    }
}

TEST(Provider, ThatIsMissingOrIncompleteIsAnErrorWithAText)
{
    EXPECT_EQ(problem_of("./nothing.so"),
              "./nothing.so: cannot open shared object file: No such file or directory");
    EXPECT_EQ(problem_of(SYSTEM_LIBRARY), SYSTEM_LIBRARY " has no function MwOpenS");
    EXPECT_EQ(problem_of(""),
              library_file("mwapi") + ": cannot open shared object file: No such file or directory");
}

TEST(Provider, OfThisProjectLiesBesideAnAddress)
{
    const std::filesystem::path path =
        mwapi::file_beside(reinterpret_cast<const void*>(&problem_of), "libother.so");
    EXPECT_TRUE(path.has_parent_path()) << path;
    EXPECT_EQ(path.filename(), "libother.so");
    EXPECT_EQ(mwapi::file_beside(nullptr, "libother.so"), "libother.so");
}

TEST(Provider, OfThisProjectIsFoundWithoutAPathAndNoOther)
{
    const auto* here = reinterpret_cast<const void*>(&problem_of);
    const std::string carriers = library_file("mwvirtual");
    const std::filesystem::path own = mwapi::library_of(carriers, here);
    EXPECT_TRUE(std::filesystem::exists(own)) << own;
    EXPECT_EQ(own.filename(), carriers);
    EXPECT_EQ(mwapi::library_of(carriers, nullptr), carriers);
    EXPECT_EQ(mwapi::library_of(library_file("kvn_fpga"), here), library_file("kvn_fpga")) << "no provider";
    EXPECT_EQ(mwapi::library_of("./" + library_file("mwtrace"), here), "./" + library_file("mwtrace"));
}

TEST(Provider, ThatIsMissingFailsEveryCallAndSaysWhy)
{
    mwapi::MissingPlatform platform{41, "no boards here"};
    MW_HANDLE* handle = nullptr;
    std::uint32_t reserved = 0;
    EXPECT_EQ(platform.open("mwc4a", 0, "ksb", &handle, &reserved), 41U);
    EXPECT_EQ(platform.end_receive(nullptr, 5000), 41U);
    char text[mwapi::ERROR_TEXT_SIZE];
    EXPECT_EQ(platform.error_text(7, text), 0U);
    EXPECT_STREQ(text, "no boards here");
    EXPECT_EQ(platform.announcement(), "");
    EXPECT_EQ(platform.version(), "");
}
} // namespace
