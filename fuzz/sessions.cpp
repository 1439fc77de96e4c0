// SPDX-License-Identifier: Apache-2.0
// Single loads and conversions of a file's bytes.
#include "sessions.h"

#include "support/text.h"
#include "watched_platform.h"
#include "workplace.h"

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
