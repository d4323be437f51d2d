// Files. The library's own are opened so that nobody else's is ever written and no call waits for one.
#pragma once

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>

namespace zel {

// An open file, closed when the object goes.
class Descriptor {
 public:
  explicit Descriptor(int fd) noexcept : fd_(fd) {}  // -1: none
  ~Descriptor();
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool is_open() const { return fd_ >= 0; }
  int get() const { return fd_; }
  // The same open file once more, for somebody who closes it himself; -1 when there are no more.
  int duplicate() const;

 private:
  int fd_;
};

// Opens a file for reading, without waiting where it is a pipe that nobody writes to. Not open with a null path.
Descriptor open_for_reading(const char* path);

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using OutputFile = std::unique_ptr<std::FILE, FileCloser>;

// Opens a file of the caller's for writing, emptied; null when that fails, as with a null path.
OutputFile open_for_writing(const char* path);

// Opens the library's temporary file of that name, empty, for writing and reading. It stays when it is closed. Not
// open when the name in the temporary directory belongs to anything but a regular file of ours with a single link.
Descriptor open_temporary(const char* name);

// Bytes of an open regular file. None for anything else: a directory, a pipe, a device.
std::optional<std::uint64_t> regular_file_bytes(const Descriptor& file);

// Reads size bytes that begin at offset. False when that fails or the file is shorter.
bool read_after(const Descriptor& file, std::uint64_t offset, unsigned char* to, std::uint64_t size);
bool read_from_start(const Descriptor& file, unsigned char* to, std::uint64_t size);

// While it lives, writing beyond the process's limit for file sizes fails in this thread and does nothing more: the
// signal that would end the process is held back and dropped.
class WithoutFileSizeSignal {
 public:
  WithoutFileSizeSignal() noexcept;
  ~WithoutFileSizeSignal();
  WithoutFileSizeSignal(const WithoutFileSizeSignal&) = delete;
  WithoutFileSizeSignal& operator=(const WithoutFileSizeSignal&) = delete;

 private:
  sigset_t signal_;
  sigset_t mask_before_;
  bool pending_before_;
};

}  // namespace zel
