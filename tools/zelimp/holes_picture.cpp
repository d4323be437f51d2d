#include "holes_picture.hpp"

#include <ZelIMP.h>
#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "bitmap.hpp"
#include "exit_code.hpp"
#include "holes_report.hpp"
#include "picture.hpp"

namespace tool {
namespace {

constexpr std::uint32_t kScale = 3;
constexpr std::uint32_t kAround = 12;  // pixels of the face around the zone
constexpr std::uint32_t kLine = 2;     // width of outlines, pixels of the drawing
constexpr std::uint32_t kDot = 8;      // of a digit that is drawn
constexpr std::uint32_t kGap = 8;      // above and below it
constexpr std::uint32_t kColumns = 5;
constexpr std::uint32_t kRows = 7;
constexpr std::uint32_t kBand = kRows * kDot + 2 * kGap;

constexpr Colour kZoneColour = {40, 90, 220};
constexpr Colour kLineColour = {0, 150, 70};
constexpr Colour kBoxColour = {240, 140, 0};
constexpr Colour kHoleColour = {0, 190, 255};
constexpr Colour kNoHoleColour = {190, 200, 210};
constexpr Colour kDifferingColour = {230, 0, 120};
constexpr Colour kDigitColour = {20, 20, 20};

// The part of a face that is shown, enlarged, with a band below it.
class Canvas {
 public:
  Canvas(const Picture& face, const zelimp::Box& zone)
      : left_(zone.left - std::min(zone.left, kAround)), top_(zone.top - std::min(zone.top, kAround)) {
    const std::uint32_t columns = std::min(zone.left + zone.width + kAround, face.width) - left_;
    rows_ = std::min(zone.top + zone.height + kAround, face.height) - top_;
    if (std::uint64_t{columns} * rows_ > zelimp::Limits{}.max_pixels / (kScale * kScale * 2)) {
      throw Failure(Exit::over_limit, "the zone is too large for an overlay");
    }
    picture_ = {columns * kScale, rows_ * kScale + kBand, 3, {}};
    picture_.samples.assign(std::size_t{picture_.width} * picture_.height * 3, 255);
    for (std::uint32_t y = 0; y < rows_; ++y) {
      for (std::uint32_t x = 0; x < columns; ++x) {
        const std::uint8_t level = face.samples[std::size_t{top_ + y} * face.width + left_ + x];
        fill(picture_, {x * kScale, y * kScale, kScale, kScale}, {level, level, level});
      }
    }
  }

  void frame(const zelimp::Box& box, std::uint32_t thickness, Colour colour) {
    const std::uint32_t x = std::max(box.left, left_);
    const std::uint32_t y = std::max(box.top, top_);
    const std::uint32_t right = std::max(box.left + box.width, x);
    const std::uint32_t bottom = std::min(std::max(box.top + box.height, y), top_ + rows_);
    if (bottom <= y) return;
    outline(picture_, {(x - left_) * kScale, (y - top_) * kScale, (right - x) * kScale, (bottom - y) * kScale},
            thickness, colour);
  }

  // Below the middle of a box.
  void write(char character, const zelimp::Box& box, Colour colour) {
    constexpr std::string_view kQuestionMark = ".###.#...#....#...#...#.........#..";
    const std::uint32_t middle = (box.left - std::min(box.left, left_)) * kScale + box.width * kScale / 2;
    const std::uint32_t left = middle - std::min(middle, kColumns * kDot / 2);
    for (std::uint32_t k = 0; k < kColumns * kRows; ++k) {
      const bool dark = character == '?' ? kQuestionMark[k] == '#'
                                         : MicroholesFont[static_cast<std::uint32_t>(character - '0') * 35 + k] != 0;
      if (!dark) continue;
      fill(picture_, {left + k % kColumns * kDot, rows_ * kScale + kGap + k / kColumns * kDot, kDot - 1, kDot - 1},
           colour);
    }
  }

  // At the left end of the band.
  void label(const std::string& text) {
    const Picture line = text_line(text);
    const std::uint32_t first_row = rows_ * kScale + (kBand - std::min(line.height, kBand)) / 2;
    for (std::uint32_t y = 0; y < line.height; ++y) {
      for (std::uint32_t x = 0; x < line.width; ++x) {
        const std::uint8_t level = line.samples[std::size_t{y} * line.width + x];
        if (level < 255) fill(picture_, {kGap + x, first_row + y, 1, 1}, {level, level, level});
      }
    }
  }

  Picture take() { return std::move(picture_); }

 private:
  std::uint32_t left_, top_;
  std::uint32_t rows_ = 0;
  Picture picture_;
};

void draw_character(Canvas& canvas, const zelimp::HoleCharacter& character) {
  canvas.frame(character.box, kLine, kBoxColour);
  const std::vector<std::size_t> differing = differing_cells(character);
  for (std::size_t k = 0; k < character.cells.size(); ++k) {
    canvas.frame(character.cells[k], 1, character.pattern[k] != 0 ? kHoleColour : kNoHoleColour);
  }
  for (const std::size_t k : differing) canvas.frame(character.cells[k], kLine, kDifferingColour);
  canvas.write(character.character, character.box, differing.empty() ? kDigitColour : kDifferingColour);
}

Picture draw_face(std::span<const std::byte> bitmap, bool rear, const zelimp::HoleFace& face) {
  Canvas canvas(seen_in(bitmap, rear), face.zone);
  canvas.frame(face.zone, kLine, kZoneColour);
  canvas.frame(face.line, kLine, kLineColour);
  for (const zelimp::HoleCharacter& character : face.characters) draw_character(canvas, character);
  const std::string name = rear ? "rear" : "front";
  canvas.label(face.read ? name : name + " " + reason_sentence(face));
  return canvas.take();
}

Picture one_above_the_other(const Picture& upper, const Picture& lower) {
  Picture both{std::max(upper.width, lower.width), upper.height + lower.height, 3, {}};
  for (const Picture* part : {&upper, &lower}) {
    for (std::size_t y = 0; y < part->height; ++y) {
      const auto row = std::span(part->samples).subspan(y * part->width * 3, std::size_t{part->width} * 3);
      both.samples.insert(both.samples.end(), row.begin(), row.end());
      both.samples.resize(both.samples.size() + (std::size_t{both.width} - part->width) * 3, 255);
    }
  }
  return both;
}

}  // namespace

Bytes holes_png(std::span<const std::byte> front, std::span<const std::byte> rear, const zelimp::MicroHoles& holes) {
  const Picture upper = draw_face(front, false, holes.front);
  return as_png(view_of(rear.empty() ? upper : one_above_the_other(upper, draw_face(rear, true, holes.rear))));
}

}  // namespace tool
