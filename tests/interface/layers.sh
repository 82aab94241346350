#!/bin/sh
# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# The folders are the architecture: which room may include what.   layers.sh ROOT
set -eu
cd "$1"
failed=0

# only ROOM PATTERN: every quoted include below the room matches the pattern. A room may still be to come.
only() {
  [ -d "$1" ] || return 0
  wrong=$(grep -rnE --include='*.h' --include='*.cc' '^#include "' "$1" | grep -vE "#include \"($2)" || true)
  [ -z "$wrong" ] && return 0
  echo "includes that point the wrong way:"
  echo "$wrong"
  failed=1
}
# never ROOMS PATTERN WHY
never() {
  wrong=$(grep -rnE --include='*.h' --include='*.cc' "$2" $1 | grep -vE '^[^:]+:[0-9]+: *//' || true)
  [ -z "$wrong" ] && return 0
  echo "$3:"
  echo "$wrong"
  failed=1
}

platform='platform/'
only include 'fibdb/'
only platform 'fibdb/common\.h|platform/schema/'
only runtime "fibdb/|runtime/|$platform"
only route "fibdb/(common|route|runtime)\.h|runtime/|$platform"
only nexthop "fibdb/(common|nexthop|runtime)\.h|runtime/|$platform"
only config "fibdb/(common|config|runtime)\.h|config/|runtime/|$platform"
only registered "fibdb/(common|registered|runtime)\.h|runtime/|$platform"
only engine/store 'fibdb/(common|engine)\.h|engine/store/|platform/schema/'
only engine/client "fibdb/(common|engine)\.h|engine/(client|store)/|$platform"
only engine/service "fibdb/(common|engine)\.h|engine/(client|service)/|$platform"
only tools 'fibdb/|tools/'
only tools/fibdb/base 'fibdb/|tools/fibdb/base/'
only tools/fibdb/output 'tools/fibdb/(base|output)/'
only tools/fibdb/files 'tools/fibdb/(base|files|output)/'
only tools/fibdb/shell 'fibdb/|tools/fibdb/(base|output|shell)/'
only tools/fibdb/tables 'fibdb/|tools/fibdb/(base|files|output|shell|tables)/'
only tools/fibdb/routes 'fibdb/|tools/fibdb/(base|files|output|routes|shell|tables)/'

library=$(ls -d runtime route nexthop config registered engine 2>/dev/null || true)
never "$library" '\b(printf|puts|abort|exit)\(' 'library code that prints or ends the process'
never "$library" '\bnew\b [A-Za-z]|\bdelete\b [a-z]' 'library code that allocates by itself'
never "$library" '\bstd::(vector|map|string|unordered_map|function|shared_ptr)\b' 'standard containers in library code'
never 'engine/store' '\bvirtual\b' 'stored state has no virtual tables'

unnamed=$(awk '/^(TYPED_)?TEST/ { test = $0 } /std::j?thread/ && test !~ /Threads/ { print FILENAME ": " test }' \
  tests/engine/store/*_test.cc)
[ -z "$unnamed" ] ||
  { echo "suites with threads that are not called so, which ./dev tsan misses:" && echo "$unnamed" && failed=1; }

plain='FIB_DB_(GetDbErrOprStr|SetIp4forwardKey|GetIp4forwardItem|LogFuncInit|GetAsyncConn|SetNhp4ExtSrv6TeKeyField'
plain="$plain|TableRegisterInit)|fibdb_engine_error_text"
past=$(grep -rnE --include='*.h' --include='*.cc' '\b(FIB6?_DB_[A-Z][a-z]|VRF_(DB|INTF)_|fibdb_engine_)\w*\(' tools |
  grep -vE '^[^:]+:[0-9]+: *//|// not traced$' | grep -vE "\b($plain)\(" || true)
[ -z "$past" ] || {
  echo "calls past tools/fibdb/base/call.h, which trace would not show:" && echo "$past" && failed=1
}

long=$(git ls-files '*.h' '*.cc' '*.c' '*.def' '*.txt' '*.cmake' '*.sh' dev |
  xargs awk 'length > 120 { print FILENAME ":" FNR }')
[ -z "$long" ] || { echo "lines of more than 120 characters:" && echo "$long" && failed=1; }

unlicensed=$(git ls-files '*.h' '*.cc' '*.c' '*.def' '*.txt' '*.cmake' '*.sh' '*.md' dev |
  grep -v '^tests/interface/exports\.txt$' |
  while read -r file; do head -n 3 "$file" | grep -q 'SPDX-License-Identifier: Apache-2.0' || echo "$file"; done)
[ -z "$unlicensed" ] ||
  { echo "files whose first lines do not name the licence:" && echo "$unlicensed" && failed=1; }

exit $failed
