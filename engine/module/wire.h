// SPDX-License-Identifier: Apache-2.0
// What passes between the library and the provider during one list or load: counted, watched, and cut off
// when the load is cancelled.
#ifndef KVN_ENGINE_MODULE_WIRE_H
#define KVN_ENGINE_MODULE_WIRE_H

#include "bus/module_protocol.h"
#include "errors/catalogue.h"
#include "module/load.h"
#include "provider/load_watch.h"
#include "uniform_platform.h"

#include <array>
#include <cstdint>
#include <optional>

namespace kvn
{

/// What the calls that send data answer when the load was cancelled; the text says so.
inline constexpr std::uint32_t CANCELLED = 0xE3000002;

using BoardInfo = std::array<std::uint32_t, mwapi::BOARD_INFO_WORDS>;
using IdentificationRecord = std::array<std::uint8_t, RECORD_SIZE>;

/// In front of a provider, on one thread. It sends nothing of its own.
class Wire final : public mwapi::UniformPlatform<Wire>
{
public:
    /// @param behind must outlive this
    /// @param control receives what is counted, from the beginning, and may cancel; must outlive this
    Wire(mwapi::Platform& behind, LoadControl& control);

    template <mwapi::Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        return (behind_.*mwapi::CALL<function>.operation)(arguments...);
    }
    std::uint32_t open(const char* board_type, std::uint16_t board_number, const char* device,
                       MW_HANDLE** handle, std::uint32_t* reserved) override;
    std::uint32_t error_text(std::uint32_t code, char* text) override;
    std::uint32_t board_info(const char* board_type, std::uint16_t board_number,
                             std::uint32_t* record) override;
    std::uint32_t receive_ex(MW_HANDLE* handle, std::uint8_t* type, std::uint32_t board, std::uint32_t slot,
                             void* data, std::uint32_t size, std::uint32_t* received,
                             std::uint32_t timeout) override;
    std::uint32_t start_send(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                             std::uint32_t timeout) override;
    std::uint32_t send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                            std::uint32_t timeout) override;
    std::uint32_t end_send(MW_HANDLE* handle, std::uint32_t timeout) override;
    std::uint32_t receive_data(MW_HANDLE* handle, void* data, std::uint32_t size, std::uint32_t* received,
                               std::uint32_t timeout) override;
    std::uint32_t end_receive(MW_HANDLE* handle, std::uint32_t timeout) override;

    /// Bytes of the load's message that the provider took.
    [[nodiscard]] std::uint64_t bytes() const { return control_.bytes_.load(std::memory_order_relaxed); }
    /// Calls of data that succeeded.
    [[nodiscard]] std::uint64_t data_calls() const { return data_calls_; }
    /// From the beginning of the message to its end, or to the call that failed; null before the end.
    [[nodiscard]] std::optional<double> seconds() const;
    /// Whether a call was answered with CANCELLED.
    [[nodiscard]] bool was_cancelled() const { return was_cancelled_; }
    [[nodiscard]] mwapi::LoadPhase phase() const { return watch_.phase; }
    /// What the module holds after what has passed.
    [[nodiscard]] ModuleState state() const;
    /// The module's answer to the load; null before it has counted.
    [[nodiscard]] std::optional<std::uint8_t> answer() const;
    /// Whether the module's answer to the load was without a status. What the module holds is not known then.
    [[nodiscard]] bool has_empty_answer() const { return has_empty_answer_; }
    /// The information of the board that was asked last; null after a failure.
    [[nodiscard]] const std::optional<BoardInfo>& info() const { return info_; }
    /// The last identification record; null before the first one.
    [[nodiscard]] const std::optional<IdentificationRecord>& identification() const
    {
        return identification_;
    }
    /// Forgets the information and the record.
    void forget_slot();

private:
    std::uint32_t pass_on(MW_HANDLE* handle, const void* data, std::uint32_t length, std::uint32_t timeout);
    std::uint32_t send_and_tell(MW_HANDLE* handle, const void* data, std::uint32_t length,
                                std::uint32_t timeout);
    std::uint32_t fail(std::uint32_t result);
    std::uint32_t cut_off();
    void note_end();
    void tell(const void* data, std::uint32_t length);
    void tell(LoadStep step);
    void report();

    mwapi::Platform& behind_;
    decltype(&::MwKSBSendMessageDataEx) direct_; ///< the provider's own function, if it has one
    LoadControl& control_;
    std::uint64_t data_calls_ = 0;
    std::uint64_t next_ = 0; ///< the count of bytes at which somebody is to be told
    std::optional<std::uint64_t> reported_;
    bool was_cancelled_ = false;
    bool has_empty_answer_ = false;
    mwapi::LoadWatch watch_;
    std::optional<BoardInfo> info_;
    std::optional<IdentificationRecord> identification_;
};

} // namespace kvn

#endif
