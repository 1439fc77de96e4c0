// SPDX-License-Identifier: Apache-2.0
// What the inspection of one format needs of the whole.
#ifndef KVN_ENGINE_FILE_INSPECTORS_H
#define KVN_ENGINE_FILE_INSPECTORS_H

#include "file/inspection.h"
#include "formats/run_coding.h"
#include "hashing/configuration_digest.h"
#include "support/owned.h"

#include <memory>
#include <span>
#include <string_view>

namespace kvn
{

/// Where the configuration data of a file go: to a model of the device, and to those who count.
class DataSink
{
public:
    /// @param taker may be null
    DataSink(Inspection& inspection, DataTaker* taker);
    /// Takes bytes in transmission order.
    void take(std::span<const std::uint8_t> bytes);
    /// @param bits of the data, if the last byte is not whole
    void finish(std::optional<std::uint64_t> bits = std::nullopt);

private:
    Inspection& inspection_;
    DataTaker* taker_;
    hashing::ConfigurationDigest digest_;
    std::unique_ptr<fpga::ConfigurationPort> port_;
    RunEncoder runs_;
};

/// Notes the part that a header names, and what device it is.
void note_part(Inspection& inspection, std::string part);

/// Each reads a file from its beginning, by the library's own reader of the format.
/// The taker may be null.
void inspect_rbt(File file, Inspection& inspection, DataTaker* taker);
void inspect_bit(File file, Inspection& inspection, DataTaker* taker);
void inspect_mcb(File file, Inspection& inspection, DataTaker* taker);

/// Without the blanks and line ends around it.
[[nodiscard]] std::string_view trimmed(std::string_view text);

inline constexpr std::uint64_t PLAIN_TAIL = 16; ///< bytes of an RBT or BIT file that a plain load holds back
inline constexpr std::uint64_t MCB_TAIL = 4;    ///< bytes of an MCB file that every load holds back

inline constexpr const char* MAKE_AGAIN = "copy the file again in binary mode, else make it again";

} // namespace kvn

#endif
