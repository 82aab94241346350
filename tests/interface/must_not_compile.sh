#!/bin/sh
# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# Each file of must_not_compile/ compiles as it stands and must not compile with WRONG defined.
#   must_not_compile.sh ROOT COMPILER
set -eu
cd "$1"
failed=0
for file in tests/interface/must_not_compile/*.cc; do
  compile="$2 -std=c++20 -fsyntax-only -I. -Iinclude $file"
  $compile || { echo "$file does not compile as it stands" && failed=1; }
  if $compile -DWRONG 2>/dev/null; then
    echo "$file compiles although it is wrong"
    failed=1
  fi
done
exit $failed
