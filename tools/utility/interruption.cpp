// SPDX-License-Identifier: Apache-2.0
// Reports what a signal interrupted.
#include "interruption.h"

#include "console.h"
#include "errors/catalogue.h"
#include "system/interrupts.h"
#include "system/terminal.h"

#include <array>

namespace utility
{
namespace
{

using kvn::system::Interrupt;

constexpr std::array INTERRUPTS{Interrupt::interrupt, Interrupt::terminate, Interrupt::hang_up};

// Global, so that the handler finds them without a call that might allocate.
mwapi::LoadWatch watch;
Console* told_on = nullptr;
bool is_conversion = false;

/// A line of limited length that allocates nothing, so a handler may build it.
class Line
{
public:
    Line& operator<<(std::string_view text)
    {
        size_ += text.copy(text_.data() + size_, text_.size() - size_);
        return *this;
    }
    Line& decimal(unsigned number)
    {
        if (number >= 10)
            decimal(number / 10);
        return digit(number % 10);
    }
    /// As the library shows slot addresses.
    Line& hexadecimal(unsigned number)
    {
        if (number >= 16)
            hexadecimal(number / 16);
        return digit(number % 16);
    }
    [[nodiscard]] std::string_view text() const { return {text_.data(), size_}; }

private:
    Line& digit(unsigned value) { return *this << std::string_view{"0123456789abcdef"}.substr(value, 1); }

    std::array<char, 256> text_;
    std::size_t size_ = 0;
};

struct Situation {
    std::string_view activity;
    bool names_module;
    kvn::ModuleState state;
    std::string_view meaning;
};

Situation situation_of(mwapi::LoadPhase phase)
{
    using enum mwapi::LoadPhase;
    switch (phase) {
    case sending:
        return {"while loading", true, kvn::ModuleState::interrupted,
                "it has part of the data and does not run"};
    case sent:
        return {"while waiting for the verdict of", true, kvn::ModuleState::unknown,
                "it has all data, and its verdict is not known"};
    case accepted:
        return {"after loading", true, kvn::ModuleState::configured, "its FPGA runs"};
    case refused:
        return {"after loading", true, kvn::ModuleState::refused, "it has all data and does not run"};
    default:
        return {is_conversion ? "during a conversion, whose output is incomplete"
                              : "before the load of a module",
                false, kvn::ModuleState::untouched, "nothing of a load has reached a module"};
    }
}

void describe(Line& line, Interrupt interrupt)
{
    const mwapi::LoadPhase phase = watch.phase;
    const Situation now = situation_of(phase);
    line << "KVN_FPGA: stopped by " << kvn::system::name_of(interrupt) << " " << now.activity;
    if (now.names_module)
        (line << " the module in slot 0x").hexadecimal(watch.slot_address);
    line << ": " << kvn::name_of(now.state) << ", " << now.meaning;
    const unsigned before = watch.accepted - (phase == mwapi::LoadPhase::accepted ? 1 : 0);
    if (before > 0)
        (line << "; ").decimal(before) << (before == 1 ? " module" : " modules") << " configured before";
    line << "\n";
}

/// Makes only async-signal-safe calls. A second signal kills at once, even if a write blocks.
void stop(Interrupt interrupt)
{
    kvn::system::stop_handling_interrupts(INTERRUPTS);
    told_on->output().rescue();
    Line line;
    line << told_on->line_break_at(interrupt);
    describe(line, interrupt);
    if (kvn::system::is_writable(kvn::system::STANDARD_ERROR))
        (void)kvn::system::write_some(kvn::system::STANDARD_ERROR, line.text());
    kvn::system::die_by(interrupt);
}

} // namespace

mwapi::LoadWatch& load_watch()
{
    return watch;
}

void tell_interruptions(bool converts)
{
    told_on = &console();
    is_conversion = converts;
    kvn::system::handle_interrupts(INTERRUPTS, &stop, kvn::system::WhileHandled::come);
}

} // namespace utility
