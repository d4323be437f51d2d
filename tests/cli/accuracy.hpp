// What programs that measure accuracy do besides measuring.
#pragma once

#include <cstdlib>
#include <exception>
#include <iostream>

// The result of run(n), n being the last argument and usual where only the others are given, of which there are first;
// 2 after a sentence when the arguments are wrong or run throws.
int run_with_number(int argc, char** argv, int first, int usual, const char* usage, auto run) {
  const int n = argc == first + 2 ? std::atoi(argv[first + 1]) : argc == first + 1 ? usual : 0;
  try {
    if (n > 0) return run(static_cast<std::uint32_t>(n));
    std::cerr << "usage: " << usage << "\n";
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
  }
  return 2;
}
