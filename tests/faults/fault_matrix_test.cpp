// SPDX-License-Identifier: Apache-2.0
// Every kind of run, with every one of its operations failing in turn.
//
// A good run is recorded; then each of its platform calls, file operations, transfers and allocations fails
// once, in a run of its own. So an operation added to the library is covered at once. What is asked of each
// run is what holds of all: which number a failure has is told by the tests of the operation.
#include "documented_errors.h"
#include "support/bitstreams.h"
#include "support/faults.h"
#include "support/run_fixture.h"
#include "support/seen_errors.h"

#include <algorithm>
#include <iostream>
#include <ostream>

using fault_points::Depth;
using fault_points::Fault;
using fault_points::Operation;
using fault_points::Point;
using fault_points::Recording;

namespace
{
enum class Action { load_rbt, load_bit, load_mcb, rbt_to_mcb, bit_to_mcb, mcb_to_rbt, con };

/// How a run finds its module.
enum class Way {
    named_slot,    ///< the command line names it
    search,        ///< the user accepts it
    board,         ///< kvn_fpga_board
    handle,        ///< kvn_fpga_handle, on the caller's bus
    line_on_handle ///< a command line on the caller's bus
};

struct RunKind {
    const char* name;
    Action action;
    Way way = Way::named_slot;
    bool compressed = false;
    /// Above 3 an FPGA module, and above 4 an IO module, is asked whether it accepts compressed data.
    std::uint8_t model = 3;
    bool is_io = false;
    bool verbose = false;
    const char* device = "2v3000fg676-4";
    /// Whether the data fills its last piece, so that nothing is left to flush.
    bool full_pieces = false;
    /// A BIT file's device name this long is printed from allocated memory.
    std::size_t long_device = 0;

    [[nodiscard]] bool loads() const
    {
        return action == Action::load_rbt || action == Action::load_bit || action == Action::load_mcb ||
               action == Action::con;
    }
    /// The files that the run reads and writes; "" for none.
    [[nodiscard]] std::string input() const
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
    [[nodiscard]] std::string output() const
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

    friend void PrintTo(const RunKind& kind, std::ostream* out) { *out << kind.name; }
};

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

/// Configuration bytes of runs of up to four, or without any.
Bytes configuration(std::size_t size, bool with_runs = true)
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

/// Whether the data of a load leaves nothing to flush after its last byte.
bool fills_pieces(const RunKind& kind, const Bytes& data)
{
    const std::size_t sent = kind.compressed ? run_coded(data).size() : data.size();
    return sent % 8 == 0;
}
/// The configuration bytes of a kind's small file.
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

/// Everything observed of a run.
struct Account {
    Result result{};
    std::vector<std::string> journal; ///< without the requests for an error's words
    std::vector<Bytes> loads;         ///< what each slot was sent
    std::string output;
    std::vector<std::string> prints;
    std::vector<Point> points;
    int open_streams = 0;
    std::size_t sent_after_failure = 0; ///< calls other than MwClose and MwErr2Text
};

/// Notes in a recording that an error's text is written, and how long the log then was.
class ErrorWatch
{
public:
    ErrorWatch(Recording& recording, const std::vector<std::string>& log) : recording_{recording}, log_{log}
    {
        current = this;
        error_format_listener = [](const char* /*format*/) { current->note(); };
    }
    ~ErrorWatch() { error_format_listener = nullptr; }
    ErrorWatch(const ErrorWatch&) = delete;
    ErrorWatch& operator=(const ErrorWatch&) = delete;

    // A wrong bit count is recorded early, and the load continues; only the last text matters.
    std::optional<std::size_t> failed_at;

private:
    void note()
    {
        recording_.note_description();
        failed_at = log_.size();
    }

