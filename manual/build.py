# SPDX-License-Identifier: Apache-2.0
"""Builds the manual: the site in OUTPUT/site, the manual pages in OUTPUT/man.

    build.py OUTPUT
"""
import pathlib
import subprocess
import sys

import headers
import man_pages
import pages
import website


def main(output):
    output = pathlib.Path(output).resolve()
    output.mkdir(parents=True, exist_ok=True)
    try:
        pages.collect(output / "pages", output / "doxygen")
        website.build(output)
        man_pages.build(output)
    except (pages.Problem, headers.Problem) as problem:
        print(f"manual: {problem}", file=sys.stderr)
        return 1
    except subprocess.CalledProcessError as failure:
        print(f"manual: {failure}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
