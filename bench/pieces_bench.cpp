// SPDX-License-Identifier: Apache-2.0
// Times the parts of conversions and loads, each in every form.
#include "formats/bit_order.h"
#include "formats/byte_kernels.h"
#include "formats/rbt_format.h"
#include "formats/run_coding.h"
#include "kvnfpgai.h"
#include "test_data.h"

#include <benchmark/benchmark.h>

#include <algorithm>

namespace
{
// With its text it stays in the cache, as the blocks of a run do: memory hides what a form gains.
constexpr std::size_t DATA_SIZE = 1 << 16;

// The bytes that a converter passes on at once.
constexpr std::size_t PIECE = 2500;

constexpr std::size_t REVERSE_STEP = 16;

void count_bytes(benchmark::State& state)
{
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(DATA_SIZE));
}

// The plainest form, with which the others are compared.
namespace naive
{
bool read_lines(std::uint8_t* out, const char* line)
{
    kvn_fpga_imp::process_Bitstream_Word(line, out);
    return true;
}

void reverse_block(std::uint8_t* out, const std::uint8_t* in)
{
    for (std::size_t i = 0; i < REVERSE_STEP; ++i)
        out[i] = kvn_fpga_imp::bit_reverse_byte(in[i]);
}

void write_line(char* line, const std::uint8_t* word)
{
    for (std::size_t bit = 0; bit < WORD_CHARS; ++bit)
        line[bit] = (word[bit / 8] >> bit % 8 & 1) != 0 ? '1' : '0';
    line[WORD_CHARS] = '\n';
}

std::uint64_t changes(const std::uint8_t* bytes)
{
    std::uint64_t mask = 0;
    for (std::size_t i = 0; i < CHANGES_SIZE; ++i)
        mask |= std::uint64_t{bytes[i] != bytes[static_cast<std::ptrdiff_t>(i) - 1]} << i;
    return mask;
}
} // namespace naive

template <bool (*Read)(std::uint8_t*, const char*), std::size_t Lines>
void pack_lines(benchmark::State& state)
{
    const std::string lines = rbt_lines(make_data("mix", DATA_SIZE));
    Bytes bytes(DATA_SIZE);
    for (auto _ : state) {
        for (std::size_t word = 0; word + Lines <= DATA_SIZE / WORD_SIZE; word += Lines)
            if (!Read(&bytes[word * WORD_SIZE], &lines[word * LINE_CHARS]))
                state.SkipWithError("a line is not plain");
        benchmark::ClobberMemory();
    }
    count_bytes(state);
}
constexpr std::size_t LINES = 16;
BENCHMARK(pack_lines<fastest::read_plain_lines<LINES>, LINES>)->Name("pack lines/fastest");
#if defined(__SSE2__)
BENCHMARK(pack_lines<sse2::read_plain_lines<LINES>, LINES>)->Name("pack lines/SSE2");
#endif
BENCHMARK(pack_lines<portable::read_plain_lines<LINES>, LINES>)->Name("pack lines/portable");
BENCHMARK(pack_lines<naive::read_lines, 1>)->Name("pack lines/naive");

/// The reader of whole files, on a stream in memory.
void read_lines(benchmark::State& state)
{
    std::string lines = rbt_lines(make_data("mix", DATA_SIZE));
    std::uint8_t bytes[PIECE];
    for (auto _ : state) {
        const File stream{fmemopen(lines.data(), lines.size(), "r")};
        RbtDataReader reader{stream.get()};
        while (reader.read(bytes, PIECE / WORD_SIZE) != 0)
            benchmark::ClobberMemory();
    }
    count_bytes(state);
}
BENCHMARK(read_lines)->Name("read lines of a stream");

template <void (*Reverse)(std::uint8_t*, const std::uint8_t*)>
void reverse_bits(benchmark::State& state)
{
    const Bytes in = make_data("mix", DATA_SIZE);
    Bytes out(DATA_SIZE);
    for (auto _ : state) {
        for (std::size_t i = 0; i < DATA_SIZE; i += REVERSE_STEP)
            Reverse(&out[i], &in[i]);
        benchmark::ClobberMemory();
    }
    count_bytes(state);
}
BENCHMARK(reverse_bits<portable::reverse_block>)->Name("reverse bits/portable");
BENCHMARK(reverse_bits<naive::reverse_block>)->Name("reverse bits/naive");

