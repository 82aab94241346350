#!/bin/sh
# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# Asks the completion of both shells what it offers, and compares it with what the program knows.
#   completion.sh FIBDB ROOT-OF-SOURCES
set -eu
scripts=$(cd "$2" && pwd)/packaging/completion
PATH=$(cd "$(dirname "$1")" && pwd):$PATH
export PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir routes.d
: >routes.txt

in_bash() {
  bash --norc -c '
    source "$1"; shift
    COMP_WORDS=(fibdb "$@"); COMP_CWORD=$#
    _fibdb
    printf "%s " "${COMPREPLY[@]}"' bash "$scripts/fibdb.bash" "$@"
}
# The function of the file. What it gives to the shell is printed as far as it begins with what was typed.
in_zsh() {
  zsh -f -c '
    script=$1; shift
    compadd() { while [[ $1 != -- ]]; do shift; done; shift; print -rl -- ${(M)@:#${(b)words[CURRENT]}*} }
    _files() { print -rn -- "files " }
    words=(fibdb "$@"); CURRENT=$((# + 1))
    offer() { source $script }
    offer' zsh "$scripts/_fibdb" "$@"
}

failed=0
# offers EXPECTED WORD...
offers() {
  expected=$1
  shift
  for shell in bash zsh; do
    offered=$(in_$shell "$@" | tr ' ' '\n' | sed '/^$/d' | LC_ALL=C sort | tr '\n' ' ')
    [ "$offered" = "$expected" ] && continue
    echo "$shell offers \"$offered\" after \"$*\", not \"$expected\""
    failed=1
  done
}

offers "explain " expl
offers "ecmp engine errors " show e
offers "longer " show route 10.0.0.0/8 lo
offers "nhp_ext nhp_ext_label " count nhp_ex
offers "routes.d/ routes.txt " load routes routes
offers "ecmp engine errors " --json show e
offers "ecmp engine errors " -c "show tables" show e
offers "--keep-going " --ke
offers "" no such command

# Every command of the program can be typed by completion alone.
fibdb --json help | sed 's/.*"command":"\([^"]*\)".*/\1/' | sed 's/ [^a-z].*//' | sort -u >commands
[ "$(wc -l <commands)" -gt 100 ] || { echo "help has only $(wc -l <commands) commands"; failed=1; }
fibdb --complete -- "" >first
while read -r first rest; do
  grep -qx "$first" first || { echo "\"$first\" is not offered as a first word"; failed=1; }
  before=$first
  for word in $rest; do
    # shellcheck disable=SC2086
    fibdb --complete -- $before "" | grep -qx -- "$word" ||
      { echo "\"$word\" is not offered after \"$before\""; failed=1; }
    before="$before $word"
  done
done <commands
exit $failed
