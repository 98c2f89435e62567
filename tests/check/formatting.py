#!/usr/bin/env python3
"""Sources are formatted as .clang-format says."""

import subprocess

import sources

CLANG_FORMAT = "clang-format-19"
FILES_PER_RUN = 50


def check(root):
    names = [str(name) for name in sources.source_files(root, ".h", ".cc", ".c")]
    messages = []
    for first in range(0, len(names), FILES_PER_RUN):
        run = subprocess.run([CLANG_FORMAT, "--dry-run", "-Werror", "--style=file",
                              *names[first:first + FILES_PER_RUN]],
                             cwd=root, capture_output=True, text=True, check=False)
        if run.returncode != 0:
            messages += [line for line in run.stderr.splitlines() if ": error:" in line]
            messages = messages or [run.stderr]
    return messages


if __name__ == "__main__":
    sources.report(check(sources.ROOT))
