// SPDX-License-Identifier: Apache-2.0
// Run coding: the encoder agrees with one that looks at each byte, however the data is cut into pieces.
#include "formats/run_coding.h"

#include "support/bytes.h"

#include <gtest/gtest.h>

#include <random>
#include <utility>
#include <vector>

namespace
{
/// The coding by its rule, which must come out whatever way the bytes are taken.
Bytes coded_byte_by_byte(const Bytes& data)
{
    RunEncoder encoder;
    Bytes pairs(PAIR_SIZE * data.size() + PAIR_SIZE);
    const std::size_t size = encoder.encode_plainly(data, pairs.data());
    encoder.finish(pairs.data() + size);
    pairs.resize(size + PAIR_SIZE);
    return pairs;
}

/// The whole coding, with the data handed over in pieces.
template <class PieceSize>
Bytes coded(const Bytes& data, PieceSize piece_size)
{
    RunEncoder encoder;
    Bytes pairs;
    for (std::size_t at = 0; at < data.size();) {
        const std::size_t size = std::min<std::size_t>(piece_size(), data.size() - at);
        Bytes piece(PAIR_SIZE * size);
        piece.resize(encoder.encode({data.data() + at, size}, piece.data()));
        pairs.insert(pairs.end(), piece.begin(), piece.end());
        at += size;
    }
    EXPECT_EQ(encoder.finished_runs(), pairs.size() / PAIR_SIZE);
    pairs.resize(pairs.size() + PAIR_SIZE);
    encoder.finish(pairs.data() + pairs.size() - PAIR_SIZE);
    return pairs;
}

Bytes coded_at_once(const Bytes& data)
{
    return coded(data, [&data] { return data.size(); });
}

/// Runs of random lengths up to longest, of few values.
Bytes runs_of_random_length(std::mt19937& random, std::size_t size, unsigned longest)
{
    Bytes data;
    while (data.size() < size)
        data.insert(data.end(), random() % longest + 1, static_cast<std::uint8_t>(random() % 3 * 0x7F));
    data.resize(size);
    return data;
}
} // namespace

// The plain form is the rule itself: it is held against examples, and everything else against it.
TEST(RunCoding, EndsARunAtADifferingByteAndAt255Copies)
{
    Bytes full_and_other(255, 9);
    full_and_other.push_back(8);
    const std::pair<Bytes, const char*> rows[] = {{{}, "00 00"},
                                                  {{7}, "01 07"},
                                                  {{0, 0, 0, 0}, "04 00"},
                                                  {{0xAA, 0xAA, 0xBB, 0xAA}, "02 AA 01 BB 01 AA"},
                                                  {Bytes(255, 9), "FF 09"},
                                                  {Bytes(256, 9), "FF 09 01 09"},
                                                  {Bytes(510, 9), "FF 09 FF 09"},
                                                  {full_and_other, "FF 09 01 08"}};
    for (const auto& [data, pairs] : rows) {
        EXPECT_EQ(coded_byte_by_byte(data), bytes(pairs));
        EXPECT_EQ(coded_at_once(data), bytes(pairs));
    }
}

TEST(RunCoding, BothFormsMayTakeTurns)
{
    std::mt19937 random{6};
    for (int round = 0; round < 100; ++round) {
        const Bytes data = runs_of_random_length(random, 2000, 400);
        RunEncoder encoder;
        Bytes pairs(PAIR_SIZE * (data.size() + 1));
        std::size_t size = encoder.encode({data.data(), 700}, pairs.data());
        size += encoder.encode_plainly({data.data() + 700, 300}, pairs.data() + size);
        size += encoder.encode({data.data() + 1000, 1000}, pairs.data() + size);
        encoder.finish(pairs.data() + size);
        pairs.resize(size + PAIR_SIZE);
        ASSERT_EQ(pairs, coded_byte_by_byte(data)) << round;
    }
}

