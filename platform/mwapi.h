// SPDX-License-Identifier: Apache-2.0
/* The board-access API as kvn_fpga calls it: sixteen C functions that the host process provides.
 *
 * The library leaves these names undefined and binds each to the host's at its first call: either the program
 * defines or links them, or it loads them with dlopen(..., RTLD_GLOBAL) before it loads libkvn_fpga.
 *
 * Every function returns 0 for success or an error code of 32 bits; MwErr2Text puts a code into words.
 * Time-outs are in the API's own unit; the library always passes 5000. Boards are numbered 0 to 15, slots 1
 * to 4.
 */
#ifndef MWAPI_H
#define MWAPI_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* An open device. Opaque: only the platform knows its content. */
typedef struct MW_HANDLE MW_HANDLE;

/* The kind of device that MwGetDeviceInfo reports for a handle on a board's serial bus. */
#define MW_DEVICE_KIND_KSB 3

/* Opens a device ("ksb": the serial bus) of a board and stores its handle. The last argument points to a word
 * of value 0, which the library does not read afterwards. */
uint32_t MwOpenS(const char* board_type, uint16_t board_number, const char* device, MW_HANDLE** handle,
                 uint32_t* reserved);

/* Closes a device and may clear the handle. */
uint32_t MwClose(MW_HANDLE** handle);

/* Writes a readable, zero-terminated text for an error code into a buffer of 256 bytes. */
uint32_t MwErr2Text(uint32_t code, char* text);

/* Fills a board information record: one leading word (0 before the call), then five words for each slot 1 to
 * 4, of which the first three are: a module is present, it is a processor module (1), it has a serial bus. */
uint32_t MwGetBoardInfo(const char* board_type, uint16_t board_number, uint32_t* record);

/* Reports the board and the kind of device that a handle was opened on. The board type needs 32 characters;
 * the caller sets kind to 0 before, so that a platform may write 16 or 32 bits. */
uint32_t MwGetDeviceInfo(MW_HANDLE* handle, char* board_type, uint16_t* board_number, uint32_t* kind);

/* Prepares an I/O status object. */
uint32_t MwInitIoStatus(MW_HANDLE* handle, uint32_t* io_status);

/* Sends or receives one whole message to or from a slot of the opened board. */
uint32_t MwKSBSendMessage(MW_HANDLE* handle, uint32_t type, uint32_t slot, const void* data, uint32_t length,
                          uint32_t timeout);
uint32_t MwKSBReceiveMessage(MW_HANDLE* handle, uint8_t* type, uint32_t slot, void* data, uint32_t size,
                             uint32_t* received, uint32_t timeout);

/* The same for a slot of any board reached over the opened board's bus. */
uint32_t MwKSBSendMessageEx(MW_HANDLE* handle, uint32_t type, uint32_t board, uint32_t slot, const void* data,
                            uint32_t length, uint32_t timeout);
uint32_t MwKSBReceiveMessageEx(MW_HANDLE* handle, uint8_t* type, uint32_t board, uint32_t slot, void* data,
                               uint32_t size, uint32_t* received, uint32_t timeout);

/* Sends a message in pieces: start, any number of data calls, end. */
uint32_t MwKSBStartSendMessageEx(MW_HANDLE* handle, uint32_t board, uint32_t slot, uint32_t timeout);
uint32_t MwKSBSendMessageDataEx(MW_HANDLE* handle, const void* data, uint32_t length, uint32_t timeout);
uint32_t MwKSBEndOfSendMessageEx(MW_HANDLE* handle, uint32_t timeout);

/* Receives a message in pieces. Writes the message type to a word that the caller has set to 0. */
uint32_t MwKSBStartReceiveMessageEx(MW_HANDLE* handle, uint32_t* type, uint32_t timeout);
uint32_t MwKSBReceiveMessageDataEx(MW_HANDLE* handle, void* data, uint32_t size, uint32_t* received,
                                   uint32_t timeout);
uint32_t MwKSBEndOfReceiveMessageEx(MW_HANDLE* handle, uint32_t timeout);

#ifdef __cplusplus
}
#endif

#endif