    inline static ErrorWatch* current = nullptr;
    Recording& recording_;
    const std::vector<std::string>& log_;
};

bool needs_no_result(const std::string& call)
{
    return call.starts_with("Close") || call.starts_with("Err2Text");
}

class FaultMatrix : public RunFixture, public testing::WithParamInterface<RunKind>
{
protected:
    const RunKind& kind = GetParam();
    int cases = 0;
    /// Omits data calls from the journal, for large files.
    bool large = false;

    void SetUp() override
    {
        FakeBoard& board = platform.board("mwc4a", 0);
        if (kind.action == Action::con) {
            board.slot(1, module_of(false));
            board.slot(2, module_of(false));
            board.slot(3, module_of(true));
        } else {
            board.slot(2, module_of(kind.compressed));
        }
        write_inputs(small_configuration(kind));
    }

    void TearDown() override
    {
        RunFixture::TearDown();
        total_cases += cases;
        std::cout << kind.name << ": " << cases << " faults (" << total_cases << " so far)\n";
        RecordProperty("faults", cases);
        EXPECT_GT(cases, 0);
    }

    [[nodiscard]] Module module_of(bool compressed) const
    {
        Module module = kind.is_io ? io_module(kind.model) : fpga_module(kind.model);
        return module.device(kind.device).accepts_compressed(compressed);
    }

    void write_inputs(const Bytes& data) const
    {
        std::string part = kind.device;
        part = part.substr(0, part.find('-'));
        RbtFile rbt{data};
        rbt.device(part);
        McbFile mcb{data};
        mcb.device = part;
        BitFile bit{data};
        bit.design = std::string{"design_routed.ncd\0", 18};
        bit.device = (part + std::string(kind.long_device, 'x')).append(12 - part.size(), '\0');
        if (kind.action == Action::con) {
            write_file("rack.con", "one.rbt mwc4a 0 1\ntwo.mcb mwc4a 0 2\nthree mwc4a 0 3\n");
            rbt.write("one.rbt");
            mcb.write("two.mcb");
            rbt.write("three.rbt");
        } else if (kind.input() == "design.rbt") {
            rbt.write();
        } else if (kind.input() == "design.bit") {
            bit.write();
        } else {
            mcb.write();
        }
    }

    Account perform(std::size_t place, Fault fault, Depth depth = Depth::calls)
    {
        return perform([&](Recording& recording) { recording.plan(place, fault); }, depth);
    }

    Account perform_well(Depth depth = Depth::calls)
    {
        return perform([](Recording&) {}, depth);
    }

    /// A failing platform call, counted among those whose result is used.
    Account perform_with_failing_call(int n)
    {
        platform.fail_call(n);
        Account account = perform_well();
        platform.fail_nothing();
        return account;
    }

    template <class Plan>
    Account perform(Plan plan, Depth depth)
    {
        clear_log();
        platform.logs_data = !large;
        FakeBoard& board = platform.board("mwc4a", 0);
        for (std::uint32_t slot = 1; slot <= 4; ++slot)
            if (Module* module = board.module_in(slot))
                module->loads.clear();
        if (!kind.output().empty())
            std::filesystem::remove(kind.output());
        answers.assign(kind.way == Way::search ? 1 : 0, "y");

        Account account;
        {
            Recording recording{depth};
            const ErrorWatch watch{recording, log()};
            plan(recording);
            account.result = start();
            account.points = recording.points();
            account.open_streams = open_faulty_streams();
            if (watch.failed_at && account.result.number != 0)
                for (std::size_t i = *watch.failed_at; i < log().size(); ++i)
                    if (log()[i].starts_with("* ") && !needs_no_result(log()[i].substr(2)))
                        ++account.sent_after_failure;
        }
        answers.clear();
        for (const std::string& call : bus())
            if (!call.starts_with("Err2Text"))
                account.journal.push_back(call);
        for (std::uint32_t slot = 1; slot <= 4; ++slot)
            if (const Module* module = board.module_in(slot))
                account.loads.insert(account.loads.end(), module->loads.begin(), module->loads.end());
        if (!kind.output().empty() && file_exists(kind.output()))
            account.output = read_file(kind.output());
        account.prints = prints();
        return account;
    }

