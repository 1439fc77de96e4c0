// A platform that only counts: one board with one module, which takes everything and does nothing with it.
#include "counting_platform.h"

#include "mwapi.h"

#include <cstring>

struct MW_HANDLE {
};

namespace
{
constexpr std::uint32_t USUAL_SIZE = 8;
constexpr std::uint8_t DESCRIPTION_REPLY = 2;
constexpr std::uint8_t FPGA_MODULE = 2;
constexpr std::uint8_t CONFIGURED = 5;
constexpr std::size_t DEVICE_OFFSET = 3;
constexpr std::size_t COMPRESSION_OFFSET = 29;
constexpr char DEVICE[] = "2vp100ff1704-6";

MW_HANDLE device;
SentData sent;
bool takes_compressed = false;

std::uint32_t describe_module(std::uint8_t* type, void* data, std::uint32_t* received)
{
    std::uint8_t record[COMPRESSION_OFFSET + 1] = {FPGA_MODULE, 3, 1};
    std::memcpy(record + DEVICE_OFFSET, DEVICE, sizeof DEVICE);
    record[COMPRESSION_OFFSET] = takes_compressed ? 1 : 0;
    std::memcpy(data, record, sizeof record);
    *type = DESCRIPTION_REPLY;
    *received = sizeof record;
    return 0;
}
} // namespace

const SentData& sent_data()
{
    return sent;
}

void accept_compressed(bool yes)
{
    takes_compressed = yes;
}

uint32_t MwKSBStartSendMessageEx(MW_HANDLE*, uint32_t, uint32_t, uint32_t)
{
    sent = {};
    return 0;
}

uint32_t MwKSBSendMessageDataEx(MW_HANDLE*, const void*, uint32_t length, uint32_t)
{
    ++sent.calls;
    sent.bytes += length;
    if (length != USUAL_SIZE)
        ++sent.odd_calls;
    return 0;
}

uint32_t MwOpenS(const char*, uint16_t, const char*, MW_HANDLE** handle, uint32_t*)
{
    *handle = &device;
    return 0;
}

uint32_t MwClose(MW_HANDLE**)
{
    return 0;
}

uint32_t MwErr2Text(uint32_t, char* text)
{
    text[0] = '\0';
    return 0;
}

uint32_t MwGetBoardInfo(const char*, uint16_t, uint32_t* record)
{
    const std::uint32_t slots[] = {1, 0, 1, 0, 0};
    std::memcpy(record + 1, slots, sizeof slots);
    return 0;
}

uint32_t MwGetDeviceInfo(MW_HANDLE*, char*, uint16_t*, uint32_t* kind)
{
    *kind = 0;
    return 0;
}

uint32_t MwInitIoStatus(MW_HANDLE*, uint32_t*)
{
    return 0;
}

uint32_t MwKSBSendMessage(MW_HANDLE*, uint32_t, uint32_t, const void*, uint32_t, uint32_t)
{
    return 0;
}

uint32_t MwKSBReceiveMessage(MW_HANDLE*, uint8_t* type, uint32_t, void* data, uint32_t, uint32_t* received,
                             uint32_t)
{
    return describe_module(type, data, received);
}

uint32_t MwKSBSendMessageEx(MW_HANDLE*, uint32_t, uint32_t, uint32_t, const void*, uint32_t, uint32_t)
{
    return 0;
}

uint32_t MwKSBReceiveMessageEx(MW_HANDLE*, uint8_t* type, uint32_t, uint32_t, void* data, uint32_t,
                               uint32_t* received, uint32_t)
{
    return describe_module(type, data, received);
}

uint32_t MwKSBEndOfSendMessageEx(MW_HANDLE*, uint32_t)
{
    return 0;
}

uint32_t MwKSBStartReceiveMessageEx(MW_HANDLE*, uint32_t*, uint32_t)
{
    return 0;
}

uint32_t MwKSBReceiveMessageDataEx(MW_HANDLE*, void* data, uint32_t size, uint32_t* received, uint32_t)
{
    std::memset(data, CONFIGURED, size);
    *received = size;
    return 0;
}

uint32_t MwKSBEndOfReceiveMessageEx(MW_HANDLE*, uint32_t)
{
    return 0;
}
