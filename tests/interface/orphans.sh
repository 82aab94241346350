#!/bin/sh
# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# Every source file belongs to a target.   orphans.sh ROOT COMPILE_COMMANDS
set -eu
cd "$1"
failed=0
for file in $(git ls-files 'runtime/*.cc' 'route/*.cc' 'nexthop/*.cc' 'config/*.cc' 'registered/*.cc' 'engine/*.cc' \
  'tools/*.cc' 'tests/*.cc'); do
  case $file in tests/interface/must_not_compile/* | tests/fuzz/*) continue ;; esac
  grep -q "/$file\"" "$2" || { echo "$file belongs to no target" && failed=1; }
done
exit $failed
