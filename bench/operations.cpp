// SPDX-License-Identifier: Apache-2.0
// The operations to measure, by name, each as one call of the public class.
#include "operations.h"

#include "counting_platform.h"
#include "kvn_fpga.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace
{
constexpr Operation known_operations[] = {
    {"rbt-to-mcb", &BitstreamFiles::rbt, "-c", false},
    {"bit-to-mcb", &BitstreamFiles::bit, "-c", false},
    {"mcb-to-rbt", &BitstreamFiles::mcb, "-r", false},
    {"load-rbt", &BitstreamFiles::rbt, nullptr, false},
    {"load-rbt-compressed", &BitstreamFiles::rbt, nullptr, true},
    {"load-bit", &BitstreamFiles::bit, nullptr, false},
    {"load-bit-compressed", &BitstreamFiles::bit, nullptr, true},
    {"load-mcb", &BitstreamFiles::mcb, nullptr, false},
    {"load-mcb-compressed", &BitstreamFiles::mcb, nullptr, true},
};

void print_nothing(char* /*text*/) {}
} // namespace

std::span<const Operation> operations()
{
    return known_operations;
}

const Operation& find_operation(std::string_view name)
{
    const auto* found = std::find_if(std::begin(known_operations), std::end(known_operations),
                                     [name](const Operation& operation) { return operation.name == name; });
    if (found == std::end(known_operations))
        throw std::invalid_argument("there is no operation " + std::string{name});
    return *found;
}

std::string output_of(const Operation& operation, const BitstreamFiles& files)
{
    if (operation.option == nullptr)
        return "";
    const bool to_rbt = std::string_view{operation.option} == "-r";
    return std::filesystem::path{files.*operation.input}.replace_extension(to_rbt ? "rbt" : "mcb").string();
}

void run(const Operation& operation, const BitstreamFiles& files)
{
    accept_compressed(operation.compressed);
    std::string program = "bench";
    std::string quiet = "-u";
    std::string file = "-f" + files.*operation.input;
    std::string slot = "-s1";
    std::string board = "-b0";
    std::string type = "-dmwc4a";
    std::string option = operation.option != nullptr ? operation.option : "";
    char* load[] = {program.data(), quiet.data(), file.data(), slot.data(),
                    board.data(),   type.data(),  nullptr};
    char* conversion[] = {program.data(), quiet.data(), file.data(), option.data(), nullptr};

    kvn_fpga library;
    library.kvn_fpga_set_userprint(print_nothing);
    const int error =
        operation.option != nullptr ? library.kvn_fpga_main(4, conversion) : library.kvn_fpga_main(6, load);
    if (error != 0)
        throw std::runtime_error(library.kvn_fpga_getlasterr());
}
