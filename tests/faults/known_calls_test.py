# SPDX-License-Identifier: Apache-2.0
"""Holds what the library calls of the C library against what the fault matrix can make fail.

    known_calls_test.py LIBRARY

A call that is new is either wrapped in tests/support/faults.cpp or, when it cannot fail, listed here.
"""
import re
import subprocess
import sys

# Wrapped: each is a fault point.
FAILING = {"fopen", "fread", "fgets", "fwrite", "setvbuf", "ftell", "fclose", "vsnprintf",
           "operator new(unsigned long, std::align_val_t, std::nothrow_t const&)",
           "operator new[](unsigned long, std::nothrow_t const&)", "operator new(unsigned long)"}
# They work on memory or on what a stream already knows, and cannot fail.
CERTAIN = {"feof", "ferror", "getenv", "memcmp", "memcpy", "memmove", "memset", "memchr", "snprintf", "strcmp", "strcpy",
           "strcspn", "strlen", "strncmp", "strncpy", "strspn", "bcmp", "__flbf", "stdout", "stdin",
           "operator delete(void*)", "operator delete(void*, unsigned long)", "operator delete[](void*)",
           "operator delete[](void*, std::nothrow_t const&)", "operator delete(void*, std::align_val_t)",
           "operator delete(void*, unsigned long, std::align_val_t)"}
# Whether the output of a conversion is its input: what cannot be told is left to fopen, and a name that cannot be held
# counts as one that cannot be opened. Tests of the formats cover both.
NAMES = re.compile(r"^std::(filesystem::|__cxx11::basic_string<char|_V2::system_category)")
# The console without callbacks: what is shown is lost when it cannot be shown, and an input that cannot be read has
# ended. Tests of the session and of the utility cover both.
CONSOLE = {"fputs", "fputc", "putc", "putchar", "fflush", "getchar", "getc"}
# The compiler's and the linker's own.
SUPPORT = re.compile(r"^(__cxa_|__gxx_|_Unwind_|_ITM_|__gmon_start__|__stack_chk_fail|__tls_get_addr|__asan_|__ubsan_|"
                     r"__sanitizer_|__tsan_|__gcov|vtable for|typeinfo|std::nothrow|std::__throw_|"
                     r"std::terminate|_GLOBAL_OFFSET_TABLE_|std::__glibcxx_assert)")


def main():
    (library,) = sys.argv[1:]
    lines = subprocess.check_output(["nm", "--undefined-only", "--demangle", "--dynamic", library], text=True)
    calls = {re.sub(r"@.*", "", line.split(None, 1)[1]) for line in lines.splitlines() if line.strip()}
    plain = {re.sub(r"^__(\w+)_chk$", r"\1", call) for call in calls}
    unknown = sorted(call for call in plain
                     if call not in FAILING | CERTAIN | CONSOLE and not call.startswith("Mw") and not NAMES.match(call)
                     and not SUPPORT.match(call))
    for call in unknown:
        print(f"{call}: make it fail in tests/support/faults.cpp, or list it as one that cannot")
    print(f"{len(plain)} functions and objects are called, {len(FAILING & plain)} of them can fail in the matrix")
    return 1 if unknown or not FAILING & plain else 0


if __name__ == "__main__":
    sys.exit(main())
