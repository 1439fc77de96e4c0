// SPDX-License-Identifier: Apache-2.0
// Numbered error messages, checked while compiling.
#ifndef KVN_FPGA_SUPPORT_MESSAGE_H
#define KVN_FPGA_SUPPORT_MESSAGE_H

#include <type_traits>

/// The type as which a value of type T is printed: text, an int or an unsigned long.
template <class T>
using Printed = std::conditional_t<
    std::is_convertible_v<const T&, const char*>, const char*,
    std::conditional_t<(sizeof(T) > sizeof(int)) || std::is_same_v<T, unsigned long>, unsigned long, int>>;

/// A numbered error message. A text that does not begin "Error nnnn." or "Error nnnn:", or whose conversions
/// do not take exactly Values, does not compile.
template <class... Values>
class Message
{
public:
    // NOLINTNEXTLINE(google-explicit-constructor): a message is written as a literal
    consteval Message(const char* words) : Message{stated_number(words), words} {}

    /// For the one text that states another number than the one returned.
    consteval Message(int returned, const char* words) : number{returned}, text{words}
    {
        stated_number(words);
        const char* rest = words;
        const bool takes_values = (takes<Values>(next_conversion(rest)) && ...);
        if (!takes_values || next_conversion(rest) != '\0')
            throw "the conversions do not take the values";
    }

    int number;
    const char* text;

private:
    static constexpr int stated_number(const char* words)
    {
        for (const char* begin = "Error "; *begin != '\0'; ++begin)
            if (*words++ != *begin)
                throw "the text does not begin with \"Error \"";
        int stated = 0;
        for (int digit = 0; digit < 4; ++digit, ++words) {
            if (*words < '0' || *words > '9')
                throw "the number has not four digits";
            stated = stated * 10 + (*words - '0');
        }
        if (*words != '.' && *words != ':')
            throw "the number is not followed by a point or a colon";
        return stated;
    }

    /// The letter of the next conversion ('L' for %lx), with rest moved behind it; '\0' when there is none.
    static constexpr char next_conversion(const char*& rest)
    {
        for (; *rest != '\0'; ++rest) {
            if (*rest != '%')
                continue;
            ++rest;
            const bool is_long = *rest == 'l';
            if (is_long)
                ++rest;
            if (*rest == '\0')
                throw "a conversion has no letter";
            const char letter = *rest++;
            return is_long && letter == 'x' ? 'L' : letter;
        }
        return '\0';
    }

    template <class Value>
    static constexpr bool takes(char letter)
    {
        if (std::is_same_v<Value, const char*>)
            return letter == 's';
        if (std::is_same_v<Value, int>)
            return letter == 'd' || letter == 'x' || letter == 'c';
        return letter == 'L';
    }
};

#endif
