// SPDX-License-Identifier: Apache-2.0
// The program defines the sixteen Mw... functions itself, as one does that has its own access to the boards.
// Here they lead to no board: every open fails, and the library quotes the program's words.
//     defined FILE
#include <kvn_fpga.h>
#include <mwapi.h>

#include <cstdio>

namespace
{
constexpr uint32_t NO_BOARDS = 1;
} // namespace

uint32_t MwOpenS(const char* /*board_type*/, uint16_t /*number*/, const char* /*device*/,
                 MW_HANDLE** /*handle*/, uint32_t* /*reserved*/)
{
    return NO_BOARDS;
}

uint32_t MwErr2Text(uint32_t /*code*/, char* text)
{
    (void)std::snprintf(text, 256, "this program has no boards"); // the library's buffer has 256 bytes
    return 0;
}

// Never called, as no board opens; but all sixteen must be there.
uint32_t MwClose(MW_HANDLE**)
{
    return NO_BOARDS;
}
uint32_t MwGetBoardInfo(const char*, uint16_t, uint32_t*)
{
    return NO_BOARDS;
}
uint32_t MwGetDeviceInfo(MW_HANDLE*, char*, uint16_t*, uint32_t*)
{
    return NO_BOARDS;
}
uint32_t MwInitIoStatus(MW_HANDLE*, uint32_t*)
{
    return NO_BOARDS;
}
uint32_t MwKSBSendMessage(MW_HANDLE*, uint32_t, uint32_t, const void*, uint32_t, uint32_t)
{
    return NO_BOARDS;
}
uint32_t MwKSBReceiveMessage(MW_HANDLE*, uint8_t*, uint32_t, void*, uint32_t, uint32_t*, uint32_t)
{
    return NO_BOARDS;
}
uint32_t MwKSBSendMessageEx(MW_HANDLE*, uint32_t, uint32_t, uint32_t, const void*, uint32_t, uint32_t)
{
    return NO_BOARDS;
}
uint32_t MwKSBReceiveMessageEx(MW_HANDLE*, uint8_t*, uint32_t, uint32_t, void*, uint32_t, uint32_t*, uint32_t)
{
    return NO_BOARDS;
}
uint32_t MwKSBStartSendMessageEx(MW_HANDLE*, uint32_t, uint32_t, uint32_t)
{
    return NO_BOARDS;
}
uint32_t MwKSBSendMessageDataEx(MW_HANDLE*, const void*, uint32_t, uint32_t)
{
    return NO_BOARDS;
}
uint32_t MwKSBEndOfSendMessageEx(MW_HANDLE*, uint32_t)
{
    return NO_BOARDS;
}
uint32_t MwKSBStartReceiveMessageEx(MW_HANDLE*, uint32_t*, uint32_t)
{
    return NO_BOARDS;
}
uint32_t MwKSBReceiveMessageDataEx(MW_HANDLE*, void*, uint32_t, uint32_t*, uint32_t)
{
    return NO_BOARDS;
}
uint32_t MwKSBEndOfReceiveMessageEx(MW_HANDLE*, uint32_t)
{
    return NO_BOARDS;
}

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    kvn_fpga fpga;
    char board[] = "mwc4a";
    if (fpga.kvn_fpga_board(board, 0, 1, argv[1], 0, 0) != 0) {
        (void)std::fprintf(stderr, "%s\n", fpga.kvn_fpga_getlasterr());
        return 1;
    }
    return 0;
}
