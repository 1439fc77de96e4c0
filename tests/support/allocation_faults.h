// SPDX-License-Identifier: Apache-2.0
// Makes allocations fail: the n-th one of an action, of all callers or of some.
//
// A program that links kvn_test_new_faults has its operators new replaced, one that links
// kvn_test_malloc_faults the C library's malloc, which the operators and the C library's streams call.
// Sanitizers allow only the former.
#ifndef KVN_FPGA_TESTS_SUPPORT_ALLOCATION_FAULTS_H
#define KVN_FPGA_TESTS_SUPPORT_ALLOCATION_FAULTS_H

/// Whose allocations are counted. Streams allocate themselves and their buffers in the C library.
enum class Allocator { any, c_library, others };

/// Which allocation fails.
class AllocationPlan
{
public:
    /// @param failing 1 for the first allocation; 0: none fails
    /// @param later_too whether those after it fail too
    explicit AllocationPlan(long failing = 0, Allocator whose = Allocator::any, bool later_too = false)
        : failing_{failing}, whose_{whose}, later_too_{later_too}
    {
    }

    /// Does something under the plan; allocations are counted on from the action before.
    /// @return what the action returns
    template <class Action>
    auto during(Action action)
    {
        const Watch watch{*this};
        return action();
    }

    [[nodiscard]] long allocations() const { return allocations_; }
    [[nodiscard]] bool has_failed() const { return has_failed_; }

    /// Counts an allocation of the calling thread under its plan, if there is one.
    /// @param caller the address that the allocating function returns to
    /// @return whether it fails
    static bool fails_now(const void* caller);

private:
    /// A thread has one plan at a time.
    class Watch
    {
    public:
        explicit Watch(AllocationPlan& plan);
        ~Watch();
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;
    };
    bool fails(const void* caller);

    long failing_;
    Allocator whose_;
    bool later_too_;
    long allocations_ = 0;
    bool has_failed_ = false;
};

/// Whether a function that calls at this address is the C library's.
bool is_in_c_library(const void* caller);

/// The blocks that the calling thread has from malloc, less those that it has released.
long blocks_from_malloc();

#endif
