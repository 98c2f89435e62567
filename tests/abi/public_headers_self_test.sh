#!/usr/bin/env bash
# public_headers.sh reports a header that needs another one first.
#
#   public_headers_self_test.sh c-compiler c++-compiler
set -u
here=$(dirname "$(readlink -f "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/include" "$work/platform/include" "$work/platform/host/include"
for name in first second; do echo 'typedef int Given;' >"$work/include/$name.h"; done
echo 'Given lacksItsInclude(void);' >"$work/include/third.h"

if output=$("$here/public_headers.sh" "$work" "$@" 2>&1); then
  echo "public_headers.sh accepts a header that does not compile alone" >&2
  exit 1
fi
if ! grep -q '^third.h:1: does not compile alone' <<<"$output"; then
  printf 'public_headers.sh does not name the header:\n%s\n' "$output" >&2
  exit 1
fi
