// SPDX-License-Identifier: Apache-2.0
// Single words of a bitstream: their way into the send buffer.
#include "load_fixture.h"

namespace
{
class BitstreamWords : public LoadFixture
{
protected:
    BitstreamWords() { open_bus("mwc4a", 0); }
    void TearDown() override
    {
        close_bus();
        LoadFixture::TearDown();
    }

    /// Opens a message, as data may only go into one.
    void start() { MwKSBStartSendMessageEx(session.handle, 0, 2, 5000); }

    [[nodiscard]] Bytes buffered() const
    {
        return {session.send_buffer, session.send_buffer + session.send_count};
    }
};

constexpr char CHARS[] = "10000000010000000010000000000001";
constexpr unsigned char BYTES[] = {0x01, 0x02, 0x04, 0x80};
} // namespace

TEST_F(BitstreamWords, GoIntoTheBufferAndThoseOfBytesReversed)
{
    start();
    EXPECT_EQ(session.Transmit_Bitstream_Word(CHARS), 0);
    EXPECT_EQ(buffered(), bytes("01 02 04 80"));
    EXPECT_EQ(session.Transmit_Bitstream_Bytes(BYTES), 0);
    EXPECT_EQ(buffered(), Bytes{});
    EXPECT_EQ(bus().back(), "SendMessageDataEx 01 02 04 80 80 40 20 01 timeout 5000");
}

TEST_F(BitstreamWords, Error9140OrError9390WhenAByteOrAWordCannotBeSentDropsTheRestOfTheWord)
{
    start();
    for (const bool characters : {true, false}) {
        session.send_count = 6;
        platform.fail("SendMessageDataEx");
        EXPECT_EQ(result(characters ? session.Transmit_Bitstream_Word(CHARS)
                                    : session.Transmit_Bitstream_Bytes(BYTES)),
                  Fails(std::string{characters ? "Error 9140" : "Error 9390"} +
                        ". Cannot send KSB message data, board \"mwc4a 0\" (api 0x77)."));
        EXPECT_EQ(buffered(), Bytes{});
    }
}
