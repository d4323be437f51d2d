// How the tool ends: the exit codes, which scripts rely on, and the exception that carries one with its sentence.
#pragma once

#include <ZelIMP.hpp>
#include <stdexcept>
#include <string>

namespace tool {

enum class Exit {
  success = 0,
  malformed = 1,       // not a scan, or its bytes contradict each other
  usage = 2,           // options that are wrong or do not go together
  unsupported = 3,     // a kind of input that is not processed
  no_such_format = 4,  // output format not available for this input
  file = 5,            // a file could not be read or written
  over_limit = 6,      // larger than the library or the tool accepts
  internal = 7,        // out of memory, or a fault of the tool
  nothing_read = 8,    // holes: neither face gave a character; banknote: no value; what was to be written is
};

constexpr Exit exit_of(zelimp::Status status) {
  switch (status) {
    case zelimp::Status::not_loaded:
      return Exit::malformed;
    case zelimp::Status::unsupported:
      return Exit::unsupported;
    case zelimp::Status::no_such_format:
      return Exit::no_such_format;
    case zelimp::Status::bad_argument:
      return Exit::usage;
    case zelimp::Status::over_limit:
      return Exit::over_limit;
  }
  return Exit::internal;
}

// Ends the command; the sentence goes to standard error behind "zelimp: ".
class Failure : public std::runtime_error {
 public:
  Failure(Exit exit, const std::string& sentence) : std::runtime_error(sentence), exit_(exit) {}
  Exit exit() const noexcept { return exit_; }

 private:
  Exit exit_;
};

// work(), with the library's errors told as being about the file named.
template <class Work>
auto about(const std::string& file, Work&& work) {
  try {
    return work();
  } catch (const zelimp::Error& error) {
    throw Failure(exit_of(error.status()), file + ": " + error.what());
  }
}

}  // namespace tool
