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
  GuardedBuffer(std::size_t size, Guard guard) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t room = (size + page - 1) / page * page;
    void* const memory = mmap(nullptr, room + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    mapped_ = {static_cast<std::uint8_t*>(memory), room + page};
    bytes_ = mapped_.subspan(guard == Guard::behind ? room - size : page, size);
    if (mprotect(&mapped_[guard == Guard::behind ? room : 0], page, PROT_NONE) != 0) throw std::bad_alloc();
  }
  ~GuardedBuffer() { munmap(mapped_.data(), mapped_.size()); }
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  std::uint8_t* data() const { return bytes_.data(); }
  std::span<std::uint8_t> bytes() const { return bytes_; }

 private:
  std::span<std::uint8_t> mapped_, bytes_;
};

}  // namespace zel::test
