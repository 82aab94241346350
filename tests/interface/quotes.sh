#!/bin/sh
# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# Every piece of C in the documents stands in one of docs/*.c, which are compiled and run.   quotes.sh ROOT
# A piece is a block of C; a line of "..." divides it into pieces, and how far lines are indented does not count.
set -eu
cd "$1"
awk '
  function bare(line) { sub(/^[ \t]+/, "", line); return line }
  function look(   file) {
    if (piece == "") return
    ++pieces
    for (file in text) {
      if (index(text[file], "\n" piece)) { piece = ""; return }
    }
    print FILENAME ":" start ": no docs/*.c has this:\n" piece
    failed = 1
    piece = ""
  }
  FNR == 1 { quoting = 0 }
  FILENAME ~ /\.c$/ { text[FILENAME] = (FNR == 1 ? "\n" : text[FILENAME]) bare($0) "\n"; next }
  /^```c$/ { quoting = 1; start = FNR; next }
  /^```/ { if (quoting) look(); quoting = 0; next }
  quoting && bare($0) == "..." { look(); next }
  quoting { piece = piece bare($0) "\n" }
  END {
    if (pieces == 0) { print "no document has a piece of C"; failed = 1 }
    exit failed
  }' docs/*.c README.md docs/*.md
