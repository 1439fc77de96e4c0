// SPDX-License-Identifier: Apache-2.0
// Writes the seed corpora of the fuzz targets: make_fuzz_seeds FOLDER makes FOLDER/rbt, FOLDER/bit, ...
#include "support/bitstreams.h"
#include "workplace.h"

#if __has_include("devices.h")
#include "devices.h"
#include "mwapi_forward.h"
#include "recording_platform.h"
#include "stream.h"
#include "watched_platform.h"
#endif

#include <cstdio>
#include <filesystem>

using namespace std::string_literals; // for texts with zero bytes

namespace
{
std::filesystem::path folder;

/// Another input of a target.
void seed(const std::string& target, const std::string& name, const std::string& content)
{
    const std::filesystem::path place = folder / target;
    std::filesystem::create_directories(place);
    write_file((place / name).string(), content);
}

std::string as_text(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

void seed_rbt()
{
    seed("rbt", "empty", "");
    seed("rbt", "good", RbtFile{8}.text());
    seed("rbt", "virtex", RbtFile{8}.device("v300pq240").text());
    seed("rbt", "no_date", RbtFile{5}.without_date().text());
    seed("rbt", "too_few_bits", RbtFile{8}.stated_bits(64).text());
    seed("rbt", "no_bits", RbtFile{8}.stated_bits(0).text());
    seed("rbt", "negative_bits", RbtFile{4}.stated_bits(-32).text());
    seed("rbt", "most_bits", RbtFile{4}.stated_bits(4294967296L).text());
    seed("rbt", "no_data", RbtFile{std::size_t{0}}.text());
    seed("rbt", "long_runs", RbtFile{Bytes(600, 0)}.text());
    RbtFile file{8};
    seed("rbt", "cut_line", file.text().substr(0, file.text().size() - 7));
    seed("rbt", "no_line_feed_at_the_end", file.text() + std::string(33, '1'));
    file.data[3] = std::string(40, '1') + '\n';
    seed("rbt", "long_line", file.text());
    file.data[3] = "0101\r\n";
    seed("rbt", "carriage_return", file.text());
    file.data[3] = std::string(10, '1') + '\0' + std::string(21, '1') + '\n';
    seed("rbt", "zero_byte", file.text());
    RbtFile long_header{8};
    long_header.header[2] = "Design name: " + std::string(300, 'x') + '\n';
    seed("rbt", "long_header_line", long_header.text());
}

void seed_bit()
{
    seed("bit", "empty", "");
    seed("bit", "good", BitFile{32}.content());
    seed("bit", "no_data", BitFile{std::size_t{0}}.content());
    seed("bit", "long_runs", BitFile{Bytes(600, 0xFF)}.content());
    BitFile trailing{32};
    trailing.tail = "x";
    seed("bit", "one_byte_more", trailing.content());
    trailing.tail = std::string(1024, 'x');
    seed("bit", "a_block_more", trailing.content());
    BitFile odd{32};
    odd.byte_count = 30;
    seed("bit", "odd_count", odd.content());
    odd.byte_count = 0x20000004;
    seed("bit", "count_beyond_32_bits", odd.content());
    odd.byte_count = 0x10000000;
    seed("bit", "negative_count", odd.content());
    BitFile long_text{32};
    long_text.design_length = 0xFFFF;
    seed("bit", "long_text", long_text.content());
    BitFile empty_texts{32};
    empty_texts.design = empty_texts.date = empty_texts.time = "";
    empty_texts.device = "v300pq240";
    seed("bit", "texts_without_zeros", empty_texts.content());
}

void seed_mcb()
{
    seed("mcb", "empty", "");
    seed("mcb", "good", McbFile{32}.content());
    seed("mcb", "long_runs", McbFile{Bytes(6000, 0)}.content());
    McbFile file{32};
    file.device = "v300pq240";
    file.timestamp = "2006/02/17 12:00:00";
    seed("mcb", "virtex", file.content());
    for (const std::int32_t count : {0, 1, 3, 4, 5, 31, 33, -1, 0x7FFFFFFF}) {
        file.byte_count = count;
        seed("mcb", "count_" + std::to_string(count), file.content());
    }
    file.byte_count = 32;
    file.runs = {0, 1, 0, 2, 32, 3, 0, 0};
    seed("mcb", "empty_runs", file.content());
    file.runs = {31, 7, 9};
    seed("mcb", "cut_pair", file.content());
}

void seed_texts()
{
    seed("con", "good", "\"a comment\ngood.rbt mwc4a 0 1\ngood.mcb mwc4a 0 0x02\n");
    seed("con", "no_extension", "good mwc4a 1 0x13\n\n folder\n");
    seed("con", "bit", "good.bit mwc4a 0 1\n");
    seed("con", "folder", "folder.rbt mwc4a 0 1\n");
    seed("con", "numbers", "good.rbt\tmwc4a\t16 1\ngood.rbt mwc4a -1 5\n");
    seed("con", "missing_fields", "good.rbt\n");
    seed("con", "missing_file", "missing mwc4a 0 1\n");
    seed("con", "long_line", std::string(250, 'x') + " mwc4a 0 1\ngood.rbt mwc4a 0 1");
    seed("con", "comments", "\"nothing\n\n");

    seed("command_line", "configure", "\0"s + "-fgood.rbt\n-dmwc4a\n-b0\n-s2\n-v\n-u\n-n");
    seed("command_line", "target", "\1-fgood\n-t3\n-s4\n-dmwc4a\n-b0");
    seed("command_line", "compress", "\0"s + "-fgood.bit\n-c");
    seed("command_line", "expand", "\0"s + "-fgood.mcb\n-r\n-V");
    seed("command_line", "con", "\1good.con\n-v");
    seed("command_line", "con_without_extension", "\1good");
    seed("command_line", "unknown", "\0"s + "-x\n-zvalue\n-\n");
    seed("command_line", "out_of_range", "\0"s + "-s259\n-b65536\n-t-1");
    seed("command_line", "long", "\0"s + "-f" + std::string(300, 'x') + "\n-d" + std::string(40, 'y'));
    seed("command_line", "percent", "\0"s + "-f%s%n.rbt\n-d%s\n-b1\n-s1\n-v");

    seed("environment", "both", "mwc4a 0\nmwc4a 1");
    seed("environment", "no_number", "mwc4a");
    seed("environment", "blanks", "  mwc4a\t 3 more\n \t");
    seed("environment", "empty", "\n");
    seed("environment", "none", "");
    seed("environment", "other_type", "mwc3a 2\nmwc4a 0");
    seed("environment", "numbers", "mwc4a 99999999999\nmwc4a -1");
    seed("environment", "long", std::string(200, 'm') + ' ' + std::string(200, '1'));

    seed("console_answers", "all", "\0"s + "good\nmwc4a\n0\ny\n\n\n");
    seed("console_answers", "wrong_names",
         "\0"s + "\nx.txt\n" + std::string(400, 'x') + "\ngood.bit\nmwc4a\n0\n\n");
    seed("console_answers", "slot", "\1good.mcb\nmwc4a\n0\n\n\n");
    seed("console_answers", "only_mcb", "\2y\nmwc4a\n\n");
    seed("console_answers", "only_bit", "\3yes\n0\nno\ny\n\n");
    seed("console_answers", "compress", "\4Y\n");
    seed("console_answers", "expand", "\5good.mcb\n");
    seed("console_answers", "end", "\0"s);

    seed("callback_answers", "all", "\0good.rbt\nmwc4a\n0\n\0\0\0y\0\0\0y"s);
    seed("callback_answers", "only_mcb", "\2\0\0\1ymwc4a\n0\n"s);
    seed("callback_answers", "only_bit", "\3\0\0\0Y0\n\0\0\0y"s);
    seed("callback_answers", "long",
         "\0"s + std::string(300, 'x') + ".rbt\ngood.mcb\n" + std::string(100, 'm') + '\n');
}

void seed_replies()
{
    const auto record = [](std::uint8_t type, std::uint8_t model, std::string device, char compression) {
        device.resize(26, '\0');
        return std::string{static_cast<char>(type), static_cast<char>(model), '\1'} + device + compression;
    };
    const std::string good_rest{"\0\0\1\1\0\0\0\0\4\0\0\0\0\0", 14};
    seed("module_replies", "fpga", record(2, 4, "2v3000fg676-4", 0) + good_rest);
    seed("module_replies", "old_fpga", record(2, 3, "2v3000fg676-4", 1) + good_rest);
    seed("module_replies", "io", record(4, 5, "2v3000fg676-5", 0) + good_rest);
    seed("module_replies", "old_io", record(4, 4, "2v3000fg676-5", 1) + good_rest);
    seed("module_replies", "other", record(7, 1, "", 0) + good_rest);
    seed("module_replies", "spartan_xl", record(2, 3, "s40xlpq208-4", 0) + good_rest);
    seed("module_replies", "virtex_e", record(2, 3, "v1000efg680-6", 0) + good_rest);
    seed("module_replies", "long_name", record(2, 3, std::string(26, '2'), 0) + good_rest);
    seed("module_replies", "no_name", record(2, 3, "", 1) + good_rest);
    seed("module_replies", "wrong_type", record(2, 4, "2v3000fg676-4", 0) + "\3\7\0");
    seed("module_replies", "device", "2vp30ff896-6");
}

/// One run as targets/runs.cpp reads it: a good file and good modules, and the n-th platform call failing,
/// or, with a fault from 1 on, the n-th operation on files.
std::string run_choices(int kind, int action, int fault, int n)
{
    constexpr int eight_words = 20;
    constexpr std::size_t bytes_of_slots = 49;
    std::string choices{static_cast<char>(kind), '\0', static_cast<char>(action), '\0', eight_words};
    choices += std::string(kind == 0 ? 9 : 8, '\0'); // device, stated size, date, changes
    choices += std::string(bytes_of_slots, '\0');
    choices += {fault == 0 ? '\1' : '\2', '\0', static_cast<char>(n)};
    choices += std::string(4, '\0'); // the platform's code
    if (fault != 0)
        choices += static_cast<char>(fault - 1);
    return choices + "\0\0\1\0\0"s; // address, flags, entry point, board
}

void seed_runs()
{
    // Bytes that reach most of the decisions.
    for (int variant = 0; variant < 24; ++variant) {
        std::string choices;
        std::uint32_t state = 12345U + static_cast<std::uint32_t>(variant);
        for (int i = 0; i < 400; ++i) {
            state = state * 1664525U + 1013904223U;
            choices += static_cast<char>(state >> 24);
        }
        seed("runs", "mixed_" + std::to_string(variant), choices);
    }
    for (int kind = 0; kind < 3; ++kind)
        for (int fault = 0; fault <= 6; ++fault)
            for (const int n : {0, 2, 7, 20}) {
                std::string choices;
                for (int action = 0; action < 3; ++action)
                    choices += run_choices(kind, action, fault, n);
                seed("runs",
                     "kind_" + std::to_string(kind) + "_fault_" + std::to_string(fault) + "_at_" +
                         std::to_string(n),
                     choices);
            }
    seed("runs", "zeros", std::string(300, '\0'));
}

#if __has_include("devices.h")
void seed_ports()
{
    const auto devices = fpga::devices();
    for (std::size_t i = 0; i < devices.size(); ++i) {
        const fpga::Device& device = devices[i];
        const bool is_first = i == 0 || devices[i - 1].family != device.family;
        if (!is_first)
            continue;
        for (const auto& [name, defect] : {std::pair{"good", fpga::Defect::none},
                                           {"crc", fpga::Defect::crc},
                                           {"id", fpga::Defect::id},
                                           {"short", fpga::Defect::short_data}}) {
            const fpga::StreamOptions options{.fill = fpga::Fill::zero, .defect = defect};
            const Bytes pairs = fpga::run_code(fpga::reverse_each(fpga::make_stream(device, options)));
            seed("configuration_port", std::string{device.name} + '_' + name,
                 std::string{static_cast<char>(i), '\x0F'} + as_text(pairs));
        }
        const Bytes plain = fpga::reverse_each(fpga::make_stream(device, {.fill = fpga::Fill::pattern}));
        const Bytes begin{plain.begin(), plain.begin() + std::min<std::ptrdiff_t>(600, std::ssize(plain))};
        seed("configuration_port", std::string{device.name} + "_begin",
             std::string{static_cast<char>(i), '\x0E'} + as_text(begin));
    }
}

/// The first byte of an input chooses the name; the rest is the file.
void seed_inputs()
{
    const auto file = [](const std::string& name, unsigned char choice, const std::string& content) {
        seed("input", name, static_cast<char>(choice) + content);
    };
    file("rbt", 0, RbtFile{8}.text());
    file("bit", 1, BitFile{64}.content());
    file("mcb", 2, McbFile{64}.content());
    file("misnamed", 2, BitFile{64}.content());
    file("text", 6, "hello\n");
    // The title of an RBT file.
    file("gzip", 3,
         as_text(bytes("1F 8B 08 00 00 00 00 00 02 03 8B C8 CC C9 CC AB 50 70 0C 76 F6 F4 54 70 CA 2C 29 2E "
                       "29 4A 4D CC E5 02 00 28 46 51 DC 17 00 00 00")));
    file("xz", 4,
         as_text(bytes("FD 37 7A 58 5A 00 00 04 E6 D6 B4 46 02 00 21 01 0C 00 00 00 8F 98 41 9C 01 00 16 58 "
                       "69 6C 69 6E 78 20 41 53 43 49 49 20 42 69 74 73 74 72 65 61 6D 0A 00 00 37 F6 E7 D2 "
                       "26 EC BD E6 00 01 2F 17 81 08 49 B1 1F B6 F3 7D 01 00 00 00 00 04 59 5A")));
    file("zstd", 5,
         as_text(bytes("28 B5 2F FD 04 58 B9 00 00 58 69 6C 69 6E 78 20 41 53 43 49 49 20 42 69 74 73 74 72 "
                       "65 61 6D 0A FF 7F 32 72")));
    const Bytes stream =
        fpga::reverse_each(fpga::make_stream(*fpga::find_device("2v40"), {.fill = fpga::Fill::zero}));
    McbFile whole{stream};
    whole.device = "2v40cs144";
    file("whole", 2, whole.content());
}

void seed_racks()
{
    for (const auto& example : std::filesystem::directory_iterator{DOCS "/racks"})
        seed("rack", example.path().stem().string(), read_file(example.path().string()));
    const std::string board = "[[board]]\ntype = \"mwc4a\"\nnumber = 0\n";
    const std::string slot = "[[board.slot]]\nnumber = 1\nkind = \"fpga\"\ndevice = \"2v3000fg676-4\"\n";
    const std::string io = "[[board.slot]]\nnumber = 2\nkind = \"io\"\ndevice = \"2s200fg456-5\"\n";
    seed("rack", "board", board);
    seed("rack", "other",
         board + "[[board.slot]]\nnumber = 1\nkind = \"other\"\ntype = 9\ninfo = [1, 0, 1]\n");
    seed("rack", "kept_file", board + slot + "keep = \"slot1\"\n" + io + "keep = \"../slot2\"\n");
    seed("rack", "kept_files", board + slot + "keep = \"slot1\"\n" + io + "keep = \"slot2\"\n");
    seed("rack", "dropped_byte", board + "[[board.fault]]\nkind = \"drop-byte\"\nafter = 4\n" + slot);
    for (const std::string kind :
         {"no-reply\"\nreply = \"load\"", "short-reply\"\nreply = \"identification\"\nlength = 3",
          "other-type\"\nreply = \"compression\"\ntype = 5"})
        seed("rack", kind.substr(0, kind.find('"')),
             board + slot + "[[board.slot.fault]]\nkind = \"" + kind + '\n');
    seed("rack", "mistake", board + "slots = 3\n");
    seed("rack", "no_toml", "[[board\n");
}

/// Files of every format and shape, to be converted to each format and made loadable.
void seed_conversions()
{
    const std::string part = "s05pc84";
    const Bytes spartan = fpga::reverse_each(fpga::make_stream(*fpga::find_device(part)));
    BitFile bit{spartan};
    bit.device = part + '\0';
    McbFile mcb{spartan};
    mcb.device = part;
    RbtFile rbt{spartan};
    rbt.device(part);
    std::string returns = RbtFile{8}.text();
    for (std::size_t at = returns.find('\n'); at != std::string::npos; at = returns.find('\n', at + 2))
        returns.replace(at, 1, "\r\n");
    std::string long_lines = RbtFile{8}.text();
    long_lines.erase(long_lines.size() - 34, 1);
    BitFile nameless{spartan};
    nameless.device = "\0"s;
    BitFile trailing{30};
    trailing.tail = "more";
    McbFile beyond{30};
    beyond.byte_count = 29;
    const std::pair<const char*, std::string> files[] = {
        {"spartan_bit", bit.content()},
        {"spartan_mcb", mcb.content()},
        {"spartan_rbt", rbt.text()},
        {"carriage_returns", returns},
        {"long_lines", long_lines},
        {"nameless", nameless.content()},
        {"trailing", trailing.content()},
        {"beyond", beyond.content()},
        {"rbt", RbtFile{8}.text()},
        {"bit", BitFile{32}.content()},
        {"mcb", McbFile{32}.content()},
        {"no_date", RbtFile{5}.without_date().text()},
        {"short_header", "Xilinx ASCII Bitstream\nConverted\nBits: 64\n" + std::string(64, '1') + '\n'},
    };
    for (const auto& [name, content] : files)
        for (char format = 0; format < 3; ++format)
            for (char way = 0; way < 4; ++way)
                seed("conversion",
                     std::string{name} + '_' + std::to_string(format) + '_' + std::to_string(way),
                     std::string{format, way} + content);
}

/// A state of the module in slot 1 as a file, a zero byte, and the bits.
std::string rack_state(const std::string& command, const std::string& digest, int loads,
                       const std::string& holding, const std::string& verdict, const std::string& message,
                       const std::string& bits)
{
    return R"({"board":0,"board_type":"mwc4a","bytes":)" + std::to_string(bits.size()) +
           ",\"command\":" + command + R"(,"device":"2v3000fg676-4","digest":)" + digest +
           ",\"loads\":" + std::to_string(loads) + ",\"message\":" + message +
           R"(,"reason":"","slot":1,"state":")" + holding + "\",\"verdict\":" + verdict +
           ",\"version\":1}\n\0"s + bits;
}

void seed_rack_states()
{
    const std::string of_nothing = "\"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855\"";
    const std::string of_abc = "\"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad\"";
    const std::string message = R"({"board":0,"board_type":"mwc4a","process":7})";
    seed("rack_state", "empty", rack_state("null", "null", 0, "empty", "null", "null", ""));
    seed("rack_state", "part", rack_state("3", "null", 2, "part of its data", "null", "null", "abc"));
    seed("rack_state", "left", rack_state("13", "null", 2, "part of its data", "null", message, "abc"));
    seed("rack_state", "refused", rack_state("3", of_nothing, 1, "refused", "1", "null", ""));
    seed("rack_state", "running", rack_state("13", of_abc, 1, "running", "5", "null", "abc"));
    seed("rack_state", "ones", rack_state("3", of_abc, 1, "running", "5", "null", "abc\xFF"));
    seed("rack_state", "other_bits", rack_state("3", of_abc, 1, "running", "5", "null", "abd"));
    seed("rack_state", "bytes_as_text", R"({"board":0,"board_type":{"hex":"6D"},"slot":1,"version":1})");
    seed("rack_state", "no_state", "[]");
    seed("rack_state", "no_files", "");
}

/// The trace of a run that configures slot 1 from good.rbt, with this verdict.
std::string recorded_run(bool compressed, std::uint8_t status, std::uint32_t failing_open = 0)
{
    const InWorkplace here;
    {
        WatchedPlatform platform;
        Module& module = platform.modules.slot(1, fpga_module(3).accepts_compressed(compressed));
        module.verdict[0] = status;
        if (failing_open != 0)
            platform.fail("OpenS", 1, failing_open);
        mwtrace::Recorder recorder{"trace", "seed"};
        mwtrace::RecordingPlatform recording{platform, recorder};
        mwapi::install(recording);
        kvn_fpga object;
        answer_simply(object);
        (void)object.kvn_fpga_board(Chars{"mwc4a"}, 0, 1, Chars{"good.rbt"}, 0, 0);
        mwapi::uninstall();
    }
    return read_file("trace");
}

/// Calls of the C interface, as targets/c_interface.cpp reads them: a handle and a call, then their choices.
void seed_calls()
{
    const std::string open = "\x01\x00\x00\x00\x00"s;
    const std::string provider = "\x00\x00\x02\x00\x00\x00"s;
    const std::string file = "\x00\x00\x03\x00\x00\x00"s;
    seed("c_interface", "empty", "");
    seed("c_interface", "open", open);
    seed("c_interface", "provider", open + provider);
    for (char call = 0; call < 18; ++call)
        seed("c_interface", "call_" + std::to_string(call),
             open + provider + file + "\x00\x00"s + call + std::string(24, '\0') + open);
}

void seed_reports()
{
    const std::string planned = R"({"module":"mwc4a:0/2","label":"dsp","file":"design.bit"})"
                                "\n";
    const std::string begun =
        R"({"event":"begun","module":"mwc4a:0/2","attempt":1,"at":"2026-11-22T03:44:37.125Z"})"
        "\n";
    const std::string finished =
        R"({"event":"finished","module":"mwc4a:0/2","record":{"verdict":"failed","state":"interrupted","attempts":1,)"
        R"("begin":"2026-11-22T03:44:37.125Z","end":"2026-11-22T03:44:39.000Z","wire_bytes":21386,"device":"2v40cs144",)"
        R"("failure":{"number":9114,"what":"<b>","why":"","remedy":"=1+1"},"problems":[{"what":"a","fatal":true}]}})"
        "\n";
    seed("report", "planned", planned);
    seed("report", "begun", planned + begun);
    seed("report", "finished", planned + begun + finished + R"({"event":"result","status":7})");
    seed("report", "no_json", "mwc4a:0/1\n</script>\x1B\xFF\xE2\x80\xAE");
    seed("report", "types",
         R"([1,{"module":7}])"
         "\n"
         R"({"event":"finished","module":"a","record":[]})");
}

void seed_rehearsals()
{
    const std::string digest(64, 'a');
    seed("rehearsal", "con", "c\" comment\ndesign mwc4a 0 1\nfilter.mcb mwc4a 1 0x12\r\n design mwc4a 0 2\n");
    seed("rehearsal", "classic", "odesign mwc4a 0 1x\n\tdesign mwc4a 17 3\n design mwc4a\n");
    seed("rehearsal", "toml",
         "t[defaults]\nload = \"plain\"\n[[module]]\nname = \"a\\\"b\"\nmodule = \"mwc4a:0/1.2\"\n"
         "file = \"a.bit\"\ndevice = \"2v40cs144-4\"\ndigest = \"" +
             digest + "\"\nserial = \"ask\"\ntimeout = 3\nretries = 0\n[[module]]\nmodule = 3\n");
    seed("rehearsal", "manifest",
         "m" + digest + "  a.bit\n" + digest + " *b.bit\r\n\\" + digest + "  c\\\\\\n.bit\n");
    seed("rehearsal", "manifest_of_few_digits", "maaaa  a.bit\n");
    seed(
        "rehearsal", "inventory",
        R"(i{"bus":"mwc4a:0","failure":null,"slots":[{"module":"mwc4a:0/1","slot":1,"kind":"module",)"
        R"("info_words":[1,0,1,0,0],"identity":{"type":2,"model":4,"version":2,"device":"2v40cs144-4",)"
        R"("compression":"yes"},"failure":{"status":7,"number":9061,"what":"w","why":null,"remedy":"r"}}]})");
}

void seed_traces()
{
    constexpr std::uint8_t configured = 5;
    const std::string good = recorded_run(false, configured);
    seed("trace", "good", good);
    seed("trace", "compressed", recorded_run(true, configured));
    seed("trace", "refused", recorded_run(false, 2));
    seed("trace", "failed_open", recorded_run(false, configured, 7));
    seed("trace", "cut", good.substr(0, good.size() / 2));
    seed("trace", "version", "{\"trace\":\"mwapi\",\"version\":2}\n");
    seed("trace", "no_trace", "{}\n");
}

void seed_events()
{
    seed("events", "worker",
         "{\"kvn\":\"events\",\"version\":\"1.0\",\"tool\":\"kvn 1.0.0\"}\n"
         R"({"event":"step","module":"mwc4a:0/1","step":"begin"})"
         "\n"
         R"({"event":"progress","module":"mwc4a:0/1","bytes":1,"total":null,"seconds_left":0.5})"
         "\n"
         R"({"event":"finished","module":"mwc4a:0/1","record":{"module":"mwc4a:0/1","verdict":"failed",)"
         R"("state":"interrupted","attempts":1,"failure":{"status":7}}})"
         "\n");
    seed(
        "events", "record",
        R"({"event":"finished","module":"mwc4a:0/1","record":{"module":"mwc4a:0/1","file":"a.bit","file_size":7,)"
        R"("file_sha256":null,"digest":null,"format":"BIT","design":null,"part":null,)"
        R"("problems":[{"what":"w","remedy":"r","fatal":true}],"identity":{"type":2,"model":4,"version":2,)"
        R"("device":"d","compression":"yes"},"device":null,"mode":"plain","wire_bytes":7,)"
        R"("begin":"2026-11-22T03:44:37.125Z","end":null,"seconds_on_wire":0.5,"attempts":1,"verdict":"failed",)"
        R"("state":"interrupted","answer":4,"failure":{"status":7,"number":null,"what":"w","why":null,)"
        R"("remedy":null},"serial_number":null,"operator_name":null,"station":null,"host":"h",)"
        R"("approved_by":null,"approval_key":null,"tool_version":"1","provider":{"name":"p","file":null,)"
        R"("version":null,"announcement":null,"simulated":true},"sources":{"module":"given","file":"given",)"
        R"("file_size":"observed","format":"observed","identity":"observed","mode":"intended",)"
        R"("wire_bytes":"intended","host":"observed"}}})"
        "\nssh -o 'a b' \"c\\\"d\" e\\ f\n");
    seed(
        "events", "jobs",
        R"({"job":"file","name":"a.bit","name_states_format":true,"size":4,"sha256":"aa",)"
        R"("stored":{"size":4,"sha256":"aa","packing":"none"}})"
        "\n"
        R"({"job":"inventory","bus":"mwc4a:0","modules":["mwc4a:0/1.2"]})"
        "\n"
        R"({"job":"load","module":"mwc4a:0/1","file":"aa/a.bit","judged":{"file_sha256":"aa","device":"d","format":"BIT",)"
        R"("part":"p","digest":"","design":null,"problems":[{"what":"w","remedy":"r"}],"mode":"plain",)"
        R"("wire_bytes":7},"device":"","serial_number":"1","operator_name":null,"station":null,)"
        R"("approved_by":null,"approval_key":null})"
        "\n"
        R"({"job":"cancel"})"
        "\n");
    seed(
        "events", "result",
        R"({"event":"result","status":9,"class":"c","counts":{"configured":1,"refused":0,"failed":0,"cancelled":0,)"
        R"("timed out":1,"not tried":0},"failure":null})");
}
void seed_numbers()
{
    seed("station", "numbers", "4711\r\n 4712 \n4711\n\n\xC3\xA4\nSN 1\n");
    seed("station", "none", "\x1B[2J\n\xFF\n\xC2\x9B\n" + std::string(129, '7') + "\n");
}

void seed_journals()
{
    const std::string good = read_file(DOCS "/journals/rack.journal");
    seed("journal", "empty", "");
    seed("journal", "good", good);
    seed("journal", "torn", good.substr(0, good.size() - 9));
    seed("journal", "header", good.substr(0, good.find('\n') + 1));
    seed("journal", "another_result", good + "{\"event\":\"result\",\"status\":0}\n");
}
#endif
} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        (void)std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    folder = argv[1];
    seed_rbt();
    seed_bit();
    seed_mcb();
    seed_texts();
    seed_replies();
    seed_runs();
#if __has_include("devices.h")
    seed_ports();
    seed_inputs();
    seed_racks();
    seed_conversions();
    seed_calls();
    seed_rack_states();
    seed_reports();
    seed_rehearsals();
    seed_traces();
    seed_events();
    seed_numbers();
    seed_journals();
#endif
    return 0;
}
