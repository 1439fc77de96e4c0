// SPDX-License-Identifier: Apache-2.0
// Runs a fuzz target on files and on the files of folders, without a fuzzer.
#include "target.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace
{
using Paths = std::vector<std::filesystem::path>;

void add_inputs(Paths& inputs, const std::filesystem::path& path)
{
    if (!std::filesystem::is_directory(path)) {
        inputs.push_back(path);
        return;
    }
    Paths files;
    for (const auto& entry : std::filesystem::directory_iterator(path))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    inputs.insert(inputs.end(), files.begin(), files.end());
}

bool run(const std::filesystem::path& input)
{
    std::ifstream file{input, std::ios::binary};
    const std::vector<char> content{std::istreambuf_iterator<char>{file}, {}};
    if (!file.is_open() || file.bad()) {
        (void)std::fprintf(stderr, "%s: cannot be read\n", input.c_str());
        return false;
    }
    (void)std::fprintf(stderr, "%s\n",
                       input.c_str()); // if the process ends, the last name is that of its input
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
    return true;
}
} // namespace

int main(int argc, char** argv)
{
    Paths inputs;
    for (int i = 1; i < argc; ++i)
        add_inputs(inputs, argv[i]);
    if (inputs.empty()) {
        (void)std::fprintf(stderr, "usage: %s FILE-OR-FOLDER...\n", argv[0]);
        return 2;
    }
    const bool all_read = std::all_of(inputs.begin(), inputs.end(), run);
    (void)std::fprintf(stderr, "%zu inputs\n", inputs.size());
    return all_read ? 0 : 1;
}
