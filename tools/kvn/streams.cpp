// SPDX-License-Identifier: Apache-2.0
// What kvn writes to its two streams, and how it ends.
#include "streams.h"

#include "system/standard_output.h"
#include "utility/control_characters.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace kvn
{
std::string printable(std::string_view text)
{
    std::string shown;
    utility::escape_controls(text, "", [&shown](std::string_view part) { shown += part; });
    return shown;
}

void tell(std::string_view line)
{
    std::cout.flush();
    std::cerr << "kvn: " << printable(line) << '\n';
}

void tell_failure(const std::string& subject, const Failure& failure)
{
    std::cout.flush();
    print_failure(std::cerr << "kvn: ", subject, failure);
}

void print_failure(std::ostream& out, const std::string& subject, const Failure& failure)
{
    out << printable(subject + failure.what) << '\n';
    if (!failure.why.empty())
        out << "why: " << printable(failure.why) << '\n';
    std::istringstream remedies{failure.remedy};
    for (std::string remedy; std::getline(remedies, remedy);)
        out << "try: " << printable(remedy) << '\n';
}

bool shows_colours(int descriptor)
{
    const char* refused = std::getenv("NO_COLOR"); // NOLINT(concurrency-mt-unsafe): the only thread
    return (refused == nullptr || *refused == '\0') && system::is_terminal(descriptor);
}

std::string coloured(const std::string& text, bool is_good)
{
    if (!shows_colours())
        return text;
    return (is_good ? "\x1B[32m" : "\x1B[31m") + text + "\x1B[0m";
}

std::string fixed(double number, int digits)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << number;
    return text.str();
}

ExitStatus finish_output(ExitStatus status)
{
    errno = 0;
    std::cout.flush();
    if (std::cout.good() || system::reader_has_gone())
        return status;
    const int problem = errno;
    std::string words = "cannot write to standard output";
    if (problem != 0)
        words.append(": ").append(std::strerror(problem)); // NOLINT(concurrency-mt-unsafe): the only thread
    std::cerr << "kvn: " << words << '\n';
    return ExitStatus::file;
}

} // namespace kvn
