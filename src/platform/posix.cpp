// The platform layer on POSIX systems.
//
// Mutex and thread are the system's own. An event is a flag under a mutex with
// a condition variable for those who wait; the flag is atomic so that asking
// for it takes no lock.
#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

#include "platform/platform.h"

namespace vxm::platform {

struct Mutex {
  pthread_mutex_t handle;
};

struct Event {
  pthread_mutex_t mutex;
  pthread_cond_t changed;
  std::atomic<bool> set;
};

struct Thread {
  pthread_t handle;
  void (*run)(void*);
  void* argument;
  std::atomic<bool> ended{false};  // the last that the thread itself does
};

Mutex* MakeMutex() {
  Mutex* mutex = new (std::nothrow) Mutex;
  if (mutex != nullptr && pthread_mutex_init(&mutex->handle, nullptr) != 0) {
    delete mutex;
    return nullptr;
  }
  return mutex;
}

void DestroyMutex(Mutex* mutex) {
  if (mutex == nullptr) return;
  pthread_mutex_destroy(&mutex->handle);
  delete mutex;
}

void Lock(Mutex* mutex) { pthread_mutex_lock(&mutex->handle); }

void Unlock(Mutex* mutex) { pthread_mutex_unlock(&mutex->handle); }

Event* MakeEvent(bool set) {
  Event* event = new (std::nothrow) Event;
  if (event == nullptr) return nullptr;
  if (pthread_mutex_init(&event->mutex, nullptr) != 0) {
    delete event;
    return nullptr;
  }
  if (pthread_cond_init(&event->changed, nullptr) != 0) {
    pthread_mutex_destroy(&event->mutex);
    delete event;
    return nullptr;
  }
  event->set = set;
  return event;
}

void DestroyEvent(Event* event) {
  if (event == nullptr) return;
  pthread_cond_destroy(&event->changed);
  pthread_mutex_destroy(&event->mutex);
  delete event;
}

void Set(Event* event) {
  pthread_mutex_lock(&event->mutex);
  event->set = true;
  pthread_cond_broadcast(&event->changed);
  pthread_mutex_unlock(&event->mutex);
}

void Reset(Event* event) { event->set = false; }

bool IsSet(Event* event) { return event->set; }

bool WaitFor(Event* event) {
  pthread_mutex_lock(&event->mutex);
  while (!event->set) pthread_cond_wait(&event->changed, &event->mutex);
  pthread_mutex_unlock(&event->mutex);
  return true;
}

namespace {

void* RunThread(void* thread) {
  Thread* self = static_cast<Thread*>(thread);
  self->run(self->argument);
  self->ended.store(true, std::memory_order_release);
  return nullptr;
}

}  // namespace

Thread* StartThread(void (*run)(void*), void* argument) {
  Thread* thread = new (std::nothrow) Thread{{}, run, argument};
  if (thread != nullptr && pthread_create(&thread->handle, nullptr, RunThread, thread) != 0) {
    delete thread;
    return nullptr;
  }
  return thread;
}

// Looks for the end a while before it sleeps: a worker mostly ends within a comparison
// of its caller, and to be woken takes longer than many. Where the system does not
// join, the thread's own word is waited for, since it works on what is its caller's.
void Join(Thread* thread) {
  bool joined = false;
#if defined(__linux__)
  constexpr int looks = 1000;
  for (int look = 0; look < looks && !joined; look++) {
    joined = pthread_tryjoin_np(thread->handle, nullptr) == 0;
    if (!joined) sched_yield();
  }
#endif
  joined = joined || pthread_join(thread->handle, nullptr) == 0;
  while (!joined && !thread->ended.load(std::memory_order_acquire)) sched_yield();
  delete thread;
}

void Wipe(void* memory, size_t size) {
  std::memset(memory, 0, size);
  // For all that the compiler knows, this reads the memory.
  __asm__ __volatile__("" : : "r"(memory) : "memory");
}

uint32_t Milliseconds() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint32_t>(static_cast<uint64_t>(now.tv_sec) * 1000 +
                               static_cast<uint64_t>(now.tv_nsec) / 1000000);
}

void ShowNotice(const char* text) { std::fprintf(stderr, "%s\n", text); }

VXM_ComString MakeComString(const char* text) {
  const size_t length = std::strlen(text);
  auto* copy = static_cast<VXM_Char16*>(std::malloc((length + 1) * sizeof(VXM_Char16)));
  if (copy == nullptr) return nullptr;
  for (size_t i = 0; i <= length; i++) copy[i] = static_cast<unsigned char>(text[i]);
  return copy;
}

}  // namespace vxm::platform
