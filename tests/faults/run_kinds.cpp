// SPDX-License-Identifier: Apache-2.0
// The kinds of runs for the fault matrix, and the documented result of each fault.
#include "run_kinds.h"

#include "support/bitstreams.h"

#include <algorithm>
#include <map>
#include <ostream>
#include <stdexcept>

using fault_points::Operation;
using fault_points::Point;

void PrintTo(const RunKind& kind, std::ostream* out)
{
    *out << kind.name;
}

bool RunKind::loads() const
{
    return action == Action::load_rbt || action == Action::load_bit || action == Action::load_mcb ||
           action == Action::con;
}

std::string RunKind::input() const
{
    switch (action) {
    case Action::load_rbt:
    case Action::rbt_to_mcb:
        return "design.rbt";
    case Action::load_bit:
    case Action::bit_to_mcb:
        return "design.bit";
    case Action::con:
        return "rack.con";
    default:
        return "design.mcb";
    }
}

std::string RunKind::output() const
{
    switch (action) {
    case Action::rbt_to_mcb:
    case Action::bit_to_mcb:
        return "design.mcb";
    case Action::mcb_to_rbt:
        return "design.rbt";
    default:
        return "";
    }
}

std::vector<RunKind> run_kinds()
{
    using enum Action;
    using enum Way;
    constexpr const char* old_device = "v300bg432-5";
    return {
        {.name = "RbtPlain", .action = load_rbt},
        {.name = "RbtPlainFullPieces", .action = load_rbt, .full_pieces = true},
        {.name = "RbtPlainOldDevice", .action = load_rbt, .device = old_device},
        {.name = "RbtCompressed", .action = load_rbt, .compressed = true},
        {.name = "RbtCompressedFullPieces", .action = load_rbt, .compressed = true, .full_pieces = true},
        {.name = "RbtPlainSearch", .action = load_rbt, .way = search, .model = 4},
        {.name = "RbtCompressedSearchIo",
         .action = load_rbt,
         .way = search,
         .compressed = true,
         .model = 5,
         .is_io = true},
        {.name = "RbtBoard", .action = load_rbt, .way = board, .verbose = true},
        {.name = "RbtHandle", .action = load_rbt, .way = handle},
        {.name = "RbtCommandLineOnHandle", .action = load_rbt, .way = line_on_handle, .compressed = true},
        {.name = "BitPlain", .action = load_bit, .model = 4},
        {.name = "BitPlainFullPieces", .action = load_bit, .full_pieces = true},
        {.name = "BitPlainOldDevice", .action = load_bit, .device = old_device},
        {.name = "BitCompressed", .action = load_bit, .compressed = true, .model = 4},
        {.name = "BitCompressedFullPieces", .action = load_bit, .compressed = true, .full_pieces = true},
        {.name = "BitPlainSearch", .action = load_bit, .way = search},
        {.name = "BitCompressedSearch", .action = load_bit, .way = search, .compressed = true, .model = 4},
        {.name = "BitLongDevice", .action = load_bit, .verbose = true, .long_device = 2000},
        {.name = "McbPlain", .action = load_mcb},
        {.name = "McbPlainFullPieces", .action = load_mcb, .full_pieces = true},
        {.name = "McbPlainOldDevice", .action = load_mcb, .device = old_device},
        {.name = "McbCompressed", .action = load_mcb, .compressed = true, .model = 5, .is_io = true},
        {.name = "McbCompressedFullPieces", .action = load_mcb, .compressed = true, .full_pieces = true},
        {.name = "McbCompressedOldDevice", .action = load_mcb, .compressed = true, .device = old_device},
        {.name = "McbPlainSearch", .action = load_mcb, .way = search},
        {.name = "McbCompressedSearch", .action = load_mcb, .way = search, .compressed = true, .model = 4},
        {.name = "McbHandle", .action = load_mcb, .way = handle},
        {.name = "RbtToMcb", .action = rbt_to_mcb},
        {.name = "BitToMcb", .action = bit_to_mcb},
        {.name = "McbToRbt", .action = mcb_to_rbt},
        {.name = "ConOfThreeModules", .action = con},
    };
}

