#include "files.hpp"

#include <ZelIMP/linux_win.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zel {
namespace {

constexpr int kPathBytes = 5000;

int open_again(const char* path, int flags, mode_t mode = 0) {
  int fd = -1;
  do {
    fd = open(path, flags | O_CLOEXEC | O_NONBLOCK, mode);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

bool is_ours(int fd) {
  struct stat facts = {};
  return fstat(fd, &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_uid == geteuid() && facts.st_nlink == 1;
}

}  // namespace

Descriptor::~Descriptor() {
  if (is_open()) close(fd_);
}

int Descriptor::duplicate() const { return fcntl(fd_, F_DUPFD_CLOEXEC, 0); }

Descriptor open_for_reading(const char* path) { return Descriptor(path == nullptr ? -1 : open_again(path, O_RDONLY)); }

OutputFile open_for_writing(const char* path) {
  return OutputFile(path == nullptr ? nullptr : std::fopen(path, "wbe"));
}

Descriptor open_temporary(const char* name) {
  char path[kPathBytes];
  const int length = GetTempPath(kPathBytes, path);
  const std::size_t name_bytes = std::strlen(name) + 1;
  if (length < 0 || length + name_bytes > kPathBytes) return Descriptor(-1);
  std::memcpy(path + length, name, name_bytes);
  const int fd = open_again(path, O_CREAT | O_RDWR | O_NOFOLLOW, S_IRUSR | S_IWUSR);
  // Anybody may have put something there first: it is emptied only once it is known to be ours.
  if (fd < 0 || (is_ours(fd) && ftruncate(fd, 0) == 0)) return Descriptor(fd);
  close(fd);
  return Descriptor(-1);
}

std::optional<std::uint64_t> regular_file_bytes(const Descriptor& file) {
  struct stat facts = {};
  if (fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode) || facts.st_size < 0) return std::nullopt;
  return static_cast<std::uint64_t>(facts.st_size);
}

bool read_after(const Descriptor& file, std::uint64_t offset, unsigned char* to, std::uint64_t size) {
  constexpr std::uint64_t kMostAtOnce = 1 << 30;
  for (std::uint64_t done = 0; done < size;) {
    const auto part = static_cast<std::size_t>(std::min(size - done, kMostAtOnce));
    const ssize_t n = pread(file.get(), to + done, part, static_cast<off_t>(offset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::uint64_t>(n);
  }
  return true;
}

bool read_from_start(const Descriptor& file, unsigned char* to, std::uint64_t size) {
  return read_after(file, 0, to, size);
}

WithoutFileSizeSignal::WithoutFileSizeSignal() noexcept {
  sigset_t pending;
  sigpending(&pending);
  pending_before_ = sigismember(&pending, SIGXFSZ) == 1;
  sigemptyset(&signal_);
  sigaddset(&signal_, SIGXFSZ);
  pthread_sigmask(SIG_BLOCK, &signal_, &mask_before_);
}

WithoutFileSizeSignal::~WithoutFileSizeSignal() {
  constexpr timespec kAtOnce = {};
  while (!pending_before_ && sigtimedwait(&signal_, nullptr, &kAtOnce) < 0 && errno == EINTR) {
  }
  pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr);
}

}  // namespace zel
