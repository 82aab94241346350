// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/prompt.cc: see prompt.h.
#include "tools/fibdb/shell/prompt.h"

#include <histedit.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

#include "tools/fibdb/base/interrupt.h"

namespace fibdb::program {
namespace {

constexpr int kHistoryLines = 1000;

const char* promptText(EditLine*) { return "fibdb> "; }

// libedit's own reader starts a read again that a signal ended. This one gives up, so that Ctrl-C ends the line.
int readCharacter(EditLine*, wchar_t* character) {
  std::mbstate_t state{};
  for (;;) {
    char byte = 0;
    if (!waitForInput(STDIN_FILENO)) return -1;
    const ssize_t got = ::read(STDIN_FILENO, &byte, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return static_cast<int>(got);
    const size_t used = std::mbrtowc(character, &byte, 1, &state);
    if (used == static_cast<size_t>(-1)) state = {};  // a byte that is no text is dropped
    if (used <= 1) return 1;
  }
}

// The words before the cursor; the last one is what is being typed. Nothing inside an open quote.
std::optional<Words> wordsBefore(const LineInfo& line) {
  const std::string text(line.buffer, line.cursor);
  try {
    Words words = splitWords(text);
    if (text.empty() || text.back() == ' ') words.emplace_back();
    if (words.empty()) return std::nullopt;  // a comment
    return words;
  } catch (const Failure&) {
    return std::nullopt;
  }
}

std::string commonBeginning(const std::vector<std::string>& texts) {
  std::string common = texts.front();
  for (const std::string& text : texts) {
    const auto differs = std::mismatch(common.begin(), common.end(), text.begin(), text.end()).first;
    common.erase(differs, common.end());
  }
  return common;
}

unsigned char complete(EditLine* editor, int) {
  const auto words = wordsBefore(*el_line(editor));
  if (!words) return CC_ERROR;
  const std::vector<std::string> found = completions(*words);
  if (found.empty()) return CC_ERROR;
  const std::string& typed = words->back();
  std::string more = commonBeginning(found).substr(typed.size());
  if (found.size() == 1 && !found.front().ends_with('/')) more += ' ';
  if (!more.empty()) return el_insertstr(editor, more.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
  std::cout << '\n';
  for (const std::string& text : found) std::cout << text << "  ";
  std::cout << std::endl;
  return CC_REDISPLAY;
}

std::string historyFile() {
  namespace fs = std::filesystem;
  const char* state = std::getenv("XDG_STATE_HOME");
  const char* home = std::getenv("HOME");
  fs::path folder;
  if (state != nullptr && *state != '\0') {
    folder = state;
  } else if (home != nullptr && *home != '\0') {
    folder = fs::path(home) / ".local" / "state";
  } else {
    return {};
  }
  std::error_code error;
  fs::create_directories(folder, error);
  return folder / "fibdb_history";
}

// The editor with its history, and the lines they give.
class Editor {
 public:
  Editor() : history_(history_init()), editor_(el_init("fibdb", stdin, stdout, stderr)), file_(historyFile()) {
    if (history_ == nullptr || editor_ == nullptr) throw Failure(Status::kFailed, "no prompt can be had here");
    history(history_, &event_, H_SETSIZE, kHistoryLines);
    history(history_, &event_, H_SETUNIQUE, 1);
    if (!file_.empty()) history(history_, &event_, H_LOAD, file_.c_str());
    el_set(editor_, EL_PROMPT, promptText);
    el_set(editor_, EL_EDITOR, "emacs");
    el_set(editor_, EL_HIST, history, history_);
    el_set(editor_, EL_GETCFN, readCharacter);
    // Wide: the narrow call copies both texts and never frees them.
    el_wset(editor_, EL_ADDFN, L"fibdb-complete", L"complete the word", complete);
    el_set(editor_, EL_BIND, "^I", "fibdb-complete", nullptr);
    el_set(editor_, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_source(editor_, nullptr);
  }

  ~Editor() {
    if (editor_ != nullptr) el_end(editor_);
    if (history_ != nullptr) history_end(history_);
  }
  Editor(const Editor&) = delete;
  Editor& operator=(const Editor&) = delete;

  // Nothing when the operator has left; an empty line after Ctrl-C.
  std::optional<std::string> line() {
    const InterruptScope scope;
    int length = 0;
    // libedit would show the prompt first: a Ctrl-D typed in between would be lost.
    el_set(editor_, EL_PREP_TERM, 1);
    const char* text = el_gets(editor_, &length);
    if (interrupted()) {
      std::cout << "^C" << std::endl;
      el_reset(editor_);
      return "";
    }
    if (text == nullptr || length <= 0) return std::nullopt;
    return std::string(text, static_cast<size_t>(length));
  }

  void remember(const std::string& line) {
    if (line.find_first_not_of(" \t\r\n") == std::string::npos) return;
    history(history_, &event_, H_ENTER, line.c_str());
    if (!file_.empty()) history(history_, &event_, H_SAVE, file_.c_str());
  }

 private:
  History* history_;
  EditLine* editor_;
  HistEvent event_{};
  const std::string file_;
};

}  // namespace

Status runPrompt(Shell& shell) {
  Editor editor;
  while (!shell.session().ended) {
    const auto line = editor.line();
    if (!line) {
      std::cout << std::endl;
      break;
    }
    editor.remember(*line);
    shell.run(*line, {});
  }
  return Status::kOk;
}

}  // namespace fibdb::program
