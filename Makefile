# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# `make X` is `./dev X`.
WORDS := run test check bench asan tsan fuzz aarch64 coverage format tidy install clean help

all:
	./dev

$(WORDS):
	./dev $@

.PHONY: all $(WORDS)
