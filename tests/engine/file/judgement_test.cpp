// SPDX-License-Identifier: Apache-2.0
#include "file/judgement.h"

#include "examples.h"
#include "packing.h"

#include <sys/stat.h>

#include <thread>

namespace
{
using kvn::Answer;
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
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
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
