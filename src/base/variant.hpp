// The table of a kernel's implementations.
#pragma once

namespace zel::kern {

// What an implementation needs of the CPU.
enum class Isa { none };

// One implementation. A kernel lists its variants in one table, the scalar reference first and the best last; tests and
// benchmarks iterate over the same table, so that a variant is tested by being listed.
template <class Fn>
struct Variant {
  const char* name;
  Isa isa;
  Fn* run;
};

}  // namespace zel::kern
