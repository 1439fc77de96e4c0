// SPDX-License-Identifier: Apache-2.0
// Puts described racks in force, for programs in other languages than C++.
#include "mwvirtual.h"

#include "virtual_carrier.h"

#include <array>
#include <cstdio>
#include <exception>
#include <memory>
#include <utility>

struct MwVirtualRack {
    explicit MwVirtualRack(mwvirtual::Carrier described) : carrier{std::move(described)} {}
    mwvirtual::Carrier carrier;
};

namespace
{

/// The text of MwVirtualProblem; longer ones are cut.
std::array<char, 1024>& problem()
{
    thread_local std::array<char, 1024> text{};
    return text;
}

void keep_problem(const char* text)
{
    (void)std::snprintf(problem().data(), problem().size(), "%s", text);
}

std::unique_ptr<MwVirtualRack> put_rack(const char* toml, const char* name, const char* state_folder)
{
    if (toml == nullptr || name == nullptr)
        throw mwvirtual::RackError{"the description or its name is null"};
    auto rack = std::make_unique<MwVirtualRack>(mwvirtual::Carrier::from_toml(toml, name));
    rack->carrier.keep_journal(false); // nobody can read it
    if (state_folder != nullptr)
        rack->carrier.state_folder(state_folder);
    return rack;
}

} // namespace

MwVirtualRack* MwVirtualPutRack(const char* toml, const char* name, const char* state_folder)
{
    try {
        keep_problem("");
        return put_rack(toml, name, state_folder).release();
    } catch (const std::exception& error) {
        keep_problem(error.what());
        return nullptr;
    }
}

void MwVirtualRemoveRack(MwVirtualRack* rack)
{
    std::unique_ptr<MwVirtualRack>{rack}.reset();
}

const char* MwVirtualProblem(void)
{
    return problem().data();
}
