// SPDX-License-Identifier: Apache-2.0
// Libraries that a running program loads.
//
// All operations may be called on several threads at once.
#ifndef KVN_SYSTEM_DYNAMIC_LIBRARY_H
#define KVN_SYSTEM_DYNAMIC_LIBRARY_H

#include <stdexcept>
#include <string>
#include <string_view>

namespace kvn::system
{

/// Why a library cannot be loaded, in the loader's words.
class LibraryError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A loaded library, or the program itself. Opaque.
struct Library;

/// The name of the file that holds a library of this project or the board maker's: "libmwvirtual.so" or
/// "mwvirtual.dll" for "mwvirtual".
[[nodiscard]] std::string library_file(std::string_view name);

/// Loads a library with all that it needs; it stays loaded until the process ends. Its functions do not take
/// the place of the program's own.
/// @param name a path, or a plain name that is looked for where the system has libraries, never in the
/// current folder
/// @throws LibraryError
[[nodiscard]] Library* load_library(const std::string& name);

/// The program, as a library whose functions can be found.
[[nodiscard]] Library* program_itself() noexcept;

/// A function that a library exports. @return null if it has none of that name
[[nodiscard]] void* find_function(Library* library, const char* name) noexcept;

/// The path of the library or program that holds an address; empty if there is none.
[[nodiscard]] std::string file_of(const void* address);

/// Whether two addresses are in the same library or program.
[[nodiscard]] bool are_in_one_library(const void* a, const void* b) noexcept;

} // namespace kvn::system

#endif
