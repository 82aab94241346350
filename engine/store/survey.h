// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/survey.h: what the structures of a store tell about themselves to whoever checks the whole of it.
//
// DESCRIPTION  Each structure has a survey() that names every block of memory it owns and every entry it holds. Nobody
// may write meanwhile.
#ifndef FIBDB_ENGINE_STORE_SURVEY_H
#define FIBDB_ENGINE_STORE_SURVEY_H

#include <cstdint>
#include <type_traits>

#include "engine/store/arena.h"

namespace fibdb::store {

// A callable, by reference: it must outlive the survey.
template <class... Args>
class Visit {
 public:
  template <class Callable>
  // NOLINTNEXTLINE(google-explicit-constructor,bugprone-forwarding-reference-overload): stands for the callable.
  Visit(Callable&& callable)
      : callable_(const_cast<void*>(static_cast<const void*>(&callable))),
        call_([](void* called, Args... args) { (*static_cast<std::remove_reference_t<Callable>*>(called))(args...); }) {
  }

  void operator()(Args... args) const { call_(callable_, args...); }

 private:
  void* callable_;
  void (*call_)(void*, Args...);
};

using VisitBlock = Visit<Ref, uint32_t>;  // where, bytes

}  // namespace fibdb::store

#endif
