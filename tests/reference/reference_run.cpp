// The reference model's run control: entry points, command line, help, main driver, file selection, .con
// files.
#include "reference_model.h"

#include <optional>

namespace reference
{

namespace
{

const unsigned KSB_DEVICE = 3;

char lower(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
}

bool is_blank(const std::string& text, std::size_t place)
{
    return place < text.size() && (text[place] == ' ' || text[place] == '\t');
}

std::string without_extension(const std::string& name)
{
    return name.substr(0, name.size() - 4);
}

/// Takes a word that ends at a blank, the line feed or the end of the line, and the blanks before it.
std::string next_field(const std::string& line, std::size_t& place)
{
    while (is_blank(line, place))
        ++place;
    std::string field;
    for (; place < line.size() && !is_blank(line, place) && line[place] != '\n'; ++place)
        field += line[place];
    return field;
}

} // namespace

// Entry points

int Model::decode_action(int action, int unknown, const char* name)
{
    make_mcb = action == 1;
    make_rbt = action == 2;
    if (action < 0 || action > 2)
        return fail(unknown, "Error %d: %s: Unknown action %d.", unknown, name, action);
    return 0;
}

void Model::decode_flags(int flags)
{
    verbose = (flags & 1) != 0;
    prompt_user = (flags & 2) != 0;
    never_compress = (flags & 4) != 0;
}

int Model::board(const char* devstr, int number, int kavrinid, const char* rbtfile, int action, int flags)
{
    initialise();
    board_type_given = true;
    if (devstr == nullptr)
        return fail(9310, "Error 9310: kvn_fpga_board: The 'devstr' parameter is NULL.");
    board_type = std::string(devstr).substr(0, 31);
    board_number_given = true;
    slot_given = true;
    file_is_rbt = true;
    board_number = static_cast<uint16_t>(number);
    slot_address = static_cast<uint8_t>(kavrinid);
    slot = static_cast<uint8_t>(kavrinid & 15);
    if (rbtfile == nullptr)
        return fail(9311, "Error 9311: kvn_fpga_board: The 'rbtfile' parameter is NULL.");
    bitstream_file = std::string(rbtfile).substr(0, 255);
    if (const int error = decode_action(action, 9312, "kvn_fpga_board"))
        return error;
    decode_flags(flags);
    return end_of_run(main_driver());
}

int Model::handle_run(MW_HANDLE* given, int kavrinid, const char* rbtfile, int action, int flags)
{
    initialise();
    if (given == nullptr)
        return fail(9300, "Error 9300: kvn_fpga_handle: The device handle is NULL.");
    char type[256] = "";
    uint32_t kind = 0;
    const uint32_t status = platform_.GetDeviceInfo(given, type, &board_number, &kind);
    if (status != 0)
        return fail(
            9301,
            "Error 9301: kvn_fpga_handle: Cannot retrieve information from device handle (API error 0x%lx).",
            static_cast<unsigned long>(status));
    board_type = std::string(type).substr(0, 31);
    board_type_given = true;
    board_number_given = true;
    if (kind == KSB_DEVICE) {
        handle_is_external = true;
        handle = given;
    }
    slot_given = true;
    file_is_rbt = true;
    slot_address = static_cast<uint8_t>(kavrinid);
    slot = static_cast<uint8_t>(kavrinid & 15);
    if (rbtfile == nullptr)
        return fail(9302, "Error 9302: kvn_fpga_handle: The 'rbtfile' parameter is NULL.");
    bitstream_file = std::string(rbtfile).substr(0, 255);
    if (const int error = decode_action(action, 9303, "kvn_fpga_handle"))
        return error;
    decode_flags(flags);
    return end_of_run(main_driver());
}

int Model::main_with_handle(MW_HANDLE* given, const std::vector<std::string>& arguments)
{
    initialise();
    prompt_user = true;
    if (const int error = parse_command_line(arguments))
        return error;
    if (given != nullptr) {
        char type[256] = "";
        uint16_t number = 0;
        uint32_t kind = 0;
        const uint32_t status = platform_.GetDeviceInfo(given, type, &number, &kind);
        if (status != 0)
            return fail(
                9307,
                "Error 9307: kvn_fpga: Cannot retrieve information from device handle (API error 0x%lx).",
                static_cast<unsigned long>(status));
        const bool type_agrees = !board_type_given || stricmp(board_type, type) == 0;
        const bool number_agrees = !board_number_given || board_number == number;
        if (kind == KSB_DEVICE && type_agrees && number_agrees) {
            handle_is_external = true;
            handle = given;
        }
    }
    return end_of_run(process());
}

int Model::main_plain(const std::vector<std::string>& arguments)
{
    return main_with_handle(nullptr, arguments);
}

int Model::process()
{
    return con_given ? process_con_file() : main_driver();
}

// Command line and help

int Model::parse_command_line(const std::vector<std::string>& arguments)
{
    verbose = board_type_given = board_number_given = slot_given = make_mcb = con_given = false;
    file_is_rbt = file_is_mcb = file_is_bit = never_compress = make_rbt = target_board_given = false;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        const std::size_t length = argument.size();
        if (length == 0 || argument[0] != '-') {
            if (con_given)
                return fail(9003, "Error 9003. A con file was defined twice or more.");
            con_file = argument.substr(0, 255);
            const int extension = check_extension(con_file, ".con");
            if (extension == -1)
                return fail(
                    9004,
                    "Error 9004. %s does not have a .con extension. If you meant to provide a bitstream use the -f option.",
                    con_file.c_str());
            if (extension == 1) {
                con_file_fits = con_file.size() + 4 <= 255;
                if (con_file_fits)
                    con_file += ".con";
            }
            con_given = true;
            continue;
        }
        const char letter = length > 1 ? lower(argument[1]) : '\0';
        const std::string value = length > 2 ? argument.substr(2) : "";
        if (length == 2 && letter == 'v') {
            verbose = true;
        } else if (length == 2 && letter == 'u') {
            prompt_user = false;
        } else if (length == 2 && letter == 'c') {
            make_mcb = true;
        } else if (length == 2 && letter == 'n') {
            never_compress = true;
        } else if (length == 2 && letter == 'r') {
            make_rbt = true;
        } else if (length > 2 && letter == 'f') {
            bitstream_file = value.substr(0, 255);
            file_is_rbt = true;
        } else if (length > 2 && letter == 'd') {
            board_type = value.substr(0, 31);
            board_type_given = true;
        } else if (length > 2 && letter == 's') {
            slot = static_cast<uint8_t>(decimal(value));
            if (static_cast<uint8_t>(slot - 1) > 3)
                return fail(9000, "Error 9000. Slot %d is not a valid slot (must be 1,2,3 or 4).", slot);
            slot_given = true;
        } else if (length > 2 && letter == 't') {
            target_board = decimal(value);
            if (static_cast<uint32_t>(target_board) > 15)
                return fail(9005, "Error 9005. Target board %d not a valid board (must be 0..15).",
                            board_number);
            target_board_given = true;
        } else if (length > 2 && letter == 'b') {
            board_number = static_cast<uint16_t>(decimal(value));
            if (board_number > 15)
                return fail(9001, "Error 9001. Board %d not a valid board (must be 0..15).", board_number);
            board_number_given = true;
        } else {
            return fail(9002, "Error 9002. Unknown option %s.", argument.c_str());
        }
    }
    if (slot_given && target_board_given)
        slot_address = static_cast<uint8_t>(target_board * 16 | slot);
    else if (slot_given && board_number_given)
        slot_address = static_cast<uint8_t>(board_number * 16 | slot);
    return 0;
}

