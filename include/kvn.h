// SPDX-License-Identifier: Apache-2.0
// The C interface: lists boards, inspects, compares and converts bitstream files, and loads modules.
//
// Link libkvn.so, on Windows kvn.dll. It loads the library that reaches the boards (the provider) itself; a
// program that uses it defines no Mw... function. docs/c-interface.md has a complete example.
//
// Handles
//   A session (kvn_session) is where calls are made; a file (kvn_file) is the content of a bitstream file.
//   Handles are never dereferenced: one that is null, closed or of the other kind is KVN_USAGE.
//
// Threads
//   Sessions are independent: each thread may use one of its own, at the same time. A session serves one call
//   at a time; a call that meets another one (from another thread, or from the progress function of its own
//   load) is KVN_USAGE and changes nothing. Only kvn_cancel and kvn_progress may be called meanwhile, from
//   any thread, at any time between kvn_open and kvn_close; after kvn_close they are KVN_USAGE. Files do not
//   change: any number of sessions may use one at the same time.
//   Modules on one serial bus (those of one opened board) share it: load them one after the other. Whether a
//   provider serves several buses at the same time is its own property; virtual carriers do.
//
// Statuses and errors
//   Every function returns a status (enum kvn_status), except those that cannot fail. Every call leaves a
//   text, which is empty after a success: see kvn_error_text. No function throws, or ends the process.
//   KVN_USAGE is also the answer to null pointers, texts that are too long, structures of a wrong size and
//   calls out of order; KVN_INTERNAL that to a lack of memory. What a failed function would have written
//   through its pointers is left as it was, except where its description says otherwise.
//
// Texts
//   All texts are UTF-8 and end with a zero. Texts that are given have at most KVN_LONGEST_TEXT bytes, are
//   copied, and may be released after the call; paths are passed on to the system as they are. Texts that are
//   received belong to the session and must not be changed or released. They stay valid until the next
//   operation of the session, or kvn_close. All functions are operations except kvn_error_...,
//   kvn_result_json, kvn_provider_info, kvn_board..., kvn_slot..., kvn_problem, kvn_progress and kvn_cancel.
//   What kvn_board and kvn_slot give stays valid until the next kvn_list. Bytes that are no UTF-8 (in headers
//   of files, in names) are replaced by U+FFFD.
//
// Structures
//   Every structure begins with its size. Set it to sizeof the structure before the call; it is how a program
//   works with an older and a newer library. All structures may be zero otherwise: set options that are not
//   wanted to 0 or null. Results that are not known are null or KVN_UNKNOWN, never guessed.
//   A size below that of the structure's first version, or above KVN_LARGEST_STRUCTURE, is KVN_USAGE. Of a
//   larger structure than the library knows only the known part is written; options that the library does
//   not know must be zero, else they are KVN_USAGE.
#ifndef KVN_H
#define KVN_H

#include <stddef.h>
#include <stdint.h>

// On Windows the library itself lists what it exports, and functions are imported without a word.
#if defined(__GNUC__) && !defined(_WIN32)
#define KVN_API __attribute__((visibility("default")))
#else
#define KVN_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/// Of this header. It is raised when something is added; what changes or goes raises the soname.
#define KVN_INTERFACE_VERSION 1
/// The most bytes that a text may have that is given to a function, its final zero not counted.
#define KVN_LONGEST_TEXT 4095
/// The largest size that a structure may state.
#define KVN_LARGEST_STRUCTURE 4096
/// The bytes of a digest with its final zero, see kvn_digest.
#define KVN_DIGEST_SIZE 65
/// A number in a result that is not known.
#define KVN_UNKNOWN (-1)
/// For kvn_list: the boards 0 to 15.
#define KVN_ALL_BOARDS (-1)

typedef struct kvn_session kvn_session;
typedef struct kvn_file kvn_file;

