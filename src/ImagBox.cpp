// Module ImagBox: recognition parameters, grey levels, the line and its character boxes.

#include "ImagBox.hpp"

#include <ZelIMP/FontAPI.h>
#include <ZelIMP/ImagBox.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "base/checked.hpp"
#include "kernels/histogram.hpp"
#include "kernels/ink_profile.hpp"

unsigned int TYPE, MINCHAR_WIDTH, MINCHAR_HEIGHT, MAXCHAR_WIDTH, MAXCHAR_HEIGHT, MAXCHAR_HOLE, CHAR_SPACING, ACCEPTANCE,
    CHAR_DENSITY;
int NumCharFont;
CHAR_BOX box_char[128];
int num_box;

namespace zel {
namespace {

constexpr int kLevels = 256;
constexpr int kKeptEntry = 255;     // of the palette
constexpr int kTries = 5;           // of a line search, each with a threshold lower than the last
constexpr int kThresholdStep = 10;  // by so much
constexpr int kEdgeRows = 3;        // at either edge of an image do not count when its first inked column is sought
constexpr int kLead = 20;           // columns that the band of a line begins before that column
constexpr int kTrail = 80;          // columns that the band of ImageBox_Rows has from it on

// The levels of a normalised image as a view of its own size.
class NormalisedLevels {
 public:
  explicit NormalisedLevels(const GreyDib& image) : view_(image.pixels) {
    const std::uint8_t white = levels_of(image)[kKeptEntry];
    if (white == kKeptEntry) return;
    copy_.resize(checked_mul(view_.width(), view_.height()));
    for (std::size_t r = 0; r < view_.height(); ++r) {
      std::ranges::replace_copy(view_.row(r), &copy_[r * view_.width()], std::uint8_t{kKeptEntry}, white);
    }
    view_ = {copy_.data(), view_.width(), view_.height()};
  }

  ConstView view() const { return view_; }
  int width() const { return static_cast<int>(view_.width()); }
  int height() const { return static_cast<int>(view_.height()); }

  // Whether row y, which may lie outside, has ink in columns begin to end - 1 as far as there are any.
  bool row_has_ink(std::int64_t y, std::int64_t begin, std::int64_t end, int threshold) const {
    end = std::min<std::int64_t>(end, width());
    if (y < 0 || y >= height() || begin >= end) return false;
    const auto row = view_.row(static_cast<std::size_t>(y));
    return kern::ink_row(row.subspan(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin)),
                         threshold);
  }

 private:
  std::vector<std::uint8_t> copy_;  // used when white counts as another level
  ConstView view_;
};

// Which columns have ink between two rows, found out a block of columns at a time.
class InkedColumns {
 public:
  InkedColumns(const NormalisedLevels& levels, int threshold, int top, int bottom)
      : levels_(levels.view()), threshold_(threshold), flags_(levels_.width()) {
    look_at(top, bottom);
  }

  // From now on rows top to bottom - 1.
  void look_at(int top, int bottom) {
    if (top == top_ && bottom == bottom_) return;
    top_ = top, bottom_ = bottom;
    known_.assign(flags_.size() / kern::kInkBlock + 1, false);
  }

  bool operator[](std::size_t x) {
    const std::size_t block = x / kern::kInkBlock;
    if (!known_[block]) {
      const std::size_t begin = block * kern::kInkBlock, count = std::min(kern::kInkBlock, flags_.size() - begin);
      const std::size_t rows = top_ < bottom_ ? bottom_ - top_ : 0;
      kern::ink_columns(levels_.part(rows == 0 ? 0 : top_, begin, rows, count), threshold_,
                        std::span(flags_).subspan(begin, count));
      known_[block] = true;
    }
    return flags_[x] != 0;
  }

  // The first inked column; the width when there is none.
  int first() {
    int x = 0;
    while (x < width() && !(*this)[x]) ++x;
    return x;
  }

  // The last one from column 1 on; 0 when there is none.
  int last() {
    int x = width() - 1;
    while (x > 0 && !(*this)[x]) --x;
    return std::max(x, 0);
  }

  int width() const { return static_cast<int>(flags_.size()); }

