// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/prompt.h: the prompt on a terminal: line editing, history, completion.
//
// DESCRIPTION: history lives in $XDG_STATE_HOME/fibdb_history, or ~/.local/state/fibdb_history; every line is added to
// it when it is given, so that two prompts keep both. Tab completes commands, keywords, table names and files; ? shows
// them with what they are. Ctrl-C takes the line back, Ctrl-D on an empty line leaves. Who leaves with changes that no
// file holds is asked once.
#ifndef FIBDB_TOOLS_PROMPT_H
#define FIBDB_TOOLS_PROMPT_H

#include "tools/fibdb/shell/shell.h"

namespace fibdb::program {

// REQUIRES: standard input is a terminal.
Status runPrompt(Shell& shell);

}  // namespace fibdb::program

#endif
