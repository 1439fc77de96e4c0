// SPDX-License-Identifier: Apache-2.0
// The words that a program was started with.
#ifndef KVN_SYSTEM_ARGUMENTS_H
#define KVN_SYSTEM_ARGUMENTS_H

#include <string>
#include <vector>

namespace kvn::system
{

/// What main() was given, in UTF-8 and as it was given: on Windows main() gets neither.
class Arguments
{
public:
    /// @param argc, argv of main()
    Arguments(int argc, char** argv);

    /// The program's own name counts.
    [[nodiscard]] int count() const noexcept { return static_cast<int>(words_.size()) - 1; }
    /// As main() has them, a null pointer last. Valid as long as the object.
    [[nodiscard]] char** words() noexcept { return words_.data(); }

private:
    std::vector<std::string> texts_;
    std::vector<char*> words_;
};

} // namespace kvn::system

#endif
