#include "note.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "note_places.hpp"

namespace tool {
namespace {

// Every class has its place inside the frame.
constexpr std::uint32_t kWidth = 880;
constexpr std::uint32_t kHeight = 384;
constexpr double kPaper = 216;
constexpr double kInk = 40;
constexpr std::uint8_t kBed = 12;  // beside the note

struct Point {
  double x, y;
};
using Line = std::vector<Point>;

// The digits that values have, as a line in a square whose sides are 1.
Line line_of(char digit) {
  switch (digit) {
    case '1':
      return {{0.15, 0.25}, {0.5, 0}, {0.5, 1}, {0.1, 1}, {0.9, 1}};
    case '2':
      return {{0, 0.25}, {0.15, 0.06}, {0.5, 0}, {0.85, 0.08}, {1, 0.28}, {0.85, 0.5}, {0, 1}, {1, 1}};
    case '5':
      return {{1, 0}, {0.1, 0}, {0.05, 0.45}, {0.5, 0.38}, {0.9, 0.48}, {1, 0.68}, {0.88, 0.9}, {0.5, 1}, {0, 0.88}};
    default:  // 0
      return {{0.5, 0},    {0.85, 0.1}, {1, 0.35}, {1, 0.65},   {0.85, 0.9}, {0.5, 1},
              {0.15, 0.9}, {0, 0.65},   {0, 0.35}, {0.15, 0.1}, {0.5, 0}};
  }
}

double distance(Point p, Point a, Point b) {
  const double x = b.x - a.x, y = b.y - a.y;
  const double along = std::clamp(((p.x - a.x) * x + (p.y - a.y) * y) / (x * x + y * y), 0.0, 1.0);
  const double across = p.x - a.x - along * x, down = p.y - a.y - along * y;
  return std::sqrt(across * across + down * down);
}

std::uint8_t rounded(double level) { return static_cast<std::uint8_t>(std::clamp(std::lround(level), 0l, 255l)); }

std::uint8_t& at(Picture& face, std::uint32_t x, std::uint32_t y) {
  return face.samples[std::size_t{y} * face.width + x];
}

// Brings a part of a pixel to a level.
void blend(std::uint8_t& sample, double level, double part) { sample = rounded(sample + part * (level - sample)); }

void draw_line(Picture& face, const Line& line, const zelimp::Box& box, double radius) {
  Line placed;
  for (const Point& p : line) {
    placed.push_back({box.left + radius + p.x * (box.width - 2 * radius),  //
                      box.top + radius + p.y * (box.height - 2 * radius)});
  }
  for (std::uint32_t y = box.top; y < box.top + box.height; ++y) {
    for (std::uint32_t x = box.left; x < box.left + box.width; ++x) {
      double nearest = kWidth;
      for (std::size_t i = 1; i < placed.size(); ++i) {
        nearest = std::min(nearest, distance({x + 0.5, y + 0.5}, placed[i - 1], placed[i]));
      }
      blend(at(face, x, y), kInk, std::clamp(radius + 0.5 - nearest, 0.0, 1.0));
    }
  }
}

// The figures of a value side by side, or one above the other where there is more room for that.
void draw_value(Picture& face, int value, const zelimp::Box& region) {
  constexpr std::uint32_t kAround = 13, kGap = 6;
  const std::string digits = std::to_string(value);
  const auto count = static_cast<std::uint32_t>(digits.size());
  zelimp::Box box = {region.left + kAround, region.top + kAround, region.width - 2 * kAround,
                     region.height - 2 * kAround};
  const bool stacked = box.height > box.width;
  std::uint32_t& side = stacked ? box.height : box.width;
  side = (side - (count - 1) * kGap) / count;
  const std::uint32_t pitch = side + kGap;
  for (const char digit : digits) {
    draw_line(face, line_of(digit), box, std::min(box.width, box.height) / 8.0);
    (stacked ? box.top : box.left) += pitch;
  }
}

// How much of a pixel a thin line covers of which one runs every `pitch` pixels.
double line_part(double place, double pitch) {
  const double off = std::abs(place - pitch * std::round(place / pitch));
  return std::clamp(1.2 - off, 0.0, 1.0);
}

// Two families of waves across the face.
void draw_waves(Picture& face, int phase) {
  const auto wave = [phase](double x, double length, double height) {
    // long double, rounded: the double functions differ in their last bit between i386 and x86-64.
    const long double turns = static_cast<long double>(x) / length + static_cast<long double>(phase) / 7;
    return height * static_cast<double>(std::sin(2 * std::numbers::pi_v<long double> * turns));
  };
  for (std::uint32_t x = 0; x < face.width; ++x) {
    const double first = wave(x, 97, 14) + wave(x, 31, 3), second = wave(x, 173, -22);
    for (std::uint32_t y = 0; y < face.height; ++y) {
      const double part = std::max(line_part(y + first, 9), line_part(y + second, 13));
      at(face, x, y) = rounded(kPaper - 34 * part);
    }
  }
}

void draw_frame(Picture& face) {
  for (const std::uint32_t from : {6u, 11u}) {
    const std::uint32_t thickness = from == 6 ? 3 : 1;
    for (std::uint32_t y = from; y < face.height - from; ++y) {
      for (std::uint32_t x = from; x < face.width - from; ++x) {
        const std::uint32_t edge = std::min({x, y, face.width - 1 - x, face.height - 1 - y});
        if (edge < from + thickness) at(face, x, y) = 90;
      }
    }
  }
}

void draw_specimen(Picture& face) {
  constexpr std::uint32_t kScale = 4;
  const Picture text = text_line("SPECIMEN");
  const std::uint32_t left = (face.width - kScale * text.width) / 2, top = (face.height - kScale * text.height) / 2;
  for (std::uint32_t y = 0; y < kScale * text.height; ++y) {
    for (std::uint32_t x = 0; x < kScale * text.width; ++x) {
      const std::uint8_t level = text.samples[std::size_t{y / kScale} * text.width + x / kScale];
      if (level < 128) at(face, left + x, top + y) = 110;
    }
  }
}

Picture clean_face(const NoteSettings& settings, bool rear) {
  Picture face{kWidth, kHeight, 1, std::vector<std::uint8_t>(std::size_t{kWidth} * kHeight)};
  draw_waves(face, settings.value + (rear ? 3 : 0));
  draw_frame(face);
  draw_specimen(face);
  const zelimp::NoteLocations locations = zelimp::usual_locations();
  const std::size_t of = class_of(settings.value).value();
  if (!rear && settings.figure) draw_value(face, settings.value, region_on(locations[of], kWidth, kHeight).value());
  return face;
}

class Random {
 public:
  Random(std::uint32_t seed, bool noise) : bits_(2 * seed + (noise ? 1 : 0)) {}
  int between(int least, int most) {
    return least + static_cast<int>((bits_() >> 8) % static_cast<std::uint32_t>(most - least + 1));
  }

