#!/bin/sh
# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# What README.md promises a newcomer: its commands, at most five, from the clone to a running program, word for word, in
# an empty folder. They install below that folder, so the compiler and the loader are told of it, as README.md says.
#   newcomer.sh ROOT
set -eu
root=$1
most=5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

awk '/^    git clone /, /^$/ { if (/^    /) print substr($0, 5) }' "$root/README.md" >"$work/commands"
count=$(wc -l <"$work/commands")
if [ "$count" -lt 3 ] || [ "$count" -gt $most ]; then
  echo "README.md has $count commands from the clone on" && cat "$work/commands"
  exit 1
fi
cat "$work/commands"
sed -i "s|REPOSITORY|$root|" "$work/commands"

mkdir "$work/bare"
cd "$work/bare"
export PREFIX="$work/usr"
export PKG_CONFIG_PATH="$PREFIX/lib/pkgconfig" LD_LIBRARY_PATH="$PREFIX/lib"
sh -e "$work/commands" >"$work/output" || { tail -n 40 "$work/output"; exit 1; }
tail -n 1 "$work/output"
tail -n 1 "$work/output" | grep -qx "10.1.2.3 goes by 0x0A000000/8 to group 7"
