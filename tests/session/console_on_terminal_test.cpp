// SPDX-License-Identifier: Apache-2.0
// Standard output on a terminal.
#include "support/run_fixture.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>

namespace
{
class ConsoleOnTerminal : public RunFixture
{
protected:
    ConsoleOnTerminal() { remove_callbacks(session); }
};

TEST_F(ConsoleOnTerminal, ShowsProgressAtOnce)
{
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(::grantpt(terminal), 0);
    ASSERT_EQ(::unlockpt(terminal), 0);
    write_file("input");
    std::string seen;
    {
        const StandardStreams streams{std::fopen("input", "r"), std::fopen(::ptsname(terminal), "w")};
        session.xprint("\r% Done: 7");
        // The text must arrive although the stream is neither full nor closed; the limit only ends a failure.
        pollfd arrival{.fd = terminal, .events = POLLIN, .revents = 0};
        ASSERT_EQ(::poll(&arrival, 1, 20000), 1) << "nothing was shown";
        char text[64];
        const ssize_t length = ::read(terminal, text, sizeof text);
        ASSERT_GT(length, 0);
        seen.assign(text, static_cast<std::size_t>(length));
    }
    ::close(terminal);
    EXPECT_EQ(seen, "\r% Done: 7");
}
} // namespace
