// SPDX-License-Identifier: Apache-2.0
// How boards and modules are named.
#include "module/module_name.h"

#include "errors/failure.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
using kvn::BoardName;
using kvn::ExitStatus;
using kvn::FailureError;
using kvn::ModuleName;

/// What an operation refuses.
template <class Operation>
kvn::Failure failure_of(Operation operation)
{
    try {
        (void)operation();
    } catch (const FailureError& error) {
        EXPECT_EQ(error.what(), error.failure().what);
        return error.failure();
    }
    return {.status = ExitStatus::done, .what = "none"};
}

TEST(ModuleName, IsWrittenAsItIsRead)
{
    for (const char* text : {"mwc4a:0/2", "mwc4a:15/4", "mwc4a:0/1.2", "mwc4a:3/3.1", "X-1_b:7/0.4"})
        EXPECT_EQ(to_text(kvn::parse_module_name(text)), text);
    for (const char* text : {"mwc4a:0", "mwc3a:15"})
        EXPECT_EQ(to_text(kvn::parse_board_name(text)), text);
}

TEST(ModuleName, HasTheAddressOfItsCarrier)
{
    const ModuleName own = kvn::parse_module_name("mwc4a:3/2");
    EXPECT_EQ(own, (ModuleName{.board = {"mwc4a", 3}, .slot = 2}));
    EXPECT_EQ(own.carrier(), 3U);
    EXPECT_EQ(own.slot_address(), 0x32);
    const ModuleName reached = kvn::parse_module_name("mwc4a:3/15.4");
    EXPECT_EQ(reached, (ModuleName{.board = {"mwc4a", 3}, .target_board = 15, .slot = 4}));
    EXPECT_EQ(reached.carrier(), 15U);
    EXPECT_EQ(reached.slot_address(), 0xF4);
}

TEST(ModuleName, ThatIsNoneIsRefusedWithTheForm)
{
    const std::string type(32, 'b');
    for (const std::string& text : {std::string{},
                                    std::string{"mwc4a"},
                                    std::string{"mwc4a:0"},
                                    std::string{"mwc4a:0/"},
                                    std::string{"mwc4a:0/0"},
                                    std::string{"mwc4a:0/5"},
                                    std::string{"mwc4a:16/1"},
                                    std::string{"mwc4a:0/16.1"},
                                    std::string{"mwc4a:0/.1"},
                                    std::string{"mwc4a:0/1."},
                                    std::string{"mwc4a:-1/1"},
                                    std::string{"mwc4a:0/ 1"},
                                    std::string{"mwc4a:0/1 "},
                                    std::string{":0/1"},
                                    std::string{"mwc 4a:0/1"},
                                    std::string{"mwc4a:0x1/1"},
                                    std::string{"mwc4a:4294967296/1"},
                                    std::string{"mwc4a:0/1/2"},
                                    std::string{"mwc4a:0:0/1"},
                                    type + ":0/1"}) {
        const kvn::Failure failure = failure_of([&] { return kvn::parse_module_name(text); });
        EXPECT_EQ(failure.status, ExitStatus::usage) << text;
        EXPECT_EQ(failure.what, "\"" + text + "\" names no module");
        EXPECT_EQ(failure.remedy,
                  "write board type, board (0 to 15) and slot (1 to 4), such as mwc4a:0/2, or "
                  "mwc4a:0/1.2 for slot 2 of board 1 over the bus of board 0");
    }
    EXPECT_EQ(failure_of([] { return kvn::parse_board_name("mwc4a:0/1"); }).what,
              "\"mwc4a:0/1\" names no board");
    EXPECT_EQ(to_text(kvn::parse_module_name(type.substr(1) + ":0/1")), type.substr(1) + ":0/1");
}

TEST(ModuleName, ThatWasNotParsedIsCheckedBeforeUse)
{
    const auto words = [](const ModuleName& name) {
        return failure_of([&] {
                   kvn::require_valid(name);
                   return 0;
               })
            .what;
    };
    EXPECT_EQ(words({.board = {"mwc4a", 15}, .target_board = 15, .slot = 4}), "none");
    EXPECT_EQ(words({.board = {"", 0}}), "\"\" is no board type");
    EXPECT_EQ(words({.board = {"mwc4a", 16}}), "boards are numbered 0 to 15, not 16");
    EXPECT_EQ(words({.board = {"mwc4a", 0}, .target_board = 16}), "boards are numbered 0 to 15, not 16");
    EXPECT_EQ(words({.board = {"mwc4a", 0}, .slot = 0}), "slots are numbered 1 to 4, not 0");
    EXPECT_EQ(words({.board = {"mwc4a", 0}, .slot = 5}), "slots are numbered 1 to 4, not 5");
}

TEST(EnvironmentBoard, IsThatOfTheFirstVariableThatIsSet)
{
    const auto ksb = kvn::environment_board("mwc4a 3", "mwc3a 1");
    ASSERT_TRUE(ksb);
    EXPECT_EQ(ksb->type, "mwc4a");
    EXPECT_EQ(ksb->number, 3U);
    const auto jtag = kvn::environment_board(nullptr, "\t mwc3a\t 1 ");
    ASSERT_TRUE(jtag);
    EXPECT_EQ(jtag->type, "mwc3a");
    EXPECT_EQ(jtag->number, 1U);
    const auto type_alone = kvn::environment_board("mwc4a", nullptr);
    ASSERT_TRUE(type_alone);
    EXPECT_EQ(type_alone->number, std::nullopt);
}

TEST(EnvironmentBoard, IsNoneWithoutAValue)
{
    EXPECT_FALSE(kvn::environment_board(nullptr, nullptr));
    EXPECT_FALSE(kvn::environment_board("", "mwc4a 0")) << "a variable that is empty takes precedence";
    EXPECT_FALSE(kvn::environment_board(" \t", nullptr));
}

TEST(EnvironmentBoard, ThatIsNoneIsRefusedWithTheVariablesName)
{
    for (const char* value : {"mwc4a x", "mwc4a 16", "mwc4a 0 1", "mwc4a:0", "mwc4a -1"}) {
        const kvn::Failure failure = failure_of([&] { return kvn::environment_board(value, nullptr); });
        EXPECT_EQ(failure.status, ExitStatus::usage);
        EXPECT_EQ(failure.what, "MWAPIKSB is \"" + std::string{value} + "\", which names no board");
        EXPECT_EQ(failure.remedy, "set it to a board's type and number, such as \"mwc4a 0\"");
    }
    EXPECT_EQ(failure_of([] { return kvn::environment_board(nullptr, "mwc4a 1e0"); }).what,
              "MWAPIJTAG is \"mwc4a 1e0\", which names no board");
}
} // namespace
