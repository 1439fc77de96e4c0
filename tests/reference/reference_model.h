// The whole system once more, as slow and as plain as it can be written: what the library must do, step by
// step.
//
// Shares nothing with the library, so that a difference between the two is a mistake in one of them. One call
// per byte or character, no buffers but those that are part of the behaviour.
#ifndef REFERENCE_MODEL_H
#define REFERENCE_MODEL_H

#include "reference_world.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace reference
{

using Byte = unsigned char;
using Bytes = std::vector<Byte>;

int decimal(const std::string& text);
int parse_number(const std::string& text);
int stricmp(const std::string& a, const std::string& b);
int check_extension(const std::string& name, const std::string& extension);
bool find_word(const std::string& line, const std::string& word, std::size_t& position);
Byte reversed(Byte byte);
Bytes word_of(const std::string& characters);

/// The text that begins a header line's device field, or "".
std::string device_field(const std::string& part_line);
int stated_number(const std::string& line, std::size_t behind_the_word);

/// Device, package and speed grade of a device name.
struct DeviceParts {
    std::string device;
    std::string package;
    std::string speed;
};
DeviceParts split_device_name(const std::string& name);
std::string family_key(const std::string& name);

struct BitFileHeader {
    std::string device;
    std::string date;
    std::string time;
    uint32_t byte_count = 0;
};

class Model
{
public:
    Model(Platform& platform, Terminal& terminal, Environment environment);
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;
    ~Model() = default;

    Callbacks callbacks;

    // The entry points. A null pointer is a null pointer.
    int board(const char* devstr, int number, int kavrinid, const char* rbtfile, int action, int flags);
    int handle_run(MW_HANDLE* given, int kavrinid, const char* rbtfile, int action, int flags);
    int main_with_handle(MW_HANDLE* given, const std::vector<std::string>& arguments);
    int main_plain(const std::vector<std::string>& arguments);
    int help();
    int set_userfie_of_type(int type);

    // The session, as it stands after a run.
    MW_HANDLE* handle = nullptr;
    uint32_t read_io_status = 0;
    uint32_t write_io_status = 0;
    std::string board_type;
    uint8_t slot = 0;
    uint8_t slot_address = 0;
    uint16_t board_number = 0;
    std::string device_name;
    bool prompt_user = false;
    bool verbose = false;
    bool slot_given = false;
    bool board_type_given = false;
    bool handle_is_external = false;
    bool board_number_given = false;
    bool file_is_rbt = false;
    std::string bitstream_file;
    bool make_mcb = false;
    bool never_compress = false;
    bool make_rbt = false;
    bool con_given = false;
    std::string con_file;
    bool con_file_fits = true; ///< false: there was no room for the extension
    bool file_is_mcb = false;
    bool file_is_bit = false;
    bool virtex2_family = false;
    bool supports_compressed_loading = false;
    int32_t target_board = 0;
    bool target_board_given = false;
    Bytes send_buffer;
    FILE* rbt_fp = nullptr;
    FILE* bin_fp = nullptr;
    int last_error = 0;
    std::string last_error_text;

    // Steps that tests reach one by one.
    int parse_command_line(const std::vector<std::string>& arguments);
    int initialise_host_ksb();
    void close_ksb();
    uint32_t buffered_send(const Bytes& data);
    uint32_t flush();
    void get_device_family(const std::string& name);

private:
    Platform& platform_;
    Terminal& terminal_;
    Environment environment_;

    void initialise();
    int fail(int number, const char* format, ...) __attribute__((format(printf, 3, 4)));
    int end_of_run(int result);

    // Console
    void print(const char* format, ...) __attribute__((format(printf, 2, 3)));
    int xprompt(const std::string& text);
    bool xaskstring(const std::string& prompt, std::string& answer, std::size_t room);
    char xask_yn(const std::string& question);
    int pause();
    bool read_terminal_line(std::string& line, std::size_t room);
    bool yes(const std::string& question);

    // Run control
    int decode_action(int action, int unknown, const char* name);
    void decode_flags(int flags);
    uint8_t address_of_slot() const;
    int process();
    int main_driver();
    void use_environment();
    int ask_for_board();
    int find_module_and_load();
    int determine_bitstream_type();
    int select_file();
    bool request_rbt_file();
    bool try_file(const std::string& name, char kind);
    int select_without_extension(const std::string& name);
    int select_rbt(const std::string& name);
    int select_mcb(const std::string& name);
    int select_bit(const std::string& name);
    int process_con_file();
    int process_con_lines(FILE* con);
    int con_line(const std::string& line);
    int con_bitstream();
    int load_selected_file();

    // Bus
    std::string api_text(uint32_t code);
    int query_module_type(int address, Byte* reply, int& module_type);
    int test_if_proc_module(int address, int& kind);
    int check_module();
    int check_compression(bool is_fpga, const Byte* record);
    int search_for_modules();
    int search_compression(bool is_fpga, unsigned slot_number, const Byte* record);
    void print_compression_support();
    void note_device(const Byte* record);

    // Formats and converters
    bool suits_the_module(const std::string& device);
    int read_bit_header(FILE* file, BitFileHeader& header);
    std::string output_name(const char* extension) const;
    int make_mcb_from_rbt(FILE* in);
    int make_mcb_from_bit(FILE* in);
    int make_rbt_from_mcb(FILE* in);

    // Loaders
    struct Numbers;
    bool compressed() const;
    int cannot_send(int number, uint32_t status);
    int cannot(int number, const char* what, uint32_t status);
    int cannot_reply(int number, const char* what, uint32_t status);
    void announce();
    int start_load(int start_number, int header_number);
    void bit_progress(int32_t bit_count, int32_t stated_bits);
    void final_progress(int32_t done, int32_t stated, const char* end);
    int finish_load(const Numbers& numbers, Byte& status);
    int succeed();
    int load_rbt();
    int load_bit();
    int load_mcb();
};

} // namespace reference

#endif
