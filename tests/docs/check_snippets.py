#!/usr/bin/env python3
"""Checks that the C++ in documents and header comments is code that is compiled.

Each C++ block of a Markdown file and each @code block of a public header has to stand, but for
white space, in one of the examples. Prints the blocks that do not, and fails.
"""

import os
import re
import subprocess
import sys


def files(*patterns):
    out = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard", "--",
                          *patterns], check=True, capture_output=True, text=True).stdout
    return out.split()


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def squeezed(code):
    without_markers = re.sub(r"//! \[.*?\]", "", code)
    return re.sub(r"\s+", "", without_markers)


def blocks():
    for path in files("*.md"):
        for match in re.finditer(r"```cpp\n(.*?)```", read(path), re.S):
            yield path, match.group(1)
    for path in files("src/libs/common/*.h", "src/libs/qtsingleapplication/*.h"):
        for match in re.finditer(r"@code\n(.*?)@endcode", read(path), re.S):
            yield path, re.sub(r"(?m)^ *\* ?", "", match.group(1))


def main():
    os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../.."))
    examples = [squeezed(read(path)) for path in files("examples/*.cpp", "examples/*.h")]
    count = 0
    stale = []
    for path, block in blocks():
        count += 1
        if not any(squeezed(block) in example for example in examples):
            stale.append((path, block))
    for path, block in stale:
        print(f"{path}: in no example:\n{block}", file=sys.stderr)
    print(f"{count - len(stale)} of {count} blocks are compiled in the examples")
    return 1 if stale or not count else 0


sys.exit(main())