 private:
  ConstView levels_;
  int threshold_;
  int top_ = -1, bottom_ = -1;
  std::vector<std::uint8_t> flags_;
  std::vector<bool> known_;
};

// The first column with ink away from the upper and lower edge; the width when there is none.
int first_inked_column(const NormalisedLevels& levels, int threshold) {
  return InkedColumns(levels, threshold, kEdgeRows, levels.height() - kEdgeRows).first();
}

struct FoundLine {
  int threshold;
  bool in_range;
  int start;   // column where the band begins
  int top;     // first inked row of the band, of those before the last row; 0 when there is none
  int bottom;  // last inked row of the band, of those after the first row; the height when there is none
};

// One try. band_end tells the column that ends the band.
FoundLine look_for_line(const NormalisedLevels& levels, int threshold, auto band_end) {
  const int height = levels.height(), first = first_inked_column(levels, threshold);
  FoundLine line = {threshold, false, first < levels.width() && first > kLead ? first - kLead : 0, 0, height};
  const std::int64_t end = band_end(line.start);
  const auto inked = [&](int y) { return levels.row_has_ink(y, line.start, end, threshold); };
  int y = 0;
  while (y < height - 1 && !inked(y)) ++y;
  if (y < height - 1) line.top = y;
  y = height - 1;
  while (y > 0 && !inked(y)) --y;
  if (y > 0) line.bottom = y;
  return line;
}

// Lowers the threshold until the line's height is in range. After the last try the threshold is lowered once more.
FoundLine find_line(const NormalisedLevels& levels, int threshold, const BoxParameters& parameters, auto band_end) {
  FoundLine line = {};
  for (int k = 0; k < kTries; ++k, threshold -= kThresholdStep) {
    line = look_for_line(levels, threshold, band_end);
    const auto height = static_cast<unsigned>(line.bottom - line.top);
    line.in_range = parameters.min_height <= height && height <= parameters.max_height;
    if (line.in_range) return line;
  }
  line.threshold = threshold;
  return line;
}

enum class End { none, closed, at_edge };

// Looks for a box from column x on and sets its left and right, or only left when it is given up.
End find_box(InkedColumns& inked, int x, const BoxParameters& parameters, CHAR_BOX& box) {
  const int width = inked.width();
  for (; x < width; ++x) {
    if (!inked[x]) continue;
    box.left = x;
    const auto wide_enough = [&](int right) { return static_cast<unsigned>(right - box.left) >= parameters.min_width; };
    unsigned blanks = 0;
    for (++x; x < width; ++x) {
      blanks = inked[x] ? 0 : blanks + 1;
      if (blanks > parameters.max_hole) break;
      if (blanks == 0 || !wide_enough(x)) continue;
      box.right = x;
      return End::closed;
    }
    if (x < width) continue;
    if (!wide_enough(width)) return End::none;
    box.right = width;
    return End::at_edge;
  }
  return End::none;
}

// Sets the rows of a box between left and right. What is not found stays.
void fit_rows(CHAR_BOX& box, const NormalisedLevels& levels, int threshold, unsigned min_height) {
  const int height = levels.height();
  const auto inked = [&](int y) { return levels.row_has_ink(y, box.left, box.right, threshold); };
  int y = box.top;
  while (y > 0 && inked(y)) --y;
  while (y < height && !inked(y)) ++y;
  if (y < height) box.top = y;
  y = box.bottom;
  while (y < height - 1 && inked(y)) ++y;
  const std::int64_t lowest = std::int64_t{box.top} + min_height;
  while (y >= lowest && !inked(y)) --y;
  if (y >= lowest) box.bottom = y;
}

// Boxes from column start on; box has the rows of the line in all of its boxes. Returns their number.
int scan_boxes(const NormalisedLevels& levels, const FoundLine& line, const BoxParameters& parameters,
               std::array<CHAR_BOX, 128>& box) {
  InkedColumns inked(levels, line.threshold, line.top, line.bottom);
  int x = line.start;
  for (int i = 0;; ++i) {
    const End end = find_box(inked, x, parameters, box[i]);
    if (end == End::none) return i;
    // KEPT: keeps the rows of the box before it, or of the line, and is not followed by another one: test
    // boxes_last_at_edge.
    if (end == End::at_edge) return i + 1;
    x = wrap_sub(wrap_add(box[i].left, static_cast<int>(parameters.spacing)), 5);
    // KEPT: a box behind which no other would have room does not count, however complete it is. Lines need blank
    // paper behind the last character: test boxes_last_without_successor.
    if (x < 0 || x >= levels.width()) return i;
    fit_rows(box[i], levels, line.threshold, parameters.min_height);
    if (i == 127) return 128;
    box[i + 1].top = box[i].top;
    box[i + 1].bottom = box[i].bottom;
    inked.look_at(std::min(box[i].top, line.top), std::max(box[i].bottom, line.bottom));
  }
}

// Leaves what it does not find in the boxes as it is; all get the rows of the line.
void refill(Boxes& boxes, const GreyDib& image, const BoxParameters& parameters) {
  const int threshold = normalise(image, parameters.density);
  const NormalisedLevels levels(image);
  const auto band_end = [&](int start) {
    return std::min(static_cast<unsigned>(start) + 2 * parameters.spacing, static_cast<unsigned>(levels.width()));
  };
  const FoundLine line = find_line(levels, threshold, parameters, band_end);
  for (CHAR_BOX& box : boxes.box) box.top = line.top, box.bottom = line.bottom;
  boxes.in_range = line.in_range;
  boxes.count = scan_boxes(levels, line, parameters, boxes.box);
}

// The pixels that lie in a column or row of an image whose rows are as far apart as a caller says.
class Steps {
 public:
  Steps(const GreyDib& image, unsigned width)
      : levels_(levels_of(image)),
        pixels_(image.pixels.row_ptr(0)),
        bytes_(std::uint64_t{image.pixels.stride()} * image.pixels.height()),
        width_(width),
        stride_((width + 3) & ~3u) {}