/// What functions return. The same numbers are the exit statuses of kvn and KVN_FPGA (docs/exit-status.md).
enum kvn_status {
    KVN_DONE = 0,         ///< all done, or nothing to do
    KVN_INTERNAL = 1,     ///< a mistake of the library, or no memory
    KVN_USAGE = 2,        ///< arguments, call order, environment
    KVN_FILE = 3,         ///< a file cannot be opened, read or written
    KVN_DAMAGED = 4,      ///< a file is damaged, or no bitstream
    KVN_WRONG_DEVICE = 5, ///< the bitstream is for another device than the module has
    KVN_NO_MODULE = 6,    ///< no such board, slot or module, or the provider cannot be loaded
    KVN_BUS = 7,          ///< the bus failed
    KVN_REFUSED = 8,      ///< the module refused the configuration
    KVN_SEVERAL = 9,      ///< several modules, several outcomes; not returned by this version
    KVN_REHEARSAL = 10,   ///< a rehearsal found problems; not returned by this version
    KVN_CANCELLED = 11,   ///< by kvn_cancel, or by the progress function
    KVN_TIMED_OUT = 12    ///< the module did not answer in time
};

enum kvn_format { KVN_FORMAT_UNKNOWN = 0, KVN_FORMAT_RBT = 1, KVN_FORMAT_BIT = 2, KVN_FORMAT_MCB = 3 };

/// What is in a slot.
enum kvn_slot_kind {
    KVN_SLOT_UNKNOWN = 0,     ///< the board's information could not be read, or does not cover the slot
    KVN_SLOT_EMPTY = 1,       ///< nothing
    KVN_SLOT_PROCESSOR = 2,   ///< a processor module
    KVN_SLOT_WITHOUT_BUS = 3, ///< a module without a serial bus
    KVN_SLOT_MODULE = 4       ///< a module that answers, or should answer, on the serial bus
};

/// How a load sends the configuration.
enum kvn_mode {
    KVN_MODE_AS_TAKEN = 0,   ///< compressed if the module takes that, else plain
    KVN_MODE_PLAIN = 1,      ///< every byte
    KVN_MODE_COMPRESSED = 2, ///< as runs of equal bytes
    KVN_MODE_SMALLEST = 3    ///< whichever of both is shorter on the bus
};

/// What a problem stops.
enum kvn_stops {
    KVN_STOPS_NOTHING = 0,     ///< it is a note
    KVN_STOPS_PLAIN_LOADS = 1, ///< compressed ones succeed
    KVN_STOPS_LOADS = 2,       ///< the module would not start
    KVN_STOPS_USE = 3          ///< the file must not be loaded, even where a module would take it
};

/// How a load ended.
enum kvn_verdict {
    KVN_VERDICT_CONFIGURED = 0, ///< the module has started
    KVN_VERDICT_REFUSED = 1,    ///< the module has all data and did not start
    KVN_VERDICT_FAILED = 2,     ///< something broke on the way
    KVN_VERDICT_CANCELLED = 3,  ///< it was stopped on the way
    KVN_VERDICT_TIMED_OUT = 4,  ///< the module did not answer
    KVN_VERDICT_NOT_TRIED = 5   ///< nothing was sent
};

/// What a module holds after an attempt to load it.
enum kvn_state {
    KVN_STATE_UNTOUCHED = 0,   ///< what it held before
    KVN_STATE_INTERRUPTED = 1, ///< part of the data; it does not run
    KVN_STATE_REFUSED = 2,     ///< all data; it does not run
    KVN_STATE_CONFIGURED = 3,  ///< all data; it runs
    KVN_STATE_UNKNOWN = 4      ///< whether it runs cannot be known
};

// Versions.

/// @return the version of libkvn, such as "1.0.0", which is that of kvn too; static. Never fails; any thread.
KVN_API const char* kvn_version(void);

/// @return the KVN_INTERFACE_VERSION that the library was built with: it has all functions and structures of
///         this and earlier ones. Never fails; any thread.
KVN_API int kvn_interface_version(void);

// Sessions.

