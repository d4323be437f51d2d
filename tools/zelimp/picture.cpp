#include "picture.hpp"

#include <allheaders.h>
#include <fcntl.h>
#include <unistd.h>
#include <ZelIMP.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <utility>

#include "exit_code.hpp"

namespace tool {
namespace {

struct PixDeleter {
  void operator()(Pix* pix) const { pixDestroy(&pix); }
};
using PixPtr = std::unique_ptr<Pix, PixDeleter>;

// The decoders below Leptonica print their own complaints about a picture; ours is one sentence. While this object
// lives standard error leads nowhere.
class Silence {
 public:
  Silence() : saved_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    setMsgSeverity(L_SEVERITY_NONE);
    const int nowhere = saved_ < 0 ? -1 : ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) ::dup2(nowhere, STDERR_FILENO);
    if (nowhere >= 0) ::close(nowhere);
  }
  ~Silence() {
    if (saved_ < 0) return;
    ::dup2(saved_, STDERR_FILENO);
    ::close(saved_);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  int saved_;
};

const l_uint8* leptonica_bytes(std::span<const std::byte> bytes) {
  return reinterpret_cast<const l_uint8*>(bytes.data());
}

// The picture's size, from its first bytes, so that nothing is decoded that is too large.
void check_picture(const std::string& name, std::span<const std::byte> bytes) {
  constexpr std::array kKnown = {IFF_PNG,           IFF_JFIF_JPEG, IFF_PNM,      IFF_TIFF,
                                 IFF_TIFF_PACKBITS, IFF_TIFF_RLE,  IFF_TIFF_G3,  IFF_TIFF_G4,
                                 IFF_TIFF_LZW,      IFF_TIFF_ZIP,  IFF_TIFF_JPEG};
  l_int32 format = IFF_UNKNOWN;
  // Twelve bytes are looked at, whatever the length.
  if (bytes.size() < 12 || findFileFormatBuffer(leptonica_bytes(bytes), &format) != 0 ||
      std::ranges::find(kKnown, format) == kKnown.end()) {
    throw Failure(Exit::malformed, name + ": not a PNG, JPEG, TIFF or PNM picture");
  }
  l_int32 width = 0;
  l_int32 height = 0;
  if (pixReadHeaderMem(leptonica_bytes(bytes), bytes.size(), nullptr, &width, &height, nullptr, nullptr, nullptr) !=
          0 ||
      width <= 0 || height <= 0) {
    throw Failure(Exit::malformed, name + ": the picture's header is damaged");
  }
  if (static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) > zelimp::Limits{}.max_pixels) {
    throw Failure(Exit::over_limit, name + ": " + std::to_string(width) + " x " + std::to_string(height) +
                                        " pixels are more than the tool accepts");
  }
}

// A word of Leptonica's rows holds four grey samples or one pixel, the first in its top byte.
constexpr std::array kComponentShifts = {24, 16, 8};
int grey_shift(std::uint32_t x) { return static_cast<int>(24 - x % 4 * 8); }

[[noreturn]] void refuse_size(std::uint32_t width, std::uint32_t height) {
  throw Failure(Exit::over_limit, "a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                                      " pixels cannot be written as PNG");
}

Bytes coded(Pix* pix) {
  constexpr l_int32 kLevel = 3;  // scans: 2.5 times as fast as the usual 6, and no larger
  l_uint8* png = nullptr;
  std::size_t size = 0;
  pixSetZlibCompression(pix, kLevel);
  const bool failed = pixWriteMem(&png, &size, pix, IFF_PNG) != 0;
  const std::unique_ptr<l_uint8, decltype(&lept_free)> owner(png, lept_free);
  if (failed) {
    refuse_size(static_cast<std::uint32_t>(pixGetWidth(pix)), static_cast<std::uint32_t>(pixGetHeight(pix)));
  }
  const std::byte* first = reinterpret_cast<const std::byte*>(png);
  return Bytes(first, first + size);
}

Picture samples_of(Pix* pix, bool colour) {
  Picture picture{static_cast<std::uint32_t>(pixGetWidth(pix)),
                  static_cast<std::uint32_t>(pixGetHeight(pix)),
                  colour ? 3u : 1u,
                  {}};
  picture.samples.reserve(std::size_t{picture.width} * picture.height * picture.planes);
  const std::size_t row_words = static_cast<std::size_t>(pixGetWpl(pix));
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    const l_uint32* row = pixGetData(pix) + y * row_words;
    for (std::uint32_t x = 0; x < picture.width; ++x) {
      if (colour) {
        for (const int shift : kComponentShifts) picture.samples.push_back(static_cast<std::uint8_t>(row[x] >> shift));
      } else {
        picture.samples.push_back(static_cast<std::uint8_t>(row[x / 4] >> grey_shift(x)));
      }
    }
  }
  return picture;
}

}  // namespace

