// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/test_headers.cc: empty; the target of the headers that all tests have precompiled needs a source.
