// SPDX-License-Identifier: Apache-2.0
// The four ways into a run: each resets the session, fills it and starts the driver.
#include "bus/slot_address.h"
#include "kvnfpgai.h"
#include "support/text.h"

namespace
{
/// What the platform reports about a handle that the caller opened.
struct DeviceInfo {
    // Larger than the 32 characters that are requested, in case a platform writes more.
    char board_type[256] = {};
    std::uint16_t board_number = 0;
    // Platforms write 16 or 32 bits here.
    std::uint32_t kind = 0;
    std::uint32_t status;

    explicit DeviceInfo(MW_HANDLE* handle)
    {
        status = MwGetDeviceInfo(handle, board_type, &board_number, &kind);
        board_type[sizeof board_type - 1] = '\0';
    }
};

/// Decodes an action code.
/// @return false for an unknown one
bool set_action(kvn_fpga_imp& session, int action)
{
    if (action < 0 || action > 2)
        return false;
    session.make_mcb = action == 1 ? 1 : 0;
    session.make_rbt = action == 2 ? 1 : 0;
    return true;
}

void set_flags(kvn_fpga_imp& session, int flags)
{
    session.verbose = (flags & 1) != 0 ? 1 : 0;
    session.prompt_user = (flags & 2) != 0 ? 1 : 0;
    session.never_compress = (flags & 4) != 0 ? 1 : 0;
}

/// Takes the module's bus address: the direct entry points never search.
void set_module(kvn_fpga_imp& session, int kavrinid)
{
    session.slot_given = 1;
    session.slot_address = static_cast<std::uint8_t>(kavrinid);
    session.slot = slot_of(kavrinid);
    session.file_is_rbt = 1;
}
} // namespace

int kvn_fpga_imp::kvn_fpga_board(const char* devstr, int given_number, int kavrinid, const char* rbtfile,
                                 int action, int flags)
{
    Initialise();
    const Finally close_files{[this] { close_open_files(); }};
    prompt_user = 0;
    handle_is_external = 0;
    handle = nullptr;
    board_type_given = 1;
    if (devstr == nullptr)
        return fail("Error 9310: kvn_fpga_board: The 'devstr' parameter is NULL.");
    copy_text(board_type, devstr);
    board_number_given = 1;
    board_number = static_cast<std::uint16_t>(given_number);
    set_module(*this, kavrinid);
    if (rbtfile == nullptr)
        return fail("Error 9311: kvn_fpga_board: The 'rbtfile' parameter is NULL.");
    copy_text(bitstream_file, rbtfile);
    if (!set_action(*this, action))
        return fail("Error 9312: kvn_fpga_board: Unknown action %d.", action);
    set_flags(*this, flags);
    return kvn_fpga_main();
}

int kvn_fpga_imp::kvn_fpga_handle(MW_HANDLE* given_handle, int kavrinid, const char* rbtfile, int action,
                                  int flags)
{
    Initialise();
    const Finally close_files{[this] { close_open_files(); }};
    prompt_user = 0;
    if (given_handle == nullptr)
        return fail("Error 9300: kvn_fpga_handle: The device handle is NULL.");
    const DeviceInfo device{given_handle};
    copy_text(board_type, device.board_type);
    board_number = device.board_number;
    if (device.status != 0)
        return fail(
            "Error 9301: kvn_fpga_handle: Cannot retrieve information from device handle (API error 0x%lx).",
            static_cast<unsigned long>(device.status));
    board_type_given = 1;
    board_number_given = 1;
    if (device.kind == MW_DEVICE_KIND_KSB) {
        handle_is_external = 1;
        handle = given_handle;
    }
    set_module(*this, kavrinid);
    if (rbtfile == nullptr)
        return fail("Error 9302: kvn_fpga_handle: The 'rbtfile' parameter is NULL.");
    copy_text(bitstream_file, rbtfile);
    if (!set_action(*this, action))
        return fail("Error 9303: kvn_fpga_handle: Unknown action %d.", action);
    set_flags(*this, flags);
    return kvn_fpga_main();
}

int kvn_fpga_imp::kvn_fpga(MW_HANDLE* given_handle, int argc, char** argv)
{
    Initialise();
    const Finally close_files{[this] { close_open_files(); }};
    prompt_user = 1;
    handle_is_external = 0;
    if (const int error = parse_command_line(argc, argv))
        return error;
    if (given_handle != nullptr) {
        const DeviceInfo device{given_handle};
        api_status = static_cast<std::int32_t>(device.status);
        if (device.status != 0)
            return fail(
                "Error 9307: kvn_fpga: Cannot retrieve information from device handle (API error 0x%lx).",
                static_cast<unsigned long>(device.status));
        // Required: the handle's board only decides whether the handle suits the command line.
        const bool type_suits = !board_type_given || stricmp(board_type, device.board_type) == 0;
        const bool number_suits = !board_number_given || board_number == device.board_number;
        if (device.kind == MW_DEVICE_KIND_KSB && type_suits && number_suits) {
            handle_is_external = 1;
            handle = given_handle;
        }
    }
    return con_given ? Process_Con_File() : kvn_fpga_main();
}

int kvn_fpga_imp::kvn_fpga(int argc, char** argv)
{
    return kvn_fpga(nullptr, argc, argv);
}
