// SPDX-License-Identifier: Apache-2.0
// Counts the packets of a configuration stream.
#include "file/packet_summary.h"

#include "packets.h"

#include <algorithm>

namespace kvn
{
namespace
{

// A hostile stream has as many different codes as it has words.
constexpr std::size_t MOST_COMMANDS = 32;

std::string name_of(std::span<const char* const> names, std::size_t index)
{
    return index < names.size() ? names[index] : std::to_string(index);
}

} // namespace

void PacketSummary::take(std::span<const std::uint8_t> bytes)
{
    if (ended_)
        return;
    reader_.take(bytes, [this](const fpga::PacketWord& packet) {
        note(packet);
        return !ended_;
    });
}

void PacketSummary::note(const fpga::PacketWord& packet)
{
    using Kind = fpga::PacketWord::Kind;
    ended_ = packet.is_fault();
    if (packet.kind == Kind::write)
        ++tallies_[packet.address].packets;
    if (packet.kind != Kind::data)
        return;
    ++tallies_[packet.address].words;
    if (packet.address == fpga::REG_CMD)
        note_command(packet.word);
    if (packet.address == fpga::REG_IDCODE)
        idcode_ = packet.word;
    if (packet.address == fpga::REG_FLR)
        frame_size_ = packet.word + 1;
}

void PacketSummary::note_command(std::uint32_t code)
{
    const std::string name = name_of(fpga::COMMAND_NAMES, code);
    const auto known = std::ranges::find(commands_, name, &Command::name);
    if (known != commands_.end())
        ++known->count;
    else if (commands_.size() < MOST_COMMANDS)
        commands_.push_back({name, 1});
}

std::vector<PacketSummary::Register> PacketSummary::registers() const
{
    std::vector<Register> written;
    for (std::size_t address = 0; address < tallies_.size(); ++address)
        if (tallies_[address].packets != 0)
            written.push_back(
                {name_of(fpga::REGISTER_NAMES, address), tallies_[address].packets, tallies_[address].words});
    return written;
}

} // namespace kvn
