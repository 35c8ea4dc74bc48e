// A closed page after open ones, from the system's memory calls.
#include "support/guarded_buffer.h"

#include <algorithm>
#include <stdexcept>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace {

#if defined(_WIN32)

size_t PageSize() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return info.dwPageSize;
}

uint8_t* Map(size_t open, size_t page) {
  void* memory = VirtualAlloc(nullptr, open + page, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  auto* bytes = static_cast<uint8_t*>(memory);
  DWORD before = 0;
  if (bytes == nullptr || !VirtualProtect(bytes + open, page, PAGE_NOACCESS, &before)) {
    throw std::runtime_error("no guarded memory");
  }
  return bytes;
}

void Unmap(uint8_t* memory, size_t) { VirtualFree(memory, 0, MEM_RELEASE); }

#else

size_t PageSize() { return static_cast<size_t>(sysconf(_SC_PAGESIZE)); }

uint8_t* Map(size_t open, size_t page) {
  void* memory =
      mmap(nullptr, open + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  auto* bytes = static_cast<uint8_t*>(memory);
  if (memory == MAP_FAILED || mprotect(bytes + open, page, PROT_NONE) != 0) {
    throw std::runtime_error("no guarded memory");
  }
  return bytes;
}

void Unmap(uint8_t* memory, size_t size) { munmap(memory, size); }

#endif

}  // namespace

GuardedBuffer::GuardedBuffer(size_t capacity)
    : open_((capacity / PageSize() + 1) * PageSize()), page_(PageSize()) {
  memory_ = Map(open_, page_);
}

GuardedBuffer::~GuardedBuffer() { Unmap(memory_, open_ + page_); }

uint8_t* GuardedBuffer::Put(const std::vector<uint8_t>& bytes, size_t size) {
  if (size > open_ || size > bytes.size()) throw std::length_error("guarded buffer");
  uint8_t* begin = memory_ + open_ - size;
  std::copy_n(bytes.begin(), size, begin);
  return begin;
}
