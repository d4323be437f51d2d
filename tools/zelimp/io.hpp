// Files of the tool. "-" is standard input or output. Every function throws Failure.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tool {

using Bytes = std::vector<std::byte>;

struct Output {
  std::string path;
  Bytes bytes;
};

// path as messages name it.
std::string input_name(const std::string& path);

// The whole file, which must not be larger than the library's limit.
Bytes read_file(const std::string& path);

// 16-bit little-endian numbers without a header: the form of the reference tables.
std::vector<std::uint16_t> read_table(const std::string& path);
Bytes table_bytes(std::span<const std::uint16_t> table);

// Refuses standard input for more than one of the inputs. Empty paths are options that were not given.
void check_sources(const std::vector<std::string>& paths);

// Decides before the work whether the outputs may be made: no two the same, nothing there yet or force and a regular
// file, a folder that can be written. Empty paths are options that were not given.
void check_targets(const std::vector<std::string>& paths, bool force);

// Whether path is a folder; false where there is nothing.
bool folder_exists(const std::string& path);

// Writes all outputs or none: each to a temporary file beside its target, then all under their names; what force has
// replaced comes back when a later one fails. Without force a target that has come into being since check_targets is
// left alone and the call fails. new_folder: made first, unless it is empty, and removed when the call fails.
void write_outputs(const std::vector<Output>& outputs, bool force, const std::string& new_folder = "");

// Tells on standard error what is done; nothing unless verbose.
class Progress {
 public:
  explicit Progress(bool verbose) : verbose_(verbose) {}
  // What was done, and how long it took since the last call.
  void step(const std::string& what);
  void wrote(const std::vector<Output>& outputs);
  // Something to know.
  void tell(const std::string& what) const;

 private:
  using Clock = std::chrono::steady_clock;
  bool verbose_;
  Clock::time_point last_ = Clock::now();
};

}  // namespace tool
