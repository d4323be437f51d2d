// Module ImagBox: boxes decoded by hole patterns, or by trained templates.

#include <ZelIMP/FontAPI.h>
#include <ZelIMP/ImagBox.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>

#include "FontAPI.hpp"
#include "ImagBox.hpp"
#include "kernels/histogram.hpp"
#include "kernels/second_darkest.hpp"

unsigned char MicroholesFont[350] = {
#include "hole_digits.inc"
};

namespace zel {
namespace {

constexpr int kMostBoxes = 128;
constexpr std::int64_t kMostText = 127;  // characters of a text
constexpr char kUnknown = '?';

constexpr int kColumns = 5;
constexpr int kRows = 7;
constexpr int kCells = kColumns * kRows;
constexpr std::int64_t kWindow = kern::kSide;  // pixels of a cell that are looked at, each way
constexpr int kWhite = 255;

// A trial shifts the box by this and lightens the threshold by a step of kLighter, the shifts first.
constexpr int kFirstAcross = -2, kLastAcross = 3;
constexpr int kFirstDown = -1, kLastDown = 1;
constexpr int kShiftsDown = kLastDown - kFirstDown + 1;
constexpr int kShifts = (kLastAcross - kFirstAcross + 1) * kShiftsDown;
constexpr int kLighter = 20, kMostLighter = 60;
constexpr int kBelowPaper = 40;  // a hole is darker than the level that a fifth of the box does not exceed by so much

std::int64_t width_of(const CHAR_BOX& box) { return std::int64_t{box.right} - box.left; }
std::int64_t height_of(const CHAR_BOX& box) { return std::int64_t{box.bottom} - box.top; }

// A rectangle of an image whose first pixel is at (left, top), anywhere; what lies outside of the image is white.
struct Window {
  std::int64_t left, top, width, height;

  // The part that is inside, perhaps empty.
  ConstView inside(ConstView image) const {
    const auto w = static_cast<std::int64_t>(image.width()), h = static_cast<std::int64_t>(image.height());
    const std::int64_t x0 = std::clamp<std::int64_t>(left, 0, w), x1 = std::clamp<std::int64_t>(left + width, x0, w);
    const std::int64_t y0 = std::clamp<std::int64_t>(top, 0, h), y1 = std::clamp<std::int64_t>(top + height, y0, h);
    const auto size = [](std::int64_t n) { return static_cast<std::size_t>(n); };
    return image.part(size(y0), size(x0), size(y1 - y0), size(x1 - x0));
  }
};

// How often each value occurs in a window that moves over an image.
class WindowCounts {
 public:
  WindowCounts(ConstView image, const Window& window) : image_(image), window_(window) {
    kern::histogram(window.inside(image), counts_);
  }

  // Moves the window, at a cost of what enters and leaves it.
  void move_to(std::int64_t left, std::int64_t top) {
    const std::int64_t across = left - window_.left, up = top - window_.top;
    count({window_.left, window_.top, across, window_.height}, kLeaves);
    count({window_.left + window_.width, window_.top, across, window_.height}, kEnters);
    const std::int64_t lower = std::min(top, window_.top), rows = std::abs(up);
    count({left, lower, window_.width, rows}, up > 0 ? kLeaves : kEnters);
    count({left, lower + window_.height, window_.width, rows}, up > 0 ? kEnters : kLeaves);
    window_.left = left;
    window_.top = top;
  }

  // The lowest level such that more than a fifth of the window's pixels, those outside of the image included, do not
  // exceed it.
  int paper() const {
    const bool empty = window_.width < 1 || window_.height < 1;
    const auto area =
        empty ? 0 : static_cast<std::uint64_t>(window_.width) * static_cast<std::uint64_t>(window_.height);
    int level = 0;
    for (std::uint64_t sum = counts_[0]; level < kWhite && sum <= area / 5;) sum += counts_[++level];
    return level;
  }

 private:
  static constexpr std::uint32_t kEnters = 1, kLeaves = ~0u;  // what is added, modulo 2^32

  void count(const Window& part, std::uint32_t weight) {
    const ConstView pixels = part.inside(image_);
    for (std::size_t y = 0; y < pixels.height(); ++y) {
      for (const std::uint8_t pixel : pixels.row(y)) counts_[pixel] += weight;
    }
  }

