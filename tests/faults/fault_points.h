// Records every operation of the C library that can fail, and makes a chosen one of them fail.
//
// A program that links this has the library's calls of the C library, and of new (std::nothrow), sent here.
// While a Recording lives they are noted in their order; one of them, named by its place in that order, can
// be made to fail. The record of a good run is so the list of all faults that can be tried on it.
#ifndef KVN_FPGA_TESTS_FAULTS_FAULT_POINTS_H
#define KVN_FPGA_TESTS_FAULTS_FAULT_POINTS_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace fault_points
{
enum class Operation {
    open,        ///< fopen
    read,        ///< fread
    line,        ///< fgets
    write,       ///< fwrite
    buffer,      ///< setvbuf
    position,    ///< ftell
    close,       ///< fclose
    allocation,  ///< new (std::nothrow)
    description, ///< the writing of a numbered error: it cannot fail, and marks where a run has failed
    // What a stream asks of the file behind it, when transfers are recorded:
    transfer_in,
    transfer_out,
    transfer_end,
};

/// How an operation fails.
enum class Fault {
    error,       ///< nothing is done; a stream's error indicator is set
    end,         ///< nothing is read; the end-of-file indicator is set
    short_error, ///< the first half is done, then as error
    short_end,   ///< the first half is read, then as end
    odd_error,   ///< as short_error, with one byte more or less
    odd_end,     ///< as short_end, with one byte more or less
    piecemeal,   ///< a transfer gives one byte and no error: it is no fault at all
};

/// The faults that an operation can have.
std::vector<Fault> faults_of(Operation operation);

/// An operation as it was made.
struct Point {
    Operation operation;
    std::string file;      ///< "" for an allocation
    std::size_t ordinal;   ///< among the operations of this kind on this file, from 1
    std::size_t asked;     ///< bytes
    std::size_t done;      ///< bytes; of an operation without bytes 1 for success
    std::size_t total = 0; ///< bytes, with all operations of this kind on this file before
    bool error = false;    ///< the stream's indicators afterwards
    bool end = false;
    char refused = '\0'; ///< the character at which a short write stopped
};

std::string described(const Point& point);
std::string described(Fault fault);

/// What to record.
enum class Depth { calls, transfers };

class Recording
{
public:
    explicit Recording(Depth depth = Depth::calls);
    ~Recording();
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    /// Makes the operation at this place (from 0) fail.
    void plan(std::size_t place, Fault fault);
    /// Called when an error's text is written.
    void on_failure(std::function<void()> action);

    [[nodiscard]] const std::vector<Point>& points() const;
    /// How many of the recorded streams are open.
    [[nodiscard]] int open_streams() const;
};

/// Makes the next plain new throw std::bad_alloc. Only calls of the test itself and of the library are
/// caught.
void fail_next_new();
} // namespace fault_points

#endif
