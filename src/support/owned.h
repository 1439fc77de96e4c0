// SPDX-License-Identifier: Apache-2.0
// Owners of resources that are released on every path.
#ifndef KVN_FPGA_SUPPORT_OWNED_H
#define KVN_FPGA_SUPPORT_OWNED_H

#include <cstdio>
#include <memory>
#include <utility>

struct FileCloser {
    void operator()(FILE* file) const noexcept { std::fclose(file); }
};

/// An open C stream, closed at the end of the scope.
using File = std::unique_ptr<FILE, FileCloser>;

/// Runs its action at the end of the scope.
template <class Action>
class Finally
{
public:
    explicit Finally(Action action) : action_{std::move(action)} {}
    ~Finally() { action_(); }
    Finally(const Finally&) = delete;
    Finally& operator=(const Finally&) = delete;

private:
    Action action_;
};

#endif
