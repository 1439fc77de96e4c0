// SPDX-License-Identifier: Apache-2.0
// The answers of modules and platform. The identification record comes first, so that dictionaries of device
// names reach it.
#include "kvnfpgai.h"
#include "sessions.h"
#include "target.h"

namespace
{
void take_answers(WatchedPlatform& platform, Choices& input)
{
    Module slot = fpga_module(4);
    std::ranges::copy(input.exactly(slot.record.size()), slot.record.begin());
    // Mostly the expected answer, so that a run reaches the next one.
    if (input.once_in(4))
        slot.type_reply_type = input.byte();
    if (input.once_in(4))
        slot.compression_reply_type = input.byte();
    slot.compression_reply = input.bytes(input.below(40));
    if (input.once_in(4))
        slot.verdict = input.bytes(input.below(4));
    slot.load_reply_type = input.word();
    slot.claimed = input.word();
    if (input.once_in(4))
        for (std::uint32_t& word : slot.info)
            word = input.byte();
    platform.fill_slots(slot);
    const int failing_call = input.yes() ? static_cast<int>(1 + input.below(32)) : 0;
    platform.fail_call(failing_call, input.word() | 1U);
    const bool words_have_no_end = input.yes();
    platform.handle_kind = input.once_in(4) ? input.word() : MW_DEVICE_KIND_KSB;
    platform.handle_board_number = input.byte();
    platform.error_words = input.line();
    if (words_have_no_end)
        platform.error_words.assign(mwapi::ERROR_TEXT_SIZE, '%');
    platform.handle_board_type = input.text(40);
}

/// Device names as a session holds them, filled by modules.
void look_at_device(const std::string& name)
{
    kvn_fpga_imp session;
    session.kvn_fpga_set_userprint(take_print);
    char family[16] = "untouched";
    const std::string text = name.substr(0, name.find('\0'));
    const int known = session.Get_Device_Family(text.c_str(), family);
    require(known == 1 || (known == 0 && std::string_view{family} == "untouched"),
            "only a known family is named");
    session.Print_Device_Statistics(text.c_str());
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static char file[] = "good.rbt";
    static char board_type[] = "mwc4a";
    const InWorkplace here;
    look_at_device(Choices{data, size}.text(31));
    for (int way = 0; way < 3; ++way) {
        Choices input{data, size};
        WatchedPlatform platform;
        take_answers(platform, input);
        kvn_fpga object;
        answer_simply(object);
        int result = 0;
        if (way == 0) {
            result = object.kvn_fpga_board(board_type, 0, 1, file, 0, 1);
        } else if (way == 1) {
            result = object.kvn_fpga_handle(platform.callers_handle(), 2, file, 0, 3);
        } else {
            result =
                run_line(object, platform, {"-fgood.mcb", "-v", "-dmwc4a", "-b0"}, platform.callers_handle());
        }
        check_result(result, object.kvn_fpga_getlasterr());
        platform.require_closed();
        require(!platform.failed || result != 0, "a call that fails is never taken for a success");
    }
    return 0;
}
