// SPDX-License-Identifier: Apache-2.0
// Loads configuration bitstreams into the FPGAs of KAVRIN-FPGA and KAVRIN-IO modules.
//
// Every run returns 0, or the number of the first error (9000 to 9422); kvn_fpga_getlasterr() then returns
// the message, which the library itself never prints. docs/errors.md lists the numbers with cause and remedy.
//
// Threads: an object serves one run at a time, on the caller's thread, and blocks in the platform's calls.
// Different objects may run in different threads: they share nothing but the process environment and the
// platform API.
//
// Callbacks run on the thread of the run. They must not throw, and must not start a run on the object that
// calls them, nor destroy it. They may start runs on other objects.
#ifndef KVN_FPGA_H
#define KVN_FPGA_H

/// An open device of the platform. Opaque; see mwapi.h.
typedef struct MW_HANDLE MW_HANDLE;

class kvn_fpga_imp;

#if defined(__GNUC__)
#define KVN_FPGA_API __attribute__((visibility("default")))
#else
#define KVN_FPGA_API
#endif

class KVN_FPGA_API kvn_fpga
{
public:
    /// Configures one module, or converts a file, without a command line.
    ///
    /// @param devstr       type of the board whose bus is opened, such as "mwc4a" (at most 31 characters)
    /// @param board_number number of that board, 0 to 15
    /// @param kavrinid     bus address of the module: slot (1 to 4) in the low four bits, number of the
    ///                     board that carries the module in the high four
    /// @param rbtfile      bitstream file, with or without extension (.rbt, .mcb or .bit; at most 255
    ///                     characters)
    /// @param action       0 configure the module; 1 write an MCB file; 2 write an RBT file from an MCB file
    /// @param flags        sum of 1 (verbose), 2 (questions allowed) and 4 (never send compressed data)
    /// @return 0, or an error number: 9310 devstr is null, 9311 rbtfile is null, 9312 unknown action, and
    ///         those of the run (9040 to 9422)
    int kvn_fpga_board(char* devstr, int board_number, int kavrinid, char* rbtfile, int action, int flags);

    /// Does the same with a device that the caller has opened. A handle on a board's serial bus is used as it
    /// is and never closed. From any other handle only the board type and number are taken, and the run opens
    /// the bus itself.
    ///
    /// A load that fails part-way leaves its message open on the handle, so that no module starts with part
    /// of its data. Every further run on the handle then ends with 9060: close the device and open it again.
    ///
    /// @param handle the caller's device; it must stay open until the call returns
    /// @return 0, or an error number: 9300 handle is null, 9301 the platform does not know it, 9302 rbtfile
    ///         is null, 9303 unknown action, and those of the run
    int kvn_fpga_handle(MW_HANDLE* handle, int kavrinid, char* rbtfile, int action, int flags);

    /// Runs a command line (docs/command-line.md) with a device that the caller has opened. The handle is
    /// used, and never closed, when it is on a board's serial bus and agrees with the options -d and -b;
    /// otherwise it is ignored. After a load that fails part-way, close it and open it again, as above.
    ///
    /// @param handle the caller's device, or null; it must stay open until the call returns
    /// @param argc   number of arguments, including the program's name
    /// @param argv   the arguments; argv[0] is ignored
    /// @return 0, or an error number: 9000 to 9005 for the command line, 9307 the platform does not know the
    ///         handle, and those of the run
    int kvn_fpga_main(MW_HANDLE* handle, int argc, char** argv);

    /// Runs a command line without a device. Arguments and result as above.
    int kvn_fpga_main(int argc, char** argv);

    /// Returns the message of the last error, or "" after a run without one. It stays valid and unchanged
    /// until the next call on this object that starts a run or records an error, or until the object is
    /// destroyed.
    char* kvn_fpga_getlasterr();

    /// Installs a function that asks the user, in place of standard output and input; null removes it. It
    /// stays installed from run to run.
    ///
    /// @param fn   type 0: fn(text, null) shows a text and waits for a key.
    ///             type 1: fn(prompt, answer) asks for a line and writes it, ended by a zero byte, into
    ///             answer, which holds 256 bytes; an answer too long for its purpose (31 characters for a
    ///             board type) is cut. type 2: fn(question, null) asks and returns a character in its low
    ///             byte: 'y' or 'Y' is yes. The texts are valid only during the call.
    /// @param type 0, 1 or 2
    /// @return 0, or 9215 for another type
    int kvn_fpga_set_userfie(int (*fn)(char*, void*), int type);

    /// Installs a function that receives every text the library prints, in place of standard output; null
    /// removes it. It stays installed from run to run. The text is valid only during the call.
    void kvn_fpga_set_userprint(void (*fn)(char*));

    /// Prints the usage of the command line in three pages and waits for a key after each.
    ///
    /// @return the result of the last wait: that of the function of type 0, or the character read
    int kvn_fpga_help();

    /// Stores the version: 2, 7 and its text. The text is constant and stays valid. No pointer may be
    /// null.
    void kvn_fpga_version(int* major, int* minor, char** text);

    /// @throws std::bad_alloc when there is no memory for the session
    kvn_fpga();
    virtual ~kvn_fpga();

    kvn_fpga(const kvn_fpga&) = delete;
    kvn_fpga& operator=(const kvn_fpga&) = delete;

private:
    kvn_fpga_imp* imp;
};

#endif