template <void (*Reverse)(std::uint8_t*, const std::uint8_t*, std::size_t)>
void reverse_long(benchmark::State& state)
{
    const Bytes in = make_data("mix", DATA_SIZE);
    Bytes out(DATA_SIZE);
    for (auto _ : state) {
        for (std::size_t i = 0; i < DATA_SIZE; i += PIECE)
            Reverse(&out[i], &in[i], std::min(PIECE, DATA_SIZE - i));
        benchmark::ClobberMemory();
    }
    count_bytes(state);
}
template <void (*Reverse)(std::uint8_t*, const std::uint8_t*)>
void each_block(std::uint8_t* out, const std::uint8_t* in, std::size_t size)
{
    for (std::size_t i = 0; i + REVERSE_STEP <= size; i += REVERSE_STEP)
        Reverse(out + i, in + i);
}
BENCHMARK(reverse_long<reverse_bytes>)->Name("reverse long/fastest");
BENCHMARK(reverse_long<each_block<portable::reverse_block>>)->Name("reverse long/portable");

template <void (*Write)(std::uint8_t*, const std::uint8_t*)>
void write_singles(benchmark::State& state)
{
    const Bytes in = make_data("random", DATA_SIZE);
    Bytes out(2 * DATA_SIZE);
    for (auto _ : state) {
        for (std::size_t i = 0; i < DATA_SIZE; i += SINGLES)
            Write(&out[2 * i], &in[i]);
        benchmark::ClobberMemory();
    }
    count_bytes(state);
}
BENCHMARK(write_singles<fastest::write_singles>)->Name("write singles/fastest");
BENCHMARK(write_singles<portable::write_singles>)->Name("write singles/portable");

template <bool (*Read)(std::uint8_t*, const std::uint8_t*)>
void read_singles(benchmark::State& state)
{
    Bytes in(2 * DATA_SIZE, 1);
    Bytes out(DATA_SIZE);
    for (auto _ : state) {
        for (std::size_t i = 0; i < DATA_SIZE; i += SINGLES)
            if (!Read(&out[i], &in[2 * i]))
                state.SkipWithError("a run is longer");
        benchmark::ClobberMemory();
    }
    count_bytes(state);
}
BENCHMARK(read_singles<fastest::read_singles>)->Name("read singles/fastest");
BENCHMARK(read_singles<portable::read_singles>)->Name("read singles/portable");

template <void (*Write)(char*, const std::uint8_t*)>
void write_lines(benchmark::State& state)
{
    const Bytes data = make_data("mix", DATA_SIZE);
    std::string lines(DATA_SIZE / WORD_SIZE * LINE_CHARS, ' ');
    for (auto _ : state) {
        for (std::size_t word = 0; word < DATA_SIZE / WORD_SIZE; ++word)
            Write(&lines[word * LINE_CHARS], &data[word * WORD_SIZE]);
        benchmark::ClobberMemory();
    }
    count_bytes(state);
}
BENCHMARK(write_lines<fastest::write_line>)->Name("write lines/fastest");
BENCHMARK(write_lines<portable::write_line>)->Name("write lines/portable");
BENCHMARK(write_lines<naive::write_line>)->Name("write lines/naive");

template <std::uint64_t (*Changes)(const std::uint8_t*)>
void find_changes(benchmark::State& state)
{
    const Bytes data = make_data("mix", DATA_SIZE + 1);
    for (auto _ : state)
        for (std::size_t i = 1; i < DATA_SIZE; i += CHANGES_SIZE)
            benchmark::DoNotOptimize(Changes(&data[i]));
    count_bytes(state);
}
BENCHMARK(find_changes<fastest::changes>)->Name("find changes/fastest");
BENCHMARK(find_changes<portable::changes>)->Name("find changes/portable");
BENCHMARK(find_changes<naive::changes>)->Name("find changes/naive");

void code_runs(benchmark::State& state, const char* kind)
{
    const Bytes data = make_data(kind, DATA_SIZE);
    std::uint8_t pairs[PAIR_SIZE * PIECE];
    for (auto _ : state) {
        RunEncoder encoder;
        for (std::size_t done = 0; done < DATA_SIZE; done += PIECE)
            encoder.encode({&data[done], std::min(PIECE, DATA_SIZE - done)}, pairs);
        benchmark::ClobberMemory();
    }
    count_bytes(state);
}

void follow_runs(benchmark::State& state, const char* kind)
{
    const Bytes pairs = run_coded(make_data(kind, DATA_SIZE));
    std::uint8_t bytes[expanded_size(PIECE)];
    for (auto _ : state) {
        std::span<const std::uint8_t> left{pairs};
        while (!left.empty())
            left = left.subspan(expand_runs(left, PIECE, bytes).pair_bytes);
        benchmark::ClobberMemory();
    }
    count_bytes(state);
}

/// Each kind of data has other runs.
const bool runs_are_registered = [] {
    for (const char* kind : {"mix", "zero", "random", "flip"}) {
        benchmark::RegisterBenchmark((std::string{"code runs/"} + kind).c_str(), code_runs, kind);
        benchmark::RegisterBenchmark((std::string{"follow runs/"} + kind).c_str(), follow_runs, kind);
    }
    return true;
}();
} // namespace
