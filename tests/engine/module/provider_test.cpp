// SPDX-License-Identifier: Apache-2.0
// The provider of a process, and what is known of it.
#include "module/provider.h"

#include "errors/failure.h"
#include "provider/provider.h"
#include "rack.h"
#include "support/fake_platform.h"
#include "support/run_fixture.h"
#include "system/dynamic_library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace
{
using kvn::ExitStatus;
using kvn::Provider;
using testing::EndsWith;
using testing::StartsWith;

const void* const beside = nullptr;
/// The provider where none is named.
const std::string DEFAULT = kvn::system::library_file("mwapi");

kvn::Failure failure_of(const std::string& name)
{
    try {
        (void)Provider::open(name, beside);
    } catch (const kvn::FailureError& error) {
        return error.failure();
    }
    return {.status = ExitStatus::done, .what = "none"};
}

std::string real_path(const char* library)
{
    return std::filesystem::canonical(library).string();
}

// One test: a process opens one provider.
TEST(Provider, OfAProcessIsOne)
{
    const kvn::Failure missing = failure_of("./nothing.so");
    EXPECT_EQ(missing.status, ExitStatus::no_module);
    EXPECT_EQ(missing.what,
              "the provider ./nothing.so cannot be used: ./nothing.so: cannot open shared object "
              "file: No such file or directory");
    EXPECT_FALSE(missing.why.empty());
    EXPECT_EQ(missing.remedy,
              "name the board maker's library with the Mw... functions, or virtual for simulated boards");
    EXPECT_EQ(failure_of(LACKING_PROVIDER).what,
              "the provider " LACKING_PROVIDER " cannot be used: " LACKING_PROVIDER
              " has no function MwKSBEndOfReceiveMessageEx");
    EXPECT_THAT(failure_of("").what,
                StartsWith("the provider " + DEFAULT + " cannot be used: " + DEFAULT + ": cannot open"));

    const std::shared_ptr<Provider> provider = Provider::open(MWVIRTUAL_LIBRARY, beside);
    const kvn::ProviderIdentity& identity = provider->identity();
    EXPECT_EQ(identity.name, MWVIRTUAL_LIBRARY);
    EXPECT_EQ(identity.file, real_path(MWVIRTUAL_LIBRARY));
    EXPECT_EQ(identity.version, KVN_VERSION);
    EXPECT_EQ(identity.announcement, "the boards are simulated, no hardware is reached.");
    EXPECT_TRUE(identity.simulated);

    EXPECT_EQ(Provider::open(MWVIRTUAL_LIBRARY, beside), provider);
    const kvn::Failure second = failure_of("libother.so");
    EXPECT_EQ(second.status, ExitStatus::usage);
    EXPECT_EQ(second.what, "the provider libother.so cannot be opened: this process uses " MWVIRTUAL_LIBRARY);
    EXPECT_EQ(second.why, "a process has one provider, whose library stays loaded until it ends");
    EXPECT_EQ(second.remedy, "use another process for another provider");
    EXPECT_EQ(failure_of("").what,
              "the provider " + DEFAULT + " cannot be opened: this process uses " MWVIRTUAL_LIBRARY);
}

TEST(Provider, LibraryOfAMakerTellsNothingOfItself)
{
    const mwapi::LoadedPlatform library{TEST_PROVIDER};
    EXPECT_EQ(library.announcement(), "");
    EXPECT_EQ(library.version(), "");
    EXPECT_EQ(library.file(), real_path(TEST_PROVIDER));
}

TEST(Provider, RecorderPassesOnWhatIsBehindIt)
{
    EnvironmentVariable wish{"MWTRACE_PROVIDER"};
    wish.set("virtual");
    EnvironmentVariable file{"MWTRACE_FILE"};
    file.unset();
    const mwapi::LoadedPlatform recorder{MWTRACE_LIBRARY};
    EXPECT_EQ(recorder.announcement(), "the boards are simulated, no hardware is reached.");
    EXPECT_EQ(recorder.version(), KVN_VERSION);
    EXPECT_THAT(recorder.file(), EndsWith(kvn::system::library_file("mwtrace")));
}

TEST(Provider, CanBeMadeFromAnyPlatform)
{
    FakePlatform fake;
    const Provider provider{fake, "fake"};
    EXPECT_EQ(provider.identity(), (kvn::ProviderIdentity{.name = "fake"}));
    EXPECT_EQ(&provider.platform(), &fake);
    mwvirtual::Rack rack;
    const Provider other{rack, "rack"};
    EXPECT_FALSE(other.identity().simulated) << "only what announces itself is marked";
}
} // namespace
