// SPDX-License-Identifier: Apache-2.0
// Loads a module's FPGA from an MCB file.
#include "formats/device_match.h"
#include "formats/mcb_format.h"
#include "formats/mcb_runs.h"
#include "formats/progress.h"
#include "kvnfpgai.h"
#include "loading/load_exchange.h"

#include <algorithm>
#include <span>

namespace
{
constexpr ExchangeMessages exchange_messages{
    .start = "Error 9156. Cannot start KSB message, slot 0x%x (via '%s %d') (%s).",
    .header = "Error 9157. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
    .flush = "Error 9173. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
    .end = "Error 9168. Cannot end KSB message, slot 0x%x (via '%s %d') (%s).",
    .start_reply = "Error 9169. Cannot start receive KSB message (via '%s %d') (%s).",
    .read_reply = "Error 9170. Cannot receive KSB message data (via '%s %d') (%s).",
    .end_reply = "Error 9171. Cannot end receive KSB message (via '%s %d') (%s).",
};
constexpr McbReadMessages read_messages{
    .count_error = "Error 9158. Failed to read of MCB file %s.",
    .count_end = "Error 9159. End of MCB file %s reached unexpectedly.",
    .value_error = "Error 9160. Failed to read of MCB file %s.",
    .value_end = "Error 9161. End of MCB file %s reached unexpectedly.",
};
constexpr PairMessages run_messages{
    .count = "Error 9162. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
    .value = "Error 9163. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
};
constexpr SlotMessage expanded_message =
    "Error 9164. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).";
constexpr PairMessages tail_pair_messages{
    .count = "Error 9165. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
    .value = "Error 9166. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).",
};
constexpr SlotMessage tail_byte_message =
    "Error 9167. Cannot send KSB message data, slot 0x%x (via '%s %d') (%s).";

// Required: older families are not sent the last four bytes, in either mode.
constexpr std::int64_t TAIL_BYTES = 4;
constexpr std::int64_t BYTES_PER_LOAD_REPORT = 5000;

int read_header(kvn_fpga_imp& session, FILE* fp, const char* device_name, std::int32_t& total_bytes)
{
    const char* file = session.bitstream_file;
    const McbMagic magic = read_mcb_magic(fp);
    if (magic == McbMagic::unreadable)
        return session.fail("Error 9150. Failed to read header section of MCB file %s.", file);
    if (magic == McbMagic::wrong)
        return session.fail("Error 9151. Invalid magic numbers in MCB file %s.", file);
    char text[256];
    if (!read_mcb_text(fp, text))
        return session.fail("Error 9152. Failed to read device type from MCB file %s.", file);
    if (!suits_device(device_name, text))
        return session.fail("Error 9153. Bitstream %s is not for a %s device.", file, device_name);
    // Required: the module's device, not the file's.
    if (session.verbose)
        session.print("The bitstream is for a %s device.\n", device_name);
    if (!read_mcb_text(fp, text))
        return session.fail("Error 9154. Failed to read timestamp from MCB file %s.", file);
    if (!read_mcb_number(fp, total_bytes))
        return session.fail("Error 9155. Failed to read number of bytes from MCB file %s.", file);
    if (session.verbose)
        session.print("The compressed file contains %d configuration bytes.\n", total_bytes);
    return 0;
}

/// Sends and counts the data of a file.
class McbData
{
public:
    McbData(kvn_fpga_imp& session, LoadExchange& load, FILE* fp, std::int32_t total_bytes)
        : runs_{fp}, session_{session}, load_{load}, total_{total_bytes}
    {
    }

    [[nodiscard]] std::int32_t bytes_done() const { return static_cast<std::int32_t>(done_); }