Bytes configuration(std::size_t size, bool with_runs)
{
    Bytes data;
    std::uint32_t state = 12345;
    while (data.size() < size) {
        state = state * 1664525U + 1013904223U;
        std::uint8_t value = static_cast<std::uint8_t>(state >> 16);
        if (!data.empty() && value == data.back())
            ++value;
        const std::size_t run = with_runs ? 1 + (state >> 30) : 1;
        data.insert(data.end(), std::min(run, size - data.size()), value);
    }
    return data;
}

namespace
{
/// Whether the data of a load leaves nothing to flush after its last byte.
bool fills_pieces(const RunKind& kind, const Bytes& data)
{
    const std::size_t sent = kind.compressed ? run_coded(data).size() : data.size();
    return sent % 8 == 0;
}
} // namespace

Bytes small_configuration(const RunKind& kind)
{
    for (std::size_t words = 40;; ++words) {
        Bytes data = configuration(words * 4);
        // The last run extends over several pieces.
        std::fill(data.end() - 21, data.end(), std::uint8_t{0x5A});
        if (fills_pieces(kind, data) == kind.full_pieces)
            return data;
    }
}

namespace
{
/// The numbers of a load's failures.
struct LoadNumbers {
    int start;
    int header;
    int data;      ///< of pieces of the data
    int last_data; ///< of a piece that the last run fills
    int flush;
    int end;
    int start_reply;
    int read_reply;
    int end_reply;
};

LoadNumbers load_numbers(const RunKind& kind)
{
    switch (kind.action) {
    case Action::load_rbt:
        return {9105, 9106, kind.compressed ? 9109 : 9140, kind.compressed ? 9111 : 9140, 9122, 9114, 9115,
                9116, 9117};
    case Action::load_bit:
        return {9350, 9351, kind.compressed ? 9355 : 9390, kind.compressed ? 9357 : 9390, 9368, 9361, 9362,
                9363, 9364};
    case Action::load_mcb:
        if (kind.is_virtex2())
            return {
                9156, 9157, kind.compressed ? 9163 : 9164, kind.compressed ? 9163 : 9164, 9173, 9168, 9169,
                9170, 9171};
        return {9156, 9157, kind.compressed ? 9163 : 9164, kind.compressed ? 9166 : 9167, 9173, 9168, 9169,
                9170, 9171};
    default:
        throw std::logic_error{"no load"};
    }
}

/// Where the last run begins in the data sent: the part before the tail of an older family's MCB load, or the
/// pair that a compressed load holds back.
std::size_t last_run_begin(const Bytes& data, bool compressed)
{
    const Bytes pairs = run_coded(data);
    return compressed ? pairs.size() - 2 : data.size() - pairs[pairs.size() - 2];
}

/// Follows a journal from call to call.
class PlatformErrors
{
public:
    explicit PlatformErrors(const RunKind& kind) : kind_{kind} {}

    int next(const std::string& call, const std::string& following)
    {
        const auto is = [&call](std::string_view name) { return call.starts_with(std::string{name} + ' '); };
        if (is("OpenS")) {
            statuses_ = 0;
            return 9201;
        }
        if (call.starts_with("InitIoStatus"))
            return ++statuses_ == 1 ? 9202 : 9203;
        if (call.starts_with("GetDeviceInfo"))
            return kind_.way == Way::handle ? 9301 : 9307;
        if (is("GetBoardInfo"))
            return 9190;
        if (is("SendMessageEx") || is("SendMessage")) {
            asks_type_ = call.find(" type 1 ") != std::string::npos;
            if (asks_type_)
                return 9060;
            if (is("SendMessage"))
                return kind_.is_io ? 9093 : 9090;
            return kind_.is_io ? 9226 : 9223;
        }
        if (is("ReceiveMessageEx") || is("ReceiveMessage")) {
            if (asks_type_)
                return 9061;
            if (is("ReceiveMessage"))
                return kind_.is_io ? 9094 : 9091;
            return kind_.is_io ? 9227 : 9224;
        }
        return next_of_load(call, following);
    }

private:
    int next_of_load(const std::string& call, const std::string& following)
    {
        const LoadNumbers numbers = load_numbers(kind_of_load());
        if (call.starts_with("StartSendMessageEx")) {
            pieces_ = 0;
            return numbers.start;
        }
        if (call.starts_with("SendMessageDataEx"))
            return piece_error(numbers, following.starts_with("EndOfSendMessageEx"), call);
        if (call.starts_with("EndOfSendMessageEx"))
            return numbers.end;
        if (call.starts_with("StartReceiveMessageEx"))
            return numbers.start_reply;
        if (call.starts_with("ReceiveMessageDataEx"))
            return numbers.read_reply;
        if (call.starts_with("EndOfReceiveMessageEx")) {
            ++loads_done_;
            return numbers.end_reply;
        }
        throw std::logic_error{"no number is documented for the platform call " + call};
    }

