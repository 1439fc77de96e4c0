// SPDX-License-Identifier: Apache-2.0
// Single loads and conversions of a file's bytes, with the session's own operations.
#ifndef KVN_FPGA_FUZZ_SESSIONS_H
#define KVN_FPGA_FUZZ_SESSIONS_H

#include "choices.h"
#include "kvnfpgai.h"
#include "watched_platform.h"
#include "workplace.h"

#include <string>
#include <vector>

/// Runs a command line, on a caller's handle if there is one; checks the result, and that the bus is closed.
int run_line(kvn_fpga& object, const WatchedPlatform& platform, std::vector<std::string> words,
             MW_HANDLE* handle = nullptr);

/// A command line that leaves something to be asked, and the files that it may mean: only_mcb.mcb,
/// only_bit.bit and only_rbt.rbt.
const std::vector<std::string>& line_with_questions(std::size_t choice);

/// An operation that loads a file.
using Loader = int (kvn_fpga_imp::*)(const char*, int, int, FILE*, const char*);
/// An operation that converts a file.
using Converter = int (kvn_fpga_imp::*)(FILE*);

struct LoadCase {
    const char* file_name; ///< the name in messages
    bool compressed;
    bool virtex2;
    bool talks;         ///< verbose, and waits for return
    std::string device; ///< the module's; if empty, every file suits
};

struct LoadResult {
    int number = 0;
    Bytes data; ///< sent after the load header, unchanged
};

/// Loads bytes into a good module, and checks the rules of every load.
LoadResult load(Loader loader, const Bytes& file, const LoadCase& what);

/// Converts bytes; the output is beside `file_name` in the working folder.
int convert(Converter converter, const Bytes& file, const std::string& file_name, bool verbose);

/// Converts a file to MCB, loads what was made, which must hold the data that was loaded before, and converts
/// it back.
void check_conversion(Converter converter, const Bytes& file, const std::string& file_name,
                      const LoadResult& loaded);

/// Loads a file plain and compressed, for Virtex-2 and for older families, and checks that the loads agree.
/// @return the plain load for Virtex-2
LoadResult load_in_every_way(Loader loader, const Bytes& file, const char* file_name);

#endif
