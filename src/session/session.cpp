// SPDX-License-Identifier: Apache-2.0
// The session's reset, version, callbacks, last error and open files.
#include "kvnfpgai.h"
#include "session/version.h"

#include <cstdarg>
#include <cstdlib>

kvn_fpga_imp::kvn_fpga_imp()
{
    Initialise();
    user_print = nullptr;
    user_prompt = nullptr;
    user_askstring = nullptr;
    user_ask_yn = nullptr;
}

// Required: open files and buses are forgotten here, not closed; the run that opened them has closed them.
kvn_fpga_imp::~kvn_fpga_imp()
{
    Initialise();
    user_print = nullptr;
    user_prompt = nullptr;
    user_askstring = nullptr;
    user_ask_yn = nullptr;
}

namespace
{
template <std::size_t Size>
void clear_text(char (&field)[Size])
{
    field[0] = '\0';
    field[1] = '\0';
}
} // namespace

// Required: the callbacks stay, and so does file_is_bit, which file selection clears before use.
void kvn_fpga_imp::Initialise()
{
    handle = nullptr;
    reserved = 0;
    ReadIoStatus = 0;
    WriteIoStatus = 0;
    api_status = 0;
    clear_text(board_type);
    slot = 0;
    slot_address = 0;
    board_number = 0;
    clear_text(device_name);
    prompt_user = 0;
    verbose = 0;
    slot_given = 0;
    board_type_given = 0;
    handle_is_external = 0;
    board_number_given = 0;
    file_is_rbt = 0;
    clear_text(bitstream_file);
    make_mcb = 0;
    never_compress = 0;
    make_rbt = 0;
    con_given = 0;
    clear_text(con_file);
    file_is_mcb = 0;
    virtex2_family = 0;
    supports_compressed_loading = 0;
    current_module_type = 0;
    target_board = 0;
    target_board_given = 0;
    rbt_fp = nullptr;
    bin_fp = nullptr;
    last_error = 0;
    clear_text(last_error_text);
    send_count = 0;
}

void kvn_fpga_imp::kvn_fpga_version(int* major, int* minor, char** text)
{
    *major = VERSION_MAJOR;
    *minor = VERSION_MINOR;
    *text = const_cast<char*>(VERSION_TEXT); // NOLINT: the public type is char*, and the text constant
}

void kvn_fpga_imp::kvn_fpga_set_userprint(void (*fn)(char*))
{
    user_print = fn;
}

int kvn_fpga_imp::kvn_fpga_set_userfie(int (*fn)(char*, void*), int type)
{
    switch (type) {
    case 0:
        user_prompt = fn;
        return 0;
    case 1:
        user_askstring = fn;
        return 0;
    case 2:
        user_ask_yn = fn;
        return 0;
    default:
        return fail("Error 9215. No function type %d defined. Use type 0,1 or 2.", type);
    }
}

char* kvn_fpga_imp::kvn_fpga_getlasterr()
{
    return last_error_text;
}

char* kvn_fpga_imp::getapivar(const char* name)
{
    return std::getenv(name); // NOLINT(concurrency-mt-unsafe): the caller leaves the environment alone
}

// Required: an equivalent accessor that no step uses.
char* kvn_fpga_imp::getregenv(const char* name)
{
    return std::getenv(name); // NOLINT(concurrency-mt-unsafe): as above
}

File kvn_fpga_imp::take_over(FILE* file)
{
    if (rbt_fp == file)
        rbt_fp = nullptr;
    if (bin_fp == file)
        bin_fp = nullptr;
    return File{file};
}

void kvn_fpga_imp::close_open_files()
{
    take_over(rbt_fp);
    take_over(bin_fp);
}

void kvn_fpga_imp::write_error(int number, const char* format, ...)
{
    std::va_list values;
    va_start(values, format);
    std::vsnprintf(last_error_text, sizeof last_error_text, format, values);
    va_end(values);
    last_error = number;
}
