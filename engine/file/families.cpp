// SPDX-License-Identifier: Apache-2.0
// Families of FPGAs that no module carries.
#include "file/families.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace kvn
{
namespace
{

/// A part is this prefix, at least one digit, and these letters.
struct Rule {
    std::string_view prefix;
    std::string_view letters;
    OtherFamily family;
};

// Longer letters first: the first that fits is taken.
constexpr Rule rules[] = {
    {"2s", "e", {"Spartan-2E", Packets::known}},
    {"3s", "e", {"Spartan-3E", Packets::known}},
    {"3s", "an", {"Spartan-3AN", Packets::others}},
    {"3s", "a", {"Spartan-3A", Packets::others}},
    {"3sd", "a", {"Spartan-3A DSP", Packets::others}},
    {"3s", "", {"Spartan-3", Packets::known}},
    {"4vlx", "", {"Virtex-4", Packets::others}},
    {"4vsx", "", {"Virtex-4", Packets::others}},
    {"4vfx", "", {"Virtex-4", Packets::others}},
    {"5vlx", "", {"Virtex-5", Packets::others}},
    {"5vsx", "", {"Virtex-5", Packets::others}},
    {"5vfx", "", {"Virtex-5", Packets::others}},
    {"5vtx", "", {"Virtex-5", Packets::others}},
    {"6slx", "", {"Spartan-6", Packets::others}},
    {"6vlx", "", {"Virtex-6", Packets::others}},
    {"6vsx", "", {"Virtex-6", Packets::others}},
    {"6vhx", "", {"Virtex-6", Packets::others}},
    {"6vcx", "", {"Virtex-6", Packets::others}},
    {"7a", "", {"7 Series", Packets::others}},
    {"7k", "", {"7 Series", Packets::others}},
    {"7s", "", {"7 Series", Packets::others}},
    {"7v", "", {"7 Series", Packets::others}},
    {"7vx", "", {"7 Series", Packets::others}},
    {"7vh", "", {"7 Series", Packets::others}},
    {"7z", "", {"Zynq-7000", Packets::others}},
    {"ku", "", {"UltraScale", Packets::others}},
    {"vu", "", {"UltraScale", Packets::others}},
    {"zu", "", {"UltraScale", Packets::others}},
    {"40", "xla", {"XC4000XLA", Packets::none}},
    {"40", "xl", {"XC4000XL", Packets::none}},
    {"40", "xv", {"XC4000XV", Packets::none}},
    {"40", "ex", {"XC4000EX", Packets::none}},
    {"40", "e", {"XC4000E", Packets::none}},
    {"40", "", {"XC4000", Packets::none}},
    {"52", "", {"XC5200", Packets::none}},
    {"62", "", {"XC6200", Packets::none}},
    {"31", "", {"XC3100", Packets::none}},
    {"30", "", {"XC3000", Packets::none}},
    {"20", "", {"XC2000", Packets::none}},
};

bool is_digit(char c)
{
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

bool fits(std::string_view part, const Rule& rule)
{
    if (!part.starts_with(rule.prefix))
        return false;
    part.remove_prefix(rule.prefix.size());
    const auto digits = static_cast<std::size_t>(std::ranges::find_if_not(part, is_digit) - part.begin());
    return digits > 0 && part.substr(digits).starts_with(rule.letters);
}

} // namespace

const OtherFamily* other_family(std::string_view part)
{
    std::string name{part};
    std::ranges::transform(name, name.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    const std::string_view bare = name.starts_with("xc") ? std::string_view{name}.substr(2) : name;
    const auto found = std::ranges::find_if(rules, [&](const Rule& rule) { return fits(bare, rule); });
    return found == std::end(rules) ? nullptr : &found->family;
}

} // namespace kvn
