// SPDX-License-Identifier: Apache-2.0
// Every platform call of every load fails once, with an error of its own.
#include "load_fixture.h"

#include <algorithm>
#include <ostream>

namespace
{
/// The descriptors that were open when the library asked for a text.
thread_local std::size_t descriptors_at_text = 0;
} // namespace

extern "C" {
std::uint32_t __real_MwErr2Text(std::uint32_t code, char* text);

std::uint32_t __wrap_MwErr2Text(std::uint32_t code, char* text)
{
    descriptors_at_text = count_descriptors();
    return __real_MwErr2Text(code, text);
}
}

namespace
{
using Loader = int (kvn_fpga_imp::*)(const char*, int, int, FILE*, const char*);

/// The numbers of the calls around a load's data.
struct Format {
    const char* file;
    Loader loader;
    int start;
    int header;
    int end;
    int start_reply;
    int read_reply;
    int end_reply;
    const char* end_reply_words;
};

const Format rbt{"design.rbt",     &kvn_fpga_imp::Load_Bitstream_rbt, 9105, 9106, 9114, 9115, 9116, 9117,
                 "end KSB message"};
const Format bit{"design.bit",     &kvn_fpga_imp::Load_Bitstream_bit, 9350, 9351, 9361, 9362, 9363, 9364,
                 "end KSB message"};
const Format mcb{"design.mcb", &kvn_fpga_imp::Load_Bitstream_mcb, 9156, 9157, 9168, 9169, 9170,
                 9171,         "end receive KSB message"};

/// A load, and the numbers of the calls that send its data.
struct Load {
    const char* name;
    const Format& format;
    bool is_compressed;
    bool is_older_family;
    bool has_left_over; ///< a byte of an earlier load, which turns count and value of the pieces round
    std::vector<int> data_numbers;
    const char* pairs = ""; ///< what an MCB file holds
    std::int32_t byte_count = 0;
};

const Load loads[] = {
    {"RbtPlain", rbt, false, false, false, {9140, 9140, 9122}},
    {"RbtPiecesThatEndWithAValue", rbt, true, false, false, {9109, 9111}},
    {"RbtPiecesThatEndWithACount", rbt, true, false, true, {9108, 9110, 9122}},
    {"BitPlain", bit, false, false, false, {9390, 9390, 9368}},
    {"BitPiecesThatEndWithAValue", bit, true, false, false, {9355, 9357}},
    {"BitPiecesThatEndWithACount", bit, true, false, true, {9354, 9356, 9368}},
    {"McbPlain", mcb, false, false, false, {9164, 9164, 9173}, "0A AA 0A BB", 20},
    {"McbPiecesThatEndWithAValue", mcb, true, false, false, {9163, 9173}, "01 01 01 02 01 03 01 04 01 05", 5},
    {"McbPiecesThatEndWithACount", mcb, true, false, true, {9162, 9173}, "01 01 01 02 01 03 01 04 01 05", 5},
    // The last run is the one that reaches into the tail.
    {"McbPlainTail", mcb, false, true, false, {9167, 9167, 9167, 9167}, "04 AA 20 BB", 36},
    {"McbTailThatEndsWithAValue", mcb, true, true, false, {9166}, "01 01 01 02 01 03 06 04", 9},
    {"McbTailThatEndsWithACount", mcb, true, true, true, {9165, 9173}, "01 01 01 02 01 03 06 04", 9},
};

/// A platform call of a load that fails, and the text of the error that the load then ends with.
struct FailedCall {
    const Load& load;
    int call;  ///< which call, from 1
    int calls; ///< of the whole load
    std::string text;

    friend void PrintTo(const FailedCall& row, std::ostream* out)
    {
        *out << row.load.name << ", call " << row.call;
    }
};

std::string cannot(int number, const std::string& what)
{
    return "Error " + std::to_string(number) + ". Cannot " + what + " (via 'mwc4a 0') (api 0x77).";
}

std::string cannot_send(int number)
{
    if (number == 9140 || number == 9390)
        return "Error " + std::to_string(number) +
               ". Cannot send KSB message data, board \"mwc4a 0\" (api 0x77).";
    return cannot(number, "send KSB message data, slot 0x2");
}

std::vector<FailedCall> failed_calls()
{
    std::vector<FailedCall> rows;
    for (const Load& load : loads) {
        const Format& format = load.format;
        std::vector<std::string> texts{cannot(format.start, "start KSB message, slot 0x2"),
                                       cannot_send(format.header)};
        std::ranges::transform(load.data_numbers, std::back_inserter(texts), cannot_send);
        texts.insert(texts.end(), {cannot(format.end, "end KSB message, slot 0x2"),
                                   cannot(format.start_reply, "start receive KSB message"),
                                   cannot(format.read_reply, "receive KSB message data"),
                                   cannot(format.end_reply, format.end_reply_words)});
        int call = 0;
        for (const std::string& text : texts)
            rows.push_back({load, ++call, static_cast<int>(texts.size()), text});
    }
    return rows;
}

class LoaderCall : public LoadFixture, public testing::WithParamInterface<FailedCall>
{
protected:
    const Load& row = GetParam().load;

    Result load_file() { return load(row.format.loader, row.format.file, std::fopen(row.format.file, "rb")); }
};
} // namespace

TEST_P(LoaderCall, ThatFailsHasItsOwnErrorAndIsTheLast)
{
    const Bytes data = row.is_compressed ? bytes("01 02 03 04 05 06 07 08") : sample_data(20);
    RbtFile{data}.write();
    BitFile{data}.write();
    McbFile file{0};
    file.runs = bytes(row.pairs);
    file.byte_count = row.byte_count;
    file.write();
    compress(row.is_compressed);
    session.virtex2_family = row.is_older_family ? 0 : 1;
    if (row.has_left_over)
        left_over = {0x55};
    const std::size_t descriptors = count_descriptors();
    platform.fail_call(GetParam().call);
    EXPECT_EQ(load_file(), Fails(GetParam().text));
    EXPECT_EQ(events.back(), "* Err2Text 0x77");
    const bool data_is_out = GetParam().call > GetParam().calls - 4;
    EXPECT_EQ(descriptors_at_text, descriptors + (data_is_out ? 0 : 1))
        << "the file is closed behind the text";
    platform.fail_nothing();
    const int before = platform.calls();
    EXPECT_EQ(load_file(), Succeeds());
    EXPECT_EQ(platform.calls() - before, GetParam().calls) << "calls of the whole load";
}

INSTANTIATE_TEST_SUITE_P(Loads, LoaderCall, testing::ValuesIn(failed_calls()), RowName{});