  ConstView image_;
  Window window_;
  std::array<std::uint32_t, 256> counts_;
};

// The second darkest pixel of 4 x 4, of which those outside of a window that moves and of the image are white.
class DarkPixels {
 public:
  // region: all that the window moves over.
  DarkPixels(ConstView image, const Window& region) : image_(image) {
    const ConstView pixels = region.inside(image);
    if (pixels.width() < kern::kSide || pixels.height() < kern::kSide) return;
    const std::size_t width = pixels.width() - kern::kSide + 1, height = pixels.height() - kern::kSide + 1;
    memory_.resize(width * height);
    ready_ = {memory_.data(), width, height};
    left_ = std::max<std::int64_t>(region.left, 0);
    top_ = std::max<std::int64_t>(region.top, 0);
    kern::second_darkest(pixels, {memory_.data(), width, height});
  }

  // cell: as much of the 4 x 4 pixels as the window has.
  std::uint8_t second(const Window& cell) const {
    const std::int64_t x = cell.left - left_, y = cell.top - top_;
    const bool whole = cell.width == kWindow && cell.height == kWindow;
    if (whole && x >= 0 && y >= 0 && x < static_cast<std::int64_t>(ready_.width()) &&
        y < static_cast<std::int64_t>(ready_.height())) {
      return ready_.row_ptr(static_cast<std::size_t>(y))[x];
    }
    return among(cell.inside(image_));
  }

 private:
  static std::uint8_t among(ConstView pixels) {
    std::uint8_t first = kWhite, second = kWhite;
    for (std::size_t y = 0; y < pixels.height(); ++y) {
      for (const std::uint8_t pixel : pixels.row(y)) {
        second = std::min(second, std::max(first, pixel));
        first = std::min(first, pixel);
      }
    }
    return second;
  }

  ConstView image_;
  std::vector<std::uint8_t> memory_;
  ConstView ready_;  // for the windows that lie in region and image, the first of which is at (left_, top_)
  std::int64_t left_ = 0, top_ = 0;
};

// A box shifted, without a threshold yet.
struct Shifted {
  Window window;
  int threshold;  // that of the first trial
  // Of each cell the second darkest pixel: the cell is a hole when more than one is below the threshold.
  std::array<std::uint8_t, kCells> second_darkest;
};

// The windows of the cells in a box. The first row of the grid is the lowest of the picture, and the last of a pattern.
class Grid {
 public:
  explicit Grid(const CHAR_BOX& box) : width_(width_of(box)), height_(height_of(box)) {
    for (int c = 0; c < kColumns; ++c) columns_[c] = (50 + c * (width_ * 20)) / 100 + 1;
    for (int r = 0; r < kRows; ++r) rows_[r] = (50 + r * (height_ * 100 / kRows)) / 100 + 1;
  }

  // Of cell i of the pattern, in a box that begins at (left, top). What is beyond the box is not part of it.
  Window cell(int i, std::int64_t left, std::int64_t top) const {
    const std::int64_t column = columns_[i % kColumns], row = rows_[kRows - 1 - i / kColumns];
    return {left + column, top + row, std::min(width_ - column, kWindow), std::min(height_ - row, kWindow)};
  }

 private:
  std::int64_t width_, height_;
  std::array<std::int64_t, kColumns> columns_;
  std::array<std::int64_t, kRows> rows_;
};

// Looks at a box with one shift after the other.
class Sampler {
 public:
  Sampler(ConstView image, const CHAR_BOX& box)
      : box_(window(box, 0, 0)),
        grid_(box),
        counts_(image, window(box, kFirstAcross, kFirstDown)),
        dark_(image, {box_.left + kFirstAcross, box_.top + kFirstDown, box_.width + kLastAcross - kFirstAcross,
                      box_.height + kLastDown - kFirstDown}) {}

