// SPDX-License-Identifier: Apache-2.0
// Loads in a process that has no descriptor left.
#include "load_support.h"
#include "rack.h"
#include "uniform_platform.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <cerrno>
#include <optional>
#include <system_error>

namespace
{
using kvn::LoadRequest;
using kvn::Record;
using kvn::Verdict;

/// For the duration of a scope no further descriptor can be opened.
class NoDescriptors
{
public:
    NoDescriptors()
    {
        (void)getrlimit(RLIMIT_NOFILE, &before_);
        rlimit none = before_;
        none.rlim_cur = 0;
        (void)setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { (void)setrlimit(RLIMIT_NOFILE, &before_); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

private:
    rlimit before_{};
};

/// In front of a platform; runs out of descriptors when a module has been asked.
class Exhausting final : public mwapi::UniformPlatform<Exhausting>
{
public:
    explicit Exhausting(mwapi::Platform& behind) : behind_{behind} {}
    template <mwapi::Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        if constexpr (function == mwapi::Function::MwKSBReceiveMessageEx)
            none_.emplace();
        return (behind_.*mwapi::CALL<function>.operation)(arguments...);
    }

private:
    mwapi::Platform& behind_;
    std::optional<NoDescriptors> none_;
};

void put_module(mwvirtual::Rack& rack)
{
    const mwvirtual::Module module = mwvirtual::fpga_module(4).device("2v40cs144-4");
    rack.put_module(rack.add_board({"mwc4a", 0}), 2, &module);
}

Record load_by(mwapi::Platform& platform, const LoadRequest& request)
{
    const kvn::Provider provider{platform, "rack"};
    kvn::LoadControl control;
    return kvn::load(provider, request, control);
}

Record load_without_descriptors(mwapi::Platform& platform, const LoadRequest& request)
{
    const NoDescriptors none;
    return load_by(platform, request);
}

void expect_no_load(const Record& record, const mwvirtual::Rack& rack)
{
    EXPECT_EQ(record.verdict, Verdict::not_tried);
    EXPECT_EQ(record.failure->status, kvn::ExitStatus::file);
    EXPECT_EQ(record.failure->what, "a.bit: Too many open files");
    EXPECT_EQ(rack.open_handles(), 0U);
}

class LoadWithoutDescriptors : public testing::Test
{
protected:
    LoadWithoutDescriptors()
    {
        put_module(rack);
        use_types();
    }

    /// The sanitizer looks at the first object of each type through a pipe, for which it needs descriptors.
    void use_types() const
    {
        mwvirtual::Rack other;
        put_module(other);
        (void)load_by(other, request);
        const std::system_error error{EMFILE, std::generic_category()};
        EXPECT_EQ(error.code().message(), "Too many open files");
        const kvn::FailureError failure{{.status = kvn::ExitStatus::file}};
        EXPECT_EQ(failure.failure().status, kvn::ExitStatus::file);
    }

    mwvirtual::Rack rack;
    const kvn::Input file = bitstream("a.bit", "2v40cs144", configuration("2v40cs144-4"));
    const LoadRequest request{.module = {.board = {"mwc4a", 0}, .slot = 2}, .file = &file};
};

TEST_F(LoadWithoutDescriptors, FailsBeforeTheBusIsOpened)
{
    expect_no_load(load_without_descriptors(rack, request), rack);
    EXPECT_EQ(rack.calls(), 0U);
}

TEST_F(LoadWithoutDescriptors, FailsWhenTheModuleHasBeenAsked)
{
    Exhausting exhausting{rack};
    expect_no_load(load_by(exhausting, request), rack);
    EXPECT_EQ(rack.contents({"mwc4a", 0}, 2).loads, 0U);
}
} // namespace
