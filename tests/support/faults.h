// Makes the C library's file operations and allocation fail at a chosen call.
//
// Counts from the moment the fault is planned: 1 is the next call. Every plan is for one call and is taken
// back with no_faults(), or by a FaultScope at its end. The plans are those of the calling thread.
#ifndef KVN_FPGA_TESTS_SUPPORT_FAULTS_H
#define KVN_FPGA_TESTS_SUPPORT_FAULTS_H

#include <cstddef>

/// The n-th fread or fgets reads nothing and sets the stream's error indicator.
void fail_read_at(int n);
/// The n-th fread or fgets meets the end of the file: it reads nothing and sets the end-of-file indicator.
void end_read_at(int n);
/// The n-th fwrite writes so many items at the most and reports that.
void fail_write_at(int n, std::size_t items_written = 0);
/// The n-th fclose closes the stream and reports a failure.
void fail_close_at(int n);
/// The n-th allocation with new (std::nothrow) gives null.
void fail_allocation_at(int n);
/// Takes back every plan.
void no_faults();

/// How many calls of each kind there were since the last no_faults().
struct CallCounts {
    int reads;
    int writes;
    int closes;
    int allocations;
};
CallCounts counted_calls();

class FaultScope
{
public:
    FaultScope() { no_faults(); }
    ~FaultScope() { no_faults(); }
    FaultScope(const FaultScope&) = delete;
    FaultScope& operator=(const FaultScope&) = delete;
};

#endif