/// Opens a session.
/// @param session receives the handle; not null. Null after a failure
/// @return KVN_DONE; KVN_USAGE for a null pointer; KVN_INTERNAL without memory
KVN_API int kvn_open(kvn_session** session);

/// Closes a session: its handle and all its texts become invalid. Files stay open.
/// @return KVN_DONE; KVN_USAGE for a handle that is not open, and while another call runs in the session,
///         which then stays open
KVN_API int kvn_close(kvn_session* session);

/// What the last call left. With a session: the last call of the session, except kvn_cancel and kvn_progress.
/// With null: the last call of this thread, whatever its handle. So it also is for a session that is not open
/// or in which a call is running. These functions are no calls themselves.
/// @return what happened, with all names, on one line; "" after a success. Never null. Valid until the next
///         call of the session, with null until the next call of this thread. Texts of a thread may be cut
///         after 500 bytes.
KVN_API const char* kvn_error_text(const kvn_session* session);

/// @return why it happened; "" where the text says it or nobody knows. Otherwise as kvn_error_text
KVN_API const char* kvn_error_why(const kvn_session* session);

/// @return what to do; "" where nothing is known. Otherwise as kvn_error_text
KVN_API const char* kvn_error_remedy(const kvn_session* session);

/// @return the number of the loader's error, such as 9103, see kvn_explain; 0 for any other failure and
///         for success. Otherwise as kvn_error_text
KVN_API int kvn_error_number(const kvn_session* session);

/// Gives the result of the session's last operation as JSON: the document that `kvn --json` prints for the
/// command of the same name. Of an operation that failed it is a document whose member "error" says why.
/// @param json receives the text; not null. It is valid as the other texts of the operation
/// @return KVN_DONE; KVN_USAGE before the first operation with a result; KVN_INTERNAL when 16 MiB of memory
/// are
///         not to be had, though the text takes much less
KVN_API int kvn_result_json(kvn_session* session, const char** json);

// The provider.

/// Opens the provider: the library through which boards are reached. Every session that lists or loads needs
/// it; the functions for files do not. A process has one provider, whose library stays loaded until the
/// process ends: a second session opens the same one again, which costs nothing.
///
/// Any thread; but while the first "replay:FILE" is opened no other thread may use the environment.
/// @param name "virtual" for simulated boards (the variable MWVIRTUAL_RACK may name a file that describes
///        them), "replay:FILE" for a recording, else the path or soname of a library with the Mw...
///        functions. Null or "": the one that the variable KVN_MWAPI names, else the board maker's,
///        libmwapi.so
/// @return KVN_DONE; KVN_NO_MODULE for a library that is missing or lacks a function, after which another one
///         may be opened; KVN_USAGE when the process uses another provider
KVN_API int kvn_provider_open(kvn_session* session, const char* name);

typedef struct kvn_provider {
    size_t size;
    const char* name;         ///< as it was asked for
    const char* file;         ///< path of the library; null if not known
    const char* version;      ///< null if the library does not tell
    const char* announcement; ///< what users must be told: that no hardware is reached; null for hardware
    int32_t simulated;        ///< 1: no hardware is reached; else 0
} kvn_provider;

/// Describes the open provider. Its texts are valid until kvn_close.
/// @return KVN_DONE; KVN_USAGE before kvn_provider_open
KVN_API int kvn_provider_info(kvn_session* session, kvn_provider* info);

// Files.

/// Reads a bitstream file to its end and keeps the content, unpacked if it was packed by gzip, xz or zstd.
/// What is checked is what is loaded, even if the file changes meanwhile. What the content is does not matter
/// yet. The handle is the process's: it does not end with the session.
/// @param path of a regular file or a named pipe, whose writer is waited for; "-" is standard input. Not null
/// @param file receives the handle; not null. Null after a failure
/// @return KVN_DONE; KVN_FILE for a file that cannot be opened or read; KVN_DAMAGED for packed content that
/// is
///         damaged, and for more than 1 GiB
KVN_API int kvn_file_open(kvn_session* session, const char* path, kvn_file** file);

