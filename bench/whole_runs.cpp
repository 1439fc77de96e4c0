// SPDX-License-Identifier: Apache-2.0
// Makes bitstream files, and runs and times whole operations of the library on them.
//
//   kvn_whole_runs make KIND BITS FOLDER
//     writes text.rbt, binary.bit and runs.mcb, all of the same data
//   kvn_whole_runs run OPERATION FOLDER
//     performs one operation and reports what was sent to the platform
//   kvn_whole_runs run-through PROVIDER OPERATION FOLDER
//     does one load, whose calls go the way of the utility's: through a library that is loaded at run time
//   kvn_whole_runs time ROUNDS FOLDER
//     times all operations, their peers and their floors
//   kvn_whole_runs time-alone ROUNDS FOLDER OPERATION...
//     times these operations only
//
// Each round runs everything once, so that a disturbance of the machine affects all alike. The result is
// JSON: for each operation the milliseconds by the wall clock and by the processor, a number for each round.
#include "bare_calls.h"
#include "counting_platform.h"
#include "mwapi_forward.h"
#include "operations.h"
#include "provider/provider.h"
#include "provider/watched_platform.h"
#include "test_data.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace
{
constexpr std::size_t BLOCK_SIZE = 65536;

std::size_t parse_number(std::string_view text)
{
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), number);
    if (error != std::errc{} || end != text.end())
        throw std::invalid_argument("not a number: " + std::string{text});
    return number;
}

/// Reads a file in the cheapest way without mapping it.
void read_in_blocks(const std::string& name)
{
    static char block[BLOCK_SIZE];
    const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        throw std::runtime_error("cannot open " + name);
    ssize_t got = 0;
    while ((got = read(file, block, sizeof block)) > 0) {
    }
    close(file);
    if (got < 0)
        throw std::runtime_error("cannot read " + name);
}

/// Runs a program without its output, and waits for it.
void run_program(std::vector<std::string> words)
{
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int error = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("cannot run " + words[0] + ": " + std::strerror(error));
    int status = 0;
    if (waitpid(child, &status, 0) != child || status != 0)
        throw std::runtime_error(words[0] + " failed");
}

using Milliseconds = std::chrono::duration<double, std::milli>;

Milliseconds in_milliseconds(const timeval& time)
{
    return std::chrono::seconds{time.tv_sec} + std::chrono::microseconds{time.tv_usec};
}

/// The elapsed time.
Milliseconds wall_clock()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

/// The processor time of this process and of the children it has waited for.
Milliseconds processor_clock()
{
    timespec own{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &own);
    rusage children{};
    getrusage(RUSAGE_CHILDREN, &children);
    return std::chrono::seconds{own.tv_sec} + std::chrono::nanoseconds{own.tv_nsec} +
           in_milliseconds(children.ru_utime) + in_milliseconds(children.ru_stime);
}

/// A timed operation, with a figure for each round.
struct Subject {
    std::string name;
    std::string output; ///< the file that it writes, or ""
    std::function<void()> run;
    std::vector<Milliseconds> wall_times = {};
    std::vector<Milliseconds> processor_times = {};

    void run_timed()
    {
        // Truncating a file that is still on its way to the disk waits for the disk.
        if (!output.empty())
            std::filesystem::remove(output);
        const Milliseconds processor_start = processor_clock();
        const Milliseconds start = wall_clock();
        run();
        wall_times.push_back(wall_clock() - start);
        processor_times.push_back(processor_clock() - processor_start);
    }
};

using Subjects = std::vector<Subject>;

void add_operation(Subjects& subjects, const Operation& operation, const BitstreamFiles& files)
{
    subjects.push_back(
        {operation.name, output_of(operation, files), [&operation, &files] { run(operation, files); }});
}

/// Writes as many bytes as a file has, in the cheapest way.
void write_in_blocks(const std::string& name, std::size_t size)
{
    static const char block[BLOCK_SIZE] = {};
    const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0)
        throw std::runtime_error("cannot open " + name);
    bool complete = true;
    for (; complete && size > 0; size -= std::min(size, BLOCK_SIZE)) {
        const std::size_t part = std::min(size, BLOCK_SIZE);
        complete = write(file, block, part) == static_cast<ssize_t>(part);
    }
    if (close(file) != 0 || !complete)
        throw std::runtime_error("cannot write " + name);
}

/// Other programs that do comparable work on the files, a process that does nothing, and plain writing.
void add_peers(Subjects& subjects, const BitstreamFiles& files, const std::string& folder)
{
    const auto add = [&](const char* name, const std::string& output, std::vector<std::string> words) {
        subjects.push_back({name, output, [words = std::move(words)] { run_program(words); }});
    };
    const std::string copy = folder + "/copy";
    const std::string packed = folder + "/copy.lz4";
    add("wc-rbt", "", {"wc", "-l", files.rbt});
    add("cp-rbt", copy, {"cp", files.rbt, copy});
    add("lz4-rbt", packed, {"lz4", "-1", "-q", "-f", files.rbt, packed});
    add("cp-bit", copy, {"cp", files.bit, copy});
    add("process", "", {"true"});
    const auto rbt_size = static_cast<std::size_t>(std::filesystem::file_size(files.rbt));
    subjects.push_back({"write-rbt", copy, [copy, rbt_size] { write_in_blocks(copy, rbt_size); }});
}

