// SPDX-License-Identifier: Apache-2.0
// The layout of an MCB file.
#include "formats/mcb_format.h"

#include "formats/read_exactly.h"

#include <algorithm>

namespace
{
std::uint32_t from_mcb_number(const std::uint8_t* bytes)
{
    std::uint32_t number = 0;
    for (std::size_t i = MCB_NUMBER_SIZE; i-- > 0;)
        number = number << 8 | bytes[i];
    return number;
}
} // namespace

McbText to_mcb_text(std::string_view text)
{
    McbText field{};
    text.copy(field.data(), field.size() - 1);
    return field;
}

McbNumber to_mcb_number(std::uint32_t number)
{
    McbNumber bytes{};
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(number);
        number >>= 8;
    }
    return bytes;
}

McbMagic read_mcb_magic(FILE* stream)
{
    std::uint8_t numbers[2 * MCB_NUMBER_SIZE];
    if (!read_exactly(stream, numbers, sizeof numbers))
        return McbMagic::unreadable;
    const bool right =
        from_mcb_number(numbers) == MCB_MAGIC_1 && from_mcb_number(numbers + MCB_NUMBER_SIZE) == MCB_MAGIC_2;
    return right ? McbMagic::right : McbMagic::wrong;
}

bool read_mcb_text(FILE* stream, char (&text)[256])
{
    text[sizeof(McbText)] = '\0';
    return read_exactly(stream, text, sizeof(McbText));
}

bool read_mcb_number(FILE* stream, std::int32_t& number)
{
    std::uint8_t bytes[MCB_NUMBER_SIZE];
    if (!read_exactly(stream, bytes, sizeof bytes))
        return false;
    number = static_cast<std::int32_t>(from_mcb_number(bytes));
    return true;
}