    int piece_error(const LoadNumbers& numbers, bool is_last, const std::string& call)
    {
        if (pieces_++ == 0)
            return numbers.header;
        const std::size_t size = (call.find(" timeout") - call.find(' ')) / 3;
        if (is_last && size < 8)
            return numbers.flush;
        const std::size_t last_byte = 8 * (pieces_ - 1) - 1;
        // A short run ends inside a piece, a long one extends over several.
        return last_byte >= last_run_begin(small_configuration(kind_), kind_of_load().compressed)
                   ? numbers.last_data
                   : numbers.data;
    }

    /// The current load: the three of a .con file differ.
    [[nodiscard]] RunKind kind_of_load() const
    {
        if (kind_.action != Action::con)
            return kind_;
        RunKind load = kind_;
        load.action = loads_done_ == 1 ? Action::load_mcb : Action::load_rbt;
        load.compressed = loads_done_ == 2;
        return load;
    }

    RunKind kind_;
    int statuses_ = 0;
    bool asks_type_ = false;
    std::size_t pieces_ = 0;
    int loads_done_ = 0;
};
} // namespace

std::vector<int> documented_platform_errors(const RunKind& kind, const std::vector<std::string>& journal)
{
    PlatformErrors errors{kind};
    std::vector<int> numbers;
    for (std::size_t i = 0; i < journal.size(); ++i)
        if (!journal[i].starts_with("Close"))
            numbers.push_back(errors.next(journal[i], i + 1 < journal.size() ? journal[i + 1] : ""));
    return numbers;
}

