// SPDX-License-Identifier: Apache-2.0
// Platforms that are opened by name; tests/tools/ has whole runs of the utility with them.
#include "provider/provider.h"

#include <gtest/gtest.h>

namespace
{
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
    EXPECT_EQ(problem_of("libc.so.6"), "libc.so.6 has no function MwOpenS");
    EXPECT_EQ(problem_of(""), "libmwapi.so: cannot open shared object file: No such file or directory");
}

TEST(Provider, OfThisProjectLiesBesideAnAddress)
{
    const std::string path = mwapi::file_beside(reinterpret_cast<const void*>(&problem_of), "libother.so");
    EXPECT_TRUE(path.ends_with("/libother.so")) << path;
    EXPECT_EQ(mwapi::file_beside(nullptr, "libother.so"), "libother.so");
}

TEST(Provider, OfThisProjectIsFoundWithoutAPathAndNoOther)
{
    const auto* here = reinterpret_cast<const void*>(&problem_of);
    const std::string own = mwapi::library_of("libmwvirtual.so", here);
    EXPECT_TRUE(own.ends_with("/lib/libmwvirtual.so")) << own;
    EXPECT_EQ(mwapi::library_of("libmwvirtual.so", nullptr), "libmwvirtual.so");
    EXPECT_EQ(mwapi::library_of("libkvn_fpga.so", here), "libkvn_fpga.so") << "no provider";
    EXPECT_EQ(mwapi::library_of("./libmwtrace.so", here), "./libmwtrace.so");
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