/// The same for bytes in memory, which are copied.
/// @param bytes not null, even when there are none
/// @param size their number, at most 1 GiB (else KVN_USAGE)
/// @param name for messages; null for none
KVN_API int kvn_file_from_memory(kvn_session* session, const void* bytes, size_t size, const char* name,
                                 kvn_file** file);

/// Closes a file. Any thread; calls that use the file at the same time go on with it.
/// @return KVN_DONE; KVN_USAGE for a handle that is not open
KVN_API int kvn_file_close(kvn_file* file);

typedef struct kvn_inspection {
    size_t size;
    const char* name;          ///< of the file, as it was given
    uint64_t file_size;        ///< bytes, unpacked
    uint64_t stored_size;      ///< bytes, as stored
    const char* stored_sha256; ///< of the bytes as stored, 64 hexadecimal digits
    const char* digest;        ///< see kvn_digest; null when there are no data
    int32_t format;            ///< enum kvn_format, by content, else by name
    int32_t is_loadable;       ///< 1: no problem stops loads; else 0. kvn_check says more
    const char* part;          ///< that the header names, such as "2v3000fg676"; null if it names none
    const char* device;        ///< the device that is meant, such as "2v3000"; null if it is not known
    const char* family;        ///< of the device, such as "Virtex-2"; null if it is not known
    const char* design;        ///< by the header; null if it has none, as for all the following texts
    const char* tool;
    const char* architecture;
    const char* date;
    const char* time;
    int64_t stated_bits;      ///< of configuration, by the header; KVN_UNKNOWN if it does not state any
    uint64_t found_bits;      ///< of configuration that could be read
    uint64_t run_coded_bytes; ///< that a compressed load carries
    uint32_t problem_count;   ///< see kvn_problem
    int32_t status;           ///< enum kvn_status of the first problem that stops loads; KVN_DONE without one
} kvn_inspection;

/// Reads a bitstream file and reports what it is and what is wrong with it. A bad file is no failure.
/// @param info receives the result; not null
/// @return KVN_DONE
KVN_API int kvn_inspect(kvn_session* session, const kvn_file* file, kvn_inspection* info);

typedef struct kvn_problem_info {
    size_t size;
    const char* what;
    const char* remedy; ///< null when nothing is known
    int32_t stops;      ///< enum kvn_stops
    int32_t status;     ///< enum kvn_status of an operation that the problem stops
} kvn_problem_info;

/// Gives one of the problems that the last operation found: kvn_inspect, kvn_check, kvn_convert or kvn_load.
/// @param index from 0 to the operation's problem_count - 1
/// @return KVN_DONE; KVN_USAGE for another index
KVN_API int kvn_problem(kvn_session* session, size_t index, kvn_problem_info* info);

/// How one kind of load would end.
typedef struct kvn_judgement {
    size_t size;
    const char* device;            ///< that was assumed in the module; null if none is known
    int32_t starts;                ///< 1: a module with this device starts; 0: it does not; KVN_UNKNOWN
    int32_t plain_starts;          ///< after a plain load; KVN_UNKNOWN if that was not tried
    int32_t plain_number;          ///< of the loader's error, 0 for none; KVN_UNKNOWN if not tried
    int32_t compressed_starts;     ///< as plain_starts
    int32_t compressed_number;     ///< as plain_number
    uint32_t problem_count;        ///< see kvn_problem
    const char* words;             ///< the answer in words
    const char* plain_module;      ///< what the module makes of a plain load; null if not tried
    const char* compressed_module; ///< the same of a compressed load
} kvn_judgement;

