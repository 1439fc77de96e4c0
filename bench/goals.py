# SPDX-License-Identifier: Apache-2.0
"""What the library is to reach: each figure is a most."""

# Ratios of times, side by side in one run: (operation, what it is compared with): figure.
AGAINST_PEERS = {
    ("rbt-to-mcb", "wc-rbt"): 1.75,
    ("rbt-to-mcb", "cp-rbt"): 0.85,
    ("rbt-to-mcb", "lz4-rbt"): 0.25,
    ("bit-to-mcb", "cp-bit"): 1.85,
    ("mcb-to-rbt", "cp-rbt"): 1.10,
}

# The same for data of other kinds than the usual mix.
OTHER_KINDS = ["zero", "random", "flip"]
ANY_DATA = {
    ("rbt-to-mcb", "wc-rbt"): 2.15,
    ("bit-to-mcb", "cp-bit"): 2.40,
    ("mcb-to-rbt", "cp-rbt"): 1.50,
}

# Ratios of the times of loads to reading the file and making the bare calls.
AGAINST_FLOORS = {
    "load-rbt": 1.25,
    "load-rbt-compressed": 1.75,
    "load-bit": 1.35,
    "load-bit-compressed": 2.50,
    "load-mcb": 2.00,
    "load-mcb-compressed": 1.55,
}

INSTRUCTIONS_PER_BYTE = {
    "rbt-to-mcb": 16.0,
    "bit-to-mcb": 10.0,
    "mcb-to-rbt": 18.0,
    "load-rbt": 14.0,
    "load-rbt-compressed": 18.5,
    "load-bit": 8.0,
    "load-bit-compressed": 12.5,
    "load-mcb": 15.0,
    "load-mcb-compressed": 7.5,
}

# The instructions of a load through a provider that is loaded at run time, against those of the same load with the
# same platform linked.
THROUGH_PROVIDER = 1.15

SYSTEM_CALLS = 100
SYSTEM_CALLS_PER_BLOCK = 2.1

CONVERTING_MEMORY = 320 * 1024
LOADING_MEMORY = 256 * 1024

# The cost of a bit in very large files against that in large ones.
GROWTH = 1.30

SMALL_BITS = 1_000_000
MEDIUM_BITS = 10_000_000
LARGEST_DEVICE_BITS = 34_292_768
HUGE_BITS = 342_927_680

# A load by kvn against one by KVN_FPGA: instructions with virtual carriers as a multiple; instructions per byte sent
# beyond KVN_FPGA's, as each piece of 8 passes the thread's platform and the wire that counts it; KiB of heap and stack;
# KiB resident that are not shared with other processes.
KVN_LOAD = 1.05
KVN_LOAD_BYTE = 7.0
KVN_LOAD_MEMORY = 3 * 1024
KVN_LOAD_RESIDENT = 1024
