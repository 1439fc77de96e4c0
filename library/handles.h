// SPDX-License-Identifier: Apache-2.0
// Handles that callers hold: whatever they pass, nothing is accessed that is not there.
#ifndef KVN_LIBRARY_HANDLES_H
#define KVN_LIBRARY_HANDLES_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace kvn::c_interface
{

/// The objects behind handles. A handle is a number that is given once and only looks like a pointer, so that
/// one that was closed is never taken for a newer one. Any thread.
/// @tparam Handle the opaque type of the C interface
template <class Object, class Handle>
class Handles
{
public:
    /// @param kind 1 or 2: handles of different kinds are different numbers
    explicit Handles(std::uintptr_t kind) : next_{kind} {}

    /// @throws std::bad_alloc
    Handle* add(std::shared_ptr<Object> object)
    {
        const std::lock_guard lock{mutex_};
        objects_.emplace(next_ + STEP, std::move(object));
        next_ += STEP;
        return reinterpret_cast<Handle*>(next_); // NOLINT(performance-no-int-to-ptr): never dereferenced
    }

    /// Null for a handle that is not open. The object lives at least as long as the result.
    std::shared_ptr<Object> find(const Handle* handle) const
    {
        const std::lock_guard lock{mutex_};
        const auto found = objects_.find(reinterpret_cast<std::uintptr_t>(handle));
        return found == objects_.end() ? nullptr : found->second;
    }

    /// Closes a handle. @return false if it was not open
    bool remove(const Handle* handle)
    {
        std::shared_ptr<Object> removed; // released after the lock
        const std::lock_guard lock{mutex_};
        const auto found = objects_.find(reinterpret_cast<std::uintptr_t>(handle));
        if (found == objects_.end())
            return false;
        removed.swap(found->second);
        objects_.erase(found);
        return true;
    }

private:
    static constexpr std::uintptr_t STEP = 16;

    mutable std::mutex mutex_;
    std::unordered_map<std::uintptr_t, std::shared_ptr<Object>> objects_;
    std::uintptr_t next_;
};

} // namespace kvn::c_interface

#endif