/// Finds out whether a module would start with a file, by loading it into a model of the device. No provider
/// is needed, nothing is sent.
/// @param device of the module, such as "2v3000fg676-4"; null or "": the one that the file names
/// @param mode KVN_MODE_PLAIN or KVN_MODE_COMPRESSED: that load must succeed; KVN_MODE_AS_TAKEN: both must
/// @param result receives the answer, also with other statuses than KVN_DONE that follow from the answer; may
///        not be null
/// @return KVN_DONE: it starts; KVN_DAMAGED, KVN_WRONG_DEVICE or another status: it does not, for the reason
///         in kvn_error_why; KVN_USAGE: that cannot be told, because no device is known
KVN_API int kvn_check(kvn_session* session, const kvn_file* file, const char* device, int mode,
                      kvn_judgement* result);

/// Gives one fingerprint for a design, whatever form of file holds it: SHA-256 of the plain configuration.
/// @param buffer receives 64 lower-case hexadecimal digits and a zero; not null
/// @param size of the buffer in bytes, at least KVN_DIGEST_SIZE
/// @return KVN_DONE; KVN_DAMAGED for a file without whole configuration data
KVN_API int kvn_digest(kvn_session* session, const kvn_file* file, char* buffer, size_t size);

typedef struct kvn_difference {
    size_t size;
    const char* words;          ///< the result in one line: "same configuration; header date differs"
    const char* device;         ///< whose frames were compared; null: compared by offset
    int32_t same_configuration; ///< 1 or 0
    uint32_t header_count;      ///< texts of the headers that differ
    uint64_t first_bits;        ///< of configuration in the first file
    uint64_t second_bits;
    uint64_t bits;           ///< that differ
    int64_t first_bit;       ///< the first one that differs, from 0; KVN_UNKNOWN if none does
    uint64_t frame_count;    ///< frames that differ; they are in the JSON text
    uint64_t register_count; ///< registers that are written differently; they are in the JSON text
} kvn_difference;

/// Compares two files as configuration, whatever their forms.
/// @param first, second may be the same
/// @return KVN_DONE, whatever the difference; KVN_DAMAGED for a file without whole configuration data
KVN_API int kvn_compare(kvn_session* session, const kvn_file* first, const kvn_file* second,
                        kvn_difference* difference);

typedef struct kvn_estimate_options {
    size_t size;
    const char* device;       ///< of the module; null or "": the one that the file names
    int32_t takes_compressed; ///< 1: the module takes compressed loads; 0: it does not; KVN_UNKNOWN
    int32_t mode;             ///< enum kvn_mode
    double bytes_per_second;  ///< of the bus; 0: no seconds are wanted
} kvn_estimate_options;

typedef struct kvn_estimate_info {
    size_t size;
    int32_t mode;             ///< KVN_MODE_PLAIN or KVN_MODE_COMPRESSED: the load that is chosen
    int32_t is_loadable;      ///< by the chosen load: 1; else 0, and bytes and seconds are not known
    const char* why;          ///< the load is chosen, in words
    int64_t wire_bytes;       ///< of the chosen load's message; KVN_UNKNOWN
    int64_t held_back;        ///< configuration bytes of the file that the load does not send; KVN_UNKNOWN
    double seconds;           ///< that the chosen load takes; KVN_UNKNOWN
    int64_t plain_wire_bytes; ///< KVN_UNKNOWN if a plain load is not possible
    int64_t compressed_wire_bytes; ///< KVN_UNKNOWN if a compressed load is not possible
} kvn_estimate_info;

/// Computes what one load of a file sends. Nothing is sent, no provider is needed.
/// @param options null: as if all were zero, but takes_compressed KVN_UNKNOWN
/// @return KVN_DONE; KVN_DAMAGED when the file is no bitstream; KVN_USAGE also for a rate that is no positive
///         number
KVN_API int kvn_estimate(kvn_session* session, const kvn_file* file, const kvn_estimate_options* options,
                         kvn_estimate_info* info);

