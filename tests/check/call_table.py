#!/usr/bin/env python3
"""The table "Where is the code of a call" in ARCHITECTURE.md names, for every exported name of
acl_lib, the file that defines it."""

import re

import exported_symbols
import sources

DOCUMENT = "ARCHITECTURE.md"
HEADER = "include/acl_lib.h"
ROW = re.compile(r"^\| (`.+) \| `([\w/.]+\.cc)` \|$")
NAME = re.compile(r"`(\w+)(\.\.\.)?`")


def rows(text):
    """(line number, name, whether it stands for any ending, file) of each name in the table."""
    for number, line in enumerate(text.splitlines(), start=1):
        row = ROW.match(line)
        if row is not None:
            for name, ending in NAME.findall(row.group(1)):
                yield number, name, bool(ending), row.group(2)


def defines(text, name):
    """True when a line outside of any function, that is not indented, defines the name."""
    return re.search(rf"^[A-Za-z_][^;\n]*\b{name}(\(|\[| =|;|{{)", text, re.MULTILINE) is not None


def check(root):
    table = list(rows(sources.text_of(root, DOCUMENT)))
    exported = exported_symbols.declared_names(sources.text_of(root, HEADER))
    messages = []
    for name in sorted(exported):
        matching = [row for row in table if row[1] == name or (row[2] and name.startswith(row[1]))]
        if not matching:
            messages.append(f"{DOCUMENT}:1: {name}: the table of calls does not name it")
            continue
        number, _, _, file = max(matching, key=lambda row: len(row[1]))
        if not (root / file).is_file() or not defines(sources.text_of(root, file), name):
            messages.append(f"{DOCUMENT}:{number}: {name}: is not defined in {file}")
    messages += [f"{DOCUMENT}:{number}: {name}: no such call"
                 for number, name, ending, _ in table
                 if not any(found == name or (ending and found.startswith(name))
                            for found in exported)]
    return messages


if __name__ == "__main__":
    sources.report(check(sources.ROOT))
