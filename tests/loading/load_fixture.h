// SPDX-License-Identifier: Apache-2.0
// A fixture for loads: a module in slot 2 of board mwc4a 0, an open bus, and a file of each kind.
#ifndef KVN_FPGA_TESTS_LOADING_LOAD_FIXTURE_H
#define KVN_FPGA_TESTS_LOADING_LOAD_FIXTURE_H

#include "support/bitstreams.h"
#include "support/faults.h"
#include "support/run_fixture.h"

#include <cstring>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

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
    Result load_rbt() { return load_rbt(std::fopen("design.rbt", "rb")); }
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
