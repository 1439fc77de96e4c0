// SPDX-License-Identifier: Apache-2.0
// The configuration port of the packet families: Spartan-2, Virtex, Virtex-E, Virtex-2, Virtex-2 Pro.
#include "packet_port.h"

#include <cstdarg>
#include <cstdio>

namespace fpga
{
namespace
{

[[gnu::format(printf, 1, 2)]] std::string text(const char* format, ...)
{
    std::array<char, 256> buffer{};
    va_list values;
    va_start(values, format);
    (void)std::vsnprintf(buffer.data(), buffer.size(), format, values);
    va_end(values);
    return buffer.data();
}

unsigned long long wide(std::uint64_t value)
{
    return value;
}

std::string named(const Device& device)
{
    return std::string{device.name};
}

} // namespace

FrameStore::FrameStore(const Device& device) : stored_(device.frames())
{
    for (auto& majors : column_at_)
        majors.fill(NOWHERE);
    std::size_t first = 0;
    for (const Column& column : frame_columns(device)) {
        column_at_.at(column.block).at(column.major) = columns_.size();
        columns_.push_back({column, first});
        first += column.frames;
    }
}

void FrameStore::seek(std::uint32_t address)
{
    const unsigned block = address >> 25 & 0x3;
    const unsigned major = address >> 17 & 0xFF;
    minor_ = address >> 9 & 0xFF;
    column_ = column_at_[block][major];
    if (column_ != NOWHERE && minor_ >= columns_[column_].column.frames)
        column_ = NOWHERE;
}

void FrameStore::store()
{
    if (column_ == NOWHERE) {
        ++stray_;
        return;
    }
    const Place& place = columns_[column_];
    const std::size_t index = place.first + minor_;
    if (!stored_[index]) {
        stored_[index] = true;
        ++written_;
    }
    if (++minor_ == place.column.frames) {
        minor_ = 0;
        column_ = column_ + 1 < columns_.size() ? column_ + 1 : NOWHERE;
    }
}

PacketPort::PacketPort(const Device& device)
    : device_{device},
      architecture_{device.architecture()},
      frames_{device},
      reader_{architecture_},
      crc_{architecture_ == Architecture::virtex2 ? 5U : 4U}
{
}

void PacketPort::take(std::span<const std::uint8_t> bytes)
{
    for (const std::uint8_t byte : bytes) {
        ++bytes_;
        if (settled())
            continue;
        if (const auto packet = reader_.take(byte))
            obey(*packet);
    }
}

void PacketPort::obey(const PacketWord& packet)
{
    using Kind = PacketWord::Kind;
    switch (packet.kind) {
    case Kind::write:
    case Kind::write_more:
        return begin_write(packet);
    case Kind::data:
        ++tallies_[packet.address].words;
        return write_register(packet.address, packet.word);
    case Kind::automatic_crc:
        (void)crc_matches(packet.word);
        return;
    case Kind::no_header:
        return fail(Outcome::violation, text("%08X is no packet header", packet.word));
    case Kind::no_write:
        return fail(Outcome::violation,
                    text("packet header %08X asks for a read or a reserved operation", packet.word));
    case Kind::stray_type2:
        return fail(Outcome::violation,
                    text("type 2 packet header %08X follows no empty type 1 packet", packet.word));
    }
}

void PacketPort::begin_write(const PacketWord& packet)
{
    const unsigned address = packet.address;
    const bool known = address < REGISTER_COUNT && address != REG_FDRO && address != REG_STAT;
    const bool of_virtex2_alone =
        address == REG_MFWR || address == REG_KEY || address == REG_CBC || address == REG_IDCODE;
    if (!known || (of_virtex2_alone && !virtex2()))
        return fail(Outcome::violation,
                    text("packet header %08X writes to register %u, which a %s does not take", packet.word,
                         address, named(device_).c_str()));
    if (packet.kind == PacketWord::Kind::write)
        ++tallies_[address].packets;
    if (address == REG_FDRI && virtex2() && !idcode_)
        fail(Outcome::violation, "frame data come before a device ID");
    else if (address == REG_FDRI && !frame_size_)
        fail(Outcome::violation, "frame data come before a frame length");
    else if (address == REG_FDRI && !writing_frames_)
        fail(Outcome::violation, "frame data come without the command to write them");
    else if (address == REG_MFWR)
        fail(Outcome::violation, "multiple frame writes are not modelled");
}

void PacketPort::write_register(unsigned address, std::uint32_t word)
{
    if (address == REG_CRC)
        return check_crc(word);
    if (address != REG_LOUT)
        crc_.feed(word, address);

    switch (address) {
    case REG_FDRI:
        return take_frame_word();
    case REG_CMD:
        return command(word);
    case REG_FAR:
        frames_.seek(word);
        frame_words_ = 0;
        frame_pending_ = false;
        return;
    case REG_FLR:
        return set_frame_length(word);
    case REG_COR:
        crc_unchecked_ = virtex2() && (word >> 29 & 1U) != 0;
        return;
    case REG_IDCODE:
        return check_idcode(word);
    default:
        return;
    }
}

void PacketPort::command(std::uint32_t code)
{
    switch (code) {
    case CMD_WCFG:
        writing_frames_ = true;
        return;
    case CMD_RCFG:
        writing_frames_ = false;
        return;
    case CMD_LFRM:
        ghigh_released_ = true;
        return;
    case CMD_AGHIGH:
        ghigh_released_ = false;
        return;
    case CMD_START:
        start_requested_ = true;
        return;
    case CMD_RCRC:
        crc_.clear();
        return;
    default:
        return; // an unknown code has no effect; if it is a spoilt one, the CRC shows it
    }
}

// A length that does not fit is kept until the next CRC check: a spoilt word is a CRC error, not another
// device.
void PacketPort::set_frame_length(std::uint32_t word)
{
    frame_size_ = word + 1;
    frame_length_differs_ = word != device_.frame_size - 1;
}

void PacketPort::check_idcode(std::uint32_t word)
{
    constexpr std::uint32_t WITHOUT_VERSION = 0x0FFFFFFF;
    idcode_ = word;
    if ((word & WITHOUT_VERSION) == (device_.idcode & WITHOUT_VERSION))
        return;
    const Device* other = find_idcode(word);
    fail(Outcome::wrong_device, text("device ID %08X (%s) differs from %08X of a %s", word,
                                     other != nullptr ? named(*other).c_str() : "no known device",
                                     device_.idcode, named(device_).c_str()));
}

// A frame is stored when the next one has been shifted in behind it, so the last frame of a block is a pad.
void PacketPort::take_frame_word()
{
    if (++frame_words_ < device_.frame_size)
        return;
    frame_words_ = 0;
    if (frame_pending_)
        frames_.store();
    frame_pending_ = true;
}

void PacketPort::check_crc(std::uint32_t word)
{
    if (!crc_matches(word))
        return;
    if (frame_length_differs_)
        return fail(Outcome::wrong_device, text("frames of %u words do not fit a %s, whose frames have %u",
                                                *frame_size_, named(device_).c_str(), device_.frame_size));
    if (start_requested_)
        start_up();
}

bool PacketPort::crc_matches(std::uint32_t word)
{
    const std::uint16_t expected = crc_.value();
    crc_.clear();
    if (!crc_unchecked_ && static_cast<std::uint16_t>(word) != expected) {
        fail(Outcome::crc_error, text("CRC word %04X, but the data before it give %04X (byte %llu)",
                                      word & 0xFFFFU, static_cast<unsigned>(expected), wide(bytes_)));
        return false;
    }
    ++crc_checks_passed_;
    return true;
}

void PacketPort::start_up()
{
    if (frames_.stray() != 0 || frames_.written() != frames_.expected())
        return fail(
            Outcome::wrong_device,
            text(
                "the stream is complete in itself, but wrote %llu of the %llu frames of a %s and %llu that it does not have",
                wide(frames_.written()), wide(frames_.expected()), named(device_).c_str(),
                wide(frames_.stray())));
    if (!ghigh_released_)
        return fail(Outcome::violation, "start-up was requested without the last-frame command");
    started_ = true;
    bits_to_done_ = reader_.bits_read();
}

void PacketPort::fail(Outcome outcome, std::string reason)
{
    if (settled())
        return;
    failed_ = true;
    failure_ = outcome;
    reason_ = std::move(reason);
}

Outcome PacketPort::outcome() const
{
    if (started_)
        return Outcome::done;
    if (failed_)
        return failure_;
    return reader_.sync_bit() ? Outcome::data_short : Outcome::no_sync;
}

PortReport PacketPort::report() const
{
    PortReport report;
    report.outcome = outcome();
    report.bytes = bytes_;
    report.bits_to_done = bits_to_done_;
    report.sync_bit = reader_.sync_bit();
    report.idcode = idcode_;
    report.frame_size = frame_size_;
    report.frames_written = frames_.written();
    report.frames_expected = frames_.expected();
    report.crc_checks_passed = crc_checks_passed_;
    for (std::size_t i = 0; i < tallies_.size(); ++i) {
        if (tallies_[i].packets != 0)
            report.registers.push_back({REGISTER_NAMES[i], tallies_[i].packets, tallies_[i].words});
    }
    switch (report.outcome) {
    case Outcome::done:
        report.reason = text("DONE went high after %llu bits", wide(bits_to_done_));
        break;
    case Outcome::no_sync:
        report.reason = text("no synchronisation word in %llu bytes", wide(bytes_));
        break;
    case Outcome::data_short:
        report.reason =
            text("the stream ends after %llu bytes, with %llu of %llu frames written and no start-up",
                 wide(bytes_), wide(frames_.written()), wide(frames_.expected()));
        break;
    default:
        report.reason = reason_;
    }
    return report;
}

} // namespace fpga
