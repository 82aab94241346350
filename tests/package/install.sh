#!/bin/sh
# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# Installs a build into a root of its own, builds a C and a C++ program against what is there, and runs them.
#   install.sh BUILD ROOT-OF-SOURCES CC CXX [EMULATOR...]
set -eu
build=$1 sources=$2 cc=$3 cxx=$4
shift 4
emulator=$*
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/usr

cmake --install "$build" --prefix "$prefix" >"$work/log"
libraries=$(dirname "$(find "$prefix" -name libfibdb.so)")
# The files name the prefix that the build was made for.
for file in "$libraries"/pkgconfig/*.pc; do
  sed -i "s|^prefix=.*|prefix=$prefix|" "$file"
done
export PKG_CONFIG_PATH="$libraries/pkgconfig" LD_LIBRARY_PATH="$libraries"

for file in "$libraries"/lib*.so.*.* "$prefix"/bin/*; do
  if readelf -d "$file" | grep -E 'RPATH|RUNPATH'; then
    echo "$file names a folder to the loader"
    exit 1
  fi
done

expected="10.1.2.3 goes by 0x0A000000/8 to group 7"
# ran COMMAND...: runs the example and looks at its answer.
ran() {
  answer=$($emulator "$@")
  [ "$answer" = "$expected" ] || { echo "$*: \"$answer\", not \"$expected\""; exit 1; }
}

# Either order of the two libraries, and a linker that leaves out what it does not see used.
for packages in "fibdb fibdb-engine" "fibdb-engine fibdb"; do
  for linker in -Wl,--no-as-needed -Wl,--as-needed; do
    # shellcheck disable=SC2046,SC2086
    "$cc" -std=c11 -Wall -Wextra -Wno-missing-field-initializers -Werror -pedantic-errors "$linker" \
      $(pkg-config --cflags fibdb) "$sources/docs/example.c" $(pkg-config --libs $packages) -o "$work/example"
    ran "$work/example"
  done
done

# The documents' commands, word for word but for the compiler.
ln -s "$sources/docs" "$work/docs"
cat "$sources/README.md" "$sources"/docs/*.md |
  sed -n "s|^    cc \(.*pkg-config.*\)|$cc \1|p" | sort -u >"$work/commands"
[ "$(wc -l <"$work/commands")" -ge 2 ] || { echo "the documents do not say how to compile" && exit 1; }
(cd "$work" && sh -e commands)

mkdir "$work/cxx"
cat >"$work/cxx/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(fibdb 0.1 REQUIRED)
add_executable(consumer consumer.cc)
target_compile_features(consumer PRIVATE cxx_std_20)
target_compile_options(consumer PRIVATE -Wall -Wextra -Werror)
target_link_libraries(consumer PRIVATE fibdb::engine fibdb::fibdb)
END
cat >"$work/cxx/consumer.cc" <<'END'
#include <fibdb/fibdb.h>
#include <cstdio>
int main() {
  FibDbNhpItem item{};
  item.nhp_index = 7;
  item.flags = 5;
  if (FIB_DB_WriteNhp(&item) != FIB_DB_OK) return 1;
  FibDbNhpItem found{};
  found.nhp_index = 7;
  if (FIB_DB_ReadNhp(&found) != FIB_DB_OK || found.flags != 5) return 1;
  std::puts("10.1.2.3 goes by 0x0A000000/8 to group 7");
}
END
cmake -S "$work/cxx" -B "$work/cxx/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$cxx" >"$work/log"
cmake --build "$work/cxx/build" >"$work/log" || { cat "$work/log"; exit 1; }
ran "$work/cxx/build/consumer"
$emulator "$prefix/bin/fibdb" -c 'show tables' >/dev/null
man=$(find "$prefix" -name fibdb.1)
[ -s "$man" ] || { echo "no manual page"; exit 1; }
for file in bash-completion/completions/fibdb zsh/site-functions/_fibdb; do
  [ -s "$prefix/share/$file" ] || { echo "no $file"; exit 1; }
done
echo "installed, linked and run"
