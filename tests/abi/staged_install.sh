#!/usr/bin/env bash
# Installs into a staging directory, moves the tree, and builds and runs a C and a C++ program
# against it: by pkg-config and by find_package, with the shared and with the static libraries. The
# installed example and the program in README.md must build, too.
#
#   staged_install.sh build-directory source-directory cmake c-compiler c++-compiler pkg-config
set -eu
build=$1 source=$2 cmake=$3 cc=$4 cxx=$5 pkg_config=$6
consumer=$source/tests/abi/consumer
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export SWPLAT_DIR=$work/swplat
cd "$work"

fail() {
  echo "$consumer: $*" >&2
  exit 1
}

DESTDIR=$work/stage "$cmake" --install "$build" --prefix /opt/switch >install.log
[ -z "$(find "$work/stage" -type f -not -path '*/opt/switch/*')" ] ||
  fail "files are installed outside of the prefix"
mv "$work/stage/opt/switch" "$work/moved"
if grep -rIl "$build\|$work/stage" "$work/moved"; then
  fail "these installed files name the build or the staging directory"
fi
"$work/moved/sbin/aclmgrd" --help >help.log || fail "the installed aclmgrd does not run"

# runs program...: each must exit with 0.
runs() {
  local program
  for program in "$@"; do
    "$program" >run.log || fail "$program: exit status $?: $(cat run.log)"
  done
}
# needs_shared program / needs_static program: which library it was linked with.
needs_shared() {
  readelf -d "$1" | grep -q 'NEEDED.*libacl_lib' || fail "$1 is not linked with libacl_lib.so"
}
needs_static() {
  if readelf -d "$1" | grep -Eq 'NEEDED.*lib(acl_lib|swplat)'; then
    fail "$1 is linked with a shared library"
  fi
}

# By pkg-config.
PKG_CONFIG_PATH=$(dirname "$(find "$work/moved" -name acl_lib.pc)")
export PKG_CONFIG_PATH
library_directory=$("$pkg_config" --variable=libdir acl_lib)
read -ra flags <<<"$("$pkg_config" --cflags acl_lib)"
read -ra shared <<<"$("$pkg_config" --libs acl_lib)"
read -ra static <<<"$("$pkg_config" --libs --static acl_lib)"
static=("${static[@]/#-lacl_lib/-l:libacl_lib.a}")
static=("${static[@]/#-lswplat/-l:libswplat.a}")
strict=(-Wall -Wextra -Werror -pedantic-errors)
"$cc" -std=c11 "${strict[@]}" "${flags[@]}" "$consumer/consumer.c" "${shared[@]}" -o shared_c
"$cxx" -std=c++20 "${strict[@]}" "${flags[@]}" "$consumer/consumer.cc" "${shared[@]}" -o shared_cc
"$cc" -std=c11 "${strict[@]}" "${flags[@]}" "$consumer/consumer.c" "${static[@]}" -o static_c
"$cxx" -std=c++20 "${strict[@]}" "${flags[@]}" "$consumer/consumer.cc" "${static[@]}" -o static_cc
needs_shared shared_c
needs_shared shared_cc
needs_static static_c
needs_static static_cc
LD_LIBRARY_PATH=$library_directory runs ./shared_c ./shared_cc
runs ./static_c ./static_cc

examples=$work/moved/share/doc/acl_lib/examples
for example in "$examples"/*.c; do
  grep -q '^int main' "$example" || continue # a part that the examples share
  "$cc" -std=c11 -D_POSIX_C_SOURCE=200809L "${strict[@]}" "${flags[@]}" "$example" \
    "$examples"/example_*.c "${shared[@]}" -o example
done

sed -n '/^```c$/,/^```$/{/^```/d; p}' "$source/README.md" >readme.c
grep -q aclLibConnect readme.c || fail "README.md holds no program"
"$cc" -Wall -Wextra -Werror "${flags[@]}" readme.c "${shared[@]}" -o readme

# By find_package.
"$cmake" -S "$consumer" -B by_cmake -G Ninja -DCMAKE_PREFIX_PATH="$work/moved" \
  -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" >cmake.log || fail "$(cat cmake.log)"
"$cmake" --build by_cmake >cmake.log || fail "$(cat cmake.log)"
for language in c cc; do
  needs_shared "by_cmake/shared_$language"
  needs_static "by_cmake/static_$language"
  runs "./by_cmake/shared_$language" "./by_cmake/static_$language"
done
