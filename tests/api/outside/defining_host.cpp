// SPDX-License-Identifier: Apache-2.0
// A host that is linked with kvn_fpga and defines the platform functions itself.
extern "C" int run_application();

int main()
{
    return run_application();
}