  // Pixels of column x; those further up are outside.
  std::uint64_t rows(unsigned x) const {
    if (x >= width_ || x >= bytes_) return 0;
    return stride_ == 0 ? 0 : (bytes_ - x - 1) / stride_ + 1;
  }

  // Pixels of row y.
  std::uint64_t columns(unsigned y) const {
    const std::uint64_t begin = std::uint64_t{y} * stride_;
    return begin < bytes_ ? std::min<std::uint64_t>(width_, bytes_ - begin) : 0;
  }

  unsigned level(std::uint64_t x, std::uint64_t y) const { return levels_[pixels_[y * stride_ + x]]; }

 private:
  Levels levels_;
  const std::uint8_t* pixels_;
  std::uint64_t bytes_;
  unsigned width_;
  unsigned stride_;
};

// A stretch of rows with and without ink.
struct Run {
  int start;
  int end;
  bool inked;
};

// The runs from row top to the last row, of which there are at most eight.
std::vector<Run> runs_of_rows(int top, int height, auto inked) {
  constexpr std::size_t kMostRuns = 8;
  std::vector<Run> runs = {{top, height - 1, inked(top)}};
  if (top >= height) return runs;
  // Rows before the first one have no ink.
  for (int y = std::max(top, -1) + 1; y < height - 1; ++y) {
    if (inked(y) == runs.back().inked) continue;
    if (runs.size() == kMostRuns) break;
    runs.back().end = y;
    runs.push_back({y, height - 1, !runs.back().inked});
  }
  return runs;
}

}  // namespace

BoxParameters current_parameters() {
  return {MINCHAR_WIDTH, MINCHAR_HEIGHT, MAXCHAR_WIDTH, MAXCHAR_HEIGHT, MAXCHAR_HOLE, CHAR_SPACING, CHAR_DENSITY};
}

int normalise(const GreyDib& image, unsigned density) {
  const Levels levels = levels_of(image);
  std::array<std::uint32_t, kLevels> values, counts = {};
  kern::histogram(image.pixels, values);
  for (int v = 0; v < kLevels; ++v) counts[levels[v]] += values[v];

  const auto width = static_cast<std::uint32_t>(image.pixels.width());
  const auto height = static_cast<std::uint32_t>(image.pixels.height());
  const std::uint32_t limit = height * width * density / 100;  // modulo 2^32
  int threshold = 0;
  for (std::uint32_t sum = counts[0]; threshold < kLevels - 1 && sum <= limit;) sum += counts[++threshold];

  bool changed = false;
  for (int v = 0; v < kLevels; ++v) changed = changed || levels[v] != v;
  for (std::size_t r = 0; changed && r < height; ++r) {
    for (std::uint8_t& pixel : image.pixels.row(r)) pixel = levels[pixel];
  }
  // KEPT: the last entry stays as it was. Where it is not white, pixels of 255 count as its level from now on, and take
  // it when the image is normalised again: test normalize_last_entry.
  const std::size_t entries = std::min<std::size_t>(image.palette_entries(), kKeptEntry);
  for (std::size_t i = 0; i < entries; ++i) {
    std::memset(image.palette() + i * image.facts.entry_bytes, static_cast<int>(i), 3);
  }
  return threshold;
}

