// Memory that ends, or begins, exactly at a page nobody may touch.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <span>

namespace zel::test {

enum class Guard { behind, before };

// size bytes, next to the guard page on the side that guard names. An access across it ends the process.
class GuardedBuffer {
 public:
  GuardedBuffer(std::size_t size, Guard guard) : size_(size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t room = (size + page - 1) / page * page;
    mapped_bytes_ = room + page;
    mapped_ = mmap(nullptr, mapped_bytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped_ == MAP_FAILED) throw std::bad_alloc();
    std::uint8_t* const usable = static_cast<std::uint8_t*>(mapped_) + (guard == Guard::behind ? 0 : page);
    data_ = usable + (guard == Guard::behind ? room - size : 0);
    if (mprotect(usable, room, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
  }
  ~GuardedBuffer() { munmap(mapped_, mapped_bytes_); }
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  std::uint8_t* data() const { return data_; }
  std::size_t size() const { return size_; }
  std::span<std::uint8_t> bytes() const { return {data_, size_}; }

 private:
  std::size_t size_;
  std::size_t mapped_bytes_;
  void* mapped_;
  std::uint8_t* data_;
};

}  // namespace zel::test
