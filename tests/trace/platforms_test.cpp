// SPDX-License-Identifier: Apache-2.0
// What a recording platform writes down of all sixteen functions is what a replaying one gives back.
#include "recording_platform.h"
#include "replaying_platform.h"
#include "trace_support.h"

#include <numeric>

namespace
{
using mwapi::Platform;

/// Writes something of its own to wherever an argument leads.
class WritingPlatform final : public mwapi::UniformPlatform<WritingPlatform>
{
public:
    template <mwapi::Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        const auto& described = mwapi::describe(function).arguments;
        const auto values = mwapi::values(arguments...);
        for (std::size_t i = 0; i < values.size(); ++i)
            write(described[i], values[i]);
        return result;
    }
    [[nodiscard]] std::string_view announcement() const override { return "all is written down."; }
    [[nodiscard]] std::string_view version() const override { return "3.1"; }

    std::uint32_t result = 0;

private:
    void write(const mwapi::Argument& argument, const mwapi::Value& value)
    {
        if (!argument.is_written() || value.is_null())
            return;
        switch (argument.kind) {
        case mwapi::Kind::number_out:
            value.write(argument.name == "received" ? 2 : ++last_);
            break;
        case mwapi::Kind::text_out:
            std::char_traits<char>::copy(value.pointer<char>(), "words", 6);
            break;
        case mwapi::Kind::words_out:
            std::iota(value.pointer<std::uint32_t>(), value.pointer<std::uint32_t>() + argument.size, 70U);
            break;
        case mwapi::Kind::data_out:
            std::char_traits<char>::copy(value.pointer<char>(), "ok", 2);
            break;
        case mwapi::Kind::handle_out:
            *value.pointer<MW_HANDLE*>() = mwapi::to_handle(this);
            break;
        default:
            *value.pointer<MW_HANDLE*>() = nullptr;
            break;
        }
    }
    std::uint32_t last_ = 20;
};

/// All that calls of the sixteen functions give back, as text.
std::string exchange(Platform& platform)
{
    MW_HANDLE* handle = nullptr;
    std::uint32_t word = 0;
    std::uint16_t number = 0;
    std::uint8_t type = 0;
    char text[mwapi::ERROR_TEXT_SIZE] = {};
    std::uint32_t record[mwapi::BOARD_INFO_WORDS] = {};
    std::string all;
    const auto note = [&](std::uint32_t result) {
        all += std::to_string(result) + ' ' + std::to_string(word) + ' ' + std::to_string(number) + ' ' +
               std::to_string(type) + ' ' + text + ' ' + std::to_string(record[20]) +
               (handle == nullptr ? " closed\n" : " open\n");
    };
    note(platform.open("mwc4a", 3, "ksb", &handle, &word));
    note(platform.error_text(9, text));
    note(platform.board_info("mwc4a", 3, record));
    note(platform.device_info(handle, text, &number, &word));
    note(platform.init_io_status(handle, &word));
    note(platform.send(handle, 1, 2, "AB", 2, 5000));
    note(platform.receive(handle, &type, 2, text, 30, &word, 5000));
    note(platform.send_ex(handle, 1, 3, 2, nullptr, 0, 5000));
    note(platform.receive_ex(handle, &type, 3, 2, text, 30, &word, 5000));
    note(platform.start_send(handle, 3, 2, 5000));
    note(platform.send_data(handle, "CD", 2, 5000));
    note(platform.end_send(handle, 5000));
    note(platform.start_receive(handle, &word, 5000));
    note(platform.receive_data(handle, text, 2, &word, 5000));
    note(platform.end_receive(handle, 5000));
    note(platform.device_info(handle, nullptr, nullptr, nullptr));
    note(platform.close(&handle));
    return all;
}

class TracePlatforms : public FolderTest
{
protected:
    std::string recorded(std::uint32_t result)
    {
        WritingPlatform writing;
        writing.result = result;
        mwtrace::Recorder recorder{path("trace"), "test"};
        mwtrace::RecordingPlatform recording{writing, recorder};
        EXPECT_EQ(recording.announcement(), writing.announcement());
        EXPECT_EQ(recording.version(), "3.1");
        return exchange(recording);
    }
};

TEST_F(TracePlatforms, WhatIsRecordedIsReplayed)
{
    const std::string expected = recorded(0);
    EXPECT_NE(expected.find("0 22 21 "), std::string::npos) << expected;
    mwtrace::ReplayingPlatform replaying{path("trace")};
    EXPECT_EQ(exchange(replaying), expected);
    EXPECT_EQ(replaying.rest(), "");
    char text[mwapi::ERROR_TEXT_SIZE];
    replaying.error_text(0, text);
    EXPECT_NE(std::string{text}.find("departs from the recording: expected nothing more"), std::string::npos);
}

TEST_F(TracePlatforms, ACallThatFailsHasWrittenNothing)
{
    (void)recorded(0x77);
    const mwtrace::Recording recording{path("trace")};
    for (std::size_t i = 0; i < recording.size(); ++i) {
        const mwtrace::Record record = recording.record(i);
        const bool keeps = record.function == "MwErr2Text" || record.function == "MwClose";
        EXPECT_EQ(record.got.is_null(), !keeps) << record.function;
    }
}
} // namespace
