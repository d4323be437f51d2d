// The table of a kernel's implementations.
#pragma once

#include <cstddef>

#include "base/cpu.hpp"

namespace zel::kern {

// One implementation. A kernel lists its variants in one table, the scalar reference first and the best last; tests and
// benchmarks iterate over the same table, so that a variant is tested by being listed.
template <class Fn>
struct Variant {
  const char* name;
  Isa isa;  // what it needs of the CPU
  Fn* run;
};

// The last variant that this CPU can run. A kernel keeps the answer in a static variable of its own function, which is
// set on the first call, whichever thread or static constructor makes it.
template <class Fn, std::size_t n>
Fn* best(const Variant<Fn> (&variants)[n]) {
  std::size_t last = n - 1;
  while (!cpu_has(variants[last].isa)) --last;  // the reference needs nothing
  return variants[last].run;
}

}  // namespace zel::kern
