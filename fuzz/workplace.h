// SPDX-License-Identifier: Apache-2.0
// What the fuzz targets share: a folder of files to work in, and the checks of a run's result.
#ifndef KVN_FPGA_FUZZ_WORKPLACE_H
#define KVN_FPGA_FUZZ_WORKPLACE_H

#include "choices.h"
#include "kvn_fpga.h"
#include "require.h"
#include "support/bytes.h"
#include "support/temporary_folder.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

/// The path of a folder of the process's own, with a slash behind it.
const std::string& workplace();

/// While it lives, the process works in that folder and its standard output leads nowhere. The folder
/// holds good.rbt, good.mcb, good.bit and good.con, of one configuration, and a folder named folder.rbt.
class InWorkplace
{
public:
    InWorkplace();
    ~InWorkplace();
    InWorkplace(const InWorkplace&) = delete;
    InWorkplace& operator=(const InWorkplace&) = delete;

private:
    CurrentFolder folder_{workplace()};
    FILE* stdout_before_;
    std::size_t descriptors_before_;
};

/// What the good files configure, in transmission order.
const Bytes& good_data();

void write_file(const std::string& name, std::string_view content);
inline void write_file(const std::string& name, const Bytes& content)
{
    write_file(name, {reinterpret_cast<const char*>(content.data()), content.size()});
}
/// The content of a file; empty when there is none.
std::string read_file(const std::string& name);
void remove_file(const std::string& name);

/// A stream over bytes. The library closes it.
FILE* open_bytes(const std::uint8_t* data, std::size_t size);

/// Checks that a run's result and text belong together.
void check_result(int result, const char* text);

/// Takes the library's prints; checks that each is a text.
void take_print(char* text);
/// Answers every question of an object the same way: return is pressed, a yes, and good.rbt, mwc4a or 0 for a
/// text.
void answer_simply(kvn_fpga& object);

/// The pairs of a compressed load, expanded; a load of an odd length is a mistake.
Bytes expanded(const Bytes& pairs);

#endif