typedef struct kvn_convert_options {
    size_t size;
    const char* target; ///< the file to write; "-" is standard output. Null or "": the source's name with the
                        ///< extension of the format, which then must be given
    int32_t format;     ///< enum kvn_format; KVN_FORMAT_UNKNOWN: the one that the target's extension names
    int32_t overwrite;  ///< 1: replace a target that exists
    int32_t normalise;  ///< 1: make the result loadable, plain and compressed, or write nothing
    int32_t reserved;   ///< 0
    const char* part;   ///< to name where the source names none; null or "": none
} kvn_convert_options;

typedef struct kvn_conversion {
    size_t size;
    const char* target;     ///< the file that was written
    int32_t source_format;  ///< enum kvn_format
    int32_t format;         ///< enum kvn_format, of the target
    uint64_t bytes;         ///< of the file that was written
    uint64_t bits;          ///< of the configuration in it
    const char* digest;     ///< of the configuration in it
    const char* part;       ///< that its header names; null if none
    uint32_t kept_count;    ///< header fields of the source that the target has too
    uint32_t lost_count;    ///< header fields for which the target has no place; they are in the JSON text
    uint32_t change_count;  ///< what else is different; the changes are in the JSON text
    uint32_t problem_count; ///< that inspection finds in the result, see kvn_problem
} kvn_conversion;

/// Converts a bitstream file: any of RBT, BIT and MCB into any. The result is written under a temporary name,
/// read back, compared and only then renamed; after a failure the target is as it was.
/// @param options not null
/// @param info receives the result; not null
/// @return KVN_DONE; KVN_USAGE for a request that makes no sense; KVN_DAMAGED for a source that cannot be
///         converted, or not be made loadable; KVN_FILE for a target that exists or cannot be written
KVN_API int kvn_convert(kvn_session* session, const kvn_file* file, const kvn_convert_options* options,
                        kvn_conversion* info);

// Boards and modules.

/// Opens each board, asks each of its modules what it is, and closes it. Nothing is loaded. The rows stay in
/// the session until the next kvn_list.
/// @param board_type such as "mwc4a": 1 to 31 printable characters, no blank, ':' or '/'; not null
/// @param board 0 to 15, or KVN_ALL_BOARDS
/// @return KVN_DONE also when some, or all, of several boards cannot be opened or modules do not answer:
/// their
///         rows say why. For a single board that cannot be opened: the status of its row, which is there
KVN_API int kvn_list(kvn_session* session, const char* board_type, int board);

/// @param count receives the number of boards that the last kvn_list asked for: 1 or 16; not null
/// @return KVN_DONE; KVN_USAGE before kvn_list
KVN_API int kvn_board_count(kvn_session* session, size_t* count);

typedef struct kvn_board_info {
    size_t size;
    const char* name;       ///< "mwc4a:0"
    const char* board_type; ///< "mwc4a"
    int32_t number;         ///< 0 to 15
    int32_t status;         ///< KVN_DONE, or why the board could not be opened or its information not be read
    const char* what;       ///< of that failure; null without one
    const char* why;        ///< null if nothing is known
    const char* remedy;     ///< null if nothing is known
    int64_t info_word;      ///< the leading word of the board's information; KVN_UNKNOWN
    uint32_t slot_count;    ///< slots that are listed: 4, or 0 for a board that could not be opened
} kvn_board_info;

/// @param index from 0 to the number of boards - 1, in the order of their numbers
/// @return KVN_DONE; KVN_USAGE before kvn_list, and for another index
KVN_API int kvn_board(kvn_session* session, size_t index, kvn_board_info* info);

/// @param count receives the number of slots of all boards that the last kvn_list could open; not null
/// @return KVN_DONE; KVN_USAGE before kvn_list
KVN_API int kvn_slot_count(kvn_session* session, size_t* count);