 private:
  std::mt19937 bits_;
};

void wear_out(Picture& face, const NoteSettings& settings, bool rear) {
  Random random(settings.seed, false);
  for (std::uint32_t i = 1; i <= settings.wear; ++i) {
    const bool fold = i % 3 == 0;
    const int column = random.between(0, kWidth - 1), row = random.between(0, kHeight - 1);
    const int reach = fold ? 2 : random.between(12, 45);
    const int depth = random.between(20, 60);
    for (std::uint32_t y = 0; y < face.height; ++y) {
      for (std::uint32_t x = 0; x < face.width; ++x) {
        const double across = static_cast<double>(rear ? kWidth - 1 - x : x) - column;
        const double down = fold ? 0 : static_cast<double>(y) - row;
        const double part = 1 - (across * across + down * down) / (reach * reach);
        if (part > 0) at(face, x, y) = rounded(at(face, x, y) - depth * part);
      }
    }
  }
}

// Bilinear.
double level_at(const Picture& face, double x, double y) {
  const double left = std::floor(x), top = std::floor(y);
  const auto sample = [&face](double column, double row) -> double {
    const bool inside = column >= 0 && row >= 0 && column < face.width && row < face.height;
    if (!inside) return kBed;
    return face.samples[static_cast<std::size_t>(row) * face.width + static_cast<std::size_t>(column)];
  };
  const double right = x - left, down = y - top;
  return (1 - down) * ((1 - right) * sample(left, top) + right * sample(left + 1, top)) +
         down * ((1 - right) * sample(left, top + 1) + right * sample(left + 1, top + 1));
}

Picture placed(const Picture& face, const NoteSettings& settings) {
  const long double turn = static_cast<long double>(settings.turn_deg) * std::numbers::pi_v<long double> / 180;
  const double cosine = static_cast<double>(std::cos(turn)), sine = static_cast<double>(std::sin(turn));
  const double middle_x = (kWidth - 1) / 2.0, middle_y = (kHeight - 1) / 2.0;
  Picture result = face;
  for (std::uint32_t y = 0; y < face.height; ++y) {
    for (std::uint32_t x = 0; x < face.width; ++x) {
      const double across = x - middle_x - settings.right, down = y - middle_y - settings.down;
      at(result, x, y) =
          rounded(level_at(face, middle_x + cosine * across + sine * down, middle_y + cosine * down - sine * across));
    }
  }
  return result;
}

void scan(Picture& face, const NoteSettings& settings, bool rear) {
  Random random(settings.seed + (rear ? 0x40000000u : 0), true);
  const auto noise = static_cast<int>(settings.noise);
  for (std::uint8_t& sample : face.samples) {
    const double level = 128 + (sample - 128.0) * settings.contrast / 100;
    sample = rounded(level + (noise == 0 ? 0 : random.between(-noise, noise)));
  }
  if (settings.half_turn) std::ranges::reverse(face.samples);
}

}  // namespace

std::array<Picture, 2> draw_note(const NoteSettings& settings) {
  std::array<Picture, 2> faces;
  for (const bool rear : {false, true}) {
    Picture face = clean_face(settings, rear);
    wear_out(face, settings, rear);
    const bool moved = settings.right != 0 || settings.down != 0 || settings.turn_deg != 0;
    if (moved) face = placed(face, settings);
    scan(face, settings, rear);
    faces[rear ? 1 : 0] = std::move(face);
  }
  return faces;
}

}  // namespace tool
