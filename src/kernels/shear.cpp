#include "kernels/shear.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace zel::kern {
namespace {

constexpr std::size_t kStrip = 64;  // rows for which a run of columns is looked up once

// Columns of dst that have the same shift, in the rows of one strip.
struct Run {
  std::size_t x, count;
  std::size_t shift;
  std::size_t begin, end;  // rows
};

void copy_run(ConstView src, MutableView dst, std::span<const std::uint32_t> row_shift, const Run& run) {
  for (std::size_t r = run.begin; r < run.end; ++r) {
    const std::size_t row = r + run.shift, c = run.x + row_shift[r];
    const std::size_t inside =
        row < src.height() && c < src.width() ? std::min(run.count, src.width() - c) : std::size_t{0};
    std::uint8_t* const to = dst.row_ptr(r) + run.x;
    if (inside != 0) std::memcpy(to, src.row_ptr(row) + c, inside);
    if (inside != run.count) std::memset(to + inside, 0, run.count - inside);
  }
}

// A run of up to kBlock columns, where there are that many in both images: the next run overwrites the surplus.
template <std::size_t kBlock>
void copy_blocks(ConstView src, MutableView dst, std::span<const std::uint32_t> row_shift, const Run& run) {
  for (std::size_t r = run.begin; r < run.end; ++r) {
    std::memcpy(dst.row_ptr(r) + run.x, src.row_ptr(r + run.shift) + run.x + row_shift[r], kBlock);
  }
}

void copy(ConstView src, MutableView dst, std::span<const std::uint32_t> row_shift, std::size_t most_shift,
          const Run& run) {
  const std::size_t block = run.count <= 16 ? 16 : run.count <= 32 ? 32 : 64;
  const bool inside = run.end + run.shift <= src.height() && run.x + most_shift + block <= src.width();
  if (!inside || run.count > block || run.x + block > dst.width()) {
    copy_run(src, dst, row_shift, run);
  } else if (block == 16) {
    copy_blocks<16>(src, dst, row_shift, run);
  } else if (block == 32) {
    copy_blocks<32>(src, dst, row_shift, run);
  } else {
    copy_blocks<64>(src, dst, row_shift, run);
  }
}

}  // namespace

void shear_scalar(ConstView src, MutableView dst, std::span<const std::uint32_t> column_shift,
                  std::span<const std::uint32_t> row_shift) {
  for (std::size_t begin = 0; begin < dst.height(); begin += kStrip) {
    const std::size_t end = std::min(begin + kStrip, dst.height());
    const std::size_t most_shift = *std::max_element(&row_shift[begin], &row_shift[begin] + (end - begin));
    for (std::size_t x = 0, next = 0; x < dst.width(); x = next) {
      while (next < dst.width() && column_shift[next] == column_shift[x]) ++next;
      copy(src, dst, row_shift, most_shift, {x, next - x, column_shift[x], begin, end});
    }
  }
}

void shear(ConstView src, MutableView dst, std::span<const std::uint32_t> column_shift,
           std::span<const std::uint32_t> row_shift) {
  static const auto run = best(kShear);
  run(src, dst, column_shift, row_shift);
}

}  // namespace zel::kern
