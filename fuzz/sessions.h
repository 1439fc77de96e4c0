// Single loads and conversions of bytes that stand for a file, with the session's own operations.
#ifndef KVN_FPGA_FUZZ_SESSIONS_H
#define KVN_FPGA_FUZZ_SESSIONS_H

#include "choices.h"
#include "kvnfpgai.h"

#include <string>

/// An operation that loads a file.
using Loader = int (kvn_fpga_imp::*)(const char*, int, int, FILE*, const char*);
/// An operation that converts a file.
using Converter = int (kvn_fpga_imp::*)(FILE*);

struct LoadCase {
    const char* file_name; ///< as messages name it
    bool compressed;
    bool virtex2;
    bool talks;         ///< verbose, and waits for return
    std::string device; ///< the module's; an empty one suits every file
};

struct LoadResult {
    int number = 0;
    Bytes data; ///< sent behind the load header, as it was sent
};

/// Loads bytes into a good module, and checks what can be checked of any load.
LoadResult load(Loader loader, const Bytes& file, const LoadCase& what);

/// Converts bytes; the output is beside `file_name` in the working folder.
int convert(Converter converter, const Bytes& file, const std::string& file_name, bool verbose);

/// Loads a file plainly and compressed, for the newest and for older families, and checks that the loads
/// agree.
/// @return the plain load for the newest families
LoadResult load_in_every_way(Loader loader, const Bytes& file, const char* file_name);

#endif
