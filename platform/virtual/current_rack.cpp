// Which rack the platform functions act on: the youngest carrier's, else the one that the environment names.
#include "rack.h"
#include "rack_reader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace mwvirtual
{
namespace
{

struct InForce {
    std::mutex mutex;
    std::vector<std::shared_ptr<Rack>> carriers;
    std::shared_ptr<Rack> of_environment;
};

InForce& in_force()
{
    static InForce racks;
    return racks;
}

// Nobody reads the journal of this rack, so none is kept. A mistake is told where people look first, and
// again by every attempt to open a board.
std::shared_ptr<Rack> rack_of_environment()
{
    std::shared_ptr<Rack> rack;
    try {
        const char* path = std::getenv("MWVIRTUAL_RACK");
        const bool described = path != nullptr && *path != '\0';
        rack = described ? read_rack_file(path) : read_rack(builtin_rack_text(), "built-in rack");
    } catch (const RackError& error) {
        (void)std::fprintf(stderr, "mwvirtual: %s\n", error.what());
        rack = Rack::broken(error.what());
    }
    rack->keep_journal(false);
    return rack;
}

} // namespace

std::shared_ptr<Rack> current_rack()
{
    InForce& racks = in_force();
    const std::lock_guard lock{racks.mutex};
    if (!racks.carriers.empty())
        return racks.carriers.back();
    if (racks.of_environment == nullptr)
        racks.of_environment = rack_of_environment();
    return racks.of_environment;
}

void put_in_force(std::shared_ptr<Rack> rack)
{
    InForce& racks = in_force();
    const std::lock_guard lock{racks.mutex};
    racks.carriers.push_back(std::move(rack));
}

void take_out_of_force(const std::shared_ptr<Rack>& rack)
{
    InForce& racks = in_force();
    const std::lock_guard lock{racks.mutex};
    std::erase(racks.carriers, rack);
}

} // namespace mwvirtual
