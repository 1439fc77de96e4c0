// SPDX-License-Identifier: Apache-2.0
// The state of modules in a folder: what outlives a program that is killed, and what several programs see of
// each other.
#include "state_fixture.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <system_error>

namespace
{

using namespace mwvirtual;

void check(bool good, const char* what)
{
    if (!good)
        throw std::system_error(errno, std::generic_category(), what);
}

/// Another process with a rack of its own. It writes a byte to its standard output for each step, and lives
/// until it is killed.
class OtherProcess
{
public:
    explicit OtherProcess(const std::function<void(const std::function<void()>&)>& steps)
    {
        int ends[2];
        check(pipe(ends) == 0, "pipe");
        child_ = fork();
        check(child_ != -1, "fork");
        if (child_ == 0) {
            close(ends[0]);
            steps([&] {
                if (write(ends[1], "+", 1) != 1)
                    _exit(2);
            });
            for (;;)
                pause();
        }
        close(ends[1]);
        steps_ = ends[0];
    }
    ~OtherProcess()
    {
        if (child_ != -1)
            kill();
        close(steps_);
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    [[nodiscard]] pid_t number() const { return child_; }
    /// Waits for that many steps. @return whether they were done
    bool wait_for_steps(std::size_t count) const
    {
        char step = 0;
        while (count != 0 && read(steps_, &step, 1) == 1)
            --count;
        return count == 0;
    }
    void kill()
    {
        ::kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
        child_ = -1;
    }

private:
    pid_t child_ = -1;
    int steps_ = -1;
};

/// Ends a child process with a status that names the check that failed.
void require_in_child(bool good, int check_number)
{
    if (!good)
        _exit(check_number);
}

class StateOfProcesses : public State
{
protected:
    /// A process that has sent part of a load to slot 1, and holds the message open.
    [[nodiscard]] std::unique_ptr<OtherProcess> sender() const
    {
        auto other = std::make_unique<OtherProcess>([&](const auto& step) {
            const Carrier carrier = rack();
            Bus bus;
            begin_load(bus, std::span{design}.first(2 * BLOCK + 1000));
            step();
            for (;;)
                pause();
        });
        EXPECT_TRUE(other->wait_for_steps(1));
        return other;
    }
};

TEST_F(StateOfProcesses, OfALoadByAKilledProcessIsPartOfItsData)
{
    const auto other = sender();
    const std::string process = "\"process\":" + std::to_string(other->number());
    EXPECT_TRUE(state_has(process));
    other->kill();
    EXPECT_TRUE(state_has("\"state\":\"part of its data\""));
    EXPECT_TRUE(state_has("\"bytes\":131072"));
    EXPECT_TRUE(state_has(process)) << "the message is left open";
    const Contents next = contents();
    EXPECT_FALSE(next.finished);
    EXPECT_FALSE(next.done);
    EXPECT_EQ(next.configuration, Bytes(design.begin(), design.begin() + 2 * BLOCK));
    EXPECT_EQ(next.reason, "the load has not ended");
}

TEST_F(StateOfProcesses, AMessageThatAKilledProcessLeftIsDroppedWhenTheBusIsOpened)
{
    sender()->kill();
    const Carrier carrier = rack();
    {
        const Bus other_bus{"mwc4a", 1};
        EXPECT_EQ(other_bus.opened, SUCCESS);
        EXPECT_FALSE(state_has("\"message\":null")) << "another bus has not carried it";
        const Bus not_a_bus{"mwc4a", 0, "jtag"};
        EXPECT_FALSE(state_has("\"message\":null"));
    }
    Bus bus;
    EXPECT_TRUE(state_has("\"message\":null"));
    EXPECT_TRUE(state_has("\"state\":\"part of its data\"")) << "what the module holds does not change";
    EXPECT_EQ(bus.end(), NO_OPEN_MESSAGE);
    EXPECT_EQ(bus.reply().result, NO_REQUEST);
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, design)), 5);
    EXPECT_EQ(carrier.contents("mwc4a", 0, 1).loads, 2U);
}

TEST_F(StateOfProcesses, AModuleThatReceivesAMessageOfAnotherProcessIsBusyUntilThatDies)
{
    const auto other = sender();
    const Carrier carrier = rack();
    Bus bus;
    EXPECT_FALSE(state_has("\"message\":null")) << "opening the bus leaves the message of a living process";
    EXPECT_EQ(bus.start(0, 1), MODULE_BUSY);
    EXPECT_EQ(bus.query(1, 0, 1).result, MODULE_BUSY);
    EXPECT_EQ(MwKSBSendMessageEx(bus.handle, 3, 0, 1, nullptr, 0, TIMEOUT), MODULE_BUSY);
    EXPECT_EQ(bus.query(1, 0, 2).result, SUCCESS) << "the other modules are free";
    EXPECT_EQ(status_of(bus.load(0, 2, PLAIN, small)), 5);
    EXPECT_EQ(bus.query(1, 1, 1).result, SUCCESS);
    other->kill();
    EXPECT_EQ(bus.query(1, 0, 1).result, SUCCESS);
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, design)), 5);
    EXPECT_TRUE(carrier.contents("mwc4a", 0, 1).done);
}

