// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/survey.h: what the structures of a store tell about themselves to whoever checks the whole of it.
//
// DESCRIPTION  Each structure has a survey() that names every block of memory it owns and every entry it holds, and
// says what of its own is not as it must be. It trusts nothing that it reads: a block is looked into only when whoever
// checks has found it to lie where the table has memory and to be nobody else's. So a survey never leaves the table's
// memory, comes to each place once at most, and ends, whatever the memory holds. A writer may change it meanwhile.
#ifndef FIBDB_ENGINE_STORE_SURVEY_H
#define FIBDB_ENGINE_STORE_SURVEY_H

#include <cstdint>
#include <type_traits>

#include "engine/store/arena.h"

namespace fibdb::store {

template <class Signature>
class Visit;

// A callable, by reference: it must outlive the survey.
template <class Result, class... Args>
class Visit<Result(Args...)> {
 public:
  template <class Callable>
  requires(!std::is_same_v<std::remove_cvref_t<Callable>, Visit>)
      // NOLINTNEXTLINE(google-explicit-constructor,bugprone-forwarding-reference-overload): stands for the callable.
      Visit(Callable&& callable)
      : callable_(const_cast<void*>(static_cast<const void*>(&callable))), call_([](void* called, Args... args) {
          return static_cast<Result>((*static_cast<std::remove_reference_t<Callable>*>(called))(args...));
        }) {}

  Result operator()(Args... args) const { return call_(callable_, args...); }

 private:
  void* callable_;
  Result (*call_)(void*, Args...);
};

// A block: where, and its bytes. Whether it may be looked into.
using VisitBlock = Visit<bool(Ref, uint64_t)>;
// What is not as it must be, and where; kNoRef: nowhere in particular.
using VisitWrong = Visit<void(const char*, Ref)>;

// To whom a structure with blocks of one kind tells it.
struct Surveyor {
  VisitBlock block;
  Visit<bool(Ref)> holds;  // whether the table has memory there, for who must look to know how long a block is
  VisitWrong wrong;
};

}  // namespace fibdb::store

#endif
