#!/usr/bin/env bash
# Proves that the compiler refuses a mistake, for the right reason.
#
#   expect_refusal.sh file compiler option...
#
# The file must compile as it is, must not with WITH_MISTAKE defined, and the compiler's message
# must then match the extended regular expression behind "// expected: " in the file's first line.
set -u
file=$1
shift
expected=$(sed -n '1s|^// expected: ||p' "$file")
if [ -z "$expected" ]; then
  echo "$file:1: no line '// expected: <regular expression>'" >&2
  exit 1
fi
if ! output=$("$@" -fsyntax-only "$file" 2>&1); then
  printf '%s:1: the correct code does not compile:\n%s\n' "$file" "$output" >&2
  exit 1
fi
if output=$("$@" -fsyntax-only -DWITH_MISTAKE "$file" 2>&1); then
  echo "$file:1: compiles with the mistake" >&2
  exit 1
fi
if ! grep -Eq "$expected" <<<"$output"; then
  printf '%s:1: refused, but not with "%s":\n%s\n' "$file" "$expected" "$output" >&2
  exit 1
fi