typedef struct kvn_slot_info {
    size_t size;
    const char* module;      ///< the slot's name, "mwc4a:0/2": what kvn_identify and kvn_load take
    const char* board_type;  ///< "mwc4a"
    int32_t board;           ///< the board that is opened, 0 to 15
    int32_t carrier;         ///< the board that carries the slot, 0 to 15
    int32_t slot;            ///< 1 to 4
    int32_t kind;            ///< enum kvn_slot_kind
    int32_t type;            ///< 2: KAVRIN-FPGA, 4: KAVRIN-IO; others exist; KVN_UNKNOWN
    int32_t model;           ///< KVN_UNKNOWN
    int32_t version;         ///< KVN_UNKNOWN
    int32_t compression;     ///< 1: the module takes compressed loads; 0: it does not; KVN_UNKNOWN
    const char* type_name;   ///< "KAVRIN-FPGA"; null as long as no module has said what it is
    const char* device;      ///< in full, "2v3000fg676-4"; null if not known, as for its parts:
    const char* device_name; ///< "2v3000"
    const char* package;     ///< "fg676"
    const char* speed_grade; ///< "4"
    int32_t status;          ///< KVN_DONE, or why less is known than could be
    int32_t number;          ///< of the loader's error, see kvn_explain; 0 for none
    const char* what;        ///< of that failure; null without one
    const char* why;         ///< null if nothing is known
    const char* remedy;      ///< null if nothing is known
} kvn_slot_info;

/// @param index from 0 to the number of slots - 1: by board, then by slot
/// @return KVN_DONE; KVN_USAGE before kvn_list, and for another index
KVN_API int kvn_slot(kvn_session* session, size_t index, kvn_slot_info* info);

/// Asks one module what it is. Nothing is loaded.
/// @param module "mwc4a:0/2", or "mwc4a:0/1.2" for slot 2 of board 1 over the bus of board 0; not null
/// @param info receives what is known, also with a status of its member `status`; not null
/// @return the status in the result; KVN_USAGE for a name of another form
KVN_API int kvn_identify(kvn_session* session, const char* module, kvn_slot_info* info);

typedef struct kvn_progress_info {
    size_t size;
    uint64_t bytes;          ///< of the load's message that the provider has taken
    int64_t total;           ///< bytes of the whole message; KVN_UNKNOWN before it is known
    double seconds;          ///< since the message was begun
    double bytes_per_second; ///< KVN_UNKNOWN before there is a measurable time
    double seconds_left;     ///< at this rate; KVN_UNKNOWN
    int32_t is_running;      ///< 1: a load is running; 0: it is over, or there was none yet
} kvn_progress_info;

/// Reports how far a load is. Called on the load's thread, after the first and before the last call to the
/// provider, and whenever progress_step more bytes are out. It returns soon, and by return: no longjmp. What
/// it may call of its session is kvn_cancel and kvn_progress; other sessions and files are free.
/// @param user_data as in the options
/// @param progress valid during the call; never null
/// @return 0 to go on, anything else to cancel the load
typedef int (*kvn_progress_function)(void* user_data, const kvn_progress_info* progress);

typedef struct kvn_load_options {
    size_t size;
    const char* module; ///< "mwc4a:0/2", or "mwc4a:0/1.2" for slot 2 of board 1 over the bus of board 0
    const char* device; ///< that is expected in the module, such as "2v3000fg676-4"; null or "": none
    int32_t mode;       ///< enum kvn_mode; KVN_MODE_COMPRESSED is refused for a module that does not take it
    int32_t force;      ///< 1: load although it cannot be told whether the module would start. Damage and
                        ///< another device always stop a load
    const char* serial_number;      ///< of the module, for the record; null: none
    const char* operator_name;      ///< for the record; null: none
    const char* station;            ///< for the record; null: none
    kvn_progress_function progress; ///< null: not called
    void* user_data;                ///< for the progress function
    uint64_t progress_step;         ///< least number of bytes between two reports; 0: 4096
} kvn_load_options;

