// Shared pieces of the fuzz targets: a reader that turns the fuzzer's bytes
// into numbers and strings, and the check that a call gave back every pool
// block it took.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/fake_firmware.h"

namespace fuzz {

class Bytes {
public:
  Bytes(const uint8_t* Data, size_t Size) : data_(Data), size_(Size) {}
  bool Empty() const { return pos_ >= size_; }
  size_t Left() const { return size_ - pos_; }
  uint8_t U8() { return pos_ < size_ ? data_[pos_++] : 0; }
  uint16_t U16() { return static_cast<uint16_t>(U8() | U8() << 8); }
  uint32_t U32() { return static_cast<uint32_t>(U16()) | static_cast<uint32_t>(U16()) << 16; }
  uint64_t U64() { return static_cast<uint64_t>(U32()) | static_cast<uint64_t>(U32()) << 32; }
  // Everything not read yet.
  std::vector<uint8_t> Rest() {
    std::vector<uint8_t> rest(data_ + pos_, data_ + size_);
    pos_ = size_;
    return rest;
  }

private:
  const uint8_t* data_;
  size_t size_;
  size_t pos_ = 0;
};

// Stops the run with a message the fuzzer reports as a crash.
[[noreturn]] inline void Fail(const char* What) {
  std::fprintf(stderr, "fuzz check failed: %s\n", What);
  std::abort();
}
inline void Check(bool Condition, const char* What) {
  if (!Condition) Fail(What);
}

// The pool holds no more blocks after the call than before it.
class PoolBalance {
public:
  PoolBalance() : start_(fake::Pool()) {}
  ~PoolBalance() {
    const fake::PoolStats now = fake::Pool();
    if (now.OutstandingCount != start_.OutstandingCount) {
      for (const std::string& line : fake::DescribeOutstanding())
        std::fprintf(stderr, "  %s\n", line.c_str());
      Fail("pool blocks left behind");
    }
    Check(now.BadFrees == start_.BadFrees, "FreePool of memory the pool never gave out");
  }

private:
  fake::PoolStats start_;
};

} // namespace fuzz
