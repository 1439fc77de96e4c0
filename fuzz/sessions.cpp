// SPDX-License-Identifier: Apache-2.0
// Single loads and conversions of a file's bytes.
#include "sessions.h"

#include "support/text.h"

#include <algorithm>

namespace
{
constexpr int ADDRESS = 0x21;
constexpr std::uint8_t PLAIN_LOAD = 3;
constexpr std::uint8_t COMPRESSED_LOAD = 13;
constexpr std::uint8_t BOARD_BYTE = 5;
constexpr std::ptrdiff_t LOAD_HEADER_SIZE = 2;

int press_return(char* /*text*/, void* /*unused*/)
{
    return '\n';
}

void prepare(kvn_fpga_imp& session, const std::string& file_name, bool verbose)
{
    session.kvn_fpga_set_userprint(take_print);
    session.kvn_fpga_set_userfie(press_return, 0);
    session.verbose = verbose ? 1 : 0;
    copy_text(session.board_type, "mwc4a");
    copy_text(session.bitstream_file, file_name);
}

/// What a module received: nothing, or a load header and data.
void check_load(WatchedPlatform& platform, const LoadCase& what, LoadResult& result)
{
    const std::vector<Bytes> loads = platform.loads();
    require(loads.size() <= 1, "a load is one message");
    require(!platform.failed, "a good platform does not fail");
    const bool complete = platform.complete_loads == 1;
    require(complete == (platform.verdicts_read == 1), "behind a whole load the verdict is read");
    require(result.number != 0 || complete, "a load that succeeds is complete");
    // After these two the module has started, although the counts of bits differ.
    require(!complete || result.number == 0 || result.number == 9113 || result.number == 9365,
            "a module that has started is a success");
    if (loads.empty())
        return;
    const Bytes& sent = loads.front();
    const std::uint8_t command = what.compressed ? COMPRESSED_LOAD : PLAIN_LOAD;
    require(sent.size() >= LOAD_HEADER_SIZE && sent[0] == command && sent[1] == BOARD_BYTE,
            "a load begins with its header");
    result.data.assign(sent.begin() + LOAD_HEADER_SIZE, sent.end());
}
} // namespace

int run_line(kvn_fpga& object, const WatchedPlatform& platform, std::vector<std::string> words,
             MW_HANDLE* handle)
{
    words.insert(words.begin(), "KVN_FPGA");
    Arguments line{words};
    const int result = handle == nullptr ? object.kvn_fpga_main(line.argc(), line.argv())
                                         : object.kvn_fpga_main(handle, line.argc(), line.argv());
    check_result(result, object.kvn_fpga_getlasterr());
    platform.require_closed();
    return result;
}

const std::vector<std::string>& line_with_questions(std::size_t choice)
{
    static const std::vector<std::string> lines[] = {{},
                                                     {"-v", "-s1"},
                                                     {"-fonly_mcb.rbt", "-b0", "-s2"},
                                                     {"-fonly_bit.mcb", "-dmwc4a"},
                                                     {"-fonly_rbt.bit", "-c"},
                                                     {"-r"}};
    for (const std::string kind : {"mcb", "bit", "rbt"})
        write_file("only_" + kind + '.' + kind, read_file("good." + kind));
    return lines[choice % std::size(lines)];
}

LoadResult load(Loader loader, const Bytes& file, const LoadCase& what)
{
    WatchedPlatform platform;
    kvn_fpga_imp session;
    prepare(session, what.file_name, what.talks);
    session.handle = platform.opened_bus("mwc4a", 0);
    session.prompt_user = what.talks ? 1 : 0;
    session.supports_compressed_loading = what.compressed ? 1 : 0;
    session.virtex2_family = what.virtex2 ? 1 : 0;
    copy_text(session.device_name, what.device);

    LoadResult result;
    FILE* stream = open_bytes(file.data(), file.size());
    result.number = (session.*loader)("mwc4a", 0, ADDRESS, stream, session.device_name);
    check_result(result.number, session.last_error_text);
    require(session.last_error == result.number, "the number is kept");
    check_load(platform, what, result);
    return result;
}

int convert(Converter converter, const Bytes& file, const std::string& file_name, bool verbose)
{
    kvn_fpga_imp session;
    prepare(session, file_name, verbose);
    const int number = (session.*converter)(open_bytes(file.data(), file.size()));
    check_result(number, session.last_error_text);
    require(session.last_error == number, "the number is kept");
    return number;
}

namespace
{
/// Counts of bits have 32 bits: if a file states more, only the low ones are compared.
bool states_too_many_bits(const Bytes& mcb)
{
    constexpr std::size_t highest_byte_of_count = 521;
    constexpr unsigned least_byte = 0x10;
    return mcb.at(highest_byte_of_count) >= least_byte;
}
} // namespace

void check_conversion(Converter converter, const Bytes& file, const std::string& file_name,
                      const LoadResult& loaded)
{
    remove_file("input.mcb");
    if (convert(converter, file, file_name, true) != 0)
        return;
    const std::string made = read_file("input.mcb");
    const Bytes mcb{made.begin(), made.end()};
    if (states_too_many_bits(mcb))
        return;
    const LoadResult loaded_mcb =
        load(&kvn_fpga_imp::Load_Bitstream_mcb, mcb, {"input.mcb", false, true, false, ""});
    require(loaded_mcb.number == 0, "an MCB file that was made can be loaded");
    // One trailing byte of a BIT file is an error only in a plain load.
    require(loaded.number == 0 || loaded.number == 9365, "what can be converted can be loaded");
    require(loaded_mcb.data == loaded.data, "a conversion keeps the data");
    (void)convert(&kvn_fpga_imp::Make_rbt_file, mcb, "input.mcb", false);
}

LoadResult load_in_every_way(Loader loader, const Bytes& file, const char* file_name)
{
    const LoadResult plain = load(loader, file, {file_name, false, true, false, ""});
    const LoadResult compressed = load(loader, file, {file_name, true, true, true, ""});
    if (plain.number == 0 && compressed.number == 0) {
        const Bytes data = expanded(compressed.data);
        require(data == plain.data, "a compressed load holds the data of the plain one");
    }
    const LoadResult older = load(loader, file, {file_name, false, false, true, "v300pq240-5"});
    // A load that ends early may leave bytes in the send buffer, so only the bytes that both sent are
    // compared.
    const std::size_t both = std::min(older.data.size(), plain.data.size());
    require(std::equal(older.data.begin(), older.data.begin() + static_cast<std::ptrdiff_t>(both),
                       plain.data.begin()),
            "older families are sent the same data");
    require(plain.number != 0 || older.data.size() <= plain.data.size(),
            "older families are not sent the tail");
    (void)load(loader, file, {file_name, true, false, false, "2v3000fg676-4"});
    return plain;
}
