#include "micro_holes.hpp"

#include <ZelIMP.h>
#include <ZelIMP.hpp>
#include <ZelIMP/holes.hpp>
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "exit_code.hpp"

namespace tool {
namespace {

constexpr std::uint32_t kCellColumns = 5;
constexpr std::uint32_t kCellRows = 7;
constexpr std::size_t kCells = kCellColumns * kCellRows;
constexpr double kColumnPitch = 6.5;
constexpr double kRowPitch = 8;
constexpr double kRadius = 2.5;
constexpr std::uint32_t kDot = 5;  // pixels across
constexpr std::uint32_t kCharacterPitch = 50;
constexpr std::uint32_t kCharacterWidth = 31;
constexpr std::uint32_t kLineHeight = 53;
constexpr std::uint32_t kSlack = 3;        // of the sheet around the line
constexpr std::uint32_t kBlankAround = 6;  // the rear face is read up to 5 pixels beside its place

// In the image of the front face, or on a face.
struct Dot {
  double x, y;
};

struct Area {
  std::int64_t left, top, right, bottom;  // the last two are the first outside
};

class Random {
 public:
  enum class Purpose : std::uint64_t { jitter = 1, missing, extra, front_noise, rear_noise };
  Random(std::uint32_t seed, Purpose purpose) : bits_(static_cast<std::uint64_t>(purpose) << 32 | seed) {
    bits_.discard(8);  // until the seeds lie far apart
  }

  std::uint32_t below(std::uint32_t end) { return static_cast<std::uint32_t>((bits_() >> 32) * end >> 32); }
  double around_zero(double most) { return most * (static_cast<double>(bits_() >> 32) - 2147483648.0) / 2147483648.0; }

