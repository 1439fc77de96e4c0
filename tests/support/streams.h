// Streams that fail at a chosen byte.
#ifndef KVN_FPGA_TESTS_SUPPORT_STREAMS_H
#define KVN_FPGA_TESTS_SUPPORT_STREAMS_H

#include <cstddef>
#include <cstdio>
#include <string>

/// A stream for reading that holds a content, of which the byte at fail_at and all behind it cannot be read:
/// the error indicator is then set. The caller closes it.
FILE* stream_failing_at(std::string content, std::size_t fail_at);

/// A stream for writing with room for so many bytes; what it took stands in `taken`, which must outlive it.
/// A write beyond fails as on a full disk. The caller closes it.
FILE* stream_with_room(std::size_t room, std::string& taken);

#endif