Line find_string(const GreyDib& image, const BoxParameters& parameters) {
  const int threshold = normalise(image, parameters.density);
  const NormalisedLevels levels(image);
  const int band_end = levels.width() < kLead ? levels.width() : levels.width() - kLead;
  const FoundLine found = find_line(levels, threshold, parameters, [&](int) { return band_end; });
  Line line = {found.threshold, found.in_range, false, 0, 0, found.top, found.bottom};
  InkedColumns inked(levels, line.threshold, line.top, line.bottom);
  const int left = inked.first();
  if (left == levels.width()) return line;
  line.inked = true;
  line.left = left;
  line.right = inked.last();
  return line;
}

unsigned char* cut_string(const GreyDib& image, const Line& line) {
  if (!line.inked) return nullptr;
  // KEPT: without the last inked column and row. A digit that ends the line is a column narrower in its box, and a
  // line one pixel wide has no columns: test string_without_last_column_and_row.
  const int width = line.right - line.left, height = line.bottom - line.top;
  unsigned char* const dib = new_grey_dib(image, width, height);
  if (dib == nullptr) return nullptr;
  for (int y = 0; y < height; ++y) {
    std::copy_n(image.pixels.row_ptr(line.top + y) + line.left, width,
                dib + image.facts.pixels_at() + y * dib_stride(width));
  }
  return dib;
}

Boxes find_boxes(const GreyDib& image, const BoxParameters& parameters) {
  Boxes boxes = {};
  refill(boxes, image, parameters);
  return boxes;
}

}  // namespace zel

using namespace zel;

namespace {

// Widths and heights of the slots in use, as far as the host wants them looked at.
void take_sizes_from_font() {
  const auto larger = [](unsigned& most, unsigned size) { most = std::max(most, size); };
  const auto smaller = [](unsigned& least, unsigned size) { least = least == 0 ? size : std::min(least, size); };
  const int slots = std::clamp(NumCharFont, 0, static_cast<int>(std::size(ActualFont.slots)));
  for (const FontSlot& slot : std::span(ActualFont.slots).first(slots)) {
    if (slot.samples == 0) continue;
    const auto height = static_cast<unsigned>(slot.height);
    larger(MAXCHAR_WIDTH, slot.width);
    larger(MAXCHAR_HEIGHT, height);
    smaller(MINCHAR_WIDTH, slot.width);
    smaller(MINCHAR_HEIGHT, height);
  }
  MINCHAR_WIDTH = MINCHAR_WIDTH * 10 / 15;
  MINCHAR_HEIGHT = MINCHAR_HEIGHT * 10 / 15;
}

struct Sizes {
  unsigned min_width, min_height, max_width, max_height;
};

void set_sizes(const Sizes& sizes) {
  MINCHAR_WIDTH = sizes.min_width;
  MINCHAR_HEIGHT = sizes.min_height;
  MAXCHAR_WIDTH = sizes.max_width;
  MAXCHAR_HEIGHT = sizes.max_height;
}

void set_limits(unsigned hole, unsigned acceptance, unsigned density) {
  MAXCHAR_HOLE = hole;
  ACCEPTANCE = acceptance;
  CHAR_DENSITY = density;
}

}  // namespace

