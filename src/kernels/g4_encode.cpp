#include "kernels/g4_encode.hpp"

#include <utility>
#include <vector>

#include "kernels/run_scan.hpp"
#include "kernels/t6_codes.hpp"

namespace zel::kern {
namespace {

// Appends code words, first bit in the top bit of a byte. Never touches a byte beyond the last one it is given bits
// for.
class BitWriter {
 public:
  explicit BitWriter(std::uint8_t* dst) : begin_(dst), next_(dst) {}

  // length is at most 32.
  void put(CodeWord code) {
    pending_ = pending_ << code.length | code.bits;
    count_ += code.length;
    if (count_ >= 32) {
      count_ -= 32;
      store(static_cast<std::uint32_t>(pending_ >> count_));
    }
  }

  std::size_t finish() {
    while (count_ > 0) {
      const std::uint64_t byte = count_ >= 8 ? pending_ >> (count_ - 8) : pending_ << (8 - count_);
      *next_++ = static_cast<std::uint8_t>(byte);
      count_ -= 8;
    }
    return static_cast<std::size_t>(next_ - begin_);
  }

 private:
  void store(std::uint32_t word) {
    for (int shift = 24; shift >= 0; shift -= 8) *next_++ = static_cast<std::uint8_t>(word >> shift);
  }

  std::uint8_t* begin_;
  std::uint8_t* next_;
  std::uint64_t pending_ = 0;  // its low count_ bits are still to be stored
  int count_ = 0;
};

void put_run(BitWriter& out, std::int32_t run, bool white) {
  const auto& makeup = white ? kWhiteMakeup : kBlackMakeup;
  const auto& terminating = white ? kWhiteTerminating : kBlackTerminating;
  for (; run > kLongestRun; run -= kLongestMakeup) out.put(makeup.back());
  if (run >= 64) out.put(makeup[static_cast<std::size_t>(run / 64 - 1)]);
  out.put(terminating[static_cast<std::size_t>(run % 64)]);
}

// One row. line: its pixels, changes: their changes; reference: the row above, null before the first row.
void put_row(BitWriter& out, std::span<const std::uint8_t> line, const std::int32_t* changes,
             const std::uint8_t* reference, const std::int32_t* reference_changes) {
  const auto width = static_cast<std::int32_t>(line.size());
  const auto* a = changes;            // *a: first change right of a0
  const auto* b = reference_changes;  // *b: first change of the reference line right of a0
  for (std::int32_t a0 = -1; a0 < width;) {
    const std::uint8_t colour = a0 < 0 ? 255 : line[static_cast<std::size_t>(a0)];
    const std::int32_t a1 = *a;
    while (*b <= a0 && *b < width) ++b;
    // b1 is a change to another colour than that of a0. Of two neighbouring changes one is.
    const auto* const b1 = *b < width && reference[*b] == colour ? b + 1 : b;
    const std::int32_t b2 = b1[1];
    const std::int32_t distance = *b1 - a1;
    if (a1 > b2) {
      out.put(kPass);
      a0 = b2;
    } else if (distance >= -3 && distance <= 3) {
      out.put(kVertical[static_cast<std::size_t>(distance + 3)]);
      a0 = a1;
      a += 1;
    } else {
      const std::int32_t a2 = a[1];
      const bool white = colour == 255;
      out.put(kHorizontal);
      put_run(out, a0 < 0 ? a1 : a1 - a0, white);
      put_run(out, a2 - a1, !white);
      a0 = a2;
      a += 2;
    }
  }
}

std::size_t encode(RunScanFn* scan, ConstView src, std::span<std::uint8_t> dst) {
  BitWriter out(dst.data());
  std::vector<std::int32_t> changes(src.width() + kSentinels);
  // Before the first row: an imaginary white line, which has no change.
  std::vector<std::int32_t> reference_changes(src.width() + kSentinels, static_cast<std::int32_t>(src.width()));
  const std::uint8_t* reference = nullptr;
  for (std::size_t r = 0; r < src.height(); ++r) {
    scan(src.row(r), changes);
    put_row(out, src.row(r), changes.data(), reference, reference_changes.data());
    reference = src.row_ptr(r);
    std::swap(changes, reference_changes);
  }
  out.put(kEofb);
  return out.finish();
}

}  // namespace

std::size_t g4_encode_scalar(ConstView src, std::span<std::uint8_t> dst) { return encode(run_scan_scalar, src, dst); }
std::size_t g4_encode_sse2(ConstView src, std::span<std::uint8_t> dst) { return encode(run_scan_sse2, src, dst); }
std::size_t g4_encode_avx2(ConstView src, std::span<std::uint8_t> dst) { return encode(run_scan_avx2, src, dst); }

std::size_t g4_encode(ConstView src, std::span<std::uint8_t> dst) {
  static const auto run = best(kG4Encode);
  return run(src, dst);
}

}  // namespace zel::kern
