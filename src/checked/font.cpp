// The checked interface: fonts.

#include <ZelIMP.hpp>
#include <algorithm>
#include <array>

#include "FontAPI.hpp"
#include "base/bytes.hpp"
#include "checked/font_slots.hpp"
#include "checked/scan_input.hpp"

namespace zelimp {

using namespace detail;

namespace {

constexpr std::uint32_t kMostCode = 127;
constexpr std::uint16_t kMostSamples = 65535;
constexpr std::size_t kPaletteEntries = 256;
constexpr std::size_t kPixelsAt = zel::kInfoHeader + 4 * kPaletteEntries;

std::string named(std::uint32_t code) { return "the template with code " + std::to_string(code); }

// Pixels of an image that has been checked, in the order of its rows.
zel::GreyDib image_of(const std::vector<std::byte>& dib) { return *zel::grey_dib(file_of(dib)); }

// The row of the picture, from its top, that lies in row y; and the other way round.
std::size_t turned(const zel::GreyDib& image, std::size_t y) {
  return image.top_down ? y : image.pixels.height() - 1 - y;
}

Pixels picture_of(const std::vector<std::byte>& dib) {
  const zel::GreyDib image = image_of(dib);
  Pixels picture{
      static_cast<std::uint32_t>(image.pixels.width()), static_cast<std::uint32_t>(image.pixels.height()), {}};
  picture.pixels.reserve(image.pixels.width() * image.pixels.height());
  for (std::size_t y = 0; y < image.pixels.height(); ++y) {
    const auto row = std::as_bytes(image.pixels.row(turned(image, y)));
    picture.pixels.insert(picture.pixels.end(), row.begin(), row.end());
  }
  return picture;
}

// Puts a picture of the same size into an image.
void draw(const zel::GreyDib& image, const PixelView& picture) {
  for (std::size_t y = 0; y < image.pixels.height(); ++y) {
    std::ranges::copy(picture.pixels.subspan(y * image.pixels.width(), image.pixels.width()),
                      std::as_writable_bytes(image.pixels.row(turned(image, y))).begin());
  }
}

void check_pixels(const PixelView& view) {
  const std::uint64_t pixels = std::uint64_t{view.width} * view.height;
  if (pixels == 0) bad_argument("the image has no width or no height");
  if (view.pixels.size() != pixels) {
    bad_argument(std::to_string(view.pixels.size()) + " bytes of pixels are given, " + std::to_string(view.width) +
                 " x " + std::to_string(view.height) + " pixels have " + std::to_string(pixels));
  }
  if (pixels > Limits{}.max_pixels) {
    throw Error(Status::over_limit, "the image of " + std::to_string(view.width) + " x " + std::to_string(view.height) +
                                        " pixels is larger than the limits");
  }
}

// A DIB of a picture: grey palette, rows bottom-up.
std::vector<std::byte> dib_of(const PixelView& view) {
  const std::size_t pixel_bytes = zel::dib_stride(static_cast<std::int32_t>(view.width)) * view.height;
  std::vector<std::byte> dib = room_for(kPixelsAt + pixel_bytes);
  unsigned char* const to = bytes_of(dib);
  zel::store_u32(to, zel::kInfoHeader);
  zel::store_u32(to + 4, view.width);
  zel::store_u32(to + 8, view.height);
  zel::store_u16(to + 12, 1);  // planes
  zel::store_u16(to + 14, 8);
  zel::store_u32(to + 20, static_cast<std::uint32_t>(pixel_bytes));
  for (std::size_t i = 0; i < kPaletteEntries; ++i) {
    std::fill_n(to + zel::kInfoHeader + 4 * i, 3, static_cast<unsigned char>(i));
  }
  draw(image_of(dib), view);
  return dib;
}

void check_index(std::size_t index, std::size_t size) {
  if (index >= size) {
    bad_argument("there is no template " + std::to_string(index) + ", the font has " + std::to_string(size));
  }
}

// A font file that is read from its beginning.
class Reader {
 public:
  Reader(std::span<const std::byte> file, const Limits& limits) : file_(file), limits_(limits) {}

  bool at_end() const { return at_ == file_.size(); }

  zel::FontRecord record() { return zel::read_record(file_of(take(zel::FontRecord::kBytes, "record"))); }

  // An image of so many bytes.
  std::vector<std::byte> image(std::size_t size, const char* what) {
    const std::uint64_t offset = at_;
    const std::span<const std::byte> bytes = take(size, what);
    const std::optional<zel::DibFacts> facts = zel::facts_within(file_of(bytes), size);
    if (!facts) fault(offset, what, "is shorter than its header");
    if (facts->bits != 8 || facts->width < 1 || facts->height == 0) {
      fault(offset, what, "has not 8 bits a pixel, or no width or height");
    }
    const std::int64_t height = facts->height;
    if (static_cast<std::uint64_t>(facts->width) * static_cast<std::uint64_t>(height < 0 ? -height : height) >
        limits_.max_pixels) {
      throw Error(Status::over_limit, std::string("the ") + what + " is larger than the limits", offset);
    }
    if (zel::dib_bytes(*facts) > size || !zel::grey_dib(file_of(bytes))) {
      fault(offset, what, "is shorter than its width and height say");
    }
    return {bytes.begin(), bytes.end()};
  }

  [[noreturn]] static void fault(std::uint64_t offset, const std::string& what, const std::string& sentence) {
    throw Error(Status::not_loaded, "the " + what + " " + sentence, offset);
  }

