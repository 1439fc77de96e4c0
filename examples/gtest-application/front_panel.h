// SPDX-License-Identifier: Apache-2.0
// The part of an application that configures modules.
#ifndef FRONT_PANEL_H
#define FRONT_PANEL_H

#include <string>

/// Loads the bitstream into the module in this slot of board mwc4a 0, and tries again once on failure.
/// @return "ready", or the library's message
std::string configure_module(int slot, const std::string& bitstream);

#endif
