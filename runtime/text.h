// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// runtime/text.h: message texts that know their arguments.
#ifndef FIBDB_RUNTIME_TEXT_H
#define FIBDB_RUNTIME_TEXT_H

#include <concepts>
#include <cstdint>

#include "fibdb/runtime.h"

namespace fibdb {

// A printf format for arguments of the types Args. The constructor counts and checks the conversions at compile time,
// so a text that lost its %d does not compile; at run time a Text is a pointer. An empty Text says nothing.
template <class... Args>
class Text {
 public:
  constexpr Text() = default;
  // NOLINTNEXTLINE(google-explicit-constructor): a text is written as a string literal.
  consteval Text(const char* format) : format_(format) {
    if (!fits(format)) textDoesNotFitItsArguments();
  }

  // Whether the conversions of a format are those of Args, in order.
  static constexpr bool fits(const char* format) {
    return (... && (toNextConversion(format) && takes<Args>(format))) && !toNextConversion(format);
  }

  // What the hook returns. Hooks are fetched at the moment of each message; without one it is dropped, and 0.
  int error(Args... args) const { return say(FIB_DB_GetErrLogCallBack, args...); }
  int info(Args... args) const { return say(FIB_DB_GetInfoLogCallBack, args...); }

 private:
  // Not constexpr: to call it in the constructor is the compile error.
  static void textDoesNotFitItsArguments();

  template <class Arg>
  static constexpr bool takes(const char*& at) {
    if constexpr (std::same_as<Arg, uint32_t>) return *at == 'd' || *at == 'u' || *at == 'x';
    if constexpr (std::same_as<Arg, double>) return *at == 'f';
    if constexpr (std::same_as<Arg, const char*>) return *at == 's';
    if constexpr (std::same_as<Arg, uint64_t>) return *at == 'l' && *++at == 'u';
    return false;
  }

  static constexpr bool toNextConversion(const char*& at) {
    while (*at != '\0' && *at != '%') ++at;
    return *at != '\0' && *++at != '\0';
  }

  int say(FibDbLogFunc (*hookNow)(), Args... args) const {
    if (format_ == nullptr) return 0;
    const FibDbLogFunc hook = hookNow();
    // The constructor has checked the format against its arguments, which a compiler cannot see here.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    return hook == nullptr ? 0 : hook(format_, args...);
#pragma GCC diagnostic pop
  }

  const char* format_ = nullptr;
};

}  // namespace fibdb

#endif
