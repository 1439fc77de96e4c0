// SPDX-License-Identifier: Apache-2.0
// A fixture for loads: a module in slot 2 of board mwc4a 0, an open bus, and a file of each kind.
#ifndef KVN_FPGA_TESTS_LOADING_LOAD_FIXTURE_H
#define KVN_FPGA_TESTS_LOADING_LOAD_FIXTURE_H

#include "support/bitstreams.h"
#include "support/faults.h"
#include "support/run_fixture.h"

#include <cstring>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

using Lines = std::vector<std::string>;

/// A platform call of a load that fails, and the text of the error that the load then ends with.
struct FailedCall {
    std::string load; ///< which load, by a name of the test's own
    int call;         ///< which call, from 1
    int calls;        ///< of the whole load
    std::string text;

    friend void PrintTo(const FailedCall& row, std::ostream* out)
    {
        *out << row.load << ", call " << row.call;
    }
};

/// The calls of each load, every one of which has an error.
inline std::vector<FailedCall>
failed_calls(const std::vector<std::pair<std::string, std::vector<std::string>>>& loads)
{
    std::vector<FailedCall> rows;
    for (const auto& [load, texts] : loads) {
        int call = 0;
        for (const std::string& text : texts)
            rows.push_back({load, ++call, static_cast<int>(texts.size()), text});
    }
    return rows;
}

/// The text of a call that has failed.
inline std::string cannot(int number, const std::string& what)
{
    return "Error " + std::to_string(number) + ". Cannot " + what + " (via 'mwc4a 0') (api 0x77).";
}

inline std::string cannot_send(int number)
{
    return cannot(number, "send KSB message data, slot 0x2");
}

/// The numbers of the calls around a load's data.
struct CallNumbers {
    int start;
    int header;
    int end;
    int start_reply;
    int read_reply;
    int end_reply;
};

/// The texts of all calls of a load, of which those for its data are given.
inline std::vector<std::string> whole_load(const CallNumbers& numbers, const std::vector<std::string>& data,
                                           const std::string& end_reply = "end KSB message")
{
    std::vector<std::string> all{cannot(numbers.start, "start KSB message, slot 0x2"),
                                 cannot_send(numbers.header)};
    all.insert(all.end(), data.begin(), data.end());
    all.insert(all.end(), {cannot(numbers.end, "end KSB message, slot 0x2"),
                           cannot(numbers.start_reply, "start receive KSB message"),
                           cannot(numbers.read_reply, "receive KSB message data"),
                           cannot(numbers.end_reply, end_reply)});
    return all;
}

class LoadFixture : public RunFixture
{
public:
    /// Comes before the library's calls of MwKSBEndOfSendMessageEx.
    static void note_end_of_data()
    {
        if (current == nullptr)
            return;
        current->at_end_of_data = current->result(current->session.last_error);
        current->descriptors_at_end_of_data = count_descriptors();
    }

protected:
    LoadFixture() : module{platform.board("mwc4a", 0).slot(2, fpga_module(4))}
    {
        current = this;
        session.slot_address = 0x02;
        session.virtex2_family = 1;
        device("2v3000fg676-4");
    }

    ~LoadFixture() override { current = nullptr; }

    /// The device of the module, as its loader is told.
    void device(const std::string& name)
    {
        device_name = name;
        std::strcpy(session.device_name, name.c_str());
    }

    void compress(bool yes = true) { session.supports_compressed_loading = yes ? 1 : 0; }

    Result load_rbt(const RbtFile& file)
    {
        file.write();
        return load_rbt();
    }
    Result load_rbt() { return load_rbt(std::fopen("design.rbt", "r")); }
    Result load_rbt(FILE* stream) { return load(&kvn_fpga_imp::Load_Bitstream_rbt, "design.rbt", stream); }

    Result load_bit(const BitFile& file)
    {
        file.write();
        return load_bit();
    }
    Result load_bit() { return load_bit(std::fopen("design.bit", "rb")); }
    Result load_bit(FILE* stream) { return load(&kvn_fpga_imp::Load_Bitstream_bit, "design.bit", stream); }

    Result load_mcb(const McbFile& file)
    {
        file.write();
        return load_mcb();
    }
    Result load_mcb() { return load_mcb(std::fopen("design.mcb", "rb")); }
    Result load_mcb(FILE* stream) { return load(&kvn_fpga_imp::Load_Bitstream_mcb, "design.mcb", stream); }

    /// Loads on a bus of its own. What happened is then in `events`.
    template <class Loader>
    Result load(Loader loader, const char* name, FILE* stream)
    {
        open_bus("mwc4a", board_number);
        std::strcpy(session.bitstream_file, name);
        session.last_error = 0;
        session.last_error_text[0] = '\0';
        session.send_count = static_cast<std::uint32_t>(left_over.size());
        std::copy(left_over.begin(), left_over.end(), session.send_buffer);
        clear_log();
        const Result outcome = result(
            (session.*loader)("mwc4a", board_number, session.slot_address, stream, device_name.c_str()));
        events = log();
        printed_texts = prints();
        close_bus();
        return outcome;
    }

    /// Lets the row's platform call fail, behind which nothing happens; the next load is whole.
    template <class Load>
    void expect_failed_call(const FailedCall& row, Load load_file)
    {
        platform.fail_call(row.call);
        EXPECT_EQ(load_file(), Fails(row.text));
        EXPECT_EQ(events.back(), "* Err2Text 0x77");
        platform.fail_nothing();
        const int before = platform.calls();
        EXPECT_EQ(load_file(), Succeeds());
        EXPECT_EQ(platform.calls() - before, row.calls) << "calls of the whole load";
    }

    /// The percentages that were shown.
    [[nodiscard]] Lines progress() const { return progress_among(printed_texts); }

    /// The bytes of each piece that went out.
    [[nodiscard]] Lines pieces() const
    {
        const std::string before = "* SendMessageDataEx ";
        const std::string behind = " timeout 5000";
        Lines all;
        for (const std::string& line : events)
            if (line.starts_with(before))
                all.push_back(line.substr(before.size(), line.size() - before.size() - behind.size()));
        return all;
    }

    Module& module;
    std::uint16_t board_number = 0;
    std::string device_name;
    /// What an earlier load left in the send buffer.
    Bytes left_over;
    Lines events;
    Lines printed_texts;
    /// What the session held of errors when the message was ended.
    Result at_end_of_data{};
    std::size_t descriptors_at_end_of_data = 0;
    FaultScope faults;

private:
    inline static thread_local LoadFixture* current = nullptr;
};

#endif
