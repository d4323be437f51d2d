#include <ZelIMP/descramble.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/image_view.hpp"
#include "descramble.hpp"
#include "kernels/deinterleave.hpp"
#include "kernels/flat_field.hpp"

unsigned char SWAP_SIDES = 1;
unsigned char Tarsis_7200 = 1;

namespace zel {
namespace {

// Where in an output row of row_bytes bytes each channel starts, and which way channel A goes.
struct Starts {
  std::int64_t a;
  int a_step;
  std::int64_t b;
};

Starts starts(ReadoutLayout layout, std::int64_t row_bytes) {
  const std::int64_t half = row_bytes / 2;
  if (layout.tarsis_7200) {
    if (layout.swap_sides) return {half - 1, -1, half};
    return {row_bytes - 1, -1, 0};
  }
  // KEPT: with the sides swapped both channels start in the middle, so that channel B overwrites channel A and the left
  // half is not written at all. No device is set up that way; the combination has a fixed result all the same: test
  // descramble_layouts.
  return {half, 1, layout.swap_sides ? half : 0};
}

// Writes below dst and beyond its end have no place and are dropped: an odd width lets a descending channel A end
// before its row, a lag that is negative or too large leads out of the image.
class Destination {
 public:
  Destination(const Readout& readout, std::int64_t row_bytes)
      : dst_(readout.dst), row_bytes_(row_bytes), size_(readout.rows * row_bytes) {}

  void put(std::int64_t row, std::int64_t position, int sample) const {
    const std::int64_t offset = row * row_bytes_ + position;
    if (offset >= 0 && offset < size_) dst_[offset] = static_cast<std::uint8_t>(sample);
  }

