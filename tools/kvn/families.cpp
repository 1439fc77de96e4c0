// Families of FPGAs that no module carries.
#include "families.h"

#include <algorithm>
#include <cctype>

namespace kvn
{
namespace
{

/// A part is this prefix, digits, and these letters.
struct Family {
    std::string_view prefix;
    std::string_view letters;
    const char* name;
};

// Longer letters first: the first that fits is taken.
constexpr Family families[] = {
    {"2s", "e", "Spartan-2E"}, {"3s", "e", "Spartan-3E"},      {"3s", "an", "Spartan-3AN"},
    {"3s", "a", "Spartan-3A"}, {"3sd", "a", "Spartan-3A DSP"}, {"3s", "", "Spartan-3"},
    {"4vlx", "", "Virtex-4"},  {"4vsx", "", "Virtex-4"},       {"4vfx", "", "Virtex-4"},
    {"5v", "", "Virtex-5"},    {"6s", "", "Spartan-6"},        {"6v", "", "Virtex-6"},
    {"7", "", "7 Series"},     {"40", "xla", "XC4000XLA"},     {"40", "xl", "XC4000XL"},
    {"40", "xv", "XC4000XV"},  {"40", "ex", "XC4000EX"},       {"40", "e", "XC4000E"},
    {"40", "", "XC4000"},      {"52", "", "XC5200"},           {"31", "", "XC3100"},
    {"30", "", "XC3000"},
};

bool is_digit(char c)
{
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

bool fits(std::string_view part, const Family& family)
{
    if (!part.starts_with(family.prefix))
        return false;
    part.remove_prefix(family.prefix.size());
    const auto behind_digits = std::ranges::find_if_not(part, is_digit);
    const auto digits = static_cast<std::size_t>(behind_digits - part.begin());
    const bool takes_letters = is_digit(family.prefix.back()) || family.prefix.back() != 'v';
    return (digits > 0 || !takes_letters || family.prefix == "7") &&
           part.substr(digits).starts_with(family.letters);
}

} // namespace

std::string other_family(std::string_view part)
{
    std::string name{part};
    std::ranges::transform(name, name.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    const std::string_view bare = name.starts_with("xc") ? std::string_view{name}.substr(2) : name;
    const auto found =
        std::ranges::find_if(families, [&](const Family& family) { return fits(bare, family); });
    return found == std::end(families) ? "" : found->name;
}

} // namespace kvn
