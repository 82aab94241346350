// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/base/call.h: calls of exported functions, which an operator may watch.
//
// DESCRIPTION: call<FIB_DB_ReadNhp>(&item) is FIB_DB_ReadNhp(&item), and while somebody watches it says so: the
// function's name, what it answered, and how long it took. What neither reads nor changes the database (conversions,
// texts, hooks) is called plainly. COST: nobody watches: one look at a flag. THREADS: the program's own thread.
#ifndef FIBDB_TOOLS_CALL_H
#define FIBDB_TOOLS_CALL_H

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "tools/fibdb/base/clock.h"

namespace fibdb::program {

// Whether somebody watches (call_watch.h).
bool callsAreWatched();
// A call that began then, has ended now, and answered that.
void reportCall(std::string_view function, const std::string& answer, int64_t begun);

// As the compiler writes it: "... [with auto kFunction = NAME; ...]" or "... [kFunction = &NAME]".
template <auto kFunction>
constexpr std::string_view functionName() {
  std::string_view text = __PRETTY_FUNCTION__;
  constexpr std::string_view kMark = "kFunction = ";
  text.remove_prefix(text.find(kMark) + kMark.size());
  if (text.front() == '&') text.remove_prefix(1);
  return text.substr(0, text.find_first_of(";]"));
}

// A function of the program that calls exported ones is none itself.
constexpr bool isExported(std::string_view function) {
  return function.starts_with("FIB") || function.starts_with("VRF_") || function.starts_with("fibdb_engine_");
}

template <class Answer>
std::string answerText(const Answer& answer) {
  if constexpr (std::is_pointer_v<Answer>) {
    return answer == nullptr ? "NULL" : "not NULL";
  } else {
    return std::to_string(answer);
  }
}

template <auto kFunction, class Answer, class... Parameters>
Answer watchedCall(Parameters... parameters) {
  if (!isExported(functionName<kFunction>()) || !callsAreWatched()) return kFunction(parameters...);
  const int64_t begun = clockNow();
  if constexpr (std::is_void_v<Answer>) {
    kFunction(parameters...);
    reportCall(functionName<kFunction>(), "", begun);
  } else {
    const Answer answer = kFunction(parameters...);
    reportCall(functionName<kFunction>(), answerText(answer), begun);
    return answer;
  }
}

template <auto kFunction, class Answer, class... Parameters>
constexpr auto callOf(Answer (*)(Parameters...)) {
  return &watchedCall<kFunction, Answer, Parameters...>;
}
// What is no function says itself what it calls.
template <auto kFunction, class Callable>
constexpr auto callOf(const Callable& callable) {
  return callable;
}

template <auto kFunction>
inline constexpr auto call = callOf<kFunction>(kFunction);

}  // namespace fibdb::program

#endif
