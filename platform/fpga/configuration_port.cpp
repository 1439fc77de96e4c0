// SPDX-License-Identifier: Apache-2.0
// A device's configuration port: chooses the model by the family.
#include "configuration_port.h"

#include "length_count_port.h"
#include "packet_port.h"

namespace fpga
{

const char* outcome_name(Outcome outcome)
{
    switch (outcome) {
    case Outcome::done:
        return "done";
    case Outcome::no_sync:
        return "no synchronisation";
    case Outcome::crc_error:
        return "CRC error";
    case Outcome::wrong_device:
        return "wrong device";
    case Outcome::data_short:
        return "data short";
    default:
        return "protocol violation";
    }
}

std::unique_ptr<ConfigurationPort> make_port(const Device& device)
{
    if (device.architecture() == Architecture::length_count)
        return std::make_unique<LengthCountPort>(device);
    return std::make_unique<PacketPort>(device);
}

} // namespace fpga
