// SPDX-License-Identifier: Apache-2.0
// A module in a slot: receives messages byte by byte, answers, and loads its FPGA.
#ifndef MWVIRTUAL_MODULE_MODEL_H
#define MWVIRTUAL_MODULE_MODEL_H

#include "configuration_port.h"
#include "state_store.h"
#include "virtual_carrier.h"

#include <map>
#include <span>
#include <string_view>

namespace mwvirtual
{

/// A whole message on the bus.
struct Message {
    std::uint8_t type = 0;
    std::vector<std::uint8_t> data;
};

/// Whether a name can only be that of a file in the folder where it is created.
[[nodiscard]] bool is_plain_name(std::string_view name);
/// Throws std::invalid_argument for a name that is not plain.
void require_plain_name(std::string_view name);

class ModuleModel
{
public:
    explicit ModuleModel(Module settings);

    [[nodiscard]] bool has_serial_bus() const { return settings_.kind != ModuleKind::no_bus; }
    /// The five words of the board-information record.
    [[nodiscard]] std::array<std::uint32_t, 5> info_words() const;
    [[nodiscard]] bool busy() const { return receiving_; }

    [[nodiscard]] const std::string& device_name() const { return settings_.device_name; }
    [[nodiscard]] bool keeps_data() const { return settings_.keep_data; }

    /// Begins a message over the bus of the board with this number.
    /// @param stored keeps the state of the module until the message ends; null if it is not kept. Then no
    ///               operation throws StateError.
    void begin_message(unsigned bus_board, StoredMessage* stored = nullptr);
    void take(std::span<const std::uint8_t> bytes);
    /// Ends the message.
    /// @return the module's reply, if it has one
    std::optional<Message> end_message();
    /// Drops an incomplete message.
    void drop_message();
    /// Whether a message that begins with this byte is a load.
    [[nodiscard]] static bool is_load_type(std::uint32_t type);

    [[nodiscard]] const Contents& contents() const { return contents_; }
    /// The name of the file for the last message's configuration bytes; empty if they are not to be kept.
    [[nodiscard]] std::string kept_as() const { return is_load() ? settings_.keep_file : ""; }

private:
    static constexpr std::size_t HEADER_SIZE = 2;

    void take_header_byte(std::uint8_t byte);
    void begin_load();
    void note_received(std::span<const std::uint8_t> bytes);
    void take_load_data(std::span<const std::uint8_t> bytes);
    void take_run_byte(std::uint8_t byte);
    void configure(std::span<const std::uint8_t> bytes);
    std::optional<Message> answer();
    std::optional<Message> identify() const;
    std::optional<Message> tell_compression() const;
    Message finish_load();
    void judge_load();
    void settle(Verdict verdict, std::string reason);
    std::optional<Message> spoil(Reply reply, std::optional<Message> message);
    [[nodiscard]] bool answers_compression_query() const;
    [[nodiscard]] bool is_load() const;

    Module settings_;
    const fpga::Device* device_ = nullptr;
    std::unique_ptr<fpga::ConfigurationPort> port_;
    Contents contents_;

    bool receiving_ = false;
    StoredMessage* stored_ = nullptr;
    unsigned bus_board_ = 0;
    std::size_t header_bytes_ = 0;
    std::array<std::uint8_t, HEADER_SIZE> header_{};
    std::optional<std::uint8_t> run_count_; ///< the count of a pair whose value is still to come
    std::map<Reply, unsigned> replies_;     ///< the number of replies of each kind so far
};

} // namespace mwvirtual

#endif