 private:
  std::uint8_t* dst_;
  std::int64_t row_bytes_;
  std::int64_t size_;
};

// Calibrate_ONE_Pixel; where a running index has left the tables at their lower end the sample passes unchanged.
int calibrated(std::uint8_t sample, const std::uint16_t* white, const std::uint16_t* black, std::int64_t index) {
  return index < 0 ? sample : Calibrate_ONE_Pixel(sample, white, black, static_cast<int>(index));
}

// The read-out sample by sample, for layouts whose halves overlap or are not whole.
void walk_grey(const Readout& in, std::int64_t lag, ReadoutLayout layout, const LevelTables& tables, LineChoice lines) {
  const Destination out(in, in.width);
  for (std::int64_t r = lines.first; r < in.rows; r += lines.step) {
    const std::uint8_t* const line = in.src + r * in.width;
    const std::int64_t row = r / lines.step;
    const bool has_a = r < in.rows - lines.step * lag;
    const bool has_b = r >= lines.step * lag;
    auto [a, a_step, b] = starts(layout, in.width);
    // KEPT: the tables are indexed by the position in the layout with SWAP_SIDES clear, so that swapping the sides
    // moves the pixels without changing their calibration: test cal_mono_table_index.
    std::int64_t a_index = layout.tarsis_7200 ? in.width - 1 : in.width / 2;
    std::int64_t b_index = 0;
    for (std::int64_t j = 0; j < in.width; j += 2) {
      if (has_a) {
        out.put(row, a, calibrated(line[j], tables.white[0], tables.black, a_index));
        a += a_step;
        a_index += a_step;
      }
      if (has_b && j + 1 < in.width) {
        out.put(row - lag, b++, calibrated(line[j + 1], tables.white[0], tables.black, b_index++));
      }
    }
  }
}

void walk_colour(const Readout& in, std::int64_t lag, ReadoutLayout layout, const LevelTables& tables, PlaneWalk walk) {
  const std::int64_t row_bytes = 3 * in.width;
  const Destination out(in, row_bytes);
  const std::array<int, 3> a_planes = walk == PlaneWalk::first_to_last ? std::array{0, 1, 2} : std::array{2, 1, 0};
  std::int64_t a_index = 0;
  std::int64_t b_index = 0;
  for (std::int64_t r = 0; r < in.rows; ++r) {
    const std::uint8_t* const line = in.src + r * row_bytes;
    auto [a, a_step, b] = starts(layout, row_bytes);
    // KEPT: only with SWAP_SIDES set do the indices start anew in every line, and that of channel A only with both
    // flags set; otherwise they run on over the whole image, or stay 0: test cal_colour_running_index.
    if (layout.swap_sides) {
      b_index = 0;
      if (layout.tarsis_7200) a_index = in.width - 1;
    }
    for (std::int64_t j = 0; j < in.width; j += 2) {
      // KEPT: channel A has no test against rows - lag, unlike in grey: its last lag lines land in the rows beyond the
      // result, where dst has room for them: test descramble_colour_tail_rows.
      for (const int plane : a_planes) {
        out.put(r, a, calibrated(line[plane * in.width + j], tables.white[plane], tables.black, a_index));
        a += a_step;
      }
      if (layout.tarsis_7200) --a_index;
      if (r >= lag && j + 1 < in.width) {
        for (int plane = 0; plane < 3; ++plane) {
          out.put(r - lag, b++, calibrated(line[plane * in.width + j + 1], tables.white[plane], tables.black, b_index));
        }
        ++b_index;
      }
    }
  }
}

// Corrects one half of a colour result whose pixels read plane 1, 2, 3; column c uses table entry first + c.
void correct_colour(MutableView half, const LevelTables& tables, std::size_t first) {
  constexpr std::size_t kStrip = 256;  // pixels
  std::array<std::uint16_t, 3 * kStrip> white;
  std::array<std::uint16_t, 3 * kStrip> black;
  const std::size_t pixels = half.width() / 3;
  for (std::size_t c = 0; c < pixels; c += kStrip) {
    const std::size_t n = std::min(kStrip, pixels - c);
    for (std::size_t i = 0; i < n; ++i) {
      for (std::size_t plane = 0; plane < 3; ++plane) {
        // Levels of 255 and 0 change no sample: a plane without a table passes as it is.
        const bool known = tables.white[plane] != nullptr;
        white[3 * i + plane] = known ? tables.white[plane][first + c + i] : std::uint16_t{255};
        black[3 * i + plane] = known ? tables.black[first + c + i] : std::uint16_t{0};
      }
    }
    kern::flat_field(half.part(0, 3 * c, half.height(), 3 * n), {white.data(), 3 * n}, {black.data(), 3 * n});
  }
}

// Whether both channels have whole halves of their own and every row has a place.
bool halves_are_regular(const Readout& in, std::int64_t lag, std::int64_t lines, ReadoutLayout layout) {
  return in.width % 2 == 0 && lag >= 0 && lag <= lines && (layout.tarsis_7200 || !layout.swap_sides);
}

ReadoutLayout exported_layout() { return {SWAP_SIDES != 0, Tarsis_7200 != 0}; }

}  // namespace

LineChoice line_choice(int halve_lines) {
  if (halve_lines == 0) return {1, 0};
  return {2, halve_lines == 1 ? 1 : 0};
}

std::uint32_t descrambled_rows(std::uint32_t rows, std::uint32_t lag, bool halving) {
  const std::int64_t left = std::int64_t{rows} - (halving ? 2 : 1) * std::int64_t{lag};
  return static_cast<std::uint32_t>(std::max<std::int64_t>(halving ? left / 2 : left, 0));
}

std::uint64_t level_entries(std::uint32_t rows, std::uint32_t width, bool colour, ReadoutLayout layout) {
  if (!colour || layout.swap_sides) return width;
  return std::max<std::uint64_t>(width, std::uint64_t{rows} * (width / 2));
}

void descramble_grey(const Readout& in, std::int64_t lag, ReadoutLayout layout, const LevelTables& tables,
                     LineChoice lines) {
  if (in.rows <= 0 || in.width <= 0) return;
  // A read-out of which every second line counts is one with fewer and longer lines.
  const std::int64_t count = (in.rows - lines.first + lines.step - 1) / lines.step;
  if (!halves_are_regular(in, lag, count, layout)) return walk_grey(in, lag, layout, tables, lines);

  const auto width = static_cast<std::size_t>(in.width);
  const std::size_t half = width / 2;
  const auto rows = static_cast<std::size_t>(count - lag);
  const ConstView raw(in.src + lines.first * in.width, width, static_cast<std::size_t>(count),
                      width * static_cast<std::size_t>(lines.step));
  const MutableView result(in.dst, width, rows);
  const bool a_is_left = layout.swap_sides;
  const MutableView a = result.part(0, a_is_left ? 0 : half, rows, half);
  const MutableView b = result.part(0, a_is_left ? half : 0, rows, half);
  kern::deinterleave_grey(raw, a, b, static_cast<std::size_t>(lag), layout.tarsis_7200);
  if (tables.white[0] != nullptr && tables.black != nullptr) {
    kern::flat_field(a, {tables.white[0] + half, half}, {tables.black + half, half});
    kern::flat_field(b, {tables.white[0], half}, {tables.black, half});
  }
}

void descramble_colour(const Readout& in, std::int64_t lag, ReadoutLayout layout, const LevelTables& tables,
                       PlaneWalk walk) {
  if (in.rows <= 0 || in.width <= 0) return;
  const bool running_index = tables.black != nullptr && !layout.swap_sides;
  if (!halves_are_regular(in, lag, in.rows, layout) || running_index) {
    return walk_colour(in, lag, layout, tables, walk);
  }

  const auto width = static_cast<std::size_t>(in.width);
  const std::size_t half = 3 * (width / 2);
  const auto rows = static_cast<std::size_t>(in.rows);
  const std::size_t b_rows = rows - static_cast<std::size_t>(lag);
  const MutableView result(in.dst, 3 * width, rows);
  const bool a_is_left = layout.swap_sides;
  const MutableView a = result.part(0, a_is_left ? 0 : half, rows, half);
  const MutableView b = result.part(0, a_is_left ? half : 0, b_rows, half);
  // Walking down turns the order of the bytes of a pixel round.
  const bool forward = (walk == PlaneWalk::first_to_last) != layout.tarsis_7200;
  kern::deinterleave_colour(ConstView(in.src, 3 * width, rows), a, b, static_cast<std::size_t>(lag), layout.tarsis_7200,
                            forward ? kern::PlaneOrder::forward : kern::PlaneOrder::backward);
  if (tables.black != nullptr) {
    correct_colour(a, tables, width / 2);
    correct_colour(b, tables, 0);
  }
}

}  // namespace zel

