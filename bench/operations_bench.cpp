// SPDX-License-Identifier: Apache-2.0
// Times whole conversions and loads on streams in memory: what they cost without a disk and without a bus.
#include "counting_platform.h"
#include "kvnfpgai.h"
#include "support/temporary_folder.h"
#include "test_data.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

namespace
{
constexpr std::size_t DATA_SIZE = 1 << 20;

void print_nothing(char* /*text*/) {}

/// A folder in which every output that a conversion may write leads nowhere.
class NowhereFolder
{
public:
    NowhereFolder()
    {
        for (const char* output : {"design.mcb", "design.rbt"})
            std::filesystem::create_symlink("/dev/null", folder_.path() / output);
    }
    [[nodiscard]] std::string input() const { return folder_.path() / "design.xxx"; }

private:
    TemporaryFolder folder_;
};

using Conversion = int (kvn_fpga_imp::*)(FILE*);

void convert(benchmark::State& state, Conversion conversion, std::string (*make_file)(const Bytes&),
             const char* kind)
{
    const NowhereFolder folder;
    std::string file = make_file(make_data(kind, DATA_SIZE));
    for (auto _ : state) {
        kvn_fpga_imp session;
        session.user_print = print_nothing;
        folder.input().copy(session.bitstream_file, sizeof session.bitstream_file - 1);
        if ((session.*conversion)(fmemopen(file.data(), file.size(), "r")) != 0)
            state.SkipWithError(session.last_error_text);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(DATA_SIZE));
}

using Loader = int (kvn_fpga_imp::*)(const char*, int, int, FILE*, const char*);

void load(benchmark::State& state, Loader loader, std::string (*make_file)(const Bytes&), bool compressed)
{
    std::string file = make_file(make_data("mix", DATA_SIZE));
    for (auto _ : state) {
        kvn_fpga_imp session;
        session.user_print = print_nothing;
        session.virtex2_family = 1;
        session.supports_compressed_loading = compressed ? 1 : 0;
        if ((session.*loader)("mwc4a", 0, 1, fmemopen(file.data(), file.size(), "r"), "") != 0)
            state.SkipWithError(session.last_error_text);
        benchmark::DoNotOptimize(sent_data().bytes);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(DATA_SIZE));
}

const bool operations_are_registered = [] {
    const auto add_conversion = [](const std::string& name, Conversion conversion,
                                   std::string (*make_file)(const Bytes&)) {
        for (const char* kind : {"mix", "zero", "random", "flip"})
            benchmark::RegisterBenchmark((name + "/" + kind).c_str(), convert, conversion, make_file, kind);
    };
    add_conversion("RBT to MCB", &kvn_fpga_imp::Make_mcb_file_rbt, rbt_file);
    add_conversion("BIT to MCB", &kvn_fpga_imp::Make_mcb_file_bit, bit_file);
    add_conversion("MCB to RBT", &kvn_fpga_imp::Make_rbt_file, mcb_file);

    const auto add_load = [](const std::string& name, Loader loader, std::string (*make_file)(const Bytes&)) {
        benchmark::RegisterBenchmark((name + "/plain").c_str(), load, loader, make_file, false);
        benchmark::RegisterBenchmark((name + "/compressed").c_str(), load, loader, make_file, true);
    };
    add_load("load RBT", &kvn_fpga_imp::Load_Bitstream_rbt, rbt_file);
    add_load("load BIT", &kvn_fpga_imp::Load_Bitstream_bit, bit_file);
    add_load("load MCB", &kvn_fpga_imp::Load_Bitstream_mcb, mcb_file);
    return true;
}();
} // namespace
