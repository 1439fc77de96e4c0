// The reference model gives the results that were worked out by hand, so that it can judge the library.
#include "reference_model.h"

#include "scenario.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{

using reference::Model;
using Words = std::vector<std::string>;

class ReferenceModel : public testing::Test
{
protected:
    ReferenceModel()
    {
        plan_.boards[1][2] = scenario::good_module(2, 3, "2v3000fg676-4", false);
        plan_.boards[0][2] = scenario::good_module(2, 4, "2v3000fg676-4", true);
        plan_.boards[0][3] = scenario::good_module(4, 4, "v1000efg680-6", false);
    }

    static void write(const std::string& name, const std::string& content)
    {
        std::ofstream(name, std::ios::binary) << content;
    }
    static std::string read(const std::string& name)
    {
        std::ifstream stream(name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    /// A run with a fresh model; what it left is in the members.
    template <class Run>
    int run(Run what)
    {
        log_.clear();
        fake::Platform platform{plan_, log_, nullptr};
        fake::User user{user_, log_};
        terminal_ = {};
        terminal_.input = typed_;
        Model model{platform, terminal_, environment_};
        if (callbacks_) {
            model.callbacks = {
                [&](const char* text) { user.print(text); },
                [&](const char* text) { return user.prompt(text); },
                [&](const char* prompt, std::string& answer) { return user.ask_string(prompt, answer); },
                [&](const char* question) { return user.ask_yn(question); }};
        }
        const int result = what(model);
        text_ = model.last_error_text;
        file_ = model.bitstream_file;
        slot_address_ = model.slot_address;
        board_type_ = model.board_type;
        board_number_ = model.board_number;
        return result;
    }
    int command(const Words& words)
    {
        Words arguments = words;
        arguments.insert(arguments.begin(), "KVN_FPGA");
        return run([&](Model& model) { return model.main_plain(arguments); });
    }
    int parse(const Words& words)
    {
        Words arguments = words;
        arguments.insert(arguments.begin(), "KVN_FPGA");
        return run([&](Model& model) { return model.parse_command_line(arguments); });
    }
    int load(const std::string& file, int kavrinid, int flags)
    {
        return run([&](Model& model) { return model.board("mwc4a", 0, kavrinid, file.c_str(), 0, flags); });
    }
    int convert(const std::string& file, int action, int flags = 0)
    {
        return run([&](Model& model) { return model.board("mwc4a", 0, 1, file.c_str(), action, flags); });
    }
    bool logged(const std::string& line) const
    {
        return std::find(log_.begin(), log_.end(), line) != log_.end();
    }
    /// What went out after the load header.
    std::string sent() const
    {
        std::string data;
        bool header = true;
        for (const std::string& line : log_) {
            if (!line.starts_with("SendMessageDataEx"))
                continue;
            const std::size_t begin = line.find(", ") + 2;
            if (!header)
                data += line.substr(begin, line.find(',', begin) - begin);
            header = false;
        }
        return data;
    }

    fake::PlatformPlan plan_;
    fake::UserPlan user_;
    reference::Environment environment_;
    fake::Log log_;
    reference::Terminal terminal_;
    std::string typed_;
    bool callbacks_ = true;
    std::string text_;
    std::string file_;
    std::string board_type_;
    int slot_address_ = 0;
    int board_number_ = 0;

private:
    TemporaryFolder folder_;
    CurrentFolder here_{folder_.path()};
};

TEST_F(ReferenceModel, KnowsTheFamilies)
{
    EXPECT_EQ(reference::family_key("2v3000fg676-4"), "2v");
    EXPECT_EQ(reference::family_key("2vp30ff896-6"), "2vp");
    EXPECT_EQ(reference::family_key("v1000efg680-6"), "ve");
    EXPECT_EQ(reference::family_key("s40xlpq208-4"), "sxl");
    EXPECT_EQ(reference::family_key("2s200fg456-5"), "2s");
    EXPECT_EQ(reference::family_key("2s200efg456-6"), "2se");
    EXPECT_EQ(reference::family_key(""), "");
    EXPECT_EQ(reference::family_key("2"), "2");
}

TEST_F(ReferenceModel, SplitsDeviceNames)
{
    const auto parts = [](const char* name) {
        const reference::DeviceParts split = reference::split_device_name(name);
        return split.device + "/" + split.package + "/" + split.speed;
    };
    EXPECT_EQ(parts("2v3000fg676-4"), "2v3000/fg676/4");
    EXPECT_EQ(parts("2s150pq208-5"), "2s150/pq208/5");
    EXPECT_EQ(parts("2vp7ff672-6"), "2vp7/ff672/6");
    EXPECT_EQ(parts("v0100pq-1"), "v0100/pq/1");
    EXPECT_EQ(parts("abc"), "abc//");
    EXPECT_EQ(parts("v4"), "v4//");
    EXPECT_EQ(parts(""), "//");
}

TEST_F(ReferenceModel, ComparesByPrefix)
{
    EXPECT_EQ(reference::stricmp("MWC", "mwc4a"), 0);
    EXPECT_NE(reference::stricmp("mwc4a", "MWC"), 0);
    EXPECT_EQ(reference::stricmp("", "mwc4a"), 0);
    EXPECT_EQ(reference::stricmp("A", "b"), 'A' - 'b');
}

TEST_F(ReferenceModel, ConvertsNumbers)
{
    EXPECT_EQ(reference::decimal(" -12x"), -12);
    EXPECT_EQ(reference::decimal("x"), 0);
    EXPECT_EQ(reference::decimal("99999999999"), 2147483647);
    EXPECT_EQ(reference::decimal("-99999999999"), -2147483647 - 1);
    EXPECT_EQ(reference::parse_number("0x21"), 0x21);
    EXPECT_EQ(reference::parse_number("0x"), 0);
    EXPECT_EQ(reference::parse_number("0X21"), 0);
    EXPECT_EQ(reference::parse_number("0xfG"), 15);
}

TEST_F(ReferenceModel, ClassifiesExtensions)
{
    EXPECT_EQ(reference::check_extension("design.ab", ".rbt"), 1);
    EXPECT_EQ(reference::check_extension("abc", ".rbt"), 1);
    EXPECT_EQ(reference::check_extension("design.rbt", ".rbt"), 0);
    EXPECT_EQ(reference::check_extension("design.RBT", ".rbt"), -1);
}

TEST_F(ReferenceModel, ReadsCommandLines)
{
    EXPECT_EQ(parse({}), 0);
    EXPECT_EQ(parse({"-S3", "-T2", "-B0"}), 0);
    EXPECT_EQ(slot_address_, 0x23);
    EXPECT_EQ(parse({"-s5"}), 9000);
    EXPECT_EQ(text_, "Error 9000. Slot 5 is not a valid slot (must be 1,2,3 or 4).");
    EXPECT_EQ(parse({"-s0"}), 9000);
    EXPECT_EQ(parse({"-s259", "-b1"}), 0);
    EXPECT_EQ(slot_address_, 0x13);
    EXPECT_EQ(parse({"-b65536"}), 0);
    EXPECT_EQ(parse({"-b16"}), 9001);
    EXPECT_EQ(parse({"-b3", "-t-1"}), 9005);
    EXPECT_EQ(text_, "Error 9005. Target board 3 not a valid board (must be 0..15).");
    EXPECT_EQ(parse({"-f"}), 9002);
    EXPECT_EQ(text_, "Error 9002. Unknown option -f.");
    EXPECT_EQ(parse({"-vv"}), 9002);
    EXPECT_EQ(parse({"boards.txt"}), 9004);
    EXPECT_EQ(parse({"a.con", "b.con"}), 9003);
}

TEST_F(ReferenceModel, BuffersEightBytes)
{
    run([&](Model& model) {
        model.buffered_send(reference::Bytes(13, 1));
        EXPECT_EQ(log_.size(), 1U);
        model.flush();
        EXPECT_EQ(log_.size(), 2U);
        model.flush();
        EXPECT_EQ(log_.size(), 2U);
        model.buffered_send(reference::Bytes(4, 1));
        model.buffered_send(reference::Bytes(4, 1));
        EXPECT_EQ(log_.size(), 3U);
        return 0;
    });
    EXPECT_EQ(log_[1], "SendMessageDataEx(null, 0101010101, 5, 5000)");
}

TEST_F(ReferenceModel, LoadsAnRbtFilePlainly)
{
    write("design.rbt", scenario::rbt_file("2v3000fg676", {0x0D, 0x05, 0x02, 0xFF}));
    EXPECT_EQ(load("design", 0x12, 0), 0);
    const fake::Log expected = {
        "OpenS(mwc4a, 0, ksb, null, 0)",
        "InitIoStatus(opened, 0)",
        "InitIoStatus(opened, 0)",
        "print \\n\\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0x12 (via 'mwc4a 0')\\n",
        "SendMessageEx(opened, type 1, board 1, slot 2, null, 0, 5000)",
        "ReceiveMessageEx(opened, board 1, slot 2, 30, 5000)",
        "print The module in slot 0x12 is a KAVRIN-FPGA3 version 7.\\n",
        "print The module does NOT support loading of compressed bitstreams.\\n",
        "print The FPGA on this module is a 2v3000 device, in an fg676 package.\\n",
        "print The FPGA speed grade is -4.\\n",
        "print Checking header section of the file <design.rbt>.\\n",
        "StartSendMessageEx(opened, board 1, slot 2, 5000)",
        "SendMessageDataEx(opened, 0305, 2, 5000)",
        "SendMessageDataEx(opened, 0D0502FF, 4, 5000)",
        "print \\r% Done: 100\\n",
        "print The bitstream has been downloaded.\\n",
        "EndOfSendMessageEx(opened, 5000)",
        "StartReceiveMessageEx(opened, 0, 5000)",
        "ReceiveMessageDataEx(opened, 2, 5000)",
        "EndOfReceiveMessageEx(opened, 5000)",
        "print Configuration was successful.\\n",
        "Close(opened)",
    };
    EXPECT_EQ(log_, expected);
}

TEST_F(ReferenceModel, LoadsAnRbtFileCompressed)
{
    fake::Bytes data(300, 0xAA);
    data.insert(data.end(), {1, 1, 2, 3});
    write("design.rbt", scenario::rbt_file("2v3000fg676", data));
    EXPECT_EQ(load("design", 2, 0), 0);
    EXPECT_TRUE(logged("SendMessageDataEx(opened, 0D05, 2, 5000)"));
    EXPECT_EQ(sent(), "FFAA2DAA020101020103");
    EXPECT_EQ(load("design", 2, 4), 0);
    EXPECT_TRUE(logged("SendMessageDataEx(opened, 0305, 2, 5000)"));
}

TEST_F(ReferenceModel, KeepsTheTailFromOlderFamilies)
{
    const fake::Bytes data = scenario::sample_configuration(40, 1);
    write("design.rbt", scenario::rbt_file("v1000efg680", data));
    write("design.bit", scenario::bit_file("v1000efg680", data));
    EXPECT_EQ(load("design.rbt", 3, 0), 0);
    EXPECT_EQ(sent(), fake::hex(data.data(), 24));
    EXPECT_EQ(load("design.bit", 3, 0), 0);
    EXPECT_EQ(sent(), fake::hex(data.data(), 24));
    write("design.bit", scenario::bit_file("v1000efg680", data) + "x");
    EXPECT_EQ(load("design.bit", 3, 0), 9365);
    EXPECT_EQ(
        text_,
        "Error 9365. Configuration successfull, but found incorrect number of bits (320, 321) in BIT file "
        "design.bit.");
    write("design.rbt", scenario::rbt_file("v1000efg680", data) + std::string(32, '0') + "\n");
    EXPECT_EQ(load("design.rbt", 3, 0), 9113);
    EXPECT_EQ(sent(), fake::hex(data.data(), 24));
    EXPECT_TRUE(logged("print Incorrect number of bits in RBT file (352 found, 320 stated).\\n"));
}

TEST_F(ReferenceModel, CutsTheLastRunOfAnMcbFile)
{
    fake::Bytes data(150, 7);
    data.insert(data.end(), 150, 9);
    std::string file = scenario::mcb_file("v1000efg680", data);
    file[file.size() - 2] = static_cast<char>(200); // a run that passes the total
    write("design.mcb", file);
    EXPECT_EQ(load("design.mcb", 3, 0), 0);
    EXPECT_EQ(sent(), fake::hex(data.data(), 296));
    plan_.boards[0][3] = scenario::good_module(4, 5, "v1000efg680-6", true);
    EXPECT_EQ(load("design.mcb", 3, 0), 0);
    EXPECT_EQ(sent(), "96079209");
    EXPECT_TRUE(logged("print \\r% Done: 100 \\n"));
}

TEST_F(ReferenceModel, RefusesDamagedRbtFiles)
{
    const fake::Bytes data = {1, 2, 3, 4};
    const std::string good = scenario::rbt_file("2v3000fg676", data);
    const auto load_spoilt = [&](const std::string& from, const std::string& to) {
        std::string content = good;
        content.replace(content.find(from), from.size(), to);
        write("design.rbt", content);
        return load("design", 2, 4);
    };
    EXPECT_EQ(load_spoilt("Bitstream\n", "Bitstream\r\n"), 9101);
    EXPECT_EQ(load_spoilt("Bits:", "BITS:"), 0);
    EXPECT_EQ(load_spoilt("Date:   Fri Feb 17 12:00:00 2006\n", ""), 0);
    EXPECT_EQ(load_spoilt("Bits:", "Size:"), 9120);
    EXPECT_EQ(text_, "Error 9121. Failed to find bit size of RBT design.rbt.");
    EXPECT_EQ(load_spoilt("2v3000", "2V3000"), 9103);
    EXPECT_EQ(text_, "Error 9103. Bitstream design.rbt is not for a 2v3000fg676-4 device.");
    EXPECT_EQ(load_spoilt("10000000", "1000000000000000"), 9112);
    EXPECT_EQ(text_, "Error 9112. Incorrect line length (39), bit_count = 0, in RBT file design.rbt.");
    EXPECT_EQ(load_spoilt("Bits:   32", "Bits:   none"), 9113);
    EXPECT_TRUE(logged("print Incorrect number of bits in RBT file (32 found, 0 stated).\\n"));
    write("design.rbt", good + "\n");
    EXPECT_EQ(load("design", 2, 4), 9112);
    EXPECT_EQ(text_, "Error 9112. Incorrect line length (1), bit_count = 32, in RBT file design.rbt.");
    EXPECT_EQ(load("design", 2, 0), 9107);
}

TEST_F(ReferenceModel, ConvertsRbtToMcb)
{
    write("design.rbt", scenario::rbt_file("2v3000fg676", fake::Bytes(4, 0)));
    EXPECT_EQ(convert("design", 1), 0);
    const std::string made = read("design.mcb");
    EXPECT_EQ(made.size(), 524U);
    EXPECT_EQ(fake::hex(made.data(), 8), "7812440088017600");
    EXPECT_EQ(fake::hex(made.data() + 518, 6), "040000000400");
    EXPECT_STREQ(made.c_str() + 8, "2v3000fg676");
    EXPECT_STREQ(made.c_str() + 263, "Date:   Fri Feb 17 12:00:00 2006\n");
    EXPECT_TRUE(logged("print \\r% Done: 100, stored 2 bytes representing 32 bits\\n"));
    write("design.rbt", scenario::rbt_file("2v3000fg676", fake::Bytes(2500, 0)));
    EXPECT_EQ(convert("design", 1), 0);
    EXPECT_TRUE(logged("print \\r% Done: 100"));
    write("design.rbt", scenario::rbt_file("2v3000fg676", fake::Bytes(2496, 0)));
    EXPECT_EQ(convert("design", 1), 0);
    EXPECT_FALSE(logged("print \\r% Done: 100"));
}

TEST_F(ReferenceModel, CodesRuns)
{
    fake::Bytes data(300, 0xFF);
    data.insert(data.end(), {0, 0xFF, 0xFF, 0xFF});
    write("design.bit", scenario::bit_file("2v3000fg676", data));
    EXPECT_EQ(convert("design.bit", 1), 0);
    const std::string made = read("design.mcb");
    EXPECT_EQ(fake::hex(made.data() + 518, made.size() - 518), "30010000FFFF2DFF010003FF");
    EXPECT_STREQ(made.c_str() + 263, "2006/02/17 12:00:00");
}

TEST_F(ReferenceModel, ConvertsMcbToRbt)
{
    write("design.mcb", scenario::mcb_file("2v3000fg676", {1, 2, 4, 0x80, 0xFF, 0xFF}));
    EXPECT_EQ(convert("design.mcb", 2), 0);
    EXPECT_EQ(read("design.rbt"), "Xilinx ASCII Bitstream\nGenerated by MARROWAY.\nGenerated by MARROWAY.\n"
                                  "Generated by MARROWAY.\nPart:  2v3000fg676\nFri Feb 17 2006\nbits:   48\n"
                                  "10000000010000000010000000000001\n11111111111111110010000000000001\n");
}

TEST_F(ReferenceModel, JudgesBitFileSizes)
{
    const fake::Bytes data(6, 1);
    write("design.bit", scenario::bit_file("2v3000fg676", data));
    EXPECT_EQ(convert("design.bit", 1), 9416);
    EXPECT_EQ(text_, "Error 9416. Failed to read BIT file design.bit (after 32 bits read, expected 48).");
    write("design.bit", scenario::bit_file("2v3000fg676", data) + std::string(1024 + 2, ' '));
    EXPECT_EQ(convert("design.bit", 1), 9422);
    write("design.bit", scenario::bit_file("2v3000fg676", fake::Bytes(8, 1)) + std::string(1023, ' '));
    EXPECT_EQ(convert("design.bit", 1), 0);
    EXPECT_EQ(load("design.bit", 2, 0), 0);
    EXPECT_EQ(load("design.bit", 2, 4), 9365);
}

TEST_F(ReferenceModel, SelectsFiles)
{
    write("design.bit", scenario::bit_file("2v3000fg676", fake::Bytes(8, 1)));
    EXPECT_EQ(load("design", 2, 0), 0);
    EXPECT_EQ(file_, "design.bit");
    write("design.rbt", scenario::rbt_file("2v3000fg676", fake::Bytes(8, 1)));
    EXPECT_EQ(load("design", 2, 0), 0);
    EXPECT_EQ(file_, "design.rbt");
    std::filesystem::remove("design.bit");
    user_.decisions = {'n'};
    EXPECT_EQ(load("design.bit", 2, 2), 9055);
    EXPECT_TRUE(logged("ask Found only .rbt version of that file, should I use it [y/n]? -> 110"));
    user_.decisions = {0x179};
    EXPECT_EQ(load("design.bit", 2, 2), 0);
    EXPECT_EQ(load("design.RBT", 2, 2), 9051);
    EXPECT_EQ(load("design.bit", 2, 0), 9055);
}

TEST_F(ReferenceModel, ReadsTheEnvironment)
{
    write("design.rbt", scenario::rbt_file("2v3000fg676", fake::Bytes(8, 1)));
    environment_.mwapiksb = "  mwc4a\t3";
    command({"-fdesign", "-s1", "-u"});
    EXPECT_EQ(board_type_, "mwc4a");
    EXPECT_EQ(board_number_, 3);
    EXPECT_EQ(slot_address_, 0x31);
    environment_.mwapiksb = "MWC4A 2";
    command({"-fdesign", "-s1", "-u", "-dmwc4a"});
    EXPECT_EQ(board_number_, 2);
    EXPECT_EQ(command({"-fdesign", "-s1", "-u", "-dmwc3a"}), 9075);
    environment_.mwapiksb.reset();
    EXPECT_EQ(command({"-fdesign", "-u"}), 9074);
    environment_.mwapijtag = "mwc4a 16";
    EXPECT_EQ(command({"-fdesign", "-u"}), 9076);
    EXPECT_TRUE(log_.empty());
}

TEST_F(ReferenceModel, SearchesSlots)
{
    write("design.rbt", scenario::rbt_file("v1000efg680", fake::Bytes(32, 1)));
    user_.decisions = {'n', 'Y'};
    EXPECT_EQ(command({"-fdesign", "-dmwc4a", "-b0", "-u"}), 0);
    EXPECT_EQ(slot_address_, 3);
    EXPECT_TRUE(logged("SendMessage(opened, type 11, slot 2, null, 0, 5000)"));
    EXPECT_TRUE(logged("print 3 of board 0\\n"));
    user_.decisions = {'n', 'n'};
    EXPECT_EQ(command({"-fdesign", "-dmwc4a", "-b0", "-u"}), 9096);
}

TEST_F(ReferenceModel, RunsConFiles)
{
    write("design.rbt", scenario::rbt_file("2v3000fg676", fake::Bytes(8, 1)));
    write("list.con", "\"comment\n\n x\ndesign.rbt     mwc4a          0         0x12\ndesign mwc4a 0 2\n");
    EXPECT_EQ(command({"list"}), 0);
    EXPECT_EQ(log_.back(), "print 0x2 modules sucessfully configured.\\n");
    EXPECT_EQ(file_, "design.rbt");
    write("list.con", "\"comment\n");
    EXPECT_EQ(command({"list"}), 9027);
    write("list.con", "design mwc4a 0 0x10\n");
    EXPECT_EQ(command({"list"}), 9026);
    write("list.con", "design mwc4a -1 1\n");
    EXPECT_EQ(command({"list"}), 9025);
    EXPECT_EQ(text_, "Error 9025. Invalid board number 65535 (should be 0..15).");
    write("list.con", "design.bit mwc4a 0 1\n");
    EXPECT_EQ(command({"list"}), 9024);
    write("list.con", "design\n");
    EXPECT_EQ(command({"list"}), 9026);
}

TEST_F(ReferenceModel, UsesTheTerminal)
{
    callbacks_ = false;
    typed_ = "design.txt\n\n";
    EXPECT_EQ(command({}), 9052);
    const std::string question = "Enter the name of the bitstream RBT, MCB, or BIT file:\n> ";
    EXPECT_EQ(terminal_.output, question +
                                    "Error: incorrect extension. A RBT, MCB, or BIT file must be supplied\n" +
                                    question + question);
    typed_ = "abc";
    run([](Model& model) { return model.help(); });
    EXPECT_TRUE(terminal_.output.ends_with("\n\nPress any key to continue . . .\n"));
}

TEST_F(ReferenceModel, ChecksItsArguments)
{
    EXPECT_EQ(run([](Model& model) { return model.board(nullptr, 0, 1, nullptr, 0, 0); }), 9310);
    EXPECT_EQ(run([](Model& model) { return model.board("mwc4a", 0, 1, nullptr, 3, 0); }), 9311);
    EXPECT_EQ(run([](Model& model) { return model.board("mwc4a", 0, 1, "design", 3, 0); }), 9312);
    EXPECT_EQ(text_, "Error 9312: kvn_fpga_board: Unknown action 3.");
    EXPECT_EQ(run([](Model& model) { return model.handle_run(nullptr, 1, nullptr, 0, 0); }), 9300);
    plan_.failures = {{"GetDeviceInfo", 1, 0x80000001}};
    EXPECT_EQ(run([](Model& model) { return model.handle_run(fake::callers_handle(), 1, "design", 0, 0); }),
              9301);
    EXPECT_EQ(
        text_,
        "Error 9301: kvn_fpga_handle: Cannot retrieve information from device handle (API error 0x80000001).");
    EXPECT_EQ(run([](Model& model) { return model.set_userfie_of_type(3); }), 9215);
}

TEST_F(ReferenceModel, UsesOrIgnoresAHandle)
{
    write("design.rbt", scenario::rbt_file("2v3000fg676", fake::Bytes(8, 1)));
    const auto with_handle = [&](const Words& words) {
        return run([&](Model& model) { return model.main_with_handle(fake::callers_handle(), words); });
    };
    EXPECT_EQ(with_handle({"KVN_FPGA", "-fdesign", "-s2", "-dmwc4a", "-b0"}), 0);
    EXPECT_FALSE(logged("OpenS(mwc4a, 0, ksb, null, 0)"));
    EXPECT_FALSE(logged("Close(callers)"));
    EXPECT_EQ(with_handle({"KVN_FPGA", "-fdesign", "-s2", "-dmwc3a", "-b0"}), 0);
    EXPECT_TRUE(logged("OpenS(mwc3a, 0, ksb, null, 0)"));
}

} // namespace
