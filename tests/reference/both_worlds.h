// Plays a scenario twice, with the library and with the reference model, and compares all that can be seen.
#ifndef BOTH_WORLDS_H
#define BOTH_WORLDS_H

#include "scenario.h"
#include "support/temporary_folder.h"

#include <filesystem>
#include <map>
#include <string>

namespace worlds
{

/// All that a run shows.
struct Account {
    fake::Log log;            ///< prints, questions and platform calls in their order, results of calls
    std::string output;       ///< standard output
    std::size_t consumed = 0; ///< characters of standard input
    std::map<std::string, std::string> files; ///< what the folder holds afterwards
};

class Worlds
{
public:
    Worlds();

    Account with_library(const scenario::Scenario& scenario);
    Account with_model(const scenario::Scenario& scenario);

private:
    std::filesystem::path prepare(const char* name, const scenario::Scenario& scenario) const;

    TemporaryFolder temporary_;
    CurrentFolder in_folder_{temporary_.path()};
    const std::filesystem::path& folder_ = temporary_.path();
};

/// "" when both accounts are the same, else where they differ, with what went before.
std::string difference(const Account& library, const Account& model);

/// Told to whoever reads the report of a crash.
void announce_seed(const std::string& words);

} // namespace worlds

#endif