/// A load and its floor.
void add_load(Subjects& subjects, const Operation& operation, const BitstreamFiles& files)
{
    run(operation, files);
    const std::uint64_t calls = sent_data().calls;
    add_operation(subjects, operation, files);
    subjects.push_back({"floor-" + std::string{operation.name}, "", [&operation, &files, calls] {
                            read_in_blocks(files.*operation.input);
                            make_bare_calls(calls);
                        }});
}

void print_times(const Subjects& subjects, std::vector<Milliseconds> Subject::*times)
{
    const char* separator = "{";
    for (const Subject& subject : subjects) {
        std::printf("%s\n  \"%s\": [", separator, subject.name.c_str());
        separator = "";
        for (const Milliseconds time : subject.*times) {
            std::printf("%s%.4f", separator, time.count());
            separator = ", ";
        }
        std::printf("]");
        separator = ",";
    }
    std::printf("\n}");
}

void time_all(Subjects& subjects, std::size_t rounds)
{
    for (const Subject& subject : subjects)
        subject.run(); // so that every file is in the page cache
    for (std::size_t round = 0; round < rounds; ++round)
        for (Subject& subject : subjects)
            subject.run_timed();
    std::printf("{\"wall\": ");
    print_times(subjects, &Subject::wall_times);
    std::printf(",\n\"processor\": ");
    print_times(subjects, &Subject::processor_times);
    std::printf("}\n");
}

void time_beside_peers(std::size_t rounds, const std::string& folder)
{
    const BitstreamFiles files{folder};
    Subjects subjects;
    add_peers(subjects, files, folder);
    for (const Operation& operation : operations())
        if (operation.option != nullptr)
            add_operation(subjects, operation, files);
        else
            add_load(subjects, operation, files);
    time_all(subjects, rounds);
}

void time_alone(std::size_t rounds, const std::string& folder, std::span<const std::string> names)
{
    const BitstreamFiles files{folder};
    Subjects subjects;
    for (const std::string& name : names)
        add_operation(subjects, find_operation(name), files);
    time_all(subjects, rounds);
}

void make(std::string_view kind, std::size_t bits, const std::string& folder)
{
    constexpr std::size_t word_bits = 32;
    constexpr std::size_t word_size = 4;
    write_files(BitstreamFiles{folder}, make_data(kind, (bits + word_bits - 1) / word_bits * word_size));
}

void run_once(std::string_view name, const std::string& folder)
{
    const Operation& operation = find_operation(name);
    run(operation, BitstreamFiles{folder});
    const SentData& sent = sent_data();
    std::printf("{\"calls\": %ju, \"bytes\": %ju, \"odd_calls\": %ju}\n", std::uintmax_t{sent.calls},
                std::uintmax_t{sent.bytes}, std::uintmax_t{sent.odd_calls});
}

void run_through(const std::string& provider, std::string_view name, const std::string& folder)
{
    const Operation& operation = find_operation(name);
    if (operation.compressed)
        (void)setenv(COUNTING_COMPRESSED, "", 1); // NOLINT(concurrency-mt-unsafe): the only thread
    mwapi::LoadWatch watch;
    mwapi::WatchedPlatform platform{std::make_unique<mwapi::LoadedPlatform>(provider), watch};
    mwapi::install(platform);
    run(operation, BitstreamFiles{folder});
    mwapi::uninstall();
}

bool obey(const std::vector<std::string>& words)
{
    const std::string_view command = words.empty() ? std::string_view{} : words[0];
    if (command == "make" && words.size() == 4)
        make(words[1], parse_number(words[2]), words[3]);
    else if (command == "run" && words.size() == 3)
        run_once(words[1], words[2]);
    else if (command == "run-through" && words.size() == 4)
        run_through(words[1], words[2], words[3]);
    else if (command == "start" && words.size() == 1)
        return true;
    else if (command == "time" && words.size() == 3)
        time_beside_peers(parse_number(words[1]), words[2]);
    else if (command == "time-alone" && words.size() > 3)
        time_alone(parse_number(words[1]), words[2], std::span{words}.subspan(3));
    else
        return false;
    return true;
}
} // namespace

int main(int argc, char** argv)
{
    try {
        if (obey({argv + 1, argv + argc}))
            return 0;
        std::fputs("usage: kvn_whole_runs make KIND BITS FOLDER | run OPERATION FOLDER |\n"
                   "                      run-through PROVIDER OPERATION FOLDER | start |\n"
                   "                      time ROUNDS FOLDER | time-alone ROUNDS FOLDER OPERATION...\n",
                   stderr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kvn_whole_runs: %s\n", error.what());
    }
    return 1;
}
