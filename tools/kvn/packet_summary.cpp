// Counts the packets of a configuration stream.
#include "packet_summary.h"

#include "bits.h"
#include "packets.h"

#include <algorithm>

namespace kvn
{
namespace
{

constexpr std::array<const char*, fpga::REGISTER_COUNT> REGISTER_NAMES = {
    "CRC",  "FAR", "FDRI", "FDRO", "CMD", "CTL", "MASK",  "STAT",
    "LOUT", "COR", "MFWR", "FLR",  "KEY", "CBC", "IDCODE"};

constexpr std::array<const char*, 14> COMMAND_NAMES = {"NULL",     "WCFG",     "MFWR",     "LFRM",   "RCFG",
                                                       "START",    "RCAP",     "RCRC",     "AGHIGH", "SWITCH",
                                                       "GRESTORE", "SHUTDOWN", "GCAPTURE", "DESYNCH"};

// A hostile stream has as many different codes as it has words.
constexpr std::size_t MOST_COMMANDS = 32;

std::string name_of(std::span<const char* const> names, std::size_t index)
{
    return index < names.size() ? names[index] : std::to_string(index);
}

} // namespace

void PacketSummary::take(std::span<const std::uint8_t> bytes)
{
    for (const std::uint8_t byte : bytes) {
        ++bytes_;
        if (ended_)
            return;
        shift_ = shift_ << 8 | fpga::REVERSED[byte];
        if (sync_bit_) {
            held_bits_ += 8;
            if (held_bits_ < 32)
                continue;
            held_bits_ -= 32;
            take_word(static_cast<std::uint32_t>(shift_ >> held_bits_));
            continue;
        }
        // The word may begin at any bit.
        for (unsigned behind = 0; behind < 8; ++behind) {
            if (static_cast<std::uint32_t>(shift_ >> behind) != fpga::SYNC_WORD)
                continue;
            sync_bit_ = bytes_ * 8 - behind - 32;
            held_bits_ = behind;
            break;
        }
    }
}

void PacketSummary::take_word(std::uint32_t word)
{
    if (remaining_ == 0 && skips_automatic_crc_) {
        skips_automatic_crc_ = false;
        return;
    }
    if (remaining_ == 0)
        return take_header(word);
    ++tallies_[address_].words;
    if (address_ == fpga::REG_CMD)
        note_command(word);
    if (address_ == fpga::REG_IDCODE)
        idcode_ = word;
    // Devices whose streams hold an ID take a CRC word behind frame data that no packet announces.
    if (--remaining_ == 0)
        skips_automatic_crc_ = address_ == fpga::REG_FDRI && idcode_.has_value();
}

void PacketSummary::take_header(std::uint32_t word)
{
    constexpr unsigned NO_OPERATION = 0;
    constexpr unsigned WRITE = 2;
    const unsigned type = word >> 29;
    const unsigned operation = word >> 27 & 0x3;
    if (word == 0 || ((type == 1 || type == 2) && operation == NO_OPERATION))
        return;
    if ((type != 1 && type != 2) || operation != WRITE) {
        ended_ = true;
        return;
    }
    if (type == 1) {
        address_ = word >> 13 & (REGISTERS - 1);
        ++tallies_[address_].packets;
    }
    remaining_ = word & (type == 1 ? fpga::TYPE1_MAX_COUNT : fpga::TYPE2_MAX_COUNT);
}

void PacketSummary::note_command(std::uint32_t code)
{
    if (code == fpga::CMD_DESYNCH)
        ended_ = true;
    const std::string name = name_of(COMMAND_NAMES, code);
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
                {name_of(REGISTER_NAMES, address), tallies_[address].packets, tallies_[address].words});
    return written;
}

} // namespace kvn
