// SPDX-License-Identifier: Apache-2.0
// Compares two files as configuration, whatever their forms.
#include "file/difference.h"

#include "errors/failure.h"
#include "file/digest.h"
#include "file/frame_image.h"

#include <algorithm>
#include <array>
#include <bit>
#include <iterator>
#include <sstream>
#include <string_view>

namespace kvn
{
namespace
{

/// Keeps a file's configuration data.
class Collector final : public DataTaker
{
public:
    explicit Collector(const std::string& name) : name_{name} {}
    void begin() override { data_.clear(); }
    void take(std::span<const std::uint8_t> bytes) override
    {
        if (bytes.size() > MOST_COMPARED - data_.size())
            throw FailureError{{ExitStatus::damaged, 0,
                                name_ + ": more than " + std::to_string(MOST_COMPARED) +
                                    " bytes of configuration, too many to be compared",
                                "no device takes that many", "give a bitstream file"}};
        data_.insert(data_.end(), bytes.begin(), bytes.end());
    }
    [[nodiscard]] std::span<const std::uint8_t> data() const { return data_; }

private:
    const std::string& name_;
    std::vector<std::uint8_t> data_;
};

/// One of the two files.
struct Side {
    explicit Side(const Input& input)
        : collector{input.name()}, inspection{inspect(input, &collector)}, digest{digest_of(inspection)}
    {
    }
    Collector collector;
    Inspection inspection;
    Digest digest;
};

/// A date and a time as BIT files write them, whichever way a header does.
struct Moment {
    std::optional<std::string> date;
    std::optional<std::string> time;
};

/// "Fri Feb 17 12:00:00 2006" as "2006/02/17" and "12:00:00", "2006/02/17 12:00:00" likewise; others stay
/// whole.
Moment moment_of(const Header& header)
{
    if (header.time || !header.date)
        return {header.date, header.time};
    std::istringstream words{*header.date};
    const std::vector<std::string> parts(std::istream_iterator<std::string>{words},
                                         std::istream_iterator<std::string>{});
    constexpr std::string_view months = "JanFebMarAprMayJunJulAugSepOctNovDec";
    if (parts.size() == 2)
        return {parts[0], parts[1]};
    const std::size_t month =
        parts.size() == 5 && parts[1].size() == 3 ? months.find(parts[1]) : std::string_view::npos;
    if (month == std::string_view::npos)
        return {header.date, std::nullopt};
    const auto two_digits = [](const std::string& number) {
        return number.size() < 2 ? "0" + number : number;
    };
    return {parts[4] + "/" + two_digits(std::to_string(month / 3 + 1)) + "/" + two_digits(parts[2]),
            parts[3]};
}

/// Compares the texts that both headers have.
std::vector<HeaderDifference> compare_headers(const Inspection& first, const Inspection& second)
{
    std::vector<HeaderDifference> differences;
    const auto compare_texts = [&](const char* name, const std::optional<std::string>& a,
                                   const std::optional<std::string>& b) {
        if (a && b && !a->empty() && !b->empty() && *a != *b)
            differences.push_back({name, *a, *b});
    };
    const Moment made = moment_of(first.header);
    const Moment made_too = moment_of(second.header);
    compare_texts("part", first.part, second.part);
    compare_texts("design", first.header.design, second.header.design);
    compare_texts("architecture", first.header.architecture, second.header.architecture);
    compare_texts("tool", first.header.tool, second.header.tool);
    compare_texts("date", made.date, made_too.date);
    compare_texts("time", made.time, made_too.time);
    return differences;
}

/// Counts the bits that differ up to the end of the shorter data, and finds the first one.
void compare_by_offset(std::span<const std::uint8_t> first, std::span<const std::uint8_t> second,
                       Difference& difference)
{
    const std::size_t size = std::min(first.size(), second.size());
    for (std::size_t i = 0; i < size; ++i) {
        const auto differing = static_cast<std::uint8_t>(first[i] ^ second[i]);
        if (differing == 0)
            continue;
        if (!difference.first_bit)
            difference.first_bit = i * 8 + static_cast<unsigned>(std::countr_zero(differing));
        difference.bits += static_cast<unsigned>(std::popcount(differing));
    }
}

std::uint64_t differing_bits(const FrameImage::Frame& first, const FrameImage::Frame& second)
{
    if (first.words.empty() || second.words.empty())
        return 32 * std::max(first.words.size(), second.words.size());
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < first.words.size(); ++i)
        bits += static_cast<unsigned>(std::popcount(first.words[i] ^ second.words[i]));
    return bits;
}

void compare_frames(const FrameImage& first, const FrameImage& second, Difference& difference)
{
    difference.bits = 0;
    for (std::size_t i = 0; i < first.frames(); ++i) {
        const FrameImage::Frame a = first.frame(i);
        const FrameImage::Frame b = second.frame(i);
        if (a.words.empty() && b.words.empty())
            continue;
        ++difference.frames_compared;
        const std::uint64_t bits = differing_bits(a, b);
        if (bits == 0)
            continue;
        difference.bits += bits;
        difference.frames.push_back({a.block, a.major, a.minor, bits, !a.words.empty(), !b.words.empty()});
    }
}

void compare_registers(const FrameImage& first, const FrameImage& second, Difference& difference)
{
    for (unsigned reg = 0; reg < fpga::REGISTER_COUNT; ++reg) {
        const auto a = first.words(reg);
        const auto b = second.words(reg);
        if (!std::ranges::equal(a, b))
            difference.registers.push_back(
                {fpga::REGISTER_NAMES.at(reg), {a.begin(), a.end()}, {b.begin(), b.end()}});
    }
}

/// The device whose frames both files write, or null.
const fpga::Device* common_device(const Side& first, const Side& second)
{
    const fpga::Device* device = first.inspection.device;
    const bool is_common = device != nullptr && device == second.inspection.device;
    return is_common && device->architecture() != fpga::Architecture::length_count ? device : nullptr;
}

/// Compares by frame address, if both streams can be followed.
void compare_by_address(const fpga::Device& device, const Side& first, const Side& second,
                        Difference& difference)
{
    FrameImage a{device};
    FrameImage b{device};
    a.take(first.collector.data());
    b.take(second.collector.data());
    if (!a.is_whole() || !b.is_whole())
        return;
    difference.device = &device;
    compare_frames(a, b, difference);
    compare_registers(a, b, difference);
}

std::string counted(std::uint64_t count, const char* thing)
{
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

template <class List>
std::string names(const List& list)
{
    std::string text;
    for (const auto& each : list)
        text += (text.empty() ? "" : ", ") + each.name;
    return text + (list.size() == 1 ? " differs" : " differ");
}

std::string frame_words(const Difference& difference)
{
    if (!difference.frames.empty())
        return counted(difference.bits, "bit") + " of configuration " +
               (difference.bits == 1 ? "differs, in " : "differ, in ") +
               std::to_string(difference.frames.size()) + " of " +
               counted(difference.frames_compared, "frame");
    return difference.registers.empty() ? "the frames are the same; words around them differ"
                                        : "the frames are the same";
}

std::string offset_words(const Difference& difference)
{
    std::string words = counted(difference.bits, "bit") + (difference.bits == 1 ? " differs" : " differ");
    if (difference.first_bit)
        words += ", from bit " + std::to_string(*difference.first_bit) + " on";
    if (difference.first_bits != difference.second_bits)
        words += "; the sizes are " + std::to_string(difference.first_bits) + " and " +
                 counted(difference.second_bits, "bit");
    return words;
}

std::string result_words(const Difference& difference)
{
    std::string words = difference.same_configuration  ? "same configuration"
                        : difference.device != nullptr ? frame_words(difference)
                                                       : offset_words(difference);
    if (!difference.registers.empty())
        words += "; " + std::string{difference.registers.size() == 1 ? "register " : "registers "} +
                 names(difference.registers);
    if (!difference.headers.empty())
        words += "; header " + names(difference.headers);
    return words;
}

} // namespace

Difference compare(const Input& first_input, const Input& second_input)
{
    const Side first{first_input};
    const Side second{second_input};
    Difference difference;
    difference.same_configuration = first.digest.sha256 == second.digest.sha256;
    difference.headers = compare_headers(first.inspection, second.inspection);
    difference.first_bits = first.digest.bits;
    difference.second_bits = second.digest.bits;
    const fpga::Device* device = common_device(first, second);
    if (!difference.same_configuration)
        compare_by_offset(first.collector.data(), second.collector.data(), difference);
    if (device != nullptr)
        compare_by_address(*device, first, second, difference);
    difference.words = result_words(difference);
    return difference;
}

} // namespace kvn
