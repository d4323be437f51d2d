#include "kernels/shear.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace zel::kern {
namespace {

// Short runs are copied as so many bytes, where there are as many: the next run overwrites the surplus.
constexpr std::size_t kShort = 64;

// Pixels c to c + count - 1 of row r of src to where rest, the rest of a row, begins.
void copy_run(ConstView src, std::size_t r, std::size_t c, std::size_t count, std::span<std::uint8_t> rest) {
  const std::size_t there = r < src.height() && c < src.width() ? src.width() - c : 0;
  if (count <= kShort && there >= kShort && rest.size() >= kShort) {
    std::memcpy(rest.data(), src.row_ptr(r) + c, kShort);
    return;
  }
  const std::size_t inside = std::min(count, there);
  if (inside != 0) std::memcpy(rest.data(), src.row_ptr(r) + c, inside);
  if (inside != count) std::memset(&rest[inside], 0, count - inside);
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
        copy_run(src, r + column_shift[x], x + row_shift[r], next - x, dst.row(r).subspan(x));
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
