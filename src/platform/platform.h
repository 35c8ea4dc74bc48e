// What the library needs of an operating system; a port gives exactly this, in
// one file (posix.cpp, windows.cpp), and nothing outside this folder knows
// which system it runs on.
//
// Every object is made by a Make function, which answers null when the system
// cannot make it, and is given back to the matching Destroy function, which
// takes null too; a thread likewise by StartThread and Join. Nothing throws.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vxmkit.h"

namespace vxm::platform {

// A lock between the threads of the process; waited for without limit.
struct Mutex;
Mutex* MakeMutex();
void DestroyMutex(Mutex* mutex);
void Lock(Mutex* mutex);
void Unlock(Mutex* mutex);

// A manual-reset event: once set it stays set, for all waiters, until reset.
// IsSet never waits and costs little enough to be asked after each comparison;
// WaitFor waits without limit, and is false when the system fails to.
struct Event;
Event* MakeEvent(bool set);
void DestroyEvent(Event* event);
void Set(Event* event);
void Reset(Event* event);
bool IsSet(Event* event);
bool WaitFor(Event* event);

// A thread that runs `run(argument)` once. Join waits for its end and releases
// it, and does not return before that even where the system cannot tell; what the
// thread wrote is visible to the caller afterwards.
struct Thread;
Thread* StartThread(void (*run)(void*), void* argument);
void Join(Thread* thread);

// Overwrites memory that held templates before it is given back. The compiler may not
// leave it out, as it may what is written and never read.
void Wipe(void* memory, size_t size);

// A millisecond clock of 32 bits that wraps; only differences mean anything.
uint32_t Milliseconds();

// Tells the user one line, for the rare fault that a status does not explain.
void ShowNotice(const char* text);

// A new string for the host, from 8-bit text; null when there is no memory.
VXM_ComString MakeComString(const char* text);

}  // namespace vxm::platform
