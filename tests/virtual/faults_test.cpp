// SPDX-License-Identifier: Apache-2.0
// Planned faults: failing calls, wrong answers, a bad link, and the time of a bus.
#include "bus_support.h"

#include <gtest/gtest.h>

namespace
{

using namespace mwvirtual;
using namespace std::chrono_literals;

class Faults : public testing::Test
{
protected:
    Carrier carrier;
    Board board = carrier.board("mwc4a", 0);
    const Bytes stream = bus_stream("2v40");

    static Module module() { return fpga_module(4).device("2v40cs144-4").accepts_compressed(); }
};

TEST_F(Faults, TheNthCallFails)
{
    board.slot(1, module());
    carrier.fail_call(3, 0x80000001, "the cable is loose");
    Bus bus;
    EXPECT_EQ(error_text(0), "no error") << "not counted";
    EXPECT_EQ(bus.ask(1, 0, 1), SUCCESS);
    EXPECT_EQ(bus.answer(0, 1).result, 0x80000001U);
    EXPECT_EQ(error_text(0x80000001), "the cable is loose");
    EXPECT_EQ(bus.answer(0, 1).result, SUCCESS) << "a failed call had no effect, and fails once";
}

TEST_F(Faults, TheNthCallOfAFunctionFails)
{
    board.slot(1, module());
    carrier.fail_call(Function::MwKSBSendMessageEx, 2, 0x77);
    carrier.fail_call(Function::MwClose, 1, 0x78);
    Bus bus;
    EXPECT_EQ(bus.query(1, 0, 1).result, SUCCESS);
    EXPECT_EQ(bus.ask(1, 0, 1), 0x77U);
    EXPECT_EQ(MwClose(&bus.handle), 0x78U);
    EXPECT_NE(bus.handle, nullptr);
    EXPECT_EQ(MwClose(&bus.handle), SUCCESS);
}

TEST_F(Faults, ForgettingCallsForgetsPlannedFailures)
{
    board.slot(1, module());
    carrier.fail_call(2, 0x77);
    carrier.forget_calls();
    Bus bus;
    EXPECT_EQ(bus.ask(1, 0, 1), SUCCESS);
}

TEST_F(Faults, AModuleAnswersWithAnotherType)
{
    board.slot(1, module().answers_type(Reply::identification, 9).answers_type(Reply::compression, 8, 2));
    Bus bus;
    EXPECT_EQ(bus.query(1, 0, 1).type, 9U);
    EXPECT_EQ(bus.query(1, 0, 1).type, 9U);
    EXPECT_EQ(bus.query(11, 0, 1).type, 12U);
    EXPECT_EQ(bus.query(11, 0, 1).type, 8U);
    EXPECT_EQ(bus.query(11, 0, 1).type, 12U);
}

TEST_F(Faults, AModuleAnswersTooShort)
{
    board.slot(1, module().answers_short(Reply::identification, 3).answers_short(Reply::load, 0));
    Bus bus;
    EXPECT_EQ(bus.query(1, 0, 1).data, (Bytes{2, 4, 1}));
    const Received reply = bus.load(0, 1, PLAIN, stream);
    EXPECT_EQ(reply.result, SUCCESS);
    EXPECT_TRUE(reply.data.empty());
}

TEST_F(Faults, AModuleDoesNotAnswer)
{
    board.slot(1, module().does_not_answer(Reply::compression).does_not_answer(Reply::load, 1));
    Bus bus;
    EXPECT_EQ(bus.query(11, 0, 1).result, NO_REPLY);
    EXPECT_EQ(bus.load(0, 1, PLAIN, stream).result, NO_REPLY);
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, stream)), 5);
}

TEST_F(Faults, AModuleAnswersAWrongStatus)
{
    board.slot(1, module().answers_status(4));
    Bus bus;
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, stream)), 4);
    EXPECT_TRUE(carrier.contents("mwc4a", 0, 1).done);
    EXPECT_EQ(carrier.contents("mwc4a", 0, 1).verdict, Verdict::success);
}

TEST_F(Faults, TheLinkFlipsAByteInEveryMessage)
{
    board.slot(1, module()).flips_byte(1002, 0x10);
    Bus bus;
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, stream)), 2);
    Bytes flipped = stream;
    flipped[1000] ^= 0x10;
    EXPECT_EQ(carrier.contents("mwc4a", 0, 1).configuration, flipped);
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, stream)), 2);
}

TEST_F(Faults, TheLinkDropsAByte)
{
    board.slot(1, module()).drops_byte(1002);
    Bus bus;
    EXPECT_NE(status_of(bus.load(0, 1, PLAIN, stream)), 5);
    Bytes rest = stream;
    rest.erase(rest.begin() + 1000);
    EXPECT_EQ(carrier.contents("mwc4a", 0, 1).configuration, rest);
    EXPECT_EQ(status_of(bus.load(0, 1, COMPRESSED, fpga::run_code(stream))), 6);
}

TEST_F(Faults, FaultsOfABusDoNotTouchAnother)
{
    board.drops_byte(5);
    carrier.board("mwc4a", 1).slot(1, module());
    Bus bus{"mwc4a", 1};
    EXPECT_EQ(status_of(bus.load(1, 1, {0x03, 0x0D}, stream)), 5);
}

// Waits are added up, so only their sum is defined: messages of a load (start, end, reply) and its bytes.
TEST_F(Faults, ABusTakesItsTime)
{
    std::chrono::nanoseconds waited{0};
    carrier.on_wait([&](std::chrono::nanoseconds time) { waited += time; });
    board.slot(1, module()).latency(100us).bandwidth(1'000'000);
    Bus bus;
    EXPECT_EQ(waited, 0ns);
    ASSERT_EQ(status_of(bus.load(0, 1, PLAIN, stream)), 5);
    EXPECT_GE(waited, 300us + 1us * (stream.size() + 3));
    EXPECT_LE(waited, 300us + 1us * (stream.size() + 5));
}

TEST_F(Faults, WithoutLatencyOrBandwidthNothingWaits)
{
    bool waited = false;
    carrier.on_wait([&](std::chrono::nanoseconds) { waited = true; });
    board.slot(1, module());
    Bus bus;
    ASSERT_EQ(status_of(bus.load(0, 1, PLAIN, stream)), 5);
    EXPECT_FALSE(waited);
}

} // namespace
