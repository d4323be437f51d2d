// The library's temporary files have fixed names, also for tests of other builds that run at the same time: whoever
// makes them takes turns.
//
//   TemporaryNames names;
//   if (names.taken()) GTEST_SKIP() << names.taken();
#pragma once

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zel::test {

class TemporaryNames {
 public:
  static constexpr const char* kTiff = "/tmp/varnoketemp.tif";
  static constexpr const char* kJfif = "/tmp/varnoketemp.jpg";

  // Waits until nobody else uses the names; they are free then, unless they are another user's.
  TemporaryNames() {
    constexpr const char* kLock = "/tmp/varnoketemp.lock";
    lock_ = open(kLock, O_RDONLY | O_CLOEXEC);
    if (lock_ < 0) lock_ = open(kLock, O_RDONLY | O_CREAT | O_CLOEXEC, 0644);
    if (lock_ < 0 || flock(lock_, LOCK_EX) != 0) taken_ = "the lock of the temporary names cannot be had";
    for (const char* name : {kTiff, kJfif}) {
      struct stat facts;
      if (lstat(name, &facts) == 0 && facts.st_uid != geteuid()) taken_ = "a temporary name is another user's";
    }
    remove_files();
  }
  ~TemporaryNames() {
    remove_files();
    close(lock_);
  }
  TemporaryNames(const TemporaryNames&) = delete;
  TemporaryNames& operator=(const TemporaryNames&) = delete;

  // Why the names cannot be used; null when they can.
  const char* taken() const { return taken_; }

 private:
  void remove_files() const {
    if (taken_ != nullptr) return;
    unlink(kTiff);
    unlink(kJfif);
  }

  int lock_ = -1;
  const char* taken_ = nullptr;
};

}  // namespace zel::test
