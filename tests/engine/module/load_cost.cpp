// SPDX-License-Identifier: Apache-2.0
// One load of a file over the virtual carriers, by the library alone or by the engine: what load_cost_test.py
// compares.
//
//     engine_load_cost make FOLDER                      writes design.rbt, .bit and .mcb, and the rack
//     engine_load_cost WAY PROVIDER FILE MODE           WAY: library or engine; MODE: plain or compressed
#include "file/core_load.h"
#include "load_support.h"
#include "module/bus_session.h"
#include "mwapi_forward.h"
#include "provider/provider.h"
#include "support/text.h"

#include <cstdio>
#include <string_view>

namespace
{
constexpr const char* DEVICE = "2v250fg256-4";
const kvn::BoardName board{"mwc4a", 0};
const kvn::ModuleName module_name{.board = board, .slot = 2};

void print_nothing(char* /*text*/) {}

int make(const std::filesystem::path& folder)
{
    std::filesystem::create_directories(folder);
    const Bytes data = configuration(DEVICE);
    for (const char* name : {"design.rbt", "design.bit", "design.mcb"}) {
        const kvn::Input file = bitstream(name, part_of(DEVICE), data);
        std::string content(file.size(), '\0');
        if (std::fread(content.data(), 1, content.size(), file.open().get()) != content.size())
            return 1;
        write_whole_file(folder / name, content);
    }
    write_whole_file(folder / "rack.toml",
                     std::string{"[[board]]\ntype = \"mwc4a\"\nnumber = 0\n"
                                 "[[board.slot]]\nnumber = 2\nkind = \"fpga\"\nmodel = 4\n"
                                 "compression = \"query\"\ndevice = \""} +
                         DEVICE + "\"\n");
    return 0;
}

kvn::Format format_of(const kvn::Input& file)
{
    return kvn::inspect(file).format();
}

int load_by_library(const std::string& provider, const kvn::Input& file, bool plain)
{
    const auto platform = mwapi::open_provider(provider, nullptr);
    mwapi::install(*platform);
    kvn_fpga_imp session;
    session.user_print = &print_nothing;
    copy_text(session.board_type, board.type);
    session.slot_address = module_name.slot_address();
    session.never_compress = plain ? 1 : 0;
    int error = session.Initialise_Host_KSB(session.board_type, 0);
    if (error == 0)
        error = session.Check_Module(session.board_type, 0, session.slot_address);
    if (error == 0)
        error = load_input(session, file, format_of(file));
    session.Close_KSB();
    return error;
}

int load_by_engine(const std::string& provider, const kvn::Input& file, bool plain)
{
    kvn::LoadControl control;
    control.on_progress = [](const kvn::Progress& /*progress*/) {};
    kvn::BusSession session{*kvn::Provider::open(provider, nullptr), control};
    if (session.open(board) || session.ask(module_name).failure)
        return 1;
    session.core().never_compress = plain ? 1 : 0;
    return load_input(session.core(), file, format_of(file));
}
} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() == 2 && words[0] == "make")
        return make(words[1]);
    if (words.size() != 4)
        return 2;
    const kvn::Input file = kvn::Input::from_path(words[2]);
    const auto load = words[0] == "engine" ? &load_by_engine : &load_by_library;
    return load(words[1], file, words[3] == "plain") == 0 ? 0 : 1;
}
