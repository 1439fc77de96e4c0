// SPDX-License-Identifier: Apache-2.0
// The one folder in which a test, a fuzz target or a benchmark keeps its files.
#ifndef KVN_FPGA_TESTS_SUPPORT_TEMPORARY_FOLDER_H
#define KVN_FPGA_TESTS_SUPPORT_TEMPORARY_FOLDER_H

#include <filesystem>

/// A new folder, removed with all that is in it at the end of the scope.
class TemporaryFolder
{
public:
    /// @throws std::system_error when the folder cannot be made
    explicit TemporaryFolder(const std::filesystem::path& parent = std::filesystem::temp_directory_path());
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// Makes a folder the current one for the duration of a scope.
class CurrentFolder
{
public:
    explicit CurrentFolder(const std::filesystem::path& folder);
    ~CurrentFolder();
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

private:
    std::filesystem::path before_;
};

#endif