 private:
  std::span<const std::byte> take(std::size_t bytes, const char* what) {
    if (file_.size() - at_ < bytes) fault(at_, what, "is cut off by the end of the file");
    at_ += bytes;
    return file_.subspan(at_ - bytes, bytes);
  }

  std::span<const std::byte> file_;
  const Limits& limits_;
  std::size_t at_ = 0;
};

}  // namespace

Font::Font() = default;
Font::Font(const Font&) = default;
Font::Font(Font&&) noexcept = default;
Font& Font::operator=(const Font&) = default;
Font& Font::operator=(Font&&) noexcept = default;
Font::~Font() = default;

Font Font::load(std::span<const std::byte> file, const Limits& limits) {
  if (file.size() > limits.max_bytes) {
    throw Error(Status::over_limit, "the font has " + std::to_string(file.size()) + " bytes, more than the limit");
  }
  Font font;
  Reader reader(file, limits);
  std::uint64_t offset = 0;
  while (!reader.at_end()) {
    if (font.size() == kMostCharacters) throw Error(Status::over_limit, "the font has more than 128 records", offset);
    const zel::FontRecord record = reader.record();
    if (record.width == 0 || record.height == 0) Reader::fault(offset, "record", "has no width or height");
    Slot slot{record.width, record.height, record.code, record.samples, reader.image(record.size, "mean image"), {}};
    const zel::DibFacts facts = image_of(slot.mean).facts;
    if (static_cast<std::uint32_t>(facts.width) != record.width || facts.height != record.height) {
      Reader::fault(offset, "record", "has not the width and height of its image");
    }
    slot.variance = reader.image(record.size, "variance image");
    font.slots_.push_back(std::move(slot));
    offset += zel::FontRecord::kBytes + std::uint64_t{2} * record.size;
  }
  return font;
}

std::vector<std::byte> Font::save() const {
  std::vector<std::byte> file;
  for (std::uint32_t code = 1; code <= kMostCode; ++code) {
    for (const Slot& slot : slots_) {
      if (slot.code != code) continue;
      std::array<std::byte, zel::FontRecord::kBytes> record;
      zel::write_record({slot.width, slot.height, code, slot.samples, static_cast<std::uint32_t>(slot.mean.size())},
                        reinterpret_cast<unsigned char*>(record.data()));
      file.insert(file.end(), record.begin(), record.end());
      file.insert(file.end(), slot.mean.begin(), slot.mean.end());
      file.insert(file.end(), slot.variance.begin(), slot.variance.end());
    }
  }
  return file;
}

std::size_t Font::size() const { return slots_.size(); }

FontCharacter Font::character(std::size_t index) const {
  check_index(index, size());
  const Slot& slot = slots_[index];
  return {slot.code, slot.samples, picture_of(slot.mean), picture_of(slot.variance)};
}

std::optional<std::size_t> Font::find(std::uint32_t code) const {
  const auto slot = std::ranges::find(slots_, code, &Slot::code);
  if (code == 0 || slot == slots_.end()) return std::nullopt;
  return static_cast<std::size_t>(slot - slots_.begin());
}

std::size_t Font::train(std::uint32_t code, const PixelView& sample) {
  if (code == 0 || code > kMostCode) bad_argument("the code " + std::to_string(code) + " is not from 1 to 127");
  check_pixels(sample);
  std::vector<std::byte> dib = dib_of(sample);
  if (const std::optional<std::size_t> index = find(code)) {
    Slot& slot = slots_[*index];
    if (slot.height < 0) bad_argument(named(code) + " has its rows top to bottom and cannot be trained");
    if (slot.samples == kMostSamples) throw Error(Status::over_limit, named(code) + " has 65535 samples");
    const zel::MutableView mean = image_of(slot.mean).pixels;
    const zel::ConstView pixels = image_of(dib).pixels;
    zel::train_mean(mean, pixels, slot.samples);
    zel::train_variance(mean, pixels, zel::tail_within(bytes_of(slot.variance), slot.variance.size()), slot.samples);
    ++slot.samples;
    return *index;
  }
  if (size() == kMostCharacters) throw Error(Status::over_limit, "the font has 128 templates already");
  std::vector<std::byte> variance(dib);
  std::fill(variance.begin() + kPixelsAt, variance.end(), std::byte{0});
  slots_.push_back(
      {sample.width, static_cast<std::int32_t>(sample.height), code, 1, std::move(dib), std::move(variance)});
  return size() - 1;
}

void Font::set_mask(std::uint32_t code, const PixelView& mask) {
  const std::optional<std::size_t> index = find(code);
  if (!index) bad_argument("there is no template with code " + std::to_string(code));
  check_pixels(mask);
  Slot& slot = slots_[*index];
  const zel::GreyDib mean = image_of(slot.mean);
  if (mask.width != mean.pixels.width() || mask.height != mean.pixels.height()) {
    bad_argument(named(code) + " has another size than the mask");
  }
  if (slot.samples == kMostSamples) throw Error(Status::over_limit, named(code) + " has 65535 samples");
  slot.variance = slot.mean;
  draw(image_of(slot.variance), mask);
  ++slot.samples;
}

void Font::remove(std::size_t index) {
  check_index(index, size());
  slots_[index].code = 0;
  slots_[index].samples = 0;
}

void Font::merge(const Font& other) {
  std::vector<Slot> all = slots_;
  for (const Slot& slot : other.slots_) {
    if (slot.code == 0) continue;
    if (find(slot.code)) bad_argument(named(slot.code) + " is in both fonts");
    if (all.size() == kMostCharacters) throw Error(Status::over_limit, "the fonts have more than 128 templates");
    all.push_back(slot);
  }
  slots_ = std::move(all);
}

}  // namespace zelimp
