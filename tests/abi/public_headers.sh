#!/usr/bin/env bash
# Every public header compiles on its own, as strict C11 (with and without POSIX names) and as C++20.
#
#   public_headers.sh source-directory c-compiler c++-compiler [c-compiler c++-compiler ...]
set -u
source=$1
shift
includes=(-I"$source/include" -I"$source/platform/include" -I"$source/platform/host/include")
warnings=(-pedantic-errors -Wall -Wextra -Wconversion -Wshadow -Werror)
failures=0

# compiles header compiler option...: the header alone, twice, in a translation unit of its own.
compiles() {
  local header=$1
  shift
  if ! printf '#include "%s"\n#include "%s"\nint main(void) { return 0; }\n' \
    "$header" "$header" | "$@" "${includes[@]}" "${warnings[@]}" -fsyntax-only -; then
    echo "$header:1: does not compile alone with: $*" >&2
    failures=$((failures + 1))
  fi
}

headers=()
for root in include platform/include platform/host/include; do
  while IFS= read -r header; do
    headers+=("$header")
  done < <(cd "$source/$root" && find . -name '*.h' -printf '%P\n' | sort)
done
if [ ${#headers[@]} -lt 3 ]; then
  echo "no public headers found in $source" >&2
  exit 1
fi

while [ $# -ge 2 ]; do
  for header in "${headers[@]}"; do
    compiles "$header" "$1" -std=c11 -x c
    compiles "$header" "$1" -std=c11 -D_POSIX_C_SOURCE=200809L -x c
    compiles "$header" "$2" -std=c++20 -x c++
  done
  shift 2
done
[ "$failures" -eq 0 ]
