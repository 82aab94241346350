#!/bin/sh
# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# Every command in the documents is there and takes the words that it is shown with: of the program, where it stands
# behind "fibdb> " or "$ ", and of ./dev. A document shows a refusal of words ("usage:", "did you mean") on purpose.
#   commands.sh ROOT FIBDB [EMULATOR...]
set -eu
root=$1 program=$2
shift 2
emulator=$*
documents=$(cd "$root" && ls "$PWD"/README.md "$PWD"/CONTRIBUTING.md "$PWD"/SECURITY.md "$PWD"/docs/*.md)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export HOME="$work" LC_ALL=C.UTF-8

# The files that the examples name.
printf '10.0.0.0/8 origin-as 2\n10.1.0.0/16 origin-as 3\n' >routes.txt
cp routes.txt routes
: >groups
printf 'shwo tables\n' >script
: >device.conf
printf '#!/bin/sh\nexec %s %s "$@"\n' "$emulator" "$program" >fibdb
chmod +x fibdb
PATH=$work:$PATH

# One "FILE:LINE, refused or not, command" a line.
# shellcheck disable=SC2086
awk '
  function done() { if (command != "") print place "\t" (refused ? "refused" : "taken") "\t" command; command = "" }
  FNR == 1 || /^```/ { done() }
  /^```/ { shown = !shown }
  shown && /^(fibdb> |\$ fibdb )/ {
    done()
    command = $0
    place = FILENAME ":" FNR
    refused = 0
    sub(/^\$ /, "", command)
    if (sub(/^fibdb> /, "", command)) {
      gsub(/\047/, "\047\\\047\047", command)
      command = "fibdb -c \047" command "\047"
    }
    next
  }
  /^(usage:|did you mean)/ { refused = 1 }
  END { done() }' $documents >commands
count=$(wc -l <commands)
[ "$count" -ge 50 ] || { echo "only $count commands in the documents" && exit 1; }

failed=0
tab=$(printf '\t')
while IFS=$tab read -r place expected command; do
  status=0
  sh -c "$command" >output 2>&1 </dev/null || status=$?
  answer=taken
  [ $status -ne 2 ] || answer=refused
  [ $status -lt 126 ] || answer="ended by $status"
  [ "$answer" = "$expected" ] || { echo "$place: $command: $answer, not $expected:" && cat output && failed=1; }
done <commands

words=$("$root/dev" help | awk '/^  [a-z(]/ { print $1 }')
# shellcheck disable=SC2086
grep -ohE '\./dev [a-z0-9]+' $documents | cut -d ' ' -f 2 | sort -u >used
while read -r word; do
  echo "$words" | grep -qx "$word" || { echo "no ./dev $word" && failed=1; }
done <used
exit $failed
