#!/usr/bin/env python3
"""Every line of docs/deliberate-quirks.md names a test, and the test exists.

A line is an item of a list or a row of a table, with its continuation lines. It names its tests in
backquotes: `SuiteTest.NameOfTheTest`, `Instantiation/SuiteTest.NameOfTheTest`, or `SuiteTest.*` for a
whole suite.
"""

import re

import sources

DOCUMENT = "docs/deliberate-quirks.md"
TEST = re.compile(r"\bTEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)")
TYPED_TEST = re.compile(r"\bTYPED_TEST(?:_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)")
NAMED = re.compile(r"`(?:\w+/)?(\w+)\.(\w+|\*)`")
FILE_SUFFIXES = {"h", "cc", "c", "md", "py", "sh", "so", "a", "map", "conf", "sock"}
TABLE_RULE = re.compile(r"^\|[\s:|-]+\|?$")


def existing_tests(root):
    found = set()
    for name in sources.source_files(root, ".cc", ".h"):
        if name.parts[0] == "tests":
            text = sources.text_of(root, name)
            found.update(TEST.findall(text))
            found.update(TYPED_TEST.findall(text))
    return found | {(suite, "*") for suite, _ in found}


def entries(text):
    """The (line number, text) of each list item and table row."""
    current = None
    lines = text.splitlines()
    for number, line in enumerate(lines, start=1):
        starts_item = re.match(r"\s*[-*] ", line)
        is_row = line.startswith("|") and not TABLE_RULE.match(line)
        is_heading_row = is_row and number < len(lines) and TABLE_RULE.match(lines[number])
        if current and not starts_item and re.match(r"\s+\S", line):
            current = (current[0], current[1] + " " + line.strip())
            continue
        if current:
            yield current
        current = (number, line) if starts_item or (is_row and not is_heading_row) else None
    if current:
        yield current


def check(root):
    if not (root / DOCUMENT).is_file():
        return [f"{DOCUMENT}:1: no such file"]
    tests = existing_tests(root)
    messages = []
    for number, entry in entries(sources.text_of(root, DOCUMENT)):
        named = [pair for pair in NAMED.findall(entry) if pair[1] not in FILE_SUFFIXES]
        if not named:
            messages.append(f"{DOCUMENT}:{number}: names no test")
        messages += [f"{DOCUMENT}:{number}: no such test: {suite}.{test}"
                     for suite, test in named if (suite, test) not in tests]
    return messages


if __name__ == "__main__":
    sources.report(check(sources.ROOT))
