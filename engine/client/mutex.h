// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/client/mutex.h: the C library's mutex and condition, constant-initialised, with a scoped lock.
//
// The C++ library's own report errors by exceptions, and so would make it needed at run time.
#ifndef FIBDB_ENGINE_CLIENT_MUTEX_H
#define FIBDB_ENGINE_CLIENT_MUTEX_H

#include <pthread.h>

namespace fibdb::client {

class Mutex {
 public:
  constexpr Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  // Around fork(): held by the thread that forks, until it lets go, in parent and child. In the child a mutex is made
  // anew: threads of the parent that held it or waited for it are not there, but left their marks in it.
  void hold() { pthread_mutex_lock(&mutex_); }
  void letGo() { pthread_mutex_unlock(&mutex_); }
  void makeAnew() { pthread_mutex_init(&mutex_, nullptr); }

 private:
  friend class Lock;
  friend class Condition;
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

class [[nodiscard]] Lock {
 public:
  explicit Lock(Mutex& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_.mutex_); }
  ~Lock() { pthread_mutex_unlock(&mutex_.mutex_); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  friend class Condition;
  Mutex& mutex_;
};

class Condition {
 public:
  constexpr Condition() = default;
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  // A thread that is cancelled here gives the mutex back. C's clean-up does it: what is compiled without exceptions
  // runs no destructor while a cancelled thread is unwound.
  void wait(Lock& lock) {
    pthread_mutex_t* const mutex = &lock.mutex_.mutex_;
    pthread_cleanup_push([](void* held) { pthread_mutex_unlock(static_cast<pthread_mutex_t*>(held)); }, mutex);
    pthread_cond_wait(&condition_, mutex);
    pthread_cleanup_pop(0);
  }
  void makeAnew() { pthread_cond_init(&condition_, nullptr); }
  void wakeOne() { pthread_cond_signal(&condition_); }
  void wakeAll() { pthread_cond_broadcast(&condition_); }

 private:
  pthread_cond_t condition_ = PTHREAD_COND_INITIALIZER;
};

// As long as one lives, its thread is not cancelled.
class [[nodiscard]] Uncancelled {
 public:
  Uncancelled() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  ~Uncancelled() { pthread_setcancelstate(before_, nullptr); }
  Uncancelled(const Uncancelled&) = delete;
  Uncancelled& operator=(const Uncancelled&) = delete;

 private:
  int before_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace fibdb::client

#endif
