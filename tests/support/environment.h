// SPDX-License-Identifier: Apache-2.0
// Environment variables of the test's own process.
#ifndef KVN_FPGA_TESTS_SUPPORT_ENVIRONMENT_H
#define KVN_FPGA_TESTS_SUPPORT_ENVIRONMENT_H

#include <optional>
#include <string>

void set_variable(const char* name, const std::string& value);
void unset_variable(const char* name);

/// An environment variable as it is for the duration of a scope; restored afterwards.
class EnvironmentVariable
{
public:
    explicit EnvironmentVariable(const char* name);
    ~EnvironmentVariable();
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

    void set(const std::string& value) { set_variable(name_, value); }
    void unset() { unset_variable(name_); }

private:
    const char* name_;
    std::optional<std::string> before_;
};

#endif
