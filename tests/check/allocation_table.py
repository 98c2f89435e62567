#!/usr/bin/env python3
"""The table of tests/acl_lib/allocation_failure_test.cc has a row for every function of acl_lib.h,
and each row makes the call that it names."""

import re

import exported_symbols
import sources

TABLE = "tests/acl_lib/allocation_failure_test.cc"
HEADER = "include/acl_lib.h"
ROW = re.compile(r'\b(?:needsNothing|needsMemory|needsPackets|sendsAPacket)\(\s*"(\w+)",')
# What a row makes its call with ends with the row, or with the array that it is in.
ROW_END = re.compile(ROW.pattern + r"|^};", re.MULTILINE)


def rows(text):
    """The (line number, name, text behind the name) of each row."""
    for row in ROW.finditer(text):
        end = ROW_END.search(text, row.end())
        yield (text.count("\n", 0, row.start()) + 1, row.group(1),
               text[row.end():end.start() if end else len(text)])


def without_comments(text):
    """The text with as many lines."""
    return exported_symbols.COMMENT.sub(lambda comment: "\n" * comment.group().count("\n"), text)


def check(root):
    if not (root / TABLE).is_file():
        return [f"{TABLE}:1: no such file"]
    functions = {name for name, is_data in
                 exported_symbols.declarations(sources.text_of(root, HEADER)) if not is_data}
    table = list(rows(without_comments(sources.text_of(root, TABLE))))
    named = {name for _, name, _ in table}
    messages = [f"{TABLE}:1: {name}: has no row" for name in sorted(functions - named)]
    for line, name, call in table:
        if name not in functions:
            messages.append(f"{TABLE}:{line}: {name}: no such function")
        elif not re.search(rf"\b{name}\b", call):
            messages.append(f"{TABLE}:{line}: {name}: the row makes another call")
    return messages


if __name__ == "__main__":
    sources.report(check(sources.ROOT))