// Bytes that all differ are coded in groups: the run in front of the first group may be full, or more than
// full.
TEST(RunCoding, AFullRunInFrontOfBytesThatAllDifferIsCodedAsByteByByteWhereverTheGroupsBegin)
{
    for (const std::size_t length : {254U, 255U, 256U, 510U, 511U}) {
        Bytes data(length, 0xEE);
        for (std::uint8_t value = 0; value < 80; ++value)
            data.push_back(value);
        const Bytes expected = coded_byte_by_byte(data);
        for (std::size_t in_hand = 1; in_hand <= length; ++in_hand) {
            bool is_first = true;
            const auto piece = [&] { return std::exchange(is_first, false) ? in_hand : data.size(); };
            ASSERT_EQ(coded(data, piece), expected) << length << " bytes, " << in_hand << " of them in hand";
        }
    }
}

TEST(RunCoding, EveryLengthOfARunIsCodedAsByteByByte)
{
    for (std::size_t length = 1; length < 1100; ++length) {
        Bytes data(length, 0x42);
        ASSERT_EQ(coded_at_once(data), coded_byte_by_byte(data)) << length;
        data.push_back(0x43);
        ASSERT_EQ(coded_at_once(data), coded_byte_by_byte(data)) << length;
    }
}

TEST(RunCoding, RandomDataIsCodedAsByteByByteHoweverItIsCut)
{
    std::mt19937 random{4};
    for (int round = 0; round < 600; ++round) {
        const unsigned longest = 1U << round % 11;
        const Bytes data = runs_of_random_length(random, random() % 6000, longest);
        const Bytes expected = coded_byte_by_byte(data);
        ASSERT_EQ(coded_at_once(data), expected) << round;
        ASSERT_EQ(coded(data, [] { return 4U; }), expected) << round;
        ASSERT_EQ(coded(data, [&random] { return random() % 200 + 1; }), expected) << round;
    }
}

TEST(RunCoding, ARunIsExpandedToItsLengthAndKeepsToItsRoom)
{
    for (std::size_t count = 0; count <= LONGEST_RUN; ++count) {
        Bytes out(count + EXPAND_STEP + 1, 0xEE);
        expand_run(out.data(), count, 0x5A);
        EXPECT_EQ(out.back(), 0xEE) << count;
        out.resize(count);
        EXPECT_EQ(out, Bytes(count, 0x5A));
    }
}

TEST(RunCoding, RunsAreFollowedUntilTheyStandForEnough)
{
    const Bytes pairs = bytes("03 AA  00 55  02 BB  05 CC");
    const struct {
        std::size_t enough;
        std::size_t pair_bytes;
        std::size_t data_bytes;
    } rows[] = {{0, 0, 0}, {1, 2, 3}, {3, 2, 3}, {4, 6, 5}, {5, 6, 5}, {6, 8, 10}, {100, 8, 10}};
    for (const auto& row : rows) {
        const RunsTaken measured = measure_runs(pairs, row.enough);
        EXPECT_EQ(measured.pair_bytes, row.pair_bytes) << row.enough;
        EXPECT_EQ(measured.data_bytes, row.data_bytes) << row.enough;
    }
}

// Runs are added up in groups: wherever the limit falls, it stops at the same run as one by one.
TEST(RunCoding, RunsAreFollowedAndExpandedAsOneByOneWhateverTheLimit)
{
    std::mt19937 random{11};
    for (const unsigned longest : {1U, 3U, 20U, 255U}) {
        Bytes pairs;
        for (int run = 0; run < 61; ++run) {
            const unsigned count = longest == 255 ? 255 - random() % 4 : random() % (longest + 1);
            pairs.insert(pairs.end(),
                         {static_cast<std::uint8_t>(count), static_cast<std::uint8_t>(random())});
        }
        RunsTaken expected{0, 0};
        Bytes data;
        for (std::size_t enough = 0; enough < 61 * longest + 2; ++enough) {
            while (expected.pair_bytes < pairs.size() && expected.data_bytes < enough) {
                data.insert(data.end(), pairs[expected.pair_bytes], pairs[expected.pair_bytes + 1]);
                expected = {expected.pair_bytes + PAIR_SIZE, data.size()};
            }
            Bytes out(expanded_size(enough));
            const RunsTaken taken = expand_runs(pairs, enough, out.data());
            out.resize(taken.data_bytes);
            ASSERT_EQ(out, data) << enough;
            for (const RunsTaken& each : {taken, measure_runs(pairs, enough)}) {
                ASSERT_EQ(each.pair_bytes, expected.pair_bytes) << enough;
                ASSERT_EQ(each.data_bytes, expected.data_bytes) << enough;
            }
        }
    }
}
