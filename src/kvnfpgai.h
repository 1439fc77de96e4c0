// SPDX-License-Identifier: Apache-2.0
// The session: one object that holds all state of a run, with every step of a run as an operation.
//
// Operations that can fail return 0 or the number of the error, whose text is then in last_error_text.
// "For callers" marks operations that the library itself does not use.
// Everything is public so that tests reach it; applications include kvn_fpga.h and never see this class.
#ifndef KVNFPGAI_H
#define KVNFPGAI_H

#include "formats/bit_header.h"
#include "mwapi.h"
#include "support/message.h"
#include "support/owned.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>

/// The time-out of every message operation, in the platform's unit.
inline constexpr std::uint32_t KSB_TIMEOUT = 5000;

/// Finds a word in a line, without regard to case.
/// @param position receives the index of the first occurrence; unchanged if there is none
/// @return 1 when the word is there, else 0 (also for an empty line or word)
int findin(const char* line, const char* word, std::int32_t* position);

/// @return 1 when the word is in the line, without regard to case, else 0
int isinline(const char* line, const char* word);

class kvn_fpga_imp
{
public:
    // The bus (bus/).
    MW_HANDLE* handle = nullptr;
    std::uint32_t reserved{};
    std::uint32_t ReadIoStatus{};
    std::uint32_t WriteIoStatus{};
    std::int32_t api_status{}; ///< of the last MwGetDeviceInfo for a command line with a handle

    // The module as the caller named it.
    char board_type[32] = {};
    std::uint8_t slot{};
    std::uint8_t slot_address{}; ///< the kavrinid: slot in the low four bits, its board in the high four
    std::uint16_t board_number{};
    char device_name[32] = {};
    std::uint32_t prompt_user{};
    std::uint32_t verbose{};
    std::uint32_t slot_given{};
    std::uint32_t board_type_given{};
    std::uint32_t handle_is_external{};
    std::uint32_t board_number_given{};
    std::uint32_t file_is_rbt{}; ///< before file selection: a bitstream file was named

    // Files and actions.
    char bitstream_file[256] = {};
    std::uint32_t make_mcb{};
    std::uint32_t never_compress{};
    std::uint32_t make_rbt{};
    std::uint32_t con_given{};
    char con_file[256] = {};
    std::uint32_t file_is_mcb{};
    std::uint32_t file_is_bit = 0;

    // What is known of the module.
    std::uint32_t virtex2_family{};
    std::uint32_t supports_compressed_loading{};
    std::int32_t current_module_type{}; ///< never written, so no load is announced
    std::uint32_t target_board{};
    std::uint32_t target_board_given{};

    std::uint8_t send_buffer[8192] = {};
    std::uint32_t send_count{};

    FILE* rbt_fp = nullptr; ///< open until a loader or converter takes it over
    FILE* bin_fp = nullptr; ///< likewise

    void (*user_print)(char*) = nullptr;
    int (*user_prompt)(char*, void*) = nullptr;
    int (*user_askstring)(char*, void*) = nullptr;
    int (*user_ask_yn)(char*, void*) = nullptr;

    std::int32_t last_error{};
    char last_error_text[1024] = {};

    kvn_fpga_imp();
    virtual ~kvn_fpga_imp();
    kvn_fpga_imp(const kvn_fpga_imp&) = delete;
    kvn_fpga_imp& operator=(const kvn_fpga_imp&) = delete;

    /// Compares without regard to case, up to the end of a: a prefix of b is equal to it. A member, as C
    /// libraries have a function of this name.
    /// @return 0, or the difference of the first pair of characters that differ
    static int stricmp(const char* a, const char* b);

    // session/session.cpp
    void Initialise();
    void kvn_fpga_version(int* major, int* minor, char** text);
    void kvn_fpga_set_userprint(void (*fn)(char*));
    int kvn_fpga_set_userfie(int (*fn)(char*, void*), int type);
    char* kvn_fpga_getlasterr();
    static char* getapivar(const char* name);
    static char* getregenv(const char* name); ///< for callers
    /// Takes over a stream, which the session then no longer notes as open.
    File take_over(FILE* file);
    /// Closes the files that the run opened and no loader or converter took over.
    void close_open_files();

