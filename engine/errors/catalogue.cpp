// SPDX-License-Identifier: Apache-2.0
// Every error number of the library: its class, its meaning, what it leaves behind and what to do.
#include "errors/catalogue.h"

#include <algorithm>
#include <array>

namespace kvn
{
namespace
{

constexpr auto internal = ExitStatus::internal;
constexpr auto usage = ExitStatus::usage;
constexpr auto file = ExitStatus::file;
constexpr auto damaged = ExitStatus::damaged;
constexpr auto wrong_device = ExitStatus::wrong_device;
constexpr auto no_module = ExitStatus::no_module;
constexpr auto bus = ExitStatus::bus;
constexpr auto refused = ExitStatus::refused;
using State = ModuleState;

constexpr ErrorEntry call_errors[] = {
    {9215, usage, State::untouched, Topic::none,
     "Error 9215. No function type %d defined. Use type 0,1 or 2.",
     "An application passed `kvn_fpga_set_userfie` another type than 0, 1 or 2. No function was changed.",
     "Pass 0 (wait for a key), 1 (ask for a text) or 2 (ask yes or no)."},
    {9300, usage, State::untouched, Topic::none, "Error 9300: kvn_fpga_handle: The device handle is NULL.",
     "An application passed a null handle.", "Open the device first."},
    {9301, usage, State::untouched, Topic::none,
     "Error 9301: kvn_fpga_handle: Cannot retrieve information from device handle (API error 0x%lx).",
     "The platform does not know the handle; the text shows its code.", "Pass an open handle."},
    {9302, usage, State::untouched, Topic::none,
     "Error 9302: kvn_fpga_handle: The 'rbtfile' parameter is NULL.", "An application passed no file name.",
     "Pass the name of the bitstream."},
    {9303, usage, State::untouched, Topic::none, "Error 9303: kvn_fpga_handle: Unknown action %d.",
     "An application passed another action than 0, 1 or 2.",
     "Pass 0 (configure), 1 (make an MCB file) or 2 (make an RBT file)."},
    {9307, usage, State::untouched, Topic::none,
     "Error 9307: kvn_fpga: Cannot retrieve information from device handle (API error 0x%lx).",
     "The platform does not know the handle; the text shows its code.", "Pass an open handle, or null."},
    {9310, usage, State::untouched, Topic::none,
     "Error 9310: kvn_fpga_board: The 'devstr' parameter is NULL.", "An application passed no board type.",
     "Pass a board type such as `mwc4a`."},
    {9311, usage, State::untouched, Topic::none,
     "Error 9311: kvn_fpga_board: The 'rbtfile' parameter is NULL.", "An application passed no file name.",
     "Pass the name of the bitstream."},
    {9312, usage, State::untouched, Topic::none, "Error 9312: kvn_fpga_board: Unknown action %d.",
     "An application passed another action than 0, 1 or 2.",
     "Pass 0 (configure), 1 (make an MCB file) or 2 (make an RBT file)."},
};

constexpr ErrorEntry command_line_errors[] = {
    {9000, usage, State::untouched, Topic::none,
     "Error 9000. Slot %d is not a valid slot (must be 1,2,3 or 4).",
     "`-s` names a slot outside 1 to 4. The number is cut to 8 bits before the test, so 259 is 3.",
     "Give a slot from 1 to 4."},
    {9001, usage, State::untouched, Topic::none, "Error 9001. Board %d not a valid board (must be 0..15).",
     "`-b` names a board above 15, or a negative one (shown as a large number).",
     "Give the number of the board whose bus is used, 0 to 15."},
    {9002, usage, State::untouched, Topic::none, "Error 9002. Unknown option %s.",
     "An argument begins with `-` and is no option, an option has no value (just `-f`), or a switch is followed by text (`-vv`).",
     "See the [command line](command-line.md). A value follows its letter directly: `-fdesign.rbt`."},
    {9003, usage, State::untouched, Topic::none, "Error 9003. A con file was defined twice or more.",
     "Two arguments do not begin with `-`.",
     "Give one configuration description file; name a bitstream with `-f`."},
    {9004, usage, State::untouched, Topic::none,
     "Error 9004. %s does not have a .con extension. If you meant to provide a bitstream use the -f option.",
     "The argument that does not begin with `-` has another extension than `.con`.",
     "For a bitstream write `-f` before the name. The extension must be lower case."},
    {9005, usage, State::untouched, Topic::none,
     "Error 9005. Target board %d not a valid board (must be 0..15).",
     "`-t` names a board above 15 or below 0. The text shows the number of `-b`, not the one refused.",
     "Give the number of the board that carries the module, 0 to 15."},
};

constexpr ErrorEntry con_file_errors[] = {
    {9020, file, State::untouched, Topic::none, "Error 9020. Failed to find/open file \"%s\".",
     "The configuration description file is missing or cannot be read, or its name is too long (255 characters with extension).",
     "Check name, folder and permissions."},
    {9021, file, State::untouched, Topic::none, "Error 9021. Cannot find/open %s.rbt or %s.mcb file.",
     "A line names a bitstream without an extension, and neither file can be read.",
     "Check the name; it is relative to the working directory. A BIT file must be converted to MCB first."},
    {9022, file, State::untouched, Topic::none, "Error 9022. Cannot find/open %s file.",
     "A line names an RBT file that is missing or cannot be read.", "Check the name and permissions."},
    {9023, file, State::untouched, Topic::none, "Error 9023. Cannot find/open %s file.",
     "A line names an MCB file that is missing or cannot be read.", "Check the name and permissions."},
    {9024, usage, State::untouched, Topic::none,
     "Error 9024. Incorrect file extension in %s (should be .rbt or .mcb or none).",
     "A line names a file with another extension. BIT files are not accepted here.",
     "Convert a BIT file with `-c` and name the MCB file."},
    {9025, usage, State::untouched, Topic::none, "Error 9025. Invalid board number %d (should be 0..15).",
     "The third field of a line is above 15 or negative (shown as a large number).",
     "Give the number of the board whose bus is used, 0 to 15."},
    {9026, usage, State::untouched, Topic::none, "Error 9026. Invalid slot number %d (should be 1,2,3 or 4).",
     "The low four bits of the fourth field are not 1 to 4. A missing field is 0. The field is the whole slot address: 0x21 is slot 1 of board 2.",
     "Give the slot, with the number of its board in the high four bits if that is not board 0. See [.con files](formats/con.md)."},
    {9027, usage, State::untouched, Topic::none,
     "Error 9027. No KAVRIN-FPGA or KAVRIN-IO modules were configured.",
     "The file ended without a line that names a module; comments and lines that begin with a blank name none.",
     "Add a line for each module; it begins in the first column."},
};

constexpr ErrorEntry file_selection_errors[] = {
    {9040, file, State::untouched, Topic::none, "Error 9040. Cannot find/open %s.rbt file.",
     "`-c` with a name without extension, and no RBT file has that name.",
     "Check the name. To compress a BIT file, name it with its extension."},
    {9041, file, State::untouched, Topic::none, "Error 9041. Cannot find/open %s.[rbt/mcb/bit] file.",
     "No RBT, MCB or BIT file of that name can be opened.", "Check name, folder and permissions."},
    {9042, file, State::untouched, Topic::none, "Error 9042. Cannot find/open %s.mcb file.",
     "`-r` with a name without extension, and no MCB file has that name.", "Check the name."},
    {9043, usage, State::untouched, Topic::none, "Error 9043. Sorry, you cannot expand a .rbt file.",
     "`-r` with an RBT file, which is not compressed.", "Name the MCB file."},
    {9044, file, State::untouched, Topic::none, "Error 9044. Cannot find/open %s file.",
     "The RBT file cannot be opened, and no other kind may be offered: questions are off, or `-c` is given.",
     "Check name and permissions."},
    {9045, file, State::untouched, Topic::none, "Error 9045. Cannot find/open %s file.",
     "The RBT file cannot be opened, and neither can an MCB or BIT file of the same name.",
     "Check name and permissions."},
    {9046, file, State::untouched, Topic::none, "Error 9046. Cannot find/open %s file.",
     "The RBT file cannot be opened, and the user refused the file of another kind.",
     "Check the name, or accept the other file."},
    {9047, usage, State::untouched, Topic::none, "Error 9047. Sorry, cannot compress a .mcb file.",
     "`-c` with an MCB file, which is compressed already.", "Name the RBT or BIT file."},
    {9048, file, State::untouched, Topic::none, "Error 9048. Cannot find/open %s file.",
     "The MCB file cannot be opened, and no other kind may be offered: questions are off, or `-r` is given.",
     "Check name and permissions."},
    {9049, file, State::untouched, Topic::none, "Error 9049. Cannot find/open %s file.",
     "The MCB file cannot be opened; no BIT file has that name, or the user refused it.",
     "Check the name, or accept the other file."},
    {9050, file, State::untouched, Topic::none, "Error 9050. Cannot find/open %s file.",
     "The MCB file cannot be opened, and the user refused the RBT file.",
     "Check the name, or accept the other file."},
    {9051, usage, State::untouched, Topic::none,
     "Error 9051. Incorrect file extension in %s (should be *.rbt, *.mcb, *.bit, or none).",
     "The extension is not `.rbt`, `.mcb` or `.bit` in lower case.", "Rename the file, or name another."},
    {9052, usage, State::untouched, Topic::none,
     "Error 9052. No RBT, MCB, or BIT file specified (-f option).",
     "No bitstream was named, and the user cannot be asked: questions are off, or the input has ended.",
     "Name the file with `-f`."},
    {9054, usage, State::untouched, Topic::none, "Error 9054. Sorry, expanding a .bit file is not supported.",
     "`-r` with a BIT file.", "Convert it to MCB with `-c` first, then expand that."},
    {9055, file, State::untouched, Topic::none, "Error 9055. Cannot find/open %s file.",
     "The BIT file cannot be opened, and no file of another kind was found, accepted or allowed to be offered.",
     "Check name and permissions."},
};

constexpr ErrorEntry driver_errors[] = {
    {9070, usage, State::untouched, Topic::none, "Error 9070: You cannot compress a compressed (.mcb) file.",
     "An MCB file was to be compressed: it was accepted in place of a missing BIT file, or `-c` and `-r` were given together.",
     "Name an RBT or BIT file, or omit one of the two options."},
    {9071, internal, State::untouched, Topic::none, "Error 9071: Internal error.",
     "The run lost track of the kind of its file. No command line causes this.",
     "Report it with the command line."},
    {9072, usage, State::untouched, Topic::none, "Error 9072: You cannot expand a .rbt file.",
     "An RBT file was to be expanded. No command line causes this: 9043 comes first.", "Name the MCB file."},
    {9073, internal, State::untouched, Topic::none, "Error 9073: Internal error.",
     "The run lost track of the kind of its file. No command line causes this.",
     "Report it with the command line."},
    {9074, usage, State::untouched, Topic::none,
     "Error 9074. Please define MWAPIKSB and MWAPIJTAG, or select a board type.",
     "The board type is not known from `-d`, `MWAPIKSB` or `MWAPIJTAG`, and questions are off.",
     "Give `-d`, or set one of the [variables](environment.md)."},
    {9075, usage, State::untouched, Topic::none,
     "Error 9075. Please define MWAPIKSB and MWAPIJTAG, or select a board number.",
     "The board number is not known, and questions are off. A number in a variable is used only if the board type there is that of the run.",
     "Give `-b`, or set one of the [variables](environment.md)."},
    {9076, usage, State::untouched, Topic::none, "Error 9076. Invalid board number %d (should be 0..15).",
     "The board number, from a caller, a variable or an answer, is not 0 to 15; a negative one is shown as a large number.",
     "Give a number from 0 to 15."},
    {9077, usage, State::untouched, Topic::none, "Error 9077. Invalid slot number %d (should be 1,2,3 or 4).",
     "An application named a slot outside 1 to 4: the low four bits of the `kavrinid`.",
     "Pass slot + 16 × board, with a slot from 1 to 4."},
};

constexpr ErrorEntry bus_errors[] = {
    {9200, usage, State::untouched, Topic::none, "Error 9200: Invalid board number %d (should be 0..15).",
     "The board number is not 0 to 15. A run detects this earlier: 9025 or 9076.",
     "Give a number from 0 to 15."},
    {9201, no_module, State::untouched, Topic::bus,
     "Error 9201. Cannot open KSB device on board \"%s %d\" (%s).",
     "The serial bus of the board cannot be opened. The platform's words say why.",
     "Check board type and number. If the words mention `KVN_MWAPI`, the utility found no platform library: see the [environment](environment.md)."},
    {9202, bus, State::untouched, Topic::bus,
     "Error 9202. Cannot initialise ReadIoStatus, board \"%s %d\" (%s).",
     "The board was opened, but preparing it for reading failed.", ""},
    {9203, bus, State::untouched, Topic::bus,
     "Error 9203. Cannot initialise WriteIoStatus, board \"%s %d\" (%s).",
     "The board was opened, but preparing it for writing failed.", ""},
};

constexpr ErrorEntry module_errors[] = {
    {9060, bus, State::untouched, Topic::bus,
     "Error 9060. Cannot send KSB message to slot 0x%x (via \"%s %d\") (%s).",
     "The query for the module type could not be sent.", ""},
    {9061, bus, State::untouched, Topic::bus, "Error 9061. Cannot receive KSB message, board \"%s %d\" (%s).",
     "The module did not answer the query for its type.",
     "The module may be off, busy or not programmed to answer."},
    {9062, bus, State::untouched, Topic::none,
     "Error 9062. Expected module type query reply (0x%x), received 0x%x, board \"%s %d\".",
     "The module answered the query for its type with another message; both types are hexadecimal.",
     "Check that no other program uses the module; reset the board."},
    {9190, bus, State::untouched, Topic::bus, "Error 9190. Cannot do MwGetBoardInfo, board \"%s %d\" (%s).",
     "The platform cannot report what is in the slots of the board.", "Check board type and number."},
    {9220, no_module, State::untouched, Topic::none,
     "Error 9220. There is no module in slot %d of board %s %d.", "The named slot is empty.",
     "Check slot and board: the slot may be one of another board, reached over the same bus."},
    {9221, no_module, State::untouched, Topic::none,
     "Error 9221. The module in slot %d of board %s %d is a processor module.",
     "The named slot holds a processor module, which has no FPGA to configure.", "Check slot and board."},
    {9222, no_module, State::untouched, Topic::none,
     "Error 9222. The module in slot %d of board %s %d does not have a serial bus.",
     "The module in the named slot has no serial bus.",
     "This library cannot configure such a module. Check slot and board."},
    {9223, bus, State::untouched, Topic::bus,
     "Error 9223. Cannot send KSB message to slot 0x%x (via \"%s %d\") (%s).",
     "A KAVRIN-FPGA module could not be asked whether it accepts compressed bitstreams.", ""},
    {9224, bus, State::untouched, Topic::bus,
     "Error 9224. Cannot receive KSB message (via board \"%s %d\") (%s).",
     "A KAVRIN-FPGA module did not answer whether it accepts compressed bitstreams.", ""},
    {9225, bus, State::untouched, Topic::none,
     "Error 9225. Error in reply to \"do you support compressed loading?\", got %d, board \"%s %d\".",
     "A KAVRIN-FPGA module answered the compression question with another message; the type is decimal, 12 was expected.",
     "Check that no other program uses the module; reset the board."},
    {9226, bus, State::untouched, Topic::bus,
     "Error 9226. Cannot send KSB message to slot 0x%x (via \"%s %d\") (%s).",
     "A KAVRIN-IO module could not be asked whether it accepts compressed bitstreams.", ""},
    {9227, bus, State::untouched, Topic::bus, "Error 9227. Cannot receive KSB message (via \"%s %d\") (%s).",
     "A KAVRIN-IO module did not answer whether it accepts compressed bitstreams.", ""},
    {9228, bus, State::untouched, Topic::none,
     "Error 9228. Error in reply to \"do you support compressed loading?\", got %d, board \"%s %d\".",
     "A KAVRIN-IO module answered the compression question with another message; the type is decimal, 12 was expected.",
     "Check that no other program uses the module; reset the board."},
};

constexpr ErrorEntry search_errors[] = {
    {9090, bus, State::untouched, Topic::bus,
     "Error 9090. Cannot send KSB message to slot 0x%x, board \"%s %d\" (%s).",
     "A KAVRIN-FPGA module could not be asked whether it accepts compressed bitstreams.",
     "Or name the slot."},
    {9091, bus, State::untouched, Topic::bus,
     "Error 9091. Cannot receive KSB message to slot 0x%x, board \"%s %d\" (%s).",
     "A KAVRIN-FPGA module did not answer whether it accepts compressed bitstreams.", "Or name the slot."},
    {9092, bus, State::untouched, Topic::none,
     "Error 9092. Error in reply to \"Do you support compressed loading?\". (Got 0x%d, expected 0x%x). Board \"%s %d\".",
     "A KAVRIN-FPGA module answered the compression question with another message. The type received is decimal although it follows `0x`; 0xc was expected.",
     "Check that no other program uses the module; reset the board."},
    {9093, bus, State::untouched, Topic::bus,
     "Error 9093. Cannot send KSB message to slot 0x%x, board \"%s %d\" (%s).",
     "A KAVRIN-IO module could not be asked whether it accepts compressed bitstreams.", "Or name the slot."},
    {9094, bus, State::untouched, Topic::bus,
     "Error 9094. Cannot receive KSB message to slot 0x%x, board \"%s %d\" (%s).",
     "A KAVRIN-IO module did not answer whether it accepts compressed bitstreams.", "Or name the slot."},
    {9095, bus, State::untouched, Topic::none,
     "Error 9095. Error in reply to \"Do you support compressed loading?\". (Got 0x%x, expected 0x%x). Board \"%s %d\".",
     "A KAVRIN-IO module answered the compression question with another message; both types are hexadecimal, 0xc was expected.",
     "Check that no other program uses the module; reset the board."},
    {9096, no_module, State::untouched, Topic::none,
     "Error 9096. No KAVRIN-FPGA or KAVRIN-IO modules were configured.",
     "The board has no module that can be configured, or the user accepted none.",
     "Check board type and number, or name the slot; for a module on another board, name that board too."},
};

constexpr ErrorEntry rbt_load_errors[] = {
    {9100, damaged, State::untouched, Topic::reading,
     "Error 9100. Failed to read header section of RBT file %s.", "The RBT file is empty or cannot be read.",
     ""},
    {9101, damaged, State::untouched, Topic::none, "Error 9101. Invalid first line in RBT file %s.",
     "The first line is not `Xilinx ASCII Bitstream` followed only by a line feed: often the file has CR LF line ends, or is no RBT file.",
     "Convert the line ends (`dos2unix`), or name the right file. See [RBT files](formats/rbt.md)."},
    {9102, damaged, State::untouched, Topic::reading,
     "Error 9102. Failed to read header section of RBT file %s.",
     "The file ends inside the first five lines.", ""},
    {9103, wrong_device, State::untouched, Topic::none, "Error 9103. Bitstream %s is not for a %s device.",
     "The part line names another device than the module has. The text names the module's device.",
     "Load a bitstream made for this device, or name another slot."},
    {9104, damaged, State::untouched, Topic::reading,
     "Error 9104. Failed to read header section of RBT file %s.", "The file ends after the part line.", ""},
    {9105, bus, State::untouched, Topic::bus,
     "Error 9105. Cannot start KSB message, slot 0x%x (via '%s %d') (%s).",
     "The load message could not be begun.", ""},
    {9106, bus, State::interrupted, Topic::bus,
     "Error 9106. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "The two bytes that begin the load could not be sent.", ""},
    {9107, damaged, State::interrupted, Topic::none,
     "Error 9107. Incorrect line length (%d), bit_count = %d, in RBT file %s.",
     "Compressed load: a data line is not 32 characters and a line feed. The length includes the line feed; the bit count divided by 32 gives the line.",
     "Make the file again. An empty line at the end has length 1: delete it. Spartan and Spartan-XL: see [their page](formats/spartan.md)."},
    {9108, bus, State::interrupted, Topic::bus,
     "Error 9108. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Compressed load: the count of a run could not be sent.", ""},
    {9109, bus, State::interrupted, Topic::bus,
     "Error 9109. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Compressed load: the value of a run could not be sent.", ""},
    {9110, bus, State::interrupted, Topic::bus,
     "Error 9110. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Compressed load: the count of the last run could not be sent.", ""},
    {9111, bus, State::interrupted, Topic::bus,
     "Error 9111. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Compressed load: the value of the last run could not be sent.", ""},
    {9112, damaged, State::interrupted, Topic::none,
     "Error 9112. Incorrect line length (%d), bit_count = %d, in RBT file %s.",
     "Plain load: a data line is not 32 characters and a line feed. The length includes the line feed; the bit count divided by 32 gives the line.",
     "Make the file again. An empty line at the end has length 1: delete it. Spartan and Spartan-XL: see [their page](formats/spartan.md)."},
    {9113, damaged, State::configured, Topic::none,
     "Error 9113. Configuration successfull, but found incorrect number of bits (%d, %d) in RBT file %s.",
     "The file holds another number of bits (second) than its `bits:` line states (first), but the module reports that its FPGA started.",
     "The file differs from its header: make it again. The FPGA runs, but possibly with a wrong design."},
    {9113, damaged, State::unknown, Topic::none,
     "Error 9113. Incorrect number of bits (%d, %d) in RBT file %s.",
     "The same mismatch, recorded while the load continues. The run returns it only with one of the other texts of 9113 to 9119.",
     "The file differs from its header: make it again. The FPGA runs, but possibly with a wrong design."},
    {9114, bus, State::unknown, Topic::bus,
     "Error 9114. Cannot end KSB message, slot 0x%x (via '%s %d') (%s).",
     "The load message could not be ended.", ""},
    {9115, bus, State::unknown, Topic::bus,
     "Error 9115. Cannot start receive KSB message (via '%s %d') (%s).",
     "The module did not send its verdict.", ""},
    {9116, bus, State::unknown, Topic::bus, "Error 9116. Cannot receive KSB message data (via '%s %d') (%s).",
     "The module's verdict could not be read.", ""},
    {9117, bus, State::unknown, Topic::bus, "Error 9117. Cannot end KSB message (via '%s %d') (%s).",
     "The reply could not be ended.", ""},
    {9118, refused, State::refused, Topic::verdict, "Error 9118. Configuration was unsuccessful (%d).",
     "The module refused the bitstream. The number is its status; 5 would be success.", ""},
    {9119, refused, State::refused, Topic::none,
     "Error 9119. Configuration unsuccessfull. Incorrect number of bits (%d, %d) in RBT file %s.",
     "The module refused the bitstream, and the file holds another number of bits (second) than its `bits:` line states (first).",
     "Make the file again."},
    {9120, damaged, State::untouched, Topic::reading,
     "Error 9120. Failed to read header section of RBT file %s.",
     "The file ends before the line with `bits:`.", ""},
    {9120, damaged, State::untouched, Topic::none, "Error 9121. Failed to find bit size of RBT %s.",
     "Neither line 6 nor line 7 holds `bits:`. **The number returned is 9120 although the text says 9121.**",
     "Make the file again, or repair its header: see [RBT files](formats/rbt.md)."},
    {9122, bus, State::interrupted, Topic::bus,
     "Error 9122. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "The last bytes of the data could not be sent.", ""},
    {9140, bus, State::interrupted, Topic::bus,
     "Error 9140. Cannot send KSB message data, board \"%s %d\" (%s).", "Plain load: data could not be sent.",
     ""},
};

constexpr ErrorEntry mcb_load_errors[] = {
    {9150, damaged, State::untouched, Topic::reading,
     "Error 9150. Failed to read header section of MCB file %s.",
     "The MCB file is shorter than its first eight bytes, or cannot be read.", ""},
    {9151, damaged, State::untouched, Topic::none, "Error 9151. Invalid magic numbers in MCB file %s.",
     "The file does not begin with the bytes 78 12 44 00 88 01 76 00: it is no MCB file.",
     "Name the right file; this one may be a renamed RBT or BIT file."},
    {9152, damaged, State::untouched, Topic::reading,
     "Error 9152. Failed to read device type from MCB file %s.", "The file ends inside the device type.", ""},
    {9153, wrong_device, State::untouched, Topic::none, "Error 9153. Bitstream %s is not for a %s device.",
     "The file names another device than the module has. The text names the module's device.",
     "Load a bitstream made for this device, or name another slot."},
    {9154, damaged, State::untouched, Topic::reading,
     "Error 9154. Failed to read timestamp from MCB file %s.", "The file ends inside the timestamp.", ""},
    {9155, damaged, State::untouched, Topic::reading,
     "Error 9155. Failed to read number of bytes from MCB file %s.", "The file ends inside the byte count.",
     ""},
    {9156, bus, State::untouched, Topic::bus,
     "Error 9156. Cannot start KSB message, slot 0x%x (via '%s %d') (%s).",
     "The load message could not be begun.", ""},
    {9157, bus, State::interrupted, Topic::bus,
     "Error 9157. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "The two bytes that begin the load could not be sent.", ""},
    {9158, file, State::interrupted, Topic::reading, "Error 9158. Failed to read of MCB file %s.",
     "The count of a run could not be read.", ""},
    {9159, damaged, State::interrupted, Topic::reading,
     "Error 9159. End of MCB file %s reached unexpectedly.",
     "The file ends before its runs give the bytes that its header states.", ""},
    {9160, file, State::interrupted, Topic::reading, "Error 9160. Failed to read of MCB file %s.",
     "The value of a run could not be read.", ""},
    {9161, damaged, State::interrupted, Topic::reading,
     "Error 9161. End of MCB file %s reached unexpectedly.",
     "The file ends between the count and the value of a run.", ""},
    {9162, bus, State::interrupted, Topic::bus,
     "Error 9162. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Compressed load: the count of a run could not be sent.", ""},
    {9163, bus, State::interrupted, Topic::bus,
     "Error 9163. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Compressed load: the value of a run could not be sent.", ""},
    {9164, bus, State::interrupted, Topic::bus,
     "Error 9164. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Plain load: the bytes of a run could not be sent.", ""},
    {9165, bus, State::interrupted, Topic::bus,
     "Error 9165. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Compressed load of an older family: the count of the last run could not be sent.", ""},
    {9166, bus, State::interrupted, Topic::bus,
     "Error 9166. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Compressed load of an older family: the value of the last run could not be sent.", ""},
    {9167, bus, State::interrupted, Topic::bus,
     "Error 9167. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Plain load of an older family: a byte of the last run could not be sent.", ""},
    {9168, bus, State::unknown, Topic::bus,
     "Error 9168. Cannot end KSB message, slot 0x%x (via '%s %d') (%s).",
     "The load message could not be ended.", ""},
    {9169, bus, State::unknown, Topic::bus,
     "Error 9169. Cannot start receive KSB message (via '%s %d') (%s).",
     "The module did not send its verdict.", ""},
    {9170, bus, State::unknown, Topic::bus, "Error 9170. Cannot receive KSB message data (via '%s %d') (%s).",
     "The module's verdict could not be read.", ""},
    {9171, bus, State::unknown, Topic::bus, "Error 9171. Cannot end receive KSB message (via '%s %d') (%s).",
     "The reply could not be ended.", ""},
    {9172, refused, State::refused, Topic::verdict, "Error 9172. Configuration was unsuccessful %d.",
     "The module refused the bitstream. The number is its status; 5 would be success.", ""},
    {9173, bus, State::interrupted, Topic::bus,
     "Error 9173. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "The last bytes of the data could not be sent.", ""},
};

constexpr ErrorEntry bit_header_errors[] = {
    {9320, damaged, State::untouched, Topic::reading,
     "Error 9320. Failed to read header section of BIT file %s (magic header length).",
     "The BIT file is empty or cannot be read.", ""},
    {9321, damaged, State::untouched, Topic::none,
     "Error 9321. Expected length of 9 in header section of BIT file %s (found %d).",
     "The file does not begin with 00 09: it is no BIT file.",
     "Name the right file; this one may be a renamed RBT or MCB file."},
    {9322, damaged, State::untouched, Topic::reading,
     "Error 9322. Failed to read header section of BIT file %s (magic string).",
     "The file ends inside its first eleven bytes.", ""},
    {9323, damaged, State::untouched, Topic::none,
     "Error 9323. Header of file %s indicates it is not a BIT file.",
     "The magic bytes of a BIT file are missing.", "Name the right file."},
    {9324, damaged, State::untouched, Topic::reading,
     "Error 9324. Failed to read header section of BIT file %s ('a' char length).",
     "The file ends before the first field.", ""},
    {9325, damaged, State::untouched, Topic::none,
     "Error 9325. Expected length of 1 in header section of BIT file %s (found %d).",
     "The length of the first key is not 1: the header is damaged.", "Make the file again."},
    {9326, damaged, State::untouched, Topic::reading,
     "Error 9326. Failed to read header section of BIT file %s ('a' character).",
     "The file ends before the key `a`.", ""},
    {9327, damaged, State::untouched, Topic::none,
     "Error 9327. Expected to find 'a' in header of BIT file %s, but found %c.",
     "Another byte is in the place of the key `a`: the header is damaged, or the length before it is wrong.",
     "Make the file again."},
    {9328, damaged, State::untouched, Topic::reading,
     "Error 9328. Failed to read header section of BIT file %s (ncd string length).",
     "The file ends inside the length of the design name.", ""},
    {9329, internal, State::untouched, Topic::none,
     "Error 9329. Unable to allocate memory while reading header section of BIT file %s.",
     "There is no memory for the design name.", "Close other programs and try again."},
    {9330, damaged, State::untouched, Topic::reading,
     "Error 9330. Failed to read header section of BIT file %s (ncd string).",
     "The file ends inside the design name.", ""},
    {9331, damaged, State::untouched, Topic::reading,
     "Error 9331. Failed to read header section of BIT file %s ('b' character).",
     "The file ends before the key `b`.", ""},
    {9332, damaged, State::untouched, Topic::none,
     "Error 9332. Expected to find 'b' in header of BIT file %s, but found %c.",
     "Another byte is in the place of the key `b`: the header is damaged, or the length before it is wrong.",
     "Make the file again."},
    {9333, damaged, State::untouched, Topic::reading,
     "Error 9333. Failed to read header section of BIT file %s (device string length).",
     "The file ends inside the length of the device.", ""},
    {9334, internal, State::untouched, Topic::none,
     "Error 9334. Unable to allocate memory while reading header section of BIT file %s.",
     "There is no memory for the device.", "Close other programs and try again."},
    {9335, damaged, State::untouched, Topic::reading,
     "Error 9335. Failed to read header section of BIT file %s (device string).",
     "The file ends inside the device.", ""},
    {9336, wrong_device, State::untouched, Topic::none, "Error 9336. Bitstream %s is not for a %s device.",
     "The file names another device than the module has. The text names the module's device.",
     "Load a bitstream made for this device, or name another slot."},
    {9337, damaged, State::untouched, Topic::reading,
     "Error 9337. Failed to read header section of BIT file %s ('c' character).",
     "The file ends before the key `c`.", ""},
    {9338, damaged, State::untouched, Topic::none,
     "Error 9338. Expected to find 'c' in header of BIT file %s, but found %c.",
     "Another byte is in the place of the key `c`: the header is damaged, or the length before it is wrong.",
     "Make the file again."},
    {9339, damaged, State::untouched, Topic::reading,
     "Error 9339. Failed to read header section of BIT file %s (date string length).",
     "The file ends inside the length of the date.", ""},
    {9340, internal, State::untouched, Topic::none,
     "Error 9340. Unable to allocate memory while reading header section of BIT file %s.",
     "There is no memory for the date.", "Close other programs and try again."},
    {9341, damaged, State::untouched, Topic::reading,
     "Error 9341. Failed to read header section of BIT file %s (date string).",
     "The file ends inside the date.", ""},
    {9342, damaged, State::untouched, Topic::reading,
     "Error 9342. Failed to read header section of BIT file %s ('d' character).",
     "The file ends before the key `d`.", ""},
    {9343, damaged, State::untouched, Topic::none,
     "Error 9343. Expected to find 'd' in header of BIT file %s, but found %c.",
     "Another byte is in the place of the key `d`: the header is damaged, or the length before it is wrong.",
     "Make the file again."},
    {9344, damaged, State::untouched, Topic::reading,
     "Error 9344. Failed to read header section of BIT file %s (time string length).",
     "The file ends inside the length of the time.", ""},
    {9345, internal, State::untouched, Topic::none,
     "Error 9345. Unable to allocate memory while reading header section of BIT file %s.",
     "There is no memory for the time.", "Close other programs and try again."},
    {9346, damaged, State::untouched, Topic::reading,
     "Error 9346. Failed to read header section of BIT file %s (time string).",
     "The file ends inside the time.", ""},
    {9347, damaged, State::untouched, Topic::reading,
     "Error 9347. Failed to read header section of BIT file %s ('e' character).",
     "The file ends before the key `e`.", ""},
    {9348, damaged, State::untouched, Topic::none,
     "Error 9348. Expected to find 'e' in header of BIT file %s, but found %c.",
     "Another byte is in the place of the key `e`: the header is damaged, or the length before it is wrong.",
     "Make the file again."},
    {9349, damaged, State::untouched, Topic::reading,
     "Error 9349. Failed to read header section of BIT file %s (number of bits).",
     "The file ends inside the byte count.", ""},
};

constexpr ErrorEntry bit_load_errors[] = {
    {9350, bus, State::untouched, Topic::bus,
     "Error 9350. Cannot start KSB message, slot 0x%x (via '%s %d') (%s).",
     "The load message could not be begun.", ""},
    {9351, bus, State::interrupted, Topic::bus,
     "Error 9351. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "The two bytes that begin the load could not be sent.", ""},
    {9352, damaged, State::interrupted, Topic::reading,
     "Error 9352. Failed to read BIT file %s (after %d bits read, expected %d).",
     "Compressed load: the file ends before the bits that its header states, its length is no multiple of 4 bytes, or it cannot be read.",
     "The length of Spartan-XL files is never a multiple of 4: see [their page](formats/spartan.md)."},
    {9353, file, State::interrupted, Topic::reading,
     "Error 9353. Incorrect word length (%d), bit_count = %d, in BIT file %s.",
     "Compressed load: a read of the file returned fewer than 4 bytes without an error or the end of the file.",
     ""},
    {9354, bus, State::interrupted, Topic::bus,
     "Error 9354. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Compressed load: the count of a run could not be sent.", ""},
    {9355, bus, State::interrupted, Topic::bus,
     "Error 9355. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Compressed load: the value of a run could not be sent.", ""},
    {9356, bus, State::interrupted, Topic::bus,
     "Error 9356. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Compressed load: the count of the last run could not be sent.", ""},
    {9357, bus, State::interrupted, Topic::bus,
     "Error 9357. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "Compressed load: the value of the last run could not be sent.", ""},
    {9358, damaged, State::interrupted, Topic::reading,
     "Error 9358. Failed to read BIT file %s (after %d bits read, expected %d).",
     "Plain load: the file ends before the bits that its header states, its length is no multiple of 4 bytes, or it cannot be read.",
     "The length of Spartan-XL files is never a multiple of 4: see [their page](formats/spartan.md)."},
    {9359, file, State::interrupted, Topic::reading,
     "Error 9359. Incorrect word length (%d), bit_count = %d, in BIT file %s.",
     "Plain load: a read of the file returned fewer than 4 bytes without an error or the end of the file.",
     ""},
    {9360, damaged, State::unknown, Topic::none,
     "Error 9360. Incorrect number of bits (%d, %d) in BIT file %s.",
     "The file continues after the bits that its header states, or it states none. Recorded while the load continues; the run returns 9365 or 9367, or the failure that follows.",
     "Make the file again."},
    {9361, bus, State::unknown, Topic::bus,
     "Error 9361. Cannot end KSB message, slot 0x%x (via '%s %d') (%s).",
     "The load message could not be ended.", ""},
    {9362, bus, State::unknown, Topic::bus,
     "Error 9362. Cannot start receive KSB message (via '%s %d') (%s).",
     "The module did not send its verdict.", ""},
    {9363, bus, State::unknown, Topic::bus, "Error 9363. Cannot receive KSB message data (via '%s %d') (%s).",
     "The module's verdict could not be read.", ""},
    {9364, bus, State::unknown, Topic::bus, "Error 9364. Cannot end KSB message (via '%s %d') (%s).",
     "The reply could not be ended.", ""},
    {9365, damaged, State::configured, Topic::none,
     "Error 9365. Configuration successfull, but found incorrect number of bits (%d, %d) in BIT file %s.",
     "The file continues after the bits that its header states (first), but the module reports that its FPGA started.",
     "The file differs from its header: make it again. A trailing byte counts as one bit here."},
    {9366, refused, State::refused, Topic::verdict, "Error 9366. Configuration was unsuccessful (%d).",
     "The module refused the bitstream. The number is its status; 5 would be success.", ""},
    {9367, refused, State::refused, Topic::none,
     "Error 9367. Configuration unsuccessfull. Incorrect number of bits (%d, %d) in BIT file %s.",
     "The module refused the bitstream, and the file continues after the bits that its header states (first).",
     "Make the file again."},
    {9368, bus, State::interrupted, Topic::bus,
     "Error 9368. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
     "The last bytes of the data could not be sent.", ""},
    {9390, bus, State::interrupted, Topic::bus,
     "Error 9390. Cannot send KSB message data, board \"%s %d\" (%s).", "Plain load: data could not be sent.",
     ""},
};

constexpr ErrorEntry rbt_to_mcb_errors[] = {
    {9240, damaged, State::untouched, Topic::reading,
     "Error 9240. Failed to read header section of RBT file %s.", "The RBT file is empty or cannot be read.",
     ""},
    {9241, damaged, State::untouched, Topic::none, "Error 9241. Invalid first line in RBT file %s.",
     "The first line is not `Xilinx ASCII Bitstream` followed only by a line feed.",
     "Convert the line ends (`dos2unix`), or name the right file. See [RBT files](formats/rbt.md)."},
    {9242, file, State::untouched, Topic::writing, "Error 9242. Cannot open/create MCB file %s.",
     "The MCB file cannot be created, or its name is a link to the input.",
     "If the name is a link to the input, remove the link or rename the input."},
    {9243, file, State::untouched, Topic::writing, "Error 9243. Cannot write header to MCB file %s.",
     "The first magic number could not be written.", ""},
    {9244, file, State::untouched, Topic::writing, "Error 9244. Cannot write header to MCB file %s.",
     "The second magic number could not be written.", ""},
    {9245, damaged, State::untouched, Topic::reading,
     "Error 9245. Failed to read header section of RBT file %s.",
     "The RBT file ends inside the first five lines.", ""},
    {9246, file, State::untouched, Topic::writing, "Error 9246. Cannot write header to MCB file %s.",
     "The device type could not be written.", ""},
    {9247, damaged, State::untouched, Topic::reading,
     "Error 9247. Failed to read header section of RBT file %s.", "The RBT file ends after the part line.",
     ""},
    {9248, file, State::untouched, Topic::writing, "Error 9248. Cannot write header to MCB file %s.",
     "The timestamp could not be written.", ""},
    {9249, damaged, State::untouched, Topic::reading,
     "Error 9249. Failed to read header section of RBT file %s.",
     "The RBT file ends before the line with `bits:`.", ""},
    {9250, file, State::untouched, Topic::writing, "Error 9250. Cannot write header to MCB file %s.",
     "The byte count could not be written.", ""},
    {9251, damaged, State::untouched, Topic::none,
     "Error 9251. Incorrect line length. Bit_count = %d. In RBT file %s.",
     "A data line is not 32 characters and a line feed. The bit count divided by 32 gives the line.",
     "Make the file again. An empty line at the end has length 1: delete it. Spartan and Spartan-XL: see [their page](formats/spartan.md)."},
    {9252, file, State::untouched, Topic::writing, "Error 9252. Cannot write MCB file data to MCB file %s.",
     "The count of a run could not be written.", ""},
    {9253, file, State::untouched, Topic::writing, "Error 9253. Cannot write MCB file data to MCB file %s.",
     "The value of a run could not be written.", ""},
    {9254, file, State::untouched, Topic::writing, "Error 9254. Cannot write MCB file data to MCB file %s.",
     "The count of the last run could not be written.", ""},
    {9255, file, State::untouched, Topic::writing, "Error 9255. Cannot write MCB file data to MCB file %s.",
     "The value of the last run could not be written, or the file could not be completed when it was closed.",
     ""},
    {9256, damaged, State::untouched, Topic::none, "Error 9256. Incorrect number of bits in RBT file %s.",
     "The file holds another number of bits than its `bits:` line states. The MCB file has been written, but states the number of the header.",
     "Make the RBT file again; do not use the MCB file."},
    {9257, damaged, State::untouched, Topic::none, "Error 9257. Failed to find bit size of RBT file %s.",
     "Neither line 6 nor line 7 of the RBT file holds `bits:`.",
     "Make the file again, or repair its header: see [RBT files](formats/rbt.md)."},
};

constexpr ErrorEntry bit_to_mcb_errors[] = {
    {9400, internal, State::untouched, Topic::none,
     "Error 9400. Internal error. No RBT (0) or BIT (1) file selected (but %d).",
     "The converter was called for an unknown kind of file. No command line causes this.",
     "Report it with the command line."},
    {9410, file, State::untouched, Topic::writing, "Error 9410. Cannot open/create MCB file %s.",
     "The MCB file cannot be created, or its name is a link to the input.",
     "If the name is a link to the input, remove the link or rename the input."},
    {9411, file, State::untouched, Topic::writing, "Error 9411. Cannot write header to MCB file %s.",
     "The first magic number could not be written.", ""},
    {9412, file, State::untouched, Topic::writing, "Error 9412. Cannot write header to MCB file %s.",
     "The second magic number could not be written.", ""},
    {9413, file, State::untouched, Topic::writing, "Error 9413. Cannot write header to MCB file %s.",
     "The device type could not be written.", ""},
    {9414, file, State::untouched, Topic::writing, "Error 9414. Cannot write header to MCB file %s.",
     "The timestamp could not be written.", ""},
    {9415, file, State::untouched, Topic::writing, "Error 9415. Cannot write header to MCB file %s.",
     "The byte count could not be written.", ""},
    {9416, damaged, State::untouched, Topic::reading,
     "Error 9416. Failed to read BIT file %s (after %d bits read, expected %d).",
     "The BIT file ends before the bits that its header states, its length is no multiple of 4 bytes, or it cannot be read.",
     "The length of Spartan-XL files is never a multiple of 4: see [their page](formats/spartan.md)."},
    {9417, file, State::untouched, Topic::reading,
     "Error 9417. Incorrect word length (%d), bit_count = %d, in BIT file %s.",
     "A read of the BIT file returned fewer than 4 bytes without an error or the end of the file.", ""},
    {9418, file, State::untouched, Topic::writing, "Error 9418. Cannot write MCB file data to MCB file %s.",
     "The count of a run could not be written.", ""},
    {9419, file, State::untouched, Topic::writing, "Error 9419. Cannot write MCB file data to MCB file %s.",
     "The value of a run could not be written.", ""},
    {9420, file, State::untouched, Topic::writing, "Error 9420. Cannot write MCB file data to MCB file %s.",
     "The count of the last run could not be written.", ""},
    {9421, file, State::untouched, Topic::writing, "Error 9421. Cannot write MCB file data to MCB file %s.",
     "The value of the last run could not be written, or the file could not be completed when it was closed.",
     ""},
    {9422, damaged, State::untouched, Topic::none, "Error 9422. Incorrect number of bits in BIT file %s.",
     "At least 1024 bytes follow the data that the header states, or it states none.",
     "Make the BIT file again; do not use the MCB file."},
};

constexpr ErrorEntry mcb_to_rbt_errors[] = {
    {9270, damaged, State::untouched, Topic::reading,
     "Error 9270. Failed to read header section of MCB file %s.",
     "The MCB file is shorter than its first eight bytes, or cannot be read.", ""},
    {9271, damaged, State::untouched, Topic::none, "Error 9271. Invalid magic numbers in MCB file %s.",
     "The file does not begin with the bytes 78 12 44 00 88 01 76 00: it is no MCB file.",
     "Name the right file."},
    {9272, damaged, State::untouched, Topic::reading,
     "Error 9272. Failed to read device type from MCB file %s.", "The file ends inside the device type.", ""},
    {9273, file, State::untouched, Topic::writing, "Error 9273. Cannot open/create RTB file %s.",
     "The RBT file cannot be created, or its name is a link to the input.",
     "If the name is a link to the input, remove the link or rename the input."},
    {9274, file, State::untouched, Topic::writing,
     "Error 9274. Failed to write header section of RBT file %s.", "The title line could not be written.",
     ""},
    {9275, file, State::untouched, Topic::writing,
     "Error 9275. Failed to write header section of RBT file %s.",
     "A `Generated by` line could not be written.", ""},
    {9276, file, State::untouched, Topic::writing,
     "Error 9276. Failed to write header section of RBT file %s.", "The part line could not be written.", ""},
    {9277, damaged, State::untouched, Topic::reading, "Error 9277. Failed to read MCB file %s.",
     "The MCB file ends inside the timestamp.", ""},
    {9278, damaged, State::untouched, Topic::reading, "Error 9278. Failed to read MCB file %s.",
     "The MCB file ends inside the byte count.", ""},
    {9279, file, State::untouched, Topic::writing,
     "Error 9279. Failed to write header section of RBT file %s.", "The timestamp could not be written.", ""},
    {9280, file, State::untouched, Topic::reading, "Error 9280. Failed to read MCB file %s.",
     "The count of a run could not be read.", ""},
    {9281, damaged, State::untouched, Topic::reading, "Error 9281. End of MCB file %s reached unexpectedly.",
     "The file ends before its runs give the bytes that its header states.", ""},
    {9282, file, State::untouched, Topic::reading, "Error 9282. Failed to read MCB file %s.",
     "The value of a run could not be read.", ""},
    {9283, damaged, State::untouched, Topic::reading, "Error 9283. End of mcb file %s reached unexpectedly.",
     "The file ends between the count and the value of a run.", ""},
    {9284, damaged, State::untouched, Topic::none, "Error 9284. Incorrect number of bytes in MCB file %s.",
     "The last run gives more bytes than the header states, or the header states a negative number. The RBT file has been written.",
     "Make the MCB file again; do not use the RBT file."},
    {9295, file, State::untouched, Topic::writing, "Error 9295. Failed to write to RBT file %s.",
     "A `1` of a data line could not be written.", ""},
    {9296, file, State::untouched, Topic::writing, "Error 9296. Failed to write to RBT file %s.",
     "A `0` of a data line could not be written.", ""},
    {9297, file, State::untouched, Topic::writing, "Error 9297. Failed to write to RBT file %s.",
     "The end of a data line could not be written, or the file could not be completed when it was closed.",
     ""},
};

constexpr ErrorSection sections[] = {
    {"Calls from an application", call_errors},
    {"Command line", command_line_errors},
    {"Configuration description file", con_file_errors},
    {"Choosing the bitstream file", file_selection_errors},
    {"Choosing the board and the action", driver_errors},
    {"Opening the bus", bus_errors},
    {"Checking a module", module_errors},
    {"Searching a board", search_errors},
    {"Loading an RBT file", rbt_load_errors},
    {"Loading an MCB file", mcb_load_errors},
    {"The header of a BIT file", bit_header_errors},
    {"Loading a BIT file", bit_load_errors},
    {"Making an MCB file from an RBT file", rbt_to_mcb_errors},
    {"Making an MCB file from a BIT file", bit_to_mcb_errors},
    {"Making an RBT file", mcb_to_rbt_errors},
};

constexpr TopicEntry topics[] = {
    {Topic::bus, "The bus",
     "A call to the platform failed; the platform's words are in parentheses. Nothing more was sent, and the bus was closed, unless the application opened it. A load that fails here leaves its message open: the module has received a part of the bitstream, and its FPGA is not configured.",
     "Check that the board is powered and the module seated, that board type, board number and slot are right, and that no other program uses the bus. Then run again. A handle of the application on which a load failed holds the open message, and every later run on it ends with 9060: close the handle and open it again. If a module no longer answers, reset its board."},
    {Topic::reading, "Reading a file", "The file ended too early, or could not be read.",
     "Compare its size with the original, copy it or make it again, and check the system's log for errors of the disk."},
    {Topic::writing, "Writing a file",
     "The disk is full, the folder or an existing file is not writable, or the disk failed. A full disk may be noticed only when the file is closed, after the line that says \"Done\"; the run then returns the number of the last write, never 0.",
     "Free space, or choose another folder. The incomplete file stays on the disk: delete it."},
    {Topic::verdict, "The module's verdict",
     "The module received the whole message and reports that its FPGA did not start. The module's own documentation explains the number; the statuses of the virtual carriers are on [their page](virtual-carrier.md). Spartan and Spartan-XL devices are refused by every plain and every MCB load: see [their page](formats/spartan.md).",
     "Check that the bitstream was made for exactly this device, package and start-up clock, and that the file is complete."},
};

constexpr std::array<std::string_view, 13> status_meanings = {
    "all done, or nothing to do",
    "internal: a mistake of ours, no memory",
    "usage: command line, plan file, environment",
    "a file cannot be opened, read or written",
    "a file is damaged, or no bitstream",
    "the bitstream is for another device than the module has",
    "no such board, slot or module, or the provider cannot be loaded",
    "the bus failed",
    "the module refused the configuration",
    "several modules, several outcomes: see the records",
    "the rehearsal found problems; nothing was sent",
    "cancelled",
    "timed out",
};

constexpr VerdictEntry verdict_entries[] = {
    {1, "No synchronisation word was found (Spartan, Spartan-XL: no preamble).",
     "Check that the file is a bitstream, and that its bytes are in the order of its format: `kvn info`."},
    {2, "A CRC word, or check bits, differ from the data.",
     "Copy the file again in binary mode, or make it again: `kvn check` says where it is damaged. If the file is good, data were changed on the bus."},
    {3,
     "The device ID, the frame length, the number of frames or the length count are those of another device.",
     "Load the bitstream that was made for the module's device."},
    {4, "No error so far, but the data ended before the start-up.",
     "Compare the file's size with the original. For Spartan and Spartan-XL see [their page](formats/spartan.md)."},
    {5, "The FPGA has started: DONE is high.", "Nothing is to be done."},
    {6, "A compressed load ended inside a pair of count and byte; the FPGA is stopped.",
     "Load again; if it happens again, data were lost on the bus. `KVN_FPGA -n` and `kvn load --plain` send none that are compressed."},
    {7, "The board byte of the load's header is wrong or missing.",
     "Load with this library: it writes the header. Programs that send messages of their own must send 5 plus 8 times the number of the opened board."},
    {8, "A compressed load was sent to a module that accepts only plain ones.",
     "Load without compression: `KVN_FPGA -n`, `kvn load --plain`."},
    {9, "Words or packets came that the configuration port does not know.",
     "Make the bitstream again with the ordinary options of the tools. Encrypted bitstreams, and multiple frame writes, are beyond the virtual chips."},
    {10, "The module has no FPGA that can be loaded.",
     "Name the module that you mean: `kvn list` shows all."},
};

struct StateWords {
    std::string_view name;
    std::string_view meaning;
};

constexpr StateWords state_words[] = {
    {"untouched", "nothing of the load has reached it"},
    {"interrupted", "it has part of the data and does not run"},
    {"refused", "it has all data and does not run"},
    {"configured", "its FPGA runs"},
    {"unknown", "it has all data, and its verdict is not known"},
};

} // namespace

std::string_view about_statuses()
{
    return "These are the statuses of virtual modules. Of a real module it is known that 5 means success and any other "
           "status that the FPGA has not started; why is in the module's own documentation, and the same number may "
           "mean something else there. A status never tells whether the file or the bus is at fault: load another "
           "file that is known to be good to find out.";
}

std::span<const VerdictEntry> verdicts()
{
    return verdict_entries;
}

const VerdictEntry* find_verdict(int status)
{
    const auto* found = std::ranges::find(verdict_entries, status, &VerdictEntry::status);
    return found == std::end(verdict_entries) ? nullptr : found;
}

std::span<const ErrorSection> error_sections()
{
    return sections;
}

std::span<const TopicEntry> error_topics()
{
    return topics;
}

const ErrorEntry* find_error(int number)
{
    for (const ErrorSection& section : sections) {
        const auto found = std::ranges::find(section.entries, number, &ErrorEntry::number);
        if (found != section.entries.end())
            return &*found;
    }
    return nullptr;
}

const TopicEntry* find_topic(Topic topic)
{
    const auto* found = std::ranges::find(topics, topic, &TopicEntry::topic);
    return found == std::end(topics) ? nullptr : found;
}

ExitStatus exit_status_of(int error)
{
    if (error == 0)
        return ExitStatus::done;
    const ErrorEntry* entry = find_error(error);
    return entry == nullptr ? ExitStatus::internal : entry->status;
}

std::string_view meaning_of(ExitStatus status)
{
    return status_meanings[static_cast<std::size_t>(status)];
}

std::string_view name_of(ModuleState state)
{
    return state_words[static_cast<std::size_t>(state)].name;
}

std::string_view meaning_of(ModuleState state)
{
    return state_words[static_cast<std::size_t>(state)].meaning;
}

std::string plain_text(std::string_view markdown)
{
    std::string plain;
    for (std::size_t at = 0; at < markdown.size(); ++at) {
        const std::string_view rest = markdown.substr(at);
        if (rest.starts_with("](")) {
            const std::string_view target = rest.substr(2, rest.find(')') - 2);
            plain.append(" (docs/").append(target).append(")");
            at += target.size() + 2;
        } else if (rest.starts_with("**")) {
            ++at;
        } else if (rest.front() != '`' && rest.front() != '[') {
            plain += rest.front();
        }
    }
    return plain;
}

} // namespace kvn