    Result start()
    {
        if (kind.way == Way::board)
            return result(
                session.kvn_fpga_board("mwc4a", 0, 2, kind.input().c_str(), 0, kind.verbose ? 1 : 0));
        if (kind.way == Way::handle)
            return result(
                session.kvn_fpga_handle(platform.caller_handle("mwc4a", 0), 2, kind.input().c_str(), 0, 0));
        const std::string file = "-f" + kind.input();
        if (kind.action == Action::con)
            return run({"rack.con"});
        if (!kind.loads())
            return run({file, "-u", kind.action == Action::mcb_to_rbt ? "-r" : "-c"});
        MW_HANDLE* bus = kind.way == Way::line_on_handle ? platform.caller_handle("mwc4a", 0) : nullptr;
        if (kind.way == Way::search)
            return run({file, "-u", "-dmwc4a", "-b0"}, bus);
        return run({file, "-u", "-dmwc4a", "-b0", "-s2", kind.verbose ? "-v" : "-u"}, bus);
    }

    /// What holds after every run, whatever its result.
    void expect_order(const Account& account) const
    {
        EXPECT_EQ(account.open_streams, 0) << "streams left open";
        EXPECT_EQ(platform.open_handles(), 0) << "handles left open";
        EXPECT_EQ(account.sent_after_failure, 0U) << joined(account.journal);
        const auto count = [&account](std::string_view call) {
            return std::count_if(account.journal.begin(), account.journal.end(),
                                 [call](const std::string& line) { return line.starts_with(call); });
        };
        const bool open_failed = account.result.number == 9201;
        EXPECT_EQ(count("Close"), count("OpenS") - (open_failed ? 1 : 0)) << joined(account.journal);
        const bool ends_with_close = !account.journal.empty() && account.journal.back().starts_with("Close");
        EXPECT_EQ(ends_with_close, count("Close") > 0 && !open_failed) << joined(account.journal);
    }

    static void expect_documented(const Account& account)
    {
        const int number = account.result.number;
        EXPECT_NE(number, 0);
        EXPECT_EQ(account.result.last_error, number);
        EXPECT_TRUE(is_documented(number, account.result.text))
            << account.result.text << "\nis none of" << documented_texts(number);
    }

    /// The run succeeded as if there had been no fault.
    static void expect_equal(const Account& account, const Account& good)
    {
        EXPECT_EQ(account.journal, good.journal);
        EXPECT_EQ(account.loads, good.loads);
        EXPECT_EQ(account.output, good.output);
    }

    /// The same session is good for another run, which is like the first.
    void expect_ready(const Account& good)
    {
        const Account next = perform_well();
        EXPECT_EQ(next.result, Succeeds());
        expect_equal(next, good);
        EXPECT_EQ(next.prints, good.prints);
        expect_order(next);
    }

    void try_faults(const Account& good, Depth depth)
    {
        const std::size_t descriptors = count_descriptors();
        for (std::size_t place = 0; place < good.points.size(); ++place) {
            const Point& point = good.points[place];
            const bool is_transfer = point.operation > Operation::description;
            if (is_transfer != (depth == Depth::transfers))
                continue;
            for (const Fault fault : faults_of(point.operation)) {
                SCOPED_TRACE(described(point) + " fails: " + described(fault));
                ++cases;
                const Account account = perform(place, fault, depth);
                judge(account, good, point);
                EXPECT_EQ(count_descriptors(), descriptors) << "descriptors left open";
                if (!large)
                    expect_ready(good);
                if (HasFailure())
                    return;
            }
        }
    }

    /// Whether a failure only makes the run slower, or a line shorter.
    [[nodiscard]] bool is_harmless(const Point& point) const
    {
        return point.operation == Operation::buffer || point.operation == Operation::position ||
               (point.operation == Operation::allocation && kind.input() != "design.bit");
    }