int Calibrate_ONE_Pixel(unsigned char sample, const unsigned short* white, const unsigned short* black, int index) {
  if (white == nullptr || black == nullptr) return sample;
  const int low = black[index];
  const int high = white[index];
  if (sample <= low) return 0;
  const int above = sample - low;
  if (low >= high) return above;
  const int level = above * 255 / (high - low);
  return level > 255 ? -1 : level;
}

unsigned int ZelIMPDescramble_mono(const unsigned char* src, unsigned int srcSize, unsigned char* dst,
                                   unsigned int* dstSize, int rows, unsigned int width, int lag) {
  *dstSize = srcSize - static_cast<unsigned int>(lag) * width;
  zel::descramble_grey({src, dst, rows, width}, lag, zel::exported_layout(), {}, {});
  return 0;
}

unsigned int ZelIMPDescramble_color(const unsigned char* src, unsigned int srcSize, unsigned char* dst,
                                    unsigned int* dstSize, int rows, unsigned int width, unsigned int lag) {
  *dstSize = srcSize - 3 * lag * width;
  zel::descramble_colour({src, dst, rows, width}, lag, zel::exported_layout(), {}, zel::PlaneWalk::first_to_last);
  return 0;
}

unsigned int ZelIMPDescrambleCal_mono(const unsigned char* src, unsigned int srcSize, unsigned char* dst,
                                      unsigned int* dstSize, int rows, unsigned int width, unsigned int lag,
                                      unsigned int /*spare2*/, unsigned int /*spare3*/, unsigned int /*spare4*/,
                                      unsigned int /*spare5*/, const unsigned short* whiteTable,
                                      const unsigned short* blackTable, int halveLines) {
  // KEPT: an unsigned comparison, so that a negative number of rows is no error here: test cal_mono_statuses.
  if (lag > static_cast<unsigned int>(rows)) return 1;
  // KEPT: the size formula takes no notice of halving; the image object works out the true size: test
  // cal_mono_halving.
  *dstSize = srcSize - lag * width;
  zel::descramble_grey({src, dst, rows, width}, lag, zel::exported_layout(), {{whiteTable}, blackTable},
                       zel::line_choice(halveLines));
  return 0;
}

unsigned int ZelIMPDescrambleCal_color(const unsigned char* src, unsigned int srcSize, unsigned char* dst,
                                       unsigned int* dstSize, int rows, int width, unsigned int lag,
                                       unsigned int /*spare2*/, unsigned int /*spare3*/, unsigned int /*spare4*/,
                                       unsigned int /*spare5*/, const unsigned short* whitePlane1,
                                       const unsigned short* whitePlane2, const unsigned short* whitePlane3,
                                       const unsigned short* blackTable) {
  *dstSize = srcSize - 3 * lag * static_cast<unsigned int>(width);
  // KEPT: channel A goes from the last plane to the first, the other way round than without calibration, so that with
  // both flags set the bytes of all pixels read plane 1, 2, 3: test cal_colour_plane_order.
  zel::descramble_colour({src, dst, rows, width}, lag, zel::exported_layout(),
                         {{whitePlane1, whitePlane2, whitePlane3}, blackTable}, zel::PlaneWalk::last_to_first);
  return 0;
}
