// SPDX-License-Identifier: Apache-2.0
// Virtual carrier boards: the board-access API in software, set up and inspected by a program's tests.
//
// A Carrier is a rack of boards with modules in their slots. While it exists, the sixteen Mw... functions of
// this library act on it instead of the rack that MWVIRTUAL_RACK describes.
//
//     mwvirtual::Carrier carrier;
//     carrier.board("mwc4a", 0).slot(2,
//     mwvirtual::fpga_module(4).device("2v3000fg676-4").accepts_compressed());
//     ... run the program under test ...
//     assert(carrier.contents("mwc4a", 0, 2).done);
#ifndef MWVIRTUAL_VIRTUAL_CARRIER_H
#define MWVIRTUAL_VIRTUAL_CARRIER_H

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#define MWVIRTUAL_API __attribute__((visibility("default")))

namespace mwvirtual
{

/// The sixteen functions of the API.
enum class Function : unsigned {
    MwOpenS,
    MwClose,
    MwErr2Text,
    MwGetBoardInfo,
    MwGetDeviceInfo,
    MwInitIoStatus,
    MwKSBSendMessage,
    MwKSBReceiveMessage,
    MwKSBSendMessageEx,
    MwKSBReceiveMessageEx,
    MwKSBStartSendMessageEx,
    MwKSBSendMessageDataEx,
    MwKSBEndOfSendMessageEx,
    MwKSBStartReceiveMessageEx,
    MwKSBReceiveMessageDataEx,
    MwKSBEndOfReceiveMessageEx
};
inline constexpr std::size_t FUNCTION_COUNT = 16;

[[nodiscard]] MWVIRTUAL_API const char* function_name(Function function);

/// The codes of the virtual carriers; MwErr2Text has a text for each.
enum Code : std::uint32_t {
    SUCCESS = 0,
    BAD_RACK =
        0xE0000001, ///< the rack description has a mistake; the text gives file, line and what was expected
    NO_SUCH_BOARD = 0xE0000002,    ///< no board of this type and number in the rack
    NO_SUCH_DEVICE = 0xE0000003,   ///< the board has no device of this name ("ksb" and "jtag" exist)
    NULL_POINTER = 0xE0000004,     ///< a required pointer is null
    UNKNOWN_HANDLE = 0xE0000005,   ///< never opened here, or closed
    NOT_A_KSB = 0xE0000006,        ///< the handle's device is no serial bus
    BAD_SLOT = 0xE0000007,         ///< slots are 1 to 4
    NOT_ON_BUS = 0xE0000008,       ///< the board is not reached over the opened board's bus
    NO_MODULE = 0xE0000009,        ///< the slot is empty
    NO_SERIAL_BUS = 0xE000000A,    ///< the module in the slot has no serial bus
    MESSAGE_OPEN = 0xE000000B,     ///< a message is still being sent on this handle
    NO_OPEN_MESSAGE = 0xE000000C,  ///< data or an end without a started message
    MODULE_BUSY = 0xE000000D,      ///< another handle is sending to the module
    NO_REQUEST = 0xE000000E,       ///< a reply without a request
    NO_REPLY = 0xE000000F,         ///< the module did not answer within the time-out
    REPLY_OPEN = 0xE0000010,       ///< a reply is still being received on this handle
    NO_OPEN_REPLY = 0xE0000011,    ///< data or an end without a started reply
    TOO_MANY_REPLIES = 0xE0000012, ///< too many replies wait to be received
    MESSAGE_EMPTY = 0xE0000013,    ///< a message of pieces ended without any byte
    KEEP_FAILED = 0xE0000014,      ///< a load ended, but its file could not be kept; the text says why
    STATE_FAILED = 0xE0000015      ///< the state of a module cannot be read or kept; the text says why
};

/// A module's verdict on a load: the first byte of its reply.
enum class Verdict : std::uint8_t {
    no_synchronisation = 1,  ///< no synchronisation word (Spartan: no preamble)
    crc_error = 2,           ///< a CRC or check bits differ
    wrong_device = 3,        ///< device ID, frame length, frames or length count of another device
    data_short = 4,          ///< the data ended before the start-up
    success = 5,             ///< DONE is high
    run_coding_broken = 6,   ///< a compressed load ended inside a pair
    wrong_load_header = 7,   ///< the board byte of the load header is wrong or missing
    compression_refused = 8, ///< a compressed load to a module that accepts only plain ones
    violation = 9,           ///< words or packets unknown to the configuration port
    no_fpga = 10             ///< the module has no FPGA that can be loaded
};

[[nodiscard]] MWVIRTUAL_API const char* verdict_name(Verdict verdict);

enum class ModuleKind { fpga, io, other, processor, no_bus };

/// How a module reports that it accepts compressed loads.
enum class Compression {
    none,
    query, ///< in its answer to the compression query
    record ///< in byte 29 of its identification record
};

enum class Reply { identification, compression, load };

/// A wrong answer of a module.
struct ReplyFault {
    enum class Kind { other_type, short_reply, no_reply, status };
    Kind kind;
    Reply reply;
    unsigned value = 0; ///< the type, the length or the status
    unsigned nth = 0;   ///< only the n-th reply of this kind; 0: every one
};

/// The description of a module for a slot. Start with fpga_module() or one of the functions after it.
struct MWVIRTUAL_API Module {
    ModuleKind kind = ModuleKind::fpga;
    unsigned type = 2; ///< byte 0 of the identification record
    unsigned model = 4;
    unsigned version_number = 1;
    std::string device_name = {};
    Compression compression = Compression::none;
    std::string keep_file = {};
    std::vector<ReplyFault> faults;
    std::vector<std::uint32_t> info_words; ///< up to five, in place of the board-information record's own
    bool keep_data = true;

