// SPDX-License-Identifier: Apache-2.0
// Derives family, package and speed grade from the name of a module's FPGA.
#include "kvnfpgai.h"
#include "support/text.h"

#include <cstring>
#include <string_view>

namespace
{
struct Family {
    std::string_view key;
    const char* name;
    bool is_virtex2;
};

constexpr Family families[] = {
    {"s", "Spartan", false},   {"2s", "Spartan-2", false},    {"sxl", "Spartan-XL", false},
    {"v", "Virtex", false},    {"2vp", "Virtex-2 Pro", true}, {"2v", "Virtex-2", true},
    {"ve", "Virtex-E", false},
};

/// The letters that identify the family: 2v for 2v3000fg676-4, sxl for s40xlpq208-4.
class FamilyKey
{
public:
    explicit FamilyKey(const char* name)
    {
        const bool second_generation = *name == '2';
        take(name);
        if (second_generation)
            take(name);
        if (*name == 'p')
            take(name);
        while (is_digit(*name))
            ++name;
        const bool is_xl = *name == 'x';
        if (*name == 'e' || is_xl)
            take(name);
        if (is_xl)
            take(name);
    }
    [[nodiscard]] std::string_view text() const { return {key_, length_}; }

private:
    /// Moves the next character of name to the key, unless the name has ended.
    void take(const char*& name)
    {
        if (*name != '\0')
            key_[length_++] = *name++;
    }

    char key_[5] = {};
    std::size_t length_ = 0;
};

// Required: in the prefix of a device's name 0 and 9 count as letters.
constexpr bool ends_prefix(char c)
{
    return c >= '1' && c <= '8';
}
} // namespace

int kvn_fpga_imp::Get_Device_Family(const char* name, char* family_out)
{
    const FamilyKey key{name};
    for (const Family& family : families) {
        if (key.text() != family.key)
            continue;
        std::strcpy(family_out, family.name); // NOLINT: holds at least 13 characters
        // Required: only the reset of a run clears the mark. An older module that follows one of these
        // families in the same run is sent its tail.
        if (family.is_virtex2)
            virtex2_family = 1;
        return 1;
    }
    return 0;
}

int kvn_fpga_imp::Print_Device_Statistics(const char* name)
{
    const char* rest = name;
    if (*rest != '\0')
        ++rest;
    while (*rest != '\0' && !ends_prefix(*rest))
        ++rest;
    while (is_digit(*rest))
        ++rest;
    const auto device_length = static_cast<int>(rest - name);
    const auto package_length = static_cast<int>(std::strcspn(rest, "-"));
    const char* speed = rest + package_length;
    if (*speed == '-')
        ++speed;
    // Required: "an" stands before every package.
    print("The FPGA on this module is a %.*s device, in an %.*s package.\n", device_length, name,
          package_length, rest);
    print("The FPGA speed grade is -%s.\n", speed);
    return 0;
}