    int send()
    {
        while (done_ < total_) {
            const auto pairs = runs_.pairs();
            if (pairs.empty())
                return session_.fail(runs_.failure(read_messages), session_.bitstream_file);
            if (const int error = reaches_tail(pairs) ? send_tail(pairs.data()) : send_runs(pairs))
                return error;
            if (done_ > last_shown_ + BYTES_PER_LOAD_REPORT) {
                session_.show_progress(load_percent(bytes_done(), total_));
                last_shown_ = done_;
            }
        }
        return 0;
    }

private:
    [[nodiscard]] bool reaches_tail(std::span<const std::uint8_t> pairs) const
    {
        return !session_.virtex2_family && done_ + pairs[0] >= total_ - TAIL_BYTES;
    }

    /// Sends runs until a report is due or the data ends; near the tail of an older family only one, as the
    /// next may reach into it.
    int send_runs(std::span<const std::uint8_t> pairs)
    {
        std::int64_t room = total_ - done_;
        if (!session_.virtex2_family)
            room -= TAIL_BYTES + static_cast<std::int64_t>(LONGEST_RUN);
        if (room <= 0)
            pairs = pairs.first(PAIR_SIZE);
        const std::int64_t to_report = last_shown_ + BYTES_PER_LOAD_REPORT + 1 - done_;
        const auto enough = static_cast<std::size_t>(std::min(to_report, std::max<std::int64_t>(room, 1)));

        std::uint8_t bytes[expanded_size(BYTES_PER_LOAD_REPORT + 1)];
        const auto taken =
            load_.compressed() ? measure_runs(pairs, enough) : expand_runs(pairs, enough, bytes);
        runs_.skip(taken.pair_bytes);
        done_ += static_cast<std::int64_t>(taken.data_bytes);
        return load_.compressed() ? load_.send_pairs(pairs.first(taken.pair_bytes), run_messages)
                                  : load_.send({bytes, taken.data_bytes}, expanded_message);
    }

    /// Sends the part of the last run that lies before the tail.
    int send_tail(const std::uint8_t* pair)
    {
        const std::int64_t count = total_ - TAIL_BYTES - done_;
        done_ = total_;
        if (load_.compressed()) {
            // Required: in 8 bits, so a total of fewer than 4 bytes gives a large count.
            const std::uint8_t cut_pair[PAIR_SIZE] = {static_cast<std::uint8_t>(count), pair[1]};
            return load_.send_pairs(cut_pair, tail_pair_messages);
        }
        if (count <= 0)
            return 0;
        std::uint8_t copies[LONGEST_RUN + EXPAND_STEP];
        expand_run(copies, static_cast<std::size_t>(count), pair[1]);
        return load_.send({copies, static_cast<std::size_t>(count)}, tail_byte_message);
    }

    McbRunReader runs_;
    kvn_fpga_imp& session_;
    LoadExchange& load_;
    std::int32_t total_;
    std::int64_t done_ = 0;
    std::int64_t last_shown_ = 0;
};
} // namespace

int kvn_fpga_imp::Load_Bitstream_mcb(const char* given_type, int given_number, int given_address, FILE* fp,
                                     const char* given_device)
{
    File file = take_over(fp);
    announce_load(*this, given_type, given_number, given_address);
    std::int32_t total_bytes = 0;
    if (const int error = read_header(*this, fp, given_device, total_bytes))
        return error;
    LoadExchange load{*this, exchange_messages, given_number, given_address};
    if (const int error = load.start())
        return error;
    McbData data{*this, load, fp, total_bytes};
    if (const int error = data.send())
        return error;
    if (const int error = load.flush())
        return error;
    // Required: a blank before the newline, unlike the other loaders.
    // Choice: of 0 bytes no percentage is shown (docs/decisions/0006-percentages.md).
    if (total_bytes != 0)
        print("\r%% Done: %d \n", load_percent(data.bytes_done(), total_bytes));
    file.reset();

    // Required: no comparison of sizes here.
    print("The bitstream has been downloaded.\n");
    int status = 0;
    if (const int error = load.finish(status))
        return error;
    if (status != CONFIGURED)
        return fail("Error 9172. Configuration was unsuccessful %d.", status);
    load.report_success();
    return 0;
}
