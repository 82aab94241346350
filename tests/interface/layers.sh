#!/bin/sh
# The folders are the architecture: which room may include what.   layers.sh ROOT
set -eu
cd "$1"
failed=0

# only ROOMS PATTERN: every quoted include below the rooms matches the pattern.
only() {
  wrong=$(grep -rnE --include='*.h' --include='*.cc' '^#include "' $1 | grep -vE "#include \"($2)" || true)
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

platform='(platform/)?(objdb\.h|objdb_tables\.h|ufib\.h|bounds\.h|schema/)'
only include 'fibdb/'
only platform 'fibdb/common\.h|schema/'
only runtime "fibdb/|runtime/|$platform"
only route "fibdb/(common|route|runtime)\.h|runtime/|$platform"
only nexthop "fibdb/(common|nexthop|runtime)\.h|runtime/|$platform"
only config "fibdb/(common|config|runtime)\.h|runtime/|$platform"
only registered "fibdb/(common|registered|runtime)\.h|runtime/|$platform"
only engine/store 'fibdb/(common|engine)\.h|engine/store/|schema/'
only engine/client "fibdb/(common|engine)\.h|engine/(client|store)/|$platform"
only engine/service "fibdb/(common|engine)\.h|engine/(client|service)/|$platform"
only tools 'fibdb/|tools/'

never 'runtime route nexthop config registered engine' '\b(printf|puts|abort|exit)\(' 'library code that prints or ends the process'
never 'runtime route nexthop config registered engine/store' '(\bnew\b [A-Za-z]|\bdelete\b [a-z]|\bstd::(vector|map|string|unordered_map|function|shared_ptr)\b)' 'library code that allocates behind the hooks'
never 'engine/store' '\bvirtual\b' 'stored state has no virtual tables'

exit $failed