int ImageBox_Init(unsigned int type) {
  TYPE = type;
  // KEPT: types 0, 1 and from 5 on leave CHAR_SPACING as the type before them set it: test init_table.
  switch (type) {
    case 0:
      set_sizes({28, 40, 33, 50});
      set_limits(4, 50, 20);
      break;
    case 1:
      // KEPT: a second call shrinks the least sizes by a third again: test init_from_font.
      take_sizes_from_font();
      set_limits(3, 9, 20);
      break;
    case 2:
      set_sizes({29, 51, 33, 54});
      set_limits(5, 0, 10);
      CHAR_SPACING = 50;
      break;
    case 3:
      set_sizes({3, 3, 100, 100});
      set_limits(10, 0, 10);
      CHAR_SPACING = 100;
      break;
    case 4:
      set_sizes({10, 19, 15, 24});
      set_limits(2, 0, 20);
      CHAR_SPACING = 20;
      break;
    default:
      set_sizes({3, 3, 60, 100});
      set_limits(3, 50, 20);
  }
  return 0;
}

int ImageBox_Normalize(char* dib) {
  const auto image = bottom_up_dib(dib);
  return image ? normalise(*image, CHAR_DENSITY) : 255;
}

int ImageBox_ver_vertical(char* dib, unsigned int x, unsigned int y0, unsigned int y1, unsigned int width,
                          unsigned int threshold) {
  const auto image = grey_dib(dib);
  if (!image) return 0;
  const Steps steps(*image, width);
  const std::uint64_t end = std::min<std::uint64_t>(y1, steps.rows(x));
  int ink = 0;
  for (std::uint64_t y = y0; y < end && ink < 2; ++y) ink += steps.level(x, y) < threshold ? 1 : 0;
  return ink > 1 ? 1 : 0;
}

int ImageBox_ver_horizzontal(char* dib, unsigned int x0, unsigned int x1, unsigned int y, unsigned int width,
                             unsigned int threshold) {
  const auto image = grey_dib(dib);
  if (!image) return 0;
  const Steps steps(*image, width);
  const std::uint64_t end = std::min<std::uint64_t>(x1, steps.columns(y));
  int ink = 0;
  for (std::uint64_t x = x0; x < end && ink < 2; ++x) ink += steps.level(x, y) < threshold ? 1 : 0;
  return ink > 1 ? 1 : 0;
}

int ImageBox_get_vertical(char* dib, unsigned int x, unsigned int y0, unsigned int y1, unsigned int width) {
  const auto image = grey_dib(dib);
  if (!image || y1 <= y0) return 0;
  const Steps steps(*image, width);
  const std::uint64_t end = std::clamp<std::uint64_t>(steps.rows(x), y0, y1);
  auto sum = static_cast<unsigned>((y1 - end) * 255);  // what lies outside is white
  for (std::uint64_t y = y0; y < end; ++y) sum += steps.level(x, y);
  return static_cast<int>(sum);
}

int ImageBox_Box(char* dib) try {
  const auto image = bottom_up_dib(dib);
  if (!image) return 0;
  Boxes boxes = {std::to_array(box_char), 0, false};
  refill(boxes, *image, current_parameters());
  std::ranges::copy(boxes.box, box_char);
  // KEPT: num_box stays what an earlier line left when this one has no boxes; only the result tells: test
  // boxes_none.
  if (boxes.count == 0) return 0;
  num_box = boxes.count;
  return 1;
} catch (const std::bad_alloc&) {
  return 0;
}

char* Extract_string(char* dib) try {
  const auto image = bottom_up_dib(dib);
  if (!image) return nullptr;
  return reinterpret_cast<char*>(cut_string(*image, find_string(*image, current_parameters())));
} catch (const std::bad_alloc&) {
  return nullptr;
}

int ImageBox_Rows(char* dib, int* top, int* bottom) try {
  const auto image = bottom_up_dib(dib);
  if (!image) return 0;
  const int threshold = normalise(*image, CHAR_DENSITY);
  const NormalisedLevels levels(*image);
  const int height = levels.height(), first = first_inked_column(levels, threshold);
  const int start = first < levels.width() && first > kLead ? first - kLead : 0;
  const auto inked = [&](int y) { return levels.row_has_ink(y, start, start + kLead + kTrail, threshold); };
  for (const Run& run : runs_of_rows(*top, height, inked)) {
    if (!run.inked) continue;
    const int run_height = run.end - run.start;
    if (static_cast<unsigned>(run_height) <= MINCHAR_HEIGHT) continue;
    *top = std::max(run.start - run_height / 3, 0);
    *bottom = std::min(run.end + run_height / 3, height - 1);
    return 1;
  }
  return 0;
} catch (const std::bad_alloc&) {
  return 0;
}
