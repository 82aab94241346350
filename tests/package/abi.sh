#!/bin/sh
# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# Compares the binary interface of a build with the one in the tree, or writes it anew.
#   abi.sh check|renew BUILD ROOT-OF-SOURCES
# What was there must stay as it was; what is added is no fault, and goes into the tree with the next renewal.
set -eu
word=$1 build=$2 sources=$3
failed=0
for library in fibdb fibdb-engine; do
  baseline=$sources/tests/package/abi/lib$library.abi
  file=$build/lib/lib$library.so.1
  if [ "$word" = renew ]; then
    abidw --no-corpus-path --no-comp-dir-path --no-show-locs --no-parameter-names --no-elf-needed --drop-private-types \
      --headers-dir "$sources/include/fibdb" "$file" | sed "s|path='$(cd "$sources" && pwd)/|path='|" >"$baseline"
  else
    abidiff --no-added-syms --drop-private-types --headers-dir2 "$sources/include/fibdb" "$baseline" "$file" || failed=1
  fi
done
exit $failed