    // session/console.cpp
    void xprint(const char* text);
    int xprompt(const char* text);
    int xaskstring(const char* prompt, char* answer);
    signed char xask_yn(const char* question);
    int Pause();
    /// Formats a text of any length and prints it.
    void print(const char* format, ...) __attribute__((format(printf, 2, 3)));
    /// Shows a percentage in place of the one before.
    void show_progress(std::int32_t percent);

    // run/entry_points.cpp
    int kvn_fpga_board(const char* devstr, int given_number, int kavrinid, const char* rbtfile, int action,
                       int flags);
    int kvn_fpga_handle(MW_HANDLE* given_handle, int kavrinid, const char* rbtfile, int action, int flags);
    int kvn_fpga(MW_HANDLE* given_handle, int argc, char** argv);
    int kvn_fpga(int argc, char** argv);

    // run/command_line.cpp
    int parse_command_line(int argc, char** argv);
    /// Returns the slot address of slot and target board, or slot and board number.
    [[nodiscard]] std::uint8_t form_slot_address() const;

    // run/help.cpp
    int kvn_fpga_help();
    int Display_Help();

    // run/main_driver.cpp
    int kvn_fpga_main();
    /// Hands the open file to the loader of its kind.
    int load_selected_file();

    // run/file_selection.cpp
    static int Check_Extension(const char* name, const char* ext);
    int Request_Rbt_File();
    int determine_bitstream_type();

    // run/con_file.cpp
    int Process_Con_File();
    static int parse_number(const char* text);

    // bus/bus_session.cpp
    int Initialise_Host_KSB(const char* given_type, int given_number);
    int Close_KSB();

    // bus/buffered_sending.cpp
    int BufferedKsbSendMessageData(MW_HANDLE* given_handle, const unsigned char* data, unsigned long length,
                                   int timeout);

    // bus/module_identification.cpp
    int Query_Module_Type(int given_address, unsigned char* reply, int reply_size, int* module_type);
    int Test_If_Proc_Module(const char* given_type, int given_number, int given_address, int* slot_kind);
    int Check_Module(const char* given_type, unsigned short given_number, unsigned char given_address);
    /// Prints and stores what an identification record states about compression and FPGA.
    void describe_module(const unsigned char* record);

    // bus/module_search.cpp
    int Search_For_Modules(const char* given_type, unsigned short given_number,
                           unsigned char* slot_address_out);

    // bus/device_table.cpp
    int Get_Device_Family(const char* name, char* family_out);
    int Print_Device_Statistics(const char* name);

    // formats/
    static void process_Bitstream_Word(const char* chars, unsigned char* out);
    int write_rbt_line(const char* file_name, FILE* stream, const unsigned char* bytes); ///< for callers
    int Read_Bitstream_Hdr_bit(FILE* stream, BitHeader* header);
    static void free_header(BitHeader* header);
    static unsigned char bit_reverse_byte(unsigned char b);                                 ///< for callers
    static int bit_reverse(unsigned char* destination, const unsigned char* source, int n); ///< for callers
    int Make_mcb_file(FILE* stream, int kind);
    int Make_mcb_file_rbt(FILE* stream);
    int Make_mcb_file_bit(FILE* stream);
    int Make_rbt_file(FILE* stream);

    // loading/
    int Transmit_Bitstream_Word(const char* chars);          ///< for callers
    int Transmit_Bitstream_Bytes(const unsigned char* word); ///< for callers
    /// Returns 0, or the error of words of an RBT file that could not be sent.
    int check_rbt_send(std::uint32_t status);
    /// Sends words of a BIT file, given with the file's bit order.
    int transmit_bit_bytes(std::span<const std::uint8_t> bytes);
    int Load_Bitstream_rbt(const char* given_type, int given_number, int given_address, FILE* fp,
                           const char* given_device);
    int Load_Bitstream_bit(const char* given_type, int given_number, int given_address, FILE* fp,
                           const char* given_device);
    int Load_Bitstream_mcb(const char* given_type, int given_number, int given_address, FILE* fp,
                           const char* given_device);

    /// Records the message and returns its number: how every operation of the session fails.
    template <class... Args>
    [[nodiscard]] int fail(Message<Printed<Args>...> message, const Args&... args)
    {
        record<Args...>(message, args...);
        return message.number;
    }

    /// Records the message and lets the run go on.
    template <class... Args>
    void record(Message<Printed<Args>...> message, const Args&... args)
    {
        write_error(message.number, message.text, static_cast<Printed<Args>>(args)...);
    }

private:
    void write_error(int number, const char* format, ...);
};

#endif
