#include "step_pictures.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>
#include <utility>

namespace tool {

enum class StepPictures::View : int {
  raw,
  descrambled,
  border,
  deskewed,
  box,
  cut,
  flipped,
  turned,
  threshold,
  result
};

namespace {

// Of grey and of colour scans, which are cut before they are deskewed.
struct Names {
  const char* grey;
  const char* colour;
};
constexpr auto kNames = std::to_array<Names>({{"1-raw", "1-raw"},
                                              {"2-descrambled", "2-descrambled"},
                                              {"3-border", nullptr},
                                              {"4-deskewed", "5-deskewed"},
                                              {"5-box", "3-box"},
                                              {"6-split", "4-split"},
                                              {"6-flipped", "4-flipped"},
                                              {"7-turned", "6-turned"},
                                              {"8-threshold", nullptr},
                                              {"9-result", "7-result"}});

constexpr Colour kBorderColour = {255, 0, 0};
constexpr Colour kBoxColour = {0, 190, 0};

// Of lines that stay visible when the picture is shown small.
std::uint32_t line_width(const zelimp::StepImage& image) { return 1 + std::max(image.width, image.height) / 300; }

zelimp::StepImage image_of(const zelimp::Scan& scan) {
  return {scan.width, scan.height, scan.bit_depth / 8, scan.pixels};
}

Bytes with_border(const zelimp::StepImage& image, const zelimp::Border& border) {
  Picture picture = in_colour(image);
  const std::uint32_t thickness = line_width(image);
  std::uint32_t row = border.first_row;
  for (const std::uint32_t column : border.columns) {
    fill(picture, {column - std::min(column, thickness / 2), row++, thickness, 1}, kBorderColour);
  }
  return as_png(view_of(picture));
}

Bytes with_box(const zelimp::StepImage& image, const zelimp::Box& box) {
  Picture picture = in_colour(image);
  outline(picture, box, line_width(image), kBoxColour);
  return as_png(view_of(picture));
}

// The lines of a colour read-out hold one plane after the other.
Picture planes_together(const zelimp::StepImage& lines) {
  Picture picture{lines.width, lines.height, 3, {}};
  picture.samples.reserve(lines.pixels.size());
  for (std::size_t row = 0; row < lines.height; ++row) {
    for (std::size_t x = 0; x < lines.width; ++x) {
      for (std::size_t plane = 0; plane < 3; ++plane) {
        picture.samples.push_back(std::to_integer<std::uint8_t>(lines.pixels[(row * 3 + plane) * lines.width + x]));
      }
    }
  }
  return picture;
}

}  // namespace

StepPictures::StepPictures(const std::string& folder) : folder_(folder) {
  while (folder_.size() > 1 && folder_.back() == '/') folder_.pop_back();
  if (!folder_exists(folder_)) new_folder_ = folder_;
}

std::vector<std::string> StepPictures::all_files() const {
  std::vector<std::string> files;
  for (const Names& names : kNames) {
    for (const char* name : {names.grey, names.colour}) {
      if (name != nullptr) files.push_back(folder_ + "/" + name + ".png");
    }
  }
  std::ranges::sort(files);
  files.erase(std::ranges::unique(files).begin(), files.end());
  return files;
}

std::vector<std::string> StepPictures::targets() const {
  return new_folder_.empty() ? all_files() : std::vector{new_folder_};
}

void StepPictures::add(View view, Bytes png) {
  const Names& names = kNames[static_cast<std::size_t>(view)];
  files_.push_back({folder_ + "/" + (colour_ ? names.colour : names.grey) + ".png", std::move(png)});
}

void StepPictures::add_raw(const Bytes& read_out) {
  const zelimp::Scan scan = zelimp::read_scan(read_out);
  const zelimp::StepImage lines = image_of(scan);
  add(View::raw, as_png(lines.planes == 3 ? view_of(planes_together(lines)) : lines));
}

void StepPictures::watch(const Bytes& scan, zelimp::ProcessOptions& how) {
  scan_ = image_of(zelimp::read_scan(scan));
  colour_ = scan_.planes == 3;
  flips_ = how.side == zelimp::Side::flip_front;
  cuts_ = how.side == zelimp::Side::front || how.side == zelimp::Side::rear;
  add(View::descrambled, as_png(scan_));
  how.observer = [this](zelimp::Step step, const zelimp::StepImage& image) { see(step, image); };
}

void StepPictures::see(zelimp::Step step, const zelimp::StepImage& image) {
  if (image.width == 0 || image.height == 0) return;
  switch (step) {
    case zelimp::Step::deskewed:
      if (cuts_ && !colour_) deskewed_ = copy_of(image);
      return add(View::deskewed, as_png(image));
    case zelimp::Step::cut:
      return add(View::cut, as_png(image));
    case zelimp::Step::turned:
      return add(std::exchange(flips_, false) ? View::flipped : View::turned, as_png(image));
    case zelimp::Step::thresholded:
      return add(View::threshold, as_png(image));
  }
}

void StepPictures::finish(const zelimp::ProcessReport& report, const Bytes& result_png) {
  if (report.border) add(View::border, with_border(scan_, *report.border));
  if (report.cut) add(View::box, with_box(deskewed_.samples.empty() ? scan_ : view_of(deskewed_), *report.cut));
  add(View::result, result_png);
  std::ranges::sort(files_, {}, &Output::path);
}

void StepPictures::remove_others(const std::vector<Output>& outputs) const {
  for (const std::string& file : all_files()) {
    std::error_code ignored;
    const bool written = std::ranges::any_of(
        outputs, [&](const Output& output) { return std::filesystem::equivalent(file, output.path, ignored); });
    if (!written) std::filesystem::remove(file, ignored);
  }
}

}  // namespace tool
