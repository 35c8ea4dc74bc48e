// What the library takes from the system, and what happens when it gets nothing.
//
// This program's own allocation counts what the library allocates (it is alone in
// using the form that does not throw) and refuses it on demand; so do the
// system's functions that make threads, locks and conditions, which the linker
// leads here first.
#include "platform/platform.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <new>
#include <thread>

#include "support/loaded_template.h"
#include "support/made_templates.h"
#include "support/matcher_calls.h"
#include "support/matcher_fixture.h"

namespace {

std::atomic<int> live{0};   // allocations not yet freed, anyone's
std::atomic<int> taken{0};  // by the library

// The ordinal, counted from now, of the one that is refused; 0 for none.
std::atomic<int> refusedAllocation{0};
std::atomic<int> refusedObject{0};
std::atomic<int> refusedText{0};

// Joins that were refused; 0 for none wanted.
std::atomic<int> refusedJoins{0};

// What freed memory must not hold, and how often it did. Clearing the list frees nothing.
using Trace = std::array<uint8_t, 32>;
std::vector<Trace> traces;
std::atomic<int> tracesLeft{0};

Trace TraceAt(const uint8_t* bytes) {
  Trace trace;
  std::copy_n(bytes, trace.size(), trace.begin());
  return trace;
}

bool Holds(const void* memory, const Trace& trace) {
  const auto* bytes = static_cast<const uint8_t*>(memory);
  const uint8_t* end = bytes + malloc_usable_size(const_cast<void*>(memory));
  return std::search(bytes, end, trace.begin(), trace.end()) != end;
}

bool Refuses(std::atomic<int>& ordinal) { return ordinal > 0 && --ordinal == 0; }

void* Allocate(size_t size, size_t alignment = alignof(std::max_align_t)) {
  void* memory = std::aligned_alloc(alignment, (size / alignment + 1) * alignment);
  if (memory != nullptr) live += 1;
  return memory;
}

void Free(void* memory) {
  if (memory == nullptr) return;
  live -= 1;
  for (const Trace& trace : traces) tracesLeft += Holds(memory, trace) ? 1 : 0;
  std::free(memory);
}

template <typename... Alignment>
void* AllocateForLibrary(size_t size, Alignment... alignment) {
  taken += 1;
  return Refuses(refusedAllocation) ? nullptr : Allocate(size, alignment...);
}

void* AllocateOrThrow(size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(size_t size) { return AllocateOrThrow(size); }
void* operator new[](size_t size) { return AllocateOrThrow(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept { return AllocateForLibrary(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return AllocateForLibrary(size);
}
void* operator new(size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return AllocateForLibrary(size, static_cast<size_t>(alignment));
}
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { Free(memory); }
void operator delete(void* memory, size_t, std::align_val_t) noexcept { Free(memory); }
void operator delete[](void* memory) noexcept { Free(memory); }
void operator delete(void* memory, size_t) noexcept { Free(memory); }
void operator delete[](void* memory, size_t) noexcept { Free(memory); }

extern "C" {

int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                          void* argument) {
  if (Refuses(refusedObject)) return EAGAIN;
  return __real_pthread_create(thread, attributes, run, argument);
}

int __real_pthread_join(pthread_t, void**);
int __wrap_pthread_join(pthread_t thread, void** result) {
  if (refusedJoins == 0) return __real_pthread_join(thread, result);
  if (refusedJoins++ == 1) pthread_detach(thread);
  return EINVAL;
}

int __real_pthread_tryjoin_np(pthread_t, void**);
int __wrap_pthread_tryjoin_np(pthread_t thread, void** result) {
  return refusedJoins == 0 ? __real_pthread_tryjoin_np(thread, result) : EINVAL;
}

int __real_pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*);
int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
  return Refuses(refusedObject) ? ENOMEM : __real_pthread_mutex_init(mutex, attributes);
}

int __real_pthread_cond_init(pthread_cond_t*, const pthread_condattr_t*);
int __wrap_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes) {
  return Refuses(refusedObject) ? ENOMEM : __real_pthread_cond_init(condition, attributes);
}

void* __real_malloc(size_t);
void* __wrap_malloc(size_t size) { return Refuses(refusedText) ? nullptr : __real_malloc(size); }

}  // extern "C"

namespace {

using calls::Answer;

const made::Bytes probe = made::Touch(TEMPLATE_NATIVE, 1, 1);
const made::Bytes mate = made::Touch(TEMPLATE_NATIVE, 1, 2);
const made::Bytes impostor = made::Touch(TEMPLATE_NATIVE, 2, 1);

// Makes the call with the first thing that it asks for refused, then with the
// second, and so on until it gets all; each refusal must give VXM_ERROR and
// leave nothing behind. Tells how many things there were.
template <typename Call>
int RefuseOneAfterTheOther(std::atomic<int>& refused, Call call) {
  for (int ordinal = 1;; ordinal++) {
    SCOPED_TRACE(ordinal);
    const int before = live;
    refused = ordinal;
    const int status = call();
    const bool wasRefused = refused.exchange(0) == 0;
    EXPECT_EQ(live, before);
    EXPECT_EQ(status, wasRefused ? VXM_ERROR : VXM_OK);
    if (!wasRefused) return ordinal - 1;
  }
}

int CreateAndDelete() {
  static MatcherHandle matcher;
  const int status = VXM_Create(&matcher);
  EXPECT_EQ(matcher == nullptr, status != VXM_OK);
  if (status == VXM_OK) {
    EXPECT_EQ(VXM_Delete(matcher), VXM_OK);
  }
  return status;
}

TEST(PlatformFaultTest, CreationIsAllOrNothing) {
  // The first matcher of the process and a later one.
  EXPECT_GE(RefuseOneAfterTheOther(refusedAllocation, CreateAndDelete), 1);
  EXPECT_GE(RefuseOneAfterTheOther(refusedObject, CreateAndDelete), 1);
  MatcherHandle first = nullptr;
  ASSERT_EQ(VXM_Create(&first), VXM_OK);
  EXPECT_GE(RefuseOneAfterTheOther(refusedAllocation, CreateAndDelete), 1);
  EXPECT_GE(RefuseOneAfterTheOther(refusedObject, CreateAndDelete), 1);
  EXPECT_EQ(calls::Verify(first, probe, mate).status, VXM_OK);
  EXPECT_EQ(VXM_Delete(first), VXM_OK);
}

TEST(PlatformFaultTest, ATextThatCannotBeMadeIsNull) {
  VXM_ComString text = nullptr;
  const auto get = [&text] { return VXM_GetErrorString_B(VXM_OK, &text); };
  refusedText = 1;
  EXPECT_EQ(get(), VXM_ERROR);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(get(), VXM_OK);
  std::free(text);
}

// Whoever waits for a thread has what it works on.
TEST(PlatformFaultTest, AThreadThatCannotBeJoinedIsWaitedFor) {
  std::atomic<bool> ended{false};
  const auto work = [](void* argument) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    *static_cast<std::atomic<bool>*>(argument) = true;
  };
  refusedJoins = 1;
  vxm::platform::Thread* thread = vxm::platform::StartThread(work, &ended);
  ASSERT_NE(thread, nullptr);
  vxm::platform::Join(thread);
  EXPECT_TRUE(ended);
  EXPECT_GT(refusedJoins.exchange(0), 1);
}

class PlatformTest : public MatcherTest {
 protected:
  // Finds the mate, or fails without an index.
  int Search(const calls::IdentifyForm& form) {
    const Answer answer = calls::Identify(form, matcher, probe, {impostor, mate});
    EXPECT_EQ(answer.output, answer.status == VXM_OK ? 1 : -1) << form.name;
    return answer.status;
  }
};

TEST_F(PlatformTest, IdentificationSurvivesWhatItDoesNotGet) {
  for (const calls::IdentifyForm& form : calls::identifyForms) {
    SCOPED_TRACE(form.name);
    const auto search = [&] { return Search(form); };
    testing::internal::CaptureStderr();
    const int allocations = RefuseOneAfterTheOther(refusedAllocation, search);
    testing::internal::GetCapturedStderr();
    EXPECT_GE(allocations, 1);
    testing::internal::CaptureStderr();
    const int threads = RefuseOneAfterTheOther(refusedObject, search);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              form.twoThreads ? "CreateThread is failed\n" : "");
    EXPECT_EQ(threads, form.twoThreads ? 1 : 0);
  }
}

