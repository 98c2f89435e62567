#!/usr/bin/env python3
"""Files include only what their place in the architecture may use (see ARCHITECTURE.md)."""

import fnmatch
import pathlib
import re

import sources

INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]', re.MULTILINE)

# The platform's interface is C: of the system it includes headers of the C standard alone.
STANDARD_HEADERS = {"limits.h", "stdarg.h", "stdbool.h", "stddef.h", "stdint.h"}

# Where includes are looked up; quoted ones also in the directory of the including file.
INCLUDE_ROOTS = ("", "include", "platform/include", "platform/host/include", "platform/fake/include")

# What the files below a directory may include: the longest matching directory counts. Directories
# without a row, such as tests/, may include everything. An entry is a directory, or a file.
PUBLIC = ("include", "platform/include")
WIRE_FORMATS = (
    "acl_lib/encoding/byte_order.h",
    "acl_lib/encoding/message_body.h",
    "acl_lib/encoding/rule_format.h",
    "acl_lib/encoding/rule_text.h",
    "acl_lib/encoding/*_codes.h",
    "acl_lib/transport/message_codes.h",
    "acl_lib/*/*_bodies.h",
)
ENCODING = PUBLIC + ("acl_lib/encoding",)
TRANSPORT = ENCODING + ("acl_lib/transport",)
CLIENT = TRANSPORT + ("acl_lib/policy", "acl_lib/dynrules", "acl_lib/client")
MAY_INCLUDE = {
    "include": PUBLIC,
    "platform/include": ("platform/include",),
    "platform/common": ("platform/include", "platform/common"),
    "platform/host": ("platform/include", "platform/common", "platform/host"),
    "platform/fake": ("platform/include", "platform/common", "platform/fake"),
    "acl_lib": PUBLIC + ("acl_lib",),
    "acl_lib/encoding": ENCODING,
    # receive_entry.h is the one upward link: start-up registers what the client subsystem receives
    # with. It lies in transport and declares nothing else.
    "acl_lib/transport": TRANSPORT,
    # Batches of requests about dynamic rules have the bodies of the single ones.
    "acl_lib/policy": TRANSPORT + ("acl_lib/dynrules", "acl_lib/policy"),
    "acl_lib/dynrules": TRANSPORT + ("acl_lib/dynrules",),
    "acl_lib/client": CLIENT,
    "acl_lib/apppolicy": CLIENT + ("acl_lib/apppolicy",),
    "l2ptf_lib": PUBLIC + ("l2ptf_lib",),
    "manager": ("manager", "platform/include", "platform/host/include") + WIRE_FORMATS,
    "examples": ("examples",) + PUBLIC,
    "tools": ("tools",) + PUBLIC,
}


def rule_for(name):
    for directory in name.parents:
        if str(directory) in MAY_INCLUDE:
            return MAY_INCLUDE[str(directory)]
    return None


def is_allowed(included, allowed):
    return any(pathlib.PurePosixPath(entry) in included.parents
               or fnmatch.fnmatchcase(str(included), entry)
               for entry in allowed)


def resolve(root, name, quote, written):
    """The included file, relative to root; None when it is not one of this project's."""
    directories = INCLUDE_ROOTS if quote == "<" else (str(name.parent), *INCLUDE_ROOTS)
    for directory in directories:
        path = root / directory / written
        if path.is_file():
            return pathlib.PurePosixPath(path.resolve().relative_to(root.resolve()))
    return None


def complaint(root, name, allowed, quote, written):
    """What is wrong with one include; None when nothing is."""
    included = resolve(root, name, quote, written)
    if included is not None:
        return None if is_allowed(included, allowed) else f"may not include {included}"
    if quote == '"':
        return f"no such file: {written}"
    if name.is_relative_to("platform/include") and written not in STANDARD_HEADERS:
        return f"may not include <{written}>, which is no header of the C standard"
    return None


def check(root):
    messages = []
    for name in sources.source_files(root, ".h", ".cc", ".c"):
        allowed = rule_for(name)
        if allowed is None:
            continue
        text = sources.text_of(root, name)
        for match in INCLUDE.finditer(text):
            problem = complaint(root, name, allowed, *match.groups())
            if problem is not None:
                line = text.count("\n", 0, match.start(1)) + 1
                messages.append(f"{name}:{line}: {problem}")
    return messages


if __name__ == "__main__":
    sources.report(check(sources.ROOT))
