// What the CPU can do beyond what the library is built for.
#pragma once

namespace zel {

// Instruction sets that code may need, each including the ones before it; avx2 includes bmi and popcnt, which came
// earlier or with it.
enum class Isa { none, sse2, ssse3, avx2 };

// Whether this CPU, and the operating system for its registers, has isa. May be called from static constructors.
inline bool cpu_has(Isa isa) {
  __builtin_cpu_init();
  switch (isa) {
    case Isa::none:
    case Isa::sse2:  // every x86-64 has it, and on i386 the library is built for it
      return true;
    case Isa::ssse3:
      return __builtin_cpu_supports("ssse3");
    case Isa::avx2:
      return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("popcnt");
  }
  return false;
}

}  // namespace zel
