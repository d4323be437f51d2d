#include "font_sheet.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "exit_code.hpp"

namespace tool {
namespace {

constexpr std::uint8_t kPaper = 255, kLine = 190;
constexpr std::uint32_t kGap = 16;           // around cells, half as much between the images of one
constexpr std::uint32_t kImageHeight = 130;  // which small templates are enlarged towards
constexpr std::uint32_t kMostEnlarged = 8;
constexpr std::uint32_t kLineHeight = 17;  // of a label's two lines
constexpr std::uint32_t kLabelHeight = 2 * kLineHeight + 4;
constexpr std::uint32_t kSheetWidth = 1100;  // unless a cell is wider
constexpr int kDeviationGain = 4;

Picture blank(std::uint32_t width, std::uint32_t height) {
  if (std::uint64_t{width} * height > zelimp::Limits{}.max_pixels) {
    throw Failure(Exit::over_limit, "the templates are too large for one sheet");
  }
  return {width, height, 1, std::vector<std::uint8_t>(std::size_t{width} * height, kPaper)};
}

// Puts a picture on another; what lies outside of it is left out.
void put(Picture& sheet, const Picture& picture, std::uint32_t left, std::uint32_t top) {
  for (std::uint32_t y = 0; y < picture.height && top + y < sheet.height; ++y) {
    for (std::uint32_t x = 0; x < picture.width && left + x < sheet.width; ++x) {
      sheet.samples[std::size_t{top + y} * sheet.width + left + x] =
          picture.samples[std::size_t{y} * picture.width + x];
    }
  }
}

// A picture with a frame around it, every pixel drawn as a square.
template <class Level>
Picture framed(const zelimp::Pixels& pixels, std::uint32_t factor, Level&& level) {
  Picture picture = blank(pixels.width * factor + 2, pixels.height * factor + 2);
  std::ranges::fill(picture.samples, kLine);
  for (std::uint32_t y = 0; y < pixels.height * factor; ++y) {
    for (std::uint32_t x = 0; x < pixels.width * factor; ++x) {
      const std::byte value = pixels.pixels[std::size_t{y / factor} * pixels.width + x / factor];
      picture.samples[std::size_t{y + 1} * picture.width + x + 1] = level(std::to_integer<int>(value));
    }
  }
  return picture;
}

std::string counted(std::uint32_t n, const std::string& what) {
  return std::to_string(n) + " " + what + (n == 1 ? "" : "s");
}

struct Cell {
  Picture mean, deviation;
  std::array<Picture, 2> label;
};

Cell cell_of(const zelimp::FontCharacter& character, std::uint32_t factor) {
  Cell cell;
  cell.mean = framed(character.mean, factor, [](int value) { return static_cast<std::uint8_t>(value); });
  cell.deviation = framed(character.variance, factor, [](int value) {
    return static_cast<std::uint8_t>(255 - std::min(kDeviationGain * value, 255));
  });
  const std::string sign = quoted(character.code);
  cell.label = {text_line((sign.empty() ? "" : sign + "  ") + "code " + std::to_string(character.code)),
                text_line(counted(character.samples, "sample"))};
  return cell;
}

}  // namespace

std::string quoted(std::uint32_t code) {
  return code > 32 && code < 127 ? std::string("'") + static_cast<char>(code) + "'" : code == 32 ? "space" : "";
}

Picture font_sheet(const zelimp::Font& font) {
  std::vector<zelimp::FontCharacter> characters;
  std::uint32_t tallest = 1;
  for (std::size_t i = 0; i < font.size(); ++i) {
    zelimp::FontCharacter character = font.character(i);
    tallest = std::max({tallest, character.mean.height, character.variance.height});
    if (character.code != 0) characters.push_back(std::move(character));
  }
  const std::uint32_t factor = std::clamp(kImageHeight / tallest, 1u, kMostEnlarged);

  std::vector<Cell> cells;
  std::uint32_t width = 0, height = 0;
  for (const zelimp::FontCharacter& character : characters) {
    const Cell& cell = cells.emplace_back(cell_of(character, factor));
    width =
        std::max({width, cell.mean.width + kGap / 2 + cell.deviation.width, cell.label[0].width, cell.label[1].width});
    height = std::max({height, cell.mean.height, cell.deviation.height});
  }
  width += kGap;
  height += kLabelHeight + kGap;
  const auto count = static_cast<std::uint32_t>(cells.size());
  const std::uint32_t most = std::clamp((kSheetWidth - kGap) / width, 1u, count);
  const std::uint32_t rows = (count + most - 1) / most;
  const std::uint32_t columns = (count + rows - 1) / rows;
  if (std::uint64_t{rows} * height > zelimp::Limits{}.max_pixels)
    throw Failure(Exit::over_limit, "the templates are too large for one sheet");
  Picture sheet = blank(kGap + columns * width, kGap + rows * height);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t left = kGap + i % columns * width, top = kGap + i / columns * height;
    put(sheet, cells[i].label[0], left, top);
    put(sheet, cells[i].label[1], left, top + kLineHeight);
    put(sheet, cells[i].mean, left, top + kLabelHeight);
    put(sheet, cells[i].deviation, left + cells[i].mean.width + kGap / 2, top + kLabelHeight);
  }
  return sheet;
}

}  // namespace tool
