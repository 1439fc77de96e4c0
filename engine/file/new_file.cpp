// SPDX-License-Identifier: Apache-2.0
// A file that appears under its name only when it is whole.
#include "file/new_file.h"

#include "errors/failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

namespace kvn
{
namespace
{

std::string words_of(int error)
{
    return std::generic_category().message(error);
}

[[noreturn]] void fail_to_write(const std::string& target, int error)
{
    throw FailureError{{ExitStatus::file, 0, "cannot write " + target + ": " + words_of(error), "",
                        "see that its folder exists, may be written and has room"}};
}

[[noreturn]] void fail_over(const std::string& target, const char* what, const char* remedy)
{
    throw FailureError{{ExitStatus::file, 0, target + what, "", remedy}};
}

[[noreturn]] void fail_over_existing(const std::string& target)
{
    fail_over(target, " exists already, and is kept", "name another file, or replace it by --overwrite");
}

} // namespace

int write_all(int descriptor, std::string_view content)
{
    while (!content.empty()) {
        const ssize_t written = ::write(descriptor, content.data(), content.size());
        if (written >= 0)
            content.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

std::string temporary_name(const std::string& target)
{
    static std::atomic<unsigned> count;
    const std::filesystem::path folder = std::filesystem::path{target}.parent_path();
    const std::string name = ".kvn-" + std::to_string(::getpid()) + '-' + std::to_string(count++) + ".tmp";
    return (folder / name).string();
}

int move_to_free_name(const std::string& from, const std::string& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // The file system cannot do it, but most of those have links.
    if (::link(from.c_str(), to.c_str()) != 0)
        return errno;
    (void)::unlink(from.c_str());
    return 0;
}

void require_free(const std::string& target, bool overwrite)
{
    struct stat status {
    };
    if (::lstat(target.c_str(), &status) != 0)
        return; // what else is wrong with the name shows when it is written
    if (S_ISDIR(status.st_mode))
        fail_over(target, " is a folder", "name a file in it");
    if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode))
        fail_over(target, " is no regular file", "name another file, or write to standard output: -");
    if (!overwrite)
        fail_over_existing(target);
}

bool is_same_file(const std::string& input, const std::string& target)
{
    struct stat first {
    };
    struct stat second {
    };
    const int found = input == "-" ? ::fstat(STDIN_FILENO, &first) : ::stat(input.c_str(), &first);
    return found == 0 && ::stat(target.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

NewFile::NewFile(std::string target) : target_{std::move(target)}
{
    constexpr int FLAGS = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    constexpr mode_t RIGHTS = 0666;
    do { // a file of an earlier process of the same number may be left
        path_ = temporary_name(target_);
        descriptor_ = ::open(path_.c_str(), FLAGS, RIGHTS);
    } while (descriptor_ < 0 && errno == EEXIST);
    if (descriptor_ < 0)
        fail_to_write(target_, errno);
}

NewFile::~NewFile()
{
    if (descriptor_ >= 0)
        (void)::close(descriptor_);
    if (!path_.empty())
        (void)::unlink(path_.c_str());
}

void NewFile::write(std::string_view content)
{
    if (const int error = write_all(descriptor_, content))
        fail_to_write(target_, error);
    if (::fsync(descriptor_) != 0)
        fail_to_write(target_, errno);
    if (::close(std::exchange(descriptor_, -1)) != 0)
        fail_to_write(target_, errno);
}

void NewFile::move_to_target(bool overwrite)
{
    require_free(target_, overwrite);
    const int error = !overwrite                                         ? move_to_free_name(path_, target_)
                      : std::rename(path_.c_str(), target_.c_str()) == 0 ? 0
                                                                         : errno;
    if (error == EEXIST)
        fail_over_existing(target_);
    if (error != 0)
        fail_to_write(target_, error);
    path_.clear();
}

void write_to_standard_output(std::string_view content)
{
    if (const int error = write_all(STDOUT_FILENO, content))
        fail_to_write("standard output", error);
}

} // namespace kvn
