// SPDX-License-Identifier: Apache-2.0
// Runs that never took place, for tests of what reports make of them.
#ifndef KVN_FPGA_TESTS_ENGINE_REPORT_EXAMPLE_RUNS_H
#define KVN_FPGA_TESTS_ENGINE_REPORT_EXAMPLE_RUNS_H

#include "module/record.h"
#include "run/journal_reader.h"

#include <chrono>
#include <string>

namespace example
{

/// 2026-11-22T03:44:37.000Z and some milliseconds.
[[nodiscard]] std::chrono::system_clock::time_point moment(std::int64_t milliseconds);

/// The record of a load that configured the module, from begin to end in milliseconds.
[[nodiscard]] kvn::Record configured(const std::string& module, std::int64_t begin, std::int64_t end);

/// The same with another end.
[[nodiscard]] kvn::Record failing(const std::string& module, std::int64_t begin, std::int64_t end,
                                  kvn::Verdict verdict, kvn::ModuleState state, kvn::Failure failure);

/// A journal, line by line.
class ExampleRun
{
public:
    /// A run on "bench-7" that begins at moment(at).
    explicit ExampleRun(const std::string& file = "rack.journal", std::int64_t at = 0);

    ExampleRun& plan(const std::string& module, const std::string& label = "",
                     const std::string& file = "design.bit");
    ExampleRun& begin(const std::string& module, std::int64_t at, unsigned attempt = 1);
    ExampleRun& finish(const kvn::Record& record);
    /// Both of a load, planned too.
    ExampleRun& load(const kvn::Record& record, const std::string& label = "");
    ExampleRun& end(kvn::ExitStatus status);

    /// Writes it as a journal on the disk.
    void write(const std::string& path) const;

    kvn::JournalContent content; ///< may be changed
};

/// A rack with a verdict of each kind: 64 modules on 16 buses of bench-7, of which one run was killed and
/// another one went on; and one of bench-8.
[[nodiscard]] std::vector<kvn::JournalContent> rack();

/// As many modules as are asked for, on buses of 4, each with a file of its own if wanted.
[[nodiscard]] ExampleRun large(std::size_t modules, bool distinct_files);

/// Writes any journal to the disk.
void write_journal(const kvn::JournalContent& content, const std::string& path);

} // namespace example

#endif