int Model::help()
{
    print("KVN_FPGA   Kavrin-FPGA and Kavrin-IO Configuration Utility version %s\n", "2.7 17/02/06");
    print("                  by Marroway\n\n");
    print("Usage:  KVN_FPGA [options] [configuration description file]\n");
    print("Options:\n");
    print("-f<File>    Specify a bitstream file (.rbt, .mcb, or .bit)\n");
    print("-c          Generate Marroway Compressed Bitstream (.mcb) file from .rbt file\n");
    print("-r          Regenerate .rbt file from Marroway Compressed Bitstream (.mcb) file\n");
    print("-u          Unconditional mode - disable prompting\n");
    print("-v          Verbose mode\n");
    print("-s<no>      Specify Slot to configure.\n");
    print("-t<no>      Specify Board No of Slot (-t/-s together form kavrinid).\n");
    print("            If not specified, slot is assumed to be on board specified with -b.\n");
    print("-d<device>  Specify a [board type] to use e.g. mwc3a, mwc4a etc.\n");
    print("-b<no>      Specify Board No of board that accesses KSB.\n");
    print("-n          Never send to module in compressed format.\n");
    print("\n If no options are specified, environmental variable MWAPIKSB is used \n");
    print("to determine the board type and number. If no MWAPIKSB exists, MWAPIJTAG\n");
    print("is used, if neither exists then the user is prompted. Options specified \n");
    print("on the command line override the environmental settings.");
    pause();
    print("Using KVN_FPGA:\n");
    print("   If no configuration description file is supplied, the program will\n");
    print("   automatically detect any Kavrin-FPGA or Kavrin-IO modules that are in use.\n");
    print("   (Note: the program ignores Kavrin-IO modules that do not have an )\n");
    print("   For each module found, the program will configure the FPGA on that module\n");
    print("   either using the bitstream file that was supplied through the '-f' option,\n");
    print("   or by prompting for the name of a bitstream file to use. The bitstream file\n");
    print("   supplied must be a raw bitstream text file (.RBT file) generated by the\n");
    print("   Xilinx software tools for that \n");
    print("   Alternatively, by supplying a configuration description file (.CON file),\n");
    print("   the raw-bitstream files can be specified for each FPGA module.\n");
    print("   For each module found, the program will ask whether you wish to configure\n");
    print("   the  This can be overridden using the '-u' option to unconditionally\n");
    print("   configure every FPGA module that is found.\n");
    print("   By using the Verbose option, more detailed messages will be displayed during\n");
    print("   program operation.");
    pause();
    print("The Configuration Description File:\n");
    print("   A configuration description file contains one or more lines, each of which\n");
    print("   list a bitstream file, board type, board number and slot number. Using this\n");
    print("   information, the program will attempt to find the module specified and then\n");
    print("   configure the FPGA on that module. A configuration description file must\n");
    print("   have the extension '.con'.\n");
    print("   The first entry in each line must be the name of the RBT bitstream file for\n");
    print("   the specified module. The filename must not be preceded by any white-space.\n");
    print("   The next entry is the board type of the carrier on which the FPGA module is\n");
    print("   located. The next entry is the board number of the carrier, and the final\n");
    print("   entry is the slot number in which the module is located. To add a comment\n");
    print("   line, use a double-quote character as the first character in a line.\n");
    print("   The following lines are an example of a configuration description file:\n");
    print("       \"Bitstream    BoardType    Board ID    Slot\n");
    print("       \"---------    ---------    --------    ----\n");
    print("       example.rbt     mwc4a          0         1\n");
    return pause();
}

