// SPDX-License-Identifier: Apache-2.0
// The messages that identify a module.
#ifndef KVN_FPGA_BUS_MODULE_PROTOCOL_H
#define KVN_FPGA_BUS_MODULE_PROTOCOL_H

#include <cstddef>
#include <cstdint>

inline constexpr std::uint32_t KSB_MSG_MODULE_TYPE_QUERY = 1;
inline constexpr std::uint32_t KSB_MSG_MODULE_TYPE_REPLY = 2;
inline constexpr std::uint32_t KSB_MSG_COMPRESSION_QUERY = 11;
inline constexpr std::uint32_t KSB_MSG_COMPRESSION_REPLY = 12;

// The types of modules that this library configures.
inline constexpr int KAVRIN_FPGA = 2;
inline constexpr int KAVRIN_IO = 4;

// The identification record. Every reply buffer has its size.
inline constexpr std::size_t RECORD_SIZE = 30;
inline constexpr std::size_t RECORD_MODEL = 1;
inline constexpr std::size_t RECORD_VERSION = 2;
inline constexpr std::size_t RECORD_DEVICE = 3;
inline constexpr std::size_t RECORD_DEVICE_SIZE = 26;
inline constexpr std::size_t RECORD_COMPRESSION = 29;

/// Whether the module answers the compression query; older models state it in their record. The two kinds of
/// modules changed at different models.
constexpr bool answers_compression_query(const std::uint8_t* record)
{
    const int last_model_with_flag = record[0] == KAVRIN_FPGA ? 3 : 4;
    return record[RECORD_MODEL] > last_model_with_flag;
}

// What a slot holds.
inline constexpr int SLOT_EMPTY = 0;
inline constexpr int SLOT_PROCESSOR = 1;
inline constexpr int SLOT_WITHOUT_BUS = 2;
inline constexpr int SLOT_OTHER_BOARD = 3;
inline constexpr int SLOT_WITH_BUS = -1;

#endif
