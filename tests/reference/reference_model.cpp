// The reference model's session: its fields, the error convention, the console, and the small helpers.
#include "reference_model.h"

#include <cctype>
#include <cstdarg>
#include <limits>
#include <utility>

namespace reference
{

namespace
{

std::string formatted(const char* format, va_list values)
{
    va_list again;
    va_copy(again, values);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::vector<char> buffer(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(buffer.data(), buffer.size(), format, values);
    return std::string(buffer.data()); // as text: ends at the first zero byte
}

char lowered(char character)
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
}

bool is_digit(char character)
{
    return character >= '0' && character <= '9';
}

/// The character at a place of a text; behind the end it is the zero byte.
char at(const std::string& text, std::size_t place)
{
    return place < text.size() ? text[place] : '\0';
}

} // namespace

int decimal(const std::string& text)
{
    std::size_t place = 0;
    while (std::isspace(static_cast<unsigned char>(at(text, place))) != 0)
        ++place;
    const bool negative = at(text, place) == '-';
    if (at(text, place) == '-' || at(text, place) == '+')
        ++place;
    int64_t value = 0;
    for (; is_digit(at(text, place)); ++place) {
        value = value * 10 + (at(text, place) - '0');
        if (value > 0x100000000)
            value = 0x100000000;
    }
    if (negative)
        value = -value;
    if (value > std::numeric_limits<int32_t>::max())
        return std::numeric_limits<int32_t>::max();
    if (value < std::numeric_limits<int32_t>::min())
        return std::numeric_limits<int32_t>::min();
    return static_cast<int>(value);
}

int parse_number(const std::string& text)
{
    if (at(text, 0) != '0' || at(text, 1) != 'x')
        return decimal(text);
    uint32_t value = 0;
    for (std::size_t place = 2; std::isxdigit(static_cast<unsigned char>(at(text, place))) != 0; ++place) {
        const char digit = lowered(text[place]);
        value = value * 16 + static_cast<uint32_t>(is_digit(digit) ? digit - '0' : digit - 'a' + 10);
    }
    return static_cast<int>(value);
}

int stricmp(const std::string& a, const std::string& b)
{
    for (std::size_t place = 0; place < a.size(); ++place) {
        if (lowered(a[place]) != lowered(at(b, place)))
            return static_cast<signed char>(a[place]) - static_cast<signed char>(at(b, place));
    }
    return 0;
}

int check_extension(const std::string& name, const std::string& extension)
{
    if (name.size() < 4 || name[name.size() - 4] != '.')
        return 1;
    return name.substr(name.size() - 4) == extension ? 0 : -1;
}

bool find_word(const std::string& line, const std::string& word, std::size_t& position)
{
    if (word.empty())
        return false;
    for (std::size_t start = 0; start < line.size(); ++start) {
        std::size_t equal = 0;
        while (equal < word.size() && start + equal < line.size() &&
               lowered(line[start + equal]) == lowered(word[equal]))
            ++equal;
        if (equal == word.size()) {
            position = start;
            return true;
        }
    }
    return false;
}

Byte reversed(Byte byte)
{
    Byte result = 0;
    for (int bit = 0; bit < 8; ++bit) {
        if ((byte & (1 << bit)) != 0)
            result = static_cast<Byte>(result | (0x80 >> bit));
    }
    return result;
}

Bytes word_of(const std::string& characters)
{
    Bytes word;
    for (std::size_t group = 0; group < 4; ++group) {
        int byte = 0;
        for (std::size_t bit = 0; bit < 8; ++bit) {
            if (characters[8 * group + bit] == '1')
                byte |= 1 << bit;
        }
        word.push_back(static_cast<Byte>(byte));
    }
    return word;
}

std::string device_field(const std::string& part_line)
{
    std::size_t place = 0;
    while (place < part_line.size() && part_line[place] != ' ' && part_line[place] != '\t')
        ++place;
    while (at(part_line, place) == ' ' || at(part_line, place) == '\t')
        ++place;
    std::string device;
    for (; place < part_line.size() && part_line[place] != '\n'; ++place)
        device += part_line[place];
    return device;
}

int stated_number(const std::string& line, std::size_t behind_the_word)
{
    std::size_t place = behind_the_word;
    while (at(line, place) == ' ' || at(line, place) == '\t')
        ++place;
    std::string number;
    for (; place < line.size() && line[place] != '\n'; ++place)
        number += line[place];
    return decimal(number);
}

std::string family_key(const std::string& name)
{
    std::string key;
    std::size_t place = 1;
    if (!name.empty())
        key += name[0];
    if (at(name, 0) == '2') {
        if (name.size() > 1)
            key += name[1];
        place = 2;
    }
    if (at(name, place) == 'p') {
        key += 'p';
        ++place;
    }
    while (is_digit(at(name, place)))
        ++place;
    if (at(name, place) == 'e')
        key += 'e';
    if (at(name, place) == 'x') {
        key += 'x';
        if (place + 1 < name.size())
            key += name[place + 1];
    }
    return key;
}

DeviceParts split_device_name(const std::string& name)
{
    const auto is_1_to_8 = [](char character) { return character >= '1' && character <= '8'; };
    DeviceParts parts;
    if (name.empty())
        return parts;
    parts.device = name[0];
    std::size_t place = 1;
    for (; place < name.size() && !is_1_to_8(name[place]); ++place)
        parts.device += name[place];
    for (; is_digit(at(name, place)); ++place)
        parts.device += name[place];
    for (; place < name.size() && name[place] != '-'; ++place)
        parts.package += name[place];
    for (++place; place < name.size(); ++place)
        parts.speed += name[place];
    return parts;
}

Model::Model(Platform& platform, Terminal& terminal, Environment environment)
    : platform_{platform}, terminal_{terminal}, environment_{std::move(environment)}
{
}

void Model::initialise()
{
    handle = nullptr;
    read_io_status = 0;
    write_io_status = 0;
    board_type.clear();
    slot = 0;
    slot_address = 0;
    board_number = 0;
    device_name.clear();
    prompt_user = false;
    verbose = false;
    slot_given = false;
    board_type_given = false;
    handle_is_external = false;
    board_number_given = false;
    file_is_rbt = false;
    bitstream_file.clear();
    make_mcb = false;
    never_compress = false;
    make_rbt = false;
    con_given = false;
    con_file.clear();
    con_file_fits = true;
    file_is_mcb = false;
    virtex2_family = false;
    supports_compressed_loading = false;
    target_board = 0;
    target_board_given = false;
    rbt_fp = nullptr;
    bin_fp = nullptr;
    last_error = 0;
    last_error_text.clear();
    send_buffer.clear();
}

int Model::fail(int number, const char* format, ...)
{
    va_list values;
    va_start(values, format);
    last_error_text = formatted(format, values).substr(0, 1023);
    va_end(values);
    last_error = number;
    return number;
}

/// Closes what a step left open, as every public method does at its end.
int Model::end_of_run(int result)
{
    if (rbt_fp != nullptr)
        std::fclose(rbt_fp);
    if (bin_fp != nullptr)
        std::fclose(bin_fp);
    rbt_fp = nullptr;
    bin_fp = nullptr;
    return result;
}

int Model::set_userfie_of_type(int type)
{
    if (type < 0 || type > 2)
        return fail(9215, "Error 9215. No function type %d defined. Use type 0,1 or 2.", type);
    return 0;
}

// Console

void Model::print(const char* format, ...)
{
    va_list values;
    va_start(values, format);
    const std::string text = formatted(format, values);
    va_end(values);
    if (callbacks.print)
        callbacks.print(text.c_str());
    else
        terminal_.output += text;
}

int Model::xprompt(const std::string& text)
{
    if (callbacks.prompt)
        return callbacks.prompt(text.c_str());
    terminal_.output += text + "\n";
    if (terminal_.next >= terminal_.input.size())
        return EOF;
    return static_cast<unsigned char>(terminal_.input[terminal_.next++]);
}

/// Reads one line of at most room characters and drops the rest of it. False when the input has ended.
bool Model::read_terminal_line(std::string& line, std::size_t room)
{
    line.clear();
    bool anything = false;
    while (terminal_.next < terminal_.input.size()) {
        const char character = terminal_.input[terminal_.next++];
        anything = true;
        if (character == '\n')
            break;
        if (line.size() < room)
            line += character;
    }
    line = line.substr(0, line.find('\0'));
    return anything;
}

/// False when the input has ended.
bool Model::xaskstring(const std::string& prompt, std::string& answer, std::size_t room)
{
    if (callbacks.ask_string) {
        std::string given;
        callbacks.ask_string(prompt.c_str(), given);
        answer = given.substr(0, given.find('\0')).substr(0, room);
        return true;
    }
    terminal_.output += prompt + "\n> ";
    return read_terminal_line(answer, room);
}

char Model::xask_yn(const std::string& question)
{
    if (callbacks.ask_yn)
        return static_cast<char>(callbacks.ask_yn(question.c_str()) & 0xFF);
    terminal_.output += question + "\n";
    std::string line;
    read_terminal_line(line, 255);
    return at(line, 0);
}

int Model::pause()
{
    return xprompt("\n\nPress any key to continue . . .");
}

bool Model::yes(const std::string& question)
{
    const char answer = xask_yn(question);
    return answer == 'y' || answer == 'Y';
}

} // namespace reference