// Main driver

uint8_t Model::address_of_slot() const
{
    const int carrier = target_board_given ? target_board : board_number;
    return static_cast<uint8_t>((slot & 7) | (carrier * 16));
}

int Model::main_driver()
{
    if (const int error = determine_bitstream_type())
        return error;
    if (make_mcb) {
        if (file_is_rbt)
            return make_mcb_from_rbt(rbt_fp);
        if (file_is_bit)
            return make_mcb_from_bit(bin_fp);
        if (file_is_mcb)
            return fail(9070, "Error 9070: You cannot compress a compressed (.mcb) file.");
        return fail(9071, "Error 9071: Internal error.");
    }
    if (make_rbt) {
        if (file_is_mcb)
            return make_rbt_from_mcb(bin_fp);
        if (file_is_rbt)
            return fail(9072, "Error 9072: You cannot expand a .rbt file.");
        return fail(9073, "Error 9073: Internal error.");
    }
    if (!board_type_given || !board_number_given) {
        use_environment();
        if (const int error = ask_for_board())
            return error;
    }
    if (board_number >= 16)
        return fail(9076, "Error 9076. Invalid board number %d (should be 0..15).", board_number);
    if (const int error = initialise_host_ksb()) {
        close_ksb();
        return error;
    }
    const int error = find_module_and_load();
    close_ksb();
    return error;
}

