// SPDX-License-Identifier: Apache-2.0
// Serial numbers of units, as lines of any bytes.
#include "run/station.h"
#include "report/visible_text.h"
#include "require.h"
#include "run/line_splitter.h"
#include "target.h"

#include <algorithm>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t longest = 4096;
    constexpr unsigned slots = 4;
    kvn::Plan plan;
    for (unsigned slot = 1; slot <= slots; ++slot)
        plan.modules.push_back(
            {.module = {.board = {"mwc4a", 0}, .slot = slot}, .file = {}, .asks_serial_number = true});
    kvn::LineSplitter lines{longest};
    lines.take({reinterpret_cast<const char*>(data), size});
    kvn::UnitNumbers numbers;
    while (const auto line = lines.next()) {
        const auto question = numbers.next(plan);
        if (!question)
            break;
        const auto fault = numbers.answer(*question, *line);
        require(fault.has_value() == (numbers.next(plan) == question),
                "what is not taken is asked for again");
        require(!fault || !fault->empty(), "what is not taken has a reason");
    }
    kvn::PlanRunRequest run;
    numbers.give_to(run, plan);
    require(run.serial_numbers.size() == numbers.all().size(), "each module has its number");
    for (const std::string& number : numbers.all()) {
        require(!number.empty() && number.size() <= kvn::LONGEST_SERIAL_NUMBER, "a number is of some length");
        require(kvn::visible_text(number) == number, "a number can be seen");
        require(std::ranges::count(numbers.all(), number) == 1, "a number is of one module");
    }
    return 0;
}
