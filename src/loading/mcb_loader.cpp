// Loads a module's FPGA from an MCB file.
#include "formats/device_match.h"
#include "formats/mcb_format.h"
#include "formats/mcb_runs.h"
#include "formats/progress.h"
#include "kvnfpgai.h"
#include "loading/load_exchange.h"

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

/// Gathers the data of neighbouring runs, to send it at once: the pairs as they stand, or the bytes they
/// expand to.
class RunSender
{
public:
    explicit RunSender(LoadExchange& load) : load_{load} {}

    int add(const std::uint8_t* pair)
    {
        if (load_.compressed()) {
            used_[0] = pair[0];
            used_[1] = pair[1];
            used_ += PAIR_SIZE;
        } else {
            used_ = expand_run(used_, pair[0], pair[1]);
        }
        return used_ - bytes_ > CAPACITY ? send() : 0;
    }

    int send()
    {
        const std::span<const std::uint8_t> bytes{bytes_, used_};
        used_ = bytes_;
        return load_.compressed() ? load_.send_pairs(bytes, run_messages)
                                  : load_.send(bytes, expanded_message);
    }

private:
    static constexpr std::ptrdiff_t CAPACITY = 4096;

    LoadExchange& load_;
    std::uint8_t bytes_[CAPACITY + LONGEST_RUN + 16];
    std::uint8_t* used_ = bytes_;
};

/// Sends the data of a file, and counts its bytes.
class McbData
{
public:
    McbData(kvn_fpga_imp& session, LoadExchange& load, FILE* fp, std::int32_t total_bytes)
        : session_{session}, load_{load}, runs_{fp}, sender_{load}, total_{total_bytes}
    {
    }

    [[nodiscard]] std::int32_t bytes_done() const { return static_cast<std::int32_t>(done_); }

    int send_all()
    {
        while (done_ < total_) {
            const auto pairs = runs_.pairs();
            if (pairs.empty()) {
                if (const int error = sender_.send())
                    return error;
                return session_.fail(runs_.failure(read_messages), session_.bitstream_file);
            }
            std::size_t i = 0;
            for (; i < pairs.size() && done_ < total_; i += PAIR_SIZE)
                if (const int error = send_run(&pairs[i]))
                    return error;
            runs_.skip(i);
        }
        return sender_.send();
    }

private:
    int send_run(const std::uint8_t* pair)
    {
        if (!session_.virtex2_family && done_ + pair[0] >= total_ - TAIL_BYTES) {
            if (const int error = send_tail(pair))
                return error;
            done_ = total_;
        } else {
            if (const int error = sender_.add(pair))
                return error;
            done_ += pair[0];
        }
        return done_ > last_shown_ + BYTES_PER_LOAD_REPORT ? show_progress() : 0;
    }

    /// Sends the run that reaches into the tail, without what lies in the tail. It is the last one sent.
    int send_tail(const std::uint8_t* pair)
    {
        if (const int error = sender_.send())
            return error;
        if (load_.compressed()) {
            // Required: in 8 bits, so a total of fewer than 4 bytes gives a large count.
            const std::uint8_t cut_pair[PAIR_SIZE] = {static_cast<std::uint8_t>(total_ - done_ - TAIL_BYTES),
                                                      pair[1]};
            return load_.send_pairs(cut_pair, tail_pair_messages);
        }
        std::uint8_t copies[LONGEST_RUN + 16];
        const std::int64_t count = std::max<std::int64_t>(0, total_ - TAIL_BYTES - done_);
        expand_run(copies, static_cast<std::size_t>(count), pair[1]);
        return load_.send({copies, static_cast<std::size_t>(count)}, tail_byte_message);
    }

    int show_progress()
    {
        if (const int error = sender_.send())
            return error;
        session_.print("\r%% Done: %d", load_percent(static_cast<std::int32_t>(done_), total_));
        last_shown_ = done_;
        return 0;
    }

    kvn_fpga_imp& session_;
    LoadExchange& load_;
    McbRunReader runs_;
    RunSender sender_;
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
    if (const int error = data.send_all())
        return error;
    if (const int error = load.flush())
        return error;
    // Required: a blank before the newline, unlike the other loaders. Choice: of 0 bytes no percentage is
    // shown.
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
