// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/visit.h: a callable handed to a function that is compiled once.
#ifndef FIBDB_ENGINE_STORE_VISIT_H
#define FIBDB_ENGINE_STORE_VISIT_H

#include <type_traits>

namespace fibdb::store {

template <class Signature>
class Visit;

// A callable, by reference: it must outlive the call.
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

}  // namespace fibdb::store

#endif