void Model::use_environment()
{
    std::optional<std::string> value = environment_.mwapiksb;
    if (!value) {
        if (verbose)
            print("No MWAPIKSB variable found, using MWAPIJTAG.\n");
        value = environment_.mwapijtag;
    }
    if (!value) {
        if (verbose)
            print("No MWAPIJTAG variable found.\n");
        return;
    }
    std::vector<std::string> words;
    std::size_t place = 0;
    while (place < value->size()) {
        if (is_blank(*value, place)) {
            ++place;
            continue;
        }
        std::string word;
        for (; place < value->size() && !is_blank(*value, place); ++place)
            word += (*value)[place];
        words.push_back(word.substr(0, 31));
    }
    const std::string first = words.empty() ? "" : words[0];
    if (!board_type_given) {
        board_type = first;
        board_type_given = true;
        if (verbose)
            print("No boardtype (-d) defined. Use '%s' from MWAPIKSB or MWAPIJTAG..\n", board_type.c_str());
    }
    if (!board_number_given && stricmp(first, board_type) == 0 && words.size() > 1) {
        board_number = static_cast<uint16_t>(decimal(words[1]));
        board_number_given = true;
        if (verbose)
            print("No board (-b) defined. Use boardno %d from MWAPIKSB or MWAPIJTAG.\n", board_number);
        if (slot_given)
            slot_address = address_of_slot();
    }
}

int Model::ask_for_board()
{
    if (!board_type_given) {
        if (!prompt_user)
            return fail(9074, "Error 9074. Please define MWAPIKSB and MWAPIJTAG, or select a board type.");
        xaskstring("What board do you want to open (eg mwc3a, mwc4a)? ", board_type, 31);
    }
    if (!board_number_given) {
        if (!prompt_user)
            return fail(9075, "Error 9075. Please define MWAPIKSB and MWAPIJTAG, or select a board number.");
        std::string answer;
        xaskstring("Board " + board_type + ", but what board number? ", answer, 255);
        board_number = static_cast<uint16_t>(decimal(answer));
        board_number_given = true;
        if (slot_given)
            slot_address = address_of_slot();
    }
    return 0;
}

int Model::find_module_and_load()
{
    if (slot_given) {
        if (static_cast<uint8_t>(slot - 1) > 3)
            return fail(9077, "Error 9077. Invalid slot number %d (should be 1,2,3 or 4).", slot);
        if (const int error = check_module())
            return error;
    } else {
        if (const int error = search_for_modules())
            return error;
        slot = slot_address & 15;
    }
    if (verbose) {
        print("Configuring the module in slot 0x%x, board %d with bitstream\n", slot_address, board_number);
        print("<%s>.\n", bitstream_file.c_str());
    }
    return load_selected_file();
}

int Model::load_selected_file()
{
    if (file_is_rbt)
        return load_rbt();
    if (file_is_mcb)
        return load_mcb();
    if (file_is_bit)
        return load_bit();
    return 0;
}

// Bitstream file selection

bool Model::request_rbt_file()
{
    for (;;) {
        if (!xaskstring("Enter the name of the bitstream RBT, MCB, or BIT file:", bitstream_file, 255))
            return false;
        if (bitstream_file.empty())
            continue;
        if (check_extension(bitstream_file, ".rbt") >= 0 || check_extension(bitstream_file, ".mcb") >= 0 ||
            check_extension(bitstream_file, ".bit") >= 0)
            return true;
        print("Error: incorrect extension. A RBT, MCB, or BIT file must be supplied\n");
    }
}

/// Opens a file of a kind: 'r' RBT, 'm' MCB, 'b' BIT. The flags are left to the caller.
bool Model::try_file(const std::string& name, char kind)
{
    if (name.size() > 255)
        return false;
    FILE*& stream = kind == 'r' ? rbt_fp : bin_fp;
    stream = std::fopen(name.c_str(), kind == 'r' ? "r" : "rb");
    return stream != nullptr;
}