/// What is known of a module after an attempt to load it. What is not known is null or KVN_UNKNOWN; the JSON
/// text says of each fact whether it was observed, given or intended.
typedef struct kvn_record {
    size_t size;
    const char* module;      ///< "mwc4a:0/2"
    const char* file;        ///< its name, as it was given
    const char* file_sha256; ///< of the bytes as stored
    const char* digest;      ///< of the configuration, see kvn_digest
    const char* format;      ///< "RBT", "BIT" or "MCB"
    const char* design;      ///< by the header
    const char* part;        ///< that the file is for
    const char* device;      ///< of the module
    int32_t type;            ///< of the module, as in kvn_slot_info
    int32_t model;
    int32_t version;
    int32_t mode;           ///< KVN_MODE_PLAIN or KVN_MODE_COMPRESSED; KVN_UNKNOWN
    int64_t wire_bytes;     ///< that the provider took; before a load was begun: that it would send
    int64_t begin;          ///< of the attempt, in milliseconds since 1970-01-01 UTC
    int64_t end;            ///< the same
    double seconds_on_wire; ///< from the first to the last call of the load's message
    uint32_t attempts;      ///< loads that were begun
    int32_t verdict;        ///< enum kvn_verdict
    int32_t state;          ///< enum kvn_state
    int32_t answer;         ///< the module's answer to the load: 5 for success; KVN_UNKNOWN without one
    int32_t status;         ///< enum kvn_status; what kvn_load returns
    int32_t number;         ///< of the loader's error, see kvn_explain; 0 for none
    const char* what;       ///< of the failure; null without one
    const char* why;
    const char* remedy;
    uint32_t problem_count; ///< that the inspection of the file found, see kvn_problem
    int32_t simulated;      ///< 1: no hardware was reached; else 0
} kvn_record;

/// Loads one file into one module: inspects the file, asks the module what it is, refuses what would not
/// start, sends, and waits for the module's answer. It blocks as long as that takes; kvn_progress and
/// kvn_cancel may be called meanwhile.
/// @param file may be closed meanwhile
/// @param options not null; its member `module` is not null
/// @param record receives the result, also with other statuses than KVN_DONE, except where an argument is
///        refused (KVN_USAGE with the verdict left as it was) or memory is lacking; not null
/// @return KVN_DONE: the module runs; KVN_DAMAGED, KVN_WRONG_DEVICE, KVN_NO_MODULE: nothing was sent;
///         KVN_BUS, KVN_TIMED_OUT, KVN_CANCELLED, KVN_REFUSED: the record's state says what the module holds.
///         KVN_INTERNAL without a record: its state is unknown if the load had begun
KVN_API int kvn_load(kvn_session* session, const kvn_file* file, const kvn_load_options* options,
                     kvn_record* record);

/// Reports how far the load that is running in a session is, or how far the last one came; for polling.
/// Any thread, at any time: it does not wait for the load.
/// @return KVN_DONE; KVN_USAGE for a handle that is not open
KVN_API int kvn_progress(kvn_session* session, kvn_progress_info* info);

/// Stops the load that is running in a session, before its next call to the provider that sends data; it does
/// not wait for that. A load that has sent all data runs to its end. Any thread, at any time.
/// @return KVN_DONE; KVN_USAGE when no load is running, or for a handle that is not open
KVN_API int kvn_cancel(kvn_session* session);

// Errors.

typedef struct kvn_explanation {
    size_t size;
    int32_t number;      ///< that was asked for
    int32_t is_answer;   ///< 1: the number is a module's answer to a load, else 0: an error of the loader
    int32_t status;      ///< enum kvn_status of the error
    int32_t state;       ///< enum kvn_state: what it leaves behind
    const char* text;    ///< of the error, with its conversions (%s, %d); null for an answer
    const char* meaning; ///< in words
    const char* causes;  ///< null if nothing is known
    const char* remedy;  ///< null if nothing is known
} kvn_explanation;

/// Explains an error of the loader, or a module's answer to a load.
/// @param number of an error, such as 9103; 0 to 255: a module's answer, such as 4
/// @return KVN_DONE; KVN_USAGE for a number that no error has
KVN_API int kvn_explain(kvn_session* session, int number, kvn_explanation* explanation);

#ifdef __cplusplus
}
#endif

#endif
