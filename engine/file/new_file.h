// SPDX-License-Identifier: Apache-2.0
// A file that appears under its name only when it is whole.
#ifndef KVN_ENGINE_FILE_NEW_FILE_H
#define KVN_ENGINE_FILE_NEW_FILE_H

#include <string>
#include <string_view>

namespace kvn
{

/// Looks whether a file may be written under the name, before any work is done for it.
/// Throws FailureError of ExitStatus::file when something is there: anything at all without `overwrite`, else
/// what is neither a regular file nor a symbolic link.
void require_free(const std::string& target, bool overwrite);

/// Whether both names lead to one file. An input of "-" is what standard input reads from.
[[nodiscard]] bool is_same_file(const std::string& input, const std::string& target);

/// A name in the folder of the target that no other thread or process is given. A file of it that is there is
/// left by a process that was killed.
[[nodiscard]] std::string temporary_name(const std::string& target);

/// A file under a temporary name in the folder of its target. Unless it was moved there it is removed at the
/// end of its life.
class NewFile
{
public:
    /// Makes the file, empty, with the rights that the umask leaves.
    /// Throws FailureError of ExitStatus::file.
    explicit NewFile(std::string target);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Writes all of the content, to the disk, and closes the file. To be called once.
    /// Throws FailureError of ExitStatus::file.
    void write(std::string_view content);

    /// Where the content is meanwhile.
    [[nodiscard]] const std::string& path() const { return path_; }

    /// Gives the file its name. Without `overwrite` a file that has come to stand there is kept.
    /// Throws FailureError of ExitStatus::file.
    void move_to_target(bool overwrite);

private:
    std::string target_;
    std::string path_; ///< empty once it was moved
    int descriptor_ = -1;
};

/// Throws FailureError of ExitStatus::file.
void write_to_standard_output(std::string_view content);

} // namespace kvn

#endif
