// SPDX-License-Identifier: Apache-2.0
// A file that appears under its name only when it is whole.
#include "file/new_file.h"

#include "errors/failure.h"
#include "system/file.h"
#include "system/path_text.h"
#include "system/process.h"
#include "system/terminal.h"

#include <atomic>
#include <cerrno>
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

std::string temporary_name(const std::string& target)
{
    static std::atomic<unsigned> count;
    const std::filesystem::path folder = system::path_of(target).parent_path();
    const std::string name =
        ".kvn-" + std::to_string(system::own_process_id()) + '-' + std::to_string(count++) + ".tmp";
    return system::text_of(folder / name);
}

void require_free(const std::string& target, bool overwrite)
{
    const system::FileKind kind = system::kind_of_name(target);
    if (kind == system::FileKind::none)
        return; // what else is wrong with the name shows when it is written
    if (kind == system::FileKind::folder)
        fail_over(target, " is a folder", "name a file in it");
    if (kind != system::FileKind::regular && kind != system::FileKind::link)
        fail_over(target, " is no regular file", "name another file, or write to standard output: -");
    if (!overwrite)
        fail_over_existing(target);
}

bool is_same_file(const std::string& input, const std::string& target)
{
    const auto first =
        input == "-" ? system::identity_of(system::STANDARD_INPUT) : system::identity_of(input);
    return first && first == system::identity_of(target);
}

NewFile::NewFile(std::string target) : target_{std::move(target)}
{
    do { // a file of an earlier process of the same number may be left
        path_ = temporary_name(target_);
        descriptor_ = system::create_new(path_);
    } while (descriptor_ < 0 && errno == EEXIST);
    if (descriptor_ < 0)
        fail_to_write(target_, errno);
}

NewFile::~NewFile()
{
    if (descriptor_ >= 0)
        (void)system::close_file(descriptor_);
    if (!path_.empty())
        (void)system::remove_file(path_);
}

void NewFile::write(std::string_view content)
{
    if (const int error = system::write_all(descriptor_, content))
        fail_to_write(target_, error);
    if (const int error = system::flush_file(descriptor_))
        fail_to_write(target_, error);
    if (const int error = system::close_file(std::exchange(descriptor_, -1)))
        fail_to_write(target_, error);
}

void NewFile::move_to_target(bool overwrite)
{
    require_free(target_, overwrite);
    const int error =
        overwrite ? system::move_over(path_, target_) : system::move_to_free_name(path_, target_);
    if (error == EEXIST)
        fail_over_existing(target_);
    if (error != 0)
        fail_to_write(target_, error);
    path_.clear();
}

void write_to_standard_output(std::string_view content)
{
    if (const int error = system::write_all(system::STANDARD_OUTPUT, content))
        fail_to_write("standard output", error);
}

} // namespace kvn