namespace
{
bool loses_data(const Point& failed, const Point& good)
{
    return failed.done < good.done;
}

/// The number for a read that stopped before the end of an RBT file's data lines.
/// @param wrong_line what a line counts that was cut off by an end: an error leaves no line
int lines_error(const Point& failed, int wrong_line, int wrong_count)
{
    constexpr std::size_t line_length = 33;
    return !failed.error && failed.total % line_length != 0 ? wrong_line : wrong_count;
}

/// The numbers of a BIT header's fields, in their order.
constexpr int bit_header[] = {9320, 9322, 9324, 9326, 9328, 9330, 9331, 9333, 9335,
                              9337, 9339, 9341, 9342, 9344, 9346, 9347, 9349};

/// The number for an operation among header fields, or 0 after them.
template <std::size_t Count>
int field_error(const int (&numbers)[Count], const Point& point)
{
    return point.ordinal <= Count ? numbers[point.ordinal - 1] : 0;
}

/// The number for a read that stopped before the end of the data of an MCB file.
int runs_error(const Point& failed, int count_error, int count_end, int value_error, int value_end)
{
    // Everything read before is whole pairs, as blocks have an even size.
    const bool at_value = failed.done % 2 != 0;
    if (failed.error)
        return at_value ? value_error : count_error;
    return at_value ? value_end : count_end;
}

/// The failures of a load's input by its kind, except opening it.
int load_input_error(const RunKind& kind, const std::string& file, const Point& failed, const Point& good)
{
    const auto lines = {9100, 9102, 9102, 9102, 9102, 9104, 9120};
    if (failed.operation == Operation::line)
        return failed.ordinal <= lines.size() ? lines.begin()[failed.ordinal - 1] : 0;
    if (failed.operation != Operation::read)
        return 0;
    if (file.ends_with(".rbt"))
        return loses_data(failed, good) ? lines_error(failed, kind.compressed ? 9107 : 9112, 9113) : 0;
    if (file.ends_with(".bit")) {
        if (const int error = field_error(bit_header, failed))
            return error;
        if (!loses_data(failed, good))
            return 0;
        return kind.compressed ? 9352 : 9358;
    }
    constexpr int header[] = {9150, 9152, 9154, 9155};
    if (const int error = field_error(header, failed))
        return error;
    return loses_data(failed, good) ? runs_error(failed, 9158, 9159, 9160, 9161) : 0;
}

int conversion_input_error(const RunKind& kind, const Point& failed, const Point& good)
{
    if (kind.action == Action::rbt_to_mcb) {
        constexpr int lines[] = {9240, 9245, 9245, 9245, 9245, 9247, 9249};
        if (failed.operation == Operation::line)
            return field_error(lines, failed);
        return failed.operation == Operation::read && loses_data(failed, good)
                   ? lines_error(failed, 9251, 9256)
                   : 0;
    }
    if (failed.operation != Operation::read)
        return 0;
    if (kind.action == Action::bit_to_mcb) {
        if (const int error = field_error(bit_header, failed))
            return error;
        return loses_data(failed, good) ? 9416 : 0;
    }
    constexpr int header[] = {9270, 9272, 9277, 9278};
    if (const int error = field_error(header, failed))
        return error;
    return loses_data(failed, good) ? runs_error(failed, 9280, 9281, 9282, 9283) : 0;
}

int mcb_output_error(const Point& failed, const Point& good, const std::vector<int>& header, int count,
                     int last_count)
{
    if (failed.operation == Operation::close)
        return last_count + 1;
    if (failed.operation != Operation::write)
        return 0;
    if (failed.ordinal <= header.size())
        return header[failed.ordinal - 1];
    // The last pair is written by itself.
    const int first = good.asked == 2 ? last_count : count;
    return first + (failed.done % 2 == 0 ? 0 : 1);
}

int rbt_output_error(const Point& failed)
{
    if (failed.operation == Operation::close)
        return 9297;
    if (failed.operation != Operation::write)
        return 0;
    constexpr int header[] = {
        9274, 9275, 9275, 9275, 9276,
        9276, 9276, 9279, 9297}; // a failure of the bit count shows when the file is closed
    if (const int error = field_error(header, failed))
        return error;
    switch (failed.refused) {
    case '1':
        return 9295;
    case '0':
        return 9296;
    default:
        return 9297;
    }
}

int output_error(const RunKind& kind, const Point& failed, const Point& good)
{
    if (kind.action == Action::mcb_to_rbt)
        return rbt_output_error(failed);
    if (kind.action == Action::bit_to_mcb)
        return mcb_output_error(failed, good, {9411, 9412, 9413, 9414, 9415}, 9418, 9420);
    return mcb_output_error(failed, good, {9243, 9244, 9246, 9248, 9250}, 9252, 9254);
}

int open_error(const RunKind& kind, const std::string& file)
{
    if (file == kind.output()) {
        const std::map<Action, int> numbers{
            {Action::rbt_to_mcb, 9242}, {Action::bit_to_mcb, 9410}, {Action::mcb_to_rbt, 9273}};
        return numbers.at(kind.action);
    }
    if (kind.action != Action::con)
        return file.ends_with(".rbt") ? 9044 : file.ends_with(".mcb") ? 9048 : 9055;
    const std::map<std::string, int> numbers{
        {"rack.con", 9020}, {"one.rbt", 9022}, {"two.mcb", 9023}, {"three.rbt", 9021}};
    return numbers.at(file);
}

int con_error(const RunKind& kind, const Point& failed, const Point& good)
{
    if (failed.file != "rack.con") {
        RunKind load = kind;
        load.compressed = failed.file == "three.rbt";
        return load_input_error(load, failed.file, failed, good);
    }
    // The end of the file, or an error, before the first module.
    return failed.operation == Operation::line && failed.ordinal == 1 ? 9027 : 0;
}
} // namespace

int documented_file_error(const RunKind& kind, const Point& failed, const Point& good)
{
    if (failed.operation == Operation::allocation) {
        // The texts of a BIT header; whatever else is allocated only makes the run faster or a line longer.
        const std::map<std::size_t, int> texts{
            {22, 9329}, {16 + kind.long_device, 9334}, {15, 9340}, {13, 9345}};
        const auto found = texts.find(failed.asked);
        return found == texts.end() ? 0 : found->second;
    }
    if (failed.operation == Operation::open)
        return open_error(kind, failed.file);
    if (failed.file == kind.output())
        return output_error(kind, failed, good);
    if (kind.action == Action::con)
        return con_error(kind, failed, good);
    return kind.loads() ? load_input_error(kind, failed.file, failed, good)
                        : conversion_input_error(kind, failed, good);
}