int Model::determine_bitstream_type()
{
    if (!file_is_rbt) {
        if (!prompt_user || !request_rbt_file())
            return fail(9052, "Error 9052. No RBT, MCB, or BIT file specified (-f option).");
    }
    file_is_rbt = false;
    file_is_mcb = false;
    file_is_bit = false;
    return select_file();
}

int Model::select_file()
{
    const std::string name = bitstream_file;
    if (check_extension(name, ".rbt") == 1)
        return select_without_extension(name);
    if (check_extension(name, ".rbt") == 0)
        return select_rbt(name);
    if (check_extension(name, ".mcb") == 0)
        return select_mcb(name);
    if (check_extension(name, ".bit") == 0)
        return select_bit(name);
    return fail(9051, "Error 9051. Incorrect file extension in %s (should be *.rbt, *.mcb, *.bit, or none).",
                name.c_str());
}

int Model::select_without_extension(const std::string& name)
{
    if (make_rbt) {
        if (!try_file(name + ".mcb", 'm'))
            return fail(9042, "Error 9042. Cannot find/open %s.mcb file.", name.c_str());
        bitstream_file = name + ".mcb";
        file_is_mcb = true;
        return 0;
    }
    if (try_file(name + ".rbt", 'r')) {
        bitstream_file = name + ".rbt";
        file_is_rbt = true;
        return 0;
    }
    if (make_mcb)
        return fail(9040, "Error 9040. Cannot find/open %s.rbt file.", name.c_str());
    if (try_file(name + ".mcb", 'm')) {
        bitstream_file = name + ".mcb";
        file_is_mcb = true;
        return 0;
    }
    if (try_file(name + ".bit", 'b')) {
        bitstream_file = name + ".bit";
        file_is_bit = true;
        return 0;
    }
    return fail(9041, "Error 9041. Cannot find/open %s.[rbt/mcb/bit] file.", name.c_str());
}

int Model::select_rbt(const std::string& name)
{
    if (make_rbt)
        return fail(9043, "Error 9043. Sorry, you cannot expand a .rbt file.");
    if (try_file(name, 'r')) {
        file_is_rbt = true;
        return 0;
    }
    if (!prompt_user || make_mcb)
        return fail(9044, "Error 9044. Cannot find/open %s file.", name.c_str());
    if (try_file(without_extension(name) + ".mcb", 'm')) {
        if (!yes("Found only .mcb version of that file, should I use it [y/n]?"))
            return fail(9046, "Error 9046. Cannot find/open %s file.", name.c_str());
        bitstream_file = without_extension(name) + ".mcb";
        file_is_mcb = true;
        return 0;
    }
    if (!try_file(without_extension(name) + ".bit", 'b'))
        return fail(9045, "Error 9045. Cannot find/open %s file.", name.c_str());
    if (!yes("Found only .bit version of that file, should I use it [y/n]?"))
        return fail(9046, "Error 9046. Cannot find/open %s file.", name.c_str());
    bitstream_file = without_extension(name) + ".bit";
    file_is_bit = true;
    return 0;
}

int Model::select_mcb(const std::string& name)
{
    if (make_mcb)
        return fail(9047, "Error 9047. Sorry, cannot compress a .mcb file.");
    if (try_file(name, 'm')) {
        file_is_mcb = true;
        return 0;
    }
    if (!prompt_user || make_rbt)
        return fail(9048, "Error 9048. Cannot find/open %s file.", name.c_str());
    if (try_file(without_extension(name) + ".rbt", 'r')) {
        if (!yes("Found only .rbt version of that file, should I use it [y/n]?"))
            return fail(9050, "Error 9050. Cannot find/open %s file.", name.c_str());
        bitstream_file = without_extension(name) + ".rbt";
        file_is_rbt = true;
        return 0;
    }
    if (!try_file(without_extension(name) + ".bit", 'b') ||
        !yes("Found only .bit version of that file, should I use it [y/n]?"))
        return fail(9049, "Error 9049. Cannot find/open %s file.", name.c_str());
    bitstream_file = without_extension(name) + ".bit";
    file_is_bit = true;
    return 0;
}

