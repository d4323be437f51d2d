#include "device_model.hpp"

#include <ZelIMP.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <string>

#include "exit_code.hpp"

namespace tool {
namespace {

// Sum of four uniform numbers of 16 bits, scaled to mean 0 and standard deviation 1: near enough to a normal
// distribution, and the same on every machine.
double near_normal(std::uint64_t draw) {
  constexpr double kMean = 2 * 65535.0;
  constexpr double kDeviation = 37837.22;  // 65536 / sqrt(3)
  const std::uint64_t sum = (draw & 0xFFFF) + (draw >> 16 & 0xFFFF) + (draw >> 32 & 0xFFFF) + (draw >> 48);
  return (static_cast<double>(sum) - kMean) / kDeviation;
}

// What the sensor sees where there is no sheet. Depends on the place alone, not on the order in which it is read.
class Bed {
 public:
  explicit Bed(const DeviceSettings& settings)
      : plain_(settings.bed), noise_(settings.bed_noise), seed_(std::uint64_t{settings.seed} << 32) {}

  // Level at a column of the whole row; rows before the page are negative.
  std::uint8_t level(std::uint32_t column, std::int64_t row) const {
    if (!(noise_ > 0)) return plain_;
    const std::int64_t x = column;
    const double grain = near_normal(draw(kGrain, x, row));
    return static_cast<std::uint8_t>(std::clamp(std::lround(plain_ + noise_ * (grain + 2 * slow(x, row))), 0l, 255l));
  }

 private:
  static constexpr std::uint64_t kGrain = 1;
  static constexpr std::uint64_t kSlow = 2;

  // Random bits of a place: every one of them depends on all that goes in.
  std::uint64_t draw(std::uint64_t purpose, std::int64_t x, std::int64_t y) const {
    return mix(mix(mix(seed_ + purpose) + static_cast<std::uint64_t>(x)) + static_cast<std::uint64_t>(y));
  }
  static std::uint64_t mix(std::uint64_t bits) {
    // An odd factor carries every bit upwards, the shift brings it down again.
    for (int round = 0; round < 2; ++round) {
      bits = (bits + 0x632BE59BD9B4E019u) * 0xD1342543DE82EF95u;
      bits ^= bits >> 32;
    }
    return bits;
  }

  // -1 to 1: random at the corners of a grid, even between them.
  double slow(std::int64_t x, std::int64_t y) const {
    constexpr int kGridShift = 7;
    constexpr double kGrid = 1 << kGridShift;
    const std::int64_t left = x >> kGridShift;
    const std::int64_t top = y >> kGridShift;
    const double part_x = static_cast<double>(x) / kGrid - static_cast<double>(left);
    const double part_y = static_cast<double>(y) / kGrid - static_cast<double>(top);
    const double upper = (1 - part_x) * corner(left, top) + part_x * corner(left + 1, top);
    const double lower = (1 - part_x) * corner(left, top + 1) + part_x * corner(left + 1, top + 1);
    return (1 - part_y) * upper + part_y * lower;
  }
  double corner(std::int64_t x, std::int64_t y) const {
    return (static_cast<double>(draw(kSlow, x, y) >> 32) - 2147483648.0) / 2147483648.0;
  }

  std::uint8_t plain_;
  double noise_;
  std::uint64_t seed_;
};

// A face on the bed: where its pixels lie once the sheet is turned about its middle.
class Sheet {
 public:
  // turn_deg is clockwise.
  Sheet(const Picture& face, double turn_deg) : face_(face) {
    // long double, rounded: the double functions differ in their last bit between i386 and x86-64.
    const long double turn = static_cast<long double>(turn_deg) * std::numbers::pi_v<long double> / 180;
    cos_ = static_cast<double>(std::cos(turn));
    sin_ = static_cast<double>(std::sin(turn));
  }

  // Of the box around the turned sheet.
  std::uint32_t box_width() const { return box(face_.width, face_.height); }
  std::uint32_t box_height() const { return box(face_.height, face_.width); }

  // Puts the sheet into an area, so far right of and below its middle.
  void place(std::uint32_t area_width, std::uint32_t area_height, std::int32_t right, std::int32_t down) {
    middle_x_ = middle(area_width, face_.width) + right;
    middle_y_ = middle(area_height, face_.height) + down;
  }
  // Where its upper left corner is, were it not turned.
  Bedding::Corner corner() const {
    return {static_cast<std::int64_t>(middle_x_ - (face_.width - 1) / 2.0),
            static_cast<std::int64_t>(middle_y_ - (face_.height - 1) / 2.0)};
  }

