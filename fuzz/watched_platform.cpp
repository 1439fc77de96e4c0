// SPDX-License-Identifier: Apache-2.0
// The platform of the fuzz targets.
#include "watched_platform.h"

void report_broken_rule(const std::string& rule)
{
    broken(rule.c_str());
}

WatchedPlatform::WatchedPlatform()
{
    every_board = &modules;
    stops_at_failure = true;
    logs_data = false;
    fill_slots(fpga_module(4));
}

void WatchedPlatform::fill_slots(const Module& module)
{
    for (std::uint32_t slot = 1; slot <= 4; ++slot)
        modules.slot(slot, module);
}

std::vector<Bytes> WatchedPlatform::loads()
{
    std::vector<Bytes> all;
    for (std::uint32_t slot = 1; slot <= 4; ++slot) {
        const std::vector<Bytes>& sent = modules.module_in(slot)->loads;
        all.insert(all.end(), sent.begin(), sent.end());
    }
    return all;
}

std::uint32_t WatchedPlatform::error_text(std::uint32_t code, char* text)
{
    set_error_text(code, error_words);
    return FakePlatform::error_text(code, text);
}
