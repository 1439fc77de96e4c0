// SPDX-License-Identifier: Apache-2.0
// The list of approved files, in the format of sha256sum.
#ifndef KVN_ENGINE_RUN_MANIFEST_H
#define KVN_ENGINE_RUN_MANIFEST_H

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace kvn
{

/// The largest manifest that is read, in bytes.
inline constexpr std::size_t LARGEST_MANIFEST = std::size_t{16} << 20;

/// Approved digests. A digest is the SHA-256 of a file as it is stored, or of its configuration (kvn digest):
/// then every form of the design is approved. The names serve messages only: a file is approved by what it
/// holds. Constant after construction; may be read by several threads.
class Manifest
{
public:
    /// Reads lines as sha256sum writes them: 64 hexadecimal digits, a blank, a blank or '*', and a name. A
    /// line that begins with a backslash has an escaped name ("\\", "\n", "\r"). A carriage return ends a
    /// line as a line feed does. There are no comments and no empty lines.
    /// @param text the whole file; any bytes
    /// @param file its name, for messages
    /// @throws FailureError (ExitStatus::usage) that names the first wrong line and says what was expected,
    /// or
    ///         for a text without a line; std::bad_alloc
    [[nodiscard]] static Manifest parse(std::string_view text, const std::string& file);

    [[nodiscard]] bool holds(const std::string& sha256) const { return names_.contains(sha256); }
    /// A digest that is approved for a file of this name; null when there is none. Folders are left out of
    /// the comparison.
    [[nodiscard]] const std::string* digest_for(const std::string& file) const;

    [[nodiscard]] const std::string& file() const { return file_; }
    /// Of the text that was read: 64 hexadecimal digits.
    [[nodiscard]] const std::string& sha256() const { return sha256_; }
    [[nodiscard]] std::size_t size() const { return names_.size(); }

private:
    Manifest() = default;

    std::string file_;
    std::string sha256_;
    std::map<std::string, std::string> names_;   ///< of files, by digest
    std::map<std::string, std::string> digests_; ///< by the last component of the name
};

} // namespace kvn

#endif
