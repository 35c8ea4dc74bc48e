// The platform layer on Windows: unnamed kernel objects, and the form of each
// call that takes 8-bit text.
//
// Mutex and Event are never defined: a pointer to one is the system's handle.
#include "platform/platform.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <oleauto.h>

#include <atomic>
#include <memory>
#include <new>

namespace vxm::platform {

Mutex* MakeMutex() { return static_cast<Mutex*>(CreateMutexA(nullptr, FALSE, nullptr)); }

void DestroyMutex(Mutex* mutex) {
  if (mutex != nullptr) CloseHandle(mutex);
}

void Lock(Mutex* mutex) { WaitForSingleObject(mutex, INFINITE); }

void Unlock(Mutex* mutex) { ReleaseMutex(mutex); }

Event* MakeEvent(bool set) {
  constexpr BOOL manualReset = TRUE;
  return static_cast<Event*>(CreateEventA(nullptr, manualReset, set ? TRUE : FALSE, nullptr));
}

void DestroyEvent(Event* event) {
  if (event != nullptr) CloseHandle(event);
}

void Set(Event* event) { SetEvent(event); }

void Reset(Event* event) { ResetEvent(event); }

bool IsSet(Event* event) { return WaitForSingleObject(event, 0) == WAIT_OBJECT_0; }

bool WaitFor(Event* event) { return WaitForSingleObject(event, INFINITE) == WAIT_OBJECT_0; }

struct Thread {
  HANDLE handle;
  void (*run)(void*);
  void* argument;
  std::atomic<bool> ended{false};  // the last that the thread itself does
};

namespace {

DWORD WINAPI RunThread(void* thread) {
  Thread* self = static_cast<Thread*>(thread);
  self->run(self->argument);
  self->ended.store(true, std::memory_order_release);
  return 0;
}

// Where the state cannot be read the thread's own word counts, since it works on what is
// its caller's.
bool IsRunning(const Thread& thread) {
  DWORD code = 0;
  if (GetExitCodeThread(thread.handle, &code) != 0) return code == STILL_ACTIVE;
  return !thread.ended.load(std::memory_order_acquire);
}

}  // namespace

Thread* StartThread(void (*run)(void*), void* argument) {
  Thread* thread = new (std::nothrow) Thread{nullptr, run, argument};
  if (thread == nullptr) return nullptr;
  thread->handle = CreateThread(nullptr, 0, RunThread, thread, 0, nullptr);
  if (thread->handle != nullptr) return thread;
  delete thread;
  return nullptr;
}

// Looks at the thread's state and gives way to others in between: at first without
// a pause, since a worker mostly ends within a comparison of its caller, and a
// pause lasts longer than many a whole search; then every 10 milliseconds.
void Join(Thread* thread) {
  constexpr int looksAtOnce = 1000;
  constexpr DWORD period = 10;
  for (int looks = 0; IsRunning(*thread); looks++) Sleep(looks < looksAtOnce ? 0 : period);
  CloseHandle(thread->handle);
  delete thread;
}

void Wipe(void* memory, size_t size) { SecureZeroMemory(memory, size); }

uint32_t Milliseconds() { return GetTickCount(); }

void ShowNotice(const char* text) {
  MessageBoxA(nullptr, text, "VXMKIT", MB_OK | MB_ICONEXCLAMATION | MB_TASKMODAL);
}

VXM_ComString MakeComString(const char* text) {
  constexpr int wholeText = -1;  // with its zero
  const int length = MultiByteToWideChar(CP_ACP, 0, text, wholeText, nullptr, 0);
  if (length <= 0) return nullptr;
  const std::unique_ptr<wchar_t[]> wide(new (std::nothrow) wchar_t[static_cast<size_t>(length)]);
  if (wide == nullptr) return nullptr;
  if (MultiByteToWideChar(CP_ACP, 0, text, wholeText, wide.get(), length) != length) return nullptr;
  return SysAllocString(wide.get());
}

}  // namespace vxm::platform
