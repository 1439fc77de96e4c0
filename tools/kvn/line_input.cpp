// SPDX-License-Identifier: Apache-2.0
// Reads standard input line by line, until a signal comes.
#include "line_input.h"

#include "errors/failure.h"
#include "system/terminal.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace kvn
{

std::optional<std::string> LineInput::next()
{
    while (signals_.count() == 0) {
        if (auto line = held_line())
            return line;
        if (read_more())
            continue;
        const std::string rest{lines_.rest()};
        lines_ = LineSplitter{LONGEST_LINE};
        if (rest.empty() || std::exchange(is_cut_, false))
            return std::nullopt;
        return rest;
    }
    return std::nullopt;
}

/// A line that has arrived.
std::optional<std::string> LineInput::held_line()
{
    while (auto line = lines_.next())
        if (!std::exchange(is_cut_, false))
            return line;
    if (!lines_.is_too_long())
        return std::nullopt;
    std::string line{lines_.rest()};
    lines_ = LineSplitter{LONGEST_LINE};
    return std::exchange(is_cut_, true) ? std::nullopt : std::optional{std::move(line)};
}

/// @return false at the end of the input
bool LineInput::read_more()
{
    std::array waiting{system::Awaited{.what = input_.waitable()},
                       system::Awaited{.what = signals_.waitable()}};
    if (!system::wait(waiting, -1) || waiting[1].is_ready)
        return true;
    std::array<char, LONGEST_LINE> block; // NOLINT(cppcoreguidelines-pro-type-member-init)
    const auto size = input_.read_some(block);
    if (!size && (errno == EINTR || errno == EAGAIN))
        return true;
    if (!size)
        throw FailureError{{.status = ExitStatus::file,
                            .what = "cannot read standard input: " + std::generic_category().message(errno)}};
    lines_.take({block.data(), *size});
    return *size != 0;
}

void LineInput::discard()
{
    if (!system::is_terminal(system::STANDARD_INPUT))
        return;
    input_.discard();
    lines_ = LineSplitter{LONGEST_LINE};
    is_cut_ = false;
}

} // namespace kvn