 private:
  // Faster than the Mersenne twister, which matters for the noise; only its upper bits are used.
  std::linear_congruential_engine<std::uint64_t, 6364136223846793005u, 1442695040888963407u, 0> bits_;
};

// Changes that many cells from one value to the other, or as many as there are.
void flip_cells(std::array<bool, kCells>& cells, bool from, std::uint32_t count, Random& random) {
  std::vector<std::size_t> candidates;
  for (std::size_t k = 0; k < kCells; ++k) {
    if (cells[k] == from) candidates.push_back(k);
  }
  for (; count > 0 && !candidates.empty(); --count) {
    const auto chosen = candidates.begin() + random.below(static_cast<std::uint32_t>(candidates.size()));
    cells[*chosen] = !from;
    candidates.erase(chosen);
  }
}

// Middles of the dots, from the middle of the line's upper left one.
std::vector<Dot> dots_of(const HoleSettings& settings) {
  Random jitter(settings.seed, Random::Purpose::jitter);
  Random missing(settings.seed, Random::Purpose::missing);
  Random extra(settings.seed, Random::Purpose::extra);
  std::vector<Dot> dots;
  for (std::size_t i = 0; i < settings.digits.size(); ++i) {
    const auto* glyph = MicroholesFont + static_cast<std::size_t>(settings.digits[i] - '0') * kCells;
    std::array<bool, kCells> digit{};
    std::transform(glyph, glyph + kCells, digit.begin(), [](auto cell) { return cell != 0; });
    std::array<bool, kCells> lacking = digit;
    flip_cells(lacking, true, settings.missing, missing);
    std::array<bool, kCells> exceeding = digit;
    flip_cells(exceeding, false, settings.extra, extra);
    for (std::size_t k = 0; k < kCells; ++k) {
      const double right = jitter.around_zero(settings.jitter);
      const double down = jitter.around_zero(settings.jitter);
      if (digit[k] ? !lacking[k] : !exceeding[k]) continue;
      dots.push_back(
          {static_cast<double>(i) * kCharacterPitch + static_cast<double>(k % kCellColumns) * kColumnPitch + right,
           static_cast<double>(k / kCellColumns) * kRowPitch + down});
    }
  }
  return dots;
}

// The zones of the two reading calls in an image of this height: what they have in common, and both.
Area common_zone(std::uint32_t height) {
  const zelimp::HoleZone& a = zelimp::kValidateZone;
  const zelimp::HoleZone& b = zelimp::kDecodeZone;
  return {std::max(a.left, b.left), std::int64_t{height} - std::min(a.bottom + a.height, b.bottom + b.height),
          std::min(a.left + a.width, b.left + b.width), std::int64_t{height} - std::max(a.bottom, b.bottom)};
}

Area both_zones(std::uint32_t height) {
  const zelimp::HoleZone& a = zelimp::kValidateZone;
  const zelimp::HoleZone& b = zelimp::kDecodeZone;
  return {std::min(a.left, b.left), std::int64_t{height} - std::max(a.bottom + a.height, b.bottom + b.height),
          std::max(a.left + a.width, b.left + b.width), std::int64_t{height} - std::min(a.bottom, b.bottom)};
}

std::uint8_t rounded(double level) { return static_cast<std::uint8_t>(std::clamp(std::lround(level), 0l, 255l)); }

// Brings the face's own paper, its most frequent level, to the one given.
void scale_levels(Picture& face, std::uint8_t paper) {
  for (std::uint32_t plane = 0; plane < face.planes; ++plane) {
    std::array<std::size_t, 256> histogram{};
    for (std::size_t i = plane; i < face.samples.size(); i += face.planes) ++histogram[face.samples[i]];
    const auto own = std::max<std::ptrdiff_t>(std::ranges::max_element(histogram) - histogram.begin(), 1);
    std::array<std::uint8_t, 256> brought{};
    for (std::size_t level = 0; level < brought.size(); ++level) {
      brought[level] = rounded(static_cast<double>(level) * paper / static_cast<double>(own));
    }
    for (std::size_t i = plane; i < face.samples.size(); i += face.planes) face.samples[i] = brought[face.samples[i]];
  }
}

void blank_out(Picture& face, const Area& area, std::uint8_t paper) {
  const std::int64_t right = std::min<std::int64_t>(area.right, face.width);
  const std::int64_t bottom = std::min<std::int64_t>(area.bottom, face.height);
  for (std::int64_t y = std::max<std::int64_t>(area.top, 0); y < bottom; ++y) {
    for (std::int64_t x = std::max<std::int64_t>(area.left, 0); x < right; ++x) {
      const std::int64_t sample = (y * face.width + x) * face.planes;
      std::fill_n(&face.samples[static_cast<std::size_t>(sample)], face.planes, paper);
    }
  }
}

// Which part of a pixel at this distance from a dot's middle is dark.
double coverage(double across, double down) {
  return std::clamp(kRadius + 0.5 - std::sqrt(across * across + down * down), 0.0, 1.0);
}

void draw_dot(Picture& face, const Dot& dot, std::uint8_t hole) {
  constexpr std::int64_t kReach = 4;
  const auto column = static_cast<std::int64_t>(std::floor(dot.x));
  const auto row = static_cast<std::int64_t>(std::floor(dot.y));
  for (std::int64_t y = std::max<std::int64_t>(row - kReach, 0); y < std::min<std::int64_t>(row + kReach, face.height);
       ++y) {
    for (std::int64_t x = std::max<std::int64_t>(column - kReach, 0);
         x < std::min<std::int64_t>(column + kReach, face.width); ++x) {
      const double part = coverage(static_cast<double>(x) - dot.x, static_cast<double>(y) - dot.y);
      for (std::uint32_t plane = 0; plane < face.planes; ++plane) {
        auto& sample = face.samples[static_cast<std::size_t>((y * face.width + x) * face.planes + plane)];
        sample = rounded(sample + part * (hole - sample));
      }
    }
  }
}

void add_noise(Picture& face, std::uint32_t most, Random random) {
  if (most == 0) return;
  for (std::uint8_t& sample : face.samples) {
    const int shift = static_cast<int>(random.below(2 * most + 1)) - static_cast<int>(most);
    sample = static_cast<std::uint8_t>(std::clamp(sample + shift, 0, 255));
  }
}

// The line's place in the image of the front face.
zelimp::Box place_line(const std::array<Picture, 2>& faces, const Bedding& bedding, std::size_t digits) {
  const Area zone = common_zone(bedding.height);
  const auto width = static_cast<std::int64_t>((digits - 1) * kCharacterPitch + kCharacterWidth);
  const Area line{zone.left + (zone.right - zone.left - width) / 2,
                  zone.top + (zone.bottom - zone.top - kLineHeight) / 2, 0, 0};
  const std::int64_t left = line.left - bedding.faces[0].left;
  const std::int64_t top = line.top - bedding.faces[0].top;
  const bool in_image = both_zones(bedding.height).top >= 0 && both_zones(bedding.height).right <= bedding.width;
  const bool on_sheet = left >= kSlack && top >= kSlack && left + width + kSlack <= faces[0].width &&
                        top + kLineHeight + kSlack <= faces[0].height;
  if (!in_image || !on_sheet) {
    throw Failure(Exit::usage, "a sheet of " + std::to_string(faces[0].width) + " x " +
                                   std::to_string(faces[0].height) + " pixels, as it lies in an image of " +
                                   std::to_string(bedding.width) + " x " + std::to_string(bedding.height) +
                                   ", has no room for the micro-holes");
  }
  return {static_cast<std::uint32_t>(line.left), static_cast<std::uint32_t>(line.top),
          static_cast<std::uint32_t>(width), kLineHeight};
}

// From the image of the front face onto a face; on the rear, the mirror image about the middle of the sheet.
class OntoFace {
 public:
  OntoFace(const std::array<Picture, 2>& faces, const Bedding& bedding, bool rear)
      : left_(static_cast<double>(bedding.faces[0].left)),
        top_(static_cast<double>(bedding.faces[0].top)),
        mirrored_(rear) {
    if (!rear) return;
    right_ = (static_cast<double>(faces[0].width) + faces[1].width) / 2 - 1;
    top_ += (static_cast<double>(faces[0].height) - faces[1].height) / 2;
  }
  Dot operator()(const Dot& in_image) const {
    const double x = in_image.x - left_;
    return {mirrored_ ? right_ - x : x, in_image.y - top_};
  }
  Area operator()(const Area& in_image) const {
    const auto at = [this](std::int64_t x, std::int64_t y) {
      return (*this)(Dot{static_cast<double>(x), static_cast<double>(y)});
    };
    const Dot a = at(in_image.left, in_image.top);
    const Dot b = at(in_image.right - 1, in_image.bottom - 1);
    const auto whole = [](double place) { return static_cast<std::int64_t>(std::floor(place)); };
    return {whole(std::min(a.x, b.x)), whole(a.y), whole(std::max(a.x, b.x)) + 1, whole(b.y) + 1};
  }

 private:
  double left_, top_;
  double right_ = 0;
  bool mirrored_;
};

}  // namespace

zelimp::Box punch(std::array<Picture, 2>& faces, const Bedding& bedding, const HoleSettings& settings) {
  const zelimp::Box line = place_line(faces, bedding, settings.digits.size());
  Area blank = both_zones(bedding.height);
  blank = {blank.left - kBlankAround, blank.top - kBlankAround, blank.right + kBlankAround,
           blank.bottom + kBlankAround};
  const std::vector<Dot> dots = dots_of(settings);
  for (const bool rear : {false, true}) {
    Picture& face = faces[rear ? 1 : 0];
    const OntoFace onto(faces, bedding, rear);
    scale_levels(face, settings.paper);
    blank_out(face, onto(blank), settings.paper);
    for (const Dot& dot : dots) {
      draw_dot(face, onto(Dot{line.left + kDot / 2 + dot.x, line.top + kDot / 2 + dot.y}), settings.hole);
    }
    add_noise(face, settings.paper_noise,
              Random(settings.seed, rear ? Random::Purpose::rear_noise : Random::Purpose::front_noise));
  }
  return line;
}

}  // namespace tool