  Shifted look(int across, int down) {
    Shifted shifted;
    shifted.window = {box_.left + across, box_.top + down, box_.width, box_.height};
    counts_.move_to(shifted.window.left, shifted.window.top);
    shifted.threshold = counts_.paper() - kBelowPaper;
    for (int i = 0; i < kCells; ++i) {
      shifted.second_darkest[i] = dark_.second(grid_.cell(i, shifted.window.left, shifted.window.top));
    }
    return shifted;
  }

  const Grid& grid() const { return grid_; }

 private:
  static Window window(const CHAR_BOX& box, int across, int down) {
    return {std::int64_t{box.left} + across, std::int64_t{box.top} + 1 + down, width_of(box), height_of(box)};
  }

  Window box_;
  Grid grid_;
  WindowCounts counts_;
  DarkPixels dark_;
};

// A pattern of cells, a bit each, the first in bit 0.
using Pattern = std::uint64_t;

Pattern holes(const Shifted& shifted, int threshold) {
  Pattern pattern = 0;
  for (int i = 0; i < kCells; ++i) pattern |= Pattern{shifted.second_darkest[i] < threshold} << i;
  return pattern;
}

// The built-in digits, or what a host made of them: cells other than 0 and 1 are unlike any hole.
class Glyphs {
 public:
  explicit Glyphs(std::span<const std::uint8_t, 350> cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const Pattern bit = Pattern{1} << i % kCells;
      if (cells[i] == 1) holes_[i / kCells] |= bit;
      if (cells[i] > 1) neither_[i / kCells] |= bit;
    }
  }

  int differing(int digit, Pattern pattern) const { return std::popcount((pattern ^ holes_[digit]) | neither_[digit]); }

 private:
  std::array<Pattern, 10> holes_ = {};
  std::array<Pattern, 10> neither_ = {};
};

// The first digit that differs in fewer than two cells, or else what differs least.
struct Match {
  char character;
  int differing;
};

Match match(const Glyphs& glyphs, Pattern pattern) {
  int least = kCells;
  for (int digit = 0; digit < 10; ++digit) {
    const int differing = glyphs.differing(digit, pattern);
    // KEPT: one wrong cell is as good as none, so a digit may go before a later one that agrees in all cells: test
    // holes_lower_digit_wins.
    if (differing < 2) return {static_cast<char>('0' + digit), differing};
    least = std::min(least, differing);
  }
  return {kUnknown, least};
}

DecodedHole told(const Grid& grid, const Shifted& shifted, Pattern pattern, const Match& found) {
  DecodedHole hole = {found.character, {}, {}, {}, found.differing};
  for (int i = 0; i < kCells; ++i) {
    const Window cell = grid.cell(i, shifted.window.left, shifted.window.top);
    hole.pattern[i] = pattern >> i & 1;
    hole.cell_left[i] = static_cast<int>(cell.left);
    hole.cell_row[i] = static_cast<int>(cell.top);
  }
  return hole;
}

DecodedHole decode(ConstView image, const CHAR_BOX& box, const Glyphs& glyphs) {
  Sampler sampler(image, box);
  std::array<Shifted, kShifts> shifts;
  DecodedHole nearest = {};
  nearest.differing = kCells + 1;
  for (int lighter = 0; lighter <= kMostLighter; lighter += kLighter) {
    for (int s = 0; s < kShifts; ++s) {
      Shifted& shifted = shifts[s];
      if (lighter == 0) shifted = sampler.look(kFirstAcross + s / kShiftsDown, kFirstDown + s % kShiftsDown);
      const Pattern pattern = holes(shifted, shifted.threshold + lighter);
      const Match found = match(glyphs, pattern);
      if (found.character != kUnknown) return told(sampler.grid(), shifted, pattern, found);
      if (found.differing < nearest.differing) nearest = told(sampler.grid(), shifted, pattern, found);
    }
  }
  return nearest;
}

}  // namespace

std::vector<DecodedHole> decode_holes(const GreyDib& image, std::span<const CHAR_BOX> boxes,
                                      std::span<const std::uint8_t, 350> glyphs) {
  const Glyphs patterns(glyphs);
  std::vector<DecodedHole> decoded;
  decoded.reserve(boxes.size());
  for (const CHAR_BOX& box : boxes) decoded.push_back(decode(image.pixels, box, patterns));
  return decoded;
}

