#!/usr/bin/env python3
"""Links in documents lead to files that exist."""

import re

import sources

LINK = re.compile(r"\]\(([^)#\s]+)(?:#[^)]*)?\)")


def check(root):
    messages = []
    for name in sources.source_files(root, ".md"):
        for number, line in enumerate(sources.text_of(root, name).splitlines(), start=1):
            messages += [f"{name}:{number}: no such file: {target}"
                         for target in LINK.findall(line)
                         if "://" not in target and not (root / name.parent / target).exists()]
    return messages


if __name__ == "__main__":
    sources.report(check(sources.ROOT))
