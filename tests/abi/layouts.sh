#!/usr/bin/env bash
# The stated sizes and offsets of the public records and of the encoded rule, in C and in C++.
#
#   layouts.sh source-directory c-compiler c++-compiler [c-compiler c++-compiler ...]
set -u
source=$1
shift
abi=$source/tests/abi
includes=(-I"$source" -I"$source/include" -I"$source/platform/include")
failures=0
while [ $# -ge 2 ]; do
  "$1" -std=c11 -D_POSIX_C_SOURCE=200809L -pedantic-errors "${includes[@]}" \
    -fsyntax-only -x c "$abi/layouts.h" || failures=$((failures + 1))
  for file in layouts.h wire_layouts.cc; do
    "$2" -std=c++20 -pedantic-errors "${includes[@]}" \
      -fsyntax-only -x c++ "$abi/$file" || failures=$((failures + 1))
  done
  # A wrong size must be noticed.
  if "$2" -std=c++20 -DEXPECT_WRONG_SIZE "${includes[@]}" \
    -fsyntax-only -x c++ "$abi/layouts.h" 2>/dev/null; then
    echo "$abi/layouts.h:1: a wrong size goes unnoticed with $2" >&2
    failures=$((failures + 1))
  fi
  shift 2
done
[ "$failures" -eq 0 ]
