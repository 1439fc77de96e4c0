// SPDX-License-Identifier: Apache-2.0
// Writes an MCB file: header fields, then runs. Both converters to MCB use it, each with its own error
// numbers.
#ifndef KVN_FPGA_FORMATS_MCB_WRITER_H
#define KVN_FPGA_FORMATS_MCB_WRITER_H

#include "formats/block_file.h"
#include "formats/mcb_format.h"
#include "formats/progress.h"
#include "formats/run_coding.h"
#include "kvnfpgai.h"

#include <span>
#include <string_view>

/// Messages for a failed write of data; each names the MCB file.
struct McbDataMessages {
    Message<const char*> count;
    Message<const char*> value;
    Message<const char*> last_count;
    Message<const char*> last_value;
};

class McbWriter
{
public:
    /// @param file_name the MCB file's name, for the messages
    McbWriter(kvn_fpga_imp& session, const char* file_name, File file, const McbDataMessages& messages)
        : session_{session}, file_name_{file_name}, messages_{messages}, output_{std::move(file)}
    {
    }

    // Each takes the message for its failure and returns 0 or that message's number.
    int write_number(std::uint32_t number, const Message<const char*>& message);
    int write_text(std::string_view text, const Message<const char*>& message);

    /// Codes and counts the next words, and shows progress when a report is due.
    int write_words(std::span<const std::uint8_t> bytes, BitTally& bits);

    /// Writes the last run, shows the final line and closes the file.
    int finish(const BitTally& bits);

    /// Checks, after finish, that everything written reached the file.
    /// @return 0, or the error number of the last write
    int check_file();

private:
    int write_field(const void* field, std::size_t size, const Message<const char*>& message);
    int write_pairs(const std::uint8_t* pairs, std::size_t size, const Message<const char*>& count,
                    const Message<const char*>& value);

    kvn_fpga_imp& session_;
    const char* file_name_;
    const McbDataMessages& messages_;
    BlockWriter output_;
    RunEncoder runs_;
    bool complete_ = false;
};

#endif
