#include "kernels/shear.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace zel::kern {
namespace {

// Pixels c to c + dst.size() - 1 of row r of src.
void copy_run(ConstView src, std::size_t r, std::size_t c, std::span<std::uint8_t> dst) {
  std::size_t inside = 0;
  if (r < src.height() && c < src.width()) {
    inside = std::min(dst.size(), src.width() - c);
    std::memcpy(dst.data(), src.row_ptr(r) + c, inside);
  }
  if (inside < dst.size()) std::memset(&dst[inside], 0, dst.size() - inside);
}

constexpr std::size_t kStrip = 64;  // rows for which a run of columns is looked up once

}  // namespace

void shear_scalar(ConstView src, MutableView dst, std::span<const std::uint32_t> column_shift,
                  std::span<const std::uint32_t> row_shift) {
  for (std::size_t begin = 0; begin < dst.height(); begin += kStrip) {
    const std::size_t end = std::min(begin + kStrip, dst.height());
    for (std::size_t x = 0, next = 0; x < dst.width(); x = next) {
      while (next < dst.width() && column_shift[next] == column_shift[x]) ++next;
      for (std::size_t r = begin; r < end; ++r) {
        copy_run(src, r + column_shift[x], x + row_shift[r], {dst.row_ptr(r) + x, next - x});
      }
    }
  }
}

void shear(ConstView src, MutableView dst, std::span<const std::uint32_t> column_shift,
           std::span<const std::uint32_t> row_shift) {
  static const auto run = best(kShear);
  run(src, dst, column_shift, row_shift);
}

}  // namespace zel::kern