std::string spaced(std::span<const char> characters, std::span<const CHAR_BOX> boxes) {
  const auto n = static_cast<std::int64_t>(boxes.size());
  const auto left = [&](std::int64_t i) { return std::int64_t{boxes[static_cast<std::size_t>(i)].left}; };
  // KEPT: divided by the boxes, not by the distances between them, so that two to four characters that stand evenly are
  // written with spaces: test spaces_by_pitch.
  const std::int64_t pitch = n > 1 ? (left(n - 1) - left(0)) / n : 0;
  std::string text;
  for (std::int64_t i = 0; i < n; ++i) {
    text.push_back(characters[static_cast<std::size_t>(i)]);
    if (i + 1 == n || pitch < 1) continue;
    const std::int64_t distance = left(i + 1) - left(i);
    if (distance > pitch + pitch / 3) text.append(static_cast<std::size_t>(std::min(distance / pitch, kMostText)), ' ');
  }
  return text.substr(0, kMostText);
}

namespace {

// A template of the trained font. Its deviation is stored as rows as far apart as those of the image.
struct Template {
  unsigned char* dib;
  ConstView image;  // without rows when they lie top to bottom
  std::span<const std::uint8_t> deviation;
  unsigned code;

  // How far (x, y) may be off.
  int allowed(std::size_t x, std::size_t y) const {
    const std::size_t at = y * image.stride() + x;
    return at < deviation.size() ? deviation[at] : 0;
  }
};

// None for a slot without samples or images.
std::optional<Template> template_of(const FontSlot& slot) {
  if (slot.samples == 0 || slot.image == nullptr || slot.variance == nullptr) return {};
  const auto facts = facts_within(slot.image, slot.size);
  const MutableView image = pixels_within(slot.image, slot.size);
  if (!facts || (image.empty() && facts->height > 0)) return {};
  return Template{slot.image, image, tail_within(slot.variance, slot.size), slot.code};
}

std::uint32_t square(int difference) { return static_cast<std::uint32_t>(difference * difference); }

// Of a row of the box beyond the template, where there is paper in the image.
std::uint32_t ink_beyond(ConstView pixels) {
  std::uint32_t sum = 0;
  for (std::size_t y = 0; y < pixels.height(); ++y) {
    for (const std::uint8_t pixel : pixels.row(y)) sum += square(kWhite - pixel);
  }
  return sum;
}

// The squares of what the box differs from the template beyond its deviation, modulo 2^32; what one of them has not is
// white.
std::uint32_t distance(const Template& font, ConstView image, const CHAR_BOX& box) {
  const auto rows = static_cast<std::int64_t>(font.image.height());
  const auto columns = static_cast<std::int64_t>(font.image.width());
  const std::int64_t width = std::max<std::int64_t>(width_of(box), 0),
                     height = std::max<std::int64_t>(height_of(box), 0);
  const Window common = {box.left, box.top, std::min(width, columns), std::min(height, rows)};
  const Window right = {box.left + common.width, box.top, width - common.width, common.height};
  const Window above = {box.left, box.top + common.height, width, height - common.height};
  std::uint32_t sum = ink_beyond(right.inside(image)) + ink_beyond(above.inside(image));
  const auto w = static_cast<std::int64_t>(image.width()), h = static_cast<std::int64_t>(image.height());
  for (std::int64_t y = 0; y < rows; ++y) {
    const std::uint8_t* const row = font.image.row_ptr(static_cast<std::size_t>(y));
    const bool in_box = y < common.height, in_image = in_box && box.top + y >= 0 && box.top + y < h;
    const std::uint8_t* const line = in_image ? image.row_ptr(static_cast<std::size_t>(box.top + y)) : nullptr;
    for (std::int64_t x = 0; x < columns; ++x) {
      if (!in_box || x >= common.width) {
        sum += square(row[x] - kWhite);
        continue;
      }
      const std::int64_t column = box.left + x;
      const int pixel = in_image && column >= 0 && column < w ? line[column] : kWhite;
      const int off = std::abs(row[x] - pixel) - font.allowed(static_cast<std::size_t>(x), static_cast<std::size_t>(y));
      if (off > 0) sum += square(off);
    }
  }
  return sum;
}

// KEPT: a distance of all bits set says that there is none: test decode_distances.
constexpr std::uint32_t kNoDistance = 0xFFFFFFFF;

std::int32_t as_signed(std::uint32_t value) { return static_cast<std::int32_t>(value); }

// The index of the distance that is smallest as a signed number, the first of equals; none where there are none.
std::optional<std::size_t> nearest(std::span<const std::uint32_t> distances) {
  std::optional<std::size_t> best;
  for (std::size_t i = 0; i < distances.size(); ++i) {
    if (distances[i] == kNoDistance) continue;
    // KEPT: distances from 2^31 on are negative and go before all others: test decode_distances.
    if (!best || as_signed(distances[i]) < as_signed(distances[*best])) best = i;
  }
  return best;
}

// Whether all others are worse by acceptance percent of the mean distance.
bool accepted(std::span<const std::uint32_t> distances, std::size_t best, unsigned acceptance) {
  std::uint32_t sum = 0;
  int count = 0;
  for (const std::uint32_t distance : distances) {
    if (distance == kNoDistance) continue;
    sum += distance;
    ++count;
  }
  const std::int64_t mean = as_signed(sum) / count;
  if (mean == 0) return true;
  const std::uint32_t best_percent = distances[best] * 100 / static_cast<std::uint32_t>(mean);
  for (std::size_t i = 0; i < distances.size(); ++i) {
    if (i == best || distances[i] == kNoDistance) continue;
    const std::int64_t percent = as_signed(distances[i] * 100) / mean;
    // KEPT: two templates of one code are rivals too, so that training a character twice leaves it unread: test
    // decode_rivals.
    if (as_signed(static_cast<std::uint32_t>(percent) - best_percent) < as_signed(acceptance)) return false;
  }
  return true;
}

char decode_by_font(ConstView image, const CHAR_BOX& box, std::span<const FontSlot> slots, unsigned acceptance) {
  std::vector<std::uint32_t> distances(slots.size(), kNoDistance);
  for (std::size_t i = 0; i < slots.size(); ++i) {
    const auto font = template_of(slots[i]);
    if (!font) continue;
    // KEPT: hosts look at the template that was compared with last: test decode_by_font.
    GetImage = reinterpret_cast<char*>(font->dib);
    distances[i] = distance(*font, image, box);
  }
  const auto best = nearest(distances);
  if (!best || !accepted(distances, *best, acceptance)) return kUnknown;
  return static_cast<char>(slots[*best].code);
}

std::span<const CHAR_BOX> current_boxes() {
  return std::span(box_char).first(static_cast<std::size_t>(std::clamp(num_box, 0, kMostBoxes)));
}

void write_text(char* text, const std::string& content) {
  std::memset(text, 0, kMostText + 1);
  std::copy(content.begin(), content.end(), text);
}

}  // namespace
}  // namespace zel

