// SPDX-License-Identifier: Apache-2.0
// What the fuzz targets share.
#include "workplace.h"

#include "support/bitstreams.h"
#include "support/files.h"

#include <fcntl.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace
{
constexpr std::size_t GOOD_SIZE = 32;
constexpr std::size_t TEXT_SIZE = 1024;

std::filesystem::path memory_disk()
{
    std::error_code ignored;
    return std::filesystem::is_directory("/dev/shm", ignored) ? "/dev/shm"
                                                              : std::filesystem::temp_directory_path();
}

class Folder
{
public:
    Folder()
    {
        write_file(path_ + "good.rbt", RbtFile{good_data()}.text());
        write_file(path_ + "good.mcb", McbFile{good_data()}.content());
        write_file(path_ + "good.bit", BitFile{good_data()}.content());
        write_file(path_ + "good.con", "\"a comment\ngood.rbt mwc4a 0 1\ngood.mcb mwc4a 0 0x02\n");
        std::filesystem::create_directory(path_ + "folder.rbt");
    }
    [[nodiscard]] const std::string& path() const { return path_; }

private:
    TemporaryFolder folder_{memory_disk()};
    std::string path_ = folder_.path().string() + '/';
};

std::size_t open_descriptors()
{
    constexpr int highest = 64;
    std::size_t count = 0;
    for (int descriptor = 0; descriptor < highest; ++descriptor)
        if (fcntl(descriptor, F_GETFD) != -1)
            ++count;
    return count;
}

FILE* nowhere()
{
    static FILE* const stream = std::fopen("/dev/null", "we");
    return stream;
}

int press_return(char* text, void* /*unused*/)
{
    take_print(text);
    return '\n';
}

int answer_text(char* prompt, void* answer)
{
    take_print(prompt);
    const std::string_view question{prompt};
    const char* text = question.starts_with("Enter")  ? "good.rbt"
                       : question.starts_with("What") ? "mwc4a"
                                                      : "0";
    std::strcpy(static_cast<char*>(answer), text); // NOLINT: 256 bytes are there
    return 0;
}

int say_yes(char* question, void* /*unused*/)
{
    take_print(question);
    return 'y';
}
} // namespace

void broken(const char* rule)
{
    (void)std::fprintf(stderr, "\nBroken: %s\n", rule);
    std::abort();
}

const std::string& workplace()
{
    static const Folder folder;
    return folder.path();
}

const Bytes& good_data()
{
    static const Bytes data = sample_data(GOOD_SIZE);
    return data;
}

InWorkplace::InWorkplace() : stdout_before_{stdout}
{
    stdout = nowhere();
    descriptors_before_ = open_descriptors();
}

InWorkplace::~InWorkplace()
{
    const std::size_t now = open_descriptors();
    stdout = stdout_before_;
    if (now != descriptors_before_)
        broken("no descriptor leaks, and none is closed twice");
}

void write_file(const std::string& name, std::string_view content)
{
    write_whole_file(name, content);
}

std::string read_file(const std::string& name)
{
    return read_whole_file(name);
}

void remove_file(const std::string& name)
{
    (void)std::remove(name.c_str());
}

FILE* open_bytes(const std::uint8_t* data, std::size_t size)
{
    // A memory stream needs at least one byte.
    FILE* stream = size == 0 ? std::fopen("/dev/null", "re")
                             : fmemopen(const_cast<std::uint8_t*>(data), size, "r"); // NOLINT: only read
    if (stream == nullptr)
        broken("the fuzz target can open its streams");
    return stream;
}

void check_result(int result, const char* text)
{
    constexpr int first_number = 9000;
    constexpr int last_number = 9422;
    if (std::memchr(text, 0, TEXT_SIZE) == nullptr)
        broken("the error text is terminated");
    if (result == 0) {
        if (*text != '\0')
            broken("a run without an error has no error text");
        return;
    }
    if (result < first_number || result > last_number)
        broken("an error number is one of the library's");
    int stated = 0;
    char behind = '\0';
    if (std::sscanf(text, "Error %4d%c", &stated, &behind) != 2 || (behind != '.' && behind != ':'))
        broken("an error text begins with its number");
    if (stated != result && !(result == 9120 && stated == 9121))
        broken("number and text belong together");
}

void take_print(char* text)
{
    constexpr std::size_t longest = 1 << 18; // a BIT file's header is quoted at length
    require(std::strlen(text) < longest, "what is printed is a text");
}

void answer_simply(kvn_fpga& object)
{
    object.kvn_fpga_set_userprint(take_print);
    object.kvn_fpga_set_userfie(press_return, 0);
    object.kvn_fpga_set_userfie(answer_text, 1);
    object.kvn_fpga_set_userfie(say_yes, 2);
}

Bytes expanded(const Bytes& pairs)
{
    if (pairs.size() % 2 != 0)
        broken("a compressed load ends behind a whole pair");
    Bytes data;
    for (std::size_t i = 0; i < pairs.size(); i += 2)
        data.insert(data.end(), pairs[i], pairs[i + 1]);
    return data;
}
