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

  void wait(Lock& lock) { pthread_cond_wait(&condition_, &lock.mutex_.mutex_); }
  void wakeOne() { pthread_cond_signal(&condition_); }
  void wakeAll() { pthread_cond_broadcast(&condition_); }

 private:
  pthread_cond_t condition_ = PTHREAD_COND_INITIALIZER;
};

}  // namespace fibdb::client

#endif
