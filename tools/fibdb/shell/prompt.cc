// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/prompt.cc: see prompt.h.
#include "tools/fibdb/shell/prompt.h"

#include <fcntl.h>
#include <histedit.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

#include "tools/fibdb/base/interrupt.h"
#include "tools/fibdb/output/output.h"

namespace fibdb::program {
namespace {

constexpr int kHistoryLines = 1000;
constexpr const char* kPrompt = "fibdb> ";

// libedit's hooks take no context but the editor's.
const char* shownPrompt = kPrompt;
const char* promptText(EditLine*) { return shownPrompt; }

// While one exists, the line that is being typed stays whole when the program is stopped and continued, or the terminal
// changes its size: the editor is told, outside of the signal.
class LineScope {
 public:
  LineScope() {
    replace(SIGTSTP, &LineScope::onStop, stop_);
    replace(SIGCONT, &LineScope::onChange, continue_);
    replace(SIGWINCH, &LineScope::onChange, resize_);
  }
  ~LineScope() {
    sigaction(SIGTSTP, &stop_, nullptr);
    sigaction(SIGCONT, &continue_, nullptr);
    sigaction(SIGWINCH, &resize_, nullptr);
  }
  LineScope(const LineScope&) = delete;
  LineScope& operator=(const LineScope&) = delete;

  // Does what the signals asked for.
  static void settle(EditLine* editor) {
    if (stopped_ != 0) {
      stopped_ = 0;
      el_set(editor, EL_PREP_TERM, 0);
      raise(SIGSTOP);
      el_set(editor, EL_PREP_TERM, 1);
      changed_ = 1;
    }
    if (changed_ == 0) return;
    changed_ = 0;
    el_resize(editor);
    el_set(editor, EL_REFRESH);
  }

 private:
  static void replace(int signal, void (*handler)(int), struct sigaction& before) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, &before);
    // Without job control nobody could continue what is stopped.
    if (signal == SIGTSTP && before.sa_handler == SIG_IGN) sigaction(signal, &before, nullptr);
  }
  static void onStop(int) {
    stopped_ = 1;
    wakeWaiting();
  }
  static void onChange(int) {
    changed_ = 1;
    wakeWaiting();
  }

  static inline volatile std::sig_atomic_t stopped_ = 0;
  static inline volatile std::sig_atomic_t changed_ = 0;
  struct sigaction stop_ {};
  struct sigaction continue_ {};
  struct sigaction resize_ {};
};

// libedit's own reader starts a read again that a signal ended. This one gives up, so that Ctrl-C ends the line.
int readCharacter(EditLine* editor, wchar_t* character) {
  std::mbstate_t state{};
  for (;;) {
    char byte = 0;
    const Woken woken = waitForAny(STDIN_FILENO);
    if (woken == Woken::kByInterrupt) return -1;
    if (woken == Woken::kBySignal) {
      LineScope::settle(editor);
      continue;
    }
    const ssize_t got = ::read(STDIN_FILENO, &byte, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return static_cast<int>(got);
    const size_t used = std::mbrtowc(character, &byte, 1, &state);
    if (used == static_cast<size_t>(-1)) state = {};  // a byte that is no text is dropped
    if (used <= 1) return 1;
  }
}

// What is typed before the cursor: its words, the last of which may be open, and where that begins.
struct Typed {
  Words words;
  size_t lastBegins;
  char quote;  // that is still open; 0: none
};

bool isQuote(char c) { return c == '"' || c == '\''; }

// Nothing inside a comment.
std::optional<Typed> typedBefore(const LineInfo& line) {
  const std::string text(line.buffer, line.cursor);
  Typed typed{{}, 0, 0};
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (typed.quote != 0) {
      if (c == '\\' && typed.quote == '"') ++i;
      if (c == typed.quote) typed.quote = 0;
    } else if (c == ' ' || c == '\t') {
      typed.lastBegins = i + 1;
    } else if (c == '\\') {
      ++i;
    } else if (isQuote(c)) {
      typed.quote = c;
    }
  }
  if (text.ends_with('\\')) return std::nullopt;
  try {
    const std::string closed = typed.quote == 0 ? text : text + typed.quote;
    typed.words = splitWords(closed);
    if (typed.lastBegins == text.size()) typed.words.emplace_back();
  } catch (const Failure&) {
    return std::nullopt;
  }
  if (typed.words.empty()) return std::nullopt;
  return typed;
}

std::string commonBeginning(const std::vector<Choice>& choices) {
  std::string common = choices.front().word;
  for (const Choice& choice : choices) {
    const auto differs = std::mismatch(common.begin(), common.end(), choice.word.begin(), choice.word.end()).first;
    common.erase(differs, common.end());
  }
  return common;
}

// The rest of a word as it is typed, inside a quote or with what has a meaning behind a backslash.
std::string asTyped(std::string_view rest, char quote) {
  const std::string_view special = quote == '"' ? "\"\\" : quote == '\'' ? "" : " \t\"'\\#";
  std::string typed;
  for (const char c : rest) {
    if (special.find(c) != std::string_view::npos) typed += '\\';
    typed += c;
  }
  return typed;
}

// The line itself stays as it is, below what is shown.
unsigned char showBelow(Shell& shell, const std::vector<Choice>& found) {
  Output& output = shell.session().output;
  std::cout << std::endl;
  output.beginList({"words", {{"word"}, {"help"}}});
  for (const Choice& choice : found) output.row({choice.word, choice.help});
  output.endList();
  output.flush();
  return CC_REDISPLAY;
}

