// SPDX-License-Identifier: Apache-2.0
// The platform functions of an outside host: every open fails, so there are no boards.
#include <mwapi.h>

#include <cstdio>
#include <cstring>

uint32_t MwOpenS(const char* board_type, uint16_t board_number, const char* device, MW_HANDLE**, uint32_t*)
{
    const bool as_given =
        std::strcmp(board_type, "mwc4a") == 0 && board_number == 6 && std::strcmp(device, "ksb") == 0;
    return as_given ? 41 : 42;
}

uint32_t MwErr2Text(uint32_t code, char* text)
{
    std::snprintf(text, 256, "the host's code %u", code);
    return 0;
}

// Without an open board none of these is called.
uint32_t MwClose(MW_HANDLE**)
{
    return 1;
}
uint32_t MwGetBoardInfo(const char*, uint16_t, uint32_t*)
{
    return 1;
}
uint32_t MwGetDeviceInfo(MW_HANDLE*, char*, uint16_t*, uint32_t*)
{
    return 1;
}
uint32_t MwInitIoStatus(MW_HANDLE*, uint32_t*)
{
    return 1;
}
uint32_t MwKSBSendMessage(MW_HANDLE*, uint32_t, uint32_t, const void*, uint32_t, uint32_t)
{
    return 1;
}
uint32_t MwKSBReceiveMessage(MW_HANDLE*, uint8_t*, uint32_t, void*, uint32_t, uint32_t*, uint32_t)
{
    return 1;
}
uint32_t MwKSBSendMessageEx(MW_HANDLE*, uint32_t, uint32_t, uint32_t, const void*, uint32_t, uint32_t)
{
    return 1;
}
uint32_t MwKSBReceiveMessageEx(MW_HANDLE*, uint8_t*, uint32_t, uint32_t, void*, uint32_t, uint32_t*, uint32_t)
{
    return 1;
}
uint32_t MwKSBStartSendMessageEx(MW_HANDLE*, uint32_t, uint32_t, uint32_t)
{
    return 1;
}
uint32_t MwKSBSendMessageDataEx(MW_HANDLE*, const void*, uint32_t, uint32_t)
{
    return 1;
}
uint32_t MwKSBEndOfSendMessageEx(MW_HANDLE*, uint32_t)
{
    return 1;
}
uint32_t MwKSBStartReceiveMessageEx(MW_HANDLE*, uint32_t*, uint32_t)
{
    return 1;
}
uint32_t MwKSBReceiveMessageDataEx(MW_HANDLE*, void*, uint32_t, uint32_t*, uint32_t)
{
    return 1;
}
uint32_t MwKSBEndOfReceiveMessageEx(MW_HANDLE*, uint32_t)
{
    return 1;
}
