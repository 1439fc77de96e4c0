// SPDX-License-Identifier: Apache-2.0
// Makes system calls of the program under test fail, or lets something happen just before one.
//
// Only a program that links kvn_test_system_faults has its calls wrapped. All of this is the calling
// thread's.
#ifndef KVN_FPGA_TESTS_SUPPORT_SYSTEM_FAULTS_H
#define KVN_FPGA_TESTS_SUPPORT_SYSTEM_FAULTS_H

#include <functional>
#include <vector>

enum class SystemCall { open, write, fsync, close, rename, renameat2, link, fdatasync, ftruncate };

/// "fsync"
const char* name_of(SystemCall call);

/// For the duration of a scope the n-th call of a kind (1 is the next) fails with this error. A close still
/// closes.
class SystemFault
{
public:
    SystemFault(SystemCall call, int n, int error);
    ~SystemFault();
    SystemFault(const SystemFault&) = delete;
    SystemFault& operator=(const SystemFault&) = delete;
};

/// For the duration of a scope every call of a kind fails with this error.
class SystemFailure
{
public:
    SystemFailure(SystemCall call, int error);
    ~SystemFailure();
    SystemFailure(const SystemFailure&) = delete;
    SystemFailure& operator=(const SystemFailure&) = delete;
};

/// For the duration of a scope an action is run before the next call of a kind.
class BeforeSystemCall
{
public:
    BeforeSystemCall(SystemCall call, std::function<void()> action);
    ~BeforeSystemCall();
    BeforeSystemCall(const BeforeSystemCall&) = delete;
    BeforeSystemCall& operator=(const BeforeSystemCall&) = delete;
};

/// For the duration of a scope every write takes at most so many bytes, as a signal may cause.
class ShortWrites
{
public:
    explicit ShortWrites(std::size_t most);
    ~ShortWrites();
    ShortWrites(const ShortWrites&) = delete;
    ShortWrites& operator=(const ShortWrites&) = delete;
};

/// Notes the calls that are made while it lives, in their order.
class SystemCalls
{
public:
    SystemCalls();
    ~SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;

    std::vector<SystemCall> made;
};

#endif
