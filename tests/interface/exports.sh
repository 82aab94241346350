#!/bin/sh
# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# Compares what the two libraries export and need with the headers and with exports.txt.
#   exports.sh LIBFIBDB LIBFIBDB-ENGINE ROOT [instrumented]
# Instrumented libraries need the run time of a sanitizer or of the coverage, too.
set -eu
library=$1 engine=$2 root=$3
here=$(dirname "$0")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

# same WHAT FILE FILE
same() {
  diff "$2" "$3" >"$work/diff" && return 0
  echo "$1:" && cat "$work/diff"
  failed=1
}
# refuse WHAT FILE: the file must be empty
refuse() {
  [ -s "$2" ] || return 0
  echo "$1:" && cat "$2"
  failed=1
}
exported() { "${NM:-nm}" -D --defined-only "$1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | LC_ALL=C sort -u; }

grep -v '^#' "$here/exports.txt" >"$work/list"
exported "$library" >"$work/exported"
same "libfibdb exports, against exports.txt" "$work/list" "$work/exported"

# Names that the headers declare as part of the interface.
cat "$root"/include/fibdb/common.h "$root"/include/fibdb/runtime.h "$root"/include/fibdb/route.h \
    "$root"/include/fibdb/nexthop.h "$root"/include/fibdb/config.h "$root"/include/fibdb/registered.h |
  tr '\n' ' ' | sed 's/;/;\n/g' | grep 'FIBDB_API ' |
  grep -oE '(FIB6?_DB_[A-Za-z0-9]+|VRF_[A-Za-z0-9_]+) ?\(|\bg_[A-Za-z0-9]+' | tr -d '( ' |
  LC_ALL=C sort -u >"$work/headers"
same "libfibdb headers, against exports.txt" "$work/list" "$work/headers"

"${NM:-nm}" -D --undefined-only "$library" | awk '{ print $NF }' | sed 's/@.*//' |
  grep -vE '^(db_|UFIB_DB_|(memcpy|memset|strcpy|strncpy)_s$)' |
  grep -vE '^(malloc|free|gettimeofday|memcpy|memset|__stack_chk_fail)$' |
  grep -vE '^(_ITM_|__cxa_finalize|__gmon_start__)' >"$work/undefined" || true
if [ "${4-}" != instrumented ]; then
  refuse "libfibdb needs more than libc and the platform" "$work/undefined"
  for file in "$library" "$engine"; do
    readelf -d "$file" | grep NEEDED | grep -vE '\[(libc\.so\.6|ld-linux.*)\]' >"$work/needed" || true
    refuse "$file needs more than libc" "$work/needed"
  done
fi
readelf -d "$library" | grep -E 'BIND_NOW|\bNOW\b' >"$work/now" || true
refuse "libfibdb is not bound lazily" "$work/now"

# The engine supplies the platform's calls and its own administration, and nothing else.
for header in objdb.h objdb_tables.h ufib.h bounds.h; do
  echo "#include \"platform/$header\""
done | ${CC:-cc} -E -P -I"$root" -I"$root/include" - |
  grep -oE '\b(db_|UFIB_DB_)[A-Za-z0-9_]+ ?\(' | tr -d '( ' >"$work/platform"
printf 'memcpy_s\nmemset_s\nstrcpy_s\nstrncpy_s\n' >>"$work/platform"
grep -oE '\bfibdb_engine_[a-z_]+\(' "$root/include/fibdb/engine.h" | tr -d '(' >>"$work/platform"
LC_ALL=C sort -u "$work/platform" >"$work/supplied"
exported "$engine" >"$work/engine"
same "libfibdb-engine exports, against the platform's headers" "$work/supplied" "$work/engine"

exit $failed
