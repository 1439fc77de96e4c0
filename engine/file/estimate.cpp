// SPDX-License-Identifier: Apache-2.0
// What one load of a file sends, before anything is sent.
#include "file/estimate.h"

#include "errors/failure.h"
#include "file/bench.h"
#include "file/counting_platform.h"
#include "formats/byte_sizes.h"
#include "formats/run_coding.h"

#include <algorithm>

namespace kvn
{
namespace
{

constexpr std::uint64_t LOAD_HEADER_SIZE = 2;

LoadSize size_of(const Input& input, const Inspection& inspection, const EstimateRequest& request,
                 LoadKind kind)
{
    CountingPlatform platform{request.device.empty() ? inspection.part : request.device};
    const bench::Outcome outcome = bench::load(platform, input, inspection.format(), kind);
    LoadSize size;
    size.number = outcome.number;
    size.error = outcome.error;
    size.is_loadable = outcome.number == 0;
    if (!size.is_loadable)
        return size;
    const std::uint64_t unit = kind == LoadKind::plain ? WORD_SIZE : PAIR_SIZE;
    const std::uint64_t loaded = platform.configuration_bytes();
    size.wire_bytes = platform.wire_bytes();
    size.units = (size.wire_bytes - LOAD_HEADER_SIZE + unit - 1) / unit;
    size.held_back = inspection.found_bits / 8 - std::min(inspection.found_bits / 8, loaded);
    if (request.bytes_per_second)
        size.seconds = static_cast<double>(size.wire_bytes) / *request.bytes_per_second;
    return size;
}

struct Choice {
    LoadKind mode;
    std::string why;
};

Choice choose_smallest(const Estimate& estimate)
{
    const LoadSize& plain = estimate.plain;
    const LoadSize& compressed = estimate.compressed;
    if (!compressed.is_loadable)
        return {LoadKind::plain, "a compressed load fails"};
    if (!plain.is_loadable)
        return {LoadKind::compressed, "a plain load fails"};
    if (compressed.wire_bytes < plain.wire_bytes)
        return {LoadKind::compressed, "shorter by " +
                                          std::to_string(plain.wire_bytes - compressed.wire_bytes) +
                                          " bytes than a plain load"};
    return {LoadKind::plain, "shorter by " + std::to_string(compressed.wire_bytes - plain.wire_bytes) +
                                 " bytes than a compressed load"};
}

Choice choose(const Estimate& estimate, const EstimateRequest& request)
{
    const bool takes_compressed = request.takes_compressed.value_or(true);
    switch (request.wish) {
    case ModeWish::plain:
        return {LoadKind::plain, "asked for"};
    case ModeWish::compressed:
        return takes_compressed
                   ? Choice{LoadKind::compressed, "asked for"}
                   : Choice{LoadKind::plain,
                            "the module takes plain loads only, though compressed was asked for"};
    default:
        break;
    }
    if (!takes_compressed)
        return {LoadKind::plain, "the module takes plain loads only"};
    if (request.wish == ModeWish::smallest)
        return choose_smallest(estimate);
    return {LoadKind::compressed, request.takes_compressed ? "the module takes compressed loads"
                                                           : "most modules take compressed loads"};
}

} // namespace

Estimate estimate(const Input& input, const Inspection& inspection, const EstimateRequest& request)
{
    if (inspection.format() == Format::unknown)
        throw FailureError{{ExitStatus::damaged, 0, input.name() + ": no RBT, BIT or MCB file", "",
                            "give a bitstream file"}};
    Estimate estimate;
    estimate.bytes_per_second = request.bytes_per_second;
    estimate.plain = size_of(input, inspection, request, LoadKind::plain);
    estimate.compressed = size_of(input, inspection, request, LoadKind::compressed);
    Choice choice = choose(estimate, request);
    estimate.mode = choice.mode;
    estimate.why = std::move(choice.why);
    return estimate;
}

} // namespace kvn
