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

Bytes expanded(const Bytes& pairs)
{
    Bytes data;
    for (std::size_t i = 0; i < pairs.size(); i += PAIR_SIZE)
        data.insert(data.end(), pairs[i], pairs[i + 1]);
    return data;
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

TEST(RunCoding, ThreeHundredEqualBytesAreTwoRuns)
{
    Bytes data(300, 0xFF);
    data.push_back(0x00);
    EXPECT_EQ(coded_at_once(data), (Bytes{0xFF, 0xFF, 0x2D, 0xFF, 0x01, 0x00}));
}

TEST(RunCoding, BytesThatAllDifferAreRunsOfOne)
{
    EXPECT_EQ(coded_at_once({1, 2, 3, 4}), (Bytes{1, 1, 1, 2, 1, 3, 1, 4}));
}

TEST(RunCoding, OneLineOfZerosIsOneRun)
{
    EXPECT_EQ(coded_at_once({0, 0, 0, 0}), (Bytes{4, 0}));
}

TEST(RunCoding, TwoEqualBytesAndAnotherAreTwoRuns)
{
    EXPECT_EQ(coded_at_once({0xAA, 0xAA, 0xBB}), (Bytes{2, 0xAA, 1, 0xBB}));
}

TEST(RunCoding, NoDataIsNoCopiesOfZero)
{
    EXPECT_EQ(coded_at_once({}), (Bytes{0, 0}));
}

TEST(RunCoding, ARunOf255IsHeldBackUntilMoreFollows)
{
    const Bytes data(255, 9);
    EXPECT_EQ(coded_at_once(data), (Bytes{255, 9}));
    const Bytes longer(256, 9);
    EXPECT_EQ(coded_at_once(longer), (Bytes{255, 9, 1, 9}));
    const Bytes twice(510, 9);
    EXPECT_EQ(coded_at_once(twice), (Bytes{255, 9, 255, 9}));
}

// The plain form is the rule itself: it is held against examples, and everything else against it.
TEST(RunCoding, ThePlainFormEndsARunAtADifferingByteAndAt255Copies)
{
    EXPECT_EQ(coded_byte_by_byte({}), bytes("00 00"));
    EXPECT_EQ(coded_byte_by_byte({7}), bytes("01 07"));
    EXPECT_EQ(coded_byte_by_byte({0xAA, 0xAA, 0xBB, 0xAA}), bytes("02 AA 01 BB 01 AA"));
    EXPECT_EQ(coded_byte_by_byte(Bytes(255, 9)), bytes("FF 09"));
    EXPECT_EQ(coded_byte_by_byte(Bytes(256, 9)), bytes("FF 09 01 09"));
    Bytes full_and_other(255, 9);
    full_and_other.push_back(8);
    EXPECT_EQ(coded_byte_by_byte(full_and_other), bytes("FF 09 01 08"));
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
        const Bytes data = runs_of_random_length(random, random() % 3000, longest);
        const Bytes expected = coded_byte_by_byte(data);
        ASSERT_EQ(coded_at_once(data), expected) << round;
        ASSERT_EQ(coded(data, [] { return 4U; }), expected) << round;
        ASSERT_EQ(coded(data, [&random] { return random() % 200 + 1; }), expected) << round;
    }
}

TEST(RunCoding, ExpandingGivesTheDataBack)
{
    std::mt19937 random{5};
    for (int round = 0; round < 100; ++round) {
        const Bytes data = runs_of_random_length(random, random() % 5000, 700);
        EXPECT_EQ(expanded(coded_at_once(data)), data);
    }
}

TEST(RunCoding, ARunIsExpandedToItsLength)
{
    for (std::size_t count = 0; count <= LONGEST_RUN; ++count) {
        Bytes out(LONGEST_RUN + EXPAND_STEP, 0xEE);
        expand_run(out.data(), count, 0x5A);
        EXPECT_EQ(Bytes(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(count)), Bytes(count, 0x5A));
    }
}

TEST(RunCoding, ExpandingKeepsToItsRoom)
{
    for (std::size_t count = 0; count <= LONGEST_RUN; ++count) {
        Bytes out(count + EXPAND_STEP + 1, 0xEE);
        expand_run(out.data(), count, 0x5A);
        EXPECT_EQ(out.back(), 0xEE) << count;
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
        Bytes out(expanded_size(row.enough));
        const RunsTaken taken = expand_runs(pairs, row.enough, out.data());
        EXPECT_EQ(taken.pair_bytes, row.pair_bytes) << row.enough;
        EXPECT_EQ(taken.data_bytes, row.data_bytes) << row.enough;
        const Bytes all = bytes("AA AA AA BB BB CC CC CC CC CC");
        out.resize(row.data_bytes);
        EXPECT_EQ(out, Bytes(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(row.data_bytes)));
    }
}

TEST(RunCoding, RunsAreExpandedAsOneByOneWhateverTheLimit)
{
    std::mt19937 random{12};
    for (const unsigned longest : {1U, 2U, 20U}) {
        Bytes pairs;
        for (int run = 0; run < 100; ++run)
            pairs.insert(pairs.end(), {static_cast<std::uint8_t>(random() % longest + random() % 2),
                                       static_cast<std::uint8_t>(random())});
        const std::size_t all = measure_runs(pairs, SIZE_MAX).data_bytes;
        for (std::size_t enough = 0; enough <= all + 1; ++enough) {
            Bytes expected;
            const RunsTaken plain = follow_plainly(pairs, enough, {0, 0}, [&](auto, auto count, auto value) {
                expected.insert(expected.end(), count, value);
            });
            Bytes out(expanded_size(enough));
            const RunsTaken taken = expand_runs(pairs, enough, out.data());
            out.resize(taken.data_bytes);
            ASSERT_EQ(taken.pair_bytes, plain.pair_bytes) << enough;
            ASSERT_EQ(out, expected) << enough;
        }
    }
}

// Runs are added up in groups: wherever the limit falls, it stops at the same run as one by one.
TEST(RunCoding, RunsAreFollowedOneByOneWhateverTheLimit)
{
    std::mt19937 random{11};
    for (const unsigned longest : {1U, 3U, 255U}) {
        Bytes pairs(PAIR_SIZE * 61);
        for (std::size_t i = 0; i < pairs.size(); i += PAIR_SIZE) {
            pairs[i] =
                static_cast<std::uint8_t>(longest == 255 ? 255 - random() % 4 : random() % (longest + 1));
            pairs[i + 1] = static_cast<std::uint8_t>(random());
        }
        RunsTaken expected{0, 0};
        for (std::size_t enough = 0; enough < pairs.size() / PAIR_SIZE * longest + 2; ++enough) {
            while (expected.pair_bytes < pairs.size() && expected.data_bytes < enough) {
                expected.data_bytes += pairs[expected.pair_bytes];
                expected.pair_bytes += PAIR_SIZE;
            }
            const RunsTaken measured = measure_runs(pairs, enough);
            ASSERT_EQ(measured.pair_bytes, expected.pair_bytes) << enough;
            ASSERT_EQ(measured.data_bytes, expected.data_bytes) << enough;
        }
    }
}