using namespace zel;

int ImageBox_Decode_holes(char* dib, char* text) try {
  const auto image = grey_dib(dib);
  const std::span<const CHAR_BOX> boxes = image ? current_boxes() : std::span<const CHAR_BOX>();
  std::vector<char> characters;
  if (image) {
    for (const DecodedHole& hole : decode_holes(*image, boxes, MicroholesFont)) characters.push_back(hole.character);
  }
  write_text(text, spaced(characters, boxes));
  return image ? std::min(num_box, kMostBoxes) : 0;
} catch (const std::bad_alloc&) {
  return 0;
}

int ImageBox_Decode(char* dib, char* text) try {
  if (NumCharFont == 0) return 0;
  const auto image = grey_dib(dib);
  const std::span<const CHAR_BOX> boxes = image ? current_boxes() : std::span<const CHAR_BOX>();
  const auto slots =
      std::span(ActualFont.slots).first(static_cast<std::size_t>(std::clamp(NumCharFont, 0, kMostSlots)));
  std::vector<char> characters;
  for (const CHAR_BOX& box : boxes) characters.push_back(decode_by_font(image->pixels, box, slots, ACCEPTANCE));
  write_text(text, spaced(characters, boxes));
  return 0;
} catch (const std::bad_alloc&) {
  return 0;
}
