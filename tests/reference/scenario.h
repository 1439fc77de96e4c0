// What a differential run is given: files, environment, platform, user and the calls to make.
#ifndef SCENARIO_H
#define SCENARIO_H

#include "fake_world.h"

#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace scenario
{

enum class Entry { board, handle, main_plain, main_with_handle, help };

/// One call of a public method.
struct Call {
    Entry entry = Entry::board;
    std::optional<std::string> devstr;  ///< no value: a null pointer
    std::optional<std::string> rbtfile; ///< no value: a null pointer
    int board_number = 0;
    int kavrinid = 1;
    int action = 0;
    int flags = 0;
    bool null_handle = false;
    std::vector<std::string> arguments;
};

enum class Kind { file, directory, full_device };

struct File {
    Kind kind = Kind::file;
    std::string content;
    std::optional<std::size_t> readable; ///< bytes that can be read before the disk gives an error
    std::optional<std::size_t> writable; ///< bytes that can be written before the disk is full
};

struct Scenario {
    std::map<std::string, File> files;
    std::optional<std::string> mwapiksb;
    std::optional<std::string> mwapijtag;
    fake::PlatformPlan platform;
    fake::UserPlan user;
    bool prints = true; ///< which callbacks are installed
    bool prompts = true;
    bool asks_strings = true;
    bool asks_yn = true;
    std::string typed; ///< standard input, for the callbacks that are not
    std::vector<Call> calls;

    bool uses_terminal() const { return !(prints && prompts && asks_strings && asks_yn); }
};

/// A readable account, for the report of a difference.
std::string described(const Scenario& scenario);

/// The scenario of a seed.
Scenario generate(uint64_t seed);

// Builders, also for the systematic tests.

std::string rbt_file(const std::string& device, const fake::Bytes& configuration);
std::string bit_file(const std::string& device, const fake::Bytes& configuration);
std::string mcb_file(const std::string& device, const fake::Bytes& configuration);

/// Configuration bytes that repeat here and there.
fake::Bytes sample_configuration(std::size_t length, uint64_t seed);

/// A good module: kind 2 or 4, model, device, compressed loading by its record's flag and by its answer.
fake::Module good_module(unsigned char kind, unsigned char model, const std::string& device, bool compressed);

} // namespace scenario

#endif
