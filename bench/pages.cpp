#include "pages.hpp"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>

#include "base/maths.hpp"

namespace zel::bench {
namespace {

constexpr int kPaper = 228;
constexpr int kInk = 45;

class Draw {
 public:
  int operator()(int n) { return static_cast<int>(engine_() % static_cast<unsigned>(n)); }

 private:
  std::mt19937 engine_{1};
};

// A bar, a stem or a slant somewhere in the cell at (x, y). left and width are in 256ths of a pixel: edges are grey.
void draw_stroke(Page& page, Draw& draw, int x, int y) {
  const int kind = draw(4);
  const bool is_bar = kind == 0;
  const int width = is_bar ? 2300 + draw(1200) : 700 + draw(250);
  const int height = is_bar ? 3 : 14 + draw(12);
  const int slope = kind == 1 ? draw(200) - 100 : 0;
  int left = 256 * (x + 4) + draw(is_bar ? 256 : 2500);
  y += draw(27 - height);
  for (int r = y; r < y + height; ++r, left += slope) {
    for (int c = left / 256; c <= (left + width) / 256; ++c) {
      const int covered = std::min(left + width, 256 * c + 256) - std::max(left, 256 * c);
      std::uint8_t& p = page.grey[static_cast<std::size_t>(r) * page.width + static_cast<std::size_t>(c)];
      p = static_cast<std::uint8_t>(std::min<int>(p, kPaper + (kInk - kPaper) * covered / 256 + draw(9) - 4));
    }
  }
}

// Both halves of the page turned about their middles, as mirror images of each other, with the bed around them.
Page skewed(const Page& text) {
  constexpr std::uint8_t kBed = 12;
  Page page = {"skewed", text.width, text.height, std::vector<std::uint8_t>(text.grey.size(), kBed)};
  const double cosine = maths::cos(0.05), sine = maths::sin(0.05);
  const auto half = static_cast<int>(page.width / 2), height = static_cast<int>(page.height);
  const int most_x = half * 2 / 5, most_y = height * 2 / 5;
  for (int r = 0; r < height; ++r) {
    for (int c = 0; c < 2 * half; ++c) {
      const double x = c % half - half / 2, y = r - height / 2, turn = c < half ? sine : -sine;
      const auto from_x = static_cast<int>(cosine * x + turn * y), from_y = static_cast<int>(cosine * y - turn * x);
      if (std::abs(from_x) > most_x || std::abs(from_y) > most_y) continue;
      const int from = (from_y + height / 2) * 2 * half + from_x + half / 2 + (c < half ? 0 : half);
      page.grey[static_cast<std::size_t>(r * 2 * half + c)] = text.grey[static_cast<std::size_t>(from)];
    }
  }
  return page;
}

Page drawn(Kind kind) {
  if (kind == Kind::skewed) return skewed(drawn(Kind::text));
  constexpr const char* kNames[] = {"blank", "text", "noise", "large"};
  const std::size_t scale = kind == Kind::large ? 3 : 1;
  Page page = {kNames[static_cast<int>(kind)], scale * 3400, scale * 2200, {}};
  page.grey.resize(page.width * page.height);
  Draw draw;
  for (std::uint8_t& p : page.grey) {
    p = static_cast<std::uint8_t>(kind == Kind::noise ? draw(256) : kPaper + draw(9) - 4);
  }
  if (kind != Kind::text && kind != Kind::large) return page;
  // Lines of words; a glyph is one to four strokes in a cell of 20 x 26 pixels.
  for (int y = 60; y + 80 < static_cast<int>(page.height); y += 62) {
    for (int x = 60; x + 80 < static_cast<int>(page.width); x += draw(7) == 0 ? 40 : 20) {
      for (int strokes = 1 + draw(4); strokes > 0; --strokes) draw_stroke(page, draw, x, y);
    }
  }
  return page;
}

}  // namespace

const Page& page(Kind kind) {
  static std::map<Kind, Page> pages;
  const auto found = pages.find(kind);
  return found != pages.end() ? found->second : pages.emplace(kind, drawn(kind)).first->second;
}

}  // namespace zel::bench