TEST_F(StateOfProcesses, WholeMessagesOfSeveralProcessesWaitForEachOther)
{
    constexpr std::size_t PROCESSES = 3;
    constexpr std::size_t LOADS = 30;
    std::vector<std::unique_ptr<OtherProcess>> others;
    for (std::size_t i = 0; i < PROCESSES; ++i) {
        others.push_back(std::make_unique<OtherProcess>([&](const auto& step) {
            const Carrier carrier = rack();
            for (std::size_t load = 0; load < LOADS; ++load) {
                Bus bus;
                require_in_child(MwKSBSendMessageEx(bus.handle, 3, 0, 1, "abc", 3, TIMEOUT) == SUCCESS, 3);
                require_in_child(bus.query(1, 0, 1).result == SUCCESS, 4);
                step();
            }
        }));
    }
    for (const auto& other : others)
        EXPECT_TRUE(other->wait_for_steps(LOADS));
    EXPECT_EQ(contents().loads, PROCESSES * LOADS);
    EXPECT_EQ(contents().configuration, (Bytes{'a', 'b', 'c'}));
}

TEST_F(StateOfProcesses, IsTheOneBeforeOrTheOneAfterAtWhateverMomentAProcessIsKilled)
{
    std::size_t loads_before = 0;
    for (std::size_t moment = 1; moment <= 24; ++moment) {
        OtherProcess other{[&](const auto& step) {
            const Carrier carrier = rack();
            Bus bus;
            for (;;) {
                require_in_child(bus.start(0, 1) == SUCCESS && bus.data(PLAIN) == SUCCESS, 3);
                step();
                for (std::size_t at = 0; at < design.size(); at += 20'000) {
                    const auto rest = std::span{design}.subspan(at);
                    require_in_child(
                        bus.data(rest.first(std::min<std::size_t>(20'000, rest.size()))) == SUCCESS, 4);
                    step();
                }
                require_in_child(bus.end() == SUCCESS && status_of(bus.reply()) == 5, 5);
                step();
            }
        }};
        EXPECT_TRUE(other.wait_for_steps(moment));
        other.kill();
        const Contents after = contents();
        EXPECT_GT(after.loads, loads_before);
        loads_before = after.loads;
        EXPECT_EQ(after.done, after.configuration.size() == design.size() && after.finished);
        EXPECT_TRUE(std::equal(after.configuration.begin(), after.configuration.end(), design.begin()));
        EXPECT_TRUE(after.done || (!after.finished && after.configuration.size() % BLOCK == 0));
    }
}

TEST_F(StateOfProcesses, ThatCannotBeWrittenFailsTheCallAndIsStillTrue)
{
    OtherProcess other{[&](const auto& step) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit most{BLOCK + 100, BLOCK + 100};
        require_in_child(setrlimit(RLIMIT_FSIZE, &most) == 0, 3);
        const Carrier carrier = rack();
        Bus bus;
        require_in_child(bus.start(0, 1) == SUCCESS && bus.data(PLAIN) == SUCCESS, 4);
        require_in_child(bus.data(std::span{design}.first(BLOCK)) == SUCCESS, 5);
        require_in_child(bus.data(std::span{design}.subspan(BLOCK)) == STATE_FAILED, 6);
        step();
        require_in_child(error_text(STATE_FAILED) ==
                             std::string{BITS_FILE} + " in " + folder.string() + ": File too large",
                         7);
        require_in_child(bus.data(std::span{design}.first(1)) == STATE_FAILED, 8);
        require_in_child(bus.end() == STATE_FAILED, 9);
        require_in_child(bus.reply().result == NO_REQUEST, 10);
        step();
        require_in_child(MwKSBSendMessageEx(bus.handle, 3, 0, 1, design.data(),
                                            static_cast<std::uint32_t>(design.size()),
                                            TIMEOUT) == STATE_FAILED,
                         11);
        require_in_child(bus.start(0, 1) == SUCCESS, 12);
        require_in_child(MwClose(&bus.handle) == SUCCESS, 13);
        require_in_child(carrier.misuse().size() == 1, 14);
        step();
    }};
    EXPECT_TRUE(other.wait_for_steps(3));
    const Contents after = contents();
    EXPECT_FALSE(after.finished);
    EXPECT_EQ(after.configuration, Bytes(design.begin(), design.begin() + BLOCK));
}

} // namespace
