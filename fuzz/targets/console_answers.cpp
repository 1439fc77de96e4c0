// SPDX-License-Identifier: Apache-2.0
// Answers on standard input. The first byte selects the command line.
#include "sessions.h"
#include "target.h"

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
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    WatchedPlatform platform;
    kvn_fpga object; // without callbacks: on the console
    Choices input{data, size};
    const std::uint8_t choice = input.byte();
    {
        const TypedInput typed{input.rest()};
        (void)run_line(object, platform, line_with_questions(choice));
    }
    const TypedInput typed{input.rest()};
    object.kvn_fpga_help();
    return 0;
}