Picture read_picture(const std::string& path, bool colour) {
  const Bytes bytes = read_file(path);
  const Silence silence;
  check_picture(input_name(path), bytes);
  PixPtr pix(pixReadMem(leptonica_bytes(bytes), bytes.size()));
  if (pix) pix.reset(pixRemoveAlpha(pix.get()));
  if (!pix)
    throw Failure(Exit::malformed, input_name(path) + ": the picture is damaged or of a kind that cannot be read");
  pix.reset(colour ? pixConvertTo32(pix.get()) : pixConvertTo8(pix.get(), 0));
  if (!pix) throw Failure(Exit::unsupported, input_name(path) + ": the picture's kind of pixels is not supported");
  return samples_of(pix.get(), colour);
}

Bytes as_png(const std::string& scan_name, std::span<const std::byte> file) {
  const Silence silence;
  const PixPtr pix(pixReadMem(leptonica_bytes(file), file.size()));
  // The library keeps tags that it does not look at; other programs do.
  if (!pix) {
    throw Failure(Exit::unsupported, scan_name + ": no preview, the scan has tags with which the result is unreadable");
  }
  return coded(pix.get());
}

Bytes as_png(const zelimp::StepImage& image) {
  const Silence silence;
  const PixPtr pix(
      pixCreate(static_cast<l_int32>(image.width), static_cast<l_int32>(image.height), image.planes == 3 ? 32 : 8));
  if (!pix) refuse_size(image.width, image.height);
  const std::size_t row_words = static_cast<std::size_t>(pixGetWpl(pix.get()));
  const std::byte* sample = image.pixels.data();
  const auto next = [&sample](int shift) { return std::to_integer<l_uint32>(*sample++) << shift; };
  for (std::uint32_t y = 0; y < image.height; ++y) {
    l_uint32* row = pixGetData(pix.get()) + y * row_words;
    for (std::uint32_t x = 0; x < image.width; ++x) {
      if (image.planes == 3) {
        for (const int shift : kComponentShifts) row[x] |= next(shift);
      } else {
        row[x / 4] |= next(grey_shift(x));
      }
    }
  }
  return coded(pix.get());
}

zelimp::StepImage view_of(const Picture& picture) {
  return {picture.width, picture.height, picture.planes, std::as_bytes(std::span(picture.samples))};
}

Picture copy_of(const zelimp::StepImage& image) {
  Picture picture{image.width, image.height, image.planes, {}};
  picture.samples.reserve(image.pixels.size());
  for (const std::byte sample : image.pixels) picture.samples.push_back(std::to_integer<std::uint8_t>(sample));
  return picture;
}

Picture in_colour(const zelimp::StepImage& image) {
  if (image.planes == 3) return copy_of(image);
  Picture picture{image.width, image.height, 3, {}};
  picture.samples.reserve(image.pixels.size() * 3);
  for (const std::byte level : image.pixels) {
    picture.samples.insert(picture.samples.end(), 3, std::to_integer<std::uint8_t>(level));
  }
  return picture;
}

void fill(Picture& picture, const zelimp::Box& box, Colour colour) {
  const std::uint64_t right = std::min<std::uint64_t>(std::uint64_t{box.left} + box.width, picture.width);
  const std::uint64_t bottom = std::min<std::uint64_t>(std::uint64_t{box.top} + box.height, picture.height);
  for (std::uint64_t y = box.top; y < bottom; ++y) {
    for (std::uint64_t x = box.left; x < right; ++x) {
      const std::array samples = {colour.red, colour.green, colour.blue};
      std::ranges::copy(samples, picture.samples.begin() + static_cast<std::ptrdiff_t>((y * picture.width + x) * 3));
    }
  }
}

void outline(Picture& picture, const zelimp::Box& box, std::uint32_t thickness, Colour colour) {
  const std::uint32_t across = std::min(thickness, box.width);
  const std::uint32_t down = std::min(thickness, box.height);
  fill(picture, {box.left, box.top, box.width, down}, colour);
  fill(picture, {box.left, box.top + box.height - down, box.width, down}, colour);
  fill(picture, {box.left, box.top, across, box.height}, colour);
  fill(picture, {box.left + box.width - across, box.top, across, box.height}, colour);
}

Picture text_line(const std::string& text) {
  constexpr l_int32 kPoints = 4;  // at 300 dots per inch
  struct FontDeleter {
    void operator()(L_Bmf* font) const { bmfDestroy(&font); }
  };
  const Silence silence;
  static const std::unique_ptr<L_Bmf, FontDeleter> font(bmfCreate(nullptr, kPoints));
  l_int32 width = 0;
  if (!font || bmfGetStringWidth(font.get(), text.c_str(), &width) != 0) throw std::bad_alloc();
  const PixPtr pix(pixCreate(width + font->spacewidth, font->lineheight + font->vertlinesep, 8));
  if (!pix || pixSetAll(pix.get()) != 0) throw std::bad_alloc();
  pixSetTextline(pix.get(), font.get(), text.c_str(), 0, 0, font->baseline2, nullptr, nullptr);
  return samples_of(pix.get(), false);
}

}  // namespace tool
