// SPDX-License-Identifier: Apache-2.0
// Whole runs with modules, files and faults of all kinds, one after the other on one object.
//
// After each run: the number is that of the text, the bus and the files are closed, the messages were in
// order, nothing was sent after a failure, a file reported as complete is complete, and the next good run
// succeeds.
#include "sessions.h"
#include "support/bitstreams.h"
#include "support/faults.h"
#include "target.h"

#include <optional>

namespace
{
using fault_points::Fault;
using fault_points::Operation;
using fault_points::Point;
using fault_points::Recording;

constexpr std::size_t MOST_RUNS = 3;
constexpr int CONFIGURE = 0;
constexpr int STARTED = 5;
constexpr std::uint8_t TYPES[] = {2, 4, 0, 1, 3, 255};
constexpr std::uint8_t MODELS[] = {4, 3, 5, 0, 255};

enum class Kind { rbt, bit, mcb };

const char* name_of(Kind kind)
{
    return kind == Kind::rbt ? "input.rbt" : kind == Kind::bit ? "input.bit" : "input.mcb";
}

/// A size in words: mostly small, sometimes of more than a block of the file readers.
std::size_t choose_words(Choices& input)
{
    constexpr std::size_t sizes[] = {0, 1, 4, 5, 8, 31, 32, 63, 64, 100, 150, 1300, 2100, 20000};
    const std::size_t choice = input.below(64);
    return choice < std::size(sizes) ? sizes[choice] : 8;
}

std::string choose_device(Choices& input)
{
    constexpr const char* devices[] = {"2v3000fg676", "v300pq240", "2vp30ff896", "s40xlpq208", "", "-", "2v"};
    // In two steps, because the order of evaluation is unspecified.
    const std::size_t choice = input.below(64) % std::size(devices);
    return input.yes() ? devices[choice] : devices[0];
}

/// Changes, removes or inserts a few bytes.
void spoil(std::string& content, Choices& input)
{
    for (std::size_t edits = input.below(8) < 4 ? 0 : input.below(4); edits > 0 && !content.empty();
         --edits) {
        const std::size_t place = input.below(content.size());
        switch (input.below(4)) {
        case 0:
            content[place] = static_cast<char>(input.byte());
            break;
        case 1:
            content.resize(place);
            break;
        case 2:
            content.erase(place, 1 + input.below(40));
            break;
        default:
            content.insert(place, input.text(input.below(40)));
        }
    }
}

std::string make_content(Kind kind, Choices& input)
{
    const Bytes data = sample_data(choose_words(input) * 4);
    const std::string device = choose_device(input);
    const bool wrong_size = input.once_in(4);
    const auto other_size = static_cast<std::int32_t>(input.word());
    if (kind == Kind::rbt) {
        RbtFile file{data};
        file.device(device);
        if (input.yes())
            file.without_date();
        if (wrong_size)
            file.stated_bits(other_size);
        return file.text();
    }
    if (kind == Kind::bit) {
        BitFile file{data};
        file.device = device + '\0';
        if (wrong_size)
            file.byte_count = static_cast<std::uint32_t>(other_size);
        return file.content();
    }
    McbFile file{data};
    file.device = device;
    if (wrong_size)
        file.byte_count = other_size;
    return file.content();
}

void write_inputs(Kind kind, Choices& input)
{
    for (const char* name : {"input.rbt", "input.bit", "input.mcb", "input.con"})
        remove_file(name);
    std::string content = make_content(kind, input);
    spoil(content, input);
    write_file(name_of(kind), content);
}

void set_slots(WatchedPlatform& platform, Choices& input)
{
    for (std::uint32_t number = 1; number <= 4; ++number) {
        Module& slot = platform.modules.slot(number, fpga_module(4));
        if (input.once_in(8))
            slot.record[0] = input.one_of(TYPES);
        slot.record[1] = input.one_of(MODELS);
        slot.device(choose_device(input) + "-4");
        if (input.once_in(8))
            slot.device(input.text(26));
        slot.record[29] = input.yes() ? 1 : 0;
        slot.compression_reply = {static_cast<std::uint8_t>(input.yes() ? 1 : 0)};
        if (input.once_in(16))
            slot.type_reply_type = input.byte();
        if (input.once_in(16))
            slot.compression_reply_type = input.byte();
        if (input.once_in(8))
            slot.verdict = {input.byte(), input.byte()};
        if (input.once_in(8))
            slot.info[input.below(3)] = input.byte();
    }
    platform.close_clears_handle = input.yes();
    platform.failing_open_stores_handle = input.yes();
    platform.handle_kind = input.once_in(4) ? input.byte() : MW_DEVICE_KIND_KSB;
    platform.handle_board_number = input.once_in(8) ? input.byte() : 0;
    if (input.once_in(8))
        platform.error_words.assign(mwapi::ERROR_TEXT_SIZE, '%');
}

/// At most one failure: a platform call, or an operation on a file or an allocation.
void plan_fault(WatchedPlatform& platform, Recording& recording, Choices& input)
{
    constexpr Fault faults[] = {Fault::error,     Fault::end,       Fault::short_error,
                                Fault::short_end, Fault::odd_error, Fault::odd_end};
    const std::size_t kind = input.below(4);
    const std::size_t n = input.once_in(4) ? input.below(4000) : input.below(40);
    platform.fail_call(kind == 1 ? static_cast<int>(n) + 1 : 0, input.word() | 1U);
    if (kind == 2)
        recording.plan(n, input.one_of(faults));
}

struct Run {
    Kind kind = Kind::rbt;
    int action = CONFIGURE;
    bool is_con = false;
    int result = 0;
};

std::vector<std::string> choose_arguments(const Run& run, Choices& input)
{
    std::vector<std::string> words{std::string{"-f"} + name_of(run.kind)};
    if (input.once_in(4))
        words.back().resize(words.back().size() - 4);
    if (!input.once_in(4))
        words.emplace_back("-dmwc4a");
    if (!input.once_in(4))
        words.push_back("-b" + std::to_string(input.once_in(8) ? input.below(20) : 0));
    if (!input.once_in(4))
        words.push_back("-s" + std::to_string(1 + input.below(5)));
    if (input.once_in(4))
        words.push_back("-t" + std::to_string(input.below(18)));
    for (const char* option : {"-v", "-u", "-n"})
        if (input.yes())
            words.emplace_back(option);
    if (run.action != CONFIGURE)
        words.emplace_back(run.action == 1 ? "-c" : "-r");
    if (run.is_con)
        words.emplace_back("input.con");
    return words;
}

void write_con_file(Kind kind, Choices& input)
{
    std::string content;
    for (std::size_t lines = input.below(4); lines > 0; --lines) {
        content += input.once_in(4) ? "good.mcb" : name_of(kind);
        content += " mwc4a ";
        content += std::to_string(input.once_in(8) ? input.below(20) : 0);
        content += " 0x0";
        content += std::to_string(1 + input.below(4));
        content += '\n';
    }
    spoil(content, input);
    write_file("input.con", content);
}

int start(kvn_fpga& object, WatchedPlatform& platform, const Run& run, Choices& input)
{
    std::string file = name_of(run.kind);
    char board_type[] = "mwc4a";
    const int address = input.once_in(8) ? input.byte() : static_cast<int>(1 + input.below(4));
    const int flags = input.byte();
    MW_HANDLE* handle = platform.callers_handle();
    switch (run.is_con ? 2 + input.below(2) : input.below(4)) {
    case 0:
        return object.kvn_fpga_board(board_type, input.once_in(16) ? input.byte() : 0, address, file.data(),
                                     run.action, flags);
    case 1:
        return object.kvn_fpga_handle(handle, address, file.data(), run.action, flags);
    case 2:
        return run_line(object, platform, choose_arguments(run, input));
    default:
        return run_line(object, platform, choose_arguments(run, input), handle);
    }
}

void check_messages(WatchedPlatform& platform, const Run& run)
{
    platform.require_closed();
    require(!platform.failed || run.result != 0, "a call that fails is never taken for a success");
    if (run.is_con)
        return;
    if (run.action != CONFIGURE) {
        require(platform.opens == 0 && platform.loads().empty(), "a conversion leaves the bus alone");
        return;
    }
    require(platform.loads().size() <= 1 && platform.opens <= 1, "a run loads one module");
    const bool is_complete = platform.verdicts_read == 1;
    const bool has_started = is_complete && platform.last_verdict == STARTED;
    require(run.result != 0 || has_started, "a run that succeeds has started a module");
    require(!has_started || run.result == 0 || run.result == 9113 || run.result == 9365,
            "a module that has started is a success, or has a mistake in its file");
    require(platform.complete_loads == 0 || is_complete || platform.failed, "the verdict is read");
}

/// An output reported as complete equals that of a conversion without a fault.
/// @param fault the operation that failed, or null
void check_output(const Run& run, const Point* fault)
{
    // An input that cannot be read on is as if it were another one.
    const bool reads =
        fault != nullptr && (fault->operation == Operation::read || fault->operation == Operation::line);
    if (run.result != 0 || run.action == CONFIGURE || run.is_con || reads)
        return;
    const std::string output = run.action == 1 ? "input.mcb" : "input.rbt";
    require(fault == nullptr || fault->operation != Operation::close || fault->file != output,
            "an output that cannot be closed is never a success");
    const std::string made = read_file(output);
    kvn_fpga object;
    answer_simply(object);
    char board_type[] = "mwc4a";
    std::string file = name_of(run.kind);
    const int again = object.kvn_fpga_board(board_type, 0, 1, file.data(), run.action, 0);
    require(again == 0 && read_file(output) == made, "a file that is said to be whole is whole");
}

void run_well(kvn_fpga& object)
{
    char board_type[] = "mwc4a";
    char file[] = "good.rbt";
    WatchedPlatform platform;
    const int result = object.kvn_fpga_board(board_type, 0, 1, file, CONFIGURE, 0);
    check_result(result, object.kvn_fpga_getlasterr());
    platform.require_closed();
    require(result == 0, "the next good run succeeds");
    Bytes expected{3, 5};
    expected.insert(expected.end(), good_data().begin(), good_data().end());
    require(platform.loads().size() == 1 && platform.loads().front() == expected,
            "its data is sent as it is");
}

void run_once(kvn_fpga& object, Choices& input)
{
    constexpr Kind kinds[] = {Kind::rbt, Kind::bit, Kind::mcb};
    Run run;
    run.kind = input.one_of(kinds);
    run.action = input.yes() ? CONFIGURE : static_cast<int>(input.below(3));
    run.is_con = input.once_in(6);
    write_inputs(run.kind, input);
    if (run.is_con)
        write_con_file(run.kind, input);
    WatchedPlatform platform;
    set_slots(platform, input);
    std::optional<Point> failed;
    {
        Recording recording;
        plan_fault(platform, recording, input);
        run.result = start(object, platform, run, input);
        failed = recording.failed();
    }
    check_result(run.result, object.kvn_fpga_getlasterr());
    check_messages(platform, run);
    check_output(run, failed ? &*failed : nullptr);
    run_well(object);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    Choices input{data, size};
    kvn_fpga object;
    answer_simply(object);
    for (std::size_t i = 0; i < MOST_RUNS && !input.empty(); ++i)
        run_once(object, input);
    return 0;
}
