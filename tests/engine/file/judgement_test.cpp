// SPDX-License-Identifier: Apache-2.0
#include "file/judgement.h"

#include "examples.h"
#include "packing.h"
#include "support/special_files.h"

#include <thread>

namespace
{
using kvn::Answer;
using kvn::ExitStatus;
using kvn::Inspection;
using kvn::Judgement;
using kvn::LoadKind;
using kvn::Selection;

const std::vector<LoadKind> BOTH{LoadKind::plain, LoadKind::compressed};

class JudgementTest : public ExampleTest
{
protected:
    void SetUp() override
    {
        (void)bit(v2, data);
        good_ = content("a.bit");
    }
    const fpga::Device& v2 = device("2v40");
    const Data data = fpga::make_stream(v2);
    std::string good_;
};

TEST_F(JudgementTest, LoadsWhatWasReadAndNotWhatIsThereNow)
{
    const kvn::Input input = kvn::Input::from_path(path("a.bit"));
    write("a.bit", "something else");
    Inspection inspection = kvn::inspect(input);
    const Judgement judgement = kvn::judge(input, inspection, "", BOTH);
    EXPECT_EQ(judgement.answer, Answer::yes);
    ASSERT_EQ(judgement.loads.size(), 2U);
    EXPECT_EQ(judgement.loads[0].trial.bytes, 42374U);
    EXPECT_EQ(judgement.loads[0].trial.loaded, 42372U);
    EXPECT_EQ(judgement.loads[1].trial.bytes, 2226U);
    EXPECT_EQ(judgement.loads[1].trial.loaded, 42372U);
}

TEST_F(JudgementTest, APackedFileIsWhatIsInIt)
{
    for (const auto pack : {&gzip, &xz, &zstd}) {
        const std::string name = pack == &gzip ? "b.bit.gz" : pack == &xz ? "b.bit.xz" : "b.bit.zst";
        const kvn::Input input = input_of(pack(good_), name);
        Inspection inspection = kvn::inspect(input);
        EXPECT_EQ(inspection.path, name);
        EXPECT_EQ(inspection.named, kvn::Format::bit);
        EXPECT_EQ(inspection.file_size, good_.size());
        EXPECT_EQ(inspection.stored.sha256, input.stored().sha256);
        EXPECT_TRUE(inspection.problems.empty());
        EXPECT_EQ(kvn::judge(input, inspection, "2v40fg1-4", BOTH).answer, Answer::yes);
    }
}

TEST_F(JudgementTest, AFileThatWasPackedTwiceIsForeign)
{
    const Inspection inspection = kvn::inspect(input_of(gzip(xz(good_)), "a.bit.xz.gz"));
    EXPECT_TRUE(inspection.is_foreign);
    ASSERT_EQ(inspection.problems.size(), 1U);
    EXPECT_EQ(inspection.problems[0].what, "the file is compressed by xz, no RBT, BIT or MCB file");
}

TEST_F(JudgementTest, AWrongNameStopsWhoGoesByNamesAlone)
{
    for (const char* name : {"a.mcb", "a.dat", "a.rbt"}) {
        const kvn::Input input = input_of(good_, name);
        Inspection inspection = kvn::inspect(input);
        EXPECT_EQ(kvn::judge(input, inspection, "", BOTH).answer, Answer::no);
        inspection = kvn::inspect(input);
        EXPECT_EQ(kvn::judge(input, inspection, "", BOTH, Selection::by_content).answer, Answer::yes);
        ASSERT_EQ(inspection.problems.size(), 1U);
        EXPECT_FALSE(inspection.problems[0].is_fatal()) << "it is a note";
    }
}

TEST_F(JudgementTest, ARenamedPackedFileStaysPacked)
{
    const Inspection inspection = kvn::inspect(input_of(gzip(good_), "a.rbt.gz"));
    ASSERT_EQ(inspection.problems.size(), 1U);
    EXPECT_EQ(inspection.problems[0].remedy, "rename the file to a.bit.gz");
}

TEST_F(JudgementTest, APipeHasNoNameThatCouldBeWrong)
{
    make_fifo(path("pipe"));
    std::thread writer{[&] { write("pipe", good_); }};
    const kvn::Input input = kvn::Input::from_path(path("pipe"));
    writer.join();
    Inspection inspection = kvn::inspect(input);
    EXPECT_TRUE(inspection.problems.empty());
    EXPECT_EQ(kvn::judge(input, inspection, "", BOTH).answer, Answer::yes);
}

TEST_F(JudgementTest, WhatHasNoLoaderIsNotTried)
{
    const kvn::Input input = input_of("hello\n", "a.bit");
    Inspection inspection = kvn::inspect(input);
    const Judgement judgement = kvn::judge(input, inspection, "2v40fg1-4", BOTH, Selection::by_content);
    EXPECT_EQ(judgement.answer, Answer::no);
    EXPECT_EQ(judgement.words, "no module would start");
    EXPECT_TRUE(judgement.loads.empty());
    EXPECT_TRUE(inspection.has_fatal_problem());
}

TEST_F(JudgementTest, TellsHowALoadEnds)
{
    const auto ended = [](bool starts, const char* error, const char* module_says, std::uint64_t bytes,
                          std::uint64_t loaded) {
        return kvn::Trial{starts, 0, error, module_says, bytes, loaded};
    };
    const std::pair<kvn::Trial, const char*> cases[] = {
        {ended(true, "", "", 102, 100), "starts, after 102 bytes on the bus"},
        {ended(true, "", "", 86, 84),
         "starts, after 86 bytes on the bus, without the last 16 bytes, which the library holds back"},
        {ended(false, "Error 9118. No.", "a CRC word differs", 102, 100),
         "Error 9118. No. The module: a CRC word differs"},
        {ended(false, "Error 9107. Cut.", "", 0, 0), "Error 9107. Cut."},
    };
    Inspection inspection;
    inspection.counted_bits = 800;
    for (const auto& [trial, words] : cases)
        EXPECT_EQ(kvn::what_happens(inspection, trial), words);
}

// The library holds back the tail of plain loads, without which these devices do not start.
TEST_F(JudgementTest, AProblemOfPlainLoadsIsANoteWhereNoneIsTried)
{
    struct Case {
        std::vector<LoadKind> loads;
        Answer answer;
    };
    const Case cases[] = {
        {BOTH, Answer::no}, {{LoadKind::plain}, Answer::no}, {{LoadKind::compressed}, Answer::yes}};
    const fpga::Device& spartan = device("s10");
    const kvn::Input input = bit(spartan, fpga::make_stream(spartan), "serial.bit");
    for (const Case& row : cases) {
        Inspection inspection = kvn::inspect(input);
        EXPECT_EQ(kvn::judge(input, inspection, "", row.loads).answer, row.answer);
        ASSERT_EQ(inspection.problems.size(), 1U);
        EXPECT_EQ(inspection.problems[0].is_fatal(), row.answer == Answer::no);
    }
}

TEST_F(JudgementTest, WhatStopsALoadWithoutAnyProblemOfTheFileIsOne)
{
    Data broken = data;
    broken[broken.size() / 2] ^= 1;
    fpga::write_bit(path("b.bit"), broken, labels(v2));
    const kvn::Input input = kvn::Input::from_path(path("b.bit"));
    Inspection inspection = kvn::inspect(input);
    inspection.problems.clear();
    EXPECT_EQ(kvn::judge(input, inspection, "", {LoadKind::compressed}).answer, Answer::no);
    ASSERT_EQ(inspection.problems.size(), 1U);
    EXPECT_TRUE(inspection.problems[0].what.starts_with("a compressed load fails: Error 9"))
        << inspection.problems[0].what;
}

TEST_F(JudgementTest, WithoutADeviceThatModulesCarryNothingIsTried)
{
    struct Case {
        const char* part; ///< of the file
        const char* device;
        Answer answer;
        const char* words;
        ExitStatus status;
        const char* why;
    };
    const Case cases[] = {
        {"2v40fg1", "3s50cp132-4", Answer::no, "no module carries a 3s50cp132-4 (Spartan-3)",
         ExitStatus::wrong_device, "no module carries a 3s50cp132-4"},
        {"3s50cp132", "", Answer::no, "no module carries a 3s50cp132 (Spartan-3)", ExitStatus::wrong_device,
         ""},
        {"2v40fg1", "9x99-1", Answer::unknown, "no device 9x99-1 is known", ExitStatus::usage,
         "the device is not known"},
        {"", "", Answer::unknown, "the file names no device; name the module's by --device",
         ExitStatus::usage, "the device is not known"},
    };
    for (const Case& row : cases) {
        fpga::write_bit(path("b.bit"), data, {row.part, "family"});
        const kvn::Input input = kvn::Input::from_path(path("b.bit"));
        Inspection inspection = kvn::inspect(input);
        const Judgement judgement = kvn::judge(input, inspection, row.device, BOTH);
        EXPECT_EQ(judgement.answer, row.answer) << row.words;
        EXPECT_EQ(judgement.words, row.words);
        EXPECT_TRUE(judgement.loads.empty());
        const auto failure = kvn::failure_of(inspection, judgement);
        ASSERT_TRUE(failure) << row.words;
        EXPECT_EQ(failure->status, row.status) << row.words;
        EXPECT_EQ(failure->what, path("b.bit") + ": " + row.words);
        if (*row.why != '\0') {
            EXPECT_EQ(failure->why, row.why);
        }
    }
}

TEST_F(JudgementTest, AFailureIsThatOfTheFirstProblemThatStopsLoads)
{
    Inspection inspection;
    inspection.path = "a.bit";
    inspection.problems = {{"a note", "none", kvn::Stops::nothing, ExitStatus::file},
                           {"it is cut", "copy it", kvn::Stops::loads, ExitStatus::damaged},
                           {"wrong", "another", kvn::Stops::use, ExitStatus::wrong_device}};
    Judgement judgement;
    judgement.words = "no module would start";
    judgement.answer = Answer::no;
    EXPECT_EQ(kvn::failure_of(inspection, judgement),
              (kvn::Failure{ExitStatus::damaged, 0, "a.bit: no module would start", "it is cut", "copy it"}));
    judgement.answer = Answer::yes;
    EXPECT_EQ(kvn::failure_of(inspection, judgement), std::nullopt);
}

TEST_F(JudgementTest, Error9103NamesTheFileAsTheUserDid)
{
    fpga::write_rbt(path("a.rbt"), data, labels(v2));
    const kvn::Input input = input_of(xz(content("a.rbt")), "given by Fred.rbt.xz");
    const kvn::Trial trial = kvn::try_load(input, kvn::Format::rbt, "2v80", LoadKind::plain);
    EXPECT_FALSE(trial.starts);
    EXPECT_EQ(trial.number, 9103);
    EXPECT_EQ(trial.error, "Error 9103. Bitstream given by Fred.rbt.xz is not for a 2v80 device.");
}

TEST_F(JudgementTest, ManyThreadsMayTryOneInput)
{
    const kvn::Input input = kvn::Input::from_path(path("a.bit"));
    std::vector<std::thread> threads;
    std::array<bool, 4> starts{};
    for (std::size_t i = 0; i < starts.size(); ++i)
        threads.emplace_back(
            [&, i] { starts.at(i) = kvn::try_load(input, kvn::Format::bit, "2v40", BOTH[i % 2]).starts; });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(starts, (std::array{true, true, true, true}));
}

/// Collects what the readers deliver.
class Taker final : public kvn::DataTaker
{
public:
    void begin() override
    {
        ++begins;
        taken.clear();
    }
    void take(std::span<const std::uint8_t> bytes) override
    {
        taken.insert(taken.end(), bytes.begin(), bytes.end());
    }
    unsigned begins = 0;
    std::vector<std::uint8_t> taken;
};

TEST_F(JudgementTest, ATakerGetsTheDataOfTheReaders)
{
    Taker taker;
    (void)kvn::inspect(input_of(good_, "a.bit"), &taker);
    EXPECT_EQ(taker.taken, fpga::reverse_each(data));
    EXPECT_EQ(taker.begins, 1U);
    // Lines of another length are refused by the library, and read again for what they hold.
    const fpga::Device& spartan = device("s10xl");
    const Data serial = fpga::make_stream(spartan);
    (void)kvn::inspect(rbt(spartan, serial), &taker);
    EXPECT_EQ(taker.taken, fpga::reverse_each(serial));
    EXPECT_EQ(taker.begins, 3U);
}
} // namespace