Shell& shellOf(EditLine* editor) {
  void* shell = nullptr;
  el_get(editor, EL_CLIENTDATA, &shell);
  return *static_cast<Shell*>(shell);
}

unsigned char complete(EditLine* editor, int) {
  const auto typed = typedBefore(*el_line(editor));
  if (!typed) return CC_ERROR;
  const std::vector<Choice> found = choices(typed->words);
  if (found.empty()) return CC_ERROR;
  std::string more = asTyped(commonBeginning(found).substr(typed->words.back().size()), typed->quote);
  if (found.size() == 1 && !found.front().word.ends_with('/')) {
    if (typed->quote != 0) more += typed->quote;
    more += ' ';
  }
  if (!more.empty()) return el_insertstr(editor, more.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
  return showBelow(shellOf(editor), found);
}

// A question mark inside a word or a quote is a character like others.
unsigned char explain(EditLine* editor, int) {
  const auto typed = typedBefore(*el_line(editor));
  const bool asks = typed && typed->quote == 0;
  if (!asks) return el_insertstr(editor, "?") == 0 ? CC_REFRESH : CC_ERROR;
  const std::vector<Choice> found = choices(typed->words);
  return found.empty() ? CC_ERROR : showBelow(shellOf(editor), found);
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

struct HistoryEnd {
  void operator()(History* history) const { history_end(history); }
};
using OwnHistory = std::unique_ptr<History, HistoryEnd>;

OwnHistory newHistory() {
  OwnHistory made(history_init());
  HistEvent event{};
  if (made == nullptr) return made;
  history(made.get(), &event, H_SETSIZE, kHistoryLines);
  history(made.get(), &event, H_SETUNIQUE, 1);
  return made;
}

// Puts the line behind those that this program and others have written there meanwhile.
void addToFile(const std::string& file, const std::string& line) {
  const int lock = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (lock < 0) return;
  flock(lock, LOCK_EX);
  if (const OwnHistory all = newHistory()) {
    HistEvent event{};
    history(all.get(), &event, H_LOAD, file.c_str());
    history(all.get(), &event, H_ENTER, line.c_str());
    history(all.get(), &event, H_SAVE, file.c_str());
  }
  close(lock);
}

// The editor with its history, and the lines they give.
class Editor {
 public:
  explicit Editor(Shell& shell)
      : history_(newHistory()), editor_(el_init("fibdb", stdin, stdout, stderr)), file_(historyFile()) {
    if (history_ == nullptr || editor_ == nullptr) throw Failure(Status::kFailed, "no prompt can be had here");
    if (!file_.empty()) history(history_.get(), &event_, H_LOAD, file_.c_str());
    el_set(editor_, EL_PROMPT, promptText);
    el_set(editor_, EL_EDITOR, "emacs");
    el_set(editor_, EL_HIST, history, history_.get());
    el_set(editor_, EL_GETCFN, readCharacter);
    // Wide: the narrow call copies both texts and never frees them.
    el_wset(editor_, EL_ADDFN, L"fibdb-complete", L"complete the word", complete);
    el_set(editor_, EL_BIND, "^I", "fibdb-complete", nullptr);
    el_wset(editor_, EL_ADDFN, L"fibdb-explain", L"what may stand here", explain);
    el_set(editor_, EL_BIND, "?", "fibdb-explain", nullptr);
    el_set(editor_, EL_CLIENTDATA, &shell);
    el_set(editor_, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_source(editor_, nullptr);
  }

  ~Editor() {
    if (editor_ != nullptr) el_end(editor_);
  }
  Editor(const Editor&) = delete;
  Editor& operator=(const Editor&) = delete;

  // Nothing when the operator has left; an empty line after Ctrl-C.
  std::optional<std::string> line(const char* prompt) {
    const InterruptScope interrupts;
    const LineScope signals;
    shownPrompt = prompt;
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
    history(history_.get(), &event_, H_ENTER, line.c_str());
    if (!file_.empty()) addToFile(file_, line);
  }

 private:
  const OwnHistory history_;
  EditLine* editor_;
  HistEvent event_{};
  const std::string file_;
};

std::string unsavedText(const Unsaved& unsaved) {
  const bool routes = unsaved.holds(Part::kRoutes);
  const bool records = unsaved.holds(Part::kRecords);
  if (!routes && !records) return {};
  if (!records) return "routes were changed and not saved (save routes FILE)";
  if (!routes) return "records were changed and not saved (save config FILE)";
  return "routes and other records were changed and not saved (save routes FILE, save config FILE)";
}

// Asks once when changes would be lost. Who says nothing at all has left.
bool mayLeave(Editor& editor, const Session& session) {
  const std::string unsaved = unsavedText(session.unsaved);
  if (unsaved.empty()) return true;
  std::cout << wrapped(unsaved, answerWidth()) << std::endl;
  const auto answer = editor.line("leave all the same? [y/N] ");
  return !answer || answer->starts_with('y') || answer->starts_with('Y');
}

}  // namespace

Status runPrompt(Shell& shell) {
  Editor editor(shell);
  Session& session = shell.session();
  while (!session.ended) {
    const auto line = editor.line(kPrompt);
    if (line) {
      editor.remember(*line);
      shell.run(*line, {});
    } else {
      std::cout << std::endl;
      session.ended = true;
    }
    if (session.ended && !mayLeave(editor, session)) session.ended = false;
  }
  return Status::kOk;
}

}  // namespace fibdb::program