    /// The FPGA's name, 26 characters at most: "2v3000fg676-4". Known devices get a model of their chip.
    Module& device(std::string name);
    Module& version(unsigned number);
    /// Accepts compressed loads, and reports so in the way of its model.
    Module& accepts_compressed();
    Module& tells_compression(Compression how);
    /// Writes the plain configuration bytes that reached the FPGA to a file when a load ends. An existing
    /// file of that name is overwritten. If the file cannot be written, the call that ends the load fails
    /// with KEEP_FAILED and the module does not reply.
    /// @param file a plain name in the folder for kept files (Carrier::keep_folder), without '/', neither "."
    /// nor
    ///             ".."; throws std::invalid_argument for others, as Board::slot does
    Module& keep(std::string file);
    /// Judges and counts the bytes of loads, and keeps none of them: received and configuration of its
    /// Contents stay empty. A file named by keep() is then empty too.
    Module& keeps_no_data();
    Module& info(std::vector<std::uint32_t> words);

    Module& answers_type(Reply reply, std::uint8_t message_type, unsigned nth = 0);
    Module& answers_short(Reply reply, std::size_t length, unsigned nth = 0);
    Module& does_not_answer(Reply reply, unsigned nth = 0);
    /// Answers loads with this status, whatever their result.
    Module& answers_status(std::uint8_t status, unsigned nth = 0);
};

[[nodiscard]] MWVIRTUAL_API Module fpga_module(unsigned model = 4);
[[nodiscard]] MWVIRTUAL_API Module io_module(unsigned model = 5);
/// A module of another type, which answers the identification query and nothing else.
[[nodiscard]] MWVIRTUAL_API Module other_module(unsigned type);
[[nodiscard]] MWVIRTUAL_API Module processor_module();
[[nodiscard]] MWVIRTUAL_API Module module_without_bus();

/// The result of a module's last load.
struct Contents {
    std::size_t loads = 0;                   ///< messages with a load command, including an unfinished one
    bool finished = false;                   ///< the last one was ended
    bool compressed = false;                 ///< its command was that of a compressed load
    std::vector<std::uint8_t> received = {}; ///< its bytes unchanged, including the load header
    std::vector<std::uint8_t> configuration = {}; ///< the plain bytes for the FPGA, first bit in bit 0
    bool done = false;                            ///< the FPGA runs
    Verdict verdict = Verdict::data_short;        ///< of the last finished load, before planned faults
    std::string reason = {};                      ///< the verdict in words, with figures
    std::uint64_t received_bytes = 0;             ///< including the load header, kept or not
    std::uint64_t configuration_bytes = 0;        ///< that reached the FPGA, kept or not
};

/// One call of a platform function.
struct MWVIRTUAL_API Call {
    Function function = Function::MwOpenS;
    unsigned handle = 0; ///< 1 for the first one opened, 0 for none or an unknown one
    std::string board_type = {};
    std::string device = {};
    std::uint32_t board = 0;
    std::uint32_t slot = 0;
    std::uint32_t type = 0;   ///< message type, sent or received
    std::uint32_t length = 0; ///< of the data sent, or the size of the receiving buffer
    std::uint32_t timeout = 0;
    std::uint32_t code = 0; ///< the argument of MwErr2Text
    std::string data = {};  ///< bytes sent or received
    std::uint32_t result = 0;

    /// The call as one line: MwKSBSendMessageDataEx(0D 05, 5000)
    [[nodiscard]] std::string text() const;
};

/// A mistake in a rack description: "rack.toml:12: unknown key ...".
class MWVIRTUAL_API RackError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class Rack;

/// A reference to a board of a carrier's rack; cheap to copy.
class MWVIRTUAL_API Board
{
public:
    Board(Rack& rack, std::size_t index) : rack_{&rack}, index_{index} {}

