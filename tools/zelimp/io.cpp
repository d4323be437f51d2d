#include "io.hpp"

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>
#include <ZelIMP.hpp>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>
#include <utility>

#include "exit_code.hpp"

namespace tool {
namespace {

[[noreturn]] void fail(const std::string& name, int error) {
  throw Failure(Exit::file, (name.empty() ? "a file without a name" : name) + ": " + std::strerror(error));
}

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() { close_now(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }
  bool close_now() { return fd_ < 0 || ::close(std::exchange(fd_, -1)) == 0; }

 private:
  int fd_;
};

void write_whole(int fd, std::span<const std::byte> bytes, const std::string& name) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) fail(name, errno);
    if (written > 0) bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
}

// The same for all names of one file, as far as they can be followed.
std::string one_name(const std::string& path) {
  std::error_code unknown;
  const std::filesystem::path name =
      std::filesystem::weakly_canonical(std::filesystem::absolute(path, unknown), unknown);
  return unknown ? path : name.string();
}

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

// An interrupt waits until the temporary files are gone; afterwards it takes its usual course.
class InterruptsHeld {
 public:
  InterruptsHeld() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&held, signal);
    sigprocmask(SIG_BLOCK, &held, &before_);
  }
  ~InterruptsHeld() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  InterruptsHeld(const InterruptsHeld&) = delete;
  InterruptsHeld& operator=(const InterruptsHeld&) = delete;

 private:
  sigset_t before_;
};

bool is_regular_file(const std::string& path) {
  struct stat facts;
  return ::lstat(path.c_str(), &facts) == 0 && S_ISREG(facts.st_mode);
}

// What one write_outputs call makes: temporaries, names that were published, a folder. Removes all unless kept; what
// was replaced comes back.
class Batch {
 public:
  Batch() = default;
  ~Batch() {
    for (const auto& [old_file, path] : replaced_) ::rename(old_file.c_str(), path.c_str());
    for (const std::string& path : made_) ::unlink(path.c_str());
    if (!folder_.empty()) ::rmdir(folder_.c_str());
  }
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  void make_folder(const std::string& path) {
    if (::mkdir(path.c_str(), 0777) != 0) fail(path, errno);
    folder_ = path;
  }

  // Returns the temporary's name.
  std::string write_temporary(const Output& output) {
    std::string temporary = folder_of(output.path) + ".zelimp-XXXXXX";
    Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (file.get() < 0) fail(output.path, errno);
    made_.insert(temporary);
    write_whole(file.get(), output.bytes, output.path);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    if (::fchmod(file.get(), 0666 & ~mask) != 0 || ::fsync(file.get()) != 0) fail(output.path, errno);
    if (!file.close_now()) fail(output.path, errno);
    return temporary;
  }

  void publish(const std::string& temporary, const std::string& path, bool force) {
    if (force && is_regular_file(path) &&
        ::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), RENAME_EXCHANGE) == 0) {
      replaced_.emplace(temporary, path);  // the old file has the temporary's name until all is done
      return;
    }
    if (::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), force ? 0 : RENAME_NOREPLACE) == 0) {
      made_.erase(temporary);
    } else if (force || errno != EINVAL || ::link(temporary.c_str(), path.c_str()) != 0) {
      // EINVAL: a file system without RENAME_NOREPLACE, where a hard link does the same.
      fail(path, errno);
    }
    made_.insert(path);
  }

  // Keeps what was published.
  void keep(const std::vector<Output>& outputs) {
    for (const Output& output : outputs) made_.erase(output.path);
    replaced_.clear();
    folder_.clear();
  }

 private:
  std::set<std::string> made_;
  std::map<std::string, std::string> replaced_;  // by the name of the old file
  std::string folder_;
};

}  // namespace

std::string input_name(const std::string& path) { return path == "-" ? "standard input" : path; }

