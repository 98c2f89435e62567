#!/usr/bin/env python3
"""Tracked files hold no marks of unfinished work, no references to documents that a reader does not
have, and no paths of somebody's machine.

The patterns are written with brackets so that this file does not contain what it looks for.
"""

import re

import sources

FORBIDDEN = (
    ("unfinished work", re.compile(r"\b(TO[D]O|FIX[M]E|X[X]X|HA[C]K)\b|\bnot impl[e]mented\b"
                                   r"|\bunimpl[e]mented\b")),
    ("a document outside of the repository",
     re.compile(r"\b[Pp]ar[t]s? [1-9]\.[0-9]|\bsp[e]c\.md\b|\b(the|this|our|its) sp[e]c(ification)?\b"
                r"|\.\./sha[r]ed", re.IGNORECASE)),
    ("a path of one machine", re.compile(r"(?<![\w.}])/(wo[r]k|fa[r]m|ho[m]e|ro[o]t)/\w")),
)

# The one place where the machines that run the tests may be spoken of.
MACHINE_SCRIPT = ".ci/run"


def check(root):
    messages = []
    for name in sources.listed_files(root):
        if str(name) == MACHINE_SCRIPT:
            continue
        for number, line in enumerate(sources.text_of(root, name).splitlines(), start=1):
            messages += [f"{name}:{number}: {what}: {match.group()}"
                         for what, pattern in FORBIDDEN
                         for match in pattern.finditer(line)]
    return messages


if __name__ == "__main__":
    sources.report(check(sources.ROOT))