    /// Puts a module into a slot, 1 to 4, replacing its content.
    Board& slot(unsigned number, const Module& module);
    Board& empty_slot(unsigned number);
    /// The board can also be reached over another board's bus.
    Board& reached_over(const std::string& type, std::uint16_t number);
    /// False: the host cannot open the board itself, only reach it over another board's bus. Default true.
    Board& opens(bool allowed);
    /// The time for each message and each byte on the bus of this board; default: none.
    Board& latency(std::chrono::microseconds each_message);
    Board& bandwidth(std::uint64_t bytes_per_second);
    /// The leading word of the board-information record.
    Board& info_word(std::uint32_t word);
    /// In every message sent in pieces over this bus, the byte after the first `after` bytes is lost, or its
    /// bits in the mask are inverted.
    Board& drops_byte(std::uint64_t after);
    Board& flips_byte(std::uint64_t after, std::uint8_t mask = 0xFF);

private:
    Rack* rack_;
    std::size_t index_;
};

/// A rack of virtual boards. While it lives it is what the platform functions act on; of several, the most
/// recently created one. No call may be running on another thread when it is destroyed.
class MWVIRTUAL_API Carrier
{
public:
    Carrier();
    /// A rack described in TOML; reports of mistakes name file_name. Throws RackError, also for a slot with
    /// "keep" when MWVIRTUAL_KEEP names no folder.
    static Carrier from_toml(const std::string& text, const std::string& file_name = "rack");
    /// @param path must lead to a regular file
    static Carrier from_file(const std::string& path);
    /// The same with a folder for kept files, in place of MWVIRTUAL_KEEP.
    static Carrier from_toml(const std::string& text, const std::string& file_name,
                             const std::string& keep_folder);
    static Carrier from_file(const std::string& path, const std::string& keep_folder);
    ~Carrier();
    Carrier(Carrier&& other) noexcept;
    Carrier(const Carrier&) = delete;
    Carrier& operator=(const Carrier&) = delete;
    Carrier& operator=(Carrier&&) = delete;

    /// The board of this type and number, 0 to 15; added if missing.
    Board board(const std::string& type, std::uint16_t number);

    /// The n-th call (counted from 1, without MwErr2Text and MwClose) fails with a code.
    void fail_call(std::uint64_t n, std::uint32_t code, const std::string& text = {});
    /// The n-th call of the function fails with a code.
    void fail_call(Function function, std::uint64_t n, std::uint32_t code, const std::string& text = {});

    /// The existing folder in which modules keep files (Module::keep) from the next load on; by default the
    /// one that MWVIRTUAL_KEEP named when the carrier was made. Without a folder no file can be kept.
    void keep_folder(const std::string& path);
    /// The existing folder in which the state of the modules outlives the program; by default the one that
    /// MWVIRTUAL_STATE named when the carrier was made. Several processes may use it at once. If it cannot be
    /// used, every MwOpenS fails with STATE_FAILED. State belongs to board and slot, and counts only for a
    /// module with the same device name. Set it before a board is opened.
    /// @param path empty for none
    void state_folder(const std::string& path);

    /// The result of the last load, with a state folder also if it was one of another process; then received
    /// is empty, and received_bytes 0. Throws RackError if the state folder holds something else than the
    /// state of the module.
    [[nodiscard]] Contents contents(const std::string& type, std::uint16_t number, unsigned slot) const;
    /// Every call since the beginning, if the journal is kept, which is the default.
    [[nodiscard]] std::vector<Call> journal() const;
    /// The journal as text lines, with or without MwErr2Text.
    [[nodiscard]] std::vector<std::string> journal_text(bool with_error_texts = true) const;
    void keep_journal(bool keep);
    /// Empties the journal, restarts the count of calls and drops planned failures.
    void forget_calls();
    /// The number of calls since the beginning, without MwErr2Text and MwClose.
    [[nodiscard]] std::uint64_t calls() const;
    /// Calls against the rules of the API, in words; empty after a clean run.
    [[nodiscard]] std::vector<std::string> misuse() const;
    [[nodiscard]] std::size_t open_handles() const;

    /// Replaces the sleeping for latency and bandwidth; the function receives the duration.
    void on_wait(std::function<void(std::chrono::nanoseconds)> wait);

    /// The description of the rack that is used when MWVIRTUAL_RACK is not set.
    [[nodiscard]] static std::string builtin_rack();

private:
    explicit Carrier(std::shared_ptr<Rack> rack);
    std::shared_ptr<Rack> rack_;
};

} // namespace mwvirtual

#endif