Bytes read_file(const std::string& path) {
  const std::uint64_t limit = zelimp::Limits{}.max_bytes;
  const std::string name = input_name(path);
  Descriptor file(path == "-" ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0) : ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat facts;
  if (file.get() < 0 || ::fstat(file.get(), &facts) != 0) fail(name, errno);

  constexpr std::size_t kFirstRead = 1 << 16;
  Bytes bytes(
      S_ISREG(facts.st_mode)
          ? static_cast<std::size_t>(std::min<std::uint64_t>(static_cast<std::uint64_t>(facts.st_size), limit)) + 1
          : kFirstRead);
  std::size_t filled = 0;
  while (true) {
    const ssize_t got = ::read(file.get(), bytes.data() + filled, bytes.size() - filled);
    if (got < 0 && errno != EINTR) fail(name, errno);
    if (got == 0) break;
    if (got > 0) filled += static_cast<std::size_t>(got);
    if (filled > limit) throw Failure(Exit::over_limit, name + ": larger than " + std::to_string(limit) + " bytes");
    if (filled == bytes.size()) bytes.resize(bytes.size() * 2);
  }
  bytes.resize(filled);
  return bytes;
}

std::vector<std::uint16_t> read_table(const std::string& path) {
  const Bytes bytes = read_file(path);
  if (bytes.size() % 2 != 0) throw Failure(Exit::malformed, input_name(path) + ": half a table entry at the end");
  std::vector<std::uint16_t> table(bytes.size() / 2);
  for (std::size_t i = 0; i < table.size(); ++i) {
    table[i] = static_cast<std::uint16_t>(std::to_integer<unsigned>(bytes[2 * i]) |
                                          std::to_integer<unsigned>(bytes[2 * i + 1]) << 8);
  }
  return table;
}

Bytes table_bytes(std::span<const std::uint16_t> table) {
  Bytes bytes;
  bytes.reserve(table.size() * 2);
  for (const std::uint16_t entry : table) {
    bytes.push_back(static_cast<std::byte>(entry & 0xFF));
    bytes.push_back(static_cast<std::byte>(entry >> 8));
  }
  return bytes;
}

void check_sources(const std::vector<std::string>& paths) {
  if (std::ranges::count(paths, "-") > 1) throw Failure(Exit::usage, "standard input can be only one of the inputs");
}

void check_targets(const std::vector<std::string>& paths, bool force) {
  std::set<std::string> seen;
  for (const std::string& path : paths) {
    if (path.empty()) continue;
    if (!seen.insert(path == "-" ? path : one_name(path)).second) {
      throw Failure(Exit::usage, (path == "-" ? "standard output" : path) + ": named for two outputs");
    }
    if (path == "-") continue;
    struct stat facts;
    if (::lstat(path.c_str(), &facts) == 0) {
      if (!force) throw Failure(Exit::file, path + ": exists already (--force replaces it)");
      if (!S_ISREG(facts.st_mode)) throw Failure(Exit::file, path + ": is not a regular file");
    } else if (errno != ENOENT) {
      fail(path, errno);
    }
    if (::access(folder_of(path).c_str(), W_OK | X_OK) != 0) fail(path, errno);
  }
}

bool folder_exists(const std::string& path) {
  struct stat facts;
  if (::stat(path.c_str(), &facts) == 0) {
    if (!S_ISDIR(facts.st_mode)) fail(path, ENOTDIR);
    return true;
  }
  if (errno != ENOENT) fail(path, errno);
  return false;
}

void write_outputs(const std::vector<Output>& outputs, bool force, const std::string& new_folder) {
  // First, because it cannot be taken back whereas files can.
  for (const Output& output : outputs) {
    if (output.path == "-") write_whole(STDOUT_FILENO, output.bytes, "standard output");
  }
  const InterruptsHeld held;
  Batch batch;
  if (!new_folder.empty()) batch.make_folder(new_folder);
  std::vector<std::string> temporaries;
  for (const Output& output : outputs) {
    temporaries.push_back(output.path == "-" ? "" : batch.write_temporary(output));
  }
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    if (!temporaries[i].empty()) batch.publish(temporaries[i], outputs[i].path, force);
  }
  batch.keep(outputs);
}

void Progress::step(const std::string& what) {
  const Clock::time_point now = Clock::now();
  const std::chrono::duration<double, std::milli> taken = now - last_;
  last_ = now;
  if (verbose_) ::fprintf(stderr, "zelimp: %s, %.1f ms\n", what.c_str(), taken.count());
}

void Progress::wrote(const std::vector<Output>& outputs) {
  for (const Output& output : outputs)
    step("wrote " + output.path + ", " + std::to_string(output.bytes.size()) + " bytes");
}

void Progress::tell(const std::string& what) const {
  if (verbose_) ::fprintf(stderr, "zelimp: %s\n", what.c_str());
}

}  // namespace tool
