// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/visit.h: a callable handed to a function that is compiled once.
#ifndef FIBDB_ENGINE_STORE_VISIT_H
#define FIBDB_ENGINE_STORE_VISIT_H

#include <type_traits>

namespace fibdb::store {

// A callable, by reference: it must outlive the call.
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

}  // namespace fibdb::store

#endif
