// SPDX-License-Identifier: Apache-2.0
// Writes example bitstream files for a named device, well-formed or with a chosen defect.
#include "bitstream_files.h"
#include "devices.h"
#include "errors/catalogue.h"
#include "stream.h"
#include "system/arguments.h"
#include "system/terminal.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace
{
using kvn::ExitStatus;

struct Request {
    std::string device;
    std::string output;
    fpga::StreamOptions stream;
    fpga::FileDefect file_defect = fpga::FileDefect::none;
    bool frame_lines = false;
};

const std::map<std::string, fpga::Fill> fills = {
    {"zero", fpga::Fill::zero}, {"pattern", fpga::Fill::pattern}, {"random", fpga::Fill::random}};

const std::map<std::string, fpga::Defect> stream_defects = {{"no-sync", fpga::Defect::no_sync},
                                                            {"crc", fpga::Defect::crc},
                                                            {"id", fpga::Defect::id},
                                                            {"short", fpga::Defect::short_data},
                                                            {"flipped-bit", fpga::Defect::flipped_bit},
                                                            {"no-start", fpga::Defect::no_start}};

const std::map<std::string, fpga::FileDefect> file_defects = {
    {"title", fpga::FileDefect::title},
    {"carriage-returns", fpga::FileDefect::carriage_returns},
    {"short-line", fpga::FileDefect::short_line},
    {"missing-key", fpga::FileDefect::missing_key},
    {"stated-size", fpga::FileDefect::stated_size},
    {"trailing-bytes", fpga::FileDefect::trailing_bytes}};

/// The part as files name it: lower case, without "xc" and without the speed grade.
std::string part_name(const std::string& device)
{
    std::string part = device.substr(0, device.find('-'));
    std::ranges::transform(part, part.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return part.starts_with("xc") ? part.substr(2) : part;
}

bool has_extension(const std::string& path, const std::string& extension)
{
    return path.size() > extension.size() && path.ends_with(extension);
}

void write(const Request& request)
{
    const fpga::Device* device = fpga::find_device(request.device);
    if (device == nullptr)
        throw std::invalid_argument("unknown device " + request.device + " (kvn_bitgen --list names them)");
    const fpga::FileLabels labels{part_name(request.device), fpga::architecture_name(device->family)};
    const std::vector<std::uint8_t> stream = fpga::make_stream(*device, request.stream);

    if (has_extension(request.output, ".rbt"))
        fpga::write_rbt(request.output, stream, labels, request.file_defect,
                        request.frame_lines ? device->frame_size : 0);
    else if (has_extension(request.output, ".bit"))
        fpga::write_bit(request.output, stream, labels, request.file_defect);
    else
        throw std::invalid_argument("the name of the output must end in .rbt or .bit");
}

void list_devices()
{
    for (const fpga::Device& device : fpga::devices())
        std::cout << device.name << '\t' << fpga::family_name(device.family) << '\t' << device.stream_bits()
                  << '\n';
}

/// A command line that has been refused and explained.
struct WrongUsage {
};

/// Assigns --defect to the data or to the file around it.
void choose_defect(Request& request, const std::string& name)
{
    if (const auto in_stream = stream_defects.find(name); in_stream != stream_defects.end())
        request.stream.defect = in_stream->second;
    else
        request.file_defect = file_defects.at(name);
}

std::vector<std::string> defect_names()
{
    std::vector<std::string> names;
    names.reserve(stream_defects.size() + file_defects.size());
    for (const auto& [name, defect] : stream_defects)
        names.push_back(name);
    for (const auto& [name, defect] : file_defects)
        names.push_back(name);
    return names;
}

void run(int argc, char** argv)
{
    Request request;
    std::string defect;
    bool list = false;

    CLI::App app{
        "Writes an example bitstream for a device, with real size, packets, CRC and ID, but no design."};
    app.allow_windows_style_options(false); // a word that begins with / names a file
    app.add_option("device", request.device,
                   "Device, with or without package and speed grade: 2v3000fg676-4");
    app.add_option("-o,--output", request.output,
                   "File to write; its extension, .rbt or .bit, chooses the format");
    app.add_option("--fill", request.stream.fill, "Content of the frames: zero, pattern or random")
        ->transform(CLI::CheckedTransformer(fills))
        ->default_str("pattern");
    app.add_option("--seed", request.stream.seed, "Seed of the random fill")->capture_default_str();
    app.add_option("--defect", defect, "Defect of the data or the file")
        ->check(CLI::IsMember(defect_names()));
    app.add_flag("--frame-lines", request.frame_lines,
                 "RBT of Spartan and Spartan-XL: a line for each frame, as the maker's tools write them");
    app.add_flag("--list", list, "Print every device with its family and stream size in bits");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (app.exit(error) != 0)
            throw WrongUsage{};
        return;
    }

    if (list) {
        list_devices();
        return;
    }
    if (request.device.empty() || request.output.empty())
        throw std::invalid_argument("a device and --output are needed (see --help)");
    if (!defect.empty())
        choose_defect(request, defect);
    write(request);
}

int report(ExitStatus status, std::string_view problem)
{
    std::cerr << "kvn_bitgen: " << problem << '\n';
    return static_cast<int>(status);
}

} // namespace

int main(int argc, char** argv)
{
    kvn::system::set_up_standard_streams();
    try {
        kvn::system::Arguments arguments{argc, argv};
        run(arguments.count(), arguments.words());
        if (!std::cout.flush())
            return report(ExitStatus::file, "cannot write to standard output");
        return static_cast<int>(ExitStatus::done);
    } catch (const WrongUsage&) {
        return static_cast<int>(ExitStatus::usage);
    } catch (const std::invalid_argument& error) {
        return report(ExitStatus::usage, error.what());
    } catch (const std::runtime_error& error) {
        return report(ExitStatus::file, error.what());
    } catch (const std::exception& error) {
        return report(ExitStatus::internal, error.what());
    }
}
