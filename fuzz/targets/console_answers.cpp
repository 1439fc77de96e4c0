// SPDX-License-Identifier: Apache-2.0
// Answers on standard input. The first byte selects the command line.
#include "target.h"
#include "watched_platform.h"
#include "workplace.h"

namespace
{
/// While it exists, standard input consists of these bytes.
class TypedInput
{
public:
    explicit TypedInput(std::span<const std::uint8_t> bytes)
        : before_{stdin}, stream_{open_bytes(bytes.data(), bytes.size())}
    {
        stdin = stream_;
    }
    ~TypedInput()
    {
        stdin = before_;
        (void)std::fclose(stream_);
    }
    TypedInput(const TypedInput&) = delete;
    TypedInput& operator=(const TypedInput&) = delete;

private:
    FILE* before_;
    FILE* stream_;
};

void run(const Choices& input, std::uint8_t choice, kvn_fpga& object)
{
    static const std::vector<std::string> lines[] = {
        {"KVN_FPGA"},
        {"KVN_FPGA", "-v", "-s1"},
        {"KVN_FPGA", "-fonly_mcb.rbt", "-b0", "-s2"},
        {"KVN_FPGA", "-fonly_bit.mcb", "-dmwc4a"},
        {"KVN_FPGA", "-fonly_rbt.bit", "-c"},
        {"KVN_FPGA", "-r"},
    };
    const TypedInput typed{input.rest()};
    CommandLine arguments{lines[choice % std::size(lines)]};
    const int result = object.kvn_fpga_main(arguments.argc(), arguments.argv());
    check_result(result, object.kvn_fpga_getlasterr());
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    write_file("only_mcb.mcb", read_file("good.mcb"));
    write_file("only_bit.bit", read_file("good.bit"));
    write_file("only_rbt.rbt", read_file("good.rbt"));
    WatchedPlatform platform;
    kvn_fpga object; // without callbacks: on the console
    Choices input{data, size};
    const std::uint8_t choice = input.byte();
    run(input, choice, object);
    platform.require_closed();
    {
        const TypedInput typed{input.rest()};
        object.kvn_fpga_help();
    }
    return 0;
}
