// SPDX-License-Identifier: Apache-2.0
// Makes operations on files, and allocations, fail: the one place where tests and fuzz targets do so.
//
// While a FaultScope or a Recording lives, the library's fopen gives streams of our own (own_stream.h) over
// the real files. What such a stream asks of its file, and what the library asks of the stream, can be
// counted, recorded, and made to fail at the n-th time. All of this is the calling thread's.
#ifndef KVN_FPGA_TESTS_SUPPORT_FAULTS_H
#define KVN_FPGA_TESTS_SUPPORT_FAULTS_H

#include <cstddef>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Streams of bytes in memory. The caller closes them.

/// A stream for reading that holds a content, of which the byte at fail_at and all behind it cannot be read:
/// the error indicator is then set.
FILE* stream_failing_at(std::string content, std::size_t fail_at);
/// A stream for writing with room for so many bytes; what it took stands in `taken`, which must outlive it.
/// A write beyond fails as on a full disk.
FILE* stream_with_room(std::size_t room, std::string& taken);

/// Faults can be planned while it lives; none is left behind it.
class FaultScope
{
public:
    FaultScope();
    ~FaultScope();
    FaultScope(const FaultScope&) = delete;
    FaultScope& operator=(const FaultScope&) = delete;
};

/// The n-th allocation from now with new (std::nothrow), of an array or with an alignment, gives null; 1 is
/// the next. It replaces an earlier plan.
void fail_allocation_at(int n);

/// For the duration of a scope every file that is opened for writing has room for so many bytes.
class SmallOutputFile
{
public:
    explicit SmallOutputFile(std::size_t room);
    ~SmallOutputFile();
    SmallOutputFile(const SmallOutputFile&) = delete;
    SmallOutputFile& operator=(const SmallOutputFile&) = delete;

    const std::size_t room;
    /// Without it every write is handed over at once, so that the very byte that fails is told.
    bool gathers = false;
    /// What was written.
    mutable std::string taken;

private:
    FaultScope scope_;
};

/// For the duration of a scope no stream tells that it has ended: reads come short without a reason.
class HiddenEnd
{
public:
    HiddenEnd();
    ~HiddenEnd();
    HiddenEnd(const HiddenEnd&) = delete;
    HiddenEnd& operator=(const HiddenEnd&) = delete;

private:
    FaultScope scope_;
};

/// How many streams of our own are open.
int open_faulty_streams();

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
    none,
};

/// The faults that an operation can have.
std::vector<Fault> faults_of(Operation operation);

/// An operation as it was made.
struct Point {
    Operation operation;
    std::string file;    ///< "" for an allocation
    std::size_t ordinal; ///< among the operations of this kind on this file, from 1
    std::size_t asked;   ///< bytes
    std::size_t done;    ///< bytes; of an operation without bytes 1 for success
};

std::string described(const Point& point);
std::string described(Fault fault);

/// What to record.
enum class Depth { calls, transfers };

/// Notes every operation in its order; one of them, named by its place in that order, can be made to fail.
/// The record of a good run is so the list of all faults that can be tried on it.
class Recording
{
public:
    explicit Recording(Depth depth = Depth::calls);
    ~Recording();
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    /// Makes the operation at this place (from 0) fail.
    void plan(std::size_t place, Fault fault);
    /// Notes that an error's text is written.
    void note_description();
    /// Notes an operation. @return its place
    std::size_t note(Operation operation, const std::string& file, std::size_t asked);

    [[nodiscard]] std::vector<Point>& points() { return points_; }
    /// The operation that has failed as planned, if the run came as far.
    [[nodiscard]] std::optional<Point> failed() const
    {
        return fault_ != Fault::none && place_ < points_.size() ? std::optional{points_[place_]}
                                                                : std::nullopt;
    }
    [[nodiscard]] Depth depth() const { return depth_; }
    [[nodiscard]] Fault fault_at(std::size_t place) const { return place == place_ ? fault_ : Fault::none; }

private:
    Depth depth_;
    std::vector<Point> points_;
    std::map<std::pair<Operation, std::string>, std::size_t> counts_;
    std::size_t place_ = 0;
    Fault fault_ = Fault::none;
    FaultScope scope_;
};
} // namespace fault_points

#endif