// Neither the matcher's nor the copies that a search in a buffer makes.
TEST(PlatformWipeTest, NothingOfATemplateIsInFreedMemory) {
  MatcherHandle matcher = nullptr;
  ASSERT_EQ(VXM_Create(&matcher), VXM_OK);
  const auto loaded = Load(impostor);
  const auto* places = reinterpret_cast<const uint8_t*>(loaded->workspace.x);
  const uint8_t* templates[] = {impostor.data()};  // the one candidate, or all in one buffer
  const int size = static_cast<int>(impostor.size());
  int index = 0;
  traces = {TraceAt(impostor.data() + 8), TraceAt(places)};
  tracesLeft = 0;  // of what was made to make them
  for (const calls::IdentifyForm& form : calls::identifyForms) {
    EXPECT_EQ(form.function(matcher, probe.data(), static_cast<int>(probe.size()), templates, &size,
                            1, 0, &index),
              VXM_OK);
  }
  EXPECT_TRUE(Holds(matcher, traces[1]));
  EXPECT_EQ(VXM_Delete(matcher), VXM_OK);
  EXPECT_EQ(tracesLeft, 0);
  traces.clear();
}

// A list for all candidates and the keys of its order, copies of all of them and a
// thread; nothing for one of them, and nothing where only one is compared.
TEST_F(PlatformTest, NoComparisonAllocates) {
  const auto takenBy = [&](const calls::IdentifyForm& form, size_t count) {
    const std::vector<calls::Template> gallery(count, calls::Template(impostor));
    const int before = taken;
    EXPECT_EQ(calls::Identify(form, matcher, probe, gallery).status, VXM_OK);
    return taken - before;
  };
  for (const calls::IdentifyForm& form : calls::identifyForms) {
    EXPECT_EQ(takenBy(form, 1), takenBy(form, 40)) << form.name;
  }
  EXPECT_EQ(takenBy(calls::identifyForms[0], 40), 2);

  const int before = taken;
  made::Bytes turned = mate;
  const int size = static_cast<int>(turned.size());
  EXPECT_EQ(calls::Verify(matcher, probe, mate).status, VXM_OK);
  EXPECT_EQ(VXM_RotateTemplate(matcher, turned.data(), size), VXM_OK);
  EXPECT_EQ(VXM_IdentifyInit(matcher, turned.data(), size), VXM_OK);
  EXPECT_EQ(calls::IdentifyNext(matcher, mate).status, VXM_OK);
  EXPECT_EQ(taken, before);
}

}  // namespace
