#!/usr/bin/env python3
"""The table of tests/acl_lib/allocation_failure_test.cc has a row for every function of acl_lib.h,
each row makes the call that it names, and each runs: its array is one that allRows() joins."""

import re

import exported_symbols
import sources

TABLE = "tests/acl_lib/allocation_failure_test.cc"
HEADER = "include/acl_lib.h"
ROW = re.compile(r'\b(?:needsNothing|needsMemory|needsPackets|sendsAPacket)\(\s*"(\w+)",')
# What a row makes its call with ends with the row, or with the array that it is in.
ROW_END = re.compile(ROW.pattern + r"|^};", re.MULTILINE)
ARRAY = re.compile(r"^(?:\w[\w:<> ]*\s)?(\w+)(?:\[\])?\s*=\s*\{", re.MULTILINE)
ALL_ROWS = re.compile(r"^[^\n]*\ballRows\(\) \{$.*?^\}", re.MULTILINE | re.DOTALL)


def rows(text):
    """The (line number, name, text behind the name) of each row."""
    for row in ROW.finditer(text):
        end = ROW_END.search(text, row.end())
        yield (text.count("\n", 0, row.start()) + 1, row.group(1),
               text[row.end():end.start() if end else len(text)])


def without_comments(text):
    """The text with as many lines."""
    return exported_symbols.COMMENT.sub(lambda comment: "\n" * comment.group().count("\n"), text)


def arrays(text):
    """The (line number, name) of each array that has rows; the name is empty for rows in none."""
    found = {}
    for row in ROW.finditer(text):
        before = [array for array in ARRAY.finditer(text, 0, row.start())]
        start, name = (before[-1].start(1), before[-1].group(1)) if before else (row.start(), "")
        found.setdefault(name, text.count("\n", 0, start) + 1)
    return [(line, name) for name, line in found.items()]


def joined_names(text):
    """The words of allRows(), among them the arrays whose rows run."""
    join = ALL_ROWS.search(text)
    return set(re.findall(r"\w+", join.group())) if join else set()


def check(root):
    if not (root / TABLE).is_file():
        return [f"{TABLE}:1: no such file"]
    functions = {name for name, is_data in
                 exported_symbols.declarations(sources.text_of(root, HEADER)) if not is_data}
    text = without_comments(sources.text_of(root, TABLE))
    table = list(rows(text))
    named = {name for _, name, _ in table}
    messages = [f"{TABLE}:1: {name}: has no row" for name in sorted(functions - named)]
    for line, name, call in table:
        if name not in functions:
            messages.append(f"{TABLE}:{line}: {name}: no such function")
        elif not re.search(rf"\b{name}\b", call):
            messages.append(f"{TABLE}:{line}: {name}: the row makes another call")
    joined = joined_names(text)
    messages += [f"{TABLE}:{line}: {name or 'rows in no array'}: not joined in allRows()"
                 for line, name in arrays(text) if name not in joined]
    return messages


if __name__ == "__main__":
    sources.report(check(sources.ROOT))
