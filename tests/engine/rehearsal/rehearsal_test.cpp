// SPDX-License-Identifier: Apache-2.0
// Whole rehearsals: every problem of a plan, and not one byte of a load.
#include "run/rehearsal.h"

#include "../module/load_support.h"
#include "hashing/sha256.h"
#include "rack.h"
#include "support/folder_test.h"
#include "support/special_files.h"

#include <gmock/gmock.h>

namespace
{
using kvn::Finding;
using kvn::Input;
using kvn::LoadKind;
using kvn::Rehearsal;
using kvn::Severity;
using mwvirtual::Function;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* DEVICE = "2v40cs144-4";
constexpr const char* OTHER_DEVICE = "2v80cs144-4";

std::string sha256(const std::string& text)
{
    hashing::Sha256 sum;
    sum.take({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    return sum.finish();
}

std::string bit_file(const std::string& device, fpga::Defect defect = fpga::Defect::none)
{
    BitFile file{configuration(device, defect)};
    file.device = part_of(device) + '\0';
    return file.content();
}

class Rehearse : public FolderTest
{
protected:
    Rehearse()
    {
        write("design.bit", bit_file(DEVICE));
        put(1, mwvirtual::fpga_module(4).device(DEVICE).accepts_compressed());
        put(2, mwvirtual::fpga_module(4).device(DEVICE));
        rack.change_board(board, [](mwvirtual::BoardSettings& settings) {
            settings.reached_over = {{"mwc4a", 1}, {"other", 1}};
        });
        rack.add_board({"mwc4a", 1});
        rack.add_board({"other", 1});
        std::size_t third = rack.add_board({"other", 0});
        (void)third;
    }
    void put(unsigned slot, const mwvirtual::Module& module) { rack.put_module(board, slot, &module); }

    /// A line of a plan in TOML.
    static std::string module(const std::string& name, const std::string& more = "",
                              const std::string& file = "design.bit")
    {
        return "[[module]]\nmodule = \"" + name + "\"\nfile = \"" + file + "\"\n" + more;
    }
    void set_plan(const std::string& text)
    {
        write("rack.toml", text);
        plan = kvn::read_plan(path("rack.toml"));
    }
    void set_con(const std::string& text)
    {
        write("rack.con", text);
        plan = kvn::read_plan(path("rack.con"));
    }

    Rehearsal rehearse()
    {
        files = kvn::read_files(plan.modules);
        inventory.clear();
        for (const kvn::BoardName& bus : buses_of(plan.modules))
            inventory.push_back(kvn::take_inventory(provider, bus, modules_on(bus, plan.modules)));
        return compare();
    }
    Rehearsal compare()
    {
        request.plan = &plan;
        request.files = &files;
        request.inventory = inventory;
        Rehearsal rehearsal = kvn::rehearse(request);
        EXPECT_EQ(rehearsal.planned.size(), plan.modules.size());
        EXPECT_EQ(rehearsal.judged.size(), plan.modules.size());
        expect_nothing_sent();
        return rehearsal;
    }
    /// Of all calls only those of a load's message count: questions to modules are whole messages.
    void expect_nothing_sent()
    {
        for (const mwvirtual::Call& call : rack.journal()) {
            EXPECT_NE(call.function, Function::MwKSBStartSendMessageEx) << call.text();
            EXPECT_NE(call.function, Function::MwKSBSendMessageDataEx) << call.text();
            EXPECT_NE(call.function, Function::MwKSBEndOfSendMessageEx) << call.text();
        }
        for (const unsigned slot : {1U, 2U})
            EXPECT_EQ(rack.contents({"mwc4a", 0}, slot).loads, 0U);
        EXPECT_EQ(rack.open_handles(), 0U);
        EXPECT_THAT(rack.misuse(), IsEmpty());
    }

    /// "rack.toml:1: what", without the folder.
    [[nodiscard]] std::vector<std::string> told(const Rehearsal& rehearsal) const
    {
        std::vector<std::string> lines;
        for (const Finding& finding : rehearsal.findings) {
            if (finding.severity == Severity::problem) {
                EXPECT_NE(finding.remedy, "") << finding.what;
            }
            std::string line = finding.place.text() +
                               (finding.severity == Severity::note ? ": note: " : ": ") + finding.what;
            const std::string prefix = (folder / "").string();
            for (std::size_t at = line.find(prefix); at != std::string::npos; at = line.find(prefix))
                line.erase(at, prefix.size());
            lines.push_back(line);
        }
        EXPECT_EQ(rehearsal.has_problem(),
                  std::ranges::any_of(rehearsal.findings, [](const Finding& finding) {
                      return finding.severity == Severity::problem;
                  }));
        return lines;
    }
    [[nodiscard]] std::vector<std::string> told() { return told(rehearse()); }
    [[nodiscard]] static std::vector<std::string> none() { return {}; }

    mwvirtual::Rack rack;
    std::size_t board = rack.add_board({"mwc4a", 0});
    kvn::Provider provider{rack, "rack"};
    kvn::Plan plan;
    kvn::RehearsedFiles files;
    std::vector<kvn::BusInventory> inventory;
    kvn::RehearsalRequest request;
};

TEST_F(Rehearse, AGoodPlanIsPlannedToTheByte)
{
    set_plan(module("mwc4a:0/1", "name = \"left\"\n") + module("mwc4a:0/2"));
    request.bytes_per_second = 1000;
    const Rehearsal rehearsal = rehearse();
    EXPECT_EQ(told(rehearsal), none());
    EXPECT_FALSE(rehearsal.has_problem());
    const kvn::PlannedLoad& left = rehearsal.planned[0];
    EXPECT_EQ(left.label, "left");
    EXPECT_EQ(left.file, path("design.bit"));
    EXPECT_EQ(left.file_sha256, sha256(content("design.bit")));
    EXPECT_EQ(left.digest, kvn::inspect(path("design.bit")).digest);
    EXPECT_EQ(left.device, DEVICE);
    EXPECT_EQ(left.mode, LoadKind::compressed);
    EXPECT_EQ(rehearsal.planned[1].mode, LoadKind::plain);
    for (std::size_t i = 0; i < 2; ++i) {
        const kvn::PlannedLoad& planned = rehearsal.planned[i];
        EXPECT_EQ(planned.seconds, static_cast<double>(*planned.wire_bytes) / 1000);
        kvn::LoadControl control;
        const kvn::Record record = kvn::load(provider,
                                             {.module = planned.module,
                                              .file = &*files.of(plan.modules[i]).input,
                                              .judged = &*rehearsal.judged[i]},
                                             control);
        EXPECT_EQ(record.verdict, kvn::Verdict::configured) << (record.failure ? record.failure->what : "");
        EXPECT_EQ(record.wire_bytes->value, planned.wire_bytes);
        EXPECT_EQ(record.mode->value, planned.mode);
        EXPECT_EQ(record.digest->value, planned.digest);
    }
}

TEST_F(Rehearse, ReadsEachDistinctFileOnce)
{
    std::filesystem::create_symlink("design.bit", folder / "link.bit");
    write("copy.bit", content("design.bit"));
    set_plan(module("mwc4a:0/1") + module("mwc4a:0/2", "", "./design.bit") +
             module("mwc4a:0/3", "", "link.bit") + module("mwc4a:0/4", "", "copy.bit"));
    files = kvn::read_files(plan.modules);
    ASSERT_EQ(files.all().size(), 2U);
    EXPECT_EQ(files.all()[0].name, path("design.bit"));
    EXPECT_EQ(&files.of(plan.modules[2]), &files.all()[0]);
    EXPECT_EQ(&files.of(plan.modules[3]), &files.all()[1]);
    EXPECT_THROW((void)files.index_of("another.bit"), std::out_of_range);
}

TEST_F(Rehearse, TellsAllProblemsByTheLinesOfThePlan)
{
    write("cut.bit", bit_file(DEVICE).substr(0, 5000));
    write("text.bit", "no bitstream at all, but some words\n");
    write("other.bit", bit_file(OTHER_DEVICE));
    put(3, mwvirtual::processor_module());
    set_plan(module("mwc4a:0/1", "", "cut.bit") +   // line 1
             module("mwc4a:0/2", "", "other.bit") + // 4
             module("mwc4a:0/3") +                  // 7
             module("mwc4a:0/4", "", "text.bit") +  // 10
             module("mwc4a:7/1") +                  // 13
             module("mwc4a:1/2", "slot = 1\n"));    // 16: a mistake of the plan
    const std::vector<std::string> all = told();
    ASSERT_EQ(all.size(), 7U) << testing::PrintToString(all);
    EXPECT_THAT(all[0], StartsWith("rack.toml:1: cut.bit: "));
    EXPECT_EQ(all[1],
              "rack.toml:4: other.bit is for a 2v80cs144 (by its header); the module in mwc4a:0/2 has a "
              "2v40cs144-4 (by its own word)");
    EXPECT_EQ(all[2], "rack.toml:7: mwc4a:0/3 holds a processor module, which is not loaded");
    EXPECT_EQ(all[3], "rack.toml:10: mwc4a:0/4 is empty");
    EXPECT_THAT(all[4], StartsWith("rack.toml:10: text.bit: "));
    EXPECT_THAT(all[5], StartsWith("rack.toml:19: unknown key \"slot\""));
    EXPECT_THAT(all[6], StartsWith("mwc4a:7: Error 9201. Cannot open KSB device on board \"mwc4a 7\""));
}

TEST_F(Rehearse, OfAModuleThatDoesNotAnswerTellsTheError9061)
{
    put(1, mwvirtual::fpga_module(4).does_not_answer(mwvirtual::Reply::identification));
    set_plan(module("mwc4a:0/1"));
    const Rehearsal rehearsal = rehearse();
    EXPECT_THAT(
        told(rehearsal),
        ElementsAre("rack.toml:1: mwc4a:0/1: Error 9061. Cannot receive KSB message, board \"mwc4a 0\" "
                    "(the module did not answer within the time-out)."));
    EXPECT_EQ(rehearsal.planned[0].mode, std::nullopt) << "what is not known is not guessed";
    EXPECT_EQ(rehearsal.planned[0].wire_bytes, std::nullopt);
    EXPECT_EQ(rehearsal.planned[0].device, std::nullopt);
    EXPECT_EQ(rehearsal.judged[0], std::nullopt);
}

TEST_F(Rehearse, ABusThatTellsNothingIsOneProblem)
{
    set_plan(module("mwc4a:0/1") + module("mwc4a:0/2"));
    (void)rehearse();
    inventory[0].slots.clear();
    inventory[0].failure = kvn::Failure{.status = kvn::ExitStatus::bus,
                                        .what = "another run has the bus",
                                        .why = "process 17 has locked it",
                                        .remedy = "wait"};
    EXPECT_THAT(told(compare()), ElementsAre("mwc4a:0: another run has the bus; process 17 has locked it"));
    inventory.clear();
    EXPECT_THAT(told(compare()), ElementsAre("mwc4a:0: the modules of mwc4a:0 were not asked"));
    inventory.push_back({.bus = {"mwc4a", 0}});
    EXPECT_THAT(told(compare()),
                ElementsAre("rack.toml:1: mwc4a:0/1 was not asked", "rack.toml:4: mwc4a:0/2 was not asked"));
}

TEST_F(Rehearse, AFaultThatOnlyTheChipModelFindsIsAProblem)
{
    write("design.bit", bit_file(DEVICE, fpga::Defect::flipped_bit));
    set_plan(module("mwc4a:0/1") + module("mwc4a:0/2"));
    const Rehearsal rehearsal = rehearse();
    ASSERT_FALSE(rehearsal.findings.empty());
    EXPECT_THAT(told(rehearsal)[0], StartsWith("rack.toml:1: design.bit: "));
    EXPECT_THAT(rehearsal.judged, testing::Each(std::nullopt));
}

TEST_F(Rehearse, ADamagedFileOfManyModulesIsToldOnce)
{
    write("design.bit.gz", "\x1f\x8b no gzip");
    set_plan(module("mwc4a:0/1", "", "design.bit.gz") + module("mwc4a:0/2", "", "design.bit.gz"));
    const std::vector<std::string> all = told();
    ASSERT_EQ(all.size(), 1U) << testing::PrintToString(all);
    EXPECT_THAT(all[0], StartsWith("rack.toml:1: design.bit.gz"));
    EXPECT_THAT(all[0], testing::EndsWith(" (also for 1 more module)"));
}

TEST_F(Rehearse, APipeIsAProblem)
{
    make_fifo(path("pipe.bit"));
    set_plan(module("mwc4a:0/1", "", "pipe.bit"));
    EXPECT_THAT(told(), ElementsAre("rack.toml:1: pipe.bit: it is no regular file"));
}

TEST_F(Rehearse, AnUnreadableFileAndAFolderAreProblems)
{
    std::filesystem::create_directory(folder / "folder.bit");
    set_plan(module("mwc4a:0/1", "", "folder.bit"));
    EXPECT_THAT(told(), ElementsAre("rack.toml:1: folder.bit: it is no regular file"));
    set_plan(module("mwc4a:0/1"));
    std::filesystem::remove(folder / "design.bit");
    const std::vector<std::string> all = told();
    ASSERT_EQ(all.size(), 1U);
    EXPECT_THAT(all[0], StartsWith("rack.toml:1: design.bit: "));
}

TEST_F(Rehearse, AFileNamedDashIsNotStandardInput)
{
    const CurrentFolder here{folder};
    write("-", content("design.bit"));
    plan.modules = {{.module = kvn::parse_module_name("mwc4a:0/1"), .file = "-"}};
    const Rehearsal rehearsal = rehearse();
    EXPECT_FALSE(rehearsal.has_problem());
    EXPECT_EQ(rehearsal.planned[0].file_sha256, sha256(content("-")));
}

TEST_F(Rehearse, ExpectationsOfThePlanAreCompared)
{
    const std::string digest = kvn::inspect(path("design.bit")).digest;
    set_plan(module("mwc4a:0/1", "device = \"2v40cs144-4\"\ndigest = \"" + digest + "\"\n"));
    EXPECT_EQ(told(), none());
    set_plan(module("mwc4a:0/1", "device = \"2v40cs144-5\"\ndigest = \"" + std::string(64, 'a') + "\"\n"));
    EXPECT_THAT(told(),
                ElementsAre("rack.toml:1: the module in mwc4a:0/1 has a 2v40cs144-4 (by its own word), not a "
                            "2v40cs144-5 (as was given)",
                            "rack.toml:1: design.bit holds the configuration " + digest +
                                "; the plan expects " + std::string(64, 'a')));
    put(1, mwvirtual::other_module(9));
    set_plan(module("mwc4a:0/1", "device = \"2v80cs144-4\"\n"));
    EXPECT_THAT(told(),
                ElementsAre("rack.toml:1: design.bit is for a 2v40cs144 (by its header); the module in "
                            "mwc4a:0/1 has a 2v80cs144-4 (as was given)"));
}

TEST_F(Rehearse, AModuleWithoutDeviceIsJudgedByTheDeviceOfThePlanOrNotAtAll)
{
    put(1, mwvirtual::other_module(9));
    set_plan(module("mwc4a:0/1"));
    EXPECT_THAT(told(),
                ElementsAre("rack.toml:1: whether the module in mwc4a:0/1 would start with design.bit "
                            "cannot be judged: the module does not name its device"));
    EXPECT_FALSE(compare().judged[0]);
    request.force = true;
    EXPECT_EQ(told(compare()), none());
    EXPECT_TRUE(compare().judged[0]);
    request.force = false;
    set_plan(module("mwc4a:0/1", "device = \"2v40cs144-4\"\n"));
    EXPECT_EQ(told(), none());
}

TEST_F(Rehearse, ACompressedLoadThatTheModuleDoesNotTakeIsAProblem)
{
    set_plan(module("mwc4a:0/1", "load = \"compressed\"\n") + module("mwc4a:0/2", "load = \"compressed\"\n"));
    EXPECT_THAT(told(), ElementsAre("rack.toml:5: the module in mwc4a:0/2 takes no compressed loads"));
}

TEST_F(Rehearse, ASerialNumberToBeAskedNeedsSomebodyToAsk)
{
    set_plan(module("mwc4a:0/1", "serial = \"ask\"\n"));
    EXPECT_THAT(told(),
                ElementsAre("rack.toml:1: the serial number of mwc4a:0/1 must be asked for, and there is "
                            "nobody to ask"));
    request.can_ask = true;
    EXPECT_EQ(told(), none());
}

TEST_F(Rehearse, AModuleReachedOverTwoBusesIsFound)
{
    set_con("design mwc4a 0 2\n"); // no such file name: it is .bit
    write("design.rbt", RbtFile{configuration(DEVICE)}.device(part_of(DEVICE)).text());
    set_con("design mwc4a 0 2\ndesign mwc4a 1 2\n");
    EXPECT_THAT(told(), testing::Contains("rack.con:2: mwc4a:1/0.2 is the module of rack.con:1 again"));
    // The classic way reads such a plan without a word; a run has one record for each module.
    const CurrentFolder here{folder};
    plan = kvn::read_plan("rack.con", kvn::ConReading::classic);
    ASSERT_EQ(plan.modules.size(), 2U);
    EXPECT_THAT(told(), testing::Contains("rack.con:2: mwc4a:1/0.2 is the module of rack.con:1 again"));
    plan.modules[1].module = kvn::parse_module_name("mwc4a:0/0.2");
    EXPECT_THAT(told(), testing::Contains("rack.con:2: mwc4a:0/0.2 is the module of rack.con:1 again"))
        << "over one access board, by two names";
}

TEST_F(Rehearse, AModuleOverABoardOfAnotherTypeMayBeTheSame)
{
    const std::string suspicion =
        "rack.toml:4: other:1/0.2 may be the module of rack.toml:1, mwc4a:0/2: slot and number of the board are "
        "the same, and which board is reached over another one cannot be asked";
    set_plan(module("mwc4a:0/2") + module("other:1/0.2"));
    EXPECT_THAT(told(), ElementsAre(suspicion)) << "it is: both answer alike";
    set_plan(module("mwc4a:0/2", "serial = \"S1\"\n") + module("other:1/0.2", "serial = \"S1\"\n"));
    EXPECT_EQ(told().size(), 1U) << "the user says that they are one";
    set_plan(module("mwc4a:0/2", "serial = \"S1\"\n") + module("other:1/0.2", "serial = \"S2\"\n"));
    EXPECT_EQ(told(), none()) << "the user says that they are two";
}

TEST_F(Rehearse, ModulesThatAnswerDifferentlyAreTwo)
{
    set_plan(module("mwc4a:0/2") + module("other:1/0.2"));
    (void)rehearse();
    inventory[1].slots[0].module->version = 9;
    EXPECT_EQ(told(compare()), none());
    set_plan(module("mwc4a:0/1") + module("other:1/0.2"));
    EXPECT_EQ(told(), none()) << "another slot";
}

TEST_F(Rehearse, BoardsOfDifferentTypesThatAreOpenedThemselvesAreTwo)
{
    const mwvirtual::Module same = mwvirtual::fpga_module(4).device(DEVICE);
    rack.put_module(3, 2, &same);
    set_plan(module("mwc4a:0/2") + module("other:0/2"));
    EXPECT_EQ(told(), none());
}

TEST_F(Rehearse, WithAManifestLoadsWhatIsInItOnly)
{
    set_plan(module("mwc4a:0/1"));
    const std::string stored = sha256(content("design.bit"));
    const std::string digest = kvn::inspect(path("design.bit")).digest;
    const auto with = [&](const std::string& lines) {
        const auto manifest = kvn::Manifest::parse(lines, "approved.txt");
        request.manifest = &manifest;
        std::vector<std::string> all = told();
        request.manifest = nullptr;
        return all;
    };
    EXPECT_EQ(with(stored + "  design.bit\n"), none());
    EXPECT_EQ(with(stored + "  another name\n"), none()) << "a file is approved by what it holds";
    EXPECT_EQ(with(digest + "  design.bit\n"), none()) << "every form of the design";
    EXPECT_THAT(
        with(std::string(64, 'a') + "  other.bit\n"),
        ElementsAre("rack.toml:1: design.bit (SHA-256 " + stored + ") is not in the manifest approved.txt"));
    EXPECT_THAT(with(std::string(64, 'a') + "  design.bit\n"),
                ElementsAre("rack.toml:1: design.bit (SHA-256 " + stored +
                            ") is not in the manifest approved.txt; approved under this name is " +
                            std::string(64, 'a')));
}

TEST_F(Rehearse, UnderAPolicyNeedsAManifest)
{
    set_plan(module("mwc4a:0/1"));
    request.policy.require_manifest = true;
    const std::string policy = kvn::policy_file();
    EXPECT_THAT(told(), ElementsAre(policy + ": " + policy + " demands a manifest, and none is named"));
    const auto manifest = kvn::Manifest::parse(sha256(content("design.bit")) + "  x\n", "m");
    request.manifest = &manifest;
    EXPECT_EQ(told(), none());
}

/// The file is exchanged after its approval, at another moment in each race.
TEST_F(Rehearse, LoadsTheApprovedBytesWhateverBecomesOfTheFile)
{
    constexpr int races = 50;
    const std::string approved = bit_file(DEVICE);
    const std::string other = bit_file(DEVICE, fpga::Defect::flipped_bit);
    const Bytes wanted = configuration(DEVICE);
    const auto manifest = kvn::Manifest::parse(sha256(approved) + "  design.bit\n", "approved.txt");
    request.manifest = &manifest;
    int loaded = 0;
    int refused = 0;
    for (int race = 0; race < races; ++race) {
        write("design.bit", race % 5 == 0 ? other : approved);
        set_plan(module("mwc4a:0/1"));
        files = kvn::read_files(plan.modules);
        if (race % 5 != 0 && race % 2 == 0)
            write("design.bit", other);
        inventory = {kvn::take_inventory(provider, {"mwc4a", 0}, modules_on({"mwc4a", 0}, plan.modules))};
        request.plan = &plan;
        request.files = &files;
        request.inventory = inventory;
        const Rehearsal rehearsal = kvn::rehearse(request);
        if (rehearsal.has_problem()) {
            EXPECT_EQ(race % 5, 0);
            ++refused;
            continue;
        }
        if (race % 2 != 0)
            std::filesystem::remove(folder / "design.bit");
        kvn::LoadControl control;
        control.on_sent = [&, is_first = true](std::span<const std::uint8_t>) mutable {
            if (std::exchange(is_first, false))
                write("design.bit", other);
        };
        const kvn::Record record = kvn::load(provider,
                                             {.module = plan.modules[0].module,
                                              .file = &*files.of(plan.modules[0]).input,
                                              .judged = &*rehearsal.judged[0]},
                                             control);
        EXPECT_EQ(record.verdict, kvn::Verdict::configured);
        EXPECT_EQ(record.file_sha256->value, sha256(approved));
        EXPECT_EQ(rack.contents({"mwc4a", 0}, 1).configuration, wanted);
        ++loaded;
    }
    EXPECT_EQ(loaded, 40);
    EXPECT_EQ(refused, 10);
}

TEST_F(Rehearse, TheInventoryAloneComparesModulesOnly)
{
    write("other.bit", bit_file(OTHER_DEVICE));
    write("cut.bit", bit_file(DEVICE).substr(0, 5000));
    set_plan(module("mwc4a:0/1", "serial = \"ask\"\n", "other.bit") + module("mwc4a:0/2", "", "cut.bit") +
             module("mwc4a:0/4"));
    std::filesystem::remove(folder / "design.bit");
    (void)rehearse();
    const std::vector<std::string> all = told(kvn::compare_inventory(request));
    ASSERT_EQ(all.size(), 3U) << testing::PrintToString(all);
    EXPECT_THAT(all[0], StartsWith("rack.toml:1: other.bit is for a 2v80cs144 (by its header)"));
    EXPECT_EQ(all[1], "rack.toml:8: mwc4a:0/4 is empty");
    EXPECT_THAT(all[2], StartsWith("rack.toml:8: note: design.bit: "));
    EXPECT_THAT(all[2], testing::EndsWith("; its device is not compared"));
}
} // namespace