  // Level of the area's pixel (x, y) on a bed of this level, bilinear; exactly a pixel of the face when the sheet is
  // not turned.
  std::uint8_t level(std::uint32_t x, std::uint32_t y, std::uint32_t plane, std::uint8_t bed) const {
    const double from_middle_x = x - middle_x_;
    const double from_middle_y = y - middle_y_;
    const double face_x = cos_ * from_middle_x + sin_ * from_middle_y + (face_.width - 1) / 2.0;
    const double face_y = cos_ * from_middle_y - sin_ * from_middle_x + (face_.height - 1) / 2.0;
    if (face_x <= -1 || face_y <= -1 || face_x >= face_.width || face_y >= face_.height) return bed;
    const double left = std::floor(face_x);
    const double top = std::floor(face_y);
    const double part_x = face_x - left;
    const double part_y = face_y - top;
    const auto column = static_cast<std::int64_t>(left);
    const auto row = static_cast<std::int64_t>(top);
    const auto at = [&](std::int64_t x_on_face, std::int64_t y_on_face) {
      return covers(x_on_face, y_on_face) ? sample(x_on_face, y_on_face, plane) : bed;
    };
    const double upper = (1 - part_x) * at(column, row) + part_x * at(column + 1, row);
    const double lower = (1 - part_x) * at(column, row + 1) + part_x * at(column + 1, row + 1);
    return static_cast<std::uint8_t>(std::lround((1 - part_y) * upper + part_y * lower));
  }

 private:
  std::uint32_t box(std::uint32_t along, std::uint32_t across) const {
    // The small amount keeps an unturned sheet at its own size.
    return static_cast<std::uint32_t>(std::ceil(along * std::abs(cos_) + across * std::abs(sin_) - 1e-6));
  }
  // Whole pixels beside an unturned sheet, the odd one after it.
  static double middle(std::uint32_t area, std::uint32_t size) {
    return std::floor((static_cast<double>(area) - size) / 2) + (size - 1) / 2.0;
  }
  bool covers(std::int64_t column, std::int64_t row) const {
    return column >= 0 && row >= 0 && column < face_.width && row < face_.height;
  }
  std::uint8_t sample(std::int64_t column, std::int64_t row, std::uint32_t plane) const {
    const auto pixel = static_cast<std::size_t>(row) * face_.width + static_cast<std::size_t>(column);
    return face_.samples[pixel * face_.planes + plane];
  }

