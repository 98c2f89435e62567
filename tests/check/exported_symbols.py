#!/usr/bin/env python3
"""A shared library exports what its version script lists, which is what its headers declare; it is
not linked symbolically and needs only the libraries that it may need.

    exported_symbols.py library version-script header...
"""

import pathlib
import re
import subprocess
import sys

import sources

COMMENT = re.compile(r"/\*.*?\*/|//[^\n]*", re.DOTALL)
DECLARATION = re.compile(r"\bSWITCH_API\b([^;]*);")
FUNCTION_NAME = re.compile(r"(\w+)\s*\(")
DATA_NAME = re.compile(r"(\w+)\s*(?:\[[^\]]*\]\s*)*$")
SCRIPT_NAME = re.compile(r"^\s*(\w+);", re.MULTILINE)
NEEDED = re.compile(r"\(NEEDED\).*\[(.+)\]")
MAY_NEED = re.compile(
    r"(libc|libm|libpthread|libstdc\+\+|libgcc_s|libswplat|ld(64)?|ld-linux[\w-]*)\.so(\.\d+)*")


def declarations(text):
    """The (name, whether it is data) of each declaration with SWITCH_API in a header."""
    for match in DECLARATION.finditer(COMMENT.sub(" ", re.sub(r"^\s*#.*$", "", text,
                                                              flags=re.MULTILINE))):
        declaration = match.group(1)
        is_data = declaration.lstrip().startswith("extern")
        yield (DATA_NAME if is_data else FUNCTION_NAME).search(declaration).group(1), is_data


def declared_names(text):
    """Names that a header declares with SWITCH_API."""
    return {name for name, _ in declarations(text)}


def listed_names(text):
    """Names that a version script makes global."""
    section = COMMENT.sub(" ", text).split("global:", 1)[-1].split("local:", 1)[0]
    return set(SCRIPT_NAME.findall(section))


def exported_names(symbols):
    """Names in the output of `readelf --dyn-syms --wide` that other objects can use."""
    names = set()
    for line in symbols.splitlines():
        fields = line.split()
        if len(fields) < 8 or not fields[0].endswith(":") or not fields[0][:-1].isdigit():
            continue
        binding, visibility, section = fields[4], fields[5], fields[6]
        if binding in ("GLOBAL", "WEAK", "UNIQUE") and visibility != "HIDDEN" and \
                section not in ("UND", "ABS"):
            names.add(fields[7].split("@")[0])
    return names


def is_symbolic(dynamic):
    return re.search(r"\(SYMBOLIC\)|\(FLAGS\)[^\n]*\bSYMBOLIC\b", dynamic) is not None


def differences(where, left, right, what):
    return [f"{where}:1: {name}: {what}" for name in sorted(left - right)]


def compare(library, script, exported, listed, declared, dynamic):
    messages = differences(library, exported, listed, f"is exported and not in {script}")
    messages += differences(script, listed, exported, f"is not exported by {library}")
    messages += differences(script, listed, declared, "is declared in no public header")
    messages += differences(script, declared, listed, "is declared and not listed")
    if is_symbolic(dynamic):
        messages.append(f"{library}:1: is linked with -Bsymbolic")
    messages += [f"{library}:1: needs {needed}" for needed in NEEDED.findall(dynamic)
                 if not MAY_NEED.fullmatch(needed)]
    return messages


def read_elf(library, option):
    return subprocess.run(["readelf", "--wide", option, library], capture_output=True, text=True,
                          check=True).stdout


def main(library, script, *headers):
    missing = [name for name in (library, script, *headers) if not pathlib.Path(name).is_file()]
    if missing:
        sources.report([f"{name}:1: no such file" for name in missing])
    declared = set()
    for header in headers:
        declared |= declared_names(pathlib.Path(header).read_text(encoding="utf-8"))
    sources.report(compare(library, script,
                           exported_names(read_elf(library, "--dyn-syms")),
                           listed_names(pathlib.Path(script).read_text(encoding="utf-8")),
                           declared, read_elf(library, "--dynamic")))


if __name__ == "__main__":
    main(*sys.argv[1:])
