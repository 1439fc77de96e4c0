// SPDX-License-Identifier: Apache-2.0
// Runs for the library and the reference model, made of seeds: mostly near to a working one, with damage of
// every kind.
#ifndef RANDOM_SCENARIOS_H
#define RANDOM_SCENARIOS_H

#include "reference_model.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// The same run for the same seed.
reference::Scenario random_scenario(std::uint64_t seed);

/// Configuration bytes with long runs, with short ones, without or all the same, as the seed decides.
Bytes configuration_of(std::size_t size, std::uint64_t seed);

/// A good file of these bytes for a device.
std::string file_content(reference::Format format, const std::string& device, const Bytes& configuration);

#endif
