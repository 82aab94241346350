#!/bin/sh
# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# Compares the probes of the engine with those that the document names.   probes.sh LIBFIBDB-ENGINE ROOT-OF-SOURCES
set -eu
built=$(readelf -n "$1" | awk '/Provider: fibdb/ { mine = 1; next } mine && /Name:/ { print $2; mine = 0 }' | sort -u)
named=$(sed -n '/^## Probes/,/^## T/s/^| `\([a-z_]*\)` |.*/\1/p' "$2/docs/operations.md" | sort -u)
[ -n "$built" ] && [ "$built" = "$named" ] && exit 0
printf 'the engine has:\n%s\n\ndocs/operations.md names:\n%s\n' "$built" "$named"
exit 1
