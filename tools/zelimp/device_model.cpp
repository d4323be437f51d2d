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

// A face on the bed: where its pixels lie once the sheet is turned about its middle.
class Sheet {
 public:
  // turn_deg is clockwise.
  Sheet(const Picture& face, double turn_deg, std::uint8_t bed) : face_(face), bed_(bed) {
    // long double, rounded: the double functions differ in their last bit between i386 and x86-64.
    const long double turn = static_cast<long double>(turn_deg) * std::numbers::pi_v<long double> / 180;
    cos_ = static_cast<double>(std::cos(turn));
    sin_ = static_cast<double>(std::sin(turn));
  }

  // Of the box around the turned sheet.
  std::uint32_t box_width() const { return box(face_.width, face_.height); }
  std::uint32_t box_height() const { return box(face_.height, face_.width); }

  // Puts the sheet into the middle of an area.
  void place(std::uint32_t area_width, std::uint32_t area_height) {
    middle_x_ = middle(area_width, face_.width);
    middle_y_ = middle(area_height, face_.height);
  }

  // Level of the area's pixel (x, y), bilinear; exactly a pixel of the face when the sheet is not turned.
  std::uint8_t level(std::uint32_t x, std::uint32_t y, std::uint32_t plane) const {
    const double from_middle_x = x - middle_x_;
    const double from_middle_y = y - middle_y_;
    const double face_x = cos_ * from_middle_x + sin_ * from_middle_y + (face_.width - 1) / 2.0;
    const double face_y = cos_ * from_middle_y - sin_ * from_middle_x + (face_.height - 1) / 2.0;
    if (face_x <= -1 || face_y <= -1 || face_x >= face_.width || face_y >= face_.height) return bed_;
    const double left = std::floor(face_x);
    const double top = std::floor(face_y);
    const double part_x = face_x - left;
    const double part_y = face_y - top;
    const auto column = static_cast<std::int64_t>(left);
    const auto row = static_cast<std::int64_t>(top);
    const double upper = (1 - part_x) * at(column, row, plane) + part_x * at(column + 1, row, plane);
    const double lower = (1 - part_x) * at(column, row + 1, plane) + part_x * at(column + 1, row + 1, plane);
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
  std::uint8_t at(std::int64_t column, std::int64_t row, std::uint32_t plane) const {
    if (column < 0 || row < 0 || column >= face_.width || row >= face_.height) return bed_;
    const auto pixel = static_cast<std::size_t>(row) * face_.width + static_cast<std::size_t>(column);
    return face_.samples[pixel * face_.planes + plane];
  }

  const Picture& face_;
  std::uint8_t bed_;
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

// Sum of four uniform numbers, scaled to mean 0 and standard deviation 1: near enough to a normal distribution, and
// the same on every machine.
double noise_sample(std::mt19937_64& random) {
  constexpr double kMean = 2 * 65535.0;
  constexpr double kDeviation = 37837.22;  // 65536 / sqrt(3)
  const std::uint64_t draw = random();
  const std::uint64_t sum = (draw & 0xFFFF) + (draw >> 16 & 0xFFFF) + (draw >> 32 & 0xFFFF) + (draw >> 48);
  return (static_cast<double>(sum) - kMean) / kDeviation;
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
      if (settings.noise > 0) level += settings.noise * noise_sample(random);
      sample = static_cast<std::uint8_t>(std::clamp(std::lround(level), 0l, 255l));
    }
  }
}

}  // namespace

ReadOut read_out(const Picture& front, const Picture& rear, const DeviceSettings& settings) {
  std::array<Sheet, 2> faces{Sheet(front, settings.skew_deg, settings.bed),
                             Sheet(rear, -settings.skew_deg, settings.bed)};
  const std::uint32_t half = std::max(faces[0].box_width(), faces[1].box_width()) + 2 * settings.margin;
  const std::uint32_t page_rows = std::max(faces[0].box_height(), faces[1].box_height()) + 2 * settings.margin;
  for (Sheet& face : faces) face.place(half, page_rows);

  ReadOut out{2 * half, page_rows + settings.lag, front.planes, {}, {}, {}};
  if (std::uint64_t{out.width} * out.rows > zelimp::Limits{}.max_pixels) {
    throw Failure(Exit::over_limit, "a read-out of " + std::to_string(out.width) + " x " + std::to_string(out.rows) +
                                        " pixels is more than the library accepts");
  }
  if (settings.calibrated) make_tables(settings, out);

  // Samples that no page row feeds show the bed: channel A after the page, channel B before it.
  out.raw.assign(std::size_t{out.width} * out.rows * out.planes, settings.bed);
  const std::array<Channel, 2> channels = channels_of(settings, out.width);
  for (std::uint32_t y = 0; y < page_rows; ++y) {
    for (const std::uint32_t c : {0u, 1u}) {
      const std::size_t line = (y + c * settings.lag) * std::size_t{out.planes};
      for (std::uint32_t i = 0; i < half; ++i) {
        const std::uint32_t column = channels[c].column(i);
        for (std::uint32_t p = 0; p < out.planes; ++p) {
          const std::uint32_t component = channels[c].planes_reversed ? out.planes - 1 - p : p;
          out.raw[(line + p) * out.width + 2 * i + c] = faces[column / half].level(column % half, y, component);
        }
      }
    }
  }
  apply_sensor(settings, channels, out);
  return out;
}

}  // namespace tool