    void judge(const Account& account, const Account& good, const Point& point) const
    {
        expect_order(account);
        const bool is_end_of_output =
            (point.operation == Operation::close || point.operation == Operation::transfer_end) &&
            point.file == kind.output();
        if (account.result.number != 0 || is_end_of_output) {
            EXPECT_FALSE(is_harmless(point));
            expect_documented(account);
        } else if (point.file == "rack.con") {
            expect_fewer_modules(account, good);
        } else {
            expect_equal(account, good);
        }
    }

    /// An error in a .con file is treated as its end: the last line gives the number of modules.
    static void expect_fewer_modules(const Account& account, const Account& good)
    {
        const std::size_t modules = account.loads.size();
        EXPECT_EQ(account.prints.back(),
                  "0x" + std::to_string(modules) + " modules sucessfully configured.\\n");
        ASSERT_LE(modules, good.loads.size());
        EXPECT_TRUE(std::equal(account.loads.begin(), account.loads.end(), good.loads.begin()));
    }

    /// Files of more than two blocks, on each side that is read or written in blocks.
    void use_large_files()
    {
        large = true;
        const std::size_t size =
            kind.action == Action::rbt_to_mcb || kind.input() == "design.mcb" ? 33500 : 66000;
        const std::size_t rbt_size = 9000;
        const bool reads_rbt_only = kind.action == Action::load_rbt || kind.action == Action::con;
        write_inputs(configuration(reads_rbt_only ? rbt_size : size, false));
    }

    static int total_cases;
};

int FaultMatrix::total_cases = 0;

TEST_P(FaultMatrix, EveryPlatformCallEndsTheRun)
{
    const Account good = perform_well();
    ASSERT_EQ(good.result, Succeeds());
    if (!kind.loads()) {
        EXPECT_TRUE(good.journal.empty()) << "a conversion needs no platform";
        ++cases;
        return;
    }
    std::vector<std::string> calls;
    std::copy_if(good.journal.begin(), good.journal.end(), std::back_inserter(calls),
                 [](const std::string& call) { return !needs_no_result(call); });
    for (std::size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE("call " + std::to_string(i + 1) + ": " + calls[i]);
        ++cases;
        const Account account = perform_with_failing_call(static_cast<int>(i) + 1);
        expect_documented(account);
        expect_order(account);
        // Everything before is as in the good run, the failing call was made, and only the end follows it.
        std::vector<std::string> made;
        std::copy_if(account.journal.begin(), account.journal.end(), std::back_inserter(made),
                     [](const std::string& call) { return !needs_no_result(call); });
        EXPECT_EQ(made, std::vector<std::string>(calls.begin(),
                                                 calls.begin() + static_cast<std::ptrdiff_t>(i) + 1));
        expect_ready(good);
        ASSERT_FALSE(HasFailure());
    }
}

TEST_P(FaultMatrix, EveryFileOperationAndAllocationOfASmallFile)
{
    const Account good = perform_well();
    ASSERT_EQ(good.result, Succeeds());
    try_faults(good, Depth::calls);
}

TEST_P(FaultMatrix, EveryFileOperationAndAllocationOfALargeFile)
{
    use_large_files();
    const Account good = perform_well();
    ASSERT_EQ(good.result, Succeeds());
    try_faults(good, Depth::calls);
}

// A failure of the disk shows where the stream reports it.
TEST_P(FaultMatrix, EveryTransferOfASmallFile)
{
    const Account good = perform_well(Depth::transfers);
    ASSERT_EQ(good.result, Succeeds());
    try_faults(good, Depth::transfers);
}

TEST_P(FaultMatrix, EveryTransferOfALargeFile)
{
    use_large_files();
    const Account good = perform_well(Depth::transfers);
    ASSERT_EQ(good.result, Succeeds());
    try_faults(good, Depth::transfers);
}

INSTANTIATE_TEST_SUITE_P(Runs, FaultMatrix, testing::ValuesIn(run_kinds()),
                         [](const auto& kind) { return std::string{kind.param.name}; });
} // namespace
