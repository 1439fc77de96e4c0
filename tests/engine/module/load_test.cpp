// SPDX-License-Identifier: Apache-2.0
// Whole loads into virtual modules: every format and mode, and what is refused before a byte is sent.
#include "module/load.h"

#include "load_support.h"
#include "rack.h"
#include "support/meeting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace
{
using kvn::ExitStatus;
using kvn::Fact;
using kvn::LoadKind;
using kvn::LoadRequest;
using kvn::ModeWish;
using kvn::ModuleState;
using kvn::Progress;
using kvn::Record;
using kvn::Source;
using kvn::Verdict;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* DEVICE = "2v40cs144-4";

class Load : public testing::Test
{
protected:
    void put(const mwvirtual::Module& module) { rack.put_module(board, 2, &module); }
    static mwvirtual::Module module_with(const std::string& device, bool compressed = true)
    {
        mwvirtual::Module module = mwvirtual::fpga_module(4).device(device);
        return compressed ? module.accepts_compressed() : module;
    }

    Record load(const kvn::Input& file)
    {
        request.file = &file;
        Record record = kvn::load(provider, request, control);
        EXPECT_EQ(rack.open_handles(), 0U);
        EXPECT_THAT(rack.misuse(), testing::IsEmpty());
        return record;
    }
    [[nodiscard]] mwvirtual::Contents contents() const { return rack.contents({"mwc4a", 3}, 2); }
    [[nodiscard]] std::size_t calls_of(mwvirtual::Function function) const
    {
        const auto calls = rack.journal();
        return static_cast<std::size_t>(
            std::count_if(calls.begin(), calls.end(),
                          [&](const mwvirtual::Call& call) { return call.function == function; }));
    }

    /// Nothing of a load was sent.
    void expect_refused(const Record& record, ExitStatus status, const std::string& what)
    {
        EXPECT_EQ(record.verdict, Verdict::not_tried);
        EXPECT_EQ(record.state, ModuleState::untouched);
        EXPECT_EQ(record.attempts, 0U);
        ASSERT_TRUE(record.failure);
        EXPECT_EQ(record.failure->status, status);
        EXPECT_EQ(record.failure->what, what);
        EXPECT_EQ(calls_of(mwvirtual::Function::MwKSBStartSendMessageEx), 0U);
    }

    mwvirtual::Rack rack;
    std::size_t board = rack.add_board({"mwc4a", 3});
    kvn::Provider provider{rack, "rack"};
    kvn::LoadControl control;
    LoadRequest request{.module = {.board = {"mwc4a", 3}, .slot = 2}};
    const kvn::Input good = bitstream("design.bit", part_of(DEVICE), configuration(DEVICE));
};

struct Case {
    const char* name;
    const char* device;
    ModeWish wish;
    bool compressed; ///< as it is sent

    friend void PrintTo(const Case& row, std::ostream* out)
    {
        *out << row.name << " for " << row.device << ", wish " << static_cast<int>(row.wish);
    }
};

class WholeLoad : public Load, public testing::WithParamInterface<Case>
{
};

TEST_P(WholeLoad, SendsWhatTheRecordSays)
{
    const Case& row = GetParam();
    put(module_with(row.device));
    request.mode = row.wish;
    Bytes sent;
    control.on_sent = [&](std::span<const std::uint8_t> bytes) {
        sent.insert(sent.end(), bytes.begin(), bytes.end());
    };
    Progress last;
    control.on_progress = [&](const Progress& progress) { last = progress; };
    const Record record = load(bitstream(row.name, part_of(row.device), configuration(row.device)));
    const mwvirtual::Contents module = contents();
    EXPECT_FALSE(record.failure) << record.failure->what;
    EXPECT_EQ(record.verdict, Verdict::configured);
    EXPECT_EQ(record.state, ModuleState::configured);
    EXPECT_EQ(record.exit_status(), ExitStatus::done);
    EXPECT_TRUE(module.done);
    EXPECT_EQ(module.loads, 1U);
    EXPECT_EQ(module.compressed, row.compressed);
    EXPECT_EQ(record.mode, (Fact<LoadKind>{row.compressed ? LoadKind::compressed : LoadKind::plain}));
    EXPECT_EQ(record.wire_bytes, (Fact<std::uint64_t>{module.received.size()}));
    EXPECT_EQ(sent, module.received);
    EXPECT_EQ(record.answer, 5);
    EXPECT_EQ(record.attempts, 1U);
    EXPECT_EQ(last.bytes, module.received.size());
    EXPECT_EQ(last.total, module.received.size());
    EXPECT_EQ(record.digest->value.size(), 64U);
}

INSTANTIATE_TEST_SUITE_P(AllFormats, WholeLoad,
                         testing::Values(Case{"a.rbt", DEVICE, ModeWish::as_taken, true},
                                         Case{"a.rbt", DEVICE, ModeWish::plain, false},
                                         Case{"a.rbt", DEVICE, ModeWish::compressed, true},
                                         Case{"a.rbt", DEVICE, ModeWish::smallest, true},
                                         Case{"a.bit", DEVICE, ModeWish::as_taken, true},
                                         Case{"a.bit", DEVICE, ModeWish::plain, false},
                                         Case{"a.bit", DEVICE, ModeWish::compressed, true},
                                         Case{"a.mcb", DEVICE, ModeWish::as_taken, true},
                                         Case{"a.mcb", DEVICE, ModeWish::plain, false},
                                         Case{"a.mcb", DEVICE, ModeWish::smallest, true},
                                         Case{"a.bit", "v50bg256-4", ModeWish::as_taken, true},
                                         Case{"a.rbt", "v50bg256-4", ModeWish::plain, false},
                                         Case{"a.mcb", "v50bg256-4", ModeWish::plain, false}));

TEST_F(Load, OfADesignThatRunsDoNotShortenIsSmallestPlain)
{
    put(module_with(DEVICE));
    request.mode = ModeWish::smallest;
    const Bytes random = fpga::reverse_each(
        fpga::make_stream(*fpga::find_device(DEVICE), {.fill = fpga::Fill::random, .seed = 3}));
    EXPECT_EQ(load(bitstream("a.bit", part_of(DEVICE), random)).mode, Fact<LoadKind>{LoadKind::plain});
    EXPECT_TRUE(contents().done);
}

TEST_F(Load, MakesTheLibrarysCallsInTheirOrder)
{
    put(module_with(DEVICE));
    const Record record = load(good);
    std::vector<std::string> functions;
    for (const mwvirtual::Call& call : rack.journal())
        if (functions.empty() || functions.back() != mwvirtual::function_name(call.function))
            functions.emplace_back(mwvirtual::function_name(call.function));
    EXPECT_EQ(functions, (std::vector<std::string>{
                             "MwOpenS", "MwInitIoStatus", "MwGetBoardInfo", "MwKSBSendMessageEx",
                             "MwKSBReceiveMessageEx", "MwKSBSendMessageEx", "MwKSBReceiveMessageEx",
                             "MwKSBStartSendMessageEx", "MwKSBSendMessageDataEx", "MwKSBEndOfSendMessageEx",
                             "MwKSBStartReceiveMessageEx", "MwKSBReceiveMessageDataEx",
                             "MwKSBEndOfReceiveMessageEx", "MwClose"}));
}

TEST_F(Load, RecordsTheFactsWithTheirSources)
{
    put(module_with(DEVICE, false));
    request.serial_number = "S17";
    request.operator_name = "Jo";
    request.device = DEVICE;
    int seconds = 0;
    control.clocks.system = [&] {
        return std::chrono::system_clock::time_point{std::chrono::seconds{++seconds}};
    };
    request.approved_by = "ann@example.com";
    request.approval_key = "ED25519 SHA256:k";
    const Record record = load(good);
    EXPECT_EQ(record.module, (Fact<kvn::ModuleName>{request.module, Source::given}));
    EXPECT_EQ(record.file, (Fact<std::string>{"design.bit", Source::given}));
    EXPECT_EQ(record.file_size, (Fact<std::uint64_t>{good.stored().size, Source::observed}));
    EXPECT_EQ(record.file_sha256, (Fact<std::string>{good.stored().sha256, Source::observed}));
    EXPECT_EQ(record.format, (Fact<std::string>{"BIT", Source::observed}));
    EXPECT_EQ(record.design, (Fact<std::string>{"design.ncd", Source::observed}));
    EXPECT_EQ(record.part, (Fact<std::string>{"2v40cs144", Source::observed}));
    EXPECT_EQ(record.device, (Fact<std::string>{DEVICE, Source::observed}));
    EXPECT_EQ(
        record.identity,
        (Fact<kvn::ModuleIdentity>{
            {.type = 2, .model = 4, .version = 1, .device = DEVICE, .compression = kvn::Compression::no},
            Source::observed}));
    EXPECT_EQ(record.mode, Fact<LoadKind>{LoadKind::plain});
    EXPECT_EQ(record.begin, std::chrono::system_clock::time_point{std::chrono::seconds{1}});
    EXPECT_EQ(record.end, std::chrono::system_clock::time_point{std::chrono::seconds{2}});
    EXPECT_EQ(record.serial_number, (Fact<std::string>{"S17", Source::given}));
    EXPECT_EQ(record.operator_name, (Fact<std::string>{"Jo", Source::given}));
    EXPECT_EQ(record.station, std::nullopt);
    EXPECT_EQ(record.approved_by, (Fact<std::string>{"ann@example.com", Source::observed}));
    EXPECT_EQ(record.approval_key, (Fact<std::string>{"ED25519 SHA256:k", Source::observed}));
    EXPECT_EQ(record.tool_version, "1.0.0");
    EXPECT_EQ(record.provider, provider.identity());
}

TEST_F(Load, HasOneDigestForAllFormats)
{
    put(module_with(DEVICE));
    const Bytes data = configuration(DEVICE);
    const Record first = load(good);
    EXPECT_EQ(load(bitstream("a.rbt", part_of(DEVICE), data)).digest, first.digest);
    EXPECT_EQ(load(bitstream("a.mcb", part_of(DEVICE), data)).digest, first.digest);
}

TEST_F(Load, CountsAnewWithTheSameControl)
{
    put(module_with(DEVICE));
    const Record first = load(good);
    const Record second = load(good);
    EXPECT_EQ(second.wire_bytes, first.wire_bytes);
    EXPECT_EQ(control.progress().bytes, control.progress().total);
}

TEST_F(Load, IsOfTheContentWhateverTheName)
{
    put(module_with(DEVICE));
    const Bytes data = configuration(DEVICE);
    BitFile file{data};
    file.device = part_of(DEVICE) + '\0';
    const Record record = load(input_of(file.content(), "design.rbt"));
    EXPECT_EQ(record.verdict, Verdict::configured);
    EXPECT_EQ(record.format->value, "BIT");
    EXPECT_EQ(load(input_of(file.content(), std::string(300, 'n'))).verdict, Verdict::configured);
}

TEST_F(Load, ReachesAModuleOverAnotherBoardsBus)
{
    const std::size_t far = rack.add_board({"mwc4a", 7});
    rack.change_board(far, [](mwvirtual::BoardSettings& settings) {
        settings.reached_over.push_back({"mwc4a", 3});
        settings.opens = false;
    });
    const mwvirtual::Module module = module_with(DEVICE);
    rack.put_module(far, 1, &module);
    request.module = kvn::parse_module_name("mwc4a:3/7.1");
    EXPECT_EQ(load(good).verdict, Verdict::configured);
    EXPECT_TRUE(rack.contents({"mwc4a", 7}, 1).done);
}

TEST_F(Load, ForAnotherDeviceIsRefusedWithBothNamesAndSources)
{
    put(module_with("2v80cs144-4"));
    request.force = true;
    const Record record = load(good);
    expect_refused(record, ExitStatus::wrong_device,
                   "design.bit is for a 2v40cs144 (by its header); the module in mwc4a:3/2 has a 2v80cs144-4 "
                   "(by its own word)");
    EXPECT_EQ(record.failure->remedy, "use the bitstream that was made for the module's device");
    EXPECT_EQ(record.device, (Fact<std::string>{"2v80cs144-4", Source::observed}));
    EXPECT_EQ(record.part, (Fact<std::string>{"2v40cs144", Source::observed}));
}

TEST_F(Load, ForTheSameChipInAnotherPackageSaysSo)
{
    put(module_with("2v40fg256-4"));
    const Record record = load(good);
    expect_refused(record, ExitStatus::wrong_device,
                   "design.bit is for a 2v40cs144 (by its header); the module in mwc4a:3/2 has a 2v40fg256-4 "
                   "(by its own word)");
    EXPECT_EQ(record.failure->why,
              "the chip is the same, but the library compares the whole name before the dash");
}

TEST_F(Load, ForAnotherFamilyNamesIt)
{
    put(module_with(DEVICE));
    expect_refused(load(bitstream("a.bit", "3s500ecp132", configuration(DEVICE))), ExitStatus::wrong_device,
                   "a.bit is for a 3s500ecp132 of the family Spartan-3E (by its header); the module in "
                   "mwc4a:3/2 has a 2v40cs144-4 (by its own word)");
}

TEST_F(Load, IntoAnotherDeviceThanExpectedIsRefused)
{
    put(module_with(DEVICE));
    request.device = "2v40cs144-6";
    expect_refused(load(good), ExitStatus::wrong_device,
                   "the module in mwc4a:3/2 has a 2v40cs144-4 (by its own word), not a 2v40cs144-6 (as was "
                   "given)");
}

TEST_F(Load, OfDamageIsRefusedEvenByForce)
{
    put(module_with(DEVICE));
    request.force = true;
    const Record record = load(bitstream("a.bit", part_of(DEVICE), configuration(DEVICE, fpga::Defect::crc)));
    EXPECT_EQ(record.verdict, Verdict::not_tried);
    ASSERT_TRUE(record.failure);
    EXPECT_EQ(record.failure->status, ExitStatus::damaged);
    EXPECT_THAT(record.failure->what, StartsWith("a.bit: a 2v40 would not start: "));
    EXPECT_EQ(record.mode, (Fact<LoadKind>{LoadKind::compressed, Source::intended}));
    EXPECT_EQ(record.wire_bytes->source, Source::intended);
    EXPECT_EQ(calls_of(mwvirtual::Function::MwKSBStartSendMessageEx), 0U);
    EXPECT_TRUE(record.identity) << "the module was asked";
}

TEST_F(Load, OfACutFileIsRefused)
{
    put(module_with(DEVICE));
    BitFile file{configuration(DEVICE)};
    file.device = part_of(DEVICE) + '\0';
    const std::string whole = file.content();
    const Record record = load(input_of(whole.substr(0, whole.size() / 2), "a.bit"));
    EXPECT_EQ(record.verdict, Verdict::not_tried);
    ASSERT_TRUE(record.failure);
    EXPECT_EQ(record.failure->status, ExitStatus::damaged);
    EXPECT_EQ(calls_of(mwvirtual::Function::MwKSBStartSendMessageEx), 0U);
}

TEST_F(Load, OfNoBitstreamDoesNotOpenTheBus)
{
    put(module_with(DEVICE));
    const Record record = load(input_of("hello", "hello.txt"));
    EXPECT_EQ(record.failure->status, ExitStatus::damaged);
    EXPECT_THAT(record.failure->what, StartsWith("hello.txt: "));
    EXPECT_EQ(record.verdict, Verdict::not_tried);
    EXPECT_EQ(record.identity, std::nullopt);
    EXPECT_EQ(rack.calls(), 0U);
}

TEST_F(Load, IntoAnUnknownDeviceNeedsForce)
{
    put(module_with("2v7cs144-4"));
    const kvn::Input file = bitstream("a.bit", "2v7cs144", sample_data(64));
    expect_refused(load(file), ExitStatus::rehearsal,
                   "whether the module in mwc4a:3/2 would start with a.bit cannot be judged: no device "
                   "2v7cs144-4 is known");
    request.force = true;
    const Record record = load(file);
    EXPECT_EQ(record.attempts, 1U);
    EXPECT_EQ(record.wire_bytes, (Fact<std::uint64_t>{contents().received.size()}));
    EXPECT_GT(contents().loads, 0U);
}

TEST_F(Load, IntoAModuleThatDoesNotNameItsDeviceNeedsForceOrTheUsersWord)
{
    put(mwvirtual::other_module(9));
    expect_refused(load(good), ExitStatus::rehearsal,
                   "whether the module in mwc4a:3/2 would start with design.bit cannot be judged: the module "
                   "does not name its device");
    request.device = "2v80cs144-4";
    const Record record = load(good);
    expect_refused(record, ExitStatus::wrong_device,
                   "design.bit is for a 2v40cs144 (by its header); the module in mwc4a:3/2 has a 2v80cs144-4 "
                   "(as was given)");
    EXPECT_EQ(record.device, (Fact<std::string>{"2v80cs144-4", Source::given}));
    request.device = DEVICE;
    EXPECT_EQ(load(good).attempts, 1U);
    request.device.clear();
    request.force = true;
    EXPECT_EQ(load(good).attempts, 1U);
}

TEST_F(Load, IntoAModuleThatTakesNoCompressedOne)
{
    put(module_with(DEVICE, false));
    request.mode = ModeWish::compressed;
    expect_refused(load(good), ExitStatus::usage, "the module in mwc4a:3/2 takes no compressed loads");
    request.mode = ModeWish::smallest;
    EXPECT_EQ(load(good).mode, Fact<LoadKind>{LoadKind::plain});
    EXPECT_TRUE(contents().done);
}

TEST_F(Load, Error9366WhenTheModuleRefuses)
{
    put(module_with(DEVICE).answers_status(2));
    const Record record = load(good);
    EXPECT_EQ(record.verdict, Verdict::refused);
    EXPECT_EQ(record.state, ModuleState::refused);
    EXPECT_EQ(record.answer, 2);
    ASSERT_TRUE(record.failure);
    EXPECT_EQ(record.failure->number, 9366);
    EXPECT_EQ(record.failure->what, "Error 9366. Configuration was unsuccessful (2).");
    EXPECT_EQ(record.failure->status, ExitStatus::refused);
    EXPECT_FALSE(record.failure->remedy.empty());
}

TEST_F(Load, Error9220And9221And9222WhenTheSlotHasNoModuleToLoad)
{
    expect_refused(load(good), ExitStatus::no_module,
                   "Error 9220. There is no module in slot 2 of board mwc4a 3.");
    put(mwvirtual::processor_module());
    expect_refused(load(good), ExitStatus::no_module,
                   "Error 9221. The module in slot 2 of board mwc4a 3 is a processor module.");
    put(mwvirtual::module_without_bus());
    expect_refused(load(good), ExitStatus::no_module,
                   "Error 9222. The module in slot 2 of board mwc4a 3 does not have a serial bus.");
}

TEST_F(Load, Error9201WhenTheBoardDoesNotExist)
{
    request.module.board.number = 4;
    expect_refused(load(good), ExitStatus::no_module,
                   "Error 9201. Cannot open KSB device on board \"mwc4a 4\" (the rack has no such board).");
}

TEST_F(Load, OfANameOutOfRangeIsRefused)
{
    request.module.slot = 5;
    expect_refused(load(good), ExitStatus::usage, "slots are numbered 1 to 4, not 5");
    EXPECT_EQ(rack.calls(), 0U);
}

TEST_F(Load, CancelledBeforehandSendsNothing)
{
    put(module_with(DEVICE));
    control.cancel();
    const Record record = load(good);
    EXPECT_EQ(record.verdict, Verdict::cancelled);
    EXPECT_EQ(record.state, ModuleState::untouched);
    EXPECT_EQ(record.failure->status, ExitStatus::cancelled);
    EXPECT_EQ(record.failure->what, "the load of design.bit into mwc4a:3/2 was cancelled");
    EXPECT_EQ(record.failure->why, "the module was sent nothing");
    EXPECT_EQ(rack.calls(), 0U);
}

TEST_F(Load, WithdrawnBeforehandSendsNothing)
{
    put(module_with(DEVICE));
    control.withdraw();
    const Record record = load(good);
    EXPECT_EQ(record.verdict, Verdict::cancelled);
    EXPECT_EQ(record.state, ModuleState::untouched);
    EXPECT_EQ(record.exit_status(), ExitStatus::cancelled);
    EXPECT_EQ(rack.calls(), 0U);
}

TEST_F(Load, WithdrawnWhileItRunsRunsToItsEnd)
{
    put(module_with(DEVICE));
    control.on_progress = [&](const Progress&) { control.withdraw(); };
    const Record record = load(good);
    EXPECT_EQ(record.verdict, Verdict::configured);
    EXPECT_TRUE(contents().finished);
}

TEST_F(Load, CancelledFromTheCallbackStopsAtTheNextCall)
{
    put(module_with(DEVICE));
    control.progress_step = 0;
    std::uint64_t at = 0;
    control.on_progress = [&](const Progress& progress) {
        if (progress.bytes < 1000 || at != 0)
            return;
        at = progress.bytes;
        control.cancel();
    };
    const Record record = load(good);
    EXPECT_EQ(record.verdict, Verdict::cancelled);
    EXPECT_EQ(record.state, ModuleState::interrupted);
    EXPECT_EQ(record.exit_status(), ExitStatus::cancelled);
    EXPECT_EQ(record.failure->why, "the module has part of the data and does not run");
    EXPECT_EQ(record.failure->remedy, "load the module again");
    EXPECT_EQ(record.wire_bytes, Fact<std::uint64_t>{at});
    EXPECT_EQ(contents().received.size(), at) << "not a byte more";
    EXPECT_FALSE(contents().finished);
    EXPECT_EQ(record.answer, std::nullopt);
}

TEST_F(Load, CancelledFromAnotherThreadStops)
{
    put(module_with(DEVICE));
    Meeting both{2}; // when the load has begun, and when it has been cancelled
    std::thread other{[&] {
        both.arrive_and_wait();
        EXPECT_GT(control.progress().bytes, 0U);
        EXPECT_TRUE(control.progress().total);
        control.cancel();
        both.arrive_and_wait();
    }};
    control.on_progress = [&](const Progress& progress) {
        if (progress.bytes != 2)
            return;
        both.arrive_and_wait();
        both.arrive_and_wait();
    };
    const Record record = load(good);
    other.join();
    EXPECT_EQ(record.verdict, Verdict::cancelled);
    EXPECT_EQ(contents().received.size(), 2U);
}

TEST_F(Load, CancelledAfterItsEndIsNot)
{
    put(module_with(DEVICE));
    EXPECT_EQ(load(good).verdict, Verdict::configured);
    control.cancel();
    EXPECT_EQ(contents().loads, 1U);
}

TEST_F(Load, Error9355WhenACallbackThrows)
{
    put(module_with(DEVICE));
    control.progress_step = 0;
    control.on_progress = [](const Progress& progress) {
        if (progress.bytes > 100)
            throw std::runtime_error{"the display is gone"};
    };
    const Record record = load(good);
    EXPECT_EQ(record.verdict, Verdict::failed);
    EXPECT_EQ(record.state, ModuleState::interrupted);
    ASSERT_TRUE(record.failure);
    EXPECT_EQ(record.failure->number, 9355);
    EXPECT_THAT(record.failure->what, HasSubstr("(the display is gone)"));
}
} // namespace
