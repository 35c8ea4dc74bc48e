// Bytes that end where the process may neither read nor write: whoever touches
// one at or beyond the size ends the test program at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class GuardedBuffer {
 public:
  explicit GuardedBuffer(size_t capacity);
  ~GuardedBuffer();
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  // The first `size` bytes, copied to the very end of the buffer.
  uint8_t* Put(const std::vector<uint8_t>& bytes, size_t size);

  // Where the closed memory begins.
  const uint8_t* End() const { return memory_ + open_; }

 private:
  uint8_t* memory_;
  size_t open_;  // bytes before the closed page
  size_t page_;
};
