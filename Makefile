# `make X` is `./dev X`.
WORDS := run test check bench asan tsan fuzz aarch64 coverage format tidy install clean help

all:
	./dev

$(WORDS):
	./dev $@

.PHONY: all $(WORDS)
