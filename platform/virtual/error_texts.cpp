// SPDX-License-Identifier: Apache-2.0
// The texts of the virtual carriers' own codes.
#include "error_texts.h"

#include "virtual_carrier.h"

#include <array>
#include <cstdio>

namespace mwvirtual
{

std::string hexadecimal(std::uint32_t code)
{
    std::array<char, 11> text{};
    (void)std::snprintf(text.data(), text.size(), "0x%08X", code);
    return text.data();
}

std::string own_text(std::uint32_t code)
{
    switch (code) {
    case SUCCESS:
        return "no error";
    case BAD_RACK:
        return "the rack description cannot be used";
    case NO_SUCH_BOARD:
        return "the rack has no such board";
    case NO_SUCH_DEVICE:
        return "the board has no such device";
    case NULL_POINTER:
        return "a pointer is null";
    case UNKNOWN_HANDLE:
        return "the handle is not open";
    case NOT_A_KSB:
        return "the handle is not that of a serial bus";
    case BAD_SLOT:
        return "slots are numbered 1 to 4";
    case NOT_ON_BUS:
        return "the board is not reached over this bus";
    case NO_MODULE:
        return "there is no module in the slot";
    case NO_SERIAL_BUS:
        return "the module has no serial bus";
    case MESSAGE_OPEN:
        return "a message is still open";
    case NO_OPEN_MESSAGE:
        return "no message was started";
    case MODULE_BUSY:
        return "the module is taking another message";
    case NO_REQUEST:
        return "a reply without a request";
    case NO_REPLY:
        return "the module did not answer within the time-out";
    case REPLY_OPEN:
        return "a reply is still open";
    case NO_OPEN_REPLY:
        return "no reply was started";
    case TOO_MANY_REPLIES:
        return "too many replies wait to be received";
    case MESSAGE_EMPTY:
        return "the message is empty";
    case KEEP_FAILED:
        return "the file of a load cannot be kept";
    case STATE_FAILED:
        return "the state of a module cannot be read or kept";
    default:
        return "error " + hexadecimal(code);
    }
}

} // namespace mwvirtual
