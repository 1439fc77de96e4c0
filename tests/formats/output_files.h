// Output files that run out of room at a chosen byte, and input files that hide their end.
#ifndef KVN_FPGA_TESTS_FORMATS_OUTPUT_FILES_H
#define KVN_FPGA_TESTS_FORMATS_OUTPUT_FILES_H

#include <cstddef>
#include <string>

/// For the duration of a scope a file that is opened for writing has room for so many bytes. It hands every
/// write over at once, so that the very byte that fails is told. The C library's calls of fopen come here by
/// --wrap.
class SmallOutputFile
{
public:
    explicit SmallOutputFile(std::size_t room);
    ~SmallOutputFile();
    SmallOutputFile(const SmallOutputFile&) = delete;
    SmallOutputFile& operator=(const SmallOutputFile&) = delete;

    /// What the file took.
    std::string taken;
    /// Lets the stream gather what is written, as the streams of real files do.
    bool gathers = false;
    std::size_t room;
};

/// For the duration of a scope no stream tells that it has ended: reads come short without a reason. The
/// calls of feof come here by --wrap.
class HiddenEnd
{
public:
    HiddenEnd();
    ~HiddenEnd();
    HiddenEnd(const HiddenEnd&) = delete;
    HiddenEnd& operator=(const HiddenEnd&) = delete;
};

#endif
