// SPDX-License-Identifier: Apache-2.0
// The header compiles by itself in C++ too.
#include "header_alone.c"