int Model::select_bit(const std::string& name)
{
    if (make_rbt)
        return fail(9054, "Error 9054. Sorry, expanding a .bit file is not supported.");
    if (try_file(name, 'b')) {
        file_is_bit = true;
        return 0;
    }
    if (!prompt_user)
        return fail(9055, "Error 9055. Cannot find/open %s file.", name.c_str());
    if (try_file(without_extension(name) + ".rbt", 'r')) {
        if (!yes("Found only .rbt version of that file, should I use it [y/n]?"))
            return fail(9055, "Error 9055. Cannot find/open %s file.", name.c_str());
        bitstream_file = without_extension(name) + ".rbt";
        file_is_rbt = true;
        return 0;
    }
    if (!try_file(without_extension(name) + ".mcb", 'm') ||
        !yes("Found only .mcb version of that file, should I use it [y/n]?"))
        return fail(9055, "Error 9055. Cannot find/open %s file.", name.c_str());
    bitstream_file = without_extension(name) + ".mcb";
    file_is_mcb = true;
    return 0;
}

// Configuration description file

int Model::process_con_file()
{
    FILE* con = con_file_fits ? std::fopen(con_file.c_str(), "r") : nullptr;
    if (con == nullptr)
        return fail(9020, "Error 9020. Failed to find/open file \"%s\".", con_file.c_str());
    prompt_user = false;
    const int result = process_con_lines(con);
    std::fclose(con);
    return result;
}

int Model::process_con_lines(FILE* con)
{
    unsigned configured = 0;
    char buffer[256] = "";
    while (std::fgets(buffer, 256, con) != nullptr) {
        const std::string line = buffer;
        if (line[0] == '"' || line[0] == ' ' || line[0] == '\n')
            continue;
        if (const int error = con_line(line))
            return error;
        ++configured;
    }
    if (configured == 0)
        return fail(9027, "Error 9027. No KAVRIN-FPGA or KAVRIN-IO modules were configured.");
    print("0x%x modules sucessfully configured.\n", configured);
    return 0;
}

int Model::con_line(const std::string& line)
{
    std::size_t place = 0;
    bitstream_file = is_blank(line, 0) ? "" : next_field(line, place).substr(0, 255);
    file_is_rbt = false;
    file_is_mcb = false;
    if (const int error = con_bitstream())
        return error;
    board_type = next_field(line, place).substr(0, 31);
    board_number = static_cast<uint16_t>(decimal(next_field(line, place)));
    if (board_number > 15)
        return fail(9025, "Error 9025. Invalid board number %d (should be 0..15).", board_number);
    slot_address = static_cast<uint8_t>(parse_number(next_field(line, place)));
    slot = slot_address & 15;
    if (slot < 1 || slot > 4)
        return fail(9026, "Error 9026. Invalid slot number %d (should be 1,2,3 or 4).", slot);
    int error = initialise_host_ksb();
    if (error == 0)
        error = check_module();
    if (error == 0)
        error = load_selected_file();
    close_ksb();
    return error;
}

int Model::con_bitstream()
{
    const std::string name = bitstream_file;
    if (check_extension(name, ".rbt") == 1) {
        if (try_file(name + ".rbt", 'r')) {
            bitstream_file = name + ".rbt";
            file_is_rbt = true;
            return 0;
        }
        if (try_file(name + ".mcb", 'm')) {
            bitstream_file = name + ".mcb";
            file_is_mcb = true;
            return 0;
        }
        return fail(9021, "Error 9021. Cannot find/open %s.rbt or %s.mcb file.", name.c_str(), name.c_str());
    }
    if (check_extension(name, ".rbt") == 0) {
        if (!try_file(name, 'r'))
            return fail(9022, "Error 9022. Cannot find/open %s file.", name.c_str());
        file_is_rbt = true;
        return 0;
    }
    if (check_extension(name, ".mcb") == 0) {
        if (!try_file(name, 'm'))
            return fail(9023, "Error 9023. Cannot find/open %s file.", name.c_str());
        file_is_mcb = true;
        return 0;
    }
    return fail(9024, "Error 9024. Incorrect file extension in %s (should be .rbt or .mcb or none).",
                name.c_str());
}

} // namespace reference
