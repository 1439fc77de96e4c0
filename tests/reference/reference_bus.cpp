// The reference model's bus: session, send buffer, identification, search and device table.
#include "reference_model.h"

#include <cstring>

namespace reference
{

namespace
{

const uint32_t TIMEOUT = 5000;
const Byte FPGA_MODULE = 2;
const Byte IO_MODULE = 4;

unsigned board_of(int address)
{
    return static_cast<unsigned>(address >> 4) & 15;
}

unsigned slot_of(int address)
{
    return static_cast<unsigned>(address) & 15;
}

} // namespace

std::string Model::api_text(uint32_t code)
{
    char text[256] = "";
    platform_.Err2Text(code, text);
    text[255] = '\0';
    return text;
}

// Bus session and buffered sending

int Model::initialise_host_ksb()
{
    if (handle_is_external)
        return 0;
    if (board_number > 15)
        return fail(9200, "Error 9200: Invalid board number %d (should be 0..15).", board_number);
    handle = nullptr;
    read_io_status = 0;
    write_io_status = 0;
    uint32_t reserved = 0;
    if (const uint32_t status = platform_.OpenS(board_type.c_str(), board_number, "ksb", &handle, &reserved))
        return fail(9201, "Error 9201. Cannot open KSB device on board \"%s %d\" (%s).", board_type.c_str(),
                    board_number, api_text(status).c_str());
    if (const uint32_t status = platform_.InitIoStatus(handle, &read_io_status))
        return fail(9202, "Error 9202. Cannot initialise ReadIoStatus, board \"%s %d\" (%s).",
                    board_type.c_str(), board_number, api_text(status).c_str());
    if (const uint32_t status = platform_.InitIoStatus(handle, &write_io_status))
        return fail(9203, "Error 9203. Cannot initialise WriteIoStatus, board \"%s %d\" (%s).",
                    board_type.c_str(), board_number, api_text(status).c_str());
    return 0;
}

void Model::close_ksb()
{
    if (handle_is_external || handle == nullptr)
        return;
    platform_.Close(&handle);
}

uint32_t Model::buffered_send(const Bytes& data)
{
    for (const Byte byte : data) {
        send_buffer.push_back(byte);
        if (send_buffer.size() > 7) {
            const uint32_t status = platform_.SendMessageDataEx(handle, send_buffer.data(), 8, TIMEOUT);
            send_buffer.clear();
            if (status != 0)
                return status;
        }
    }
    return 0;
}

uint32_t Model::flush()
{
    if (send_buffer.empty())
        return 0;
    const uint32_t status = platform_.SendMessageDataEx(handle, send_buffer.data(),
                                                        static_cast<uint32_t>(send_buffer.size()), TIMEOUT);
    send_buffer.clear();
    return status;
}

// Module identification

int Model::query_module_type(int address, Byte* reply, int& module_type)
{
    if (const uint32_t status =
            platform_.SendMessageEx(handle, 1, board_of(address), slot_of(address), nullptr, 0, TIMEOUT))
        return fail(9060, "Error 9060. Cannot send KSB message to slot 0x%x (via \"%s %d\") (%s).", address,
                    board_type.c_str(), board_number, api_text(status).c_str());
    uint8_t type = 0;
    uint32_t received = 0;
    if (const uint32_t status = platform_.ReceiveMessageEx(handle, &type, board_of(address), slot_of(address),
                                                           reply, 30, &received, TIMEOUT))
        return fail(9061, "Error 9061. Cannot receive KSB message, board \"%s %d\" (%s).", board_type.c_str(),
                    board_number, api_text(status).c_str());
    if (type != 2)
        return fail(9062,
                    "Error 9062. Expected module type query reply (0x%x), received 0x%x, board \"%s %d\".", 2,
                    type, board_type.c_str(), board_number);
    module_type = reply[0];
    return 0;
}

int Model::test_if_proc_module(int address, int& kind)
{
    kind = 3;
    if (board_number != board_of(address))
        return 0;
    uint32_t record[64] = {};
    if (const uint32_t status = platform_.GetBoardInfo(board_type.c_str(), board_number, record))
        return fail(9190, "Error 9190. Cannot do MwGetBoardInfo, board \"%s %d\" (%s).", board_type.c_str(),
                    board_number, api_text(status).c_str());
    const unsigned s = slot_of(address);
    if (record[5 * s - 4] == 0)
        kind = 0;
    else if (record[5 * s - 3] == 1)
        kind = 1;
    else if (record[5 * s - 2] != 0)
        kind = -1;
    else
        kind = 2;
    return 0;
}

int Model::check_module()
{
    print("\n\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0x%x (via '%s %d')\n", slot_address,
          board_type.c_str(), board_number);
    supports_compressed_loading = false;
    int kind = 0;
    if (const int error = test_if_proc_module(slot_address, kind))
        return error;
    const int slot_number = slot_address & 15;
    if (kind == 0)
        return fail(9220, "Error 9220. There is no module in slot %d of board %s %d.", slot_number,
                    board_type.c_str(), board_number);
    if (kind == 1)
        return fail(9221, "Error 9221. The module in slot %d of board %s %d is a processor module.",
                    slot_number, board_type.c_str(), board_number);
    if (kind == 2)
        return fail(9222, "Error 9222. The module in slot %d of board %s %d does not have a serial bus.",
                    slot_number, board_type.c_str(), board_number);
    Byte record[30] = {};
    int type = 0;
    if (const int error = query_module_type(slot_address, record, type))
        return error;
    if (verbose)
        print("Second module type %x.\n", static_cast<unsigned>(type));
    if (type != FPGA_MODULE && type != IO_MODULE)
        return 0;
    if (const int error = check_compression(type == FPGA_MODULE, record))
        return error;
    if (type == FPGA_MODULE)
        print("The module in slot 0x%x is a KAVRIN-FPGA%d version %d.\n", slot_address, record[1], record[2]);
    else
        print("The module in slot 0x%x is a KAVRIN-IO%d version %d.\n", slot_address, record[1], record[2]);
    print_compression_support();
    note_device(record);
    return 0;
}

int Model::check_compression(bool is_fpga, const Byte* record)
{
    if (record[1] <= (is_fpga ? 3 : 4)) {
        supports_compressed_loading = record[29] == 1;
        return 0;
    }
    const unsigned b = board_of(slot_address);
    const unsigned s = slot_of(slot_address);
    if (const uint32_t status = platform_.SendMessageEx(handle, 11, b, s, nullptr, 0, TIMEOUT)) {
        const std::string words = api_text(status);
        if (is_fpga)
            return fail(9223, "Error 9223. Cannot send KSB message to slot 0x%x (via \"%s %d\") (%s).",
                        slot_address, board_type.c_str(), board_number, words.c_str());
        return fail(9226, "Error 9226. Cannot send KSB message to slot 0x%x (via \"%s %d\") (%s).",
                    slot_address, board_type.c_str(), board_number, words.c_str());
    }
    Byte answer[30] = {};
    uint8_t type = 0;
    uint32_t received = 0;
    if (const uint32_t status =
            platform_.ReceiveMessageEx(handle, &type, b, s, answer, 30, &received, TIMEOUT)) {
        const std::string words = api_text(status);
        if (is_fpga)
            return fail(9224, "Error 9224. Cannot receive KSB message (via board \"%s %d\") (%s).",
                        board_type.c_str(), board_number, words.c_str());
        return fail(9227, "Error 9227. Cannot receive KSB message (via \"%s %d\") (%s).", board_type.c_str(),
                    board_number, words.c_str());
    }
    if (type != 12 && is_fpga)
        return fail(
            9225,
            "Error 9225. Error in reply to \"do you support compressed loading?\", got %d, board \"%s %d\".",
            type, board_type.c_str(), board_number);
    if (type != 12)
        return fail(
            9228,
            "Error 9228. Error in reply to \"do you support compressed loading?\", got %d, board \"%s %d\".",
            type, board_type.c_str(), board_number);
    if (answer[0] == 1)
        supports_compressed_loading = true;
    return 0;
}

void Model::print_compression_support()
{
    if (supports_compressed_loading)
        print("The module supports loading of compressed bitstreams.\n");
    else
        print("The module does NOT support loading of compressed bitstreams.\n");
}

void Model::note_device(const Byte* record)
{
    device_name.clear();
    for (int i = 3; i < 29 && record[i] != 0; ++i)
        device_name += static_cast<char>(record[i]);
    get_device_family(device_name);
    const DeviceParts parts = split_device_name(device_name);
    print("The FPGA on this module is a %s device, in an %s package.\n", parts.device.c_str(),
          parts.package.c_str());
    print("The FPGA speed grade is -%s.\n", parts.speed.c_str());
}

void Model::get_device_family(const std::string& name)
{
    const std::string key = family_key(name);
    if (key == "2vp" || key == "2v")
        virtex2_family = true;
}

// Module search

int Model::search_for_modules()
{
    supports_compressed_loading = false;
    print("Searching for KAVRIN-FPGA and KAVRIN-IO modules\n");
    for (unsigned s = 1; s <= 4; ++s) {
        const int address = static_cast<int>(s) | (board_number * 16);
        supports_compressed_loading = false;
        int kind = 0;
        if (const int error = test_if_proc_module(address, kind))
            return error;
        if (verbose)
            print("Module type %x.\n", static_cast<unsigned>(kind));
        if (kind != -1)
            continue;
        Byte record[30] = {};
        int type = 0;
        if (const int error = query_module_type(address, record, type))
            return error;
        if (verbose)
            print("Second module type %x.\n", static_cast<unsigned>(type));
        if (type != FPGA_MODULE && type != IO_MODULE)
            continue;
        if (const int error = search_compression(type == FPGA_MODULE, s, record))
            return error;
        if (type == FPGA_MODULE) {
            print("\nA KAVRIN-FPGA%d version %d has been found in slot ", record[1], record[2]);
            print("%d of board %d.\n", static_cast<int>(s), board_number);
        } else {
            print("\nA KAVRIN-IO%d version %d has been found in slot ", record[1], record[2]);
            print("%d of board %d\n", static_cast<int>(s), board_number);
        }
        print_compression_support();
        note_device(record);
        if (yes("Is this the module you want to load (y/n)? ")) {
            slot_address = static_cast<uint8_t>(address);
            return 0;
        }
    }
    return fail(9096, "Error 9096. No KAVRIN-FPGA or KAVRIN-IO modules were configured.");
}

int Model::search_compression(bool is_fpga, unsigned slot_number, const Byte* record)
{
    if (record[1] <= (is_fpga ? 3 : 4)) {
        supports_compressed_loading = record[29] == 1;
        return 0;
    }
    if (const uint32_t status = platform_.SendMessage(handle, 11, slot_number, nullptr, 0, TIMEOUT)) {
        const std::string words = api_text(status);
        if (is_fpga)
            return fail(9090, "Error 9090. Cannot send KSB message to slot 0x%x, board \"%s %d\" (%s).",
                        slot_number, board_type.c_str(), board_number, words.c_str());
        return fail(9093, "Error 9093. Cannot send KSB message to slot 0x%x, board \"%s %d\" (%s).",
                    slot_number, board_type.c_str(), board_number, words.c_str());
    }
    Byte answer[30] = {};
    uint8_t type = 0;
    uint32_t received = 0;
    if (const uint32_t status =
            platform_.ReceiveMessage(handle, &type, slot_number, answer, 30, &received, TIMEOUT)) {
        const std::string words = api_text(status);
        if (is_fpga)
            return fail(9091, "Error 9091. Cannot receive KSB message to slot 0x%x, board \"%s %d\" (%s).",
                        slot_number, board_type.c_str(), board_number, words.c_str());
        return fail(9094, "Error 9094. Cannot receive KSB message to slot 0x%x, board \"%s %d\" (%s).",
                    slot_number, board_type.c_str(), board_number, words.c_str());
    }
    if (type != 12) {
        api_text(0);
        if (is_fpga)
            return fail(
                9092,
                "Error 9092. Error in reply to \"Do you support compressed loading?\". (Got 0x%d, expected 0x%x). Board \"%s %d\".",
                type, 12, board_type.c_str(), board_number);
        return fail(
            9095,
            "Error 9095. Error in reply to \"Do you support compressed loading?\". (Got 0x%x, expected 0x%x). Board \"%s %d\".",
            type, 12, board_type.c_str(), board_number);
    }
    if (answer[0] == 1)
        supports_compressed_loading = true;
    return 0;
}

} // namespace reference
