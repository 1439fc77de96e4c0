// SPDX-License-Identifier: Apache-2.0
// The least that a run can cost: the bare calls of its loads, one process for each bus.
//
//   kvn_run_floor capture FILE MODULE OUT    writes the message of a load, as the provider gets it
//   kvn_run_floor send MESSAGE BUSES SLOTS   sends it to each slot of boards mwc4a:0 and up; prints seconds
//   as JSON
#include "calls.h"
#include "file/input.h"
#include "module/load.h"
#include "module/provider.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace
{

constexpr std::uint32_t TIMEOUT = 5000;
constexpr std::size_t HEADER = 2;
constexpr std::size_t PIECE = 8;

std::shared_ptr<kvn::Provider> provider()
{
    return kvn::Provider::open("virtual", reinterpret_cast<const void*>(&provider));
}

int capture(const std::string& file, const std::string& module, const std::string& out)
{
    const kvn::Input input = kvn::Input::from_path(file);
    std::ofstream message{out, std::ios::binary};
    kvn::LoadControl control;
    control.on_sent = [&](std::span<const std::uint8_t> bytes) {
        message.write(reinterpret_cast<const char*>(bytes.data()),
                      static_cast<std::streamsize>(bytes.size()));
    };
    const kvn::Record record =
        kvn::load(*provider(), {.module = kvn::parse_module_name(module), .file = &input}, control);
    return record.verdict == kvn::Verdict::configured ? 0 : 1;
}

/// @return whether every call succeeded
bool send_to(mwapi::Platform& platform, MW_HANDLE* bus, unsigned board, unsigned slot,
             const std::vector<std::uint8_t>& message)
{
    bool good = platform.start_send(bus, board, slot, TIMEOUT) == 0;
    good = good && platform.send_data(bus, message.data(), HEADER, TIMEOUT) == 0;
    const auto* const functions = platform.functions();
    for (std::size_t at = HEADER; good && at < message.size(); at += PIECE) {
        const auto size = static_cast<std::uint32_t>(std::min(PIECE, message.size() - at));
        good = functions->MwKSBSendMessageDataEx(bus, message.data() + at, size, TIMEOUT) == 0;
    }
    std::uint32_t type = 0;
    std::uint8_t reply[2] = {};
    std::uint32_t received = 0;
    return good && platform.end_send(bus, TIMEOUT) == 0 && platform.start_receive(bus, &type, TIMEOUT) == 0 &&
           platform.receive_data(bus, reply, sizeof reply, &received, TIMEOUT) == 0 &&
           platform.end_receive(bus, TIMEOUT) == 0 && reply[0] == 5;
}

int work_on(unsigned board, unsigned slots, const std::vector<std::uint8_t>& message)
{
    mwapi::Platform& platform = provider()->platform();
    MW_HANDLE* bus = nullptr;
    std::uint32_t unused = 0;
    if (platform.open("mwc4a", static_cast<std::uint16_t>(board), "ksb", &bus, &unused) != 0)
        return 1;
    for (unsigned slot = 1; slot <= slots; ++slot)
        if (!send_to(platform, bus, board, slot, message))
            return 1;
    return platform.close(&bus) == 0 ? 0 : 1;
}

double in_seconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

int send(const std::string& file, unsigned buses, unsigned slots)
{
    std::ifstream stream{file, std::ios::binary};
    std::vector<std::uint8_t> message{std::istreambuf_iterator<char>{stream}, {}};
    const auto begin = std::chrono::steady_clock::now();
    for (unsigned board = 0; board < buses; ++board)
        if (fork() == 0) {
            message[1] = static_cast<std::uint8_t>(board * 8 + 5);
            _exit(work_on(board, slots, message));
        }
    bool good = true;
    for (unsigned board = 0; board < buses; ++board) {
        int status = 0;
        good = wait(&status) > 0 && status == 0 && good;
    }
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - begin;
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    std::cout << "{\"wall\":" << wall.count()
              << ",\"processor\":" << in_seconds(usage.ru_utime) + in_seconds(usage.ru_stime) << "}\n";
    return good ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() == 4 && words[0] == "capture")
        return capture(words[1], words[2], words[3]);
    if (words.size() == 4 && words[0] == "send")
        return send(words[1], static_cast<unsigned>(std::stoul(words[2])),
                    static_cast<unsigned>(std::stoul(words[3])));
    return 2;
}