  const Picture& face_;
  double cos_ = 1;
  double sin_ = 0;
  double middle_x_ = 0;
  double middle_y_ = 0;
};

// How one channel runs along a page row: of its sample number i the page column and the table index.
struct Channel {
  std::uint32_t first_column;
  std::uint32_t first_index;
  bool descending;       // columns and indices count down
  bool planes_reversed;  // plane 3 holds the first component of a pixel
  std::uint32_t column(std::uint32_t i) const { return descending ? first_column - i : first_column + i; }
  std::uint32_t index(std::uint32_t i) const { return descending ? first_index - i : first_index + i; }
};

std::array<Channel, 2> channels_of(const DeviceSettings& settings, std::uint32_t width) {
  const std::uint32_t half = width / 2;
  const Channel b{settings.swap_sides ? half : 0, 0, false, false};
  if (!settings.model_7200) return {Channel{half, half, false, true}, b};
  return {Channel{(settings.swap_sides ? half : width) - 1, width - 1, true, false}, b};
}

// Reference levels of one sensor.
void make_tables(const DeviceSettings& settings, ReadOut& out) {
  constexpr double kMiddleBlack = 16;
  constexpr double kMiddleWhite = 220;
  std::mt19937 random(settings.seed);
  const auto vary = [&random](double middle, double spread) {
    const double part = (static_cast<double>(random()) - 2147483648.0) / 2147483648.0;  // -1 to 1
    return static_cast<std::uint16_t>(std::lround(middle + part * spread));
  };
  for (std::uint32_t i = 0; i < out.width; ++i) out.black.push_back(vary(kMiddleBlack, settings.offset));
  for (std::uint32_t i = 0; i < out.width * out.planes; ++i) {
    out.white.push_back(vary(kMiddleWhite, kMiddleWhite * settings.gain_percent / 100));
  }
}

// Turns page levels, already in read-out order, into what the sensor gives for them.
void apply_sensor(const DeviceSettings& settings, const std::array<Channel, 2>& channels, ReadOut& out) {
  std::mt19937_64 random(settings.seed);
  for (std::size_t line = 0; line < std::size_t{out.rows} * out.planes; ++line) {
    const std::size_t plane = line % out.planes;
    for (std::uint32_t x = 0; x < out.width; ++x) {
      const std::uint32_t index = channels[x % 2].index(x / 2);
      const double black = settings.calibrated ? out.black[index] : 0;
      const double white = settings.calibrated ? out.white[plane * out.width + index] : 255;
      std::uint8_t& sample = out.raw[line * out.width + x];
      double level = black + sample * (white - black) / 255;
      if (settings.noise > 0) level += settings.noise * near_normal(random());
      sample = static_cast<std::uint8_t>(std::clamp(std::lround(level), 0l, 255l));
    }
  }
}

// The size of the bed below one face.
struct Area {
  std::uint32_t width;
  std::uint32_t rows;
};

Area bed_for(const std::array<Sheet, 2>& faces, const DeviceSettings& settings) {
  const Area sheet{std::max(faces[0].box_width(), faces[1].box_width()),
                   std::max(faces[0].box_height(), faces[1].box_height())};
  const Area bed{settings.half_width.value_or(sheet.width + 2 * settings.margin),
                 settings.rows.value_or(sheet.rows + 2 * settings.margin)};
  const std::int64_t needed_width = sheet.width + 2 * std::abs(std::int64_t{settings.shift_x});
  const std::int64_t needed_rows = sheet.rows + 2 * std::abs(std::int64_t{settings.shift_y});
  if (needed_width > bed.width || needed_rows > bed.rows) {
    const auto size = [](std::int64_t width, std::int64_t rows) {
      return std::to_string(width) + " x " + std::to_string(rows);
    };
    throw Failure(Exit::usage, "a bed of " + size(bed.width, bed.rows) + " pixels is too small: the sheet needs " +
                                   size(needed_width, needed_rows) + " where it lies");
  }
  return bed;
}

// Both faces of the sheet, placed on their beds of the size area.
struct Sheets {
  std::array<Sheet, 2> faces;
  Area area;
};

Sheets lay(const Picture& front, const Picture& rear, const DeviceSettings& settings) {
  std::array<Sheet, 2> faces{Sheet(front, settings.skew_deg), Sheet(rear, -settings.skew_deg)};
  const Area area = bed_for(faces, settings);
  faces[0].place(area.width, area.rows, settings.shift_x, settings.shift_y);
  faces[1].place(area.width, area.rows, -settings.shift_x, settings.shift_y);
  return {faces, area};
}

// Fills the raw lines with page levels, in read-out order.
void expose(const std::array<Sheet, 2>& faces, const Bed& bed, const Area& area, const std::array<Channel, 2>& channels,
            std::uint32_t lag, ReadOut& out) {
  for (std::uint32_t line = 0; line < out.rows; ++line) {
    for (const std::uint32_t c : {0u, 1u}) {
      // Samples that no page row feeds show the bed: channel A after the page, channel B before it.
      const std::int64_t y = std::int64_t{line} - c * std::int64_t{lag};
      const bool on_page = y >= 0 && y < area.rows;
      for (std::uint32_t i = 0; i < area.width; ++i) {
        const std::uint32_t column = channels[c].column(i);
        const Sheet& face = faces[column / area.width];
        const std::uint8_t below = bed.level(column, y);
        for (std::uint32_t p = 0; p < out.planes; ++p) {
          const std::uint32_t component = channels[c].planes_reversed ? out.planes - 1 - p : p;
          out.raw[(std::size_t{line} * out.planes + p) * out.width + 2 * i + c] =
              on_page ? face.level(column % area.width, static_cast<std::uint32_t>(y), component, below) : below;
        }
      }
    }
  }
}

}  // namespace

Bedding bedding_of(const Picture& front, const Picture& rear, const DeviceSettings& settings) {
  const auto [faces, area] = lay(front, rear, settings);
  return {area.width, area.rows, {faces[0].corner(), faces[1].corner()}};
}

ReadOut read_out(const Picture& front, const Picture& rear, const DeviceSettings& settings) {
  const auto [faces, area] = lay(front, rear, settings);
  ReadOut out{2 * area.width, area.rows + settings.lag, front.planes, {}, {}, {}};
  if (std::uint64_t{out.width} * out.rows > zelimp::Limits{}.max_pixels) {
    throw Failure(Exit::over_limit, "a read-out of " + std::to_string(out.width) + " x " + std::to_string(out.rows) +
                                        " pixels is more than the library accepts");
  }
  if (settings.calibrated) make_tables(settings, out);

  out.raw.resize(std::size_t{out.width} * out.rows * out.planes);
  const std::array<Channel, 2> channels = channels_of(settings, out.width);
  expose(faces, Bed(settings), area, channels, settings.lag, out);
  apply_sensor(settings, channels, out);
  return out;
}

}  // namespace tool
